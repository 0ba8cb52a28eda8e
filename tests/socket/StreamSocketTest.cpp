#include "socket/StreamSocket.h"

#include "socket/Address.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varnox::socketutil {
namespace {

using namespace std::chrono_literals;

/// Two connected sockets, or one over a pair of pipes.
struct Pair
{
    explicit Pair(bool overPipes = false, std::size_t limit = StreamSocket::DEFAULT_MAX_ITEM_BYTES)
    {
        int there[2];
        int back[2];
        if (overPipes) {
            EXPECT_EQ(::pipe(there), 0);
            EXPECT_EQ(::pipe(back), 0);
            a = std::make_unique<StreamSocket>(back[0], there[1], limit);
            b = std::make_unique<StreamSocket>(there[0], back[1], limit);
        } else {
            EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, there), 0);
            a = std::make_unique<StreamSocket>(there[0], there[0], limit);
            b = std::make_unique<StreamSocket>(there[1], there[1], limit);
        }
    }
    std::unique_ptr<StreamSocket> a;
    std::unique_ptr<StreamSocket> b;
};

std::string messageOf(std::function<void()> const& action)
{
    try {
        action();
    } catch (SocketException const& error) {
        return error.what();
    }
    return "";
}

class StreamSocketPairs : public testing::TestWithParam<bool>
{
};

TEST_P(StreamSocketPairs, EveryItemArrivesAsItWasSent)
{
    Pair pair(GetParam());
    StreamSocket& a = *pair.a;
    StreamSocket& b = *pair.b;
    a.sendInt(-5);
    EXPECT_EQ(b.receiveInt(), -5);
    a.sendBool(true);
    EXPECT_TRUE(b.receiveBool());
    a.sendUInt8(200);
    EXPECT_EQ(b.receiveUInt8(), 200);
    a.sendInt16(-300);
    EXPECT_EQ(b.receiveInt16(), -300);
    a.sendUInt16(60000);
    EXPECT_EQ(b.receiveUInt16(), 60000);
    a.sendInt32(-70000);
    EXPECT_EQ(b.receiveInt32(), -70000);
    a.sendUInt32(0xFFFFFFFF);
    EXPECT_EQ(b.receiveUInt32(), 0xFFFFFFFF);
    a.sendUInt64(1UL << 63);
    EXPECT_EQ(b.receiveUInt64(), 1UL << 63);
    a.sendInt64(-1L << 40);
    EXPECT_EQ(b.receiveInt64(), -1L << 40);
    a.sendDouble(0.1);
    EXPECT_EQ(b.receiveDouble(), 0.1);
    a.sendFloat(0.25F);
    EXPECT_EQ(b.receiveFloat(), 0.25F);
    a.sendString(std::string("x\0y", 3));
    EXPECT_EQ(b.receiveString(), std::string("x\0y", 3));
    a.sendIntVector({1, -2});
    EXPECT_EQ(b.receiveIntVector(), (std::vector<int>{1, -2}));
    a.sendBoolVector({true, false});
    EXPECT_EQ(b.receiveBoolVector(), (std::vector<bool>{true, false}));
    a.sendUInt8Vector({1, 2});
    EXPECT_EQ(b.receiveUInt8Vector(), (std::vector<unsigned char>{1, 2}));
    a.sendInt16Vector({-1});
    EXPECT_EQ(b.receiveInt16Vector(), (std::vector<short>{-1}));
    a.sendUInt16Vector({65535});
    EXPECT_EQ(b.receiveUInt16Vector(), (std::vector<unsigned short>{65535}));
    a.sendInt32Vector({-1});
    EXPECT_EQ(b.receiveInt32Vector(), (std::vector<int>{-1}));
    a.sendUInt32Vector({0xFFFFFFFF});
    EXPECT_EQ(b.receiveUInt32Vector(), (std::vector<unsigned int>{0xFFFFFFFF}));
    a.sendUInt64Vector({1, 2, 3});
    EXPECT_EQ(b.receiveUInt64Vector(), (std::vector<unsigned long>{1, 2, 3}));
    a.sendInt64Vector({-1});
    EXPECT_EQ(b.receiveInt64Vector(), (std::vector<long>{-1}));
    a.sendDoubleVector({0.5});
    EXPECT_EQ(b.receiveDoubleVector(), (std::vector<double>{0.5}));
    a.sendFloatVector({});
    EXPECT_EQ(b.receiveFloatVector(), (std::vector<float>{}));
    a.sendStringVector({"one", ""});
    EXPECT_EQ(b.receiveStringVector(), (std::vector<std::string>{"one", ""}));
    EXPECT_EQ(a.bytesSent(), b.bytesReceived());
}

