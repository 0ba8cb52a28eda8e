#include "varnox/socketutil/SocketInterface.h"

#include "tests/support/RecordingSocket.h"
#include "tests/support/Slots.h"

#include <gtest/gtest.h>

#include <iterator>

namespace varnox::socketutil {
namespace {

using tests::slot;

TEST(SocketInterface, OperationsStandInTheirOrder)
{
    std::size_t const slots[] = {
        slot(&SocketInterface::sendInt),          slot(&SocketInterface::receiveInt),
        slot(&SocketInterface::sendIntVector),    slot(&SocketInterface::receiveIntVector),
        slot(&SocketInterface::sendBool),         slot(&SocketInterface::receiveBool),
        slot(&SocketInterface::sendBoolVector),   slot(&SocketInterface::receiveBoolVector),
        slot(&SocketInterface::sendUInt8),        slot(&SocketInterface::receiveUInt8),
        slot(&SocketInterface::sendUInt8Vector),  slot(&SocketInterface::receiveUInt8Vector),
        slot(&SocketInterface::sendInt16),        slot(&SocketInterface::receiveInt16),
        slot(&SocketInterface::sendInt16Vector),  slot(&SocketInterface::receiveInt16Vector),
        slot(&SocketInterface::sendUInt16),       slot(&SocketInterface::receiveUInt16),
        slot(&SocketInterface::sendUInt16Vector), slot(&SocketInterface::receiveUInt16Vector),
        slot(&SocketInterface::sendInt32),        slot(&SocketInterface::receiveInt32),
        slot(&SocketInterface::sendInt32Vector),  slot(&SocketInterface::receiveInt32Vector),
        slot(&SocketInterface::sendUInt32),       slot(&SocketInterface::receiveUInt32),
        slot(&SocketInterface::sendUInt32Vector), slot(&SocketInterface::receiveUInt32Vector),
        slot(&SocketInterface::sendUInt64),       slot(&SocketInterface::receiveUInt64),
        slot(&SocketInterface::sendUInt64Vector), slot(&SocketInterface::receiveUInt64Vector),
        slot(&SocketInterface::sendInt64),        slot(&SocketInterface::receiveInt64),
        slot(&SocketInterface::sendInt64Vector),  slot(&SocketInterface::receiveInt64Vector),
        slot(&SocketInterface::sendDouble),       slot(&SocketInterface::receiveDouble),
        slot(&SocketInterface::sendDoubleVector), slot(&SocketInterface::receiveDoubleVector),
        slot(&SocketInterface::sendFloat),        slot(&SocketInterface::receiveFloat),
        slot(&SocketInterface::sendFloatVector),  slot(&SocketInterface::receiveFloatVector),
        slot(&SocketInterface::sendString),       slot(&SocketInterface::receiveString),
        slot(&SocketInterface::sendStringVector), slot(&SocketInterface::receiveStringVector),
        slot(&SocketInterface::sendCache),
    };
    EXPECT_EQ(std::size(slots), 49U);
    for (std::size_t i = 0; i < std::size(slots); ++i)
        EXPECT_EQ(slots[i], i + 2); // behind the two entries of the destructor
}

TEST(SocketInterface, VectorOf32BitNumbersIsReadWholeAsPlainIntegers)
{
    tests::RecordingSocket socket(tests::cached([](WriteCache& c) {
        c.addInt32Vector({1, -2, 2'147'483'647});
    }));
    EXPECT_EQ(socket.receiveIntVector(), (std::vector<int>{1, -2, 2'147'483'647}));
    EXPECT_TRUE(socket.allWasRead());
}

TEST(SocketInterface, Unsigned32BitNumberKeepsAllItsBits)
{
    tests::RecordingSocket socket(tests::cached([](WriteCache& c) { c.addUInt32(0xFEDCBA98); }));
    EXPECT_EQ(socket.receiveUInt32(), 0xFEDCBA98);
}

TEST(SocketInterface, AnyByteButZeroReadsAsTrue)
{
    tests::RecordingSocket socket(tests::hex("02 ff 01 00"));
    EXPECT_TRUE(socket.receiveBool());
    EXPECT_TRUE(socket.receiveBool());
    EXPECT_TRUE(socket.receiveBool());
    EXPECT_FALSE(socket.receiveBool());
}

}
}
