// Runs a fuzz target over files, or over all files of folders, whole, cut or corrupted, and holds
// each input to its bounds.

#include "fuzz/support/Entry.h"
#include "fuzz/support/FileMutator.h"
#include "fuzz/support/StreamMutator.h"
#include "tests/filedata/AllocationMeter.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <ctime>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// Whatever an input says, reading n bytes takes less than this of memory and of time.
std::size_t mostMemory(std::size_t n)
{
    return (std::size_t{64} << 20) + 2 * n;
}

/// In seconds. Sanitizers make everything slower.
double longestTime(std::size_t n)
{
#if defined(__SANITIZE_ADDRESS__)
    constexpr double FACTOR = 4;
#else
    constexpr double FACTOR = 1;
#endif
    return FACTOR * (1.0 + static_cast<double>(n) / 1e7);
}

std::vector<fs::path> filesOf(fs::path const& path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> result;
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(path))
        if (entry.is_regular_file())
            result.push_back(entry.path());
    std::sort(result.begin(), result.end());
    return result;
}

std::string contentsOf(fs::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string result{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file)
        throw std::runtime_error(path.string() + " can't be read.");
    return result;
}

/// Time of this process alone: the machine may be busy.
double secondsOfProcessor()
{
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// The name of the input that runs, for the handler of a signal.
std::array<char, 4096> inputName{};

/// No input takes as long as this, even where the machine is busy.
constexpr unsigned MOST_SECONDS = 120;

extern "C" void nameInput(int signal)
{
    char const* const why = signal == SIGALRM ? " has not ended.\n" : " met a signal.\n";
    (void)!::write(STDERR_FILENO, inputName.data(), std::strlen(inputName.data()));
    (void)!::write(STDERR_FILENO, why, std::strlen(why));
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

/// What ends the process tells of which input it was.
void nameInputAtSignals()
{
    for (int const signal : {SIGALRM, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTRAP})
        std::signal(signal, nameInput);
#if !defined(__SANITIZE_ADDRESS__) // which has more to say
    std::signal(SIGSEGV, nameInput);
#endif
}

/// Runs targets and holds each input to its bounds.
class Replay
{
public:
    void run(std::string const& name, std::string const& bytes)
    {
        ++m_numInputs;
        inputName.fill('\0');
        name.copy(inputName.data(), inputName.size() - 1);
        ::alarm(MOST_SECONDS);
        // On the heap without room to spare, so that an address sanitizer sees its end.
        std::vector<std::uint8_t> const input(bytes.begin(), bytes.end());
        double const start = secondsOfProcessor();
        std::size_t peak = 0;
        {
            varnox::hdqio::tests::AllocationMeter const meter;
            LLVMFuzzerTestOneInput(input.data(), input.size());
            peak = meter.peak();
        }
        double const time = secondsOfProcessor() - start;
        m_mostMemory = std::max(m_mostMemory, peak);
        m_longestTime = std::max(m_longestTime, time);
        if (peak <= mostMemory(input.size()) && time <= longestTime(input.size()))
            return;
        ++m_numFailures;
        std::fprintf(stderr, "%s took %zu bytes of memory and %.2f seconds.\n", name.c_str(), peak,
                     time);
    }

    bool finish() const
    {
        std::printf("%zu inputs, %zu beyond their bounds; at most %zu bytes of memory and %.2f "
                    "seconds\n",
                    m_numInputs, m_numFailures, m_mostMemory, m_longestTime);
        return m_numInputs != 0 && m_numFailures == 0;
    }

private:
    std::size_t m_numInputs = 0;
    std::size_t m_numFailures = 0;
    std::size_t m_mostMemory = 0;
    double m_longestTime = 0;
};

/// Each file cut at every stride-th byte.
void cut(std::vector<fs::path> const& files, std::size_t stride, Replay& replay)
{
    for (fs::path const& path : files) {
        std::string const whole = contentsOf(path);
        for (std::size_t size = 0; size < whole.size(); size += stride)
            replay.run(path.string() + " cut to " + std::to_string(size), whole.substr(0, size));
    }
}

bool isDataFile(std::string const& bytes)
{
    return bytes.starts_with("#!HDQFS ");
}

/// Changes an input in a way that a number determines.
void mutate(std::string& bytes, std::size_t number)
{
    if (!isDataFile(bytes)) {
        varnox::fuzz::StreamMutator(number).mutate(bytes);
        return;
    }
    std::mt19937_64 random(number);
    auto const mutateBytes = [&](std::uint8_t* data, std::size_t size, std::size_t) {
        for (std::size_t n = 1 + random() % 8; n > 0 && size > 0; --n)
            data[random() % size] = static_cast<std::uint8_t>(random());
        return size;
    };
    varnox::fuzz::FileMutator(static_cast<unsigned>(number), mutateBytes)
        .mutate(bytes, bytes.size() + 1024);
}

/// The files in turn, each time changed in another way, which its number determines.
void corrupt(std::vector<fs::path> const& files, std::size_t first, std::size_t last,
             Replay& replay)
{
    std::vector<std::string> contents;
    for (fs::path const& path : files)
        contents.push_back(contentsOf(path));
    for (std::size_t i = first; i < last && !contents.empty(); ++i) {
        std::size_t const which = i % contents.size();
        std::string bytes = contents[which];
        mutate(bytes, i);
        if (first + 1 == last) // to be looked at, and to join the corpus
            std::ofstream("corruption-" + std::to_string(i), std::ios::binary) << bytes;
        replay.run(files[which].string() + " in corruption " + std::to_string(i), bytes);
    }
}

/// [--cut STRIDE | --corrupt COUNT | --corruption NUMBER] FILE OR FOLDER...
void run(std::vector<std::string> arguments, Replay& replay)
{
    std::string mode;
    std::size_t number = 0;
    if (arguments.size() > 2 && arguments[0].starts_with("--")) {
        mode = arguments[0];
        number = std::stoul(arguments[1]);
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    std::vector<fs::path> files;
    for (std::string const& argument : arguments)
        for (fs::path const& path : filesOf(argument))
            files.push_back(path);
    if (mode == "--cut")
        cut(files, std::max<std::size_t>(number, 1), replay);
    else if (mode == "--corrupt")
        corrupt(files, 0, number, replay);
    else if (mode == "--corruption")
        corrupt(files, number, number + 1, replay);
    else
        for (fs::path const& path : files)
            replay.run(path.string(), contentsOf(path));
}

}

int main(int argc, char** argv)
{
    nameInputAtSignals();
    try {
        Replay replay;
        run({argv + 1, argv + argc}, replay);
        return replay.finish() ? 0 : 1;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
