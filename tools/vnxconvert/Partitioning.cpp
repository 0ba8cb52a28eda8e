#include "tools/vnxconvert/Partitioning.h"

#include "tools/vnxconvert/CellKinds.h"
#include "writer/Hilbert.h"

#include <algorithm>
#include <numeric>

namespace varnox::convert {

using hdqfswriter::Box;
using hdqfswriter::Partition;

namespace {

/// A box at the end of the zone has a cell fewer than nodes.
std::uint64_t mostCellsOf(Box const& box)
{
    return box.numItems();
}

void halve(Box const& box, std::uint64_t mostCells, std::vector<Partition>& result)
{
    std::size_t longest = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (box.extent(axis) > box.extent(longest))
            longest = axis;
    // Each part needs a cell along each axis also at the end of the zone.
    if (mostCellsOf(box) <= mostCells || box.extent(longest) < 4) {
        result.push_back({box, 0, {}});
        return;
    }
    Box low = box;
    Box high = box;
    low.end[longest] = high.begin[longest] = box.begin[longest] + box.extent(longest) / 2;
    halve(low, mostCells, result);
    halve(high, mostCells, result);
}

/// Cells of a zone, those of all sections in a row.
struct CellList
{
    std::vector<std::uint32_t> sections;
    std::vector<std::uint32_t> numbers; ///< In ZoneLayout::cells.
};

CellList listOf(ZoneLayout const& zone)
{
    CellList result;
    for (std::uint32_t s = 0; s < zone.cellNumbers.size(); ++s) {
        std::vector<std::uint32_t> numbers = zone.cellNumbers[s];
        if (numbers.empty()) {
            numbers.resize(zone.cells.count);
            std::iota(numbers.begin(), numbers.end(), 0U);
        }
        result.sections.insert(result.sections.end(), numbers.size(), s);
        result.numbers.insert(result.numbers.end(), numbers.begin(), numbers.end());
    }
    return result;
}

std::vector<double> centersOf(ZoneLayout const& zone, CellList const& list)
{
    std::vector<double> result(3 * list.numbers.size());
    for (std::size_t i = 0; i < list.numbers.size(); ++i) {
        std::uint32_t const cell = list.numbers[i];
        std::int64_t const* const nodes = zone.cells.nodes.get() + zone.cells.offsets.get()[cell];
        std::size_t const numCorners = cellKind(zone.cells.kinds.get()[cell]).numCorners;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            double sum = 0;
            for (std::size_t n = 0; n < numCorners; ++n)
                sum += coordinate(*zone.grid, static_cast<std::size_t>(nodes[n]), axis);
            result[3 * i + axis] = sum / static_cast<double>(numCorners);
        }
    }
    return result;
}

std::vector<std::uint32_t> orderOf(ZoneLayout const& zone, CellList const& list, bool keepOrder)
{
    auto const count = static_cast<std::uint32_t>(list.numbers.size());
    if (!keepOrder)
        return hdqfswriter::hilbertOrder(centersOf(zone, list).data(), count);
    std::vector<std::uint32_t> result(count);
    std::iota(result.begin(), result.end(), 0U);
    std::sort(result.begin(), result.end(),
              [&](std::uint32_t a, std::uint32_t b) { return list.numbers[a] < list.numbers[b]; });
    return result;
}

constexpr std::uint32_t NOBODY = 0xFFFFFFFF;

/// Cells and nodes of the partitions as they come about.
class Cutter
{
public:
    Cutter(ZoneLayout& zone, std::uint64_t mostCells)
        : m_zone(zone), m_list(listOf(zone)), m_owner(zone.grid->numNodes, NOBODY),
          m_mostCells(mostCells)
    {
    }

