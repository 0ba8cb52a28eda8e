#pragma once

#include <cstdint>

namespace varnox::dataserver {

/// What the system holds the process of a session to. 0 leaves what the system has set.
struct ResourceLimits
{
    std::uint64_t maxMemory = 0; ///< bytes of the process's own: heap, stacks, data
    std::uint64_t maxOpenFiles = 0;
    std::uint64_t maxSeconds = 0; ///< of processor time
    bool dumpsCore = false;
};

/// Holds this process, and those that it starts, to the limits. A limit that the system has set
/// lower stays. Throws std::runtime_error.
void applyLimits(ResourceLimits const& limits);

}
