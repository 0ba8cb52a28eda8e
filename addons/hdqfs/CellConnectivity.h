#pragma once

#include "addons/hdqfs/DataSet.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"

namespace varnox::hdqfsloader {

/// The cells of a finite-element zone.
class CellConnectivity final : public hdq::CellConnectivityQueryInterface
{
public:
    explicit CellConnectivity(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void checkout(bool flag, RawArray<SubzoneAddress>& subzones) override;
    void checkin(RawArray<SubzoneAddress>& subzones) override;
    void checkoutAll(bool flag) override;
    void checkinAll() override {}
    void copyToUniform() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) override;
    ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) override;
    void referencedNodeSubzones(SubzoneAddress const& subzone,
                                RawArray<SubzoneAddress>& result) override;
    long numSubzones() override;
    unsigned short size(SubzoneAddress const& subzone) override;
    long cornerNodeCount(ItemAddress<long> const& item) override;
    long nodeCount(ItemAddress<long> const& item) override;
    long faceCount(ItemAddress<long> const& item) override;
    void cornerNodeAddresses(ItemAddress<long> const& item,
                             RawArray<ItemAddress<long>>& result) override;
    ItemAddress<long> cornerNodeAddress(ItemAddress<long> const& item, int index) override;
    void nodeAddresses(ItemAddress<long> const& item, RawArray<ItemAddress<long>>& result) override;
    ItemAddress<long> nodeAddress(ItemAddress<long> const& item, int index) override;
    void updateInternalFaceNeighbors() override {}
    void faceNeighbors() override {}
    void setFaceNeighbors() override {}

private:
    DataSet::ZoneInFile m_grid;
};

}
