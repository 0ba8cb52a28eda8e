// A load of many zones: how often it waits for the client, and what a zone costs.

#include "bench/OtherProcess.h"
#include "socket/StreamSocket.h"
#include "varnox/hdqremote/AddonProxy.h"
#include "varnox/socketutil/WriteCache.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace varnox;
using socketutil::StreamSocket;
using socketutil::WriteCache;

/// A client that accepts everything at once. Counts the waits: the turns from sending to receiving.
class AcceptingSocket : public StreamSocket
{
public:
    explicit AcceptingSocket(std::string path) : StreamSocket(-1, -1), m_path(std::move(path)) {}

    void sendString(std::string const& text) override { sent(text.size()); }
    void sendUInt32(std::uint32_t) override { sent(4); }
    void sendCache(WriteCache& cache) override { sent(cache.size()); }
    std::string receiveString() override
    {
        received();
        switch (m_numStrings++) {
        case 0:
            return "load dataset";
        case 1:
            return m_path;
        default:
            return m_isLoaded ? "close data server" : "command finished";
        }
    }
    int receiveInt() override
    {
        received();
        m_isLoaded = true; // the end of the load alone asks for a plain int
        return 1;
    }
    std::uint32_t receiveUInt32() override
    {
        received();
        return 1;
    }
    std::vector<long> receiveInt64Vector() override
    {
        received();
        return {};
    }

    std::size_t numWaits = 0;
    std::size_t numBytes = 0;

private:
    void sent(std::size_t bytes)
    {
        m_hasSent = true;
        numBytes += bytes;
    }
    void received()
    {
        numWaits += m_hasSent;
        m_hasSent = false;
    }

    std::string m_path;
    int m_numStrings = 0;
    bool m_isLoaded = false;
    bool m_hasSent = false;
};

/// The argument is the number of zones. A load of 1,000 zones is timed by turns with it.
void loadSequence(benchmark::State& state)
{
    auto const load = [](long numZones, std::size_t& numWaits, std::size_t& numBytes) {
        ::setenv("VNX_BENCH_ZONES", std::to_string(numZones).c_str(), 1);
        AcceptingSocket socket(VNX_BENCH_SAMPLE);
        hdqremote::AddonProxy proxy(VNX_BENCH_ADDON, socket);
        double const seconds =
            bench::secondsOf([&] { proxy.serviceCommandsUntil("close data server"); });
        numWaits = socket.numWaits;
        numBytes = socket.numBytes;
        return seconds / static_cast<double>(numZones);
    };
    double smallSeconds = 0;
    double seconds = 0;
    std::size_t numWaits = 0;
    std::size_t numBytes = 0;
    for (auto _ : state) {
        smallSeconds += load(1000, numWaits, numBytes);
        double const perZone = load(state.range(0), numWaits, numBytes);
        seconds += perZone;
        state.SetIterationTime(perZone * static_cast<double>(state.range(0)));
    }
    state.counters["waits"] = static_cast<double>(numWaits);
    state.counters["waitsPer15000Bytes"] =
        static_cast<double>(numWaits) / (static_cast<double>(numBytes) / 15000);
    state.counters["usPerZone"] = seconds / static_cast<double>(state.iterations()) * 1e6;
    state.counters["ofCostPerZoneAt1000"] = seconds / smallSeconds;
    // The batch grows past the limit before it is sent, so there are fewer waits than that; a few
    // commands of a load wait by themselves.
    if (numWaits > numBytes / 15000 + 5)
        state.SkipWithError("too many waits");
}

BENCHMARK(loadSequence)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}
