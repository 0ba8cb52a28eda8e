#include "expressions/DoubleFunctions.h"

#include "expressions/FunctionErrors.h"
#include "expressions/Narrowing.h"
#include "expressions/RandomNumberGenerator.h"
#include "varnox/eqn/WarningLogInterface.h"

#include <cerrno>
#include <cmath>
#include <sstream>
#include <stdexcept>

namespace varnox::hdqlib::dbl {

using eqn::WarningLogInterface;

namespace {

/// The result of a function of the standard library, which tells by errno that there is none.
template <typename Function>
double checked(char const* error, Function const& function)
{
    errno = 0;
    double const result = function();
    if (errno != 0)
        throw std::domain_error(error);
    return result;
}

}

double abs(double x, WarningLogInterface&)
{
    return x < 0 ? -x : x;
}

double sign(double x, WarningLogInterface&)
{
    // Deliberate: zero counts as positive. Test: DoubleFunctions.SignOfZeroIsOne
    return x < 0 ? -1 : 1;
}

double sign2(double x, WarningLogInterface&)
{
    // Deliberate: 1 for negative numbers, too. Test: DoubleFunctions.Sign2OfANegativeNumberIsOne
    return x == 0 ? 0 : 1;
}

double acos(double x, WarningLogInterface&)
{
    return std::acos(x);
}

double asin(double x, WarningLogInterface&)
{
    return std::asin(x);
}

double log10(double x, WarningLogInterface&)
{
    return checked(LOG10_ERROR, [x] { return std::log10(x); });
}

double log(double x, WarningLogInterface&)
{
    return checked(LOG_ERROR, [x] { return std::log(x); });
}

double exp(double x, WarningLogInterface&)
{
    return checked(EXP_ERROR, [x] { return std::exp(x); });
}

double sqrt(double x, WarningLogInterface&)
{
    return checked(SQRT_ERROR, [x] { return std::sqrt(x); });
}

double trunc(double x, WarningLogInterface&)
{
    return x < 0 ? std::ceil(x) : std::floor(x);
}

double round(double x, WarningLogInterface&)
{
    // Deliberate: a half rounds toward zero. Test: DoubleFunctions.RoundTakesAHalfTowardZero
    return truncateToInt32(x < 0 ? x - 0.499 : x + 0.499);
}

double atan(double x, WarningLogInterface&)
{
    return std::atan(x);
}

double tan(double x, WarningLogInterface&)
{
    return std::tan(x);
}

double sin(double x, WarningLogInterface&)
{
    return std::sin(x);
}

double cos(double x, WarningLogInterface&)
{
    return std::cos(x);
}

double rand(double x, WarningLogInterface&)
{
    return x * RandomNumberGenerator::next();
}

double atan2(double y, double x, WarningLogInterface&)
{
    return std::atan2(y, x);
}

double power(double base, double exponent, WarningLogInterface&)
{
    return checked(POWER_ERROR, [=] { return std::pow(base, exponent); });
}

double max(double a, double b, WarningLogInterface&)
{
    return b > a ? b : a;
}

double min(double a, double b, WarningLogInterface&)
{
    return b < a ? b : a;
}

double max_warn(double limit, double value, WarningLogInterface& log)
{
    if (limit > value) {
        log.logWarning(valueClampingWarningString(limit, value));
        return limit;
    }
    return value;
}

double min_warn(double limit, double value, WarningLogInterface& log)
{
    if (value > limit) {
        log.logWarning(valueClampingWarningString(limit, value));
        return limit;
    }
    return value;
}

std::string valueClampingWarningString(double limit, double value)
{
    std::ostringstream text;
    text << "Value " << value << " clamped to " << limit;
    return text.str();
}

}
