#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// The wire's items written out byte by byte, without the library's own encoder: what tests hold it
/// to.
namespace varnox::tests::wire {

inline std::string littleEndian(std::uint64_t value, std::size_t byteCount)
{
    std::string bytes;
    for (std::size_t i = 0; i < byteCount; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

inline std::string u8(std::uint64_t value)
{
    return littleEndian(value, 1);
}
inline std::string u16(std::uint64_t value)
{
    return littleEndian(value, 2);
}
inline std::string u32(std::uint64_t value)
{
    return littleEndian(value, 4);
}
inline std::string u64(std::uint64_t value)
{
    return littleEndian(value, 8);
}
inline std::string i32(std::int64_t value)
{
    return littleEndian(static_cast<std::uint64_t>(value), 4);
}
inline std::string i64(std::int64_t value)
{
    return littleEndian(static_cast<std::uint64_t>(value), 8);
}

inline std::string f32(float value)
{
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return u32(bits);
}

inline std::string f64(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return u64(bits);
}

inline std::string text(std::string const& value)
{
    return u64(value.size()) + value;
}

/// A vector of items that are written out already.
inline std::string vec(std::vector<std::string> const& items)
{
    std::string bytes = u64(items.size());
    for (std::string const& item : items)
        bytes += item;
    return bytes;
}

}