TEST_P(StreamSocketPairs, LargeItemsCrossWholeWhileTheOtherSideReadsSlowly)
{
    Pair pair(GetParam());
    std::vector<double> values(1'500'000);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<double>(i);
    std::thread sender([&] {
        pair.a->sendDoubleVector(values);
        WriteCache cache;
        cache.addDoubleVector(values);
        cache.addString("end");
        pair.a->sendCache(cache);
    });
    EXPECT_EQ(pair.b->receiveDoubleVector(), values);
    EXPECT_EQ(pair.b->receiveDoubleVector(), values);
    EXPECT_EQ(pair.b->receiveString(), "end");
    sender.join();
}

TEST_P(StreamSocketPairs, ClosedPeerIsAnExceptionAndNoSignal)
{
    Pair pair(GetParam());
    pair.b.reset();
    std::vector<double> const values(1'000'000);
    EXPECT_EQ(messageOf([&] {
                  pair.a->sendDoubleVector(values);
                  pair.a->sendDoubleVector(values);
              }),
              "Sending failed: the other side closed the connection.");
    EXPECT_EQ(messageOf([&] { pair.a->receiveInt(); }),
              "Receiving failed: the other side closed the connection.");
}

TEST_P(StreamSocketPairs, HangUpShowsOnceEverythingIsRead)
{
    Pair pair(GetParam());
    EXPECT_FALSE(pair.a->peerHasHungUp());
    pair.b->sendInt(1);
    pair.b.reset();
    EXPECT_FALSE(pair.a->peerHasHungUp());
    EXPECT_EQ(pair.a->receiveInt(), 1);
    EXPECT_TRUE(pair.a->peerHasHungUp());
}

TEST_P(StreamSocketPairs, BytesThatAreStillToBeReadAreNoHangUp)
{
    Pair pair(GetParam());
    pair.b->sendInt(1);
    EXPECT_FALSE(pair.a->peerHasHungUp());
    pair.b->sendInt(2);
    EXPECT_EQ(pair.a->receiveInt(), 1); // the other one has been taken with it
    pair.b.reset();
    EXPECT_FALSE(pair.a->peerHasHungUp());
    EXPECT_EQ(pair.a->receiveInt(), 2);
    EXPECT_TRUE(pair.a->peerHasHungUp());
}

TEST_P(StreamSocketPairs, SilentPeerIsAnExceptionAfterTheIdleTimeout)
{
    Pair pair(GetParam());
    pair.a->setIdleTimeout(50ms);
    pair.b->sendUInt16(7); // a byte in time resets the clock, and is no item
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(messageOf([&] { pair.a->receiveUInt32(); }),
              "Receiving failed: the other side sent nothing within 50 milliseconds.");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 45ms);
    EXPECT_TRUE(pair.a->hasIdled());
    // Nothing waits again.
    auto const afterwards = std::chrono::steady_clock::now();
    EXPECT_NE(messageOf([&] { pair.a->receiveUInt32(); }), "");
    EXPECT_NE(messageOf([&] { pair.a->sendUInt32(1); }), "");
    EXPECT_LT(std::chrono::steady_clock::now() - afterwards, 45ms);
}

TEST_P(StreamSocketPairs, PeerThatStopsReadingIsAnExceptionAfterTheIdleTimeout)
{
    Pair pair(GetParam());
    pair.a->setIdleTimeout(1000ms);
    std::vector<double> const large(8'000'000, 1);
    EXPECT_EQ(messageOf([&] { pair.a->sendDoubleVector(large); }),
              "Sending failed: the other side took nothing within 1 seconds.");
    EXPECT_TRUE(pair.a->hasIdled());
    EXPECT_GT(pair.a->bytesSent(), 0U);
}

