#include "tools/vnxinfo/BoxCheck.h"

#include "tools/vnxinfo/SubzoneValues.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

namespace varnox::tools {

using hdqfsloader::Items;
using hdqfsloader::SubzoneLayout;
using hdqio::ZoneMetadata;

namespace {

using Box = SubzoneLayout::Box;

bool isEmpty(Box const& box)
{
    return box.begin[0] >= box.end[0] || box.begin[1] >= box.end[1] || box.begin[2] >= box.end[2];
}

Box intersection(Box const& a, Box const& b)
{
    Box result{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.begin[axis] = std::max(a.begin[axis], b.begin[axis]);
        result.end[axis] = std::min(a.end[axis], b.end[axis]);
    }
    return result;
}

/// A zone's items of one kind, by their indices in the whole zone.
class OrderedValues
{
public:
    OrderedValues(SubzoneValues& values, ZoneMetadata const& zone, Items items)
        : m_values(values), m_items(items), m_tree(zone.ptnRTree.get())
    {
        for (std::uint32_t p = 0; p < zone.numPartitions; ++p) {
            SubzoneLayout const& layout = values.layout(p, items);
            hdqio::IJK const& low = zone.ptnMinIJK[p];
            std::array<std::int64_t, 3> const begin{low.i, low.j, low.k};
            Box box{};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                box.begin[axis] = static_cast<std::uint64_t>(begin[axis]);
                box.end[axis] = box.begin[axis] + layout.axis(axis).size;
                m_end[axis] = std::max(m_end[axis], box.end[axis]);
            }
            m_boxes.push_back(box);
        }
    }

    Box const& boxOf(std::uint32_t partition) const { return m_boxes[partition]; }
    /// Behind the last item of the zone.
    std::uint64_t end(std::size_t axis) const { return m_end[axis]; }

    void addTo(GrowingRange& range, std::uint32_t var, Box const& box)
    {
        if (isEmpty(box))
            return;
        if (m_tree == nullptr) {
            addOf(0, range, var, box);
            return;
        }
        std::vector<std::pair<ZoneMetadata::Box, std::uint32_t>> found;
        auto const point = [](std::array<std::uint64_t, 3> const& at, std::uint64_t less) {
            return ZoneMetadata::Point(static_cast<long>(at[0] - less),
                                       static_cast<long>(at[1] - less),
                                       static_cast<long>(at[2] - less));
        };
        m_tree->query(boost::geometry::index::intersects(
                          ZoneMetadata::Box(point(box.begin, 0), point(box.end, 1))),
                      std::back_inserter(found));
        for (auto const& partition : found)
            addOf(partition.second, range, var, box);
    }

private:
    void addOf(std::uint32_t p, GrowingRange& range, std::uint32_t var, Box const& box)
    {
        Box part = intersection(box, m_boxes[p]);
        if (isEmpty(part))
            return;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            part.begin[axis] -= m_boxes[p].begin[axis];
            part.end[axis] -= m_boxes[p].begin[axis];
        }
        addPart(range, var, p, part);
    }

    /// Items of a partition, by their indices in it.
    void addPart(GrowingRange& range, std::uint32_t var, std::uint32_t p, Box const& part)
    {
        SubzoneLayout const& layout = m_values.layout(p, m_items);
        Box bricks{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            SubzoneLayout::Axis const& a = layout.axis(axis);
            bricks.begin[axis] = (part.begin[axis] + a.shift) / a.limit;
            bricks.end[axis] = (part.end[axis] - 1 + a.shift) / a.limit + 1;
        }
        std::uint64_t const numI = layout.axis(0).numBricks;
        std::uint64_t const numJ = layout.axis(1).numBricks;
        for (std::uint64_t k = bricks.begin[2]; k < bricks.end[2]; ++k)
            for (std::uint64_t j = bricks.begin[1]; j < bricks.end[1]; ++j)
                for (std::uint64_t i = bricks.begin[0]; i < bricks.end[0]; ++i)
                    addBrick(range, var, p, static_cast<std::uint32_t>(i + numI * (j + numJ * k)),
                             part);
    }

    void addBrick(GrowingRange& range, std::uint32_t var, std::uint32_t p, std::uint32_t subzone,
                  Box const& part)
    {
        Box const brick = m_values.layout(p, m_items).brick(subzone);
        Box const wanted = intersection(brick, part);
        if (isEmpty(wanted))
            return;
        std::vector<double> const& values = m_values.values(var, p, 0, subzone);
        for (std::uint64_t k = wanted.begin[2]; k < wanted.end[2]; ++k)
            for (std::uint64_t j = wanted.begin[1]; j < wanted.end[1]; ++j)
                for (std::uint64_t i = wanted.begin[0]; i < wanted.end[0]; ++i)
                    range.add(values.at(static_cast<std::size_t>(
                        i - brick.begin[0] +
                        brick.extent(0) *
                            (j - brick.begin[1] + brick.extent(1) * (k - brick.begin[2])))));
    }

    SubzoneValues& m_values;
    Items m_items;
    ZoneMetadata::BoxTree const* m_tree; ///< Of the partitions' nodes; null if there is only one.
    std::vector<Box> m_boxes;
    std::array<std::uint64_t, 3> m_end{};
};

/// The nodes of a box of cells, or the cells around a box of nodes.
Box around(Box const& box, bool areCells, OrderedValues const& others)
{
    Box result = box;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (areCells)
            ++result.end[axis];
        else if (result.begin[axis] > 0)
            --result.begin[axis];
        result.end[axis] = std::min(result.end[axis], others.end(axis));
    }
    return result;
}

void checkVariable(CheckedFile& file, std::uint32_t z, std::uint32_t v,
                   std::vector<CrossRanges> const& cross)
{
    ZoneMetadata const& zone = file.zones[z].metadata;
    bool const isNodal = file.isNodal(z, v);
    SubzoneValues values(file, z);
    OrderedValues own(values, zone, isNodal ? Items::Nodes : Items::Cells);
    OrderedValues const others(values, zone, isNodal ? Items::Cells : Items::Nodes);
    for (std::uint32_t p = 0; p < zone.numPartitions; ++p) {
        SubzoneLayout const& layout = values.layout(p, isNodal ? Items::Cells : Items::Nodes);
        for (std::uint32_t n = 0; n < layout.numSubzones(); ++n) {
            Box box = layout.brick(n);
            if (isEmpty(box))
                continue;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                box.begin[axis] += others.boxOf(p).begin[axis];
                box.end[axis] += others.boxOf(p).begin[axis];
            }
            GrowingRange real;
            own.addTo(real, v, around(box, isNodal, own));
            hdqio::MinMax const told = cross[p].ranges.at(0)[n];
            if (!isSame(told, real.range()))
                file.faults.add({isNodal ? "range of a cell subzone" : "range of a node subzone", z,
                                 p, v, -1, n},
                                "It is told as " + textOf(told) + ", and the values are " +
                                    textOf(real.range()) + ".");
        }
    }
}

}

void checkOrderedRanges(CheckedFile& file, std::uint32_t z, ZoneCrossRanges const& cross)
{
    for (std::uint32_t v = 0; v < cross.size(); ++v)
        if (std::all_of(cross[v].begin(), cross[v].end(),
                        [](CrossRanges const& ranges) { return ranges.isRead; }))
            checkVariable(file, z, v, cross[v]);
}

}
