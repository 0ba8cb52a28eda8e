#include "addons/hdqfs/SubzoneSearch.h"

#include "addons/hdqfs/SubzoneCounts.h"

#include "filedata/ZoneMetadata.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace varnox::hdqfsloader {

using hdqio::MinMaxTree;

namespace {

using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

/// Appends what the trees, one of each variable over the same entries, find.
void findEntries(std::vector<MinMaxTree const*>& trees, RawArray<double> const& values,
                 std::uint64_t numEntries, std::uint32_t partition, std::uint32_t section,
                 RawArray<SubzoneAddress>& result)
{
    constexpr std::uint32_t TOP = MinMaxTree::NUM_LEVELS - 1;
    if (numEntries == 0)
        return;
    auto const n = static_cast<std::uint32_t>(numEntries);
    RawArray<MinMaxTree const*> const all{nullptr, trees.data(), trees.size(), trees.size()};
    MinMaxTree::recursivelyFindEntriesContainingNVarValues(
        all, values, TOP, 0, static_cast<std::uint32_t>(MinMaxTree::numEntries(n, TOP)), n,
        partition, section, result);
}

/// Sorts numbers below limit, each of which occurs once, by marking them.
void sortByMarking(std::vector<std::uint32_t>& numbers, std::size_t limit)
{
    std::vector<std::uint64_t> marks(limit / 64 + 1);
    for (std::uint32_t const number : numbers)
        marks[number / 64] |= std::uint64_t{1} << number % 64;
    auto next = numbers.begin();
    for (std::size_t word = 0; word < marks.size(); ++word)
        for (std::uint64_t left = marks[word]; left != 0; left &= left - 1)
            *next++ = static_cast<std::uint32_t>(word * 64 +
                                                 static_cast<unsigned>(__builtin_ctzll(left)));
}

/// Turns the entries found, from first on, into the subzones that they stand for, and sorts these.
void nameSubzones(std::vector<std::uint32_t> const& order, std::uint64_t first,
                  RawArray<SubzoneAddress>& result)
{
    // Few are sorted sooner by comparing them than by going through marks for all.
    constexpr std::size_t FEW = 4096;
    std::vector<std::uint32_t> subzones;
    subzones.reserve(static_cast<std::size_t>(result.size - first));
    for (std::uint64_t i = first; i < result.size; ++i)
        subzones.push_back(order[result.data[i].subzoneOffset()]);
    if (subzones.size() < order.size() / FEW)
        std::sort(subzones.begin(), subzones.end());
    else
        sortByMarking(subzones, order.size());
    for (std::size_t i = 0; i < subzones.size(); ++i) {
        SubzoneAddress& address = result.data[first + i];
        address = SubzoneAddress(address.partition(), address.section(), subzones[i]);
    }
}

std::vector<std::uint32_t> findPartitions(RangeTrees& cache, std::uint32_t numPartitions,
                                          std::vector<ZoneVariable*> const& variables,
                                          RawArray<double> const& values, Items items)
{
    // The range of a zone in one piece tells no more than the top of its subzones' tree.
    if (numPartitions < 2)
        return {0};
    std::vector<RangeTrees::Tree> owners;
    std::vector<MinMaxTree const*> trees;
    for (ZoneVariable* const variable : variables) {
        owners.push_back(cache.partitions(*variable, items));
        trees.push_back(owners.back().get());
        if (trees.back() == nullptr || trees.back()->levels[0].size() != numPartitions)
            throw std::runtime_error(variable->description() +
                                     " has no range for each partition of the zone.");
    }
    struct Owner
    {
        ~Owner() { delete[] block; }
        SubzoneAddress* block = nullptr;
    } owner;
    RawArray<SubzoneAddress> found{&owner.block, nullptr, 0, 0};
    std::vector<std::uint32_t> result;
    findEntries(trees, values, numPartitions, 0, 0, found);
    for (std::uint64_t i = 0; i < found.size; ++i)
        result.push_back(found.data[i].subzoneOffset());
    return result;
}

}

void findSubzones(RangeTrees& cache, DataSet::ZoneInFile const& grid,
                  std::vector<ZoneVariable*> const& variables, RawArray<double> const& values,
                  Items items, RawArray<SubzoneAddress>& result)
{
    std::uint32_t const numPartitions = grid.file->zone(grid.zone).numPartitions;
    for (std::uint32_t const partition :
         findPartitions(cache, numPartitions, variables, values, items)) {
        numListedSubzones(grid, partition, items); // refuses too many before the first tree
        SubzoneLayout const& layout = grid.file->layout(grid.zone, partition, items);
        std::vector<RangeTrees::SubzoneTrees> owners;
        for (ZoneVariable* const variable : variables)
            owners.push_back(cache.subzones(*variable, partition, items, layout));
        for (std::uint32_t section = 0; section < layout.numSections(); ++section) {
            std::vector<MinMaxTree const*> trees;
            trees.reserve(owners.size());
            for (auto const& ofVariable : owners)
                trees.push_back(ofVariable.sections[section].get());
            std::uint64_t const first = result.size;
            findEntries(trees, values, layout.numSubzones(section), partition, section, result);
            if (!owners.empty() && owners.front().order != nullptr)
                nameSubzones(*owners.front().order, first, result);
        }
    }
}

}
