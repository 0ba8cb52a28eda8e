#pragma once

#include "varnox/Export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::socketutil {

class WriteCache;

/// One connection with typed operations. What one side wrote with a send (or with the add of the
/// same type into a WriteCache) the other side reads with the receive of the same type, in the same
/// order. A plain int and a 32-bit integer have the same bytes.
///
/// A receive blocks until its item is complete. Every operation throws SocketException when the
/// connection fails; the connection is then of no further use. One thread at a time.
///
/// The order of the operations is binding: a hosting program may implement this class itself.
class VNX_EXPORT SocketInterface
{
public:
    virtual ~SocketInterface();

    virtual void sendInt(int value) = 0;
    virtual int receiveInt() = 0;
    virtual void sendIntVector(std::vector<int> const& values) = 0;
    virtual std::vector<int> receiveIntVector() = 0;

    virtual void sendBool(bool value) = 0;
    virtual bool receiveBool() = 0;
    virtual void sendBoolVector(std::vector<bool> const& values) = 0;
    virtual std::vector<bool> receiveBoolVector() = 0;

    virtual void sendUInt8(std::uint8_t value) = 0;
    virtual std::uint8_t receiveUInt8() = 0;
    virtual void sendUInt8Vector(std::vector<unsigned char> const& values) = 0;
    virtual std::vector<unsigned char> receiveUInt8Vector() = 0;

    virtual void sendInt16(std::int16_t value) = 0;
    virtual std::int16_t receiveInt16() = 0;
    virtual void sendInt16Vector(std::vector<short> const& values) = 0;
    virtual std::vector<short> receiveInt16Vector() = 0;

    virtual void sendUInt16(std::uint16_t value) = 0;
    virtual std::uint16_t receiveUInt16() = 0;
    virtual void sendUInt16Vector(std::vector<unsigned short> const& values) = 0;
    virtual std::vector<unsigned short> receiveUInt16Vector() = 0;

    virtual void sendInt32(std::int32_t value) = 0;
    virtual std::int32_t receiveInt32() = 0;
    virtual void sendInt32Vector(std::vector<int> const& values) = 0;
    virtual std::vector<int> receiveInt32Vector() = 0;

    virtual void sendUInt32(std::uint32_t value) = 0;
    virtual std::uint32_t receiveUInt32() = 0;
    virtual void sendUInt32Vector(std::vector<unsigned int> const& values) = 0;
    virtual std::vector<unsigned int> receiveUInt32Vector() = 0;

    virtual void sendUInt64(std::uint64_t value) = 0;
    virtual std::uint64_t receiveUInt64() = 0;
    virtual void sendUInt64Vector(std::vector<unsigned long> const& values) = 0;
    virtual std::vector<unsigned long> receiveUInt64Vector() = 0;

    virtual void sendInt64(std::int64_t value) = 0;
    virtual std::int64_t receiveInt64() = 0;
    virtual void sendInt64Vector(std::vector<long> const& values) = 0;
    virtual std::vector<long> receiveInt64Vector() = 0;

    virtual void sendDouble(double value) = 0;
    virtual double receiveDouble() = 0;
    virtual void sendDoubleVector(std::vector<double> const& values) = 0;
    virtual std::vector<double> receiveDoubleVector() = 0;

    virtual void sendFloat(float value) = 0;
    virtual float receiveFloat() = 0;
    virtual void sendFloatVector(std::vector<float> const& values) = 0;
    virtual std::vector<float> receiveFloatVector() = 0;

    virtual void sendString(std::string const& value) = 0;
    virtual std::string receiveString() = 0;
    virtual void sendStringVector(std::vector<std::string> const& values) = 0;
    virtual std::vector<std::string> receiveStringVector() = 0;

    /// Sends all that the cache holds, in the order added. An empty cache sends nothing. The cache
    /// keeps its contents.
    virtual void sendCache(WriteCache& cache) = 0;
};

}
