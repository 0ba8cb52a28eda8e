#pragma once

#include "tests/faults/Faults.h"
#include "tests/faults/Talk.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace varnox::tests {

struct Scenario
{
    char const* name;
    char const* addon; ///< Its file, without its folder.
    std::function<void(Talk&)> talk;
    /// A folder that is listed: what can't be looked at is left out.
    bool mayLeaveOut = false;
};

/// How one session went.
struct SessionReport
{
    std::vector<Step> steps;
    std::string exception; ///< Its type; empty if the server ended in the regular way.
    std::string text;      ///< Of the exception.
    std::uint64_t numOperations = 0;
    std::uint64_t numInjected = 0;
    long heldBlocks = 0; ///< Blocks that the server has taken less those it has given back.
};

/// One session in this process: the library and the add-on on this thread, the client on another
/// one, a connected pair of sockets between them.
SessionReport runSession(Scenario const& scenario, Fault const& fault = {});

}
