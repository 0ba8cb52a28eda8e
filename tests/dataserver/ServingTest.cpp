#include "tests/dataserver/Program.h"

#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <iomanip>
#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varnox::tests {
namespace {

using namespace std::chrono_literals;
using socketutil::Descriptor;
using socketutil::WriteCache;
using Clock = std::chrono::steady_clock;

using Serving = DataServer;

TEST_F(Serving, OnceEndsWith0AfterTheEndCommand)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.socket().sendString("CLOSE data server");
    EXPECT_EQ(program->wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(socketPath));
    EXPECT_TRUE(program->logHolds("session 1: The client closed the session.")) << program->log();
    EXPECT_TRUE(program->logHolds("session 1: begins for process " + std::to_string(::getpid())));
    EXPECT_TRUE(program->logHolds("session 1: ended with exit status 0 after 0."));
}

TEST_F(Serving, OnceEndsWith0WhenTheClientHangsUpBetweenCommands)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.expectToBeServed();
    client.close();
    EXPECT_EQ(program->wait(), 0);
    EXPECT_TRUE(program->logHolds("session 1: The client hung up.")) << program->log();
}

TEST_F(Serving, OnceEndsWith1WhenTheClientHangsUpInsideACommandsName)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.socket().sendUInt16(15);
    client.close();
    EXPECT_EQ(program->wait(), 1);
    EXPECT_TRUE(program->logHolds("error: session 1: Receiving failed: the other side closed the "
                                  "connection."))
        << program->log();
}

TEST_F(Serving, OnceEndsWith1WhenTheClientHangsUpWhileTheAddonAsksIt)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.load(fileNamed("asks.hdqfs"));
    EXPECT_EQ(client.socket().receiveString(), "VnxUtilDataSetGetNumZones");
    client.close();
    EXPECT_EQ(program->wait(), 1);
    EXPECT_TRUE(program->logHolds("session 1: ended with exit status 1 after ")) << program->log();
}

TEST_F(Serving, OnceEndsWith1AndTheTextOfAnUnknownCommand)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.socket().sendString("make\ncoffee");
    EXPECT_TRUE(client.seesEnd());
    EXPECT_EQ(program->wait(), 1);
    EXPECT_TRUE(program->logHolds("error: session 1: Unrecognized command received: "
                                  "make\\x0acoffee\n"))
        << program->log();
}

TEST_F(Serving, OnceEndsWith1AfterALoadThatFailsWithoutAText)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.load(fileNamed("fails.hdqfs"));
    EXPECT_EQ(client.socket().receiveString(), "command finished");
    EXPECT_EQ(program->wait(), 1);
    EXPECT_TRUE(program->logHolds("session 1: A command failed without a message."))
        << program->log();
}

