#pragma once

#include <cstdint>

namespace varnox::hdqio {

/// A range of values.
struct MinMax
{
    double min;
    double max;
};

/// Two values of a type as they stand side by side in files.
template <typename T>
struct ValuePair
{
    T first;
    T second;
};

/// Sizes or indices along three axes, with the product of the first two.
struct IJK
{
    std::int64_t i;
    std::int64_t j;
    std::int64_t k;
    std::int64_t ij;
};

}
