#pragma once

#include "varnox/socketutil/SocketInterface.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace varnox::socketutil {

/// The connection over file descriptors: a connected Unix or TCP stream, or a pair of pipes. Sends
/// resume after interruptions and short writes, large vectors go out without a copy, and a closed
/// peer is a SocketException and never a signal. Received bytes are buffered. Once a send or a
/// receive has failed, in the middle of an item for all that is known, every further one in that
/// direction is a SocketException: what would follow isn't what the other side takes it for.
class StreamSocket : public SocketInterface
{
public:
    static constexpr std::size_t DEFAULT_MAX_ITEM_BYTES = std::size_t{1} << 30;

    /// Takes over the descriptors, which may be one and the same, and closes them in the end. Sets
    /// TCP_NODELAY on a TCP stream. maxItemBytes is the limit for one received item.
    StreamSocket(int readDescriptor, int writeDescriptor,
                 std::size_t maxItemBytes = DEFAULT_MAX_ITEM_BYTES);
    ~StreamSocket() override;

    void sendInt(int value) override;
    int receiveInt() override;
    void sendIntVector(std::vector<int> const& values) override;
    std::vector<int> receiveIntVector() override;

    void sendBool(bool value) override;
    bool receiveBool() override;
    void sendBoolVector(std::vector<bool> const& values) override;
    std::vector<bool> receiveBoolVector() override;

    void sendUInt8(std::uint8_t value) override;
    std::uint8_t receiveUInt8() override;
    void sendUInt8Vector(std::vector<unsigned char> const& values) override;
    std::vector<unsigned char> receiveUInt8Vector() override;

    void sendInt16(std::int16_t value) override;
    std::int16_t receiveInt16() override;
    void sendInt16Vector(std::vector<short> const& values) override;
    std::vector<short> receiveInt16Vector() override;

    void sendUInt16(std::uint16_t value) override;
    std::uint16_t receiveUInt16() override;
    void sendUInt16Vector(std::vector<unsigned short> const& values) override;
    std::vector<unsigned short> receiveUInt16Vector() override;

    void sendInt32(std::int32_t value) override;
    std::int32_t receiveInt32() override;
    void sendInt32Vector(std::vector<int> const& values) override;
    std::vector<int> receiveInt32Vector() override;

    void sendUInt32(std::uint32_t value) override;
    std::uint32_t receiveUInt32() override;
    void sendUInt32Vector(std::vector<unsigned int> const& values) override;
    std::vector<unsigned int> receiveUInt32Vector() override;

    void sendUInt64(std::uint64_t value) override;
    std::uint64_t receiveUInt64() override;
    void sendUInt64Vector(std::vector<unsigned long> const& values) override;
    std::vector<unsigned long> receiveUInt64Vector() override;

    void sendInt64(std::int64_t value) override;
    std::int64_t receiveInt64() override;
    void sendInt64Vector(std::vector<long> const& values) override;
    std::vector<long> receiveInt64Vector() override;

    void sendDouble(double value) override;
    double receiveDouble() override;
    void sendDoubleVector(std::vector<double> const& values) override;
    std::vector<double> receiveDoubleVector() override;

    void sendFloat(float value) override;
    float receiveFloat() override;
    void sendFloatVector(std::vector<float> const& values) override;
    std::vector<float> receiveFloatVector() override;

    void sendString(std::string const& value) override;
    std::string receiveString() override;
    void sendStringVector(std::vector<std::string> const& values) override;
    std::vector<std::string> receiveStringVector() override;

    void sendCache(WriteCache& cache) override;

    /// From now on a receive for which not one byte comes in this time, and a send of which the
    /// peer takes not one, is a SocketException, and the connection is shut down: what is tried
    /// after that fails at once. Zero waits without bound, as at the start. Costs nothing on
    /// sockets.
    void setIdleTimeout(std::chrono::milliseconds limit);
    /// Whether that limit was reached.
    bool hasIdled() const;

    /// For a hosting program: true when the peer has hung up and no received byte is left unread.
    /// Doesn't block, reads nothing out of turn.
    bool peerHasHungUp() const;
    /// Total payload bytes moved so far, for progress and statistics.
    std::uint64_t bytesSent() const;
    std::uint64_t bytesReceived() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
