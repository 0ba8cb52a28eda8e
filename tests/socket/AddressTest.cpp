#include "socket/Address.h"

#include "socket/StreamSocket.h"
#include "varnox/socketutil/SocketException.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace varnox::socketutil {
namespace {

using testing::ValuesIn;

template <typename Exception>
std::string messageOf(std::function<void()> const& action)
{
    try {
        action();
    } catch (Exception const& error) {
        return error.what();
    }
    return "nothing was thrown";
}

struct RefusedAddress
{
    char const* name;
    char const* text;
    char const* message;
};

class ParseAddress : public testing::TestWithParam<RefusedAddress>
{
};

TEST_P(ParseAddress, RefusesWithAReason)
{
    EXPECT_EQ(messageOf<std::invalid_argument>([&] { parseAddress(GetParam().text); }),
              GetParam().message);
}

RefusedAddress const refusedAddresses[] = {
    {"Empty", "", "'' is no address; write unix:PATH or tcp:HOST:PORT."},
    {"UnknownKind", "udp:a:1", "'udp:a:1' is no address; write unix:PATH or tcp:HOST:PORT."},
    {"BarePath", "/a", "'/a' is no address; write unix:PATH or tcp:HOST:PORT."},
    {"NoPath", "unix:", "'unix:' has no path; write unix:PATH."},
    {"NoPort", "tcp:host", "'tcp:host' has no port; write tcp:HOST:PORT."},
    {"NoHost", "tcp::80", "'tcp::80' has no host; write tcp:HOST:PORT."},
    {"BracketAlone", "tcp:[:80", "'tcp:[:80' has no host; write tcp:HOST:PORT."},
    {"OpenBracket", "tcp:[::1:80", "'tcp:[::1:80' has no host; write tcp:HOST:PORT."},
    {"EmptyBrackets", "tcp:[]:80", "'tcp:[]:80' has no host; write tcp:HOST:PORT."},
    {"EmptyPort", "tcp:host:", "'tcp:host:' needs a port from 0 to 65535 behind its host."},
    {"PortTooLarge", "tcp:h:65536", "'tcp:h:65536' needs a port from 0 to 65535 behind its host."},
    {"PortWithRest", "tcp:h:80x", "'tcp:h:80x' needs a port from 0 to 65535 behind its host."},
    {"NegativePort", "tcp:h:-1", "'tcp:h:-1' needs a port from 0 to 65535 behind its host."},
    {"BareIPv6", "tcp:::1:80",
     "'tcp:::1:80' needs brackets around its IPv6 host: tcp:[HOST]:PORT."},
};
INSTANTIATE_TEST_SUITE_P(Texts, ParseAddress, ValuesIn(refusedAddresses),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(Address, ReadsItsParts)
{
    EXPECT_EQ(parseAddress("unix:/run/a:b.sock").path, "/run/a:b.sock");
    Address const named = parseAddress("tcp:data.example:4000");
    EXPECT_EQ(named.kind, Address::Kind::Tcp);
    EXPECT_EQ(named.host, "data.example");
    EXPECT_EQ(named.port, 4000);
    Address const numbered = parseAddress("tcp:[::1]:65535");
    EXPECT_EQ(numbered.host, "::1");
    EXPECT_EQ(numbered.port, 65535);
}

TEST(Address, TextIsWhatWasRead)
{
    for (char const* text : {"unix:relative/s", "tcp:localhost:0", "tcp:10.0.0.1:7", "tcp:[::]:80"})
        EXPECT_EQ(textOf(parseAddress(text)), text);
}

TEST(Address, KnowsTheLoopback)
{
    for (char const* text : {"unix:/a", "tcp:127.0.0.1:0", "tcp:127.9.9.9:0", "tcp:[::1]:0",
                             "tcp:[::ffff:127.0.0.1]:0", "tcp:localhost:0"})
        EXPECT_TRUE(isLoopback(parseAddress(text))) << text;
    for (char const* text : {"tcp:0.0.0.0:0", "tcp:10.127.0.1:0", "tcp:[::]:0", "tcp:[fe80::1]:0",
                             "tcp:[::ffff:10.0.0.1]:0"})
        EXPECT_FALSE(isLoopback(parseAddress(text))) << text;
}

TEST(Address, UnknownHostIsSaid)
{
    std::string const message =
        messageOf<SocketException>([] { isLoopback(parseAddress("tcp:no-such-host.invalid:1")); });
    EXPECT_EQ(message.rfind("The host 'no-such-host.invalid' is unknown: ", 0), 0U) << message;
}

/// A connection to a listener, with an item each way.
void expectTalk(Listener const& listener)
{
    Descriptor client = connectTo(listener.boundAddress());
    pollfd waiting{listener.descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&waiting, 1, 10'000), 1);
    int const accepted = ::accept4(listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
    ASSERT_GE(accepted, 0);
    int const connected = client.release();
    StreamSocket a(connected, connected);
    StreamSocket b(accepted, accepted);
    a.sendInt(7);
    EXPECT_EQ(b.receiveInt(), 7);
    b.sendString("back");
    EXPECT_EQ(a.receiveString(), "back");
}

class TcpListener : public testing::TestWithParam<char const*>
{
};

bool hasIPv6()
{
    Descriptor const probe(::socket(AF_INET6, SOCK_STREAM, 0));
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    return probe.isOpen() &&
           ::bind(probe.get(), reinterpret_cast<sockaddr const*>(&address), sizeof(address)) == 0;
}

TEST_P(TcpListener, TakesAFreePortAndIsReached)
{
    if (std::string(GetParam()).find('[') != std::string::npos && !hasIPv6()) {
        // Without IPv6 there is nothing to reach, but the user is told of it.
        std::string const message =
            messageOf<SocketException>([] { Listener(parseAddress(GetParam())); });
        EXPECT_EQ(message.rfind("Can't listen on tcp:[::1]:0: ", 0), 0U) << message;
        return;
    }
    Listener const listener(parseAddress(GetParam()));
    EXPECT_NE(listener.boundAddress().port, 0);
    EXPECT_TRUE(isLoopback(parseAddress(textOf(listener.boundAddress()))));
    expectTalk(listener);
}

INSTANTIATE_TEST_SUITE_P(
    Hosts, TcpListener, testing::Values("tcp:127.0.0.1:0", "tcp:localhost:0", "tcp:[::1]:0"),
    [](auto const& test) {
        return std::string(test.index == 0 ? "IPv4" : test.index == 1 ? "Name" : "IPv6");
    });

TEST(Listener, PortInUseIsSaid)
{
    Listener const first(parseAddress("tcp:127.0.0.1:0"));
    std::string const text = textOf(first.boundAddress());
    EXPECT_EQ(messageOf<SocketException>([&] { Listener(first.boundAddress()); }),
              "Can't listen on " + text +
                  ": the port is in use. Choose another one, or port 0 for any that is free.");
}

TEST(Listener, PortIsFreeAgainAtOnceAfterASession)
{
    std::optional<Listener> first(parseAddress("tcp:127.0.0.1:0"));
    Address const address = first->boundAddress();
    expectTalk(*first);
    first.reset();
    EXPECT_EQ(messageOf<SocketException>([&] { Listener(address).close(); }), "nothing was thrown");
}

TEST(ConnectTo, NobodyListeningIsSaid)
{
    std::optional<Listener> gone(parseAddress("tcp:127.0.0.1:0"));
    Address const address = gone->boundAddress();
    gone.reset();
    EXPECT_EQ(messageOf<SocketException>([&] { connectTo(address); }),
              "Can't connect to " + textOf(address) + ": Connection refused.");
}

/// While one lives, the process can open nothing more.
class NoMoreDescriptors
{
public:
    NoMoreDescriptors()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    NoMoreDescriptors(NoMoreDescriptors const&) = delete;
    NoMoreDescriptors& operator=(NoMoreDescriptors const&) = delete;
    ~NoMoreDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};

TEST(Address, LackOfDescriptorsIsSaid)
{
    Listener const listener(parseAddress("tcp:127.0.0.1:0"));
    Address const bound = listener.boundAddress();
    NoMoreDescriptors const none;
    EXPECT_EQ(messageOf<SocketException>([&] { connectTo(bound); }),
              "Can't connect to " + textOf(bound) + ": Too many open files.");
    EXPECT_EQ(messageOf<SocketException>([] { Listener(parseAddress("tcp:127.0.0.1:0")); }),
              "Can't listen on tcp:127.0.0.1:0: Too many open files.");
    EXPECT_EQ(messageOf<SocketException>([] { connectTo(parseAddress("unix:/nowhere")); }),
              "Can't make a socket: Too many open files.");
    EXPECT_EQ(messageOf<SocketException>([] { Listener(parseAddress("unix:/nowhere")); }),
              "Can't make a socket: Too many open files.");
}

std::atomic<int> numSignals{0};

/// A listening socket without room for more connections: whoever connects has to wait.
class FullListener
{
public:
    explicit FullListener(bool isUnix)
        : m_socket(::socket(isUnix ? AF_UNIX : AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0))
    {
        if (isUnix) {
            std::string folder = (std::filesystem::temp_directory_path() / "vnxXXXXXX").string();
            EXPECT_NE(::mkdtemp(folder.data()), nullptr);
            m_folder = folder;
            sockaddr_un address = {};
            address.sun_family = AF_UNIX;
            std::string const path = folder + "/s";
            std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
            bindTo(&address, sizeof(address));
            m_address = parseAddress("unix:" + path);
        } else {
            sockaddr_in address = {};
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            bindTo(&address, sizeof(address));
            m_address = parseAddress("tcp:127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
        }
    }
    FullListener(FullListener const&) = delete;
    FullListener& operator=(FullListener const&) = delete;
    ~FullListener()
    {
        if (!m_folder.empty())
            std::filesystem::remove_all(m_folder);
    }

    Address const& address() const { return m_address; }
    /// The next connection, if one comes within some milliseconds.
    Descriptor accept() const
    {
        pollfd waiting{m_socket.get(), POLLIN, 0};
        ::poll(&waiting, 1, 10);
        return Descriptor(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }

private:
    void bindTo(void* address, socklen_t size)
    {
        auto* const generic = static_cast<sockaddr*>(address);
        EXPECT_EQ(::bind(m_socket.get(), generic, size), 0);
        EXPECT_EQ(::listen(m_socket.get(), 0), 0);
        EXPECT_EQ(::getsockname(m_socket.get(), generic, &size), 0);
        m_first = Descriptor(::socket(generic->sa_family, SOCK_STREAM | SOCK_NONBLOCK, 0));
        EXPECT_TRUE(::connect(m_first.get(), generic, size) == 0 || errno == EINPROGRESS);
    }

    std::string m_folder;
    Descriptor m_socket;
    Address m_address;
    Descriptor m_first; ///< Takes the only place.
};

class InterruptedConnect : public testing::TestWithParam<bool>
{
};

INSTANTIATE_TEST_SUITE_P(Kinds, InterruptedConnect, testing::Bool(),
                         [](auto const& test) { return test.param ? "Unix" : "Tcp"; });

TEST_P(InterruptedConnect, GoesOnUntilItIsConnected)
{
    using namespace std::chrono_literals;
    struct sigaction count = {};
    count.sa_handler = [](int) { ++numSignals; };
    struct sigaction before = {};
    ASSERT_EQ(::sigaction(SIGUSR1, &count, &before), 0);
    numSignals = 0;

    FullListener const listener(GetParam());
    std::vector<Descriptor> accepted;
    std::atomic<bool> isConnected{false};
    pthread_t const connecting = ::pthread_self();
    std::thread other([&] {
        for (int i = 0; i < 5; ++i) {
            std::this_thread::sleep_for(20ms);
            ::pthread_kill(connecting, SIGUSR1);
        }
        while (!isConnected)
            if (Descriptor connection = listener.accept(); connection.isOpen())
                accepted.push_back(std::move(connection));
    });
    Descriptor const client = connectTo(listener.address());
    bool const wasSent = ::send(client.get(), "x", 1, MSG_NOSIGNAL) == 1;
    isConnected = true;
    other.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    for (Descriptor last = listener.accept(); last.isOpen(); last = listener.accept())
        accepted.push_back(std::move(last));
    EXPECT_EQ(numSignals, 5);
    EXPECT_TRUE(wasSent);
    int numArrived = 0;
    for (Descriptor const& connection : accepted) {
        char letter = 0;
        if (::recv(connection.get(), &letter, 1, MSG_DONTWAIT) == 1 && letter == 'x')
            ++numArrived;
    }
    EXPECT_EQ(numArrived, 1);
}

class UnixListener : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = (std::filesystem::temp_directory_path() / "vnxXXXXXX").string();
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        folder = name;
        path = folder / "s";
        address = parseAddress("unix:" + path.string());
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string failure()
    {
        return messageOf<SocketException>([&] { Listener{address}; });
    }

    /// What a server leaves that is killed: a bound socket on which nobody listens.
    void leaveStaleSocket()
    {
        Listener listener(address);
        std::filesystem::rename(path, folder / "kept");
        listener.close();
        std::filesystem::rename(folder / "kept", path);
    }

    std::filesystem::path folder;
    std::filesystem::path path;
    Address address;
};

TEST_F(UnixListener, IsForItsOwnerAloneAndGoneInTheEnd)
{
    mode_t const before = ::umask(0);
    {
        Listener const listener(address);
        ::umask(before);
        struct stat status = {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_TRUE(S_ISSOCK(status.st_mode));
        EXPECT_EQ(status.st_mode & 07777, 0600U);
        EXPECT_EQ(textOf(listener.boundAddress()), "unix:" + path.string());
        expectTalk(listener);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(UnixListener, ReplacesAStaleSocket)
{
    leaveStaleSocket();
    ASSERT_TRUE(std::filesystem::is_socket(path));
    EXPECT_EQ(messageOf<SocketException>([&] { connectTo(address); }),
              "Can't connect to unix:" + path.string() + ": Connection refused.");
    Listener const listener(address);
    expectTalk(listener);
}

TEST_F(UnixListener, FolderThatSomebodyKeepsLockedHoldsItUpForAMomentOnly)
{
    Descriptor lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    auto made = std::async(std::launch::async, [&] { expectTalk(Listener(address)); });
    EXPECT_EQ(made.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    lock.reset();
}

TEST_F(UnixListener, LeavesALiveSocketAlone)
{
    Listener const first(address);
    EXPECT_EQ(failure(), "Can't listen on unix:" + path.string() +
                             ": another server is listening there. Choose another path or end "
                             "that server.");
    // The probe has left a connection that is closed already.
    ::close(::accept(first.descriptor(), nullptr, nullptr));
    expectTalk(first);
}

TEST_F(UnixListener, LeavesAnotherFileAlone)
{
    std::ofstream(path) << "mine";
    EXPECT_EQ(failure(), "Can't listen on unix:" + path.string() +
                             ": there is already a file of that name, and no socket. Choose "
                             "another path or remove it.");
    EXPECT_EQ(std::filesystem::file_size(path), 4U);
}

TEST_F(UnixListener, LeavesASocketOfAnotherKindAlone)
{
    Descriptor const datagrams(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    std::memcpy(name.sun_path, path.c_str(), path.string().size() + 1);
    ASSERT_EQ(::bind(datagrams.get(), reinterpret_cast<sockaddr const*>(&name), sizeof(name)), 0);
    EXPECT_EQ(failure(), "Can't find out whether a server is listening on unix:" + path.string() +
                             ": Protocol wrong type for socket.");
    EXPECT_TRUE(std::filesystem::is_socket(path));
}

TEST_F(UnixListener, LeavesTheSocketOfASuccessorInPlace)
{
    Listener first(address);
    std::filesystem::remove(path);
    Listener const second(address);
    first.close();
    expectTalk(second);
}

TEST_F(UnixListener, MissingFolderIsSaid)
{
    address.path = (folder / "missing" / "s").string();
    EXPECT_EQ(failure(), "Can't listen on unix:" + address.path + ": No such file or directory.");
}

TEST_F(UnixListener, LongPathIsSaid)
{
    address.path = (folder / std::string(200, 'x')).string();
    std::string const message = failure();
    EXPECT_EQ(message.rfind("The path of a Unix socket has at most 107 bytes, and '", 0), 0U)
        << message;
}

}
}
