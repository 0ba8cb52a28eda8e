// What a session takes that loads a file of very many small zones: the loader and the library make
// something for each zone and each variable of it.

#include "client/Engine.h"
#include "socket/StreamSocket.h"
#include "tests/bounds/LyingFile.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

#include <malloc.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::tests {
namespace {

using hdqfsloader::tests::TemporaryFile;
using hdqio::tests::FileBuilder;
using hdqio::tests::LyingFile;

/// A number of bytes that the system knows of this process, such as "VmHWM:".
std::size_t bytesOfThisProcess(std::string const& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::size_t kilobytes = 0;
        if (word == name && status >> kilobytes)
            return kilobytes * 1024;
    }
    throw std::runtime_error("The system doesn't tell " + name);
}

/// Serves one session with the HDQFS loader. Returns what memory it took at its most.
std::size_t serve(int descriptor)
{
    std::cout.setstate(std::ios::failbit); // the library tells what it loads
    socketutil::StreamSocket socket(descriptor, descriptor);
    hdqremote::AddonProxy proxy(VNX_LIB_DIR "/vnxhdqfsloader.so", socket);
    ::malloc_trim(0); // what the client has given back isn't to be taken again
    std::ofstream("/proc/self/clear_refs") << "5"; // the most is counted from here
    std::size_t const before = bytesOfThisProcess("VmRSS:");
    try {
        proxy.serviceCommandsUntil("close data server");
    } catch (hdqremote::AddonProxy::Error const&) {
        // The load failed, as the client knows.
    }
    return bytesOfThisProcess("VmHWM:") - before;
}

/// The same in a process of its own, the client being in this one.
std::size_t peakOfSession(std::function<void(client::Engine&)> const& talk)
{
    int connection[2];
    int answer[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, connection) != 0 ||
        ::pipe(answer) != 0)
        throw std::runtime_error("no connection");
    pid_t const server = ::fork();
    if (server == 0) {
        ::close(connection[0]);
        std::size_t peak = 0;
        try {
            peak = serve(connection[1]);
        } catch (std::exception const& error) {
            std::cerr << error.what() << '\n';
        }
        ::_exit(::write(answer[1], &peak, sizeof(peak)) == sizeof(peak) ? 0 : 1);
    }
    ::close(connection[1]);
    ::close(answer[1]);
    {
        client::Engine engine(connection[0]);
        talk(engine);
    }
    std::size_t result = 0;
    bool const isTold = ::read(answer[0], &result, sizeof(result)) == sizeof(result);
    ::close(answer[0]);
    ::waitpid(server, nullptr, 0);
    if (!isTold || result == 0)
        throw std::runtime_error("The session had no end.");
    return result;
}

/// Ordered zones of one node, in subzones. What their variables and zones have in the headers of a
/// file they all have, and bytesMore for each variable.
std::string smallZones(std::uint64_t numZones, std::uint64_t numVars, std::uint64_t bytesMore)
{
    LyingFile lie;
    lie.numZones = numZones;
    lie.numVars = numVars;
    lie.groups = [=](FileBuilder& file) {
        file.raw(std::string(65 * numZones + bytesMore * numZones * numVars, '\0'));
        return std::vector<FileBuilder::Tag>();
    };
    return lie.contents();
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool IS_MEMORY_MEASURED = false; // a sanitizer takes more than the program
#else
constexpr bool IS_MEMORY_MEASURED = true;
#endif

constexpr std::size_t BYTES_OF_A_ZONE = 1100;
constexpr std::size_t BYTES_OF_A_VARIABLE = 180; // of a zone

/// Loads zones of one node in a session, and holds what that takes to its bounds.
void loadSmallZones(std::uint64_t numZones, std::uint64_t numVars)
{
    TemporaryFile const file(smallZones(numZones, numVars, 15));
    std::size_t const peak = peakOfSession([&](client::Engine& engine) {
        client::DataSet const& dataSet = engine.load({file.path()});
        ASSERT_EQ(dataSet.zones.size(), numZones);
        EXPECT_TRUE(dataSet.zones.back().variables.back().hasQueries);
        engine.close();
    });
    testing::Test::RecordProperty("peak", std::to_string(peak));
    std::size_t const most =
        8 * 1024 * 1024 + numZones * BYTES_OF_A_ZONE + numZones * numVars * BYTES_OF_A_VARIABLE;
    EXPECT_TRUE(!IS_MEMORY_MEASURED || peak <= most) << peak << " bytes, more than " << most;
}

TEST(CostOfSessions, ManyZonesOfOneVariable)
{
    loadSmallZones(40'000, 1);
}

TEST(CostOfSessions, ZonesOfManyVariables)
{
    loadSmallZones(5'000, 100);
}

TEST(CostOfSessions, HundredThousandZonesOfTwentyVariablesAreLoaded)
{
    loadSmallZones(100'000, 20);
}

TEST(CostOfSessions, VariablesInSubzonesHaveTheirPartOfTheFile)
{
    TemporaryFile const file(smallZones(10'000, 20, 4));
    std::string failure;
    peakOfSession([&](client::Engine& engine) {
        try {
            engine.load({file.path()});
        } catch (client::Error const& error) {
            failure = error.what();
        }
    });
    EXPECT_NE(failure.find("too short for the 200000 variables that its zones have in subzones"),
              std::string::npos)
        << failure;
}

}
}
