#include "query/NodeReferences.h"

#include <algorithm>
#include <cstring>

namespace varnox::hdqlib {

void NodeReferences::forget()
{
    // An unused entry holds a subzone that is looked up in another one.
    m_table.fill(0);
    m_table[0] = std::uint64_t{1} << Address::SUBZONE_OFFSET_SHIFT;
    m_subzones.clear();
    m_size = 0;
    m_isWide = false;
    m_wideNumbers.clear();
    m_numbers.clear();
}

void NodeReferences::reset(std::size_t maxNodes)
{
    forget();
    if (maxNodes <= m_capacity)
        return;
    m_nodeNumbers.reset(new std::uint8_t[maxNodes]);
    m_offsets.reset(new std::uint8_t[maxNodes]);
    m_capacity = maxNodes;
}

/// The number of a subzone, a new one if it has none.
std::size_t NodeReferences::numberOf(std::uint64_t word)
{
    if (m_isWide) {
        auto const [found, isNew] = m_numbers.emplace(word, m_subzones.size());
        if (isNew)
            m_subzones.emplace_back(word);
        return found->second;
    }
    auto const found = std::find(m_subzones.begin(), m_subzones.end(), SubzoneAddress(word));
    auto const number = static_cast<std::size_t>(found - m_subzones.begin());
    if (found == m_subzones.end())
        m_subzones.emplace_back(word);
    return number;
}

/// Goes on with numbers of any size.
void NodeReferences::widen()
{
    m_isWide = true;
    m_wideNumbers.assign(m_nodeNumbers.get(), m_nodeNumbers.get() + m_size);
    for (std::size_t number = 0; number < m_subzones.size(); ++number)
        m_numbers.emplace(m_subzones[number].word(), number);
}

/// Nodes of which the first isn't in the table.
void NodeReferences::addOthers(Address const* nodes, std::size_t count)
{
    while (count > 0 && !m_isWide) {
        std::uint64_t const word = nodes->word() & Address::SUBZONE_MASK;
        std::size_t const number = numberOf(word);
        if (number >= TABLE_SIZE) {
            widen();
            break;
        }
        m_table[word >> Address::SUBZONE_OFFSET_SHIFT & (TABLE_SIZE - 1)] =
            word | std::uint64_t{number} << Address::ITEM_OFFSET_SHIFT;
        std::size_t const numFound = m_find(m_table.data(), nodes, count,
                                            m_nodeNumbers.get() + m_size, m_offsets.get() + m_size);
        m_size += numFound;
        nodes += numFound;
        count -= numFound;
    }
    for (std::size_t i = 0; i < count; ++i) {
        m_offsets[m_size++] = nodes[i].itemOffset();
        m_wideNumbers.push_back(numberOf(nodes[i].word() & Address::SUBZONE_MASK));
    }
}

std::vector<NodeReferences::SubzoneAddress> NodeReferences::sortedSubzones() const
{
    std::vector<SubzoneAddress> result = m_subzones;
    std::sort(result.begin(), result.end());
    return result;
}

void NodeReferences::writePlaces(std::vector<SubzoneAddress> const& sorted, void* out) const
{
    std::vector<std::uint16_t> placeOfNumber;
    placeOfNumber.reserve(m_subzones.size());
    for (SubzoneAddress const& subzone : m_subzones)
        // 16 bits: with more than 65,536 subzones the place wraps without a report.
        placeOfNumber.push_back(static_cast<std::uint16_t>(
            std::lower_bound(sorted.begin(), sorted.end(), subzone) - sorted.begin()));
    if (!m_isWide) {
        wideLoops().lookUp(m_nodeNumbers.get(), m_size, placeOfNumber.data(), placeOfNumber.size(),
                           out);
        return;
    }
    auto* target = static_cast<unsigned char*>(out);
    for (std::size_t const number : m_wideNumbers) {
        std::memcpy(target, &placeOfNumber[number], sizeof(std::uint16_t));
        target += sizeof(std::uint16_t);
    }
}

void NodeReferences::writeOffsets(std::uint8_t* out) const
{
    std::copy_n(m_offsets.get(), m_size, out);
}

}
