#pragma once

#include "varnox/socketutil/SocketException.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace varnox::socketutil {

/// The receiving half of the wire encoding, over anything with read(void*, std::size_t), which
/// gives exactly that many bytes or throws. A count is checked before memory is taken for it, and
/// memory grows with the bytes that have arrived, so that a lying count costs no more than it sent.
template <typename Source>
class ItemReader
{
public:
    ItemReader(Source& source, std::size_t maxItemBytes)
        : m_source(source), m_maxItemBytes(maxItemBytes)
    {
    }

    template <typename T>
    T number()
    {
        T value;
        m_source.read(&value, sizeof(value));
        return value;
    }

    bool boolean() { return number<std::uint8_t>() != 0; }

    std::string string()
    {
        std::string result;
        fill(result, countOf(1, "string"));
        return result;
    }

    template <typename T>
    std::vector<T> vector()
    {
        std::vector<T> result;
        fill(result, countOf(sizeof(T), "vector"));
        return result;
    }

    std::vector<bool> booleans()
    {
        std::vector<unsigned char> const bytes = vector<unsigned char>();
        std::vector<bool> result(bytes.size());
        for (std::size_t i = 0; i < bytes.size(); ++i)
            result[i] = bytes[i] != 0;
        return result;
    }

    std::vector<std::string> strings()
    {
        // Each string takes at least its count.
        std::uint64_t const count = countOf(sizeof(std::uint64_t), "vector of strings");
        std::size_t left = m_maxItemBytes;
        std::vector<std::string> result;
        for (std::uint64_t i = 0; i < count; ++i) {
            result.push_back(string());
            std::size_t const cost = result.back().size() + sizeof(std::string);
            if (cost > left)
                throwTooLarge("vector of strings", m_maxItemBytes - left + cost);
            left -= cost;
        }
        return result;
    }

private:
    static constexpr std::size_t FIRST_STEP_BYTES = std::size_t{1024} * 1024;
    static constexpr std::size_t RESERVED_BYTES =
        std::size_t{16} * 1024 * 1024; // costs nothing until it is written

    [[noreturn]] void throwTooLarge(char const* what, std::uint64_t byteCount) const
    {
        throw SocketException("Received a " + std::string(what) + " of " +
                              std::to_string(byteCount) + " bytes, more than the limit of " +
                              std::to_string(m_maxItemBytes) + " bytes for one item.");
    }

    std::uint64_t countOf(std::size_t elementSize, char const* what)
    {
        auto const count = number<std::uint64_t>();
        if (count > m_maxItemBytes / elementSize)
            throw SocketException("Received a " + std::string(what) + " of " +
                                  std::to_string(count) + " elements, more than the limit of " +
                                  std::to_string(m_maxItemBytes) + " bytes for one item.");
        return count;
    }

    template <typename Container>
    void fill(Container& container, std::uint64_t count)
    {
        constexpr std::size_t SIZE = sizeof(typename Container::value_type);
        container.reserve(std::min<std::size_t>(count, RESERVED_BYTES / SIZE));
        std::size_t have = 0;
        while (have < count) {
            std::size_t const step = std::max(have, FIRST_STEP_BYTES / SIZE);
            std::size_t const next = have + std::min<std::size_t>(count - have, step);
            container.resize(next);
            m_source.read(container.data() + have, (next - have) * SIZE);
            have = next;
        }
    }

    Source& m_source;
    std::size_t m_maxItemBytes;
};

}
