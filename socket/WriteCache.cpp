#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace varnox::socketutil {

static_assert(std::endian::native == std::endian::little,
              "the wire is little-endian, and numbers are copied to it as they lie in memory");

namespace {

using Block = std::unique_ptr<unsigned char[]>;

/// Behind the first bytes come blocks of growing size, the large ones all alike so that they can be
/// used again.
constexpr std::size_t SMALLEST_BLOCK = std::size_t{8} * 1024;
constexpr std::size_t LARGEST_BLOCK = std::size_t{512} * 1024;

/// The large blocks that no cache uses at the moment. Fresh memory costs a page fault per 4 KiB,
/// which is more than the copy into it.
class BlockStore
{
public:
    Block take()
    {
        if (m_blocks.empty())
            return Block(new unsigned char[LARGEST_BLOCK]);
        Block block = std::move(m_blocks.back());
        m_blocks.pop_back();
        return block;
    }

    void giveBack(Block block)
    {
        if (m_blocks.size() < MAX_KEPT) {
            m_blocks.reserve(MAX_KEPT);
            m_blocks.push_back(std::move(block));
        }
    }

private:
    static constexpr std::size_t MAX_KEPT = 40; // 20 MiB

    std::vector<Block> m_blocks;
};

thread_local bool storeIsGone = false; // outlives the store, and a cache may outlive both

struct ThreadsBlockStore : BlockStore
{
    ~ThreadsBlockStore() { storeIsGone = true; }
};

thread_local ThreadsBlockStore blockStore;

}

struct WriteCache::Chunk
{
    Block data;
    std::size_t capacity;
    std::size_t used;
};

// Only the bytes that are in use are ever read.
WriteCache::WriteCache()
{
} // NOLINT(cppcoreguidelines-pro-type-member-init)

WriteCache::~WriteCache()
{
    for (Chunk& chunk : m_chunks)
        if (chunk.capacity == LARGEST_BLOCK && !storeIsGone)
            blockStore.giveBack(std::move(chunk.data));
}

/// Another block, of the size that comes next or what is needed.
void WriteCache::addChunk(std::size_t minCapacity)
{
    std::size_t const next =
        m_chunks.empty() ? SMALLEST_BLOCK : std::min(m_chunks.back().capacity * 4, LARGEST_BLOCK);
    std::size_t const capacity = std::max(next, minCapacity);
    Block block = capacity == LARGEST_BLOCK && !storeIsGone ? blockStore.take()
                                                            : Block(new unsigned char[capacity]);
    m_chunks.push_back({std::move(block), capacity, 0});
}

unsigned char* WriteCache::extend(std::size_t byteCount)
{
    if (m_chunks.empty() && byteCount <= INLINE_SIZE - m_inlineUsed) {
        unsigned char* const bytes = m_inline + m_inlineUsed;
        m_inlineUsed += byteCount;
        m_size += byteCount;
        return bytes;
    }
    if (m_chunks.empty() || byteCount > m_chunks.back().capacity - m_chunks.back().used)
        addChunk(byteCount); // what is left of the last block stays unused
    Chunk& last = m_chunks.back();
    m_size += byteCount;
    unsigned char* const bytes = last.data.get() + last.used;
    last.used += byteCount;
    return bytes;
}

/// Free room at the end, at least one byte of it; takes another block if there is none.
unsigned char* WriteCache::room(std::size_t& available)
{
    if (m_chunks.empty() && m_inlineUsed < INLINE_SIZE) {
        available = INLINE_SIZE - m_inlineUsed;
        return m_inline + m_inlineUsed;
    }
    if (m_chunks.empty() || m_chunks.back().used == m_chunks.back().capacity)
        addChunk(0);
    Chunk& last = m_chunks.back();
    available = last.capacity - last.used;
    return last.data.get() + last.used;
}

void WriteCache::addBytes(void const* bytes, std::size_t byteCount)
{
    auto const* source = static_cast<unsigned char const*>(bytes);
    while (byteCount > 0) {
        std::size_t available = 0;
        unsigned char* const target = room(available);
        std::size_t const count = std::min(available, byteCount);
        std::memcpy(target, source, count);
        (m_chunks.empty() ? m_inlineUsed : m_chunks.back().used) += count;
        m_size += count;
        source += count;
        byteCount -= count;
    }
}

