#include "addons/hdqfs/OrderedNodeConnectivity.h"

#include "addons/hdqfs/OrderedAddresses.h"
#include "addons/hdqfs/SubzoneCounts.h"

namespace varnox::hdqfsloader {

ItemAddress<long> OrderedNodeConnectivity::toUniformAddress(ItemAddress<long> const& item)
{
    return orderedToUniform(m_grid, item, Items::Nodes);
}

ItemAddress<long> OrderedNodeConnectivity::toHdqAddress(ItemAddress<long> const& item)
{
    return orderedToHdq(m_grid, item, Items::Nodes);
}

void OrderedNodeConnectivity::referencedCellSubzones(SubzoneAddress const& subzone,
                                                     RawArray<SubzoneAddress>& result)
{
    OrderedGrid::Box cells = m_grid.box(subzone, Items::Nodes);
    if (cells.numItems() == 0)
        return;
    for (std::uint64_t& begin : cells.begin)
        begin -= begin > 0; // The cell ahead of the first node; the last node has none behind it.
    m_grid.appendSubzones(cells, Items::Cells, result);
}

long OrderedNodeConnectivity::numSubzones()
{
    return countSubzones(m_grid.place(), Items::Nodes);
}

unsigned short OrderedNodeConnectivity::size(SubzoneAddress const& subzone)
{
    return subzoneSize(m_grid.place(), subzone, Items::Nodes);
}

}
