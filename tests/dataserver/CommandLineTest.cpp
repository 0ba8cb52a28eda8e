#include "tests/dataserver/Program.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace varnox::tests {
namespace {

using namespace std::chrono_literals;
using testing::ValuesIn;

struct UsageCase
{
    std::string name;
    std::vector<std::string> arguments;
    char const* said;
};

class WrongUsage : public DataServer, public testing::WithParamInterface<UsageCase>
{
};

void PrintTo(UsageCase const& usage, std::ostream* out)
{
    *out << usage.name;
}

TEST_P(WrongUsage, IsSaidAndEndsWith2)
{
    EXPECT_EQ(statusOf(GetParam().arguments), 2);
    EXPECT_NE(lastLog().find(GetParam().said), std::string::npos) << lastLog();
    EXPECT_NE(lastLog().find("Run with --help for more information."), std::string::npos);
}

UsageCase const usageCases[] = {
    {"NoAddress", {}, "--listen is required"},
    {"UnknownOption", {"--listen", "stdio", "--nonsense"}, "--nonsense"},
    {"UnknownAddress",
     {"--listen", "/tmp/s"},
     "'/tmp/s' is no address; write unix:PATH, "
     "tcp:HOST:PORT, stdio or fd:N."},
    {"NoPort", {"--listen", "tcp:localhost"}, "'tcp:localhost' has no port"},
    {"NoDescriptor", {"--listen", "fd:x"}, "'fd:x' needs the number of a descriptor."},
    {"StandardError", {"--listen", "fd:2"}, "the log goes to standard error"},
    {"NoSessions", {"--listen", "stdio", "--max-sessions", "0"}, "--max-sessions"},
    {"NoBytes", {"--listen", "stdio", "--max-item-bytes", "0"}, "--max-item-bytes"},
    {"NoTime", {"--listen", "stdio", "--greeting-timeout", "0"}, "--greeting-timeout"},
    {"NegativeIdleTime", {"--listen", "stdio", "--idle-timeout", "-1"}, "--idle-timeout"},
    {"TimeThatIsNoNumber", {"--listen", "stdio", "--greeting-timeout", "nan"}, "nan is no number"},
    {"IdleTimeThatIsNoNumber", {"--listen", "stdio", "--idle-timeout", "-NaN"}, "is no number"},
    {"TokenFileWithoutName",
     {"--listen", "tcp:127.0.0.1:0", "--token-file", ""},
     "--token-file: The name is empty; give one, or leave the option away."},
    {"AuthorityWithoutName",
     {"--listen", "tcp:127.0.0.1:0", "--tls-client-ca", ""},
     "--tls-client-ca: The name is empty"},
    {"CertificateWithoutName",
     {"--listen", "tcp:127.0.0.1:0", "--tls-cert", "", "--tls-key", ""},
     ": The name is empty"},
    {"RootWithoutName", {"--listen", "stdio", "--root", ""}, "--root: The name is empty"},
    {"AddressFileWithoutName",
     {"--listen", "stdio", "--address-file", ""},
     "--address-file: The name is empty"},
    {"NoGreetings", {"--listen", "stdio", "--max-greetings", "0"}, "--max-greetings"},
    {"LittleMemory", {"--listen", "stdio", "--max-memory", "1000"}, "--max-memory"},
    {"FewFiles", {"--listen", "stdio", "--max-open-files", "3"}, "--max-open-files"},
    {"UserOverTcp",
     {"--listen", "tcp:127.0.0.1:0", "--allow-uid", "0"},
     "--allow-uid is for Unix sockets"},
    {"UserWithoutNumber", {"--listen", "stdio", "--allow-uid", "root"}, "--allow-uid"},
    {"UnknownLevel", {"--listen", "stdio", "--log-level", "loud"}, "--log-level"},
    {"TokenThatNobodyShows", {"--listen", "fd:3", "--token-file", "t"}, "has no greeting"},
    {"OpenToAll", {"--listen", "tcp:0.0.0.0:0"}, "give --token-file FILE"},
    {"OpenToAllByIPv6", {"--listen", "tcp:[::]:0"}, "give --token-file FILE"},
};
INSTANTIATE_TEST_SUITE_P(Cases, WrongUsage, ValuesIn(usageCases),
                         [](auto const& test) { return test.param.name; });

TEST_F(DataServer, OrdersForAWorkerAreNotForPeople)
{
    Program program({"--worker", "1", "2"}, folder / "log");
    EXPECT_EQ(program.wait(), 2);
    EXPECT_TRUE(program.logHolds("--worker is for the program's own use.")) << program.log();
}

TEST_F(DataServer, RunningAsRootIsRefused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "the tests don't run as root";
    Surroundings surroundings;
    surroundings.allowsRoot = false;
    EXPECT_EQ(statusOf({"--listen", "stdio"}, surroundings), 2);
    EXPECT_NE(lastLog().find("Running as root is refused: "), std::string::npos) << lastLog();
    EXPECT_NE(lastLog().find("give --allow-root"), std::string::npos);
}

/// What the program prints to standard output, in its place of a real shell.
std::string outputOf(std::string const& arguments)
{
    std::string const command = std::string(VNX_BIN_DIR) + "/vnxdataserver " + arguments;
    std::FILE* const output = ::popen(command.c_str(), "r");
    std::array<char, 4096> piece;
    std::string result;
    while (output != nullptr && std::fgets(piece.data(), piece.size(), output) != nullptr)
        result += piece.data();
    EXPECT_EQ(::pclose(output), 0);
    return result;
}

TEST(CommandLine, HelpNamesEveryOption)
{
    std::string const help = outputOf("--help");
    for (char const* option : {"--addon PATH",
                               "--listen ADDRESS",
                               "--address-file FILE",
                               "--token-file FILE",
                               "--once",
                               "--max-sessions N=64",
                               "--max-item-bytes N=1073741824",
                               "--greeting-timeout SECONDS=10",
                               "--tls-cert FILE",
                               "--tls-key FILE",
                               "--tls-client-ca FILE",
                               "--root DIR",
                               "--allow-uid UID",
                               "--allow-root",
                               "--max-memory BYTES",
                               "--max-open-files N",
                               "--max-time SECONDS",
                               "--core-dumps",
                               "--keep-env NAME",
                               "--max-sessions-per-source N",
                               "--max-greetings N=32",
                               "--idle-timeout SECONDS",
                               "--log-level LEVEL=info",
                               "--version"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
}

TEST(CommandLine, VersionIsANumberBehindTheName)
{
    std::string const version = outputOf("--version");
    EXPECT_EQ(version.rfind("vnxdataserver ", 0), 0U) << version;
    EXPECT_EQ(version.find_first_not_of("0123456789.\n", 14), std::string::npos) << version;
}

TEST(CommandLine, ProgramShowsNoneOfTheLibrarysSymbols)
{
    std::string const command =
        std::string("nm -D --defined-only -C ") + VNX_BIN_DIR + "/vnxdataserver";
    std::FILE* const output = ::popen(command.c_str(), "r");
    std::array<char, 4096> line;
    while (output != nullptr && std::fgets(line.data(), line.size(), output) != nullptr) {
        std::string const text(line.data());
        EXPECT_EQ(text.find("varnox::"), std::string::npos) << text;
        EXPECT_EQ(text.find("Vnx"), std::string::npos) << text;
    }
    EXPECT_EQ(::pclose(output), 0);
}

using Startup = DataServer;

TEST_F(Startup, BadAddonsAreReportedWithTheLibrarysWords)
{
    std::string const where = "unix:" + socketPath.string();
    std::string const noEntry = addon("vnxnoentryaddon");
    std::pair<std::string, std::string> const cases[] = {
        {"/nowhere/a.so", "Unable to load library /nowhere/a.so ("},
        {noEntry, "Function InitVnxAddOn113 not found in load library " + noEntry},
        {addon("vnxnoloaderaddon"), "Loader add-on did not register a loader callback."},
        {addon("vnxabortingaddon"), "its trial was ended by signal 6 (Aborted)."},
    };
    for (auto const& [path, words] : cases)
        for (std::string const& listen : {where, std::string("stdio")}) {
            EXPECT_EQ(statusOf({"--addon", path, "--listen", listen}), 1);
            EXPECT_NE(lastLog().find(words), std::string::npos) << lastLog();
            EXPECT_NE(lastLog().find("The add-on " + path + " can't be used"), std::string::npos);
            EXPECT_FALSE(std::filesystem::exists(socketPath));
        }
}

TEST_F(Startup, DefaultAddonIsTheLoaderInstalledWithTheProgram)
{
    Program program({"--listen", "unix:" + socketPath.string(), "--once"}, folder / "log");
    ASSERT_TRUE(eventually([&] { return program.logHolds("listening on"); })) << program.log();
    Client client("unix:" + socketPath.string());
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
    client.socket().sendString("list file types");
    EXPECT_EQ(client.socket().receiveString(), "HDQFS");
    EXPECT_EQ(client.socket().receiveString(), "hdqfs");
}

TEST_F(Startup, TrialThatHangsCanBeEnded)
{
    auto const program = start({"--addon", addon("vnxhangingaddon"), "--listen",
                                "unix:" + socketPath.string(), "--log-level", "debug"});
    ASSERT_TRUE(eventually([&] { return program->logHolds("trying the add-on"); }));
    program->send(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(Startup, TrialThatHangsEndsByItselfAfterAMinute)
{
    auto const start = std::chrono::steady_clock::now();
    auto const program = this->start(
        {"--addon", addon("vnxhangingaddon"), "--listen", "unix:" + socketPath.string()});
    while (program->isRunning() && std::chrono::steady_clock::now() - start < 90s)
        std::this_thread::sleep_for(100ms);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 59s);
    EXPECT_EQ(program->wait(), 1);
    EXPECT_TRUE(program->logHolds("did not come up within a minute; nothing is served."));
    EXPECT_FALSE(std::filesystem::exists(socketPath));
}

TEST_F(Startup, TokenFileOpenToOthersIsRefused)
{
    std::string const path = (folder / "token").string();
    std::ofstream(path) << "secret";
    ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
    EXPECT_EQ(statusOf({"--listen", "tcp:127.0.0.1:0", "--token-file", path}), 1);
    EXPECT_NE(lastLog().find("run: chmod 600 " + path), std::string::npos) << lastLog();
}

TEST_F(Startup, EmptyTokenFileIsRefused)
{
    std::string const path = (folder / "token").string();
    std::ofstream(path) << "";
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    EXPECT_EQ(statusOf({"--listen", "tcp:127.0.0.1:0", "--token-file", path}), 1);
    EXPECT_NE(lastLog().find("is empty"), std::string::npos) << lastLog();
}

TEST_F(Startup, PortInUseIsSaid)
{
    auto const first = listenAt("tcp:127.0.0.1:0");
    EXPECT_EQ(statusOf({"--listen", address}), 1);
    EXPECT_NE(lastLog().find("Can't listen on " + address + ": the port is in use."),
              std::string::npos)
        << lastLog();
    Client client(address);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
}

TEST_F(Startup, LiveUnixSocketIsAnError)
{
    auto const first = listen();
    EXPECT_EQ(statusOf({"--listen", address}), 1);
    EXPECT_NE(lastLog().find("another server is listening there"), std::string::npos) << lastLog();
    Client client(address);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
}

TEST_F(Startup, StaleUnixSocketIsReplaced)
{
    auto const first = listen();
    first->send(SIGKILL);
    EXPECT_EQ(first->wait(), -SIGKILL);
    ASSERT_TRUE(std::filesystem::is_socket(socketPath));
    auto const second = listen();
    Client client(address);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
}

TEST_F(Startup, UnixSocketIsForItsOwnerAlone)
{
    auto const program = listen();
    struct stat status = {};
    ASSERT_EQ(::stat(socketPath.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(Startup, AddressFileThatCantBeWrittenIsSaid)
{
    EXPECT_EQ(statusOf({"--listen", "tcp:127.0.0.1:0", "--address-file", "/nowhere/address"}), 1);
    EXPECT_NE(lastLog().find("Can't write the address file /nowhere/address: "), std::string::npos);
}

TEST_F(Startup, AddressFileReplacesNothingButAnOrdinaryFile)
{
    std::string const pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::string const link = (folder / "link").string();
    std::filesystem::create_symlink("/dev/null", link);
    for (std::string const& path : {pipe, link}) {
        EXPECT_EQ(statusOf({"--listen", "tcp:127.0.0.1:0", "--address-file", path, "--once"}), 1);
        EXPECT_NE(lastLog().find("that is no ordinary file"), std::string::npos) << lastLog();
    }
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(Startup, AddressFileWithoutSpaceForItEndsTheProgramAndStaysAsItWas)
{
    std::filesystem::path const place = folder / "places";
    std::filesystem::create_directory(place);
    std::ofstream(place / "address") << "of a server before";
    Surroundings surroundings;
    surroundings.hasNoSpace = true;
    EXPECT_EQ(
        statusOf({"--listen", "tcp:127.0.0.1:0", "--address-file", (place / "address").string()},
                 surroundings),
        1);
    EXPECT_EQ(contents(place / "address"), "of a server before");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place), {}), 1);
}

TEST_F(Startup, AddressFileIsReplacedInOneStepAndLeavesNothingBeside)
{
    std::filesystem::path const place = folder / "places";
    std::filesystem::create_directory(place);
    std::ofstream(place / "address") << "an old and much longer text than any address will be";
    auto const program =
        start({"--listen", "tcp:127.0.0.1:0", "--address-file", (place / "address").string()});
    ASSERT_TRUE(
        eventually([&] { return contents(place / "address").rfind("tcp:127.0.0.1:", 0) == 0; }));
    std::string text = contents(place / "address");
    EXPECT_EQ(text.back(), '\n');
    text.pop_back();
    Client client(text);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place), {}), 1);
}

TEST_F(Startup, DescriptorThatIsNoConnectionIsSaid)
{
    EXPECT_EQ(statusOf({"--listen", "fd:77"}), 1);
    EXPECT_NE(lastLog().find("Can't use fd:77: Bad file descriptor."), std::string::npos);
    socketutil::Descriptor const unconnected(::socket(AF_UNIX, SOCK_STREAM, 0));
    EXPECT_EQ(statusOf({"--listen", "fd:9"}, {{{unconnected.get(), 9}}}), 1);
    EXPECT_NE(lastLog().find("Can't use fd:9: it is no connected stream socket."),
              std::string::npos);
}

}
}
