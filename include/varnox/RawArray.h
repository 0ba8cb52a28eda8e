#pragma once

#include <cstdint>
#include <cstddef>
#include <new>

namespace varnox {

/// The view of an array in which results cross between the library and an add-on: four fields, with
/// which the callee may grow the caller's block. It frees nothing by itself: the memory belongs to
/// whoever holds the pointer that ownerSlot points at, and is released with delete[].
///
/// The library hands out three shapes:
///  - growable: ownerSlot set, data null, capacity and size 0;
///  - preallocated: ownerSlot and data set, capacity the limit, size 0;
///  - fixed: ownerSlot null, data a local buffer of the stated capacity; the callee must not exceed
///  it.
template <typename T>
struct RawArray
{
    T** ownerSlot;          ///< The caller's owning pointer; null for a view that must not grow.
    T* data;                ///< First element.
    std::uint64_t capacity; ///< Elements allocated at data.
    std::uint64_t size;     ///< Elements in use.
};

/// Makes room for n elements, keeping those in use, and leaves the size alone. Throws
/// std::bad_array_new_length for 2^60 elements or more of 8 bytes, and for a fixed array that is
/// full.
template <typename T>
void reserve(RawArray<T>& array, std::uint64_t n)
{
    if (n <= array.capacity)
        return;
    // No owner can take a larger block: writing on would overrun the caller's buffer.
    if (array.ownerSlot == nullptr || n > (std::uint64_t{1} << 63) / sizeof(T) - 1)
        throw std::bad_array_new_length();
    T* const block = new T[static_cast<std::size_t>(n)];
    for (std::uint64_t i = 0; i < array.size; ++i)
        block[i] = array.data[i];
    delete[] array.data;
    *array.ownerSlot = block;
    array.data = block;
    array.capacity = n;
}

/// Gives the array n elements. New ones are not initialised.
template <typename T>
void resize(RawArray<T>& array, std::uint64_t n)
{
    reserve(array, n);
    array.size = n;
}

/// Appends one element: 32 at first, then twice the size.
template <typename T>
void append(RawArray<T>& array, T const& element)
{
    T const copy = element; // it may lie in the block that is about to be replaced
    if (array.size == 0 && array.capacity < 32 && array.ownerSlot != nullptr)
        reserve(array, 32);
    if (array.size > 0 && array.size >= array.capacity && array.ownerSlot != nullptr)
        reserve(array, 2 * array.size);
    if (array.capacity < array.size + 1) {
        std::uint64_t const block = array.capacity < 66 ? 32 : array.capacity / 2;
        reserve(array, (array.size / block + 1) * block);
    }
    array.data[array.size] = copy;
    ++array.size;
}

}