    void cut(bool keepOrder)
    {
        std::vector<std::uint32_t> const order = orderOf(m_zone, m_list, keepOrder);
        std::size_t const count = order.size();
        std::size_t const wanted =
            static_cast<std::size_t>((count + m_mostCells - 1) / m_mostCells);
        m_numbers.resize(m_zone.shapes.size());
        for (std::size_t p = 0; p < wanted; ++p)
            take(order, count / wanted * p + std::min(p, count % wanted),
                 count / wanted * (p + 1) + std::min(p + 1, count % wanted));
        giveNodes();
        m_zone.cellNumbers = std::move(m_numbers);
        m_zone.partitions = std::move(m_partitions);
    }

private:
    /// Cells that bring no node of their own join the partition ahead: each needs nodes.
    void take(std::vector<std::uint32_t> const& order, std::size_t begin, std::size_t end)
    {
        auto const partition = static_cast<std::uint32_t>(m_partitions.size());
        std::uint64_t numNodes = 0;
        std::vector<std::uint64_t> numCells(m_zone.shapes.size());
        for (std::size_t i = begin; i < end; ++i) {
            std::uint32_t const cell = m_list.numbers[order[i]];
            std::uint32_t const section = m_list.sections[order[i]];
            m_numbers[section].push_back(cell);
            ++numCells[section];
            std::int64_t const* const nodes =
                m_zone.cells.nodes.get() + m_zone.cells.offsets.get()[cell];
            std::size_t const numCorners = cellKind(m_zone.cells.kinds.get()[cell]).numCorners;
            for (std::size_t n = 0; n < numCorners; ++n) {
                std::uint32_t& owner = m_owner[static_cast<std::size_t>(nodes[n])];
                if (owner == NOBODY) {
                    owner = partition;
                    ++numNodes;
                }
            }
        }
        if (numNodes != 0) {
            m_partitions.push_back({{}, numNodes, numCells});
            return;
        }
        for (std::size_t s = 0; s < numCells.size(); ++s)
            m_partitions.back().numCells[s] += numCells[s];
    }

    /// Nodes in the order of partitions, in each as in the file. Those that no cell has go last.
    void giveNodes()
    {
        std::vector<std::uint32_t> next;
        std::uint32_t first = 0;
        for (Partition const& partition : m_partitions) {
            next.push_back(first);
            first += static_cast<std::uint32_t>(partition.numNodes);
        }
        std::vector<std::uint32_t> const before = std::move(m_zone.nodes);
        std::size_t const numNodes = before.empty() ? m_owner.size() : before.size();
        m_zone.nodes.assign(numNodes, 0);
        m_zone.zoneNodes.assign(m_owner.size(), 0);
        for (std::size_t n = 0; n < numNodes; ++n) {
            std::uint32_t const node = before.empty() ? static_cast<std::uint32_t>(n) : before[n];
            std::uint32_t const owner = m_owner[node];
            std::uint32_t const place = owner == NOBODY ? first++ : next[owner]++;
            m_partitions.back().numNodes += owner == NOBODY;
            m_zone.nodes[place] = node;
            m_zone.zoneNodes[node] = place;
        }
    }

    ZoneLayout& m_zone;
    CellList m_list;
    std::vector<std::uint32_t> m_owner; ///< By node of the grid.
    std::vector<std::vector<std::uint32_t>> m_numbers;
    std::vector<Partition> m_partitions;
    std::uint64_t m_mostCells;
};

}

void partitionOrdered(ZoneLayout& zone, std::uint64_t mostCells, Remarks& remarks)
{
    if (zone.numCells() <= mostCells)
        return;
    Box whole;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        whole.end[axis] = zone.grid->size[axis];
        if (whole.end[axis] < 2) {
            remarks.add("'" + zone.name + "' is flat and can't be cut into partitions.");
            return;
        }
    }
    halve(whole, mostCells, zone.partitions);
    if (zone.partitions.size() == 1)
        zone.partitions.clear();
}

void partitionCells(ZoneLayout& zone, std::uint64_t mostCells, bool keepOrder)
{
    Cutter(zone, mostCells).cut(keepOrder);
}

}
