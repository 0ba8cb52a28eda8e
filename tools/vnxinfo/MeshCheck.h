#pragma once

#include "filedata/ConnectivityRecords.h"
#include "tools/vnxinfo/CheckedFile.h"

#include <functional>

namespace varnox::tools {

/// A cell subzone with its record, whose references have been found to exist.
struct CheckedCells
{
    std::uint32_t partition;
    std::uint32_t section;
    std::uint32_t subzone;
    hdqio::CszConnectivity record;
};

using CellsSink = std::function<void(CheckedCells const& cells)>;

/// Whether all connectivity of a zone was found in the headers.
bool hasConnectivity(CheckedFile const& file, std::uint32_t zone);

/// Reads all connectivity of a zone, and checks what it refers to: the lists of cell subzones and
/// of node subzones must tell the same. Gives each sound cell subzone to the sink. False if it
/// isn't sound.
bool checkConnectivity(CheckedFile& file, std::uint32_t zone, CellsSink const& sink);

/// Gives all cell subzones of a zone to the sink, unwatched and unchecked. False if one can't be
/// read.
bool walkConnectivity(CheckedFile& file, std::uint32_t zone, CellsSink const& sink);

/// Throws if a zone doesn't have so many nodes in a node subzone.
void requireNodes(hdqio::ZoneMetadata const& zone, ItemAddress<long>::SubzoneAddress const& nodes,
                  std::uint32_t count);

}
