#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::tests {

/// How the runs of one scenario with a fault ended.
struct Tally
{
    std::uint64_t operations = 0;
    std::uint64_t faults = 0;   ///< Runs in which at least one operation failed.
    std::uint64_t injected = 0; ///< Operations that failed in them.
    std::uint64_t unharmed = 0;
    std::uint64_t refused = 0;
    std::uint64_t ended = 0;
    std::uint64_t otherwise = 0;
};

/// For the table that is printed behind the tests.
void record(std::string const& scenario, Tally const& tally);
void recordException(std::string const& type);

bool isFullSweep();
/// The operations to be tried: all in a full sweep, else some from the first to the last.
std::vector<std::uint64_t> samples(std::uint64_t numOperations, std::uint64_t phase);

}
