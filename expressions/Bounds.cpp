#include "expressions/Bounds.h"

#include "expressions/Functions.h"
#include "expressions/Narrowing.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace varnox::eqn::bounds {

namespace {

constexpr double PI = 3.141592653589793;
constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double SMALLEST = std::numeric_limits<double>::denorm_min();
constexpr double LARGEST = std::numeric_limits<double>::max();

/// Where no number has a result.
constexpr Interval NONE{0, 0};

/// Below this, an error of rounding may be too small to be seen in the difference of two numbers.
constexpr double SURELY_EXACT_DIFFERENCE = 1e-280;

/// What a rounded result lacks to the exact one: only the sign counts.
struct Rounded
{
    double result;
    double error;
};

double below(double x)
{
    return std::nextafter(x, -INF);
}

double above(double x)
{
    return std::nextafter(x, INF);
}

double down(Rounded const& x)
{
    if (std::isnan(x.result))
        return -INF;
    return x.error < 0 || std::isnan(x.error) || x.result == INF ? below(x.result) : x.result;
}

double up(Rounded const& x)
{
    if (std::isnan(x.result))
        return INF;
    return x.error > 0 || std::isnan(x.error) || x.result == -INF ? above(x.result) : x.result;
}

/// The error of a sum is exact where nothing overflows.
Rounded sum(double a, double b)
{
    double const result = a + b;
    double const ofB = result - a;
    return {result, (a - (result - ofB)) + (b - ofB)};
}

/// Not-a-number as error: unknown.
Rounded product(double a, double b)
{
    if (a == 0 || b == 0)
        return {0, 0}; // of an infinite one, too: a number that is large without limit, times zero
    double const result = a * b;
    if (std::fabs(result) < SURELY_EXACT_DIFFERENCE)
        return {result, NAN};
    return {result, std::fma(a, b, -result)};
}

Rounded quotient(double a, double b)
{
    double const result = a / b;
    if (a == 0 && !std::isnan(result))
        return {result, 0};
    if (std::fabs(result) < SURELY_EXACT_DIFFERENCE || std::fabs(a) < SURELY_EXACT_DIFFERENCE)
        return {result, NAN};
    double const rest = std::fma(-result, b, a);
    return {result, b > 0 ? rest : -rest};
}

template <typename Function>
Interval ofCorners(Interval const& a, Interval const& b, Function const& function)
{
    Rounded const corners[] = {function(a.lower, b.lower), function(a.lower, b.upper),
                               function(a.upper, b.lower), function(a.upper, b.upper)};
    Interval result{INF, -INF};
    for (Rounded const& corner : corners) {
        result.lower = std::min(result.lower, down(corner));
        result.upper = std::max(result.upper, up(corner));
    }
    return result;
}

double fewUnits(double x)
{
    return std::fabs(x) * 2e-15 + 8 * SMALLEST;
}

/// Around ends that functions of the standard library have computed, whose errors are a unit or two
/// in the last place, at the ends and between them. Zero is no rounded result: the sign is right.
Interval widened(double lower, double upper)
{
    if (std::isnan(lower) || std::isnan(upper))
        return widest();
    if (lower != 0)
        lower = std::isinf(lower) ? below(lower) : lower - fewUnits(lower);
    if (upper != 0)
        upper = std::isinf(upper) ? above(upper) : upper + fewUnits(upper);
    return {lower, upper};
}

Interval clampedTo(Interval const& x, double lowest, double highest)
{
    return {std::clamp(x.lower, lowest, highest), std::clamp(x.upper, lowest, highest)};
}

bool holdsZero(Interval const& x)
{
    return x.lower <= 0 && x.upper >= 0;
}

bool isInteger(double x)
{
    return std::floor(x) == x;
}

Interval evenPower(Interval const& base, double p)
{
    double const nearest =
        holdsZero(base) ? 0 : std::min(std::fabs(base.lower), std::fabs(base.upper));
    double const farthest = std::max(std::fabs(base.lower), std::fabs(base.upper));
    if (farthest == 0 && p < 0)
        return NONE;
    Interval const result = p > 0 ? widened(std::pow(nearest, p), std::pow(farthest, p))
                                  : widened(std::pow(farthest, p), std::pow(nearest, p));
    return clampedTo(result, 0, INF);
}

Interval oddPower(Interval const& base, double p)
{
    if (p > 0)
        return widened(std::pow(base.lower, p), std::pow(base.upper, p));
    // A falling function on either side of zero, where it has no value.
    if (base.lower == 0 && base.upper == 0)
        return NONE;
    if (base.lower < 0 && base.upper > 0)
        return widest();
    double const atUpper = base.upper == 0 ? -INF : std::pow(base.upper, p);
    double const atLower = base.lower == 0 ? INF : std::pow(base.lower, p);
    return widened(atUpper, atLower);
}

Interval rootedPower(Interval const& base, double p)
{
    if (base.lower == -INF)
        return {0, INF}; // alone of the negative numbers it has such powers
    if (base.upper < 0)
        return NONE;
    double const lower = std::pow(std::max(base.lower, 0.0), p);
    double const upper = std::pow(base.upper, p);
    if (p < 0 && base.upper == 0)
        return NONE;
    return clampedTo(p > 0 ? widened(lower, upper) : widened(upper, lower), 0, INF);
}

/// Whether a range holds one of the points phase + k * period, when in doubt yes.
bool mayHold(Interval const& x, double phase, double period)
{
    double const first = (x.lower - phase) / period;
    double const last = (x.upper - phase) / period;
    double const doubt = 1e-12 * (1 + std::max(std::fabs(first), std::fabs(last)));
    return !(std::floor(last + doubt) < std::ceil(first - doubt));
}

/// From here on the points are nowhere near where they are taken to be.
constexpr double FARTHEST_ANGLE = 1e9;

bool isFar(Interval const& x)
{
    return !(x.lower > -FARTHEST_ANGLE && x.upper < FARTHEST_ANGLE);
}

/// Of sin or cos, whose maxima lie at peak and whose minima half a period on.
template <typename Function>
Interval wave(Interval const& x, double peak, Function const& function)
{
    if (isFar(x))
        return {-1, 1};
    double const atLower = function(x.lower);
    double const atUpper = function(x.upper);
    Interval const ends =
        clampedTo(widened(std::min(atLower, atUpper), std::max(atLower, atUpper)), -1, 1);
    return {mayHold(x, peak + PI, 2 * PI) ? -1 : ends.lower,
            mayHold(x, peak, 2 * PI) ? 1 : ends.upper};
}

Interval tangent(Interval const& x)
{
    if (isFar(x) || mayHold(x, PI / 2, PI))
        return widest();
    return widened(std::tan(x.lower), std::tan(x.upper));
}

Interval absolute(Interval const& x)
{
    double const farthest = std::max(std::fabs(x.lower), std::fabs(x.upper));
    return {holdsZero(x) ? 0 : std::min(std::fabs(x.lower), std::fabs(x.upper)), farthest};
}

template <typename Function>
Interval logarithm(Interval const& x, Function const& function)
{
    if (x.upper <= 0)
        return NONE;
    return widened(function(std::max(x.lower, SMALLEST)), function(x.upper));
}

Interval arc(Interval const& x, double (*function)(double), bool isFalling)
{
    if (x.lower > 1 || x.upper < -1)
        return NONE;
    double const atLower = function(std::max(x.lower, -1.0));
    double const atUpper = function(std::min(x.upper, 1.0));
    return isFalling ? widened(atUpper, atLower) : widened(atLower, atUpper);
}

Interval rounded(Interval const& x)
{
    auto const round = [](double v) -> double {
        return hdqlib::truncateToInt32(v < 0 ? v - 0.499 : v + 0.499);
    };
    constexpr double LARGEST_INT = 2147483647;
    if (x.lower > -LARGEST_INT && x.upper < LARGEST_INT)
        return {round(x.lower), round(x.upper)};
    return {-LARGEST_INT - 1, LARGEST_INT}; // what doesn't fit becomes the least of all
}

Interval angle(Interval const& y, Interval const& x)
{
    // Zero may have either sign, and with it the angle.
    if (x.lower <= 0 && holdsZero(y))
        return {-PI, PI};
    auto const [low, high] =
        std::minmax({std::atan2(y.lower, x.lower), std::atan2(y.lower, x.upper),
                     std::atan2(y.upper, x.lower), std::atan2(y.upper, x.upper)});
    return clampedTo(widened(low, high), -PI, PI);
}

}

