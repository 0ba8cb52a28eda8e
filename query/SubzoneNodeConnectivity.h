#pragma once

#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

#include <cstdint>
#include <vector>

namespace varnox::socketutil {
class SocketInterface;
class WriteCache;
}

namespace varnox::hdqlib {

/// The size of one node subzone and the cell subzones that touch its nodes.
class SubzoneNodeConnectivity
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    /// The list stays in the order given.
    SubzoneNodeConnectivity(unsigned short size, std::vector<SubzoneAddress> const& referenced);
    /// Reads the wire form. Throws SocketException in its size and IOException in its vector.
    explicit SubzoneNodeConnectivity(socketutil::SocketInterface& socket);

    void addToCache(socketutil::WriteCache& cache) const;

    void referencedCellSubzones(RawArray<SubzoneAddress>& result) const;
    unsigned short size() const { return m_size; }

    bool isCheckedOut() const { return m_checkoutCount != 0; }
    std::uint32_t checkout() { return ++m_checkoutCount; }
    // Deliberate: no guard at 0. Test: SubzoneNodeConnectivity.CheckinAtZeroWraps
    std::uint32_t checkin() { return --m_checkoutCount; }

private:
    std::uint32_t m_checkoutCount = 0;
    std::uint16_t m_size = 0;
    std::vector<SubzoneAddress> m_referencedCellSubzones;
};

}