TEST_F(Serving, OnceTakesOneOfSeveralClients)
{
    auto const program = listen({"--once"});
    Client second(address);
    second.socket().sendString("VNXDATASERVER 1");
    Client first(address);
    EXPECT_EQ(first.greet(), (Answer{1, ""}));
    first.expectToBeServed();
    second.socket().sendString("");
    EXPECT_EQ(second.receiveAnswer(),
              (Answer{0, "the data server serves one session only, and that has begun"}));
    first.socket().sendString("close data server");
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(Serving, OneSessionTooManyIsRefusedUntilThereIsAPlace)
{
    auto const program = listen({"--max-sessions", "2"});
    Client first(address);
    Client second(address);
    EXPECT_EQ(first.greet(), (Answer{1, ""}));
    EXPECT_EQ(second.greet(), (Answer{1, ""}));
    Client third(address);
    EXPECT_EQ(third.greet(), (Answer{0, "the data server already has 2 sessions, which is its "
                                        "limit; try again later"}));
    EXPECT_TRUE(third.seesEnd());
    first.expectToBeServed();
    second.expectToBeServed();
    first.close();
    EXPECT_TRUE(eventually([&] { return Client(address).greet().accepted == 1; }));
}

TEST_F(Serving, SourceWithTooManySessionsIsRefusedAndOthersAreNot)
{
    auto const program = listenAt("tcp:127.0.0.1:0", {"--max-sessions-per-source", "1"});
    Client first(address, "127.0.0.1");
    EXPECT_EQ(first.greet(), (Answer{1, ""}));
    Answer const refusal{0, "the data server already has 1 session of this user or address, which "
                            "is its limit for one; try again later"};
    EXPECT_EQ(Client(address, "127.0.0.1").greet(), refusal);
    EXPECT_EQ(Client(address, "127.0.0.2").greet(), (Answer{1, ""}));
    first.close();
    EXPECT_TRUE(eventually([&] { return Client(address, "127.0.0.1").greet().accepted == 1; }));
}

TEST_F(Serving, UserWithTooManySessionsIsRefused)
{
    auto const program = listen({"--max-sessions-per-source", "1"});
    Client first(address);
    EXPECT_EQ(first.greet(), (Answer{1, ""}));
    EXPECT_EQ(Client(address).greet().accepted, 0);
}

constexpr char IDLE[] =
    "error: session 1: The client neither sent nor took anything for 1 seconds, "
    "the limit of --idle-timeout; the session ends.";

TEST_F(Serving, SilentClientIsIdleAfterTheTimeout)
{
    auto const program = listen({"--once", "--idle-timeout", "1"});
    Client client(address);
    client.greet();
    for (int i = 0; i < 3; ++i) {
        std::this_thread::sleep_for(500ms);
        client.expectToBeServed();
    }
    auto const start = Clock::now();
    EXPECT_TRUE(client.seesEnd());
    EXPECT_GE(Clock::now() - start, 900ms);
    EXPECT_EQ(program->wait(), 1);
    EXPECT_TRUE(program->logHolds(IDLE)) << program->log();
}

TEST_F(Serving, ClientThatStopsReadingALargeAnswerIsIdleAfterTheTimeout)
{
    for (std::string const& where :
         {"unix:" + socketPath.string(), std::string("tcp:127.0.0.1:0")}) {
        auto const program = listenAt(where, {"--once", "--idle-timeout", "1"});
        Client client(address);
        client.greet();
        pid_t const worker = beginLoad(client, "floods.hdqfs").front();
        EXPECT_EQ(program->wait(), 1);
        EXPECT_FALSE(isAlive(worker));
        EXPECT_TRUE(program->logHolds(IDLE)) << program->log();
        std::filesystem::remove(folder / "floods.hdqfs.begun");
    }
}

TEST_F(Serving, AddonThatComputesIsNotIdle)
{
    auto const program = listen({"--once", "--idle-timeout", "0.3"});
    Client client(address);
    client.greet();
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    std::this_thread::sleep_for(1s);
    EXPECT_TRUE(isAlive(worker));
}

TEST_F(Serving, ItemBeyondTheLimitEndsTheSession)
{
    auto const program = listen({"--once", "--max-item-bytes", "100"});
    Client client(address);
    client.greet();
    client.expectToBeServed();
    client.socket().sendUInt64(101);
    EXPECT_TRUE(client.seesEnd());
    EXPECT_EQ(program->wait(), 1);
    EXPECT_TRUE(program->logHolds("more than the limit of 100 bytes for one item."))
        << program->log();
}

TEST_F(Serving, LogLevelIsKept)
{
    auto const program = listen({"--once", "--log-level", "error"});
    Client client(address);
    client.greet();
    client.close();
    EXPECT_EQ(program->wait(), 0);
    EXPECT_EQ(program->log(), "");
}

TEST_F(Serving, CrashingAddonEndsItsOwnSessionAlone)
{
    auto const program = listen();
    Client other(address);
    other.greet();
    {
        Client client(address);
        client.greet();
        client.load(fileNamed("aborts.hdqfs"));
        EXPECT_TRUE(client.seesEnd());
    }
    EXPECT_TRUE(eventually([&] {
        return program->logHolds("warning: session 2: was ended by signal 6 (Aborted) after ");
    })) << program->log();
    other.expectToBeServed();
    Client next(address);
    EXPECT_EQ(next.greet(), (Answer{1, ""}));
    next.expectToBeServed();
}

TEST_F(Serving, OnceEndsWith1AfterACrash)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.load(fileNamed("aborts.hdqfs"));
    EXPECT_EQ(program->wait(), 1);
}

TEST_F(Serving, OnceEndsWithTheStatusOfAnAddonThatExits)
{
    auto const program = listen({"--once"});
    Client client(address);
    client.greet();
    client.load(fileNamed("exits.hdqfs"));
    EXPECT_EQ(program->wait(), 7);
}

class DeadClient : public DataServer, public testing::WithParamInterface<char const*>
{
};

TEST_P(DeadClient, InTheMiddleOfALoadEndsTheWorker)
{
    std::string const kind = GetParam();
    auto const program =
        listenAt(kind == "Unix" ? "unix:" + socketPath.string() : "tcp:127.0.0.1:0", {"--once"});
    Client client(address);
    client.greet();
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    EXPECT_TRUE(isAlive(worker));
    client.close();
    EXPECT_EQ(program->wait(), 1);
    EXPECT_FALSE(isAlive(worker));
    EXPECT_TRUE(program->logHolds("error: session 1: The client is gone in the middle of a "
                                  "command; the session ends with it."))
        << program->log();
}

