#include "tests/faults/Tally.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace varnox::tests {

namespace {

/// Operations tried of one kind in one conversation, unless all are.
constexpr std::uint64_t NUM_SAMPLES = 12;

/// By scenario, in the order of their runs.
std::vector<std::pair<std::string, Tally>> tallies;
std::map<std::string, std::uint64_t> exceptions;

/// Prints the table behind the tests.
class Table : public testing::Environment
{
public:
    void TearDown() override
    {
        if (tallies.empty())
            return;
        std::printf("| Scenario | Operations | Faults | Unharmed | Refused | Ended | Otherwise |\n"
                    "|---|---:|---:|---:|---:|---:|---:|\n");
        Tally sum;
        for (auto const& [name, tally] : tallies) {
            print(name, tally);
            sum.operations += tally.operations;
            sum.faults += tally.faults;
            sum.injected += tally.injected;
            sum.unharmed += tally.unharmed;
            sum.refused += tally.refused;
            sum.ended += tally.ended;
            sum.otherwise += tally.otherwise;
        }
        print("all", sum);
        std::printf("Failed operations in all: %lu. Sessions that ended with\n",
                    static_cast<unsigned long>(sum.injected));
        for (auto const& [type, number] : exceptions)
            std::printf("%8lu %s\n", static_cast<unsigned long>(number), type.c_str());
    }

private:
    static void print(std::string const& name, Tally const& tally)
    {
        std::printf("| %s | %lu | %lu | %lu | %lu | %lu | %lu |\n", name.c_str(), tally.operations,
                    tally.faults, tally.unharmed, tally.refused, tally.ended, tally.otherwise);
    }
};

testing::Environment* const table = testing::AddGlobalTestEnvironment(new Table);

}

bool isFullSweep()
{
    char const* const value = std::getenv("VNX_FULL_SWEEP");
    return value != nullptr && std::strcmp(value, "1") == 0;
}

void record(std::string const& scenario, Tally const& tally)
{
    tallies.emplace_back(scenario, tally);
}

void recordException(std::string const& type)
{
    ++exceptions[type];
}

std::vector<std::uint64_t> samples(std::uint64_t numOperations, std::uint64_t phase)
{
    std::vector<std::uint64_t> result;
    if (isFullSweep() || numOperations <= NUM_SAMPLES) {
        for (std::uint64_t n = 1; n <= numOperations; ++n)
            result.push_back(n);
        return result;
    }
    for (std::uint64_t i = 0; i < NUM_SAMPLES; ++i)
        result.push_back(1 + (i * numOperations + phase % numOperations) / NUM_SAMPLES);
    return result;
}

}
