#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>

/// Small numbers of N bits each, packed high bits first, as connectivity records hold them.
namespace varnox::hdqio {

template <int N>
using PackedElement = std::conditional_t<N == 16, std::uint16_t, std::uint8_t>;

/// Elements that hold count numbers.
template <int N>
constexpr std::size_t numPackedElements(std::size_t count)
{
    if constexpr (N >= 8)
        return count;
    else
        return (count * N + 7) / 8;
}

template <int N>
std::uint16_t packedNumber(PackedElement<N> const* elements, std::size_t i)
{
    if constexpr (N == 2)
        return (elements[i >> 2] >> (6 - (2 * i & 7))) & 3;
    else if constexpr (N == 4)
        return (elements[i >> 1] >> (4 - (4 * i & 7))) & 15;
    else
        return elements[i];
}

/// Elements that lie on the stack while they take at most 1024 bytes. Null data if memory is short.
template <typename T>
class ShortLivedArray
{
public:
    explicit ShortLivedArray(std::size_t count)
        : m_block(count > SMALL_COUNT ? (new (std::nothrow) T[count]) : nullptr),
          m_data(count > SMALL_COUNT ? m_block.get() : m_small)
    {
    }
    ShortLivedArray(ShortLivedArray const&) = delete;
    ShortLivedArray& operator=(ShortLivedArray const&) = delete;

    T* data() { return m_data; }
    T const* data() const { return m_data; }

private:
    static constexpr std::size_t SMALL_COUNT = 1024 / sizeof(T);

    T m_small[SMALL_COUNT];
    std::unique_ptr<T[]> m_block;
    T* m_data;
};

}
