#pragma once

#include "varnox/ItemAddress.h"

#include <cstdint>

namespace varnox::hdqfsloader {

// A uniform address names an item by its number in the zone, from 0, in the order in which a load on
// demand gives the zone's values. Its form flag is 1, and the other 63 bits are the number.

inline constexpr std::uint64_t UNIFORM_FORM = 1;

inline bool isUniform(ItemAddress<long> address)
{
    return (address.word() & UNIFORM_FORM) != 0;
}

inline ItemAddress<long> uniformAddress(std::uint64_t number)
{
    return ItemAddress<long>(number << 1 | UNIFORM_FORM);
}

inline std::uint64_t uniformNumber(ItemAddress<long> address)
{
    return address.word() >> 1;
}

}
