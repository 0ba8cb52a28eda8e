#include "client/EngineSocket.h"

#include "client/Errors.h"
#include "tests/client/Peer.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/SocketException.h"

#include <gtest/gtest.h>

#include <thread>

namespace varnox::client {
namespace {

using socketutil::SocketException;
using socketutil::WriteCache;
using tests::cached;
using tests::hex;
using tests::Peer;

TEST(EngineSocket, CollectsUntilAnItemHasToBeWaitedFor)
{
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    socket.sendUInt32(7);
    socket.sendString("ab");
    EXPECT_EQ(peer.heard(), "");
    peer.say(hex("01 00 00 00"));
    EXPECT_EQ(socket.receiveInt(), 1);
    EXPECT_EQ(peer.heard(), hex("07 00 00 00  02 00 00 00 00 00 00 00 61 62"));
}

TEST(EngineSocket, SendsNothingWhileWhatIsReadIsThereAlready)
{
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    peer.say(hex("01 00 00 00  02 00 00 00"));
    EXPECT_EQ(socket.receiveInt(), 1);
    socket.sendUInt8(9);
    EXPECT_EQ(socket.receiveInt(), 2);
    EXPECT_EQ(peer.heard(), "");
    socket.flush();
    EXPECT_EQ(peer.heard(), hex("09"));
}

TEST(EngineSocket, EveryItemComesBackAsItWasSent)
{
    Peer first;
    EngineSocket sender(first.takeEngineEnd());
    sender.sendInt(-5);
    sender.sendBool(true);
    sender.sendUInt8(200);
    sender.sendInt16(-300);
    sender.sendUInt16(60000);
    sender.sendInt32(-70000);
    sender.sendUInt32(4000000000U);
    sender.sendUInt64(0x1122334455667788);
    sender.sendInt64(-1);
    sender.sendDouble(2.5);
    sender.sendFloat(-1.5F);
    sender.sendIntVector({1, -2});
    sender.sendBoolVector({true, false});
    sender.sendDoubleVector({0.5});
    sender.sendStringVector({"a", std::string("b\0c", 3)});
    sender.flush();

    Peer second;
    EngineSocket receiver(second.takeEngineEnd());
    second.say(first.heard());
    EXPECT_EQ(receiver.receiveInt(), -5);
    EXPECT_TRUE(receiver.receiveBool());
    EXPECT_EQ(receiver.receiveUInt8(), 200);
    EXPECT_EQ(receiver.receiveInt16(), -300);
    EXPECT_EQ(receiver.receiveUInt16(), 60000);
    EXPECT_EQ(receiver.receiveInt32(), -70000);
    EXPECT_EQ(receiver.receiveUInt32(), 4000000000U);
    EXPECT_EQ(receiver.receiveUInt64(), 0x1122334455667788U);
    EXPECT_EQ(receiver.receiveInt64(), -1);
    EXPECT_EQ(receiver.receiveDouble(), 2.5);
    EXPECT_EQ(receiver.receiveFloat(), -1.5F);
    EXPECT_EQ(receiver.receiveIntVector(), (std::vector<int>{1, -2}));
    EXPECT_EQ(receiver.receiveBoolVector(), (std::vector<bool>{true, false}));
    EXPECT_EQ(receiver.receiveDoubleVector(), std::vector<double>{0.5});
    EXPECT_EQ(receiver.receiveStringVector(),
              (std::vector<std::string>{"a", std::string("b\0c", 3)}));
}

TEST(EngineSocket, TakesWhatComesWhileTheOtherSideReadsNoAnswers)
{
    constexpr int COUNT = 400'000; // both directions are far more than a socket holds
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    std::size_t heardInTheEnd = 0;
    std::thread server([&] {
        peer.say(std::string(COUNT * sizeof(int), '\1'));
        while (heardInTheEnd < COUNT * sizeof(double))
            heardInTheEnd += peer.heard().size();
    });
    for (int i = 0; i < COUNT; ++i) {
        EXPECT_EQ(socket.receiveInt(), 0x01010101);
        socket.sendDouble(1);
    }
    socket.flush();
    server.join();
    EXPECT_EQ(heardInTheEnd, COUNT * sizeof(double));
}

TEST(EngineSocket, LastWordsOfAPeerThatIsGoneAreRead)
{
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EngineSocket socket(ends[0]);
    ASSERT_EQ(::send(ends[1], "\5\0\0\0", 4, 0), 4);
    ::close(ends[1]);
    socket.sendInt(1); // can't be sent any more
    EXPECT_EQ(socket.receiveInt(), 5);
    EXPECT_THROW(socket.receiveInt(), SocketException);
}

TEST(EngineSocket, TimeoutIsAnException)
{
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    socket.setTimeout(std::chrono::milliseconds(20));
    try {
        socket.receiveInt();
        FAIL() << "nothing was thrown";
    } catch (SocketException const& error) {
        EXPECT_STREQ(error.what(), "Receiving failed: no answer within the time allowed.");
    }
    socket.setTimeout(std::nullopt);
    peer.say(hex("03 00 00 00"));
    EXPECT_EQ(socket.receiveInt(), 3);
}

TEST(EngineSocket, TellsThatItWaits)
{
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    int times = 0;
    socket.setOnWait([&] {
        if (++times == 2)
            peer.say(hex("03 00 00 00"));
    });
    EXPECT_EQ(socket.receiveInt(), 3);
    EXPECT_EQ(times, 2);
}

TEST(EngineSocket, TooLongAStringIsRefusedUnread)
{
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    peer.say(hex("05 00 00 00 00 00 00 00") + "abcde");
    try {
        socket.receiveString(4);
        FAIL() << "nothing was thrown";
    } catch (ProtocolViolation const& error) {
        EXPECT_STREQ(error.what(), "The server sent 5 characters where at most 4 can be.");
    }
    EXPECT_EQ(socket.bytesReceived(), 8U);
}

TEST(EngineSocket, TooLongAVectorIsRefusedUnread)
{
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    peer.say(hex("FF FF FF FF FF FF FF FF"));
    EXPECT_THROW(socket.receiveVector<double>(256), ProtocolViolation);
}

TEST(EngineSocket, LyingCountBelowTheLimitCostsNoMoreThanWasSent)
{
    Peer peer;
    EngineSocket socket(peer.takeEngineEnd());
    peer.say(hex("00 00 00 40 00 00 00 00") + "abcd"); // 2^30 elements announced
    peer.hangUp();
    EXPECT_THROW(socket.receiveVector<double>(std::size_t{1} << 40), SocketException);
}

}
}
