#include "query/SubzoneCellConnectivity.h"

#include "query/WithIOException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <string>

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
    std::size_t const numNodes = m_size * m_nodeCount;
    bool const fits = m_nodeSubzoneIndices.size() == numNodes &&
                      m_nodeItemOffsets.size() == numNodes && m_cornerNodeCount <= m_nodeCount &&
                      std::all_of(m_nodeSubzoneIndices.begin(), m_nodeSubzoneIndices.end(),
                                  [&](auto index) { return index < m_referencedSubzones.size(); });
    if (!fits)
        throw IOException("Received the connectivity of a cell subzone whose references don't fit "
                          "its " +
                          std::to_string(m_size) + " cells.");
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
    result.assign(m_referencedSubzones[m_nodeSubzoneIndices[i]], m_nodeItemOffsets[i]);
    return result;
}

SubzoneCellConnectivity::Address SubzoneCellConnectivity::cornerNodeAddress(unsigned short item,
                                                                            int index) const
{
    return nodeAddress(item, index);
}

void SubzoneCellConnectivity::rebuild(unsigned short item, unsigned long count,
                                      RawArray<Address>& result) const
{
    resize(result, count);
    for (unsigned long index = 0; index < count; ++index)
        result.data[index] = nodeAddress(item, static_cast<int>(index));
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