Interval widest()
{
    return {-INF, INF};
}

Interval checked(Interval const& x)
{
    return x.lower <= x.upper ? x : widest();
}

Interval add(Interval const& a, Interval const& b)
{
    return {down(sum(a.lower, b.lower)), up(sum(a.upper, b.upper))};
}

Interval subtract(Interval const& a, Interval const& b)
{
    return add(a, negate(b));
}

Interval multiply(Interval const& a, Interval const& b)
{
    return ofCorners(a, b, product);
}

Interval divide(Interval const& a, Interval const& b, bool ignoresZero)
{
    if (!holdsZero(b))
        return checked(ofCorners(a, b, quotient));
    bool const isZero = b.lower == 0 && b.upper == 0;
    if ((isZero && !ignoresZero) || (a.lower == 0 && a.upper == 0))
        return NONE;
    if (ignoresZero || (b.lower < 0 && b.upper > 0) || (a.lower < 0 && a.upper > 0))
        return widest();
    // All divisors have one sign, and come as close to zero as they like.
    double const farthest = b.upper > 0 ? b.upper : b.lower;
    bool const isPositive = (a.upper > 0) == (b.upper > 0);
    Interval const ends = checked(ofCorners({a.lower, a.upper}, {farthest, farthest}, quotient));
    return isPositive ? Interval{std::max(ends.lower, 0.0), INF}
                      : Interval{-INF, std::min(ends.upper, 0.0)};
}

