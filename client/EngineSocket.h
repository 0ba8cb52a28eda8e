#pragma once

#include "socket/ItemReader.h"
#include "varnox/socketutil/SocketInterface.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varnox::client {

/// The engine's end of the connection, over one connected stream. What is sent is collected and
/// goes out when the next item has to be waited for, so that the answers to a batch of commands
/// travel together; and while it goes out whatever comes in is taken, so that a server that is
/// still busy sending a long batch doesn't have to read answers before it is done.
class EngineSocket : public socketutil::SocketInterface
{
public:
    static constexpr std::chrono::milliseconds WAIT_STEP{100};
    static constexpr std::size_t DEFAULT_MAX_ITEM_BYTES = std::size_t{1} << 30;

    /// Takes over the descriptor and closes it in the end. maxItemBytes is the limit for one
    /// received item.
    explicit EngineSocket(int descriptor, std::size_t maxItemBytes = DEFAULT_MAX_ITEM_BYTES);
    EngineSocket(EngineSocket const&) = delete;
    EngineSocket& operator=(EngineSocket const&) = delete;
    ~EngineSocket() override;

    /// From now on a receive that has to wait longer than this, counted from now, throws. None
    /// waits without bound.
    void setTimeout(std::optional<std::chrono::milliseconds> timeout);

    /// Called again and again, every WAIT_STEP, while a receive has to wait. None saves its cost.
    void setOnWait(std::function<void()> onWait) { m_onWait = std::move(onWait); }

    /// Sends what has been collected. Throws SocketException.
    void flush();
    /// A string of at most maxBytes. Throws ProtocolViolation before anything of a longer one is
    /// read.
    std::string receiveString(std::size_t maxBytes);
    /// A vector of at most maxCount elements. Throws ProtocolViolation before anything of a longer
    /// one is read.
    template <typename T>
    std::vector<T> receiveVector(std::size_t maxCount)
    {
        std::vector<T> result;
        receiveVector(maxCount, result);
        return result;
    }
    /// The same into a vector whose memory serves again.
    template <typename T>
    void receiveVector(std::size_t maxCount, std::vector<T>& result)
    {
        std::size_t const count = receiveCount(maxCount, "values");
        std::size_t have = 0;
        do { // memory grows with what has arrived
            std::size_t const step = std::max(have, FIRST_STEP / sizeof(T));
            result.resize(have + std::min(count - have, step));
            read(result.data() + have, (result.size() - have) * sizeof(T));
            have = result.size();
        } while (have < count);
    }

    std::uint64_t bytesReceived() const { return m_received; }

    /// What ItemReader reads from.
    void read(void* out, std::size_t byteCount);

#define VNX_ITEM(name, type)                                                                       \
    void send##name(type value) override;                                                          \
    type receive##name() override;
#define VNX_VECTOR(name, type)                                                                     \
    void send##name##Vector(std::vector<type> const& values) override;                             \
    std::vector<type> receive##name##Vector() override;
#include "client/SocketItems.def"

    void sendString(std::string const& value) override;
    std::string receiveString() override;
    void sendCache(socketutil::WriteCache& cache) override;

private:
    static constexpr std::size_t FIRST_STEP = std::size_t{1} << 20;

    std::size_t receiveCount(std::size_t maxCount, char const* what);
    void write(void const* bytes, std::size_t byteCount);
    bool sendSome(int flags);
    std::size_t receiveSome(void* out, std::size_t byteCount);
    int millisecondsToWait() const;
    std::size_t waitAndReceive(void* out, std::size_t byteCount);

    int m_descriptor;
    socketutil::ItemReader<EngineSocket> m_reader;
    std::vector<unsigned char> m_in;
    std::size_t m_inBegin = 0;
    std::size_t m_inEnd = 0;
    std::vector<unsigned char> m_out;
    std::size_t m_outBegin = 0;
    std::uint64_t m_received = 0;
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
    std::function<void()> m_onWait;
};

}
