#include "expressions/IntervalFunctions.h"

#include "expressions/FunctionErrors.h"
#include "expressions/Narrowing.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <stdexcept>

namespace varnox {

namespace {

constexpr double PI = 3.141592653589793;
constexpr double HALF_PI = 1.5707963267948966;
constexpr double UNBOUNDED = 1e150;
constexpr double SQUARE_LIMIT = 1e75; // its square is UNBOUNDED

/// Both ends of a range through an increasing function of the standard library, which tells by
/// errno that there is no result.
template <typename Function>
Interval checkedEnds(char const* error, Interval const& x, Function const& function)
{
    errno = 0;
    Interval const result{function(x.lower), function(x.upper)};
    if (errno != 0)
        throw std::domain_error(error);
    return result;
}

double clampToOne(double x)
{
    return x < -1 ? -1 : x > 1 ? 1 : x;
}

/// The number of the half period, centred on an extremum of the sine, in which a number lies.
std::int64_t halfPeriod(double x)
{
    return hdqlib::truncateToInt32(std::floor(x / PI + 0.5));
}

Interval square(Interval const& b)
{
    if (b.lower < 0 && !(b.upper > 0))
        return {b.upper > -SQUARE_LIMIT ? b.upper * b.upper : 0,
                b.lower > -SQUARE_LIMIT ? b.lower * b.lower : UNBOUNDED};
    if (b.lower < 0) {
        if (b.lower > -SQUARE_LIMIT && b.upper < SQUARE_LIMIT)
            return {0, std::max(b.upper * b.upper, b.lower * b.lower)};
        return {0, UNBOUNDED};
    }
    if (b.upper < SQUARE_LIMIT)
        return {b.lower * b.lower, b.upper * b.upper};
    if (b.lower < SQUARE_LIMIT)
        return {b.lower * b.lower, UNBOUNDED};
    return {0, UNBOUNDED};
}

Interval evenPower(Interval const& b, double p)
{
    bool const holdsZeroInside = b.lower < 0 && b.upper > 0;
    if (p > 0 && holdsZeroInside)
        return {0, std::max(std::pow(b.upper, p), std::pow(b.lower, p))};
    if (p < 0 && holdsZeroInside)
        return {0, UNBOUNDED};
    bool const isRising = p > 0 ? !(b.lower < 0) : b.lower < 0;
    if (isRising)
        return {std::pow(b.lower, p), std::pow(b.upper, p)};
    return {std::pow(b.upper, p), std::pow(b.lower, p)};
}

Interval powerOf(Interval const& b, double p)
{
    if (p == 2)
        return square(b);
    if (p == 0) {
        if (!(b.lower > 0) && !(b.upper < 0))
            return {-UNBOUNDED, UNBOUNDED};
        return {1, 1};
    }
    if (std::floor(p) == p && 2 * std::floor(p / 2) == p)
        return evenPower(b, p);
    // Deliberate: of odd powers, too, which negative numbers have. The bounds that were once
    // reported stay. Test: IntervalPow.OddPowerOfARangeWithANegativePartIsZero
    if (b.lower < 0)
        return {0, 0};
    double const atLower = std::pow(b.lower, p);
    double const atUpper = std::pow(b.upper, p);
    return atUpper < atLower ? Interval{atUpper, atLower} : Interval{atLower, atUpper};
}

}

Interval abs(Interval const& x)
{
    if (!(x.lower < 0))
        return x;
    if (x.upper > 0)
        return {0, std::max(x.upper, std::fabs(x.lower))};
    return {std::fabs(x.upper), std::fabs(x.lower)};
}

Interval sign(Interval const& x)
{
    if (!(x.lower < 0))
        return {1, 1};
    if (x.upper < 0)
        return {-1, -1};
    return {-1, 1};
}

Interval sign2(Interval const&)
{
    // Deliberate: whatever the range. Test: IntervalFunctions.Sign2IsZeroToOneWhateverTheRange
    return {0, 1};
}

Interval acos(Interval const& x)
{
    return {std::acos(clampToOne(x.upper)), std::acos(clampToOne(x.lower))};
}

Interval asin(Interval const& x)
{
    return {std::asin(clampToOne(x.lower)), std::asin(clampToOne(x.upper))};
}

Interval log10(Interval const& x)
{
    return checkedEnds(hdqlib::LOG10_ERROR, x, [](double v) { return std::log10(v); });
}

Interval log(Interval const& x)
{
    return checkedEnds(hdqlib::LOG_ERROR, x, [](double v) { return std::log(v); });
}

Interval exp(Interval const& x)
{
    return checkedEnds(hdqlib::EXP_ERROR, x, [](double v) { return std::exp(v); });
}

Interval sqrt(Interval const& x)
{
    if (x.lower < 0)
        throw std::domain_error(hdqlib::SQRT_ERROR);
    return {std::sqrt(x.lower), std::sqrt(x.upper)};
}

Interval trunc(Interval const& x)
{
    return {x.lower < 0 ? std::ceil(x.lower) : std::floor(x.lower),
            x.upper < 0 ? std::ceil(x.upper) : std::floor(x.upper)};
}

Interval round(Interval const& x)
{
    // Deliberate: wider than what the function for numbers makes of the range. Test:
    // IntervalFunctions.RoundIsWiderThanItsImage
    return {std::floor(x.lower), std::ceil(x.upper)};
}

Interval atan(Interval const& x)
{
    return {std::atan(x.lower), std::atan(x.upper)};
}

Interval tan(Interval const& x)
{
    if (std::floor(x.upper / PI + 0.5) > std::floor(x.lower / PI + 0.5))
        return {-UNBOUNDED, UNBOUNDED}; // a pole lies between
    return {std::tan(x.lower), std::tan(x.upper)};
}

Interval sin(Interval const& x)
{
    std::int64_t const first = halfPeriod(x.lower);
    std::int64_t const last = halfPeriod(x.upper);
    double const atLower = std::sin(x.lower);
    double const atUpper = std::sin(x.upper);
    if (first >= last) {
        // Deliberate: the remainder of a negative odd number is -1, so that the ends of a falling
        // stretch below zero stay where they were. Test:
        // IntervalSin.FallingBelowZeroComesTheWrongWayRound
        if (first % 2 == 1)
            return {atUpper, atLower};
        return {atLower, atUpper};
    }
    if (last - first == 1) {
        bool const isOdd = (first & 1) != 0;
        if (isOdd)
            return {-1, std::max(atLower, atUpper)};
        return {std::min(atLower, atUpper), 1};
    }
    return {-1, 1};
}

Interval cos(Interval const& x)
{
    return sin(Interval{x.lower + HALF_PI, x.upper + HALF_PI});
}

Interval atan2(Interval const& y, Interval const& x)
{
    if (!(x.lower > 0) && y.lower < 0 && y.upper > 0)
        return {-PI, PI}; // the range touches the branch cut
    auto const [low, high] =
        std::minmax({std::atan2(y.lower, x.lower), std::atan2(y.lower, x.upper),
                     std::atan2(y.upper, x.lower), std::atan2(y.upper, x.upper)});
    return {low, high};
}

Interval pow(Interval const& base, Interval const& exponent)
{
    if (exponent.lower == exponent.upper)
        return powerOf(base, exponent.lower);
    if (base.lower < 0)
        return {0, 0};
    bool const mayBeZero = !(exponent.lower > 0) && !(exponent.upper < 0);
    if (mayBeZero && !(base.lower > 0))
        return {0, 0};
    auto const [low, high] =
        std::minmax({std::pow(base.lower, exponent.lower), std::pow(base.upper, exponent.lower),
                     std::pow(base.lower, exponent.upper), std::pow(base.upper, exponent.upper)});
    if (!mayBeZero)
        return {low, high};
    // Deliberate: the larger of the two on the lower side as well, which is no bound. Test:
    // IntervalPow.ExponentsAroundZeroRaiseTheLowerEndToOne
    return {std::max(1.0, low), std::max(1.0, high)};
}

namespace hdqlib {

Interval max(Interval const& a, Interval const& b, eqn::WarningLogInterface&)
{
    return {std::max(a.lower, b.lower), std::max(a.upper, b.upper)};
}

Interval min(Interval const& a, Interval const& b, eqn::WarningLogInterface&)
{
    return {std::min(a.lower, b.lower), std::min(a.upper, b.upper)};
}

Interval rand(Interval const& x)
{
    return {std::min(x.lower, 0.0), std::max(x.upper, 0.0)};
}

}

}
