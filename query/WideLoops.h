#pragma once

#include "varnox/ItemAddress.h"

#include <cstddef>
#include <vector>

namespace varnox {

/// The loops that an answer runs over every item, in one of the forms that processors know.
struct WideLoops
{
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    /// The addresses of a subzone's first items, in order; item offsets go round after 255.
    void (*addressItems)(SubzoneAddress subzone, std::size_t count, ItemAddress<long>* items);

    /// The values rounded to the nearest floats, wherever the bytes of these begin.
    void (*writeFloats)(double const* values, std::size_t count, void* floats);
};

/// The forms that this processor can run, the plain one first and the fastest last.
std::vector<WideLoops> supportedLoops();

/// The fastest ones.
WideLoops const& wideLoops();

}
