#include "socket/StreamSocket.h"

#include "socket/ItemReader.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

namespace varnox::socketutil {

namespace {

bool isSocket(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

void setNoDelay(int descriptor)
{
    int const on = 1; // fails harmlessly where the stream isn't TCP
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

/// False: the time is over; a limit of 0 is none.
bool waitFor(int descriptor, short events, std::chrono::milliseconds limit)
{
    pollfd waiting{descriptor, events, 0};
    int ready = 0;
    while ((ready = ::poll(&waiting, 1, limit.count() > 0 ? static_cast<int>(limit.count()) : -1)) <
               0 &&
           errno == EINTR) {
    }
    return ready != 0;
}

bool mayBlock(int descriptor)
{
    return (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) == 0;
}

void setSocketTimeout(int descriptor, int option, std::chrono::milliseconds limit)
{
    timeval time = {};
    time.tv_sec = limit.count() / 1000;
    time.tv_usec = limit.count() % 1000 * 1000;
    ::setsockopt(descriptor, SOL_SOCKET, option, &time, sizeof(time));
}

std::string seconds(std::chrono::milliseconds limit)
{
    return limit.count() % 1000 == 0 ? std::to_string(limit.count() / 1000) + " seconds"
                                     : std::to_string(limit.count()) + " milliseconds";
}

/// Keeps a write to a pipe whose reader is gone from raising SIGPIPE in this thread: the signal is
/// blocked and, if the write made it pending, taken away again. The process's own handling stays.
class BrokenPipeGuard
{
public:
    BrokenPipeGuard()
    {
        sigemptyset(&m_pipeSignal);
        sigaddset(&m_pipeSignal, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipeSignal, &m_before);
    }
    BrokenPipeGuard(BrokenPipeGuard const&) = delete;
    BrokenPipeGuard& operator=(BrokenPipeGuard const&) = delete;
    ~BrokenPipeGuard()
    {
        int const error = errno;
        if (!m_wasPending) {
            timespec const now = {};
            while (sigtimedwait(&m_pipeSignal, nullptr, &now) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = error;
    }

private:
    sigset_t m_pipeSignal;
    sigset_t m_before;
    bool m_wasPending;
};

}

class StreamSocket::Impl
{
public:
    Impl(int readEnd, int writeEnd, std::size_t maxBytes)
        : readDescriptor(readEnd), writeDescriptor(writeEnd), writesToSocket(isSocket(writeEnd)),
          readsFromSocket(isSocket(readEnd)), reader(*this, maxBytes),
          buffer(new unsigned char[BUFFER_SIZE])
    {
        if (writesToSocket)
            setNoDelay(writeDescriptor);
    }
    Impl(Impl const&) = delete;
    Impl& operator=(Impl const&) = delete;
    ~Impl()
    {
        ::close(readDescriptor);
        if (writeDescriptor != readDescriptor)
            ::close(writeDescriptor);
    }

    /// Exactly byteCount bytes, from the buffer first; a long rest goes straight to its
    /// destination.
    void read(void* out, std::size_t byteCount)
    {
        requireWhole(isReceivingTorn, "Receiving");
        auto* target = static_cast<unsigned char*>(out);
        while (byteCount > 0) {
            if (bufferBegin == bufferEnd && byteCount < BUFFER_SIZE) {
                bufferBegin = 0;
                bufferEnd = readSome(buffer.get(), BUFFER_SIZE);
            }
            std::size_t count = std::min(byteCount, bufferEnd - bufferBegin);
            if (count > 0) {
                std::memcpy(target, buffer.get() + bufferBegin, count);
                bufferBegin += count;
            } else {
                count = readSome(target, byteCount);
            }
            target += count;
            byteCount -= count;
            totalReceived += count;
        }
    }

    void write(void const* bytes, std::size_t byteCount)
    {
        iovec piece = pieceOf(bytes, byteCount);
        write(&piece, 1);
    }

    /// All the pieces, in batches of what one call takes. Changes the pieces.
    void write(iovec* pieces, std::size_t count)
    {
        requireWhole(isSendingTorn, "Sending");
        while (count > 0) {
            if (pieces->iov_len == 0) {
                ++pieces;
                --count;
                continue;
            }
            std::size_t written = writeSome(pieces, std::min<std::size_t>(count, IOV_MAX));
            totalSent += written;
            while (written > 0) {
                std::size_t const part = std::min(written, pieces->iov_len);
                pieces->iov_base = static_cast<unsigned char*>(pieces->iov_base) + part;
                pieces->iov_len -= part;
                written -= part;
                if (pieces->iov_len == 0) {
                    ++pieces;
                    --count;
                }
            }
        }
    }

    /// Receives an item of several reads. Where one fails, for want of memory too, the rest of the
    /// item would be taken for the next one.
    template <typename F>
    auto receiveWhole(F&& receive)
    {
        try {
            return receive(reader);
        } catch (...) {
            isReceivingTorn = true;
            throw;
        }
    }

    template <typename T>
    void sendNumber(T value)
    {
        write(&value, sizeof(value));
    }

    void sendCounted(std::uint64_t count, void const* bytes, std::size_t byteCount)
    {
        std::array<iovec, 2> pieces{pieceOf(&count, sizeof(count)), pieceOf(bytes, byteCount)};
        write(pieces.data(), pieces.size());
    }

    template <typename T>
    void sendVector(std::vector<T> const& values)
    {
        sendCounted(values.size(), values.data(), values.size() * sizeof(T));
    }

    static iovec pieceOf(void const* bytes, std::size_t byteCount)
    {
        return {const_cast<void*>(bytes), byteCount}; // sending doesn't write to it
    }

    static constexpr std::size_t BUFFER_SIZE = std::size_t{256} * 1024;

    int readDescriptor;
    int writeDescriptor;
    bool writesToSocket;
    bool readsFromSocket;
    ItemReader<Impl> reader;
    std::unique_ptr<unsigned char[]> buffer;
    std::size_t bufferBegin = 0;
    std::size_t bufferEnd = 0;
    std::uint64_t totalSent = 0;
    std::uint64_t totalReceived = 0;
    std::chrono::milliseconds idleLimit{0};
    bool hasIdled = false;
    // Part of an item has passed, and the rest never will.
    bool isReceivingTorn = false;
    bool isSendingTorn = false;

    void setIdleTimeout(std::chrono::milliseconds limit)
    {
        idleLimit = limit;
        if (readsFromSocket)
            setSocketTimeout(readDescriptor, SO_RCVTIMEO, limit);
        if (writesToSocket)
            setSocketTimeout(writeDescriptor, SO_SNDTIMEO, limit);
    }

private:
    static void requireWhole(bool isTorn, char const* what)
    {
        if (isTorn)
            throw SocketException(std::string(what) + " failed: the connection has failed before.");
    }

    [[noreturn]] void failToReceive(std::string const& why)
    {
        isReceivingTorn = true;
        throw SocketException("Receiving failed: " + why + ".");
    }

    [[noreturn]] void failToSend(std::string const& why)
    {
        isSendingTorn = true;
        throw SocketException("Sending failed: " + why + ".");
    }

    [[noreturn]] void throwIdle(char const* what)
    {
        hasIdled = true;
        if (readsFromSocket)
            ::shutdown(readDescriptor, SHUT_RDWR);
        if (writesToSocket)
            ::shutdown(writeDescriptor, SHUT_RDWR);
        throw SocketException(std::string(what) + " within " + seconds(idleLimit) + ".");
    }

    /// Pipes have no timeouts of their own.
    void waitForPipe(int descriptor, short events, char const* what)
    {
        if (idleLimit.count() > 0 && (hasIdled || !waitFor(descriptor, events, idleLimit)))
            throwIdle(what);
    }

    /// The operation would have to wait. A socket that may block has done so, for as long as the
    /// limit is.
    void waitForSocket(int descriptor, short events, char const* what)
    {
        bool const isOver = idleLimit.count() > 0 && mayBlock(descriptor);
        if (isOver || !waitFor(descriptor, events, idleLimit))
            throwIdle(what);
    }

    std::size_t readSome(void* out, std::size_t byteCount)
    {
        static constexpr char IDLE[] = "Receiving failed: the other side sent nothing";
        if (!readsFromSocket)
            waitForPipe(readDescriptor, POLLIN, IDLE);
        for (;;) {
            ssize_t const got = ::read(readDescriptor, out, byteCount);
            if (got > 0)
                return static_cast<std::size_t>(got);
            if (got == 0)
                failToReceive("the other side closed the connection");
            if (errno == EAGAIN)
                waitForSocket(readDescriptor, POLLIN, IDLE);
            else if (errno != EINTR)
                failToReceive(std::strerror(errno));
        }
    }

    std::size_t writeSome(iovec* pieces, std::size_t count)
    {
        static constexpr char IDLE[] = "Sending failed: the other side took nothing";
        if (!writesToSocket)
            waitForPipe(writeDescriptor, POLLOUT, IDLE);
        for (;;) {
            ssize_t const written =
                writesToSocket ? writeToSocket(pieces, count) : writeToPipe(pieces, count);
            if (written >= 0)
                return static_cast<std::size_t>(written);
            if (errno == EAGAIN)
                waitForSocket(writeDescriptor, POLLOUT, IDLE);
            else if (errno == EPIPE)
                failToSend("the other side closed the connection");
            else if (errno != EINTR)
                failToSend(std::strerror(errno));
        }
    }

    ssize_t writeToSocket(iovec* pieces, std::size_t count) const
    {
        msghdr message = {};
        message.msg_iov = pieces;
        message.msg_iovlen = count;
        return ::sendmsg(writeDescriptor, &message, MSG_NOSIGNAL);
    }

    ssize_t writeToPipe(iovec* pieces, std::size_t count) const
    {
        BrokenPipeGuard const guard;
        // A pipe that can be written to takes that much without waiting.
        if (idleLimit.count() > 0)
            return ::write(writeDescriptor, pieces->iov_base,
                           std::min<std::size_t>(pieces->iov_len, PIPE_BUF));
        return ::writev(writeDescriptor, pieces, static_cast<int>(count));
    }
};

StreamSocket::StreamSocket(int readDescriptor, int writeDescriptor, std::size_t maxItemBytes)
    : m_impl(std::make_unique<Impl>(readDescriptor, writeDescriptor, maxItemBytes))
{
}

StreamSocket::~StreamSocket() = default;

void StreamSocket::sendInt(int value)
{
    m_impl->sendNumber(value);
}

int StreamSocket::receiveInt()
{
    return m_impl->reader.number<int>();
}

void StreamSocket::sendIntVector(std::vector<int> const& values)
{
    m_impl->sendVector(values);
}

std::vector<int> StreamSocket::receiveIntVector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.template vector<int>(); });
}

void StreamSocket::sendBool(bool value)
{
    m_impl->sendNumber<std::uint8_t>(value ? 1 : 0);
}

bool StreamSocket::receiveBool()
{
    return m_impl->reader.boolean();
}

void StreamSocket::sendBoolVector(std::vector<bool> const& values)
{
    WriteCache cache;
    cache.addBoolVector(values);
    sendCache(cache);
}

std::vector<bool> StreamSocket::receiveBoolVector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.booleans(); });
}

