// Runs a fuzz target over files, or over all files of folders, and holds each input to its bounds.

#include "fuzz/support/Entry.h"
#include "tests/filedata/AllocationMeter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Whatever an input says, reading n bytes takes less than this of memory and of time.
std::size_t mostMemory(std::size_t n)
{
    return (std::size_t{64} << 20) + 2 * n;
}

std::chrono::duration<double> longestTime(std::size_t n)
{
    return std::chrono::duration<double>(1.0 + static_cast<double>(n) / 1e7);
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

bool replay(fs::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        std::fprintf(stderr, "%s can't be read.\n", path.c_str());
        return false;
    }
    // On the heap without room to spare, so that an address sanitizer sees its end.
    std::vector<std::uint8_t> const input(bytes.begin(), bytes.end());
    std::size_t peak = 0;
    auto const start = std::chrono::steady_clock::now();
    {
        varnox::hdqio::tests::AllocationMeter const meter;
        LLVMFuzzerTestOneInput(input.data(), input.size());
        peak = meter.peak();
    }
    std::chrono::duration<double> const time = std::chrono::steady_clock::now() - start;
    if (peak > mostMemory(input.size()))
        std::fprintf(stderr, "%s took %zu bytes of memory.\n", path.c_str(), peak);
    if (time > longestTime(input.size()))
        std::fprintf(stderr, "%s took %.2f seconds.\n", path.c_str(), time.count());
    return peak <= mostMemory(input.size()) && time <= longestTime(input.size());
}

}

int main(int argc, char** argv)
{
    std::size_t numInputs = 0;
    std::size_t numFailures = 0;
    for (int i = 1; i < argc; ++i)
        for (fs::path const& path : filesOf(argv[i])) {
            ++numInputs;
            numFailures += replay(path) ? 0 : 1;
        }
    std::printf("%zu inputs, %zu beyond their bounds\n", numInputs, numFailures);
    return numInputs != 0 && numFailures == 0 ? 0 : 1;
}
