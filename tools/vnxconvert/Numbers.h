#pragma once

#include "tools/vnxconvert/Grid.h"
#include "varnox/hdqfswriter/DataSet.h"

#include <cstdint>

namespace varnox::convert {

using hdqfswriter::ValueType;

/// Calls f with a number of a type.
template <typename F>
auto withNumber(NumberType type, F&& f)
{
    switch (type) {
    case NumberType::Int8:
        return f(std::int8_t{});
    case NumberType::Bit:
    case NumberType::UInt8:
        return f(std::uint8_t{});
    case NumberType::Int16:
        return f(std::int16_t{});
    case NumberType::UInt16:
        return f(std::uint16_t{});
    case NumberType::Int32:
        return f(std::int32_t{});
    case NumberType::UInt32:
        return f(std::uint32_t{});
    case NumberType::Int64:
        return f(std::int64_t{});
    case NumberType::UInt64:
        return f(std::uint64_t{});
    case NumberType::Float:
        return f(float{});
    case NumberType::Double:
        break;
    }
    return f(double{});
}

}
