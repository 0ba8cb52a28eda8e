#pragma once

#include "varnox/Interval.h"

/// Ranges that hold every number that an operation of ArrayEvaluator gives for operands in the
/// ranges given. Points without a result don't count: where an operation has none at all, the range
/// is [0, 0]. The ends of sums, differences, products, quotients and roots are rounded outward;
/// those of other functions of the standard library lie a few units in the last place beyond the
/// computed ones.
namespace varnox::eqn::bounds {

/// What is known of nothing.
Interval widest();
/// The widest for ends that are no numbers or the wrong way round.
Interval checked(Interval const& x);

Interval add(Interval const& a, Interval const& b);
Interval subtract(Interval const& a, Interval const& b);
Interval multiply(Interval const& a, Interval const& b);
Interval divide(Interval const& a, Interval const& b, bool ignoresZero);
Interval negate(Interval const& x);
/// A fixed exponent, and one in a range.
Interval power(Interval const& base, double exponent);
Interval power(Interval const& base, Interval const& exponent);
/// By the code of the function.
Interval oneArg(unsigned char code, Interval const& x);
Interval twoArg(unsigned char code, Interval const& a, Interval const& b);

Interval greater(Interval const& a, Interval const& b);
Interval greaterOrEqual(Interval const& a, Interval const& b);
Interval equal(Interval const& a, Interval const& b);
Interval notEqual(Interval const& a, Interval const& b);

}