INSTANTIATE_TEST_SUITE_P(Over, DeadClient, testing::Values("Unix", "Tcp"),
                         [](auto const& test) { return std::string(test.param); });

TEST_F(Serving, ClientThatStillReadsIsNotGone)
{
    // It has only said that no more commands come, and waits for the answer.
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    Descriptor theirs(ends[1]);
    auto const program = start({"--listen", "fd:9"}, {{{theirs.get(), 9}}});
    theirs.reset();
    Client client(ends[0], ends[0]);
    beginLoad(client, "spins.hdqfs");
    ASSERT_EQ(::shutdown(ends[0], SHUT_WR), 0);
    std::this_thread::sleep_for(1500ms);
    EXPECT_TRUE(program->isRunning());
}

TEST_F(Serving, LastWordsOfAClientThatLeavesAreRead)
{
    auto const program = listen({"--once"});
    Client client(address);
    WriteCache all;
    all.addString("VNXDATASERVER 1");
    all.addString("");
    all.addString("close data server");
    client.socket().sendCache(all);
    EXPECT_EQ(client.receiveAnswer(), (Answer{1, ""}));
    client.close();
    EXPECT_EQ(program->wait(), 0);
    EXPECT_TRUE(program->logHolds("The client closed the session.")) << program->log();
}

std::vector<pid_t> childrenOf(pid_t process)
{
    std::string const name = std::to_string(process);
    std::istringstream numbers(contents("/proc/" + name + "/task/" + name + "/children"));
    std::vector<pid_t> result;
    for (pid_t number = 0; numbers >> number;)
        result.push_back(number);
    return result;
}

TEST_F(Serving, WorkersKilledAtAnyMomentHarmNobodyElse)
{
    auto const program = listen();
    Client other(address);
    other.greet();
    other.expectToBeServed();
    std::vector<pid_t> const others = childrenOf(program->process());
    ASSERT_EQ(others.size(), 1U);
    for (auto delay = 0us; delay < 40ms; delay += 1500us) {
        Client client(address);
        client.socket().sendString("VNXDATASERVER 1");
        client.socket().sendString("");
        client.socket().sendString("list file types");
        std::this_thread::sleep_for(delay);
        for (pid_t const child : childrenOf(program->process()))
            if (child != others.front())
                ::kill(child, SIGKILL);
    }
    other.expectToBeServed();
    Client next(address);
    EXPECT_EQ(next.greet(), (Answer{1, ""}));
    next.expectToBeServed();
    next.close();
    EXPECT_TRUE(eventually([&] { return childrenOf(program->process()) == others; }));
}

TEST_F(Serving, LogThatNobodyCanWriteStopsNothing)
{
    Program program({"--addon", addon("vnxbehavingaddon"), "--listen",
                     "unix:" + socketPath.string(), "--log-level", "debug", "--once"},
                    "/dev/full");
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(socketPath); }));
    Client client("unix:" + socketPath.string());
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
    client.expectToBeServed();
    client.socket().sendString("close data server");
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(Serving, NoWorkerOutlivesTheServer)
{
    auto const program = listen();
    Client client(address);
    client.greet();
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    EXPECT_TRUE(isAlive(worker));
    program->send(SIGKILL);
    EXPECT_EQ(program->wait(), -SIGKILL);
    EXPECT_TRUE(eventually([&] { return !isAlive(worker); }));
    EXPECT_TRUE(client.seesEnd());
}

