#pragma once

#include "filedata/LightweightVector.h"

#include <cstring>

namespace varnox::hdqio {

/// An owning array of plain numbers behind one pointer, whose owner keeps the count.
template <typename T>
class PlainDataVector
{
public:
    PlainDataVector() = default;
    PlainDataVector(PlainDataVector&& other) noexcept
        : m_elements(std::exchange(other.m_elements, nullptr))
    {
    }
    PlainDataVector& operator=(PlainDataVector&& other) noexcept
    {
        if (this != &other) {
            dealloc();
            m_elements = std::exchange(other.m_elements, nullptr);
        }
        return *this;
    }
    PlainDataVector(PlainDataVector const&) = delete;
    PlainDataVector& operator=(PlainDataVector const&) = delete;
    ~PlainDataVector() { dealloc(); }

    /// False if the vector is in use or memory is short. No elements leave it null, and that
    /// succeeds.
    bool alloc(std::uint64_t n)
    {
        if (m_elements != nullptr)
            return false;
        if (n == 0)
            return true;
        if (n > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T))
            return false;
        m_elements = static_cast<T*>(std::malloc(static_cast<std::size_t>(n) * sizeof(T)));
        return m_elements != nullptr;
    }

    /// The same, with every byte set.
    bool allocFilled(std::uint64_t n, int byte)
    {
        if (!alloc(n))
            return false;
        if (m_elements != nullptr)
            std::memset(static_cast<void*>(m_elements), byte,
                        static_cast<std::size_t>(n) * sizeof(T));
        return true;
    }

    void dealloc()
    {
        std::free(m_elements);
        m_elements = nullptr;
    }

    bool isNull() const { return m_elements == nullptr; }
    T* data() { return m_elements; }
    T const* data() const { return m_elements; }
    T& operator[](std::size_t i) { return m_elements[i]; }
    T const& operator[](std::size_t i) const { return m_elements[i]; }

private:
    static_assert(std::is_trivially_copyable_v<T>);

    T* m_elements = nullptr;
};

}
