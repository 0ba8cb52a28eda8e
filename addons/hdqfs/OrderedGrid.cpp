#include "addons/hdqfs/OrderedGrid.h"

#include "filedata/ZoneMetadata.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace varnox::hdqfsloader {

using hdqio::ZoneMetadata;

namespace {

using Box = OrderedGrid::Box;
using Indices = OrderedGrid::Indices;
using PartitionBox = std::pair<ZoneMetadata::Box, std::uint32_t>;

std::string textOf(Indices const& indices)
{
    return std::to_string(indices[0]) + ", " + std::to_string(indices[1]) + ", " +
           std::to_string(indices[2]);
}

std::string singular(Items items)
{
    return items == Items::Nodes ? "node" : "cell";
}

/// The partitions whose nodes lie in a box that isn't empty, in ascending order.
std::vector<std::uint32_t> partitionsAt(ZoneMetadata const& zone, Box const& box)
{
    auto const point = [](Indices const& at, std::uint64_t less) {
        return ZoneMetadata::Point(static_cast<long>(at[0] - less), static_cast<long>(at[1] - less),
                                   static_cast<long>(at[2] - less));
    };
    std::vector<PartitionBox> found;
    zone.ptnRTree->query(boost::geometry::index::intersects(
                             ZoneMetadata::Box(point(box.begin, 0), point(box.end, 1))),
                         std::back_inserter(found));
    std::vector<std::uint32_t> result;
    for (PartitionBox const& partition : found)
        result.push_back(partition.second);
    std::sort(result.begin(), result.end());
    return result;
}

}

Indices OrderedGrid::size(Items items) const
{
    auto const& ijk = m_grid.file->zone(m_grid.zone).ijk;
    Indices result{};
    std::array<std::int64_t, 3> const nodes{ijk.i, ijk.j, ijk.k};
    for (std::size_t axis = 0; axis < 3; ++axis)
        result[axis] = static_cast<std::uint64_t>(
            items == Items::Nodes ? nodes[axis] : numCellsAlong(nodes[axis]));
    return result;
}

Indices OrderedGrid::origin(std::uint32_t partition) const
{
    auto const& low = m_grid.file->zone(m_grid.zone).ptnMinIJK[partition];
    return {static_cast<std::uint64_t>(low.i), static_cast<std::uint64_t>(low.j),
            static_cast<std::uint64_t>(low.k)};
}

Box OrderedGrid::box(SubzoneAddress const& subzone, Items items) const
{
    SubzoneLayout const& layout = m_grid.file->layout(m_grid.zone, subzone.partition(), items);
    if (subzone.section() != 0)
        throw std::out_of_range("There is no section " + std::to_string(subzone.section()) +
                                " in an ordered zone.");
    Box result = layout.brick(subzone.subzoneOffset());
    Indices const first = origin(subzone.partition());
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.begin[axis] += first[axis];
        result.end[axis] += first[axis];
    }
    return result;
}

Indices OrderedGrid::indicesOf(ItemAddress<long> const& item, Items items) const
{
    Box const brick = box(item.subzoneAddress(), items);
    std::uint64_t const offset = item.itemOffset();
    if (offset >= brick.numItems())
        throw std::out_of_range("There is no " + singular(items) + " " + std::to_string(offset) +
                                " in a subzone of " + std::to_string(brick.numItems()) + ".");
    std::uint64_t const layer = brick.extent(0) * brick.extent(1);
    return {brick.begin[0] + offset % brick.extent(0),
            brick.begin[1] + offset % layer / brick.extent(0), brick.begin[2] + offset / layer};
}

std::uint32_t OrderedGrid::partitionOf(Indices const& indices) const
{
    ZoneMetadata const& zone = m_grid.file->zone(m_grid.zone);
    if (zone.numPartitions < 2)
        return 0;
    Indices const low = origin(m_lastPartition);
    auto const& high = zone.ptnMaxIJK[m_lastPartition];
    bool const isInLast =
        indices[0] >= low[0] && indices[0] <= static_cast<std::uint64_t>(high.i) &&
        indices[1] >= low[1] && indices[1] <= static_cast<std::uint64_t>(high.j) &&
        indices[2] >= low[2] && indices[2] <= static_cast<std::uint64_t>(high.k);
    if (!isInLast) {
        auto const found =
            partitionsAt(zone, {indices, {indices[0] + 1, indices[1] + 1, indices[2] + 1}});
        if (found.empty())
            throw std::runtime_error("No partition of zone " + std::to_string(m_grid.zone + 1) +
                                     " in " + m_grid.file->path() + " holds the node " +
                                     textOf(indices) + ".");
        m_lastPartition = found.front();
    }
    return m_lastPartition;
}

