#pragma once

#include <cstdint>

#include <emmintrin.h>

namespace varnox::hdqlib {

/// The processor's conversion toward zero: 0x80000000 for what doesn't fit and for not-a-number,
/// where a cast is undefined.
inline std::int32_t truncateToInt32(double value)
{
    return _mm_cvttsd_si32(_mm_set_sd(value));
}

}
