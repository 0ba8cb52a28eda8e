#pragma once

#include "writer/BlockWriter.h"
#include "writer/FilePlan.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// Writes the values and the node map of a zone that isn't in subzones, and gives the tags of its
/// header. records are those of the zones ahead of it.
std::vector<BlockWriter::Tag> writePlainZone(FilePlan const& plan, BlockWriter& blocks,
                                             std::size_t zoneIndex,
                                             std::vector<ZoneRecord> const& records,
                                             ZoneRecord& record);

}
