// The engine, the library and the HDQFS loader together: what searches find in every sample file,
// held against a scan over all values.

#include "client/Engine.h"
#include "client/Errors.h"
#include "socket/StreamSocket.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <random>
#include <set>

#include <csignal>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::client {
namespace {

constexpr int NUM_SEARCHES = 1000;

[[noreturn]] void serve(int descriptor)
{
    ::alarm(300);
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        ::_exit(3);
    try {
        socketutil::StreamSocket socket(descriptor, descriptor);
        hdqremote::AddonProxy proxy(VNX_LIB_DIR "/vnxhdqfsloader.so", socket);
        proxy.serviceCommandsUntil("close data server");
    } catch (std::exception const& error) {
        std::fprintf(stderr, "The server ended: %s\n", error.what());
        ::_exit(1);
    }
    ::_exit(0);
}

struct Sample
{
    std::string name;
    std::vector<std::string> paths;
};

/// Every sample of a folder: X_grid.hdqfs with all X_tNN.hdqfs, other files by themselves.
/// VNX_SAMPLE_DATA names another folder than that of the examples.
std::vector<Sample> samples()
{
    char const* const other = std::getenv("VNX_SAMPLE_DATA");
    std::string const folder = other != nullptr ? other : VNX_SOURCE_DIR "/examples/data";
    std::set<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".hdqfs")
            names.insert(entry.path().stem());
    auto const pathOf = [&](std::string const& name) { return folder + "/" + name + ".hdqfs"; };
    std::vector<Sample> result;
    for (std::string const& name : names) {
        std::size_t const grid = name.rfind("_grid");
        if (grid == std::string::npos || grid + 5 != name.size())
            continue;
        Sample sample{name.substr(0, grid), {pathOf(name)}};
        for (std::string const& solution : names)
            if (solution.rfind(sample.name + "_t", 0) == 0)
                sample.paths.push_back(pathOf(solution));
        result.push_back(sample);
    }
    for (std::string const& name : names) {
        bool const isPart = std::any_of(result.begin(), result.end(), [&](Sample const& sample) {
            return std::find(sample.paths.begin(), sample.paths.end(), pathOf(name)) !=
                   sample.paths.end();
        });
        if (!isPart)
            result.push_back({name, {pathOf(name)}});
    }
    return result;
}

void PrintTo(Sample const& sample, std::ostream* out)
{
    *out << sample.name;
}

struct FetchedSubzone
{
    FetchedSubzone(SubzoneAddress at, std::vector<double> all)
        : address(at), values(std::move(all))
    {
    }

    SubzoneAddress address;
    std::vector<double> values;
    Range range{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
};

std::vector<double> asDoubles(Values const& values)
{
    return std::visit(
        [](auto const& vector) { return std::vector<double>(vector.begin(), vector.end()); },
        values);
}

class SearchesOf : public testing::TestWithParam<Sample>
{
protected:
    void SetUp() override
    {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        std::fflush(stdout);
        server = ::fork();
        if (server == 0) {
            ::close(ends[0]);
            serve(ends[1]);
        }
        ::close(ends[1]);
        engine = std::make_unique<Engine>(ends[0]);
        engine->load(GetParam().paths);
    }

    void TearDown() override
    {
        engine->close();
        engine.reset();
        int status = 0;
        ::waitpid(server, &status, 0);
        EXPECT_EQ(status, 0);
    }

    /// All values of a variable, fetched once.
    std::vector<FetchedSubzone> const& fetched(int zone, int var)
    {
        auto& result = m_fetched[{zone, var}];
        if (!result.empty())
            return result;
        engine->allSubzoneValues(zone, var, [&](SubzoneAddress address, Values const& values) {
            FetchedSubzone subzone(address, asDoubles(values));
            for (double const value : subzone.values) {
                subzone.range.min = std::min(subzone.range.min, value);
                subzone.range.max = std::max(subzone.range.max, value);
            }
            result.push_back(std::move(subzone));
        });
        return result;
    }

    /// The numbers of the variables of a zone that can be fetched, by where they stand.
    std::vector<int> variables(Zone const& zone, ValueLocation_e location) const
    {
        std::vector<int> result;
        for (std::size_t v = 0; v < zone.variables.size(); ++v)
            if (zone.variables[v].location == location && !zone.variables[v].isPassive)
                result.push_back(static_cast<int>(v) + 1);
        return result;
    }

