#pragma once

#include "addons/hdqfs/DataFile.h"

#include "varnox/ItemAddress.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfsloader {

/// The numbers of a finite-element zone's nodes or cells, as uniform addresses have them: section
/// after section, in each partition after partition, in each subzone after subzone.
class ItemNumbers
{
public:
    /// Of a zone whose header has been read.
    ItemNumbers(hdqio::ZoneMetadata const& zone, Items items);

    /// Throw std::out_of_range for an item that doesn't exist. An address that has the wanted form
    /// is given back as it is.
    ItemAddress<long> toUniform(ItemAddress<long> item) const;
    ItemAddress<long> toHdq(ItemAddress<long> item) const;

private:
    std::uint32_t m_numPartitions;
    /// By section, then partition, and behind these the number of all items.
    std::vector<std::uint64_t> m_firstNumbers;
};

}
