#pragma once

#include "varnox/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace varnox::socketutil {

/// A byte buffer of typed items, to be sent in one go: the items one after the other, in the order
/// in which they were added, with nothing before, between or behind them. All numbers are
/// little-endian and packed; a string and a vector carry their count ahead as a uint64. The bytes
/// lie in pieces (see pieces()), which are taken from and given back to a bounded store of the
/// process, so that answer after answer reuses the same memory. One thread.
class VNX_EXPORT WriteCache
{
public:
    /// A run of bytes inside the cache.
    struct Piece
    {
        unsigned char const* data;
        std::size_t size;
    };

    WriteCache();
    WriteCache(WriteCache const&) = delete;
    WriteCache& operator=(WriteCache const&) = delete;
    virtual ~WriteCache();

    void addBool(bool value);
    void addInt(int value);
    void addUInt8(std::uint8_t value);
    void addInt16(std::int16_t value);
    void addUInt16(std::uint16_t value);
    void addInt32(std::int32_t value);
    void addUInt32(std::uint32_t value);
    void addUInt64(std::uint64_t value);
    void addInt64(std::int64_t value);
    void addDouble(double value);
    void addFloat(float value);
    /// Any byte may occur in the text, the zero byte included.
    void addString(std::string const& value);

    void addBoolVector(std::vector<bool> const& values);
    void addIntVector(std::vector<int> const& values);
    void addUInt8Vector(std::vector<unsigned char> const& values);
    void addInt16Vector(std::vector<short> const& values);
    void addUInt16Vector(std::vector<unsigned short> const& values);
    void addInt32Vector(std::vector<int> const& values);
    void addUInt32Vector(std::vector<unsigned int> const& values);
    void addUInt64Vector(std::vector<unsigned long> const& values);
    void addInt64Vector(std::vector<long> const& values);
    void addDoubleVector(std::vector<double> const& values);
    void addFloatVector(std::vector<float> const& values);
    void addStringVector(std::vector<std::string> const& values);

    /// Appends all that the other cache holds, or, if memory is short, nothing. Appending a cache to
    /// itself doubles it.
    void appendCache(WriteCache const& other);

    /// Adds byteCount bytes that the caller writes before anything else is added; any alignment.
    unsigned char* extend(std::size_t byteCount);

    /// Bytes held, which is also the number of bytes that sending puts on the socket.
    std::size_t size() const;

    /// The bytes in order, as runs that stay valid until the cache is changed or destroyed.
    std::vector<Piece> pieces() const;

private:
    struct Chunk;

    static constexpr std::size_t INLINE_SIZE = 512;

    unsigned char* room(std::size_t& available);
    void addChunk(std::size_t minCapacity);
    void addBytes(void const* bytes, std::size_t byteCount);
    template <typename T>
    void addNumber(T value);
    template <typename T>
    void addVector(std::vector<T> const& values);

    std::vector<Chunk> m_chunks; // behind the bytes that lie in the object itself
    std::size_t m_size = 0;
    std::size_t m_inlineUsed = 0;
    unsigned char m_inline[INLINE_SIZE]; // a short command costs no allocation
};

}