Interval negate(Interval const& x)
{
    return {-x.upper, -x.lower};
}

Interval power(Interval const& base, double exponent)
{
    if (std::isnan(exponent))
        return NONE;
    if (exponent == 0)
        return {1, 1};
    if (exponent == 1)
        return base;
    if (exponent == 2) {
        Interval const size = absolute(base);
        return {down(product(size.lower, size.lower)), up(product(size.upper, size.upper))};
    }
    if (std::isinf(exponent))
        return {0, INF};
    if (!isInteger(exponent))
        return rootedPower(base, exponent);
    return isInteger(exponent / 2) ? evenPower(base, exponent) : oddPower(base, exponent);
}

Interval power(Interval const& base, Interval const& exponent)
{
    if (exponent.lower == exponent.upper) {
        Interval const fixed = power(base, exponent.lower);
        if (exponent.lower == 0)
            return fixed;
        return clampedTo(widened(fixed.lower, fixed.upper), fixed.lower < 0 ? -INF : 0, INF);
    }
    if (base.lower > 0) {
        auto const [low, high] = std::minmax(
            {std::pow(base.lower, exponent.lower), std::pow(base.lower, exponent.upper),
             std::pow(base.upper, exponent.lower), std::pow(base.upper, exponent.upper)});
        return clampedTo(widened(low, high), 0, INF);
    }
    // Near zero, powers below zero are large without limit.
    if (exponent.lower < 0)
        return base.lower < 0 ? widest() : Interval{0, INF};
    double const farthest = std::max(std::fabs(base.lower), std::fabs(base.upper));
    double const largest = std::max({1.0, widened(0, std::pow(farthest, exponent.lower)).upper,
                                     widened(0, std::pow(farthest, exponent.upper)).upper});
    // Negative numbers have whole powers, of either sign.
    return {base.lower < 0 ? -largest : 0, largest};
}