void StreamSocket::sendUInt8(std::uint8_t value)
{
    m_impl->sendNumber(value);
}

std::uint8_t StreamSocket::receiveUInt8()
{
    return m_impl->reader.number<std::uint8_t>();
}

void StreamSocket::sendUInt8Vector(std::vector<unsigned char> const& values)
{
    m_impl->sendVector(values);
}

std::vector<unsigned char> StreamSocket::receiveUInt8Vector()
{
    return m_impl->receiveWhole(
        [](auto& reader) { return reader.template vector<unsigned char>(); });
}

void StreamSocket::sendInt16(std::int16_t value)
{
    m_impl->sendNumber(value);
}

std::int16_t StreamSocket::receiveInt16()
{
    return m_impl->reader.number<std::int16_t>();
}

void StreamSocket::sendInt16Vector(std::vector<short> const& values)
{
    m_impl->sendVector(values);
}

std::vector<short> StreamSocket::receiveInt16Vector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.template vector<short>(); });
}

void StreamSocket::sendUInt16(std::uint16_t value)
{
    m_impl->sendNumber(value);
}

std::uint16_t StreamSocket::receiveUInt16()
{
    return m_impl->reader.number<std::uint16_t>();
}

void StreamSocket::sendUInt16Vector(std::vector<unsigned short> const& values)
{
    m_impl->sendVector(values);
}

