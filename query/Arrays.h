#pragma once

#include "query/WithIOException.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"
#include "varnox/socketutil/SocketInterface.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace varnox {

using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

/// The owner of an array that a callee may grow, and its view.
template <typename T>
class OwnedArray
{
public:
    OwnedArray() : m_view{&m_block, nullptr, 0, 0} {}
    /// Preallocated with a capacity.
    explicit OwnedArray(std::size_t capacity) : OwnedArray() { reserve(m_view, capacity); }
    OwnedArray(OwnedArray const&) = delete;
    OwnedArray& operator=(OwnedArray const&) = delete;
    ~OwnedArray() { delete[] m_block; }

    RawArray<T>& view() { return m_view; }
    RawArray<T> const& view() const { return m_view; }
    T const* begin() const { return m_view.data; }
    T const* end() const { return m_view.data + m_view.size; }

private:
    T* m_block = nullptr;
    RawArray<T> m_view;
};

/// A read-only view over a vector, which must outlive it.
template <typename T>
RawArray<T> viewOf(std::vector<T>& values)
{
    return {nullptr, values.data(), values.size(), values.size()};
}

/// What an add-on says to have put into an array must have had room there: else memory that isn't
/// the array's would go to the client. Throws std::length_error.
template <typename T>
void requireRoom(RawArray<T> const& array)
{
    if (array.size > array.capacity)
        throw std::length_error("The add-on reports " + std::to_string(array.size) +
                                " elements in an array with room for " +
                                std::to_string(array.capacity) + ".");
}

namespace hdqlib {

/// Sends an array of 64-bit words as one uint64 vector. Throws IOException, or std::length_error
/// for more elements than the array has room for.
template <typename T>
void send64BitTypeRawArray(socketutil::SocketInterface& socket, RawArray<T> const& array)
{
    static_assert(sizeof(T) == sizeof(std::uint64_t) && std::is_trivially_copyable_v<T>);
    requireRoom(array);
    std::vector<unsigned long> words(static_cast<std::size_t>(array.size));
    if (!words.empty())
        std::memcpy(words.data(), array.data, words.size() * sizeof(T));
    withIOException([&] { socket.sendUInt64Vector(words); });
}

}

namespace hdqremote {

void sendItemAddress(socketutil::SocketInterface& socket, ItemAddress<long> address);
ItemAddress<long> receiveItemAddress(socketutil::SocketInterface& socket);
SubzoneAddress receiveSubzoneAddress(socketutil::SocketInterface& socket);
/// A vector of subzone addresses. Throws IOException.
std::vector<SubzoneAddress> receiveSubzoneAddresses(socketutil::SocketInterface& socket);

}

}