template <typename T>
void WriteCache::addNumber(T value)
{
    addBytes(&value, sizeof(value));
}

template <typename T>
void WriteCache::addVector(std::vector<T> const& values)
{
    addUInt64(values.size());
    addBytes(values.data(), values.size() * sizeof(T));
}

void WriteCache::addBool(bool value)
{
    addUInt8(value ? 1 : 0);
}

void WriteCache::addInt(int value)
{
    addInt32(value);
}

void WriteCache::addUInt8(std::uint8_t value)
{
    addNumber(value);
}

void WriteCache::addInt16(std::int16_t value)
{
    addNumber(value);
}

void WriteCache::addUInt16(std::uint16_t value)
{
    addNumber(value);
}

void WriteCache::addInt32(std::int32_t value)
{
    addNumber(value);
}

void WriteCache::addUInt32(std::uint32_t value)
{
    addNumber(value);
}

void WriteCache::addUInt64(std::uint64_t value)
{
    addNumber(value);
}

void WriteCache::addInt64(std::int64_t value)
{
    addNumber(value);
}

void WriteCache::addDouble(double value)
{
    addNumber(value);
}

void WriteCache::addFloat(float value)
{
    addNumber(value);
}

void WriteCache::addString(std::string const& value)
{
    addUInt64(value.size());
    addBytes(value.data(), value.size());
}

void WriteCache::addBoolVector(std::vector<bool> const& values)
{
    addUInt64(values.size());
    for (bool const value : values)
        addBool(value);
}

void WriteCache::addIntVector(std::vector<int> const& values)
{
    addVector(values);
}

void WriteCache::addUInt8Vector(std::vector<unsigned char> const& values)
{
    addVector(values);
}

void WriteCache::addInt16Vector(std::vector<short> const& values)
{
    addVector(values);
}

void WriteCache::addUInt16Vector(std::vector<unsigned short> const& values)
{
    addVector(values);
}

void WriteCache::addInt32Vector(std::vector<int> const& values)
{
    addVector(values);
}

void WriteCache::addUInt32Vector(std::vector<unsigned int> const& values)
{
    addVector(values);
}

void WriteCache::addUInt64Vector(std::vector<unsigned long> const& values)
{
    addVector(values);
}

void WriteCache::addInt64Vector(std::vector<long> const& values)
{
    addVector(values);
}

void WriteCache::addDoubleVector(std::vector<double> const& values)
{
    addVector(values);
}

void WriteCache::addFloatVector(std::vector<float> const& values)
{
    addVector(values);
}

void WriteCache::addStringVector(std::vector<std::string> const& values)
{
    addUInt64(values.size());
    for (std::string const& value : values)
        addString(value);
}

void WriteCache::appendCache(WriteCache const& other)
{
    // The list is taken once and the number of bytes with it, so that a cache can be appended to
    // itself.
    std::vector<Piece> const added = other.pieces();
    std::size_t const numChunks = m_chunks.size();
    std::size_t const lastUsed = m_chunks.empty() ? 0 : m_chunks.back().used;
    std::size_t const inlineUsed = m_inlineUsed;
    std::size_t const size = m_size;
    try {
        for (Piece const& piece : added)
            addBytes(piece.data, piece.size);
    } catch (std::bad_alloc const&) {
        // The first half of a command would swallow the beginning of the next one.
        m_chunks.erase(m_chunks.begin() + static_cast<std::ptrdiff_t>(numChunks), m_chunks.end());
        if (!m_chunks.empty())
            m_chunks.back().used = lastUsed;
        m_inlineUsed = inlineUsed;
        m_size = size;
        throw;
    }
}

std::size_t WriteCache::size() const
{
    return m_size;
}

std::vector<WriteCache::Piece> WriteCache::pieces() const
{
    std::vector<Piece> result;
    result.reserve(m_chunks.size() + 1);
    if (m_inlineUsed > 0)
        result.push_back({m_inline, m_inlineUsed});
    for (Chunk const& chunk : m_chunks)
        if (chunk.used > 0)
            result.push_back({chunk.data.get(), chunk.used});
    return result;
}

}
