#pragma once

#include "addons/hdqfs/OrderedGrid.h"

#include "varnox/hdq/NodeConnectivityQueryInterface.h"

namespace varnox::hdqfsloader {

/// The nodes of an ordered zone and the cells that they belong to.
class OrderedNodeConnectivity final : public hdq::NodeConnectivityQueryInterface
{
public:
    explicit OrderedNodeConnectivity(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void checkout(RawArray<SubzoneAddress>&) override {}
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll() override {}
    void checkinAll() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) override;
    ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) override;
    /// In the order of their addresses.
    void referencedCellSubzones(SubzoneAddress const& subzone,
                                RawArray<SubzoneAddress>& result) override;
    long numSubzones() override;
    unsigned short size(SubzoneAddress const& subzone) override;

private:
    OrderedGrid m_grid;
};

}
