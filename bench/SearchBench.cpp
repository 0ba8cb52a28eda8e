// A search by value over a million subzones, through the loader's query objects, against a scan of
// the same ranges one after the other.

#include "addons/hdqfs/QueryObjects.h"
#include "addons/hdqfs/SubzoneOrder.h"
#include "filedata/MinMaxTree.h"
#include "tests/filedata/FileBuilder.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using namespace varnox;
using hdqio::MinMax;
using SubzoneAddress = ItemAddress<long>::SubzoneAddress;
using Clock = std::chrono::steady_clock;

// Cubes of 256 nodes each, 128 x 128 x 64 of them.
constexpr std::uint32_t SIZES[3] = {128, 128, 64};
constexpr std::uint32_t NUM_SUBZONES = SIZES[0] * SIZES[1] * SIZES[2];
constexpr std::uint64_t RANGES_LOC = 1 << 20; // where the built headers say that ranges begin
constexpr long VARIABLE_ID = 7;

/// In which order the cubes are numbered.
enum class Order { Curve, Rows };

/// Every third bit of a number.
std::uint32_t everyThirdBit(std::uint32_t number)
{
    std::uint32_t result = 0;
    for (std::uint32_t bit = 0; bit < 10; ++bit)
        result |= (number >> (3 * bit) & 1) << bit;
    return result;
}

/// The distance from a point inside the box, a field as smooth as a pressure: its range in a cube.
MinMax rangeOf(std::uint32_t subzone, Order order)
{
    std::uint32_t const place[3] = {
        order == Order::Curve ? everyThirdBit(subzone) : subzone % SIZES[0],
        order == Order::Curve ? everyThirdBit(subzone >> 1) : subzone / SIZES[0] % SIZES[1],
        order == Order::Curve ? everyThirdBit(subzone >> 2) : subzone / (SIZES[0] * SIZES[1])};
    constexpr double CENTRE[3] = {61.3, 70.9, 29.6};
    double nearest = 0;
    double farthest = 0;
    for (int axis = 0; axis < 3; ++axis) {
        double const low = place[axis] - CENTRE[axis];
        double const high = low + 1;
        double const near = low > 0 ? low : high < 0 ? -high : 0;
        double const far = std::max(std::abs(low), std::abs(high));
        nearest += near * near;
        farthest += far * far;
    }
    return {std::sqrt(nearest), std::sqrt(farthest)};
}

/// A zone with the ranges of its node subzones: finite elements along a curve, an ordered zone in
/// rows of bricks of 6 x 6 x 6 nodes. Its values are a hole in the file.
class RangesFile
{
public:
    explicit RangesFile(Order order)
    {
        hdqio::tests::FileSpec spec;
        spec.vars[0].type = 2;
        spec.zones[0].hasConnectivity = false;
        if (order == Order::Curve) {
            spec.zones[0].letter = 'B';
            spec.zones[0].i = std::uint64_t{NUM_SUBZONES} * 256;
            spec.zones[0].j = 256;
        } else {
            spec.zones[0].letter = 'O';
            spec.zones[0].i = SIZES[0] * 6 - 1;
            spec.zones[0].j = SIZES[1] * 6 - 1;
            spec.zones[0].k = SIZES[2] * 6 - 1;
        }
        std::vector<MinMax> ranges;
        for (std::uint32_t subzone = 0; subzone < NUM_SUBZONES; ++subzone)
            ranges.push_back(rangeOf(subzone, order));
        std::ofstream file(m_path, std::ios::binary);
        file << hdqio::tests::build(spec);
        file.seekp(RANGES_LOC);
        file.write(reinterpret_cast<char const*>(ranges.data()),
                   static_cast<std::streamsize>(ranges.size() * sizeof(MinMax)));
        file.close();
        std::filesystem::resize_file(m_path, RANGES_LOC + 2 * NUM_SUBZONES * sizeof(MinMax) +
                                                 std::uint64_t{NUM_SUBZONES} * 256 * 8);
    }
    RangesFile(RangesFile const&) = delete;
    RangesFile& operator=(RangesFile const&) = delete;
    ~RangesFile() { std::remove(m_path.c_str()); }

    std::string const& path() const { return m_path; }

private:
    std::string m_path = "/tmp/vnxSearchBench." + std::to_string(::getpid()) + ".hdqfs";
};

/// Keeps the object that searches.
class Registration final : public hdq::DataSetRegistrationInterface
{
public:
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface*,
                                               hdq::NodeConnectivityQueryInterface*, int) override
    {
    }
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface*,
                                               hdq::NodeConnectivityQueryInterface*,
                                               hdq::OrderedSubzoneQueryInterface*, int) override
    {
    }
    void registerZoneVarIDQueryServices(hdq::ZoneVarIDQueryInterface* object, int) override
    {
        identity = object;
    }
    void registerVarQueryServices(hdq::VarValueQueryInterface*, hdq::VarValueQueryInterface*,
                                  hdq::VarSubzoneQueryInterface*, int, int) override
    {
    }

    hdq::ZoneVarIDQueryInterface* identity = nullptr;
};

