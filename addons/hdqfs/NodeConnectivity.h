#pragma once

#include "addons/hdqfs/ConnectivityReader.h"
#include "addons/hdqfs/ConnectivitySource.h"
#include "addons/hdqfs/ItemNumbers.h"

#include "varnox/hdq/NodeConnectivityQueryInterface.h"

#include <optional>

namespace varnox::hdqfsloader {

/// The nodes of a finite-element zone and the cells that they belong to, from the records of its
/// file. Nothing has to be checked out: what is asked for is read.
class NodeConnectivity final : public hdq::NodeConnectivityQueryInterface
{
public:
    /// The reader must outlive the object.
    NodeConnectivity(ConnectivityReader& reader, ConnectivitySource const& source)
        : m_reader(reader), m_source(source)
    {
    }

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    /// Throws std::out_of_range for a subzone that doesn't exist.
    void checkout(RawArray<SubzoneAddress>& subzones) override;
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll() override {}
    void checkinAll() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) override;
    ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) override;
    void referencedCellSubzones(SubzoneAddress const& subzone,
                                RawArray<SubzoneAddress>& result) override;
    long numSubzones() override;
    unsigned short size(SubzoneAddress const& subzone) override;

private:
    ItemNumbers const& numbers();

    ConnectivityReader& m_reader;
    ConnectivitySource m_source;
    std::optional<ItemNumbers> m_numbers;
};

}
