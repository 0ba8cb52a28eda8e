#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include <cstdint>
#include <stdexcept>

namespace varnox::hdqfswriter {

/// What a source has answered. Nothing may be null; null for something throws.
template <typename T>
T const* answered(Zone const& zone, char const* what, std::uint64_t count, void const* answer)
{
    if (answer == nullptr && count != 0)
        throw std::runtime_error("The source of zone '" + zone.name + "' gave a null pointer for " +
                                 what + ".");
    return static_cast<T const*>(answer);
}

}
