#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace varnox::hdqfswriter {

/// Calls f with a value of the type's form in memory, and gives back what f returns.
template <typename F>
auto withType(ValueType type, F&& f)
{
    switch (type) {
    case ValueType::Float:
        return f(float{});
    case ValueType::Double:
        return f(double{});
    case ValueType::Int32:
        return f(std::int32_t{});
    case ValueType::Int16:
        return f(std::int16_t{});
    case ValueType::Byte:
    case ValueType::Bit:
        return f(std::uint8_t{});
    }
    throw std::logic_error("A variable has no type.");
}

/// Memory that isn't touched before it is used.
template <typename T>
class Buffer
{
public:
    explicit Buffer(std::uint64_t count) : m_count(count)
    {
        if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T))
            throw std::bad_alloc();
        m_elements.reset(static_cast<T*>(
            ::operator new(static_cast<std::size_t>(count) * sizeof(T) + sizeof(T))));
    }
    T* data() { return m_elements.get(); }
    std::uint64_t size() const { return m_count; }

private:
    struct Free
    {
        void operator()(T* elements) const { ::operator delete(elements); }
    };
    std::unique_ptr<T, Free> m_elements;
    std::uint64_t m_count;
};

}
