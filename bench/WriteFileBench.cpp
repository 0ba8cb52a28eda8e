// Writing a binary file of one GB of float values, against fwrite of as many bytes from the same
// memory, each up to the moment when they are on the disk, and up to the moment when the kernel has
// them.

#include "bench/OtherProcess.h"
#include "varnox/hdqfswriter/FileWriter.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using namespace varnox;

constexpr std::uint32_t NUM_VARS = 8;

/// One array is the values of all variables.
class SameValues final : public hdqfswriter::ZoneSource
{
public:
    explicit SameValues(std::size_t count) : m_values(count)
    {
        for (std::size_t i = 0; i < count; ++i)
            m_values[i] = static_cast<float>(i * 7919 % 100003);
    }

    std::vector<float> const& values() const { return m_values; }

    void const* values(std::uint32_t, std::uint32_t, void*) override { return m_values.data(); }
    void const* boxValues(hdqfswriter::Box const&, std::uint32_t, void*) override
    {
        return m_values.data();
    }

private:
    std::vector<float> m_values;
};

enum Kind { InSubzones, Plain };

hdqfswriter::DataSet dataSetOf(std::shared_ptr<SameValues> const& source, std::uint64_t side,
                               Kind kind)
{
    hdqfswriter::Zone zone;
    zone.name = "zone";
    zone.size = {side, side, side};
    zone.isInSubzones = kind == InSubzones;
    zone.variables.resize(NUM_VARS);
    zone.source = source;
    hdqfswriter::DataSet result;
    for (std::uint32_t v = 0; v < NUM_VARS; ++v)
        result.variableNames.push_back("variable " + std::to_string(v + 1));
    result.zones = {zone};
    return result;
}

/// The arguments are the nodes along an axis, and the kind of the zone.
void writeFile(benchmark::State& state)
{
    auto const side = static_cast<std::uint64_t>(state.range(0));
    auto const source = std::make_shared<SameValues>(side * side * side);
    auto const dataSet = dataSetOf(source, side, static_cast<Kind>(state.range(1)));
    // A disk that gets slower while it is busy says little: TMPDIR may name a folder in memory.
    char const* const chosen = std::getenv("TMPDIR");
    std::string const folder = chosen != nullptr ? chosen : "/var/tmp";
    std::string const path = folder + "/vnxWriteFileBench." + std::to_string(::getpid());

    auto const plain = [&](bool isSynced) {
        std::FILE* const stream = std::fopen(path.c_str(), "wb");
        for (std::uint32_t v = 0; v < NUM_VARS; ++v)
            std::fwrite(source->values().data(), sizeof(float), source->values().size(), stream);
        std::fflush(stream);
        if (isSynced)
            ::fsync(::fileno(stream));
        std::fclose(stream);
        std::remove(path.c_str());
    };
    std::uint64_t numBytes = 0;
    auto const write = [&] { numBytes = hdqfswriter::writeFile(path, dataSet, {}).numBytes; };
    std::uint64_t const numValueBytes = NUM_VARS * source->values().size() * sizeof(float);
    plain(true);
    double syncedSeconds = 0;
    double unsyncedSeconds = 0;
    double writeSeconds = 0;
    for (auto _ : state) {
        unsyncedSeconds += bench::secondsOf([&] { plain(false); });
        syncedSeconds += bench::secondsOf([&] { plain(true); });
        double const seconds = bench::secondsOf(write);
        writeSeconds += seconds;
        state.SetIterationTime(seconds);
        std::remove(path.c_str());
    }
    if (numBytes < numValueBytes)
        state.SkipWithError("the file is too short");
    state.counters["GB"] = static_cast<double>(numValueBytes) / 1e9;
    state.counters["ofFwriteToDisk"] = syncedSeconds / writeSeconds;
    state.counters["ofFwriteToKernel"] = unsyncedSeconds / writeSeconds;
}

BENCHMARK(writeFile)
    ->Args({64, InSubzones})
    ->Args({315, InSubzones})
    ->Args({315, Plain})
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

}
