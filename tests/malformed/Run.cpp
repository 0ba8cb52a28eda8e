#include "tests/malformed/Run.h"

#include "tests/filedata/AllocationMeter.h"
#include "tests/malformed/Edits.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include <ctime>
#include <unistd.h>

namespace varnox::malformed {

namespace {

std::array<char, 256> caseName{};

constexpr unsigned MOST_SECONDS = 60;

extern "C" void nameCase(int signal)
{
    char const* const why = signal == SIGALRM ? " has not ended.\n" : " met a signal.\n";
    (void)!::write(STDERR_FILENO, caseName.data(), std::strlen(caseName.data()));
    (void)!::write(STDERR_FILENO, why, std::strlen(why));
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

void nameCaseAtSignals(std::string const& name)
{
    for (int const signal : {SIGALRM, SIGABRT, SIGBUS, SIGFPE, SIGILL})
        std::signal(signal, nameCase);
#if !defined(__SANITIZE_ADDRESS__) // which has more to say
    std::signal(SIGSEGV, nameCase);
#endif
    caseName.fill('\0');
    name.copy(caseName.data(), caseName.size() - 1);
    ::alarm(MOST_SECONDS);
}

double secondsOfProcessor()
{
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

std::size_t mostMemory(std::size_t n)
{
    return (std::size_t{64} << 20) + 2 * n;
}

double longestTime(std::size_t n)
{
#if defined(__SANITIZE_ADDRESS__)
    constexpr double FACTOR = 4;
#else
    constexpr double FACTOR = 1;
#endif
    return FACTOR * (1.0 + static_cast<double>(n) / 1e7);
}

/// What is said of a case, within its bounds.
Said run(Case const& each, BaseOf const& baseOf, Ask const& ask)
{
    nameCaseAtSignals(each.name);
    std::string const input = edited(baseOf(each), each.edits);
    double const start = secondsOfProcessor();
    hdqio::tests::AllocationMeter const meter;
    Said said = ask(each, input);
    EXPECT_LE(meter.peak(), mostMemory(input.size())) << each.name;
    EXPECT_LE(secondsOfProcessor() - start, longestTime(input.size())) << each.name;
    ::alarm(0);
    for (auto& [who, text] : said)
        text = shown(text);
    return said;
}

bool isRecording()
{
    char const* const wish = std::getenv("VNX_RECORD");
    return wish != nullptr && std::strcmp(wish, "1") == 0;
}

}

void runGroup(std::string const& tablePath, std::string const& group, BaseOf const& baseOf,
              Ask const& ask)
{
    Table table(tablePath);
    for (Case& each : table.cases()) {
        if (each.group != group)
            continue;
        try {
            Said const said = run(each, baseOf, ask);
            if (isRecording())
                each.said = said;
            EXPECT_EQ(said, each.said) << each.name;
        } catch (std::exception const& error) {
            ADD_FAILURE() << each.name << ": " << error.what();
        }
    }
    if (isRecording())
        table.write();
}

std::string baseFile(std::string const& name)
{
    std::string const path = VNX_SOURCE_DIR "/tests/malformed/bases/" + name;
    std::ifstream file(path, std::ios::binary);
    std::string result{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file)
        throw std::runtime_error(path + " can't be read.");
    return result;
}

}