TEST_F(Serving, WorkerHasItsOwnDescriptorsAlone)
{
    Descriptor const foreign(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    auto const program = listen({}, {{{foreign.get(), 50}}});
    Client other(address);
    other.greet();
    Client client(address);
    client.greet();
    std::vector<int> numbers = beginLoad(client, "descriptors.hdqfs");
    numbers.erase(numbers.begin()); // the process
    std::sort(numbers.begin(), numbers.end());
    // The standard ones, the connection, the watch, the data set's file or the report, the listing.
    EXPECT_LE(numbers.size(), 8U);
    EXPECT_LT(numbers.back(), 9);
}

class EndingSignal : public DataServer, public testing::WithParamInterface<int>
{
};

TEST_P(EndingSignal, EndsAnIdleServerAtOnce)
{
    auto const program = listen();
    Client greeting(address); // is no session yet
    EXPECT_TRUE(std::filesystem::exists(socketPath));
    auto const start = Clock::now();
    program->send(GetParam());
    EXPECT_EQ(program->wait(), 0);
    EXPECT_LT(Clock::now() - start, 4s);
    EXPECT_FALSE(std::filesystem::exists(socketPath));
}

TEST_P(EndingSignal, LetsASessionEndButTakesNoOther)
{
    auto const program = listen();
    Client client(address);
    client.greet();
    program->send(GetParam());
    ASSERT_TRUE(eventually([&] { return program->logHolds("no longer listening; 1 session is"); }));
    EXPECT_ANY_THROW(Client{address});
    auto const start = Clock::now();
    client.expectToBeServed();
    client.socket().sendString("close data server");
    EXPECT_EQ(program->wait(), 0);
    EXPECT_LT(Clock::now() - start, 4s);
    EXPECT_TRUE(program->logHolds("session 1: ended with exit status 0")) << program->log();
}

TEST_P(EndingSignal, EndsSessionsThatGoOnForSeconds)
{
    auto const program = listen();
    Client client(address);
    client.greet();
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    auto const start = Clock::now();
    program->send(GetParam());
    EXPECT_EQ(program->wait(), 0);
    EXPECT_GE(Clock::now() - start, 4s);
    EXPECT_FALSE(isAlive(worker));
    EXPECT_TRUE(program->logHolds("session 1: was ended by signal 15 (Terminated)"))
        << program->log();
}

TEST_P(EndingSignal, SecondOneHasNoPatience)
{
    auto const program = listen();
    Client client(address);
    client.greet();
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    auto const start = Clock::now();
    program->send(GetParam());
    ASSERT_TRUE(eventually([&] { return program->logHolds("no longer listening"); }));
    program->send(GetParam());
    EXPECT_EQ(program->wait(), 0);
    EXPECT_LT(Clock::now() - start, 4s);
    EXPECT_FALSE(isAlive(worker));
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignal, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](auto const& test) {
                             return std::string(test.param == SIGTERM  ? "Terminate"
                                                : test.param == SIGINT ? "Interrupt"
                                                                       : "HangUp");
                         });

TEST_F(Serving, HangUpThatWasIgnoredStaysIgnored)
{
    Surroundings surroundings;
    surroundings.ignoresHangUp = true;
    auto const program = listen({}, surroundings);
    program->send(SIGHUP);
    Client client(address);
    client.greet();
    client.expectToBeServed();
    EXPECT_TRUE(program->isRunning());
}

/// True if the system's table shows an established connection at this local port whose timer is
/// that of keepalive.
bool isProbed(std::string const& port)
{
    std::ostringstream number;
    number << ':' << std::uppercase << std::hex << std::setw(4) << std::setfill('0')
           << std::stoi(port);
    std::ifstream table("/proc/net/tcp");
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string place;
        std::string local;
        std::string remote;
        std::string state;
        std::string queues;
        std::string timer;
        words >> place >> local >> remote >> state >> queues >> timer;
        if (state == "01" && local.ends_with(number.str()) && timer.starts_with("02:"))
            return true;
    }
    return false;
}

TEST_F(Serving, TcpConnectionsAreProbedWhenTheyAreSilent)
{
    auto const program = listenAt("tcp:127.0.0.1:0");
    Client client(address);
    client.greet();
    client.expectToBeServed();
    EXPECT_TRUE(eventually([&] { return isProbed(address.substr(address.rfind(':') + 1)); }));
}

/// Leaves a program only some descriptors beyond those that it has.
void leaveDescriptors(Program const& program, int count)
{
    std::string const folder = "/proc/" + std::to_string(program.process()) + "/fd/";
    rlimit limit = {};
    ASSERT_EQ(::prlimit(program.process(), RLIMIT_NOFILE, nullptr, &limit), 0);
    int numFree = 0;
    limit.rlim_cur = 0;
    for (; numFree < count || std::filesystem::exists(folder + std::to_string(limit.rlim_cur));
         ++limit.rlim_cur)
        if (!std::filesystem::exists(folder + std::to_string(limit.rlim_cur)))
            ++numFree;
    ASSERT_EQ(::prlimit(program.process(), RLIMIT_NOFILE, &limit, nullptr), 0);
}

