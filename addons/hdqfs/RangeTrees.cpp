#include "addons/hdqfs/RangeTrees.h"

#include "addons/hdqfs/SubzoneOrder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace varnox::hdqfsloader {

using hdqio::MinMax;
using hdqio::MinMaxTree;

namespace {

constexpr double INF = std::numeric_limits<double>::infinity();

MinMax withoutNotANumber(MinMax const& range)
{
    return {std::isnan(range.min) ? -INF : range.min, std::isnan(range.max) ? INF : range.max};
}

/// Over ranges in their own order, or in another one of the same length.
RangeTrees::Tree treeOf(MinMax const* ranges, std::uint64_t count,
                        std::vector<std::uint32_t> const& order = {})
{
    if (count == 0)
        return nullptr;
    auto result = std::make_shared<MinMaxTree>();
    auto const n = static_cast<std::uint32_t>(count);
    if (count > MinMaxTree::MAX_ENTRIES || !result->alloc(n))
        throw std::bad_alloc();
    for (std::uint32_t e = 0; e < n; ++e)
        result->levels[0][e] = withoutNotANumber(ranges[order.empty() ? e : order[e]]);
    result->populateTree(n);
    return result;
}

std::size_t byteCountOf(RangeTrees::SubzoneTrees const& trees)
{
    std::size_t result = trees.order == nullptr ? 0 : trees.order->size() * sizeof(std::uint32_t);
    for (RangeTrees::Tree const& tree : trees.sections)
        for (std::uint32_t level = 0; tree != nullptr && level < MinMaxTree::NUM_LEVELS; ++level)
            result += tree->levels[level].size() * sizeof(MinMax);
    return result;
}

/// What trees over one layout and another have in common.
std::vector<std::uint64_t> shapeOf(SubzoneLayout const& layout)
{
    std::vector<std::uint64_t> result;
    if (layout.isOrdered())
        for (std::size_t axis = 0; axis < 3; ++axis)
            result.push_back(layout.axis(axis).numBricks);
    else
        for (std::uint32_t section = 0; section < layout.numSections(); ++section)
            result.push_back(layout.numSubzones(section));
    return result;
}

}

RangeTrees::Tree RangeTrees::partitions(ZoneVariable& variable, Items items)
{
    auto const key = std::make_pair(&variable, items);
    auto const found = m_partitions.find(key);
    if (found != m_partitions.end())
        return found->second;
    std::vector<MinMax> ranges = variable.partitionRanges();
    if (items != variable.items())
        for (std::size_t partition = 0; partition < ranges.size(); ++partition)
            ranges[partition] =
                joined(variable.subzoneRanges(static_cast<std::uint32_t>(partition), items));
    return m_partitions.emplace(key, treeOf(ranges.data(), ranges.size())).first->second;
}

RangeTrees::SubzoneTrees RangeTrees::subzones(ZoneVariable& variable, std::uint32_t partition,
                                              Items items, SubzoneLayout const& layout)
{
    Key const key(&variable, items, partition);
    std::vector<std::uint64_t> shape = shapeOf(layout);
    if (Entry const* const entry = find(key))
        if (entry->shape == shape)
            return entry->trees;
    std::vector<MinMax> const ranges = variable.subzoneRanges(partition, items);
    if (ranges.size() != layout.numSubzones())
        throw std::runtime_error(variable.description() + " has ranges of " +
                                 std::to_string(ranges.size()) +
                                 " subzones in a partition, which has another number of them.");
    std::vector<std::uint32_t> order = subzoneOrder(layout);
    SubzoneTrees trees;
    MinMax const* next = ranges.data();
    for (std::uint32_t section = 0; section < layout.numSections(); ++section) {
        trees.sections.push_back(treeOf(next, layout.numSubzones(section), order));
        next += layout.numSubzones(section);
    }
    if (!order.empty())
        trees.order = std::make_shared<std::vector<std::uint32_t> const>(std::move(order));
    return keep({key, std::move(shape), std::move(trees), 0});
}

RangeTrees::Entry const* RangeTrees::find(Key const& key)
{
    auto const found = m_byKey.find(key);
    if (found == m_byKey.end())
        return nullptr;
    m_entries.splice(m_entries.begin(), m_entries, found->second);
    return &*found->second;
}

RangeTrees::SubzoneTrees RangeTrees::keep(Entry entry)
{
    auto const old = m_byKey.find(entry.key);
    if (old != m_byKey.end()) {
        m_byteCount -= old->second->byteCount;
        m_entries.erase(old->second);
        m_byKey.erase(old);
    }
    entry.byteCount = byteCountOf(entry.trees);
    m_byteCount += entry.byteCount;
    SubzoneTrees result = entry.trees;
    m_entries.push_front(std::move(entry));
    m_byKey[m_entries.front().key] = m_entries.begin();
    while (m_byteCount > m_maxBytes) {
        m_byteCount -= m_entries.back().byteCount;
        m_byKey.erase(m_entries.back().key);
        m_entries.pop_back();
    }
    return result;
}

}
