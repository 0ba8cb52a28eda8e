#include "tests/support/RecordingSocket.h"

#include "tests/support/Traffic.h"
#include "varnox/socketutil/SocketException.h"

#include <cstdlib>
#include <cstring>

namespace varnox::tests {

using socketutil::SocketException;
using socketutil::WriteCache;

std::string hex(std::string const& digits)
{
    std::string compact;
    for (char const c : digits)
        if (c != ' ')
            compact += c;
    std::string result;
    for (std::size_t i = 0; i + 1 < compact.size(); i += 2)
        result += static_cast<char>(std::stoi(compact.substr(i, 2), nullptr, 16));
    return result;
}

std::string bytesOf(WriteCache const& cache)
{
    std::string result;
    for (WriteCache::Piece const& piece : cache.pieces())
        result.append(reinterpret_cast<char const*>(piece.data), piece.size);
    return result;
}

std::string cached(std::function<void(WriteCache&)> const& add)
{
    WriteCache cache;
    add(cache);
    return bytesOf(cache);
}

RecordingSocket::~RecordingSocket()
{
    recordTraffic(Speaker::Server, m_sent);
    recordTraffic(Speaker::Client, m_script.substr(0, m_position));
}

std::string RecordingSocket::takeSent()
{
    recordTraffic(Speaker::Server, m_sent);
    return std::exchange(m_sent, {});
}

void RecordingSocket::operation()
{
    if (m_numOperations++ == m_failAt)
        throw SocketException("failed on purpose");
}

void RecordingSocket::read(void* out, std::size_t byteCount)
{
    if (byteCount > m_script.size() - m_position)
        throw SocketException("the script has ended");
    std::memcpy(out, m_script.data() + m_position, byteCount);
    m_position += byteCount;
}

void RecordingSocket::send(std::function<void(WriteCache&)> const& add)
{
    operation();
    m_sent += cached(add);
}

void RecordingSocket::sendCache(WriteCache& cache)
{
    operation();
    ++m_numSendCaches;
    m_sent += bytesOf(cache);
}

void RecordingSocket::sendInt(int value)
{
    send([&](WriteCache& cache) { cache.addInt(value); });
}

int RecordingSocket::receiveInt()
{
    operation();
    return m_reader.number<int>();
}

void RecordingSocket::sendIntVector(std::vector<int> const& values)
{
    send([&](WriteCache& cache) { cache.addIntVector(values); });
}

std::vector<int> RecordingSocket::receiveIntVector()
{
    operation();
    return m_reader.vector<int>();
}

void RecordingSocket::sendBool(bool value)
{
    send([&](WriteCache& cache) { cache.addBool(value); });
}

bool RecordingSocket::receiveBool()
{
    operation();
    return m_reader.boolean();
}

void RecordingSocket::sendBoolVector(std::vector<bool> const& values)
{
    send([&](WriteCache& cache) { cache.addBoolVector(values); });
}

std::vector<bool> RecordingSocket::receiveBoolVector()
{
    operation();
    return m_reader.booleans();
}

void RecordingSocket::sendUInt8(std::uint8_t value)
{
    send([&](WriteCache& cache) { cache.addUInt8(value); });
}

std::uint8_t RecordingSocket::receiveUInt8()
{
    operation();
    return m_reader.number<std::uint8_t>();
}

void RecordingSocket::sendUInt8Vector(std::vector<unsigned char> const& values)
{
    send([&](WriteCache& cache) { cache.addUInt8Vector(values); });
}

std::vector<unsigned char> RecordingSocket::receiveUInt8Vector()
{
    operation();
    return m_reader.vector<unsigned char>();
}

void RecordingSocket::sendInt16(std::int16_t value)
{
    send([&](WriteCache& cache) { cache.addInt16(value); });
}

std::int16_t RecordingSocket::receiveInt16()
{
    operation();
    return m_reader.number<std::int16_t>();
}

void RecordingSocket::sendInt16Vector(std::vector<short> const& values)
{
    send([&](WriteCache& cache) { cache.addInt16Vector(values); });
}

std::vector<short> RecordingSocket::receiveInt16Vector()
{
    operation();
    return m_reader.vector<short>();
}

void RecordingSocket::sendUInt16(std::uint16_t value)
{
    send([&](WriteCache& cache) { cache.addUInt16(value); });
}

std::uint16_t RecordingSocket::receiveUInt16()
{
    operation();
    return m_reader.number<std::uint16_t>();
}

void RecordingSocket::sendUInt16Vector(std::vector<unsigned short> const& values)
{
    send([&](WriteCache& cache) { cache.addUInt16Vector(values); });
}

std::vector<unsigned short> RecordingSocket::receiveUInt16Vector()
{
    operation();
    return m_reader.vector<unsigned short>();
}

void RecordingSocket::sendInt32(std::int32_t value)
{
    send([&](WriteCache& cache) { cache.addInt32(value); });
}

std::int32_t RecordingSocket::receiveInt32()
{
    operation();
    return m_reader.number<std::int32_t>();
}

void RecordingSocket::sendInt32Vector(std::vector<int> const& values)
{
    send([&](WriteCache& cache) { cache.addInt32Vector(values); });
}

std::vector<int> RecordingSocket::receiveInt32Vector()
{
    operation();
    return m_reader.vector<int>();
}

void RecordingSocket::sendUInt32(std::uint32_t value)
{
    send([&](WriteCache& cache) { cache.addUInt32(value); });
}

std::uint32_t RecordingSocket::receiveUInt32()
{
    operation();
    return m_reader.number<std::uint32_t>();
}

void RecordingSocket::sendUInt32Vector(std::vector<unsigned int> const& values)
{
    send([&](WriteCache& cache) { cache.addUInt32Vector(values); });
}

std::vector<unsigned int> RecordingSocket::receiveUInt32Vector()
{
    operation();
    return m_reader.vector<unsigned int>();
}

void RecordingSocket::sendUInt64(std::uint64_t value)
{
    send([&](WriteCache& cache) { cache.addUInt64(value); });
}

std::uint64_t RecordingSocket::receiveUInt64()
{
    operation();
    return m_reader.number<std::uint64_t>();
}

void RecordingSocket::sendUInt64Vector(std::vector<unsigned long> const& values)
{
    send([&](WriteCache& cache) { cache.addUInt64Vector(values); });
}

std::vector<unsigned long> RecordingSocket::receiveUInt64Vector()
{
    operation();
    return m_reader.vector<unsigned long>();
}

void RecordingSocket::sendInt64(std::int64_t value)
{
    send([&](WriteCache& cache) { cache.addInt64(value); });
}

std::int64_t RecordingSocket::receiveInt64()
{
    operation();
    return m_reader.number<std::int64_t>();
}

void RecordingSocket::sendInt64Vector(std::vector<long> const& values)
{
    send([&](WriteCache& cache) { cache.addInt64Vector(values); });
}

std::vector<long> RecordingSocket::receiveInt64Vector()
{
    operation();
    return m_reader.vector<long>();
}

void RecordingSocket::sendDouble(double value)
{
    send([&](WriteCache& cache) { cache.addDouble(value); });
}

double RecordingSocket::receiveDouble()
{
    operation();
    return m_reader.number<double>();
}

void RecordingSocket::sendDoubleVector(std::vector<double> const& values)
{
    send([&](WriteCache& cache) { cache.addDoubleVector(values); });
}

std::vector<double> RecordingSocket::receiveDoubleVector()
{
    operation();
    return m_reader.vector<double>();
}

void RecordingSocket::sendFloat(float value)
{
    send([&](WriteCache& cache) { cache.addFloat(value); });
}

float RecordingSocket::receiveFloat()
{
    operation();
    return m_reader.number<float>();
}

void RecordingSocket::sendFloatVector(std::vector<float> const& values)
{
    send([&](WriteCache& cache) { cache.addFloatVector(values); });
}

std::vector<float> RecordingSocket::receiveFloatVector()
{
    operation();
    return m_reader.vector<float>();
}

void RecordingSocket::sendString(std::string const& value)
{
    send([&](WriteCache& cache) { cache.addString(value); });
}

std::string RecordingSocket::receiveString()
{
    operation();
    return m_reader.string();
}

void RecordingSocket::sendStringVector(std::vector<std::string> const& values)
{
    send([&](WriteCache& cache) { cache.addStringVector(values); });
}

std::vector<std::string> RecordingSocket::receiveStringVector()
{
    operation();
    return m_reader.strings();
}

}