TEST_F(Serving, LackOfDescriptorsPassesWithoutABusyLoop)
{
    auto const program = listen();
    leaveDescriptors(*program, 0);
    Client client(address);
    ASSERT_TRUE(eventually([&] {
        return program->logHolds("can't take a connection: Too many open files");
    })) << program->log();
    std::string const self = "/proc/" + std::to_string(program->process()) + "/schedstat";
    auto const nanosecondsRun = [&] { return std::stoull(contents(self)); };
    auto const before = nanosecondsRun();
    std::this_thread::sleep_for(1s);
    EXPECT_LT(nanosecondsRun() - before, 300'000'000U);
    leaveDescriptors(*program, 100);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
    client.expectToBeServed();
}

TEST_F(Serving, ClientForWhichNoWorkerCanBeStartedIsTold)
{
    auto const program = listen();
    leaveDescriptors(*program, 3); // the connection takes two, and the way to a worker needs two
    Client client(address);
    EXPECT_EQ(client.receiveAnswer(),
              (Answer{0, "the data server can't start a process for the session (Too many open "
                         "files); try again later"}));
    EXPECT_TRUE(client.seesEnd());
    EXPECT_TRUE(program->logHolds("is refused, for no process can be started for it: Too many "
                                  "open files"))
        << program->log();
    leaveDescriptors(*program, 100);
    Client next(address);
    EXPECT_EQ(next.greet(), (Answer{1, ""}));
}

/// The two pipes of a program that serves its standard streams, and the ends that it gets.
struct Pipes
{
    Pipes()
    {
        int there[2];
        int back[2];
        EXPECT_EQ(::pipe2(there, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(back, O_CLOEXEC), 0);
        input.reset(there[0]);
        toProgram.reset(there[1]);
        fromProgram.reset(back[0]);
        output.reset(back[1]);
    }
    Surroundings surroundings() const { return {{{input.get(), 0}, {output.get(), 1}}}; }
    void closeTheirs()
    {
        input.reset();
        output.reset();
    }
    Client client() { return {fromProgram.release(), toProgram.release()}; }

    Descriptor input;
    Descriptor output;
    Descriptor toProgram;
    Descriptor fromProgram;
};

TEST_F(Serving, StandardStreamsCarryNothingButTheConversation)
{
    Pipes pipes;
    auto const program = start({"--listen", "stdio"}, pipes.surroundings());
    pipes.closeTheirs();
    Client client = pipes.client();
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
    client.expectToBeServed();
    client.load(fileNamed("prints.hdqfs"));
    EXPECT_EQ(client.socket().receiveString(), "command finished");
    EXPECT_EQ(client.socket().receiveUInt32(), 1U);
    client.socket().sendString("close data server");
    EXPECT_TRUE(client.seesEnd());
    EXPECT_EQ(program->wait(), 0);
    EXPECT_TRUE(program->logHolds("Attempting to load addon\nSuccess\n")) << program->log();
    EXPECT_TRUE(program->logHolds("printed by the add-on\n")) << program->log();
}

TEST_F(Serving, StandardStreamsMayBeOneSocket)
{
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    Descriptor theirs(ends[1]);
    auto const program = start({"--listen", "stdio"}, {{{theirs.get(), 0}, {theirs.get(), 1}}});
    theirs.reset();
    Client client(ends[0], ends[0]);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
    client.expectToBeServed();
    client.close();
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(Serving, StandardStreamsAreGreetedAndARefusalEndsWith1)
{
    Pipes pipes;
    auto const program = start({"--listen", "stdio"}, pipes.surroundings());
    pipes.closeTheirs();
    Client client = pipes.client();
    EXPECT_EQ(client.greet("hello"), (Answer{0, "not a data server client"}));
    EXPECT_TRUE(client.seesEnd());
    client.close();
    EXPECT_EQ(program->wait(), 1);
}

TEST_F(Serving, StandardStreamsThatCloseInTheMiddleOfALoadEndTheProgram)
{
    Pipes pipes;
    auto const program = start({"--listen", "stdio"}, pipes.surroundings());
    pipes.closeTheirs();
    Client client = pipes.client();
    client.greet();
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    client.close();
    EXPECT_EQ(program->wait(), 1);
    EXPECT_FALSE(isAlive(worker));
}

TEST_F(Serving, InheritedSocketHasNoGreeting)
{
    for (int const number : {9, 0, 1}) {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        Descriptor theirs(ends[1]);
        auto const program =
            start({"--listen", "fd:" + std::to_string(number)}, {{{theirs.get(), number}}});
        theirs.reset();
        Client client(ends[0], ends[0]);
        client.expectToBeServed();
        client.socket().sendString("close data server");
        EXPECT_TRUE(client.seesEnd());
        EXPECT_EQ(program->wait(), 0) << program->log();
    }
}

}
}
