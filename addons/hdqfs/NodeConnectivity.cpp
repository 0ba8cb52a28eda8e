#include "addons/hdqfs/NodeConnectivity.h"

#include "addons/hdqfs/NotServed.h"
#include "addons/hdqfs/SubzoneCounts.h"

namespace varnox::hdqfsloader {

namespace {

constexpr char const* WHAT = "the cells at the nodes of HDQ zones";

}

void NodeConnectivity::checkout(RawArray<SubzoneAddress>&) {}

void NodeConnectivity::checkin(RawArray<SubzoneAddress>&) {}

ItemAddress<long> NodeConnectivity::toUniformAddress(ItemAddress<long> const&)
{
    throwNotServed(WHAT);
}

ItemAddress<long> NodeConnectivity::toHdqAddress(ItemAddress<long> const&)
{
    throwNotServed(WHAT);
}

void NodeConnectivity::referencedCellSubzones(SubzoneAddress const&, RawArray<SubzoneAddress>&)
{
    throwNotServed(WHAT);
}

long NodeConnectivity::numSubzones()
{
    return countSubzones(m_grid, Items::Nodes);
}

unsigned short NodeConnectivity::size(SubzoneAddress const& subzone)
{
    return subzoneSize(m_grid, subzone, Items::Nodes);
}

}