ItemAddress<long> OrderedGrid::addressOf(Indices const& indices, Items items) const
{
    Indices const limits = size(items);
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (indices[axis] >= limits[axis])
            throw std::out_of_range("There is no " + singular(items) + " " + textOf(indices) +
                                    " in an ordered zone of " + textOf(limits) + ".");
    // A cell lies in the partition of its first node.
    std::uint32_t const partition = partitionOf(indices);
    SubzoneLayout const& layout = m_grid.file->layout(m_grid.zone, partition, items);
    Indices const first = origin(partition);
    Indices brick{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        brick[axis] =
            (indices[axis] - first[axis] + layout.axis(axis).shift) / layout.axis(axis).limit;
    std::uint64_t const subzone =
        (brick[2] * layout.axis(1).numBricks + brick[1]) * layout.axis(0).numBricks + brick[0];
    Box const held = layout.brick(subzone);
    std::uint64_t const offset = ((indices[2] - first[2] - held.begin[2]) * held.extent(1) +
                                  indices[1] - first[1] - held.begin[1]) *
                                     held.extent(0) +
                                 indices[0] - first[0] - held.begin[0];
    if (offset > 0xFF)
        throw std::runtime_error("A subzone of zone " + std::to_string(m_grid.zone + 1) + " in " +
                                 m_grid.file->path() + " has more than 256 items.");
    return {SubzoneAddress(partition, 0, static_cast<std::uint32_t>(subzone)),
            static_cast<std::uint8_t>(offset)};
}

std::uint64_t OrderedGrid::numberOf(Indices const& indices, Items items) const
{
    Indices const limits = size(items);
    return (indices[2] * limits[1] + indices[1]) * limits[0] + indices[0];
}

Indices OrderedGrid::indicesOf(std::uint64_t number, Items items) const
{
    Indices const limits = size(items);
    std::uint64_t const layer = limits[0] * limits[1];
    if (layer == 0 || number / layer >= limits[2])
        throw std::out_of_range("There is no " + singular(items) + " number " +
                                std::to_string(number) + " in an ordered zone of " +
                                textOf(limits) + ".");
    return {number % limits[0], number % layer / limits[0], number / layer};
}

void OrderedGrid::appendSubzones(Box const& box, Items items,
                                 RawArray<SubzoneAddress>& result) const
{
    Box const part = box.intersection({{0, 0, 0}, size(items)});
    if (part.numItems() == 0)
        return;
    ZoneMetadata const& zone = m_grid.file->zone(m_grid.zone);
    if (zone.numPartitions < 2) {
        appendSubzones(0, part, items, result);
        return;
    }
    for (std::uint32_t const partition : partitionsAt(zone, part))
        appendSubzones(partition, part, items, result);
}

void OrderedGrid::appendSubzones(std::uint32_t partition, Box const& box, Items items,
                                 RawArray<SubzoneAddress>& result) const
{
    SubzoneLayout const& layout = m_grid.file->layout(m_grid.zone, partition, items);
    Indices const first = origin(partition);
    Box whole{first, first};
    for (std::size_t axis = 0; axis < 3; ++axis)
        whole.end[axis] += layout.axis(axis).size;
    Box const part = box.intersection(whole);
    if (part.numItems() == 0)
        return;
    auto const brickOf = [&](std::size_t axis, std::uint64_t index) {
        return (index - first[axis] + layout.axis(axis).shift) / layout.axis(axis).limit;
    };
    for (std::uint64_t k = brickOf(2, part.begin[2]); k <= brickOf(2, part.end[2] - 1); ++k)
        for (std::uint64_t j = brickOf(1, part.begin[1]); j <= brickOf(1, part.end[1] - 1); ++j)
            for (std::uint64_t i = brickOf(0, part.begin[0]); i <= brickOf(0, part.end[0] - 1); ++i)
                append(result,
                       SubzoneAddress(
                           partition, 0,
                           static_cast<std::uint32_t>(
                               (k * layout.axis(1).numBricks + j) * layout.axis(0).numBricks + i)));
}

}
