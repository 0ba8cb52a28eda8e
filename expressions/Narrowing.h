#pragma once

#include <cstdint>
#include <type_traits>

#include <emmintrin.h>

namespace varnox::hdqlib {

/// The processor's conversion toward zero: 0x80000000 for what doesn't fit and for not-a-number,
/// where a cast is undefined.
inline std::int32_t truncateToInt32(double value)
{
    return _mm_cvttsd_si32(_mm_set_sd(value));
}

/// The nearest float. GCC 12 takes a pair of such conversions and back for one of vectors, and drops
/// both; it doesn't look into this one.
inline float roundToFloat(double value)
{
    return _mm_cvtss_f32(_mm_cvtsd_ss(_mm_setzero_ps(), _mm_set_sd(value)));
}

/// A value as its variable's type keeps it: T is float, double, int, short or unsigned char.
/// Integers are cut toward zero to 32 bits and then to their low bits.
template <typename T>
T narrow(double value)
{
    if constexpr (std::is_same_v<T, float>)
        return roundToFloat(value);
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(value);
    else
        return static_cast<T>(truncateToInt32(value));
}

}
