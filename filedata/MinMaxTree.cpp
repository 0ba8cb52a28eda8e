#include "filedata/MinMaxTree.h"

#include <algorithm>

namespace varnox::hdqio {

bool MinMaxTree::alloc(std::uint32_t n)
{
    if (n == 0 || n > MAX_ENTRIES || !levels.alloc(NUM_LEVELS))
        return false;
    for (std::uint32_t level = 0; level < NUM_LEVELS; ++level)
        if (!levels[level].alloc(numEntries(n, level)))
            return false;
    return true;
}

void MinMaxTree::populateTree(std::uint32_t n)
{
    for (std::uint32_t level = 0; level + 1 < NUM_LEVELS; ++level) {
        auto const& below = levels[level];
        std::uint64_t const numBelow = numEntries(n, level);
        for (std::uint64_t e = 0; e < numEntries(n, level + 1); ++e) {
            std::uint64_t const last = std::min(64 * e + 64, numBelow);
            MinMax range = below[64 * e];
            for (std::uint64_t i = 64 * e + 1; i < last; ++i) {
                if (below[i].min < range.min)
                    range.min = below[i].min;
                if (below[i].max > range.max)
                    range.max = below[i].max;
            }
            levels[level + 1][e] = range;
        }
    }
}

void MinMaxTree::recursivelyFindEntriesContainingNVarValues(
    RawArray<MinMaxTree const*> const& trees, RawArray<double> const& values, std::uint32_t level,
    std::uint32_t first, std::uint32_t last, std::uint32_t n, std::uint32_t partition,
    std::uint32_t section, RawArray<ItemAddress<long>::SubzoneAddress>& out)
{
    for (std::uint32_t e = first; e < last; ++e) {
        bool holdsAll = true;
        for (std::uint64_t k = 0; holdsAll && k < trees.size; ++k) {
            MinMax const& range = trees.data[k]->levels[level][e];
            holdsAll = values.data[k] >= range.min && values.data[k] <= range.max;
        }
        if (!holdsAll)
            continue;
        if (level == 0) {
            append(out, ItemAddress<long>::SubzoneAddress(partition, section, e));
        } else {
            auto const end = static_cast<std::uint32_t>(
                std::min<std::uint64_t>(64ULL * e + 64, numEntries(n, level - 1)));
            recursivelyFindEntriesContainingNVarValues(trees, values, level - 1, 64 * e, end, n,
                                                       partition, section, out);
        }
    }
}

}
