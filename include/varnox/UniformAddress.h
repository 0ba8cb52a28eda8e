#pragma once

#include "varnox/ItemAddress.h"

#include <cstdint>

namespace varnox {

/// The uniform form of an item address, which loader and client share: bit 0, the form flag, is 1,
/// and bits 1 to 63 are the item's number in its zone. Items count from 0 in the order in which a
/// variable is loaded whole: in an ordered zone I fastest, then J, then K, across all partitions;
/// of finite elements section after section, in each partition after partition, inside by subzone
/// and item. A zone's nodes are one section.
constexpr ItemAddress<long> uniformAddress(std::uint64_t itemNumber)
{
    return ItemAddress<long>(itemNumber << 1 | 1);
}

constexpr bool isUniformAddress(ItemAddress<long> address)
{
    return (address.word() & 1) != 0;
}

/// The number of an item in uniform form.
constexpr std::uint64_t itemNumberOf(ItemAddress<long> address)
{
    return address.word() >> 1;
}

}
