// A call of the host API through the exported function of the shared library, against a virtual call.

#include "bench/OtherProcess.h"
#include "varnox/hostapi/VnxMock.h"
#include "varnox/hostapi/VnxUtil.h"

#include <benchmark/benchmark.h>

namespace {

class Host : public varnox::VnxMock
{
public:
    int VnxUtilDataSetGetNumZones() override { return ++calls; }
    int calls = 0;
};

constexpr int CALLS = 100'000;

void exportedFunction(benchmark::State& state)
{
    Host host;
    varnox::VnxMock* direct = &host;
    benchmark::DoNotOptimize(direct);
    double virtualSeconds = 0;
    double exportedSeconds = 0;
    for (auto _ : state) {
        virtualSeconds += varnox::bench::secondsOf([&] {
            for (int i = 0; i < CALLS; ++i)
                benchmark::DoNotOptimize(direct->VnxUtilDataSetGetNumZones());
        });
        exportedSeconds += varnox::bench::secondsOf([&] {
            for (int i = 0; i < CALLS; ++i)
                benchmark::DoNotOptimize(::VnxUtilDataSetGetNumZones());
        });
    }
    double const calls = static_cast<double>(state.iterations()) * CALLS;
    if (host.calls != static_cast<int>(2 * calls))
        state.SkipWithError("a call was lost");
    state.counters["virtualNs"] = virtualSeconds / calls * 1e9;
    state.counters["exportedNs"] = exportedSeconds / calls * 1e9;
    state.counters["moreNs"] = (exportedSeconds - virtualSeconds) / calls * 1e9;
}

BENCHMARK(exportedFunction);

}
