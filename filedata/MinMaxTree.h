#pragma once

#include "filedata/LightweightVector.h"
#include "filedata/Numbers.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

#include <cstdint>

namespace varnox::hdqio {

/// Ranges of values in five levels, an entry of a level covering 64 of the level below. Finds the
/// entries whose ranges hold given values.
class MinMaxTree
{
public:
    static constexpr std::uint32_t NUM_LEVELS = 5;
    /// More entries than a subzone address can name are refused.
    static constexpr std::uint32_t MAX_ENTRIES = 0x10000000;

    /// Entries of a level over n entries at the bottom, n at least 1.
    static std::uint64_t numEntries(std::uint32_t n, std::uint32_t level)
    {
        return ((static_cast<std::uint64_t>(n) - 1) >> (6 * level)) + 1;
    }

    /// False if memory is short or the tree is in use.
    bool alloc(std::uint32_t n);

    /// Fills the upper levels from the lowest.
    void populateTree(std::uint32_t n);

    /// The entries of a level from first up to but excluding last, and below them, at whose bottom
    /// every tree's range holds its value. Appends their addresses in ascending order. An empty
    /// list of trees finds all.
    static void recursivelyFindEntriesContainingNVarValues(
        RawArray<MinMaxTree const*> const& trees, RawArray<double> const& values,
        std::uint32_t level, std::uint32_t first, std::uint32_t last, std::uint32_t n,
        std::uint32_t partition, std::uint32_t section,
        RawArray<ItemAddress<long>::SubzoneAddress>& out);

    LightweightVector<LightweightVector<MinMax>> levels;
};

}
