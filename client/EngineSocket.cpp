#include "client/EngineSocket.h"

#include "client/Errors.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varnox::client {

using socketutil::SocketException;
using socketutil::WriteCache;

namespace {

constexpr std::size_t BUFFER_SIZE = std::size_t{256} * 1024;

/// Answers that the server doesn't fetch may not pile up without end.
constexpr std::size_t MAX_UNSENT_BYTES = std::size_t{256} * 1024 * 1024;

[[noreturn]] void throwSystemError(char const* what)
{
    throw SocketException(std::string(what) + " failed: " + std::strerror(errno) + ".");
}

}

EngineSocket::EngineSocket(int descriptor, std::size_t maxItemBytes)
    : m_descriptor(descriptor), m_reader(*this, maxItemBytes), m_in(BUFFER_SIZE)
{
    int const on = 1; // fails harmlessly where the stream isn't TCP
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

EngineSocket::~EngineSocket()
{
    ::close(m_descriptor);
}

void EngineSocket::setTimeout(std::optional<std::chrono::milliseconds> timeout)
{
    m_deadline.reset();
    if (timeout)
        m_deadline = std::chrono::steady_clock::now() + *timeout;
}

void EngineSocket::write(void const* bytes, std::size_t byteCount)
{
    if (m_out.size() - m_outBegin + byteCount > MAX_UNSENT_BYTES)
        throw SocketException("Sending failed: the other side doesn't read its answers.");
    auto const* first = static_cast<unsigned char const*>(bytes);
    m_out.insert(m_out.end(), first, first + byteCount);
}

bool EngineSocket::sendSome(int flags)
{
    while (m_outBegin < m_out.size()) {
        ssize_t const sent = ::send(m_descriptor, m_out.data() + m_outBegin,
                                    m_out.size() - m_outBegin, MSG_NOSIGNAL | flags);
        if (sent >= 0) {
            m_outBegin += static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN) {
            return false;
        } else if (errno == EPIPE || errno == ECONNRESET) {
            break; // what the other side said last may still be read; the receive then fails
        } else if (errno != EINTR) {
            throwSystemError("Sending");
        }
    }
    m_out.clear();
    m_outBegin = 0;
    return true;
}

void EngineSocket::flush()
{
    sendSome(0);
}

/// What is there, at least one byte; 0 if nothing is and the call must not wait.
std::size_t EngineSocket::receiveSome(void* out, std::size_t byteCount)
{
    bool const mayWait = m_out.empty() && !m_deadline && !m_onWait;
    for (;;) {
        ssize_t const got = ::recv(m_descriptor, out, byteCount, mayWait ? 0 : MSG_DONTWAIT);
        if (got > 0)
            return static_cast<std::size_t>(got);
        if (got == 0)
            throw SocketException("Receiving failed: the other side closed the connection.");
        if (errno == EAGAIN && !mayWait)
            return 0;
        if (errno != EINTR && errno != EAGAIN)
            throwSystemError("Receiving");
    }
}

/// -1 for without bound. Throws when the time is over.
int EngineSocket::millisecondsToWait() const
{
    int const step = m_onWait ? static_cast<int>(WAIT_STEP.count()) : -1;
    if (!m_deadline)
        return step;
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
        *m_deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0)
        throw SocketException("Receiving failed: no answer within the time allowed.");
    int const rest = static_cast<int>(left.count()) + 1;
    return step < 0 ? rest : std::min(rest, step);
}

std::size_t EngineSocket::waitAndReceive(void* out, std::size_t byteCount)
{
    for (;;) {
        bool const allSent = sendSome(MSG_DONTWAIT);
        if (std::size_t const got = receiveSome(out, byteCount))
            return got;
        pollfd waiting{m_descriptor, static_cast<short>(allSent ? POLLIN : POLLIN | POLLOUT), 0};
        int const ready = ::poll(&waiting, 1, millisecondsToWait());
        if (ready < 0 && errno != EINTR)
            throwSystemError("Waiting for the other side");
        if (ready == 0 && m_onWait)
            m_onWait();
    }
}

void EngineSocket::read(void* out, std::size_t byteCount)
{
    auto* target = static_cast<unsigned char*>(out);
    while (byteCount > 0) {
        if (m_inBegin == m_inEnd && byteCount < BUFFER_SIZE) {
            m_inBegin = 0;
            m_inEnd = 0;
            m_inEnd = waitAndReceive(m_in.data(), BUFFER_SIZE);
        }
        std::size_t count = std::min(byteCount, m_inEnd - m_inBegin);
        if (count > 0) {
            std::memcpy(target, m_in.data() + m_inBegin, count);
            m_inBegin += count;
        } else {
            count = waitAndReceive(target, byteCount);
        }
        target += count;
        byteCount -= count;
        m_received += count;
    }
}

std::size_t EngineSocket::receiveCount(std::size_t maxCount, char const* what)
{
    std::uint64_t const count = receiveUInt64();
    if (count > maxCount)
        throw ProtocolViolation("The server sent " + std::to_string(count) + " " + what +
                                " where at most " + std::to_string(maxCount) + " can be.");
    return static_cast<std::size_t>(count);
}

std::string EngineSocket::receiveString(std::size_t maxBytes)
{
    std::string result(receiveCount(maxBytes, "characters"), '\0');
    read(result.data(), result.size());
    return result;
}

std::string EngineSocket::receiveString()
{
    return m_reader.string();
}

void EngineSocket::sendString(std::string const& value)
{
    std::uint64_t const size = value.size();
    write(&size, sizeof(size));
    write(value.data(), value.size());
}

void EngineSocket::sendCache(WriteCache& cache)
{
    for (WriteCache::Piece const& piece : cache.pieces())
        write(piece.data, piece.size);
}

// A bool travels as a byte of 0 or 1, as it lies in memory.
static_assert(sizeof(bool) == 1, "a bool must be one byte");

#define VNX_ITEM(name, type)                                                                       \
    void EngineSocket::send##name(type value)                                                      \
    {                                                                                              \
        write(&value, sizeof(value));                                                              \
    }
#define VNX_VECTOR(name, type)                                                                     \
    void EngineSocket::send##name##Vector(std::vector<type> const& values)                         \
    {                                                                                              \
        WriteCache cache;                                                                          \
        cache.add##name##Vector(values);                                                           \
        sendCache(cache);                                                                          \
    }
#include "client/SocketItems.def"

namespace {

template <typename T>
T receiveItem(socketutil::ItemReader<EngineSocket>& reader)
{
    if constexpr (std::is_same_v<T, bool>)
        return reader.boolean();
    else
        return reader.number<T>();
}

template <typename T>
std::vector<T> receiveItems(socketutil::ItemReader<EngineSocket>& reader)
{
    if constexpr (std::is_same_v<T, bool>)
        return reader.booleans();
    else if constexpr (std::is_same_v<T, std::string>)
        return reader.strings();
    else
        return reader.vector<T>();
}

}

#define VNX_ITEM(name, type)                                                                       \
    type EngineSocket::receive##name()                                                             \
    {                                                                                              \
        return receiveItem<type>(m_reader);                                                        \
    }
#define VNX_VECTOR(name, type)                                                                     \
    std::vector<type> EngineSocket::receive##name##Vector()                                        \
    {                                                                                              \
        return receiveItems<type>(m_reader);                                                       \
    }
#include "client/SocketItems.def"

}
