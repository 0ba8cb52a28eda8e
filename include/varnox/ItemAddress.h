#pragma once

#include <cstdint>
#include <type_traits>

namespace varnox {

template <typename T>
class ItemAddress;

/// The 64-bit word that names one item, a node or a cell, of a zone. From the least significant
/// bit: 1 form flag bit, 4 section bits, 23 partition bits, 28 subzone offset bits, 8 item offset
/// bits. It travels as this word, as a uint64.
template <>
class ItemAddress<long>
{
public:
    static constexpr std::uint64_t SECTION_MASK = 0x1E;
    static constexpr std::uint64_t PARTITION_AND_OFFSET_MASK = 0x00FFFFFFFFFFFFE0;
    /// Bits 1 to 55: section, partition and subzone offset, without form flag and item offset.
    static constexpr std::uint64_t SUBZONE_MASK = SECTION_MASK | PARTITION_AND_OFFSET_MASK;

    static constexpr int SECTION_SHIFT = 1;
    static constexpr int PARTITION_SHIFT = 5;
    static constexpr int SUBZONE_OFFSET_SHIFT = 28;
    static constexpr int ITEM_OFFSET_SHIFT = 56;

    static constexpr std::uint32_t MAX_SECTION = 15;
    static constexpr std::uint32_t MAX_PARTITION = 0x7FFFFF;
    static constexpr std::uint32_t MAX_SUBZONE_OFFSET = 0xFFFFFFF;

    /// Names a subzone: the same layout with an item offset of 0. Its order is by partition, then
    /// section, then subzone offset, which is not the order of the words.
    class SubzoneAddress
    {
    public:
        SubzoneAddress() = default;
        explicit constexpr SubzoneAddress(std::uint64_t word) : m_word(word) {}
        /// Each number is cut to the width of its field.
        constexpr SubzoneAddress(std::uint32_t partition, std::uint32_t section,
                                 std::uint32_t subzoneOffset)
            : m_word((std::uint64_t{section} & MAX_SECTION) << SECTION_SHIFT |
                     (std::uint64_t{partition} & MAX_PARTITION) << PARTITION_SHIFT |
                     (std::uint64_t{subzoneOffset} & MAX_SUBZONE_OFFSET) << SUBZONE_OFFSET_SHIFT)
        {
        }

        constexpr std::uint64_t word() const { return m_word; }
        constexpr std::uint32_t section() const
        {
            return static_cast<std::uint32_t>(m_word >> SECTION_SHIFT) & MAX_SECTION;
        }
        constexpr std::uint32_t partition() const
        {
            return static_cast<std::uint32_t>(m_word >> PARTITION_SHIFT) & MAX_PARTITION;
        }
        constexpr std::uint32_t subzoneOffset() const
        {
            return static_cast<std::uint32_t>(m_word >> SUBZONE_OFFSET_SHIFT) & MAX_SUBZONE_OFFSET;
        }

        /// Equality of the named subzone; the form flag and the item offset don't take part.
        friend constexpr bool operator==(SubzoneAddress a, SubzoneAddress b)
        {
            return ((a.m_word ^ b.m_word) & SUBZONE_MASK) == 0;
        }
        friend constexpr bool operator!=(SubzoneAddress a, SubzoneAddress b) { return !(a == b); }
        friend constexpr bool operator<(SubzoneAddress a, SubzoneAddress b)
        {
            if (a.partition() != b.partition())
                return a.partition() < b.partition();
            if (a.section() != b.section())
                return a.section() < b.section();
            return a.subzoneOffset() < b.subzoneOffset();
        }

    private:
        std::uint64_t m_word;
    };

    ItemAddress() = default;
    explicit constexpr ItemAddress(std::uint64_t word) : m_word(word) {}
    /// An item of a subzone. The form flag becomes 0.
    constexpr ItemAddress(SubzoneAddress subzone, std::uint8_t itemOffset)
        : m_word((subzone.word() & SUBZONE_MASK) | std::uint64_t{itemOffset} << ITEM_OFFSET_SHIFT)
    {
    }

    constexpr std::uint64_t word() const { return m_word; }
    constexpr std::uint8_t itemOffset() const
    {
        return static_cast<std::uint8_t>(m_word >> ITEM_OFFSET_SHIFT);
    }
    constexpr SubzoneAddress subzoneAddress() const
    {
        return SubzoneAddress(m_word & SUBZONE_MASK);
    }

    /// Takes over bits 1 to 55 of the subzone address and sets the item offset. The form flag stays
    /// as it was, whatever that was.
    constexpr void assign(SubzoneAddress subzone, std::uint8_t itemOffset)
    {
        m_word = (m_word & 1) | (subzone.word() & SUBZONE_MASK) |
                 std::uint64_t{itemOffset} << ITEM_OFFSET_SHIFT;
    }

    friend constexpr bool operator==(ItemAddress a, ItemAddress b) { return a.m_word == b.m_word; }
    friend constexpr bool operator!=(ItemAddress a, ItemAddress b) { return a.m_word != b.m_word; }

private:
    std::uint64_t m_word;
};

// Both cross between separately compiled objects in a register, as a plain 64-bit word would.
static_assert(sizeof(ItemAddress<long>) == 8 && sizeof(ItemAddress<long>::SubzoneAddress) == 8, "");
static_assert(std::is_trivially_copyable_v<ItemAddress<long>>, "");
static_assert(std::is_trivially_copyable_v<ItemAddress<long>::SubzoneAddress>, "");

}