std::vector<unsigned short> StreamSocket::receiveUInt16Vector()
{
    return m_impl->receiveWhole(
        [](auto& reader) { return reader.template vector<unsigned short>(); });
}

void StreamSocket::sendInt32(std::int32_t value)
{
    m_impl->sendNumber(value);
}

std::int32_t StreamSocket::receiveInt32()
{
    return m_impl->reader.number<std::int32_t>();
}

void StreamSocket::sendInt32Vector(std::vector<int> const& values)
{
    m_impl->sendVector(values);
}

std::vector<int> StreamSocket::receiveInt32Vector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.template vector<int>(); });
}

void StreamSocket::sendUInt32(std::uint32_t value)
{
    m_impl->sendNumber(value);
}

std::uint32_t StreamSocket::receiveUInt32()
{
    return m_impl->reader.number<std::uint32_t>();
}

void StreamSocket::sendUInt32Vector(std::vector<unsigned int> const& values)
{
    m_impl->sendVector(values);
}

std::vector<unsigned int> StreamSocket::receiveUInt32Vector()
{
    return m_impl->receiveWhole(
        [](auto& reader) { return reader.template vector<unsigned int>(); });
}

void StreamSocket::sendUInt64(std::uint64_t value)
{
    m_impl->sendNumber(value);
}

