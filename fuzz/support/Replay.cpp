// Runs a fuzz target over files, or over all files of folders, whole, cut or corrupted, and holds
// each input to its bounds.

#include "fuzz/support/Entry.h"
#include "fuzz/support/FileMutator.h"
#include "tests/filedata/AllocationMeter.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <ctime>

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

/// Runs targets and holds each input to its bounds.
class Replay
{
public:
    void run(std::string const& name, std::string const& bytes)
    {
        ++m_numInputs;
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

/// The files in turn, each time changed in another way, which its number determines.
void corrupt(std::vector<fs::path> const& files, std::size_t count, Replay& replay)
{
    std::vector<std::string> contents;
    for (fs::path const& path : files)
        contents.push_back(contentsOf(path));
    for (std::size_t i = 0; i < count && !contents.empty(); ++i) {
        std::mt19937_64 random(i);
        auto const mutateBytes = [&](std::uint8_t* bytes, std::size_t size, std::size_t) {
            for (std::size_t n = 1 + random() % 8; n > 0 && size > 0; --n)
                bytes[random() % size] = static_cast<std::uint8_t>(random());
            return size;
        };
        std::size_t const which = i % contents.size();
        std::string bytes = contents[which];
        varnox::fuzz::FileMutator(static_cast<unsigned>(i), mutateBytes)
            .mutate(bytes, bytes.size() + 1024);
        replay.run(files[which].string() + " in corruption " + std::to_string(i), bytes);
    }
}

/// [--cut STRIDE | --corrupt COUNT] FILE OR FOLDER...
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
        corrupt(files, number, replay);
    else
        for (fs::path const& path : files)
            replay.run(path.string(), contentsOf(path));
}

}

int main(int argc, char** argv)
{
    try {
        Replay replay;
        run({argv + 1, argv + argc}, replay);
        return replay.finish() ? 0 : 1;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
