#include "addons/hdqfs/OrderedCellConnectivity.h"

#include "addons/hdqfs/OrderedAddresses.h"
#include "addons/hdqfs/SubzoneCounts.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

namespace {

/// Steps along I, J, K from a cell's first node to each of its nodes.
constexpr OrderedGrid::Indices CORNERS[OrderedCellConnectivity::NUM_NODES] = {
    {0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};

}

ItemAddress<long> OrderedCellConnectivity::toUniformAddress(ItemAddress<long> const& item)
{
    return orderedToUniform(m_grid, item, Items::Cells);
}

ItemAddress<long> OrderedCellConnectivity::toHdqAddress(ItemAddress<long> const& item)
{
    return orderedToHdq(m_grid, item, Items::Cells);
}

void OrderedCellConnectivity::referencedNodeSubzones(SubzoneAddress const& subzone,
                                                     RawArray<SubzoneAddress>& result)
{
    OrderedGrid::Box nodes = m_grid.box(subzone, Items::Cells);
    if (nodes.numItems() == 0)
        return;
    for (std::uint64_t& end : nodes.end)
        ++end; // A cell's far nodes; the search leaves out those of a flat axis.
    m_grid.appendSubzones(nodes, Items::Nodes, result);
}

long OrderedCellConnectivity::numSubzones()
{
    return countSubzones(m_grid.place(), Items::Cells);
}

unsigned short OrderedCellConnectivity::size(SubzoneAddress const& subzone)
{
    return subzoneSize(m_grid.place(), subzone, Items::Cells);
}

ItemAddress<long> OrderedCellConnectivity::cornerOf(OrderedGrid::Indices const& cell,
                                                    std::size_t corner) const
{
    OrderedGrid::Indices const limits = m_grid.size(Items::Nodes);
    OrderedGrid::Indices node{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        node[axis] = std::min(cell[axis] + CORNERS[corner][axis], limits[axis] - 1);
    return m_grid.addressOf(node, Items::Nodes);
}

void OrderedCellConnectivity::nodeAddresses(ItemAddress<long> const& item,
                                            RawArray<ItemAddress<long>>& result)
{
    OrderedGrid::Indices const cell = m_grid.indicesOf(item, Items::Cells);
    resize(result, NUM_NODES);
    for (std::size_t corner = 0; corner < NUM_NODES; ++corner)
        result.data[corner] = cornerOf(cell, corner);
}

ItemAddress<long> OrderedCellConnectivity::nodeAddress(ItemAddress<long> const& item, int index)
{
    if (index < 0 || index >= NUM_NODES)
        throw std::out_of_range("There is no node " + std::to_string(index) +
                                " in a cell of an ordered zone.");
    return cornerOf(m_grid.indicesOf(item, Items::Cells), static_cast<std::size_t>(index));
}

void OrderedCellConnectivity::cornerNodeAddresses(ItemAddress<long> const& item,
                                                  RawArray<ItemAddress<long>>& result)
{
    nodeAddresses(item, result);
}

ItemAddress<long> OrderedCellConnectivity::cornerNodeAddress(ItemAddress<long> const& item,
                                                             int index)
{
    return nodeAddress(item, index);
}

}
