#pragma once

#include "tools/vnxinfo/CheckedFile.h"

namespace varnox::tools {

/// Reads the header of a zone and those of its partitions, and checks what they say by themselves.
/// Fills the zone's place in file.zones.
void checkZoneHeader(CheckedFile& file, std::uint32_t zone);

/// Reads a zone's node map and face neighbours, where it has them.
void checkNodeMap(CheckedFile& file, std::uint32_t zone);
void checkFaceNeighbors(CheckedFile& file, std::uint32_t zone);

}
