#pragma once

#include "query/WideLoops.h"
#include "varnox/ItemAddress.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace varnox::hdqlib {

/// Gathers the nodes of cells in the compressed form of the wire: every node subzone once, and for
/// each node its subzone's place among these and its item offset. The form flags of nodes don't
/// count. Can be used again after reset().
class NodeReferences
{
public:
    using Address = ItemAddress<long>;
    using SubzoneAddress = Address::SubzoneAddress;

    NodeReferences() { forget(); }
    NodeReferences(NodeReferences const&) = delete;
    NodeReferences& operator=(NodeReferences const&) = delete;

    /// Forgets all nodes, and makes room for so many.
    void reset(std::size_t maxNodes);
    /// Never more than there is room for, over all calls.
    void add(Address const* nodes, std::size_t count)
    {
        std::size_t const numFound =
            m_isWide ? 0
                     : m_find(m_table.data(), nodes, count, m_nodeNumbers.get() + m_size,
                              m_offsets.get() + m_size);
        m_size += numFound;
        if (numFound < count)
            addOthers(nodes + numFound, count - numFound);
    }

    std::size_t size() const { return m_size; }
    /// The subzones, sorted.
    std::vector<SubzoneAddress> sortedSubzones() const;
    /// Of each node the place of its subzone among the sorted ones, cut to 16 bits. They may begin
    /// at any byte.
    void writePlaces(std::vector<SubzoneAddress> const& sorted, void* out) const;
    /// Of each node its item offset.
    void writeOffsets(std::uint8_t* out) const;

private:
    /// The nodes of cells lie in the same few subzones again and again, so these are looked up in a
    /// small table first, by the low byte of their numbers (WideLoops::findSubzones).
    static constexpr std::size_t TABLE_SIZE = 256;

    void forget();
    void addOthers(Address const* nodes, std::size_t count);
    std::size_t numberOf(std::uint64_t word);
    void widen();

    decltype(WideLoops::findSubzones) m_find = wideLoops().findSubzones;
    std::array<std::uint64_t, TABLE_SIZE> m_table;
    std::vector<SubzoneAddress> m_subzones; ///< In the order in which they were met: their numbers.
    std::size_t m_capacity = 0;
    std::size_t m_size = 0;
    std::unique_ptr<std::uint8_t[]> m_nodeNumbers; ///< While they fit into bytes.
    std::unique_ptr<std::uint8_t[]> m_offsets;
    bool m_isWide = false; ///< There are more subzones than that, and then:
    std::vector<std::size_t> m_wideNumbers;
    std::unordered_map<std::uint64_t, std::size_t> m_numbers; ///< Of the subzones' words.
};

}
