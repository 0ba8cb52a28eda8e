// The memory of a server while it serves far more values than it may hold: its peak, against the one
// before any value was asked for.

#include "client/Engine.h"
#include "client/ServerProcess.h"
#include "tests/filedata/FileBuilder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

using namespace varnox;

constexpr std::uint64_t NUM_NODES = 67'108'864; // of floats: 256 MiB
constexpr std::uint64_t VALUES_LOC = 1 << 20;   // where the built headers say that blocks begin

/// A brick zone whose values are a hole in the file, in subzones or plain.
class SparseFile
{
public:
    explicit SparseFile(char letter)
    {
        hdqio::tests::FileSpec spec;
        spec.zones[0].letter = letter;
        spec.zones[0].i = NUM_NODES;
        spec.zones[0].j = 256;
        spec.zones[0].hasConnectivity = false;
        std::string const headers = hdqio::tests::build(spec);
        std::ofstream(m_path, std::ios::binary) << headers;
        // Ranges of node and cell subzones, then the values.
        std::uint64_t const ranges = letter == 'B' ? (NUM_NODES / 256 + 1) * 8 : 0;
        std::filesystem::resize_file(m_path, VALUES_LOC + ranges + NUM_NODES * 4);
    }
    SparseFile(SparseFile const&) = delete;
    SparseFile& operator=(SparseFile const&) = delete;
    ~SparseFile() { std::remove(m_path.c_str()); }

    std::string const& path() const { return m_path; }

private:
    std::string m_path = "/tmp/vnxServerMemoryBench." + std::to_string(::getpid()) + ".hdqfs";
};

/// A number of kB that the kernel tells of a process; 0 once it has ended.
std::size_t statusOf(std::string const& process, std::string const& key)
{
    std::ifstream status("/proc/" + process + "/status");
    std::string word;
    std::size_t value = 0;
    while (status >> word)
        if (word == key && status >> value)
            return value;
    return 0;
}

/// The largest peak among a process and what it started, in MB.
double peakOf(pid_t root)
{
    std::size_t peak = statusOf(std::to_string(root), "VmHWM:");
    for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
        std::string const name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos &&
            statusOf(name, "PPid:") == static_cast<std::size_t>(root))
            peak = std::max(peak, statusOf(name, "VmHWM:"));
    }
    return static_cast<double>(peak) / 1e3;
}

void measure(benchmark::State& state, char letter)
{
    SparseFile const file(letter);
    for (auto _ : state) {
        auto const server =
            client::ServerProcess::startLocal(client::findServerProgram(), "");
        client::Engine engine(server->takeStream().release());
        pid_t const process = std::abs(server->killTarget());
        engine.load({file.path()});
        double const before = peakOf(process);
        std::size_t numValues = 0;
        if (letter == 'B')
            engine.allSubzoneValues(1, 1, [&](client::SubzoneAddress, client::Values const& values) {
                numValues += client::count(values);
            });
        else
            numValues = client::count(engine.values(1, 1));
        if (numValues != NUM_NODES)
            state.SkipWithError("values are missing");
        state.counters["MBserved"] = static_cast<double>(NUM_NODES) * 4 / 1e6;
        state.counters["MBbefore"] = before;
        state.counters["MBpeak"] = peakOf(process);
        engine.close();
    }
}

void bySubzone(benchmark::State& state)
{
    measure(state, 'B');
}

void wholeVariable(benchmark::State& state)
{
    measure(state, 'b');
}

BENCHMARK(bySubzone)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(wholeVariable)->Iterations(1)->Unit(benchmark::kMillisecond);

}
