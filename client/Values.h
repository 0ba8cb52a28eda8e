#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <variant>
#include <vector>

namespace varnox::client {

/// Values in the variable's own type.
using Values = std::variant<std::vector<float>, std::vector<double>, std::vector<std::int32_t>,
                            std::vector<std::int16_t>, std::vector<std::uint8_t>>;

/// True for the types of which values travel.
bool isTransferable(FieldDataType_e type);
/// Bytes of one value; 0 for a type that isn't transferable.
std::size_t sizeOf(FieldDataType_e type);
/// count zeros of a transferable type.
Values zeros(FieldDataType_e type, std::size_t count);

std::size_t count(Values const& values);
/// The bytes as they lie in memory, little-endian.
void const* bytes(Values const& values);
std::size_t byteCount(Values const& values);

/// Calls f with a vector type's element as a default-made argument: f(float{}) for floats. The type
/// must be transferable.
template <typename F>
auto withElementOf(FieldDataType_e type, F&& f)
{
    switch (static_cast<int>(type)) {
    case FieldDataType_Double:
        return f(double{});
    case FieldDataType_Int32:
        return f(std::int32_t{});
    case FieldDataType_Int16:
        return f(std::int16_t{});
    case FieldDataType_Byte:
        return f(std::uint8_t{});
    default:
        return f(float{});
    }
}

}