    pid_t server = -1;
    std::unique_ptr<Engine> engine;

private:
    std::map<std::pair<int, int>, std::vector<FetchedSubzone>> m_fetched;
};

INSTANTIATE_TEST_SUITE_P(Samples, SearchesOf, testing::ValuesIn(samples()),
                         [](auto const& test) { return test.param.name; });

TEST_P(SearchesOf, FindAllSubzonesThatAScanOfTheValuesFinds)
{
    unsigned const seed = 4711;
    std::cout << "seed " << seed << "\n";
    std::mt19937_64 random(seed);
    std::vector<int> zones;
    for (Zone const& zone : engine->dataSet().zones)
        if (zone.hasIdentityQueries)
            zones.push_back(zone.number);
    ASSERT_FALSE(zones.empty());

    std::size_t numScanned = 0;
    std::size_t numPairs = 0;
    for (int search = 0; search < NUM_SEARCHES; ++search) {
        int const zone = zones[random() % zones.size()];
        ValueLocation_e location =
            random() % 4 == 0 ? ValueLocation_CellCentered : ValueLocation_Nodal;
        std::vector<int> candidates = variables(*engine->dataSet().zone(zone), location);
        if (candidates.empty()) {
            location = ValueLocation_Nodal;
            candidates = variables(*engine->dataSet().zone(zone), location);
        }
        std::size_t const numVars = 1 + random() % std::min<std::size_t>(candidates.size(), 2);
        numPairs += numVars == 2;

        // Values of one item most of the time, so that something is found, else anything near.
        std::vector<WantedValue> wanted;
        std::size_t const item = random();
        for (std::size_t k = 0; k < numVars; ++k) {
            int const var = candidates[random() % candidates.size()];
            auto const& subzones = fetched(zone, var);
            FetchedSubzone const& from =
                subzones[(search % 3 == 0 ? random() : item) % subzones.size()];
            if (from.values.empty())
                wanted.push_back({var, 0});
            else if (search % 5 == 0)
                wanted.push_back({var, from.range.min + std::uniform_real_distribution<double>(
                                                            -0.1, 1.1)(random) *
                                                            (from.range.max - from.range.min)});
            else
                wanted.push_back({var, from.values[item % from.values.size()]});
        }

        auto const found = engine->subzonesThatMayHold(zone, wanted, location);
        std::set<SubzoneAddress> const asSet(found.begin(), found.end());
        auto const& first = fetched(zone, wanted[0].var);
        for (std::size_t s = 0; s < first.size(); ++s) {
            bool mayHold = true;
            for (WantedValue const& each : wanted) {
                FetchedSubzone const& subzone = fetched(zone, each.var)[s];
                ASSERT_EQ(subzone.address, first[s].address);
                mayHold =
                    mayHold && each.value >= subzone.range.min && each.value <= subzone.range.max;
            }
            numScanned += mayHold;
            ASSERT_TRUE(!mayHold || asSet.count(first[s].address) == 1U)
                << "seed " << seed << ", search " << search << ", zone " << zone << ", subzone "
                << textOf(first[s].address) << ", variable " << wanted[0].var << " = "
                << wanted[0].value;
        }
        // These ranges are those of the values themselves, so nothing else is found either.
        std::size_t numExpected = 0;
        for (std::size_t s = 0; s < first.size(); ++s)
            numExpected += std::all_of(wanted.begin(), wanted.end(), [&](WantedValue const& each) {
                Range const range = fetched(zone, each.var)[s].range;
                return each.value >= range.min && each.value <= range.max;
            });
        ASSERT_EQ(found.size(), numExpected) << "seed " << seed << ", search " << search;
    }
    EXPECT_GT(numScanned, std::size_t{NUM_SEARCHES});
    EXPECT_GT(numPairs, std::size_t{NUM_SEARCHES} / 4);
}

TEST_P(SearchesOf, RangesOfPartitionsAndSubzonesAreThoseOfTheValues)
{
    for (Zone const& zone : engine->dataSet().zones) {
        for (std::size_t v = 0; v < zone.variables.size(); ++v) {
            ZoneVariable const& variable = zone.variables[v];
            if (!zone.hasIdentityQueries || variable.isPassive)
                continue;
            int const var = static_cast<int>(v) + 1;
            auto const partitions = engine->partitionRanges(zone.number, var);
            auto subzone = fetched(zone.number, var).begin();
            for (std::uint32_t p = 0; p < partitions.size(); ++p) {
                Range whole{std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity()};
                for (Range const& range : engine->subzoneRanges(zone.number, var, p)) {
                    ASSERT_EQ(subzone->address.partition(), p);
                    ASSERT_EQ(range.min, subzone->range.min) << zone.number << " " << var;
                    ASSERT_EQ(range.max, subzone->range.max);
                    whole.min = std::min(whole.min, range.min);
                    whole.max = std::max(whole.max, range.max);
                    ++subzone;
                }
                ASSERT_EQ(whole.min, partitions[p].min) << zone.number << " " << var << " " << p;
                ASSERT_EQ(whole.max, partitions[p].max);
            }
            EXPECT_EQ(subzone, fetched(zone.number, var).end());
        }
    }
}

TEST_P(SearchesOf, EveryVariableExistsAndADuplicateFindsTheSame)
{
    int const zone = std::find_if(engine->dataSet().zones.begin(), engine->dataSet().zones.end(),
                                  [](Zone const& each) { return each.hasIdentityQueries; })
                         ->number;
    int const numVars = static_cast<int>(engine->dataSet().variables.size());
    int const copy = engine->duplicateZone(engine->duplicateZone(zone));
    for (int var = 1; var <= numVars; ++var) {
        EXPECT_TRUE(engine->hasVariable(zone, var));
        EXPECT_TRUE(engine->hasVariable(copy, var));
        ZoneVariable const& variable =
            engine->dataSet().zone(zone)->variables.at(static_cast<std::size_t>(var - 1));
        if (variable.isPassive)
            continue;
        for (ValueLocation_e const kind : {ValueLocation_Nodal, ValueLocation_CellCentered})
            EXPECT_EQ(engine->subzonesThatMayHold(copy, {{var, variable.range->max}}, kind),
                      engine->subzonesThatMayHold(zone, {{var, variable.range->max}}, kind));
        if (engine->hasSubzoneValues(copy, var))
            engine->subzoneValues(copy, var, {fetched(zone, var).front().address},
                                  [&](SubzoneAddress, Values const& values) {
                                      EXPECT_EQ(asDoubles(values),
                                                fetched(zone, var).front().values);
                                  });
    }
}

TEST_P(SearchesOf, PlanesCoverTheOrderedZone)
{
    for (Zone const& zone : engine->dataSet().zones) {
        if (!zone.hasOrderedQueries)
            continue;
        for (ValueLocation_e const kind : {ValueLocation_Nodal, ValueLocation_CellCentered}) {
            auto const all = engine->subzonesThatMayHold(zone.number, {}, kind);
            for (Axis const axis : {Axis::I, Axis::J, Axis::K}) {
                std::set<SubzoneAddress> onPlanes;
                std::int64_t const nodes = zone.size[static_cast<std::size_t>(axis)];
                std::int64_t const count = kind == ValueLocation_Nodal ? nodes : nodes - 1;
                for (std::int64_t index = 0; index < count; ++index)
                    for (SubzoneAddress const address :
                         engine->subzonesOfPlane(zone.number, axis, index, kind))
                        onPlanes.insert(address);
                EXPECT_EQ(std::vector<SubzoneAddress>(onPlanes.begin(), onPlanes.end()), all);
            }
            auto const line = engine->subzonesOfLine(zone.number, Axis::J, 1, 2, kind);
            auto const planeI = engine->subzonesOfPlane(zone.number, Axis::I, 1, kind);
            auto const planeK = engine->subzonesOfPlane(zone.number, Axis::K, 2, kind);
            std::vector<SubzoneAddress> onBoth;
            std::set_intersection(planeI.begin(), planeI.end(), planeK.begin(), planeK.end(),
                                  std::back_inserter(onBoth));
            EXPECT_EQ(line, onBoth);
            EXPECT_FALSE(line.empty());
        }
    }
}

}
}
