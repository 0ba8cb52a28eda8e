#include "apps/dataserver/ResourceLimits.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include <sys/resource.h>

namespace varnox::dataserver {

namespace {

/// spare is what lies between the limit and the one that can't be survived.
void lower(__rlimit_resource resource, rlim_t value, rlim_t spare = 0)
{
    rlimit limit = {};
    if (::getrlimit(resource, &limit) == 0) {
        limit.rlim_max = std::min(limit.rlim_max, value + spare);
        limit.rlim_cur = std::min(limit.rlim_max, value);
        if (::setrlimit(resource, &limit) == 0)
            return;
    }
    throw std::runtime_error(std::string("Can't limit a session: ") + std::strerror(errno) + ".");
}

}

void applyLimits(ResourceLimits const& limits)
{
    // Not the address space: files that are mapped for reading cost none of ours.
    if (limits.maxMemory > 0)
        lower(RLIMIT_DATA, limits.maxMemory);
    if (limits.maxOpenFiles > 0)
        lower(RLIMIT_NOFILE, limits.maxOpenFiles);
    if (limits.maxSeconds > 0)
        lower(RLIMIT_CPU, limits.maxSeconds, 1); // so that the signal says what it is
    if (!limits.dumpsCore)
        lower(RLIMIT_CORE, 0);
}

}
