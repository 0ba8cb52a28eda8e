#pragma once

#include "varnox/ItemAddress.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace varnox {

/// The loops that an answer runs over every item, in one of the forms that processors know.
struct WideLoops
{
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    /// The addresses of a subzone's first items, in order; item offsets go round after 255.
    void (*addressItems)(SubzoneAddress subzone, std::size_t count, ItemAddress<long>* items);

    /// Looks nodes up in a table of subzones, until one isn't there: the number of its entry and
    /// the item offset of each. Gives how many were found. The table has an entry for each low byte
    /// of a subzone's number: bits 1 to 55 of a subzone address, and in the top byte its number.
    std::size_t (*findSubzones)(std::uint64_t const* table, ItemAddress<long> const* nodes,
                                std::size_t count, std::uint8_t* numbers, std::uint8_t* offsets);

    /// For each number what a list has in its place, wherever the bytes of these begin; every
    /// number is below the list's size.
    void (*lookUp)(std::uint8_t const* numbers, std::size_t count, std::uint16_t const* list,
                   std::size_t listSize, void* out);

    /// The values rounded to the nearest floats, wherever the bytes of these begin.
    void (*writeFloats)(double const* values, std::size_t count, void* floats);
};

/// The forms that this processor can run, the plain one first and the fastest last.
std::vector<WideLoops> supportedLoops();

/// The fastest ones.
WideLoops const& wideLoops();

}
