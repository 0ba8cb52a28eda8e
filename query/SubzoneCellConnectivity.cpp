#include "query/SubzoneCellConnectivity.h"

#include "query/WithIOException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace varnox::hdqlib {

SubzoneCellConnectivity::SubzoneCellConnectivity(unsigned short size, unsigned long cornerNodeCount,
                                                 unsigned long nodeCount, unsigned long faceCount,
                                                 std::vector<Address> const& nodes)
    : m_size(size), m_cornerNodeCount(cornerNodeCount), m_nodeCount(nodeCount),
      m_faceCount(faceCount), m_nodeSubzoneIndices(nodes.size()), m_nodeItemOffsets(nodes.size())
{
    NodeReferences references;
    references.reset(nodes.size());
    references.add(nodes.data(), nodes.size());
    m_referencedSubzones = references.sortedSubzones();
    references.writePlaces(m_referencedSubzones, m_nodeSubzoneIndices.data());
    references.writeOffsets(m_nodeItemOffsets.data());
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
    m_size = socket.receiveUInt16();
    m_cornerNodeCount = socket.receiveUInt8();
    m_nodeCount = socket.receiveUInt8();
    m_faceCount = socket.receiveUInt8();
    withIOException([&] {
        for (unsigned long const word : socket.receiveUInt64Vector())
            m_referencedSubzones.emplace_back(word);
        m_nodeSubzoneIndices = socket.receiveUInt16Vector();
        m_nodeItemOffsets = socket.receiveUInt8Vector();
    });
}

namespace {

void addCounts(unsigned short size, unsigned long cornerNodeCount, unsigned long nodeCount,
               unsigned long faceCount, socketutil::WriteCache& cache)
{
    cache.addUInt16(size);
    // Deliberate: only the low byte is sent. Test:
    // SubzoneCellConnectivity.OnlyTheLowByteOfACountTravels
    cache.addUInt8(static_cast<std::uint8_t>(cornerNodeCount));
    cache.addUInt8(static_cast<std::uint8_t>(nodeCount));
    cache.addUInt8(static_cast<std::uint8_t>(faceCount));
}

void addSubzones(std::vector<NodeReferences::SubzoneAddress> const& subzones,
                 socketutil::WriteCache& cache)
{
    std::vector<unsigned long> words;
    words.reserve(subzones.size());
    for (NodeReferences::SubzoneAddress const& subzone : subzones)
        words.push_back(subzone.word());
    cache.addUInt64Vector(words);
}

/// Room for a vector's elements, behind their count.
unsigned char* extendByVector(std::uint64_t count, std::size_t elementSize,
                              socketutil::WriteCache& cache)
{
    unsigned char* const out = cache.extend(sizeof(count) + count * elementSize);
    std::memcpy(out, &count, sizeof(count));
    return out + sizeof(count);
}

}

void SubzoneCellConnectivity::addToCache(socketutil::WriteCache& cache) const
{
    addCounts(m_size, m_cornerNodeCount, m_nodeCount, m_faceCount, cache);
    withIOException([&] {
        addSubzones(m_referencedSubzones, cache);
        cache.addUInt16Vector(m_nodeSubzoneIndices);
        cache.addUInt8Vector(m_nodeItemOffsets);
    });
}

void addCells(unsigned short size, unsigned long cornerNodeCount, unsigned long nodeCount,
              unsigned long faceCount, NodeReferences const& nodes, socketutil::WriteCache& cache)
{
    addCounts(size, cornerNodeCount, nodeCount, faceCount, cache);
    withIOException([&] {
        auto const subzones = nodes.sortedSubzones();
        addSubzones(subzones, cache);
        nodes.writePlaces(subzones, extendByVector(nodes.size(), sizeof(std::uint16_t), cache));
        nodes.writeOffsets(extendByVector(nodes.size(), sizeof(std::uint8_t), cache));
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
    auto const subzone = referencedSubzone(i); // looks whether there is an i
    Address result(0);
    result.assign(subzone, m_nodeItemOffsets[i]);
    return result;
}

namespace {

[[noreturn]] void throwOutOfRange(char const* what, std::size_t index, std::size_t count)
{
    throw std::out_of_range("A cell subzone refers to " + std::string(what) + " " +
                            std::to_string(index) + " of " + std::to_string(count) + ".");
}

}

/// The subzone of the i-th node of all cells.
SubzoneCellConnectivity::SubzoneAddress const&
SubzoneCellConnectivity::referencedSubzone(std::size_t i) const
{
    std::size_t const count = std::min(m_nodeSubzoneIndices.size(), m_nodeItemOffsets.size());
    if (i >= count) // received vectors may be shorter than the cells need
        throwOutOfRange("node", i, count);
    std::size_t const subzone = m_nodeSubzoneIndices[i];
    if (subzone >= m_referencedSubzones.size())
        throwOutOfRange("node subzone", subzone, m_referencedSubzones.size());
    return m_referencedSubzones[subzone];
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
    std::uint64_t const capacity = result.capacity;
    resize(result, count);
    if (capacity < count) // the block is new, and nobody has written the rest of it
        std::fill(result.data + inUse, result.data + count, Address(0));
    // Deliberate: every address keeps its form flag, also one that wasn't in use.
    // Test: SubzoneCellConnectivity.RebuildingKeepsTheFormFlagOfTheTarget
    std::size_t const first = item * m_nodeCount;
    for (unsigned long index = 0; index < count; ++index) {
        auto const subzone = referencedSubzone(first + index);
        result.data[index].assign(subzone, m_nodeItemOffsets[first + index]);
    }
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
