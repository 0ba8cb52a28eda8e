#pragma once

#include "tests/filedata/FileBuilder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::hdqio::tests {

/// A referenced subzone as a record has it.
struct Reference
{
    std::uint32_t subzone;
    std::uint16_t partitionNumber = 0; ///< In the list of partitions.
    std::uint8_t section = 0;
};

/// Numbers of 2, 4 or 8 bits, the first in the highest bits.
std::vector<std::uint8_t> packed(int bits, std::vector<std::uint16_t> const& numbers);

/// Referenced subzones; numPartitions of 0 names no partitions.
std::uint64_t references(FileBuilder& file, char const* word, std::size_t numPartitions,
                         std::vector<Reference> const& list, bool withSections);

/// A cell subzone's connectivity, in the form of the version.
struct CellRecord
{
    std::vector<Reference> refs;
    std::vector<std::uint16_t> refNumbers; ///< Of each corner.
    std::vector<std::uint8_t> nszOffsets;
    std::size_t numPartitions = 0;
};
std::uint64_t cellRecord(FileBuilder& file, std::uint32_t version, CellRecord const& record);

struct NodeRecord
{
    std::vector<Reference> refs;
    bool withSections = false;
    std::size_t numPartitions = 0;
};
std::uint64_t nodeRecord(FileBuilder& file, std::uint32_t version, NodeRecord const& record);

}
