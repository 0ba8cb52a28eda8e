#pragma once

#include "tools/vnxconvert/Frames.h"

#include <limits>
#include <string>
#include <vector>

namespace varnox::convert {

/// Times from first to last, both included.
struct TimeRange
{
    double first = -std::numeric_limits<double>::infinity();
    double last = std::numeric_limits<double>::infinity();

    /// "FROM:TO", of which either may be missing, or a number alone. Throws std::invalid_argument.
    static TimeRange parse(std::string const& text);
    bool contains(double time) const { return time >= first && time <= last; }
};

/// What the inputs hold at which times. A file of files is opened, the others are only named.
/// Without asSeries all files together are one time; series beside each other must have the same
/// times. Throws std::runtime_error.
std::vector<FrameFiles> framesOf(std::vector<std::string> const& inputs, bool asSeries);

}
