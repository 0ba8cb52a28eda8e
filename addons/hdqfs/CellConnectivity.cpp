#include "addons/hdqfs/CellConnectivity.h"

#include "addons/hdqfs/NotServed.h"
#include "addons/hdqfs/SubzoneCounts.h"

namespace varnox::hdqfsloader {

namespace {

constexpr char const* WHAT = "the cells of HDQ zones";

}

void CellConnectivity::checkout(bool, RawArray<SubzoneAddress>&) {}

void CellConnectivity::checkin(RawArray<SubzoneAddress>&) {}

void CellConnectivity::checkoutAll(bool) {}

ItemAddress<long> CellConnectivity::toUniformAddress(ItemAddress<long> const&)
{
    throwNotServed(WHAT);
}

ItemAddress<long> CellConnectivity::toHdqAddress(ItemAddress<long> const&)
{
    throwNotServed(WHAT);
}

void CellConnectivity::referencedNodeSubzones(SubzoneAddress const&, RawArray<SubzoneAddress>&)
{
    throwNotServed(WHAT);
}

long CellConnectivity::numSubzones()
{
    return countSubzones(m_grid, Items::Cells);
}

unsigned short CellConnectivity::size(SubzoneAddress const& subzone)
{
    return subzoneSize(m_grid, subzone, Items::Cells);
}

long CellConnectivity::cornerNodeCount(ItemAddress<long> const&)
{
    throwNotServed(WHAT);
}

long CellConnectivity::nodeCount(ItemAddress<long> const&)
{
    throwNotServed(WHAT);
}

long CellConnectivity::faceCount(ItemAddress<long> const&)
{
    throwNotServed(WHAT);
}

void CellConnectivity::cornerNodeAddresses(ItemAddress<long> const&, RawArray<ItemAddress<long>>&)
{
    throwNotServed(WHAT);
}

ItemAddress<long> CellConnectivity::cornerNodeAddress(ItemAddress<long> const&, int)
{
    throwNotServed(WHAT);
}

void CellConnectivity::nodeAddresses(ItemAddress<long> const&, RawArray<ItemAddress<long>>&)
{
    throwNotServed(WHAT);
}

ItemAddress<long> CellConnectivity::nodeAddress(ItemAddress<long> const&, int)
{
    throwNotServed(WHAT);
}

}
