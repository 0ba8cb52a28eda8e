#pragma once

#include "tests/filedata/FileBuilder.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqio::tests {

/// A node of a zone.
struct MeshNode
{
    std::uint32_t partition;
    std::uint32_t node; ///< In the partition.
};

using MeshCell = std::vector<MeshNode>;

struct MeshPartition
{
    std::uint32_t numNodes;
    std::vector<std::vector<MeshCell>> cells; ///< By section.
};

/// A finite-element HDQ zone with the records of its connectivity, of one partition or more. Of a
/// mixed zone the sections say shapes and orders; their counts are those of the cells.
ZoneSpec meshZone(char letter, std::uint32_t version, std::vector<MeshPartition> const& mesh,
                  std::vector<SectionSpec> sections = {});

}
