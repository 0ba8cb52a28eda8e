#pragma once

#include "addons/hdqfs/DataSet.h"

#include "varnox/hdq/NodeConnectivityQueryInterface.h"

namespace varnox::hdqfsloader {

/// The nodes of a finite-element zone and the cells that they belong to.
class NodeConnectivity final : public hdq::NodeConnectivityQueryInterface
{
public:
    explicit NodeConnectivity(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void checkout(RawArray<SubzoneAddress>& subzones) override;
    void checkin(RawArray<SubzoneAddress>& subzones) override;
    void checkoutAll() override {}
    void checkinAll() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) override;
    ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) override;
    void referencedCellSubzones(SubzoneAddress const& subzone,
                                RawArray<SubzoneAddress>& result) override;
    long numSubzones() override;
    unsigned short size(SubzoneAddress const& subzone) override;

private:
    DataSet::ZoneInFile m_grid;
};

}