std::uint64_t StreamSocket::receiveUInt64()
{
    return m_impl->reader.number<std::uint64_t>();
}

void StreamSocket::sendUInt64Vector(std::vector<unsigned long> const& values)
{
    m_impl->sendVector(values);
}

std::vector<unsigned long> StreamSocket::receiveUInt64Vector()
{
    return m_impl->receiveWhole(
        [](auto& reader) { return reader.template vector<unsigned long>(); });
}

void StreamSocket::sendInt64(std::int64_t value)
{
    m_impl->sendNumber(value);
}

std::int64_t StreamSocket::receiveInt64()
{
    return m_impl->reader.number<std::int64_t>();
}

void StreamSocket::sendInt64Vector(std::vector<long> const& values)
{
    m_impl->sendVector(values);
}

std::vector<long> StreamSocket::receiveInt64Vector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.template vector<long>(); });
}

void StreamSocket::sendDouble(double value)
{
    m_impl->sendNumber(value);
}

double StreamSocket::receiveDouble()
{
    return m_impl->reader.number<double>();
}

void StreamSocket::sendDoubleVector(std::vector<double> const& values)
{
    m_impl->sendVector(values);
}

std::vector<double> StreamSocket::receiveDoubleVector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.template vector<double>(); });
}

void StreamSocket::sendFloat(float value)
{
    m_impl->sendNumber(value);
}

float StreamSocket::receiveFloat()
{
    return m_impl->reader.number<float>();
}

void StreamSocket::sendFloatVector(std::vector<float> const& values)
{
    m_impl->sendVector(values);
}

std::vector<float> StreamSocket::receiveFloatVector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.template vector<float>(); });
}

void StreamSocket::sendString(std::string const& value)
{
    m_impl->sendCounted(value.size(), value.data(), value.size());
}

std::string StreamSocket::receiveString()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.string(); });
}

void StreamSocket::sendStringVector(std::vector<std::string> const& values)
{
    WriteCache cache;
    cache.addStringVector(values);
    sendCache(cache);
}

std::vector<std::string> StreamSocket::receiveStringVector()
{
    return m_impl->receiveWhole([](auto& reader) { return reader.strings(); });
}

void StreamSocket::sendCache(WriteCache& cache)
{
    std::vector<iovec> pieces;
    for (WriteCache::Piece const& piece : cache.pieces())
        pieces.push_back(Impl::pieceOf(piece.data, piece.size));
    m_impl->write(pieces.data(), pieces.size());
}

void StreamSocket::setIdleTimeout(std::chrono::milliseconds limit)
{
    m_impl->setIdleTimeout(limit);
}

bool StreamSocket::hasIdled() const
{
    return m_impl->hasIdled;
}

bool StreamSocket::peerHasHungUp() const
{
    if (m_impl->bufferBegin != m_impl->bufferEnd)
        return false;
    pollfd state{m_impl->readDescriptor, POLLIN | POLLRDHUP, 0};
    if (::poll(&state, 1, 0) <= 0)
        return false;
    if (!m_impl->readsFromSocket)
        return (state.revents & POLLIN) == 0 && (state.revents & (POLLHUP | POLLERR)) != 0;
    if ((state.revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0)
        return false;
    unsigned char next = 0;
    return ::recv(m_impl->readDescriptor, &next, 1, MSG_PEEK | MSG_DONTWAIT) <= 0;
}

std::uint64_t StreamSocket::bytesSent() const
{
    return m_impl->totalSent;
}

std::uint64_t StreamSocket::bytesReceived() const
{
    return m_impl->totalReceived;
}

}
