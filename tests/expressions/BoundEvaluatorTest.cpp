#include "expressions/BoundEvaluator.h"

#include "expressions/ArrayEvaluator.h"
#include "expressions/Bounds.h"
#include "expressions/Functions.h"
#include "tests/expressions/Formulas.h"
#include "tests/support/CaseName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>

namespace varnox::eqn {
namespace {

using namespace tests::formulas;
using tests::caseName;

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double PI = 3.141592653589793;

Interval boundOf(Formula formula, std::vector<Interval> const& ranges)
{
    Program const program(shared(std::move(formula)));
    std::vector<Interval> inputs;
    for (unsigned long const id : program.varIDs())
        inputs.push_back(ranges[id - 1]);
    return BoundEvaluator(program).evaluate(inputs);
}

struct BoundCase
{
    char const* name;
    Formula (*make)();
    Interval x;
    Interval y;
    Interval expected;
};

Formula a()
{
    return var(1);
}
Formula b()
{
    return var(2);
}
template <unsigned char code>
Formula functionOfA()
{
    return oneArg(code, a());
}
template <int exponent>
Formula powerOfA()
{
    return power(a(), exponent);
}
Formula quotient()
{
    return divide(a(), b());
}
Formula powerOfTwo()
{
    return twoArg(hdqlib::POWER_FUNCTION, a(), b());
}

// Where nothing is rounded the bounds are the ends themselves.
BoundCase const boundCases[] = {
    {"Sum", [] { return add(a(), b()); }, {1, 2}, {3, 5}, {4, 7}},
    {"Difference", [] { return subtract(a(), b()); }, {1, 2}, {3, 5}, {-4, -1}},
    {"Product", [] { return multiply(a(), b()); }, {-1, 2}, {-3, 5}, {-6, 10}},
    {"ProductOfInfinityAndZero", [] { return multiply(a(), b()); }, {1, INF}, {0, 0}, {0, 0}},
    {"SumOfInfinities", [] { return add(a(), b()); }, {-INF, 1}, {1, INF}, {-INF, INF}},
    {"Quotient", quotient, {1, 6}, {2, 4}, {0.25, 3}},
    {"QuotientByPositivesFromZero", quotient, {1, 2}, {0, 4}, {0.25, INF}},
    {"QuotientByNegativesUpToZero", quotient, {1, 2}, {-4, 0}, {-INF, -0.25}},
    {"NegativesByPositivesFromZero", quotient, {-2, -1}, {0, 4}, {-INF, -0.25}},
    {"NegativesByNegativesUpToZero", quotient, {-2, -1}, {-4, 0}, {0.25, INF}},
    {"QuotientAcrossZero", quotient, {1, 2}, {-1, 4}, {-INF, INF}},
    {"QuotientByZeroAlone", quotient, {1, 2}, {0, 0}, {0, 0}},
    {"ZeroByAnything", quotient, {0, 0}, {-1, 4}, {0, 0}},
    {"QuotientIgnoringZero",
     [] { return divideIgnoringZero(a(), b()); },
     {1, 2},
     {0, 4},
     {-INF, INF}},
    {"Negative", [] { return negate(a()); }, {1, 2}, {}, {-2, -1}},
    {"Square", powerOfA<2>, {-2, 3}, {}, {0, 9}},
    {"SquareOfLargeNumbers", powerOfA<2>, {0, 1e100}, {}, {0, std::nextafter(1e200, INF)}},
    {"PowerOfZero", powerOfA<0>, {-2, 3}, {}, {1, 1}},
    {"PowerOfOne", powerOfA<1>, {-2, 3}, {}, {-2, 3}},
    {"ReciprocalAcrossZero", powerOfA<-1>, {-2, 3}, {}, {-INF, INF}},
    {"ReciprocalOfZero", powerOfA<-1>, {0, 0}, {}, {0, 0}},
    {"ReciprocalSquareOfZero", powerOfA<-2>, {0, 0}, {}, {0, 0}},
    {"PowerAcrossZeroToAnything", powerOfTwo, {-2, 3}, {-1, 2}, {-INF, INF}},
    {"PowerFromZeroToAnything", powerOfTwo, {0, 3}, {-1, 2}, {0, INF}},
    {"Abs", functionOfA<hdqlib::ABS_FUNCTION>, {-3, 2}, {}, {0, 3}},
    {"AbsBelowZero", functionOfA<hdqlib::ABS_FUNCTION>, {-3, -2}, {}, {2, 3}},
    {"Sign", functionOfA<hdqlib::SIGN_FUNCTION>, {-3, 0}, {}, {-1, 1}},
    {"SignAboveZero", functionOfA<hdqlib::SIGN_FUNCTION>, {0, 2}, {}, {1, 1}},
    {"Sign2", functionOfA<hdqlib::SIGN2_FUNCTION>, {-1, -1}, {}, {1, 1}},
    {"Sign2AroundZero", functionOfA<hdqlib::SIGN2_FUNCTION>, {-1, 1}, {}, {0, 1}},
    {"Sign2OfZero", functionOfA<hdqlib::SIGN2_FUNCTION>, {0, 0}, {}, {0, 0}},
    {"Sqrt", functionOfA<hdqlib::SQRT_FUNCTION>, {-1, 9}, {}, {0, 3}},
    {"SqrtOfNegatives", functionOfA<hdqlib::SQRT_FUNCTION>, {-4, -1}, {}, {0, 0}},
    {"LogOfNegatives", functionOfA<hdqlib::LOG_FUNCTION>, {-4, 0}, {}, {0, 0}},
    {"AsinBeyondOne", functionOfA<hdqlib::ASIN_FUNCTION>, {2, 3}, {}, {0, 0}},
    {"Trunc", functionOfA<hdqlib::TRUNC_FUNCTION>, {-2.5, 2.5}, {}, {-2, 2}},
    {"Round", functionOfA<hdqlib::ROUND_FUNCTION>, {-2.6, 0.2}, {}, {-3, 0}},
    {"RoundBeyond32Bits",
     functionOfA<hdqlib::ROUND_FUNCTION>,
     {1, 3e9},
     {},
     {-2147483648.0, 2147483647}},
    {"Rand", functionOfA<hdqlib::RAND_FUNCTION>, {1, 3}, {}, {0, 3}},
    {"SinOfAPeriod", functionOfA<hdqlib::SIN_FUNCTION>, {0, 7}, {}, {-1, 1}},
    {"SinOfFarNumbers", functionOfA<hdqlib::SIN_FUNCTION>, {1e10, 1e10}, {}, {-1, 1}},
    {"TanAcrossAPole", functionOfA<hdqlib::TAN_FUNCTION>, {1, 2}, {}, {-INF, INF}},
    {"Atan2AroundTheCut",
     [] { return twoArg(hdqlib::ATAN2_FUNCTION, a(), b()); },
     {0, 1},
     {-1, 1},
     {-PI, PI}},
    {"Min", [] { return twoArg(hdqlib::MIN_FUNCTION, a(), b()); }, {1, 5}, {2, 3}, {1, 3}},
    {"Max", [] { return twoArg(hdqlib::MAX_WARN_FUNCTION, a(), b()); }, {1, 5}, {2, 3}, {2, 5}},
    {"Greater", [] { return greater(a(), b()); }, {1, 5}, {2, 3}, {0, 1}},
    {"SurelyGreater", [] { return greater(a(), b()); }, {4, 5}, {2, 3}, {1, 1}},
    {"SurelyNotGreater", [] { return greater(a(), b()); }, {1, 2}, {2, 3}, {0, 0}},
    {"SurelyLess", [] { return less(a(), b()); }, {1, 1.5}, {2, 3}, {1, 1}},
    {"SurelyLessOrEqual", [] { return lessOrEqual(a(), b()); }, {1, 2}, {2, 3}, {1, 1}},
    {"SurelyNotGreaterOrEqual", [] { return greaterOrEqual(a(), b()); }, {1, 1.5}, {2, 3}, {0, 0}},
    {"SurelyUnequal", [] { return notEqual(a(), b()); }, {1, 1.5}, {2, 3}, {1, 1}},
    {"SurelyEqual", [] { return equal(a(), b()); }, {2, 2}, {2, 2}, {1, 1}},
    {"MaybeEqual", [] { return equal(a(), b()); }, {2, 2}, {2, 3}, {0, 1}},
    {"Plane",
     [] {
         return plane(a(), b(), a(), {1, -1, 2, 5});
     },
     {1, 2},
     {0, 1},
     {7, 11}},
    {"UnknownInput", [] { return add(a(), b()); }, {NAN, 2}, {3, 5}, {-INF, INF}},
    {"InputTheWrongWayRound", [] { return add(a(), b()); }, {2, 1}, {3, 5}, {-INF, INF}},
};

class Bound : public testing::TestWithParam<BoundCase>
{
};

TEST_P(Bound, IsAsTightAsItCanBe)
{
    Interval const actual = boundOf(GetParam().make(), {GetParam().x, GetParam().y});
    EXPECT_EQ(actual.lower, GetParam().expected.lower);
    EXPECT_EQ(actual.upper, GetParam().expected.upper);
}

INSTANTIATE_TEST_SUITE_P(Cases, Bound, testing::ValuesIn(boundCases), caseName<BoundCase>);

BoundCase const computedCases[] = {
    {"Log10", functionOfA<hdqlib::LOG10_FUNCTION>, {1, 1000}, {}, {0, 3}},
    {"LogFromZero", functionOfA<hdqlib::LOG_FUNCTION>, {0, 1}, {}, {-744.4400719213812, 0}},
    {"Exp", functionOfA<hdqlib::EXP_FUNCTION>, {0, 1}, {}, {1, 2.718281828459045}},
    {"Cube", powerOfA<3>, {-2, 3}, {}, {-8, 27}},
    {"Fourth", powerOfA<4>, {-2, 3}, {}, {0, 81}},
    {"ReciprocalFromZero", powerOfA<-1>, {0, 4}, {}, {0.25, INF}},
    {"ReciprocalUpToZero", powerOfA<-1>, {-4, 0}, {}, {-INF, -0.25}},
    {"ReciprocalSquare", powerOfA<-2>, {-4, -2}, {}, {0.0625, 0.25}},
    {"Root", [] { return power(a(), 0.5); }, {-4, 9}, {}, {0, 3}},
    {"ReciprocalRoot", [] { return power(a(), -0.5); }, {0, 4}, {}, {0.5, INF}},
    {"PowersOfPositives", powerOfTwo, {2, 4}, {-1, 1}, {0.25, 4}},
    {"PowersAcrossZero", powerOfTwo, {-2, 3}, {1, 2}, {-9, 9}},
    {"SinRising", functionOfA<hdqlib::SIN_FUNCTION>, {0, 1}, {}, {0, 0.8414709848078965}},
    {"SinFallingBelowZero",
     functionOfA<hdqlib::SIN_FUNCTION>,
     {-2, -1.8},
     {},
     {-0.9738476308781951, -0.9092974268256817}},
    {"CosWithItsMaximum",
     functionOfA<hdqlib::COS_FUNCTION>,
     {-1, 0.5},
     {},
     {0.5403023058681398, 1}},
    {"Tan",
     functionOfA<hdqlib::TAN_FUNCTION>,
     {-1, 1},
     {},
     {-1.5574077246549023, 1.5574077246549023}},
    {"Asin", functionOfA<hdqlib::ASIN_FUNCTION>, {-7, 0.5}, {}, {-PI / 2, 0.5235987755982989}},
    {"Acos", functionOfA<hdqlib::ACOS_FUNCTION>, {0.5, 7}, {}, {0, 1.0471975511965979}},
    {"Atan", functionOfA<hdqlib::ATAN_FUNCTION>, {-1, 1}, {}, {-PI / 4, PI / 4}},
    {"Atan2",
     [] { return twoArg(hdqlib::ATAN2_FUNCTION, a(), b()); },
     {-1, 1},
     {1, 2},
     {-PI / 4, PI / 4}},
};

class ComputedBound : public testing::TestWithParam<BoundCase>
{
};

TEST_P(ComputedBound, LiesAFewUnitsBeyondTheExactOne)
{
    Interval const actual = boundOf(GetParam().make(), {GetParam().x, GetParam().y});
    Interval const expected = GetParam().expected;
    EXPECT_LE(actual.lower, expected.lower);
    EXPECT_GE(actual.upper, expected.upper);
    if (std::isfinite(expected.lower)) {
        EXPECT_LE(expected.lower - actual.lower, 1e-14 * std::fabs(expected.lower));
    }
    if (std::isfinite(expected.upper)) {
        EXPECT_LE(actual.upper - expected.upper, 1e-14 * std::fabs(expected.upper));
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, ComputedBound, testing::ValuesIn(computedCases),
                         caseName<BoundCase>);

class Numbers
{
public:
    explicit Numbers(unsigned seed) : m_generator(seed) {}

    std::size_t below(std::size_t limit) { return m_generator() % limit; }

    /// Of all sizes and signs, with many that are special to some operation.
    double next()
    {
        static double const special[] = {0,    -0.0,   1,     -1,   2,      -2,    0.5,   1e-300,
                                         PI,   PI / 2, -PI,   1e10, -1e308, 1e308, 1e200, 5e-324,
                                         -1e9, 3e9,    -1e-9, INF,  -INF,   100,   -0.5,  3};
        switch (below(4)) {
        case 0:
            return special[below(std::size(special))];
        case 1:
            return static_cast<double>(below(21)) - 10;
        case 2:
            return fraction() * 20 - 10;
        default:
            return std::ldexp(fraction() * 2 - 1, static_cast<int>(below(120)) - 60);
        }
    }

    Interval range()
    {
        double const first = next();
        double const second = below(3) == 0 ? first : below(2) == 0 ? first + fraction() : next();
        return {std::min(first, second), std::max(first, second)};
    }

    double within(Interval const& range)
    {
        switch (below(6)) {
        case 0:
            return range.lower;
        case 1:
            return range.upper;
        case 2:
            if (range.lower <= 0 && range.upper >= 0)
                return below(2) == 0 ? 0.0 : -0.0;
            break;
        case 3:
            return std::clamp(std::round(next()), range.lower, range.upper);
        default:
            break;
        }
        double const t = fraction();
        double const value = range.lower * (1 - t) + range.upper * t;
        return std::isnan(value) ? range.lower : std::clamp(value, range.lower, range.upper);
    }

    double fraction() { return std::uniform_real_distribution<double>(0, 1)(m_generator); }

private:
    std::mt19937_64 m_generator;
};

Formula randomFormula(Numbers& numbers, int depth)
{
    if (depth == 0)
        return numbers.below(4) == 0 ? num(numbers.next()) : var(1 + numbers.below(3));
    auto const operand = [&] { return randomFormula(numbers, depth - 1); };
    switch (numbers.below(16)) {
    case 0:
        return add(operand(), operand());
    case 1:
        return subtract(operand(), operand());
    case 2:
        return multiply(operand(), operand());
    case 3:
        return divide(operand(), operand());
    case 4:
        return divideIgnoringZero(operand(), operand());
    case 5:
        return power(operand(), numbers.next());
    case 6:
        return greater(operand(), operand());
    case 7:
        return lessOrEqual(operand(), operand());
    case 8:
        return notEqual(operand(), operand());
    case 9:
        return plane(operand(), operand(), operand(),
                     {numbers.next(), numbers.next(), numbers.next(), numbers.next()});
    case 10:
    case 11:
        return twoArg(static_cast<unsigned char>(numbers.below(6)), operand(), operand());
    case 12:
        return negate(operand());
    default:
        return oneArg(static_cast<unsigned char>(numbers.below(16)), operand());
    }
}

std::string description(Program const& program, std::vector<Interval> const& inputs)
{
    std::ostringstream text;
    for (Instruction const& step : program.instructions())
        text << " operation " << static_cast<int>(step.operation) << " (" << step.index << ", "
             << step.value << ")";
    for (Interval const& input : inputs)
        text << " [" << input.lower << ", " << input.upper << "]";
    return text.str();
}

/// Evaluates formulas at points within the ranges of their variables and counts the results.
std::size_t expectResultsWithinBounds(unsigned seed, int depth, int numFormulas)
{
    constexpr std::size_t POINTS = 40;
    Numbers numbers(seed);
    std::size_t numResults = 0;
    for (int n = 0; n < numFormulas; ++n) {
        ArrayEvaluator evaluator(shared(randomFormula(numbers, depth)));
        std::vector<Interval> const ranges{numbers.range(), numbers.range(), numbers.range()};
        std::vector<std::vector<double>> values;
        for (Interval const& range : ranges) {
            values.emplace_back();
            for (std::size_t i = 0; i < POINTS; ++i)
                values.back().push_back(numbers.within(range));
        }
        std::vector<double const*> inputs;
        std::vector<Interval> inputRanges;
        for (unsigned long const id : evaluator.program().varIDs()) {
            inputs.push_back(values[id - 1].data());
            inputRanges.push_back(ranges[id - 1]);
        }
        double out[POINTS];
        evaluator.evaluate(inputs, POINTS, out);
        Interval const bound = BoundEvaluator(evaluator.program()).evaluate(inputRanges);
        for (std::size_t i = 0; i < POINTS; ++i) {
            if (std::isnan(out[i]))
                continue;
            ++numResults;
            if (bound.lower <= out[i] && out[i] <= bound.upper)
                continue;
            ADD_FAILURE() << "seed " << seed << ", formula " << n << ": " << out[i] << " isn't in ["
                          << bound.lower << ", " << bound.upper
                          << "]:" << description(evaluator.program(), inputRanges);
            break;
        }
    }
    return numResults;
}

TEST(BoundEvaluator, HoldsTheResultsOfEveryOperation)
{
    EXPECT_GT(expectResultsWithinBounds(11, 1, 60'000), 1'000'000U);
}

TEST(BoundEvaluator, HoldsTheResultsOfFormulas)
{
    EXPECT_GT(expectResultsWithinBounds(12, 3, 20'000), 200'000U);
}

TEST(BoundEvaluator, EndsOfSumsProductsAndQuotientsAreRoundedOutward)
{
    Numbers numbers(13);
    int numRounded = 0;
    for (int n = 0; n < 200'000; ++n) {
        double const x = std::ldexp(numbers.fraction() - 0.5, static_cast<int>(numbers.below(40)));
        double const y = std::ldexp(numbers.fraction() - 0.5, static_cast<int>(numbers.below(40)));
        Interval const atX{x, x};
        Interval const atY{y, y};
        auto const expect = [&](Interval const& bound, __float128 exact) {
            ASSERT_TRUE(bound.lower <= exact && exact <= bound.upper) << x << ' ' << y;
            ASSERT_LE(bound.upper, std::nextafter(bound.lower, INF)); // one unit wide at most
            numRounded += bound.lower < bound.upper;
        };
        expect(bounds::add(atX, atY), __float128{x} + y);
        expect(bounds::subtract(atX, atY), __float128{x} - y);
        expect(bounds::multiply(atX, atY), __float128{x} * y);
        if (y == 0)
            continue;
        Interval const quotientBound = bounds::divide(atX, atY, false);
        // The exact quotient q lies on the side of an end e on which x lies of e * y.
        __float128 const atLower = __float128{quotientBound.lower} * y;
        __float128 const atUpper = __float128{quotientBound.upper} * y;
        ASSERT_TRUE(y > 0 ? atLower <= x && x <= atUpper : atUpper <= x && x <= atLower);
    }
    EXPECT_GT(numRounded, 100'000);
}

TEST(BoundEvaluator, FormulasOfAnyDepthAreBounded)
{
    Formula formula = var(1);
    for (int i = 0; i < 1'000'000; ++i)
        formula = add(num(1), std::move(formula));
    Interval const bound = boundOf(std::move(formula), {{1, 2}});
    EXPECT_EQ(bound.lower, 1'000'001);
    EXPECT_EQ(bound.upper, 1'000'002);
}

}
}
