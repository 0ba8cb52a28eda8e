#include "query/SubzoneCellConnectivity.h"

#include "query/WithIOException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>

namespace varnox::hdqlib {

SubzoneCellConnectivity::SubzoneCellConnectivity(unsigned short size, unsigned long cornerNodeCount,
                                                 unsigned long nodeCount, unsigned long faceCount,
                                                 std::vector<Address> const& nodes)
    : m_size(size), m_cornerNodeCount(cornerNodeCount), m_nodeCount(nodeCount),
      m_faceCount(faceCount)
{
    m_referencedSubzones.reserve(nodes.size());
    for (Address const& node : nodes)
        m_referencedSubzones.push_back(node.subzoneAddress());
    std::sort(m_referencedSubzones.begin(), m_referencedSubzones.end());
    m_referencedSubzones.erase(
        std::unique(m_referencedSubzones.begin(), m_referencedSubzones.end()),
        m_referencedSubzones.end());

    m_nodeSubzoneIndices.reserve(nodes.size());
    m_nodeItemOffsets.reserve(nodes.size());
    for (Address const& node : nodes) {
        auto const found = std::lower_bound(m_referencedSubzones.begin(),
                                            m_referencedSubzones.end(), node.subzoneAddress());
        // 16 bits: with more than 65,536 subzones the index wraps without a report.
        m_nodeSubzoneIndices.push_back(
            static_cast<std::uint16_t>(found - m_referencedSubzones.begin()));
        m_nodeItemOffsets.push_back(node.itemOffset());
    }
}

// Wire form of a cell subzone:
//   uint16         size              cells in the subzone
//   uint8          cornerNodeCount   the low byte of each of these three
//   uint8          nodeCount
//   uint8          faceCount
//   uint64 vector  referencedSubzones
//   uint16 vector  nodeSubzoneIndices   size * nodeCount
//   uint8 vector   nodeItemOffsets      size * nodeCount

SubzoneCellConnectivity::SubzoneCellConnectivity(socketutil::SocketInterface& socket)
{
    withIOException([&] {
        m_size = socket.receiveUInt16();
        m_cornerNodeCount = socket.receiveUInt8();
        m_nodeCount = socket.receiveUInt8();
        m_faceCount = socket.receiveUInt8();
        for (unsigned long const word : socket.receiveUInt64Vector())
            m_referencedSubzones.emplace_back(word);
        m_nodeSubzoneIndices = socket.receiveUInt16Vector();
        m_nodeItemOffsets = socket.receiveUInt8Vector();
    });
}

void SubzoneCellConnectivity::addToCache(socketutil::WriteCache& cache) const
{
    cache.addUInt16(m_size);
    // Deliberate: only the low byte is sent. Test:
    // SubzoneCellConnectivity.OnlyTheLowByteOfACountTravels
    cache.addUInt8(static_cast<std::uint8_t>(m_cornerNodeCount));
    cache.addUInt8(static_cast<std::uint8_t>(m_nodeCount));
    cache.addUInt8(static_cast<std::uint8_t>(m_faceCount));
    withIOException([&] {
        std::vector<unsigned long> words;
        words.reserve(m_referencedSubzones.size());
        for (SubzoneAddress const& subzone : m_referencedSubzones)
            words.push_back(subzone.word());
        cache.addUInt64Vector(words);
        cache.addUInt16Vector(m_nodeSubzoneIndices);
        cache.addUInt8Vector(m_nodeItemOffsets);
    });
}

void SubzoneCellConnectivity::referencedNodeSubzones(RawArray<SubzoneAddress>& result) const
{
    resize(result, m_referencedSubzones.size());
    std::copy(m_referencedSubzones.begin(), m_referencedSubzones.end(), result.data);
}

SubzoneCellConnectivity::Address SubzoneCellConnectivity::nodeAddress(unsigned short item,
                                                                      int index) const
{
    std::size_t const i = item * m_nodeCount + static_cast<std::size_t>(index);
    Address result(0);
    result.assign(referencedSubzone(i), m_nodeItemOffsets.at(i));
    return result;
}

/// The subzone of the i-th node of all cells.
SubzoneCellConnectivity::SubzoneAddress const&
SubzoneCellConnectivity::referencedSubzone(std::size_t i) const
{
    return m_referencedSubzones.at(m_nodeSubzoneIndices.at(i));
}

SubzoneCellConnectivity::Address SubzoneCellConnectivity::cornerNodeAddress(unsigned short item,
                                                                            int index) const
{
    return nodeAddress(item, index);
}

void SubzoneCellConnectivity::rebuild(unsigned short item, unsigned long count,
                                      RawArray<Address>& result) const
{
    std::uint64_t const inUse = result.size;
    resize(result, count);
    if (inUse < count)
        std::fill(result.data + inUse, result.data + count, Address(0));
    // Deliberate: an address that was in use keeps its form flag.
    // Test: SubzoneCellConnectivity.RebuildingKeepsTheFormFlagOfTheTarget
    std::size_t const first = item * m_nodeCount;
    for (unsigned long index = 0; index < count; ++index)
        result.data[index].assign(referencedSubzone(first + index),
                                  m_nodeItemOffsets.at(first + index));
}

void SubzoneCellConnectivity::cornerNodeAddresses(unsigned short item,
                                                  RawArray<Address>& result) const
{
    rebuild(item, m_cornerNodeCount, result);
}

void SubzoneCellConnectivity::nodeAddresses(unsigned short item, RawArray<Address>& result) const
{
    rebuild(item, m_nodeCount, result);
}

}
