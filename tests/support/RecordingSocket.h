#pragma once

#include "socket/ItemReader.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace varnox::tests {

/// The bytes of a text of hexadecimal digits and blanks.
std::string hex(std::string const& digits);

/// All that a cache holds.
std::string bytesOf(socketutil::WriteCache const& cache);

/// The bytes of what a function adds to a cache.
std::string cached(std::function<void(socketutil::WriteCache&)> const& add);

/// Plays a script to the receiver and keeps what was sent. Can be told to fail at the n-th
/// operation. In the records of traffic its user is the server.
class RecordingSocket : public socketutil::SocketInterface
{
public:
    explicit RecordingSocket(std::string script = "") : m_script(std::move(script)) {}
    RecordingSocket(RecordingSocket const&) = delete;
    RecordingSocket& operator=(RecordingSocket const&) = delete;
    ~RecordingSocket() override;

    /// All bytes sent, in order.
    std::string const& sent() const { return m_sent; }
    std::size_t numSendCaches() const { return m_numSendCaches; }
    std::size_t numOperations() const { return m_numOperations; }
    bool allWasRead() const { return m_position == m_script.size(); }
    /// What of the script wasn't read.
    std::string unread() const { return m_script.substr(m_position); }
    void appendScript(std::string const& bytes) { m_script += bytes; }
    /// Forgets what was sent so far.
    std::string takeSent();
    /// The n-th operation from now on, counted from 0, throws SocketException.
    void failAt(std::size_t n) { m_failAt = m_numOperations + n; }

    /// What ItemReader reads from.
    void read(void* out, std::size_t byteCount);

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
    void sendCache(socketutil::WriteCache& cache) override;

private:
    void operation();
    void send(std::function<void(socketutil::WriteCache&)> const& add);

    std::string m_script;
    std::size_t m_position = 0;
    std::string m_sent;
    std::size_t m_numSendCaches = 0;
    std::size_t m_numOperations = 0;
    std::size_t m_failAt = static_cast<std::size_t>(-1);
    socketutil::ItemReader<RecordingSocket> m_reader{*this, std::size_t{1} << 30};
};

}