TEST_P(StreamSocketPairs, SlowPeerIsNotIdle)
{
    Pair pair(GetParam());
    pair.a->setIdleTimeout(400ms);
    std::vector<double> const large(100'000, 1);
    std::thread reader([&] {
        pair.b->receiveUInt64();
        for (int step = 0; step < 10; ++step) {
            std::this_thread::sleep_for(100ms);
            for (int i = 0; i < 10'000; ++i) // more than what a pipe and our buffer hold
                pair.b->receiveDouble();
        }
    });
    EXPECT_EQ(messageOf([&] { pair.a->sendDoubleVector(large); }), "");
    reader.join();
    EXPECT_FALSE(pair.a->hasIdled());
}

INSTANTIATE_TEST_SUITE_P(Transports, StreamSocketPairs, testing::Bool(), [](auto const& test) {
    return test.param ? std::string("Pipes") : std::string("Sockets");
});

TEST_P(StreamSocketPairs, InterruptedReceiveGoesOn)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {}; // without SA_RESTART: calls come back as interrupted
    struct sigaction before = {};
    ::sigaction(SIGUSR1, &action, &before);
    Pair pair(GetParam());
    pthread_t const receiver = ::pthread_self();
    std::thread sender([&] {
        for (int i = 0; i < 20; ++i) {
            ::pthread_kill(receiver, SIGUSR1);
            ::usleep(2000);
        }
        pair.a->sendInt(42);
    });
    EXPECT_EQ(pair.b->receiveInt(), 42);
    sender.join();
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_P(StreamSocketPairs, InterruptedSendGoesOn)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction before = {};
    ::sigaction(SIGUSR1, &action, &before);
    Pair pair(GetParam());
    std::vector<double> const values(300'000, 1.25);
    pthread_t const sender = ::pthread_self();
    std::vector<double> received;
    std::thread receiver([&] {
        for (int i = 0; i < 20; ++i) { // the sender has filled the connection and waits
            ::usleep(2000);
            ::pthread_kill(sender, SIGUSR1);
        }
        received = pair.b->receiveDoubleVector();
    });
    pair.a->sendDoubleVector(values);
    receiver.join();
    EXPECT_EQ(received, values);
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST(StreamSocket, DescriptorsThatDoNotBlockAreWaitedFor)
{
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    StreamSocket a(ends[0], ends[0]);
    StreamSocket b(ends[1], ends[1]);
    std::vector<double> const values(300'000, 1.25);
    std::thread sender([&] {
        ::usleep(20'000); // the receiver waits for it
        a.sendDoubleVector(values);
    });
    EXPECT_EQ(b.receiveDoubleVector(), values);
    sender.join();
}

TEST(StreamSocket, DescriptorsThatDoNotBlockIdleToo)
{
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    StreamSocket a(ends[0], ends[0]);
    StreamSocket const b(ends[1], ends[1]);
    a.setIdleTimeout(20ms);
    EXPECT_EQ(messageOf([&] { a.receiveUInt8(); }),
              "Receiving failed: the other side sent nothing within 20 milliseconds.");
    EXPECT_TRUE(a.hasIdled());
}

/// A TCP connection whose other end is gone with a reset.
std::unique_ptr<StreamSocket> resetConnection()
{
    Listener const listener(parseAddress("tcp:127.0.0.1:0"));
    int const near = connectTo(listener.boundAddress()).release();
    pollfd waiting{listener.descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&waiting, 1, 10'000), 1);
    int const far = ::accept(listener.descriptor(), nullptr, nullptr);
    linger const none{1, 0};
    EXPECT_EQ(::setsockopt(far, SOL_SOCKET, SO_LINGER, &none, sizeof(none)), 0);
    ::close(far);
    waiting = {near, POLLIN, 0};
    EXPECT_EQ(::poll(&waiting, 1, 10'000), 1);
    return std::make_unique<StreamSocket>(near, near);
}

TEST(StreamSocket, ResetConnectionIsSaid)
{
    auto const receiving = resetConnection();
    EXPECT_TRUE(receiving->peerHasHungUp());
    auto const failing = resetConnection();
    EXPECT_EQ(messageOf([&] { failing->receiveInt(); }),
              "Receiving failed: Connection reset by peer.");
    EXPECT_EQ(messageOf([&] { resetConnection()->sendInt(1); }),
              "Sending failed: Connection reset by peer.");
}

TEST(StreamSocket, DelayIsOffOnATcpStream)
{
    Address any;
    any.kind = Address::Kind::Tcp;
    any.host = "127.0.0.1";
    Listener const listener(any);
    Descriptor client = connectTo(listener.boundAddress());
    int const descriptor = client.release();
    StreamSocket const socket(descriptor, descriptor);
    int value = 0;
    socklen_t size = sizeof(value);
    ASSERT_EQ(::getsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &value, &size), 0);
    EXPECT_NE(value, 0);
}

TEST(StreamSocket, CacheOfManyPiecesArrivesWhole)
{
    Pair pair;
    WriteCache cache;
    std::vector<unsigned char> piece(65'536);
    for (std::size_t i = 0; i < piece.size(); ++i)
        piece[i] = static_cast<unsigned char>(i * 31);
    for (int i = 0; i < 200; ++i)
        cache.addUInt8Vector(piece);
    std::thread sender([&] { pair.a->sendCache(cache); });
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(pair.b->receiveUInt8Vector(), piece);
    sender.join();
    EXPECT_EQ(pair.a->bytesSent(), cache.size());
}

TEST(StreamSocket, EmptyCacheSendsNothing)
{
    Pair pair;
    WriteCache empty;
    pair.a->sendCache(empty);
    EXPECT_EQ(pair.a->bytesSent(), 0U);
    pair.a->sendInt(7);
    EXPECT_EQ(pair.b->receiveInt(), 7);
}

TEST(StreamSocket, CutItemIsAnException)
{
    Pair pair;
    pair.a->sendUInt16(1);
    pair.a.reset();
    EXPECT_NE(messageOf([&] { pair.b->receiveInt32(); }), "");
}

TEST(StreamSocket, CountAboveTheLimitIsRefusedUnread)
{
    Pair pair(false, 1000);
    pair.a->sendUInt64(126); // doubles: 1008 bytes
    EXPECT_EQ(messageOf([&] { pair.b->receiveDoubleVector(); }),
              "Received a vector of 126 elements, more than the limit of 1000 bytes for one item.");
    pair.a->sendUInt64(5);
    EXPECT_EQ(messageOf([&] { pair.b->receiveUInt64(); }),
              "Receiving failed: the connection has failed before.");
    Pair other(false, 1000);
    other.a->sendUInt64(0xFFFFFFFFFFFFFFFF);
    EXPECT_EQ(messageOf([&] { other.b->receiveString(); }),
              "Received a string of 18446744073709551615 elements, more than the limit of 1000 "
              "bytes for one item.");
}

TEST(StreamSocket, ItemOfExactlyTheLimitPasses)
{
    Pair pair(false, 1000);
    pair.a->sendDoubleVector(std::vector<double>(125, 2.0));
    EXPECT_EQ(pair.b->receiveDoubleVector().size(), 125U);
}

TEST(StreamSocket, LyingCountCostsLittleMemory)
{
    Pair pair;
    pair.a->sendUInt64((std::uint64_t{1} << 30) / 8); // a GiB of doubles is announced
    pair.a->sendInt(0);
    pair.a.reset();
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    EXPECT_NE(messageOf([&] { pair.b->receiveDoubleVector(); }), "");
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 * 1024);
}

TEST(StreamSocket, VectorOfManyEmptyStringsIsBounded)
{
    Pair pair(false, 1000);
    std::thread sender([&] {
        try {
            pair.a->sendStringVector(std::vector<std::string>(100));
        } catch (SocketException const&) {
        }
    });
    EXPECT_NE(messageOf([&] { pair.b->receiveStringVector(); }), "");
    pair.b.reset();
    sender.join();
}

}
}
