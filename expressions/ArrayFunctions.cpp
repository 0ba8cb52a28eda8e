#include "expressions/ArrayFunctions.h"

#include "expressions/DoubleFunctions.h"
#include "expressions/Functions.h"
#include "expressions/Narrowing.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include <emmintrin.h>

namespace varnox::eqn::arrays {

namespace {

/// The turns of the next loop don't depend on each other, which only GCC wants to be told.
#ifdef __clang__
#define VNX_INDEPENDENT
#else
#define VNX_INDEPENDENT _Pragma("GCC ivdep")
#endif

constexpr double UNDEFINED = std::numeric_limits<double>::quiet_NaN();

template <typename Function>
void forEach(double const* x, std::size_t count, double* out, Function const& function)
{
    VNX_INDEPENDENT
    for (std::size_t i = 0; i < count; ++i)
        out[i] = function(x[i]);
}

template <typename Function>
void forEach(double const* a, double const* b, std::size_t count, double* out,
             Function const& function)
{
    VNX_INDEPENDENT
    for (std::size_t i = 0; i < count; ++i)
        out[i] = function(a[i], b[i]);
}

/// For what would make a number of not-a-number.
template <typename Function>
void forEachNumber(double const* x, std::size_t count, double* out, Function const& function)
{
    forEach(x, count, out, [&](double v) {
        double const result = function(v);
        return v == v ? result : v;
    });
}

template <typename Function>
void forEachNumber(double const* a, double const* b, std::size_t count, double* out,
                   Function const& function)
{
    forEach(a, b, count, out, [&](double x, double y) {
        double const result = function(x, y);
        return x == x && y == y ? result : UNDEFINED;
    });
}

/// Negative numbers have none. The standard function sets errno, which costs the loop its width.
void squareRoot(double const* x, std::size_t count, double* out)
{
    std::size_t i = 0;
    for (; i + 2 <= count; i += 2)
        _mm_storeu_pd(out + i, _mm_sqrt_pd(_mm_loadu_pd(x + i)));
    if (i < count)
        out[i] = _mm_cvtsd_f64(_mm_sqrt_sd(_mm_setzero_pd(), _mm_set_sd(x[i])));
}

/// A result that is infinite though the operand isn't: beyond the largest number.
double unlessOverflown(double result, double operand)
{
    return std::isinf(result) && !std::isinf(operand) ? UNDEFINED : result;
}

double power(double base, double exponent)
{
    double const result = std::pow(base, exponent);
    if (std::isnan(base) || std::isnan(exponent))
        return UNDEFINED;
    return std::isinf(exponent) ? result : unlessOverflown(result, base);
}

void fixedPower(double exponent, double const* x, std::size_t count, double* out)
{
    if (exponent == 2)
        forEach(x, count, out, [](double v) { return unlessOverflown(v * v, v); });
    else
        forEach(x, count, out, [exponent](double v) { return power(v, exponent); });
}

void applyFunction(std::uint32_t code, double const* x, std::size_t count, double* out)
{
    using namespace hdqlib;
    switch (code) {
    case LOG10_FUNCTION:
        return forEach(x, count, out, [](double v) { return v > 0 ? std::log10(v) : UNDEFINED; });
    case ABS_FUNCTION:
        return forEach(x, count, out, [](double v) { return v < 0 ? -v : v; });
    case SIN_FUNCTION:
        return forEach(x, count, out, [](double v) { return std::sin(v); });
    case COS_FUNCTION:
        return forEach(x, count, out, [](double v) { return std::cos(v); });
    case TAN_FUNCTION:
        return forEach(x, count, out, [](double v) { return std::tan(v); });
    case ROUND_FUNCTION:
        return forEachNumber(x, count, out, [](double v) -> double {
            return truncateToInt32(v < 0 ? v - 0.499 : v + 0.499);
        });
    case TRUNC_FUNCTION:
        return forEach(x, count, out,
                       [](double v) { return v < 0 ? std::ceil(v) : std::floor(v); });
    case ASIN_FUNCTION:
        return forEach(x, count, out, [](double v) { return std::asin(v); });
    case ACOS_FUNCTION:
        return forEach(x, count, out, [](double v) { return std::acos(v); });
    case ATAN_FUNCTION:
        return forEach(x, count, out, [](double v) { return std::atan(v); });
    case EXP_FUNCTION:
        return forEach(x, count, out, [](double v) { return unlessOverflown(std::exp(v), v); });
    case LOG_FUNCTION:
        return forEach(x, count, out, [](double v) { return v > 0 ? std::log(v) : UNDEFINED; });
    case SQRT_FUNCTION:
        return squareRoot(x, count, out);
    case SIGN_FUNCTION:
        return forEachNumber(x, count, out, [](double v) { return v < 0 ? -1.0 : 1.0; });
    case SIGN2_FUNCTION:
        return forEachNumber(x, count, out, [](double v) { return v == 0 ? 0.0 : 1.0; });
    default:
        throw std::invalid_argument("There is no such function of one operand.");
    }
}

/// Clamps values to limits on the side that isBeyond tells.
template <typename IsBeyond>
Clampings clamp(double const* limits, double const* values, std::size_t count, double* out,
                IsBeyond const& isBeyond)
{
    Clampings result;
    for (std::size_t i = 0; i < count; ++i) {
        bool const isClamped = isBeyond(values[i], limits[i]);
        if (isClamped && result.number == 0)
            result.first = hdqlib::dbl::valueClampingWarningString(limits[i], values[i]);
        result.number += isClamped;
        if (std::isnan(limits[i]) || std::isnan(values[i]))
            out[i] = UNDEFINED;
        else
            out[i] = isClamped ? limits[i] : values[i];
    }
    return result;
}

Clampings applyFunction(std::uint32_t code, double const* a, double const* b, std::size_t count,
                        double* out)
{
    using namespace hdqlib;
    switch (code) {
    case MIN_FUNCTION:
        forEachNumber(a, b, count, out, [](double x, double y) { return y < x ? y : x; });
        return {};
    case MAX_FUNCTION:
        forEachNumber(a, b, count, out, [](double x, double y) { return y > x ? y : x; });
        return {};
    case MIN_WARN_FUNCTION:
        return clamp(a, b, count, out, [](double value, double limit) { return value > limit; });
    case MAX_WARN_FUNCTION:
        return clamp(a, b, count, out, [](double value, double limit) { return limit > value; });
    case ATAN2_FUNCTION:
        forEach(a, b, count, out, [](double y, double x) { return std::atan2(y, x); });
        return {};
    case POWER_FUNCTION:
        forEach(a, b, count, out, power);
        return {};
    default:
        throw std::invalid_argument("There is no such function of two operands.");
    }
}

}

void applyUnary(Instruction const& instruction, double const* x, std::size_t count, double* out)
{
    switch (instruction.operation) {
    case Operation::Negate:
        return forEach(x, count, out, [](double v) { return -v; });
    case Operation::Power:
        return fixedPower(instruction.value, x, count, out);
    case Operation::OneArg:
        return applyFunction(instruction.index, x, count, out);
    default:
        throw std::logic_error("This operation has not one operand.");
    }
}

Clampings applyBinary(Instruction const& instruction, double const* a, double const* b,
                      std::size_t count, double* out)
{
    switch (instruction.operation) {
    case Operation::Add:
        forEach(a, b, count, out, [](double x, double y) { return x + y; });
        break;
    case Operation::Subtract:
        forEach(a, b, count, out, [](double x, double y) { return x - y; });
        break;
    case Operation::Multiply:
        forEach(a, b, count, out, [](double x, double y) { return x * y; });
        break;
    case Operation::Divide:
        if (instruction.index != 0)
            forEach(a, b, count, out, [](double x, double y) { return x / y; });
        else
            forEach(a, b, count, out,
                    [](double x, double y) { return y == 0 ? UNDEFINED : x / y; });
        break;
    case Operation::Greater:
        forEachNumber(a, b, count, out, [](double x, double y) { return x > y ? 1.0 : 0.0; });
        break;
    case Operation::GreaterOrEqual:
        forEachNumber(a, b, count, out, [](double x, double y) { return x >= y ? 1.0 : 0.0; });
        break;
    case Operation::Less:
        forEachNumber(a, b, count, out, [](double x, double y) { return x < y ? 1.0 : 0.0; });
        break;
    case Operation::LessOrEqual:
        forEachNumber(a, b, count, out, [](double x, double y) { return x <= y ? 1.0 : 0.0; });
        break;
    case Operation::Equal:
        forEachNumber(a, b, count, out, [](double x, double y) { return x == y ? 1.0 : 0.0; });
        break;
    case Operation::NotEqual:
        forEachNumber(a, b, count, out, [](double x, double y) { return x != y ? 1.0 : 0.0; });
        break;
    case Operation::TwoArg:
        return applyFunction(instruction.index, a, b, count, out);
    default:
        throw std::logic_error("This operation has not two operands.");
    }
    return {};
}

}
