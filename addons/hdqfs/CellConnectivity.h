#pragma once

#include "addons/hdqfs/ConnectivityReader.h"
#include "addons/hdqfs/ConnectivitySource.h"
#include "addons/hdqfs/ItemNumbers.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"

#include <optional>

namespace varnox::hdqfsloader {

/// The cells of a finite-element zone, from the records of its file. Nothing has to be checked out:
/// what is asked for is read. The flag of a checkout isn't looked at.
class CellConnectivity final : public hdq::CellConnectivityQueryInterface
{
public:
    /// The reader must outlive the object.
    CellConnectivity(ConnectivityReader& reader, ConnectivitySource const& source)
        : m_reader(reader), m_source(source)
    {
    }

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    /// Throws std::out_of_range for a subzone that doesn't exist.
    void checkout(bool flag, RawArray<SubzoneAddress>& subzones) override;
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
    hdqio::ZoneMetadata const& zone();
    /// The section of a cell's subzone, which must exist.
    std::uint32_t sectionOf(ItemAddress<long> const& item);
    SubzoneCells const& subzoneOf(ItemAddress<long> const& item);
    void firstNodes(ItemAddress<long> const& item, std::uint32_t SubzoneCells::*count,
                    RawArray<ItemAddress<long>>& result);
    ItemAddress<long> node(ItemAddress<long> const& item, std::uint32_t SubzoneCells::*count,
                           int index);
    ItemNumbers const& numbers();

    ConnectivityReader& m_reader;
    ConnectivitySource m_source;
    std::optional<ItemNumbers> m_numbers;
};

}
