// Opening a file with many zones, against reading as many bytes of it with plain fread; and the memory
// that is then held, against the size of what was read.

#include "bench/OtherProcess.h"
#include "filedata/FileSetMetadata.h"
#include "tests/filedata/FileBuilder.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <malloc.h>

namespace {

using namespace varnox;

constexpr int NUM_VARS = 20;

/// Bytes that this process has read from files so far.
std::size_t bytesRead()
{
    std::ifstream statistics("/proc/self/io");
    std::string word;
    std::size_t count = 0;
    while (statistics >> word >> count)
        if (word == "rchar:")
            return count;
    return 0;
}

std::size_t heapInUse()
{
    struct mallinfo2 const info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

class BuiltFile
{
public:
    explicit BuiltFile(std::size_t numZones)
    {
        hdqio::tests::FileSpec spec;
        hdqio::tests::ZoneSpec zone;
        zone.letter = 'o';
        spec.zones.assign(numZones, zone);
        for (std::size_t z = 0; z < numZones; ++z)
            spec.zones[z].name = "zone number " + std::to_string(z + 1);
        spec.vars.assign(NUM_VARS, hdqio::tests::VarSpec());
        for (int v = 0; v < NUM_VARS; ++v)
            spec.vars[static_cast<std::size_t>(v)].name = "variable " + std::to_string(v + 1);
        std::string const contents = hdqio::tests::build(spec);
        std::ofstream(m_path, std::ios::binary) << contents;
    }
    BuiltFile(BuiltFile const&) = delete;
    BuiltFile& operator=(BuiltFile const&) = delete;
    ~BuiltFile() { std::remove(m_path.c_str()); }

    std::string const& path() const { return m_path; }

private:
    std::string m_path = "/tmp/vnxOpenFileBench." + std::to_string(::getpid()) + ".hdqfs";
};

/// The argument is the number of zones.
void openFile(benchmark::State& state)
{
    BuiltFile const file(static_cast<std::size_t>(state.range(0)));
    std::size_t const readBefore = bytesRead();
    std::size_t const heapBefore = heapInUse();
    auto metadata = std::make_unique<hdqio::FileSetMetadata>(std::vector<std::string>{file.path()});
    std::size_t const heapBytes = heapInUse() - heapBefore;
    std::size_t const byteCount = bytesRead() - readBefore;
    if (metadata->numFileSetZones() != state.range(0) || metadata->numFileSetVars() != NUM_VARS)
        state.SkipWithError("wrong metadata");
    metadata.reset();

    // Into memory that was used before, which is the stricter floor, and into fresh memory.
    auto const readInto = [&](char* buffer) {
        std::FILE* const stream = std::fopen(file.path().c_str(), "rb");
        benchmark::DoNotOptimize(std::fread(buffer, 1, byteCount, stream));
        std::fclose(stream);
    };
    std::vector<char> used(byteCount);
    auto const read = [&] { readInto(used.data()); };
    auto const readFresh = [&] {
        std::unique_ptr<char[]> const buffer(new char[byteCount]);
        readInto(buffer.get());
    };
    auto const open = [&] {
        metadata = std::make_unique<hdqio::FileSetMetadata>(std::vector<std::string>{file.path()});
    };
    read();
    double readSeconds = 0;
    double freshSeconds = 0;
    double openSeconds = 0;
    for (auto _ : state) {
        readSeconds += bench::secondsOf(read);
        freshSeconds += bench::secondsOf(readFresh);
        double const seconds = bench::secondsOf(open);
        openSeconds += seconds;
        state.SetIterationTime(seconds);
        metadata.reset(); // outside both times
    }
    state.counters["MB"] = static_cast<double>(byteCount) / 1e6;
    state.counters["timesReading"] = openSeconds / readSeconds;
    state.counters["timesReadingFresh"] = openSeconds / freshSeconds;
    state.counters["timesSize"] = static_cast<double>(heapBytes) / static_cast<double>(byteCount);
}

BENCHMARK(openFile)->Arg(1000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond);

}
