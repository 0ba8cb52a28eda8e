#include "addons/hdqfs/ItemNumbers.h"

#include "varnox/UniformAddress.h"

#include <algorithm>
#include <stdexcept>

namespace varnox::hdqfsloader {

namespace {

constexpr std::uint64_t SUBZONE_ITEMS = SubzoneLayout::ITEMS_PER_RUN;

}

ItemNumbers::ItemNumbers(hdqio::ZoneMetadata const& zone, Items items)
    : m_numPartitions(zone.numPartitions), m_firstNumbers{0}
{
    std::size_t const numSections = items == Items::Nodes ? 1 : zone.numCellsPerSecPtn.size();
    for (std::size_t section = 0; section < numSections; ++section) {
        auto const& counts =
            items == Items::Nodes ? zone.numNodesPerPtn : zone.numCellsPerSecPtn[section];
        for (std::uint32_t partition = 0; partition < m_numPartitions; ++partition)
            m_firstNumbers.push_back(m_firstNumbers.back() +
                                     static_cast<std::uint64_t>(counts[partition]));
    }
}

ItemAddress<long> ItemNumbers::toUniform(ItemAddress<long> item) const
{
    if (isUniformAddress(item))
        return item;
    auto const subzone = item.subzoneAddress();
    std::uint64_t const place =
        std::uint64_t{subzone.section()} * m_numPartitions + subzone.partition();
    std::uint64_t const number =
        std::uint64_t{subzone.subzoneOffset()} * SUBZONE_ITEMS + item.itemOffset();
    if (subzone.partition() >= m_numPartitions || place + 1 >= m_firstNumbers.size() ||
        number >= m_firstNumbers[place + 1] - m_firstNumbers[place])
        throw std::out_of_range("There is no item " + std::to_string(item.itemOffset()) +
                                " in subzone " + std::to_string(subzone.subzoneOffset()) +
                                " of section " + std::to_string(subzone.section()) +
                                " in partition " + std::to_string(subzone.partition()) + ".");
    return uniformAddress(m_firstNumbers[place] + number);
}

ItemAddress<long> ItemNumbers::toHdq(ItemAddress<long> item) const
{
    if (!isUniformAddress(item))
        return item;
    std::uint64_t const number = itemNumberOf(item);
    if (number >= m_firstNumbers.back())
        throw std::out_of_range("There is no item " + std::to_string(number) +
                                " in a zone that has " + std::to_string(m_firstNumbers.back()) +
                                ".");
    auto const after = std::upper_bound(m_firstNumbers.begin(), m_firstNumbers.end(), number);
    auto const place = static_cast<std::uint64_t>(after - m_firstNumbers.begin()) - 1;
    std::uint64_t const inPartition = number - m_firstNumbers[place];
    return {
        ItemAddress<long>::SubzoneAddress(static_cast<std::uint32_t>(place % m_numPartitions),
                                          static_cast<std::uint32_t>(place / m_numPartitions),
                                          static_cast<std::uint32_t>(inPartition / SUBZONE_ITEMS)),
        static_cast<std::uint8_t>(inPartition % SUBZONE_ITEMS)};
}

}