Interval oneArg(unsigned char code, Interval const& x)
{
    using namespace hdqlib;
    switch (code) {
    case LOG10_FUNCTION:
        return logarithm(x, [](double v) { return std::log10(v); });
    case ABS_FUNCTION:
        return absolute(x);
    case SIN_FUNCTION:
        return wave(x, PI / 2, [](double v) { return std::sin(v); });
    case COS_FUNCTION:
        return wave(x, 0, [](double v) { return std::cos(v); });
    case TAN_FUNCTION:
        return tangent(x);
    case RAND_FUNCTION:
        return {std::min(x.lower, 0.0), std::max(x.upper, 0.0)};
    case ROUND_FUNCTION:
        return rounded(x);
    case TRUNC_FUNCTION:
        return {std::trunc(x.lower), std::trunc(x.upper)};
    case ASIN_FUNCTION:
        return arc(
            x, [](double v) { return std::asin(v); }, false);
    case ACOS_FUNCTION:
        return arc(
            x, [](double v) { return std::acos(v); }, true);
    case ATAN_FUNCTION:
        return widened(std::atan(x.lower), std::atan(x.upper));
    case EXP_FUNCTION:
        return clampedTo(widened(std::exp(x.lower), std::exp(x.upper)), 0, INF);
    case LOG_FUNCTION:
        return logarithm(x, [](double v) { return std::log(v); });
    case SQRT_FUNCTION:
        // Rounded as it is, the root keeps the order of numbers.
        return x.upper < 0 ? NONE : Interval{std::sqrt(std::max(x.lower, 0.0)), std::sqrt(x.upper)};
    case SIGN_FUNCTION:
        return {x.lower < 0 ? -1.0 : 1.0, x.upper < 0 ? -1.0 : 1.0};
    case SIGN2_FUNCTION:
        return {holdsZero(x) ? 0.0 : 1.0, x.lower == 0 && x.upper == 0 ? 0.0 : 1.0};
    default:
        throw std::invalid_argument("There is no such function of one operand.");
    }
}

Interval twoArg(unsigned char code, Interval const& a, Interval const& b)
{
    using namespace hdqlib;
    switch (code) {
    case MIN_FUNCTION:
    case MIN_WARN_FUNCTION:
        return {std::min(a.lower, b.lower), std::min(a.upper, b.upper)};
    case MAX_FUNCTION:
    case MAX_WARN_FUNCTION:
        return {std::max(a.lower, b.lower), std::max(a.upper, b.upper)};
    case ATAN2_FUNCTION:
        return angle(a, b);
    case POWER_FUNCTION:
        return power(a, b);
    default:
        throw std::invalid_argument("There is no such function of two operands.");
    }
}

Interval greater(Interval const& a, Interval const& b)
{
    return {a.lower > b.upper ? 1.0 : 0.0, a.upper > b.lower ? 1.0 : 0.0};
}

Interval greaterOrEqual(Interval const& a, Interval const& b)
{
    return {a.lower >= b.upper ? 1.0 : 0.0, a.upper >= b.lower ? 1.0 : 0.0};
}

Interval equal(Interval const& a, Interval const& b)
{
    bool const areOneNumber = a.lower == a.upper && b.lower == b.upper && a.lower == b.lower;
    bool const meet = a.lower <= b.upper && b.lower <= a.upper;
    return {areOneNumber ? 1.0 : 0.0, meet ? 1.0 : 0.0};
}

Interval notEqual(Interval const& a, Interval const& b)
{
    Interval const areEqual = equal(a, b);
    return {1 - areEqual.upper, 1 - areEqual.lower};
}

}
