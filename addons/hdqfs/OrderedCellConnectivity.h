#pragma once

#include "addons/hdqfs/OrderedGrid.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"

namespace varnox::hdqfsloader {

/// The cells of an ordered zone, all of them hexahedra: bottom face around, then the top face above
/// it. Along an axis on which the zone is flat, a cell names the same nodes twice.
class OrderedCellConnectivity final : public hdq::CellConnectivityQueryInterface
{
public:
    static constexpr long NUM_NODES = 8;
    static constexpr long NUM_FACES = 6;

    explicit OrderedCellConnectivity(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    // The client computes the cells as well; nothing is kept for those who check out.
    void checkout(bool, RawArray<SubzoneAddress>&) override {}
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll(bool) override {}
    void checkinAll() override {}
    void copyToUniform() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) override;
    ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) override;
    void referencedNodeSubzones(SubzoneAddress const& subzone,
                                RawArray<SubzoneAddress>& result) override;
    long numSubzones() override;
    unsigned short size(SubzoneAddress const& subzone) override;
    long cornerNodeCount(ItemAddress<long> const&) override { return NUM_NODES; }
    long nodeCount(ItemAddress<long> const&) override { return NUM_NODES; }
    long faceCount(ItemAddress<long> const&) override { return NUM_FACES; }
    void cornerNodeAddresses(ItemAddress<long> const& item,
                             RawArray<ItemAddress<long>>& result) override;
    ItemAddress<long> cornerNodeAddress(ItemAddress<long> const& item, int index) override;
    void nodeAddresses(ItemAddress<long> const& item, RawArray<ItemAddress<long>>& result) override;
    ItemAddress<long> nodeAddress(ItemAddress<long> const& item, int index) override;
    void updateInternalFaceNeighbors() override {}
    void faceNeighbors() override {}
    void setFaceNeighbors() override {}

private:
    ItemAddress<long> cornerOf(OrderedGrid::Indices const& cell, std::size_t corner) const;

    OrderedGrid m_grid;
};

}
