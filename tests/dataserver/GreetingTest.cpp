#include "tests/dataserver/Program.h"

#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/WriteCache.h"

#include <chrono>
#include <fstream>
#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>

namespace varnox::tests {
namespace {

using socketutil::WriteCache;
using Greeting = DataServer;

/// As the log tells at its debug level.
long numConnected(Program const& program)
{
    std::string const log = program.log();
    long result = 0;
    for (std::size_t at = 0; (at = log.find(" has connected", at)) != std::string::npos; ++at)
        ++result;
    return result;
}

TEST_F(Greeting, OverAnyKindOfAddressEndsInASession)
{
    std::string const unixAddress = "unix:" + socketPath.string();
    for (std::string const& where : {unixAddress, std::string("tcp:127.0.0.1:0")}) {
        auto const program = listenAt(where);
        EXPECT_EQ(address.rfind(where.substr(0, where.rfind(':') + 1), 0), 0U) << address;
        EXPECT_NE(address, "tcp:127.0.0.1:0");
        Client client(address);
        EXPECT_EQ(client.greet(), (Answer{1, ""}));
        client.expectToBeServed();
        client.socket().sendString("close data server");
        EXPECT_TRUE(client.seesEnd());
    }
}

TEST_F(Greeting, IsItsGoldenBytes)
{
    auto const program = listen();
    Client client(address);
    WriteCache greeting;
    for (char const c : hex("0f 00 00 00 00 00 00 00" // 15 bytes:
                            "56 4e 58 44 41 54 41 53 45 52 56 45 52 20 31"
                            "00 00 00 00 00 00 00 00")) // no token
        greeting.addUInt8(static_cast<std::uint8_t>(c));
    client.socket().sendCache(greeting);
    std::string answer;
    for (int i = 0; i < 9; ++i)
        answer += static_cast<char>(client.socket().receiveUInt8());
    EXPECT_EQ(answer, hex("01"                         // accepted
                          "00 00 00 00 00 00 00 00")); // and nothing to say
    client.expectToBeServed();
}

TEST_F(Greeting, CommandsMayFollowWithoutWaiting)
{
    auto const program = listen({"--once"});
    Client client(address);
    WriteCache all;
    all.addString("VNXDATASERVER 1");
    all.addString("");
    all.addString("list file types");
    all.addString("close data server");
    client.socket().sendCache(all);
    EXPECT_EQ(client.receiveAnswer(), (Answer{1, ""}));
    EXPECT_EQ(client.socket().receiveString(), "Behaving");
    EXPECT_EQ(program->wait(), 0);
}

struct RefusedGreeting
{
    char const* name;
    char const* first;
    char const* reason;
};

class RefusedGreetings : public DataServer, public testing::WithParamInterface<RefusedGreeting>
{
};

TEST_P(RefusedGreetings, HaveAReasonAndLeaveTheServerServing)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.socket().sendString(GetParam().first);
    EXPECT_EQ(client.receiveAnswer(), (Answer{0, GetParam().reason}));
    EXPECT_TRUE(client.seesEnd());
    EXPECT_TRUE(eventually([&] { return program->logHolds("refused: "); }));
    Client next(address);
    EXPECT_EQ(next.greet(), (Answer{1, ""}));
}

RefusedGreeting const refusedGreetings[] = {
    {"OtherVersion", "VNXDATASERVER 27",
     "this data server speaks version 1 of the conversation, and the client version 27; use a "
     "client and a server of the same release"},
    {"VersionZero", "VNXDATASERVER 0",
     "this data server speaks version 1 of the conversation, and the client version 0; use a "
     "client and a server of the same release"},
    {"NumberWithRest", "VNXDATASERVER 1a", "not a data server client"},
    {"SameNumberInOtherDigits", "VNXDATASERVER 01", "not a data server client"},
    {"NoNumber", "VNXDATASERVER ", "not a data server client"},
    {"Blank", "VNXDATASERVER 1 ", "not a data server client"},
    {"SmallLetters", "vnxdataserver 1", "not a data server client"},
    {"Empty", "", "not a data server client"},
    {"Command", "list file types", "not a data server client"},
};
INSTANTIATE_TEST_SUITE_P(Cases, RefusedGreetings, testing::ValuesIn(refusedGreetings),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_F(Greeting, ReasonArrivesThoughMoreWasSentThanIsRead)
{
    auto const program = listenAt("tcp:127.0.0.1:0");
    Client client(address);
    WriteCache all;
    all.addString("something else");
    all.addString(std::string(200'000, 'x'));
    client.socket().sendCache(all);
    EXPECT_EQ(client.receiveAnswer(), (Answer{0, "not a data server client"}));
}

TEST_F(Greeting, StringBeyondTheLimitEndsTheConnectionUnread)
{
    auto const program = listen({"--once"});
    for (std::uint64_t const size : {std::uint64_t{4097}, ~std::uint64_t{0}}) {
        Client client(address);
        client.socket().sendUInt64(size); // and not one byte behind it
        EXPECT_TRUE(client.seesEnd());
    }
    Client longToken(address);
    longToken.socket().sendString("VNXDATASERVER 1");
    longToken.socket().sendUInt64(4097);
    EXPECT_TRUE(longToken.seesEnd());
    EXPECT_TRUE(program->logHolds("it announced a string of 4097 bytes")) << program->log();
    Client next(address);
    EXPECT_EQ(next.greet(), (Answer{1, ""}));
}

TEST_F(Greeting, StringOfTheLimitIsRead)
{
    auto const program = listen();
    Client client(address);
    EXPECT_EQ(client.greet("VNXDATASERVER 1", std::string(4096, 'x')), (Answer{1, ""}));
    Client other(address);
    EXPECT_EQ(other.greet(std::string(4096, 'x')), (Answer{0, "not a data server client"}));
}

TEST_F(Greeting, TokenIsAskedFor)
{
    std::string const path = (folder / "token").string();
    std::ofstream(path) << "open sesame\nsecond line\n";
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    auto const program = listenAt("tcp:0.0.0.0:0", {"--token-file", path, "--once"});
    address = "tcp:127.0.0.1" + address.substr(address.rfind(':'));
    for (char const* wrong : {"open sesam", "open sesame\n", "open sesamf", "second line"}) {
        Client client(address);
        EXPECT_EQ(client.greet("VNXDATASERVER 1", wrong),
                  (Answer{0, "the token is wrong; give the client the server's token file"}));
        EXPECT_TRUE(client.seesEnd());
    }
    Client without(address);
    EXPECT_EQ(without.greet(), (Answer{0, "this data server needs a token and the client showed "
                                          "none; give the client the server's token file"}));
    Client client(address);
    EXPECT_EQ(client.greet("VNXDATASERVER 1", "open sesame"), (Answer{1, ""}));
    client.expectToBeServed();
    client.socket().sendString("close data server");
    EXPECT_EQ(program->wait(), 0);
    EXPECT_FALSE(program->logHolds("sesam"));
}

TEST_F(Greeting, TimeIsForTheWholeOfIt)
{
    auto const program = listen({"--greeting-timeout", "1", "--once"});
    auto const start = std::chrono::steady_clock::now();
    Client client(address);
    // A byte now and then, each in time, but never the end.
    client.socket().sendUInt64(4000);
    std::thread slow([&] {
        try {
            for (int i = 0; i < 30; ++i) {
                client.socket().sendUInt8('V');
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
        } catch (std::exception const&) {
        }
    });
    EXPECT_EQ(client.receiveAnswer(),
              (Answer{0, "the greeting was not finished within 1 seconds"}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    slow.join();
    Client next(address);
    EXPECT_EQ(next.greet(), (Answer{1, ""}));
}

TEST_F(Greeting, SilentClientsKeepNobodyOut)
{
    auto const program = listen({"--max-sessions", "1", "--greeting-timeout", "600"});
    std::vector<Client> silent;
    for (int i = 0; i < 70; ++i)
        silent.emplace_back(address);
    Client client(address);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
    client.expectToBeServed();
    EXPECT_TRUE(program->logHolds("is dropped in its greeting, for others are waiting"));
}

constexpr char MAKES_WAY[] =
    " greetings under way, which is its limit, and others are waiting; try "
    "again later";

TEST_F(Greeting, OldestOfTooManyIsRefusedWithAMessage)
{
    auto const program =
        listen({"--max-greetings", "2", "--greeting-timeout", "600", "--log-level", "debug"});
    Client first(address);
    Client second(address);
    second.socket().sendString("VNXDATASERVER 1");
    ASSERT_TRUE(eventually([&] { return numConnected(*program) == 2; }));
    Client third(address);
    EXPECT_EQ(first.receiveAnswer(), (Answer{0, std::string("the data server has 2") + MAKES_WAY}));
    EXPECT_TRUE(first.seesEnd());
    second.socket().sendString("");
    EXPECT_EQ(second.receiveAnswer(), (Answer{1, ""}));
    EXPECT_EQ(third.greet(), (Answer{1, ""}));
    EXPECT_TRUE(program->logHolds("refused: the data server has 2 greetings under way"))
        << program->log();
}

TEST_F(Greeting, ThoseWhoComeAtOnceAllHaveTheirTurn)
{
    auto const program = listen({"--max-greetings", "2", "--greeting-timeout", "600"});
    std::vector<Client> clients;
    for (int i = 0; i < 30; ++i) {
        clients.emplace_back(address);
        clients.back().socket().sendString("VNXDATASERVER 1");
        clients.back().socket().sendString("");
    }
    for (Client& client : clients)
        EXPECT_EQ(client.receiveAnswer(), (Answer{1, ""}));
}

TEST_F(Greeting, SourceThatFloodsMakesWayForItself)
{
    auto const program = listenAt("tcp:127.0.0.1:0", {"--max-greetings", "3", "--greeting-timeout",
                                                      "600", "--log-level", "debug"});
    Client honest(address, "127.0.0.2");
    honest.socket().sendString("VNXDATASERVER 1");
    ASSERT_TRUE(eventually([&] { return numConnected(*program) == 1; }));
    std::vector<Client> flood;
    for (int i = 0; i < 12; ++i) {
        flood.emplace_back(address);
        ASSERT_TRUE(eventually([&] { return numConnected(*program) == i + 2; }));
    }
    honest.socket().sendString("");
    EXPECT_EQ(honest.receiveAnswer(), (Answer{1, ""}));
    honest.expectToBeServed();
    EXPECT_EQ(flood.front().receiveAnswer(),
              (Answer{0, std::string("the data server has 3") + MAKES_WAY}));
}

/// Seconds until a client from elsewhere is served.
double secondsToBeServed(std::string const& address)
{
    auto const start = std::chrono::steady_clock::now();
    Client honest(address, "127.0.0.2");
    EXPECT_EQ(honest.greet(), (Answer{1, ""}));
    honest.expectToBeServed();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST_F(Greeting, SourceThatFloodsKeepsOthersWaitingForOneTurnAtMost)
{
    auto const program =
        listenAt("tcp:127.0.0.1:0", {"--max-greetings", "2", "--greeting-timeout", "600"});
    std::vector<Client> flood;
    for (int i = 0; i < 200; ++i)
        flood.emplace_back(address);
    EXPECT_LT(secondsToBeServed(address), 25); // the flood's own turns take 50
}

TEST_F(Greeting, MoreThanCanWaitAreRefusedAndOthersAreNot)
{
    auto const program =
        listenAt("tcp:127.0.0.1:0", {"--max-greetings", "2", "--greeting-timeout", "600"});
    std::vector<Client> flood;
    for (int i = 0; i < 300; ++i)
        flood.emplace_back(address);
    EXPECT_LT(secondsToBeServed(address), 25);
    EXPECT_TRUE(program->logHolds("256 connections wait to be greeted")) << program->log();
    EXPECT_EQ(flood.back().receiveAnswer(),
              (Answer{0, "too many connections wait to be greeted; try again later"}));
}

TEST_F(Greeting, HangingUpInItUsesNothingUp)
{
    auto const program = listen({"--once"});
    for (int i = 0; i < 3; ++i) {
        Client client(address);
        client.socket().sendUInt16(3);
        client.close();
    }
    EXPECT_TRUE(eventually([&] { return program->logHolds("session 3: did not begin with"); }))
        << program->log();
    Client next(address);
    EXPECT_EQ(next.greet(), (Answer{1, ""}));
}

}
}