std::vector<std::uint64_t> search(hdq::ZoneVarIDQueryInterface& identity, double value)
{
    long id = VARIABLE_ID;
    SubzoneAddress* owner = nullptr;
    RawArray<SubzoneAddress> found{&owner, nullptr, 0, 0};
    identity.findNodeSubzones({nullptr, &value, 1, 1}, {nullptr, &id, 1, 1}, found);
    std::vector<std::uint64_t> words;
    words.reserve(found.size);
    for (std::uint64_t i = 0; i < found.size; ++i)
        words.push_back(found.data[i].word());
    delete[] owner;
    return words;
}

std::vector<std::uint64_t> scan(std::vector<MinMax> const& ranges, double value)
{
    std::vector<std::uint64_t> words;
    for (std::uint32_t subzone = 0; subzone < ranges.size(); ++subzone)
        if (value >= ranges[subzone].min && value <= ranges[subzone].max)
            words.push_back(SubzoneAddress(0, 0, subzone).word());
    return words;
}

/// Ranges that a search looks at, from an entry of a level down: of the level above the bottom 64
/// for each that holds the value, and so on.
std::uint64_t countTouched(hdqio::MinMaxTree const& tree, double value, std::uint32_t level,
                           std::uint64_t first, std::uint64_t last)
{
    std::uint64_t touched = last - first;
    for (std::uint64_t e = first; level > 0 && e < last; ++e)
        if (value >= tree.levels[level][e].min && value <= tree.levels[level][e].max)
            touched +=
                countTouched(tree, value, level - 1, 64 * e,
                             std::min<std::uint64_t>(64 * e + 64, tree.levels[level - 1].size()));
    return touched;
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void searchByValue(benchmark::State& state, Order order)
{
    RangesFile const file(order);
    hdqfsloader::DataSet dataSet({file.path()});
    hdqfsloader::QueryObjects objects(dataSet, {VARIABLE_ID});
    Registration registration;
    objects.registerAll(registration);

    std::vector<MinMax> ranges;
    for (std::uint32_t subzone = 0; subzone < NUM_SUBZONES; ++subzone)
        ranges.push_back(rangeOf(subzone, order));
    hdqio::MinMaxTree tree;
    tree.alloc(NUM_SUBZONES);
    // As the loader has them in its trees.
    std::vector<std::uint32_t> const entries =
        hdqfsloader::subzoneOrder(dataSet.grid(0).file->layout(0, 0, hdqfsloader::Items::Nodes));
    for (std::uint32_t entry = 0; entry < NUM_SUBZONES; ++entry)
        tree.levels[0][entry] = ranges[entries.empty() ? entry : entries[entry]];
    tree.populateTree(NUM_SUBZONES);

    auto const start = Clock::now();
    search(*registration.identity, 1000);
    double const first = secondsSince(start);

    for (double const value : {0.2, 2.0, 1000.0, 60.0}) // few, none and many
        if (search(*registration.identity, value) != scan(ranges, value))
            state.SkipWithError("the search and the scan differ");

    // Of spheres with 0.1 % of the subzones on them.
    constexpr double VALUES[] = {7.2, 7.3, 7.4, 7.5};
    std::uint64_t hits = 0;
    std::uint64_t touched = 0;
    for (double const value : VALUES) {
        auto const found = search(*registration.identity, value);
        if (found != scan(ranges, value))
            state.SkipWithError("the search and the scan differ");
        hits += found.size();
        touched += countTouched(tree, value, hdqio::MinMaxTree::NUM_LEVELS - 1, 0, 1);
    }

    // Of each the fastest run, as other work on the machine slows some down.
    double searching[std::size(VALUES)];
    double scanning[std::size(VALUES)];
    std::fill(std::begin(searching), std::end(searching), HUGE_VAL);
    std::fill(std::begin(scanning), std::end(scanning), HUGE_VAL);
    for (auto _ : state) {
        for (std::size_t v = 0; v < std::size(VALUES); ++v) {
            auto const beforeSearch = Clock::now();
            benchmark::DoNotOptimize(search(*registration.identity, VALUES[v]));
            searching[v] = std::min(searching[v], secondsSince(beforeSearch));
            auto const beforeScan = Clock::now();
            benchmark::DoNotOptimize(scan(ranges, VALUES[v]));
            scanning[v] = std::min(scanning[v], secondsSince(beforeScan));
        }
    }
    double const total = std::accumulate(std::begin(searching), std::end(searching), 0.0);
    double const numRanges = static_cast<double>(std::size(VALUES)) * NUM_SUBZONES;
    state.counters["hits%"] = 100 * static_cast<double>(hits) / numRanges;
    state.counters["touched%"] = 100 * static_cast<double>(touched) / numRanges;
    state.counters["timesFaster"] =
        std::accumulate(std::begin(scanning), std::end(scanning), 0.0) / total;
    state.counters["us"] = 1e6 * total / static_cast<double>(std::size(VALUES));
    state.counters["firstMs"] = 1e3 * first;
}

/// Numbered along a curve through space, as the nodes of a mesh are by writers that care.
void alongACurve(benchmark::State& state)
{
    searchByValue(state, Order::Curve);
}

/// Numbered row after row, as the bricks of an ordered zone are.
void rowAfterRow(benchmark::State& state)
{
    searchByValue(state, Order::Rows);
}

BENCHMARK(alongACurve)->Unit(benchmark::kMillisecond);
BENCHMARK(rowAfterRow)->Unit(benchmark::kMillisecond);

}
