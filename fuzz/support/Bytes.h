#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace varnox::fuzz {

/// Takes an input apart from its front. Behind the end everything is zero.
class Bytes
{
public:
    Bytes(std::uint8_t const* data, std::size_t size) : m_data(data), m_size(size) {}

    std::size_t left() const { return m_size; }

    template <typename T>
    T take()
    {
        T value{};
        std::size_t const count = std::min(sizeof value, m_size);
        if (count != 0)
            std::memcpy(&value, m_data, count);
        skip(count);
        return value;
    }

    std::string string(std::size_t byteCount)
    {
        std::size_t const count = std::min(byteCount, m_size);
        std::string const result(reinterpret_cast<char const*>(m_data), count);
        skip(count);
        return result;
    }

    std::string rest() { return string(m_size); }

private:
    void skip(std::size_t count)
    {
        m_data += count;
        m_size -= count;
    }

    std::uint8_t const* m_data;
    std::size_t m_size;
};

}
