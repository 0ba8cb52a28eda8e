#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace varnox::hdqio {

/// An owning array behind one pointer, with its count in the word ahead of element 0. Null while it
/// holds nothing. Elements of class type are initialised and destroyed, others are not.
template <typename T>
class LightweightVector
{
public:
    LightweightVector() = default;
    LightweightVector(LightweightVector&& other) noexcept
        : m_elements(std::exchange(other.m_elements, nullptr))
    {
    }
    LightweightVector& operator=(LightweightVector&& other) noexcept
    {
        if (this != &other) {
            dealloc();
            m_elements = std::exchange(other.m_elements, nullptr);
        }
        return *this;
    }
    LightweightVector(LightweightVector const&) = delete;
    LightweightVector& operator=(LightweightVector const&) = delete;
    ~LightweightVector() { dealloc(); }

    /// False if the vector is in use or memory is short. No elements leave it null, and that
    /// succeeds.
    bool alloc(std::uint64_t n)
    {
        if (m_elements != nullptr)
            return false;
        if (n == 0)
            return true;
        if (n > (std::numeric_limits<std::size_t>::max() / 2 - sizeof(std::uint64_t)) / sizeof(T))
            return false;
        void* const block =
            std::malloc(sizeof(std::uint64_t) + static_cast<std::size_t>(n) * sizeof(T));
        if (block == nullptr)
            return false;
        *static_cast<std::uint64_t*>(block) = n;
        m_elements = reinterpret_cast<T*>(static_cast<std::uint64_t*>(block) + 1);
        if constexpr (!std::is_trivially_default_constructible_v<T>)
            std::uninitialized_default_construct_n(m_elements, static_cast<std::size_t>(n));
        return true;
    }

    void dealloc()
    {
        if (m_elements == nullptr)
            return;
        std::destroy_n(m_elements, size());
        std::free(reinterpret_cast<std::uint64_t*>(m_elements) - 1);
        m_elements = nullptr;
    }

    bool isNull() const { return m_elements == nullptr; }
    std::size_t size() const
    {
        return m_elements == nullptr ? 0
                                     : static_cast<std::size_t>(
                                           reinterpret_cast<std::uint64_t const*>(m_elements)[-1]);
    }
    T* data() { return m_elements; }
    T const* data() const { return m_elements; }
    T& operator[](std::size_t i) { return m_elements[i]; }
    T const& operator[](std::size_t i) const { return m_elements[i]; }
    T* begin() { return m_elements; }
    T* end() { return m_elements + size(); }
    T const* begin() const { return m_elements; }
    T const* end() const { return m_elements + size(); }

private:
    static_assert(alignof(T) <= alignof(std::uint64_t), "element 0 stands behind the count");

    T* m_elements = nullptr;
};

/// For the result of alloc, where short memory is an exception.
inline void require(bool allocated)
{
    if (!allocated)
        throw std::bad_alloc();
}

}
