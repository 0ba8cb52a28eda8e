#pragma once

#include "varnox/Interval.h"

namespace varnox::eqn {
class WarningLogInterface;
}

/// The functions of expressions for ranges, as the nodes of a tree carry them. Most give a range
/// that holds what the function makes of the numbers in theirs, but none rounds outward and several
/// are no bounds at all in some cases.
namespace varnox {

Interval abs(Interval const& x);
Interval sign(Interval const& x);
Interval sign2(Interval const& x);
Interval acos(Interval const& x);
Interval asin(Interval const& x);
/// These four throw std::domain_error as their counterparts for numbers do.
Interval log10(Interval const& x);
Interval log(Interval const& x);
Interval exp(Interval const& x);
Interval sqrt(Interval const& x);
Interval trunc(Interval const& x);
Interval round(Interval const& x);
Interval atan(Interval const& x);
Interval tan(Interval const& x);
Interval sin(Interval const& x);
Interval cos(Interval const& x);

Interval atan2(Interval const& y, Interval const& x);
Interval pow(Interval const& base, Interval const& exponent);

namespace hdqlib {

Interval max(Interval const& a, Interval const& b, eqn::WarningLogInterface& log);
Interval min(Interval const& a, Interval const& b, eqn::WarningLogInterface& log);
Interval rand(Interval const& x);

}

}
