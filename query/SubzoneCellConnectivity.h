#pragma once

#include "query/NodeReferences.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace varnox::socketutil {
class SocketInterface;
class WriteCache;
}

namespace varnox::hdqlib {

/// The cells of one cell subzone, in the compressed form of the wire: every node subzone that they
/// touch once, and for each node of a cell its subzone's place in that list and its item offset.
/// Indices count from 0 and aren't checked against the counts: one behind a cell's nodes leads into
/// the next cell. Where nothing was received for it, asking is a std::out_of_range.
class SubzoneCellConnectivity
{
public:
    using Address = ItemAddress<long>;
    using SubzoneAddress = Address::SubzoneAddress;

    /// nodes holds size times nodeCount addresses, cell by cell; corners are the leading nodes.
    SubzoneCellConnectivity(unsigned short size, unsigned long cornerNodeCount,
                            unsigned long nodeCount, unsigned long faceCount,
                            std::vector<Address> const& nodes);
    /// Reads the wire form, whatever its vectors hold. Throws SocketException in its counts and
    /// IOException in its vectors.
    explicit SubzoneCellConnectivity(socketutil::SocketInterface& socket);

    void addToCache(socketutil::WriteCache& cache) const;

    void referencedNodeSubzones(RawArray<SubzoneAddress>& result) const;
    unsigned short size() const { return m_size; }
    unsigned long cornerNodeCount() const { return m_cornerNodeCount; }
    unsigned long nodeCount() const { return m_nodeCount; }
    unsigned long faceCount() const { return m_faceCount; }
    void cornerNodeAddresses(unsigned short item, RawArray<Address>& result) const;
    Address cornerNodeAddress(unsigned short item, int index) const;
    void nodeAddresses(unsigned short item, RawArray<Address>& result) const;
    Address nodeAddress(unsigned short item, int index) const;

    bool isCheckedOut() const { return m_checkoutCount != 0; }
    std::uint32_t checkout() { return ++m_checkoutCount; }
    // Deliberate: no guard at 0. Test: SubzoneCellConnectivity.CheckinAtZeroWraps
    std::uint32_t checkin() { return --m_checkoutCount; }

private:
    SubzoneAddress const& referencedSubzone(std::size_t i) const;
    void rebuild(unsigned short item, unsigned long count, RawArray<Address>& result) const;

    std::uint32_t m_checkoutCount = 0;
    std::uint16_t m_size = 0;
    unsigned long m_cornerNodeCount = 0;
    unsigned long m_nodeCount = 0;
    unsigned long m_faceCount = 0;
    std::vector<SubzoneAddress> m_referencedSubzones; ///< Sorted, each once.
    std::vector<std::uint16_t> m_nodeSubzoneIndices;  ///< Into the list above.
    std::vector<std::uint8_t> m_nodeItemOffsets;
};

/// Adds what an object of these cells would, without one. nodes holds size times nodeCount of them.
void addCells(unsigned short size, unsigned long cornerNodeCount, unsigned long nodeCount,
              unsigned long faceCount, NodeReferences const& nodes, socketutil::WriteCache& cache);

}
