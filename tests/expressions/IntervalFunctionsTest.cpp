#include "expressions/IntervalFunctions.h"

#include "expressions/DummyWarningLog.h"
#include "expressions/PlaneEquation.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <ostream>
#include <stdexcept>

namespace varnox {

static bool operator==(Interval const& a, Interval const& b)
{
    return a.lower == b.lower && a.upper == b.upper;
}

static void PrintTo(Interval const& x, std::ostream* out)
{
    *out << '[' << x.lower << ", " << x.upper << ']';
}

namespace {

using tests::caseName;
using tests::messageOf;

constexpr double PI = 3.141592653589793;
constexpr double HALF_PI = 1.5707963267948966;

using OneArg = Interval (*)(Interval const&);

struct OneArgCase
{
    char const* name;
    OneArg function;
    Interval x;
    Interval expected;
};

OneArgCase const oneArgCases[] = {
    {"AbsAroundZero", abs, {-3, 2}, {0, 3}},
    {"AbsAroundZeroMoreAbove", abs, {-2, 3}, {0, 3}},
    {"AbsBelowZero", abs, {-3, -2}, {2, 3}},
    {"AbsUpToZero", abs, {-3, 0}, {0, 3}},
    {"AbsAboveZero", abs, {0, 2}, {0, 2}},
    {"SignAboveZero", sign, {0, 2}, {1, 1}},
    {"SignBelowZero", sign, {-2, -1}, {-1, -1}},
    {"SignUpToZero", sign, {-2, 0}, {-1, 1}},
    {"AcosOfClampedEnds", acos, {-2, 0.5}, {std::acos(0.5), std::acos(-1.0)}},
    {"AsinOfClampedEnds", asin, {-0.5, 7}, {std::asin(-0.5), std::asin(1.0)}},
    {"Atan", atan, {-1, 2}, {std::atan(-1.0), std::atan(2.0)}},
    {"Log", log, {1, 2}, {0, std::log(2.0)}},
    {"Log10", log10, {1, 100}, {0, 2}},
    {"Exp", exp, {0, 1}, {1, std::exp(1.0)}},
    {"Sqrt", sqrt, {0, 9}, {0, 3}},
    {"TruncAroundZero", trunc, {-2.5, 2.5}, {-2, 2}},
    {"TruncBelowZero", trunc, {-2.5, -1.5}, {-2, -1}},
    {"TruncAboveZero", trunc, {1.5, 2.5}, {1, 2}},
    {"RandAroundZero", hdqlib::rand, {-2, 3}, {-2, 3}},
    {"RandAboveZero", hdqlib::rand, {2, 3}, {0, 3}},
    {"RandBelowZero", hdqlib::rand, {-3, -2}, {-3, 0}},
    {"TanOfOneBranch", tan, {-1, 1}, {std::tan(-1.0), std::tan(1.0)}},
    {"TanAcrossAPole", tan, {1, 2}, {-1e150, 1e150}},
    {"SinRising", sin, {0, 1}, {0, std::sin(1.0)}},
    {"SinFalling", sin, {2, 3}, {std::sin(3.0), std::sin(2.0)}},
    {"SinWithItsMaximum", sin, {1, 2}, {std::sin(1.0), 1}},
    {"SinWithItsMinimum", sin, {4, 5}, {-1, std::sin(4.0)}},
    {"SinWithAMinimumBelowZero", sin, {-2, -1}, {-1, std::sin(-1.0)}},
    {"SinWithAMaximumBelowZero", sin, {-5, -4}, {std::sin(-4.0), 1}},
    {"SinOfAPeriod", sin, {0, 7}, {-1, 1}},
    {"CosIsSinAQuarterOn", cos, {0, 0.5}, {std::sin(0.5 + HALF_PI), 1}},
    {"CosFalling", cos, {1, 2}, {std::sin(2 + HALF_PI), std::sin(1 + HALF_PI)}},
};

class IntervalFunction : public testing::TestWithParam<OneArgCase>
{
};

TEST_P(IntervalFunction, GivesItsRange)
{
    Interval const actual = GetParam().function(GetParam().x);
    EXPECT_EQ(actual.lower, GetParam().expected.lower);
    EXPECT_EQ(actual.upper, GetParam().expected.upper);
}

INSTANTIATE_TEST_SUITE_P(OneArg, IntervalFunction, testing::ValuesIn(oneArgCases),
                         caseName<OneArgCase>);

TEST(IntervalFunctions, Sign2IsZeroToOneWhateverTheRange)
{
    EXPECT_EQ(sign2({-1, -1}), (Interval{0, 1}));
    EXPECT_EQ(sign2({0, 0}), (Interval{0, 1}));
    EXPECT_EQ(sign2({5, 7}), (Interval{0, 1}));
}

TEST(IntervalFunctions, RoundIsWiderThanItsImage)
{
    EXPECT_EQ(round({0.1, 0.2}), (Interval{0, 1})); // the numbers all round to 0
    EXPECT_EQ(round({-2.5, 3}), (Interval{-3, 3}));
}

TEST(IntervalSin, FallingBelowZeroComesTheWrongWayRound)
{
    Interval const result = sin({-2, -1.8});
    EXPECT_EQ(result.lower, std::sin(-2.0));
    EXPECT_EQ(result.upper, std::sin(-1.8));
    EXPECT_GT(result.lower, result.upper);
    Interval const ofCos = cos({-2 - HALF_PI, -1.8 - HALF_PI});
    EXPECT_GT(ofCos.lower, ofCos.upper);
}

TEST(IntervalFunctions, FailAsTheirCounterpartsForNumbersDo)
{
    std::string const logText = "Invalid values for natural logarithmic function.";
    EXPECT_EQ(messageOf<std::domain_error>([] { log({0, 1}); }), logText);
    EXPECT_EQ(messageOf<std::domain_error>([] { log({-1, 1}); }), logText);
    EXPECT_EQ(messageOf<std::domain_error>([] {
                  log10({0, 1});
              }),
              "Invalid values for base-10 logarithmic function.");
    EXPECT_EQ(messageOf<std::domain_error>([] {
                  exp({0, 1000});
              }),
              "Invalid values for exponential function.");
    EXPECT_EQ(messageOf<std::domain_error>([] {
                  exp({-1000, 0}); // too small for a number
              }),
              "Invalid values for exponential function.");
    EXPECT_EQ(messageOf<std::domain_error>([] {
                  sqrt({-1, 1});
              }),
              "Invalid values for sqrt function.");
}

TEST(IntervalFunctions, AnOldErrnoIsNoFailure)
{
    for (OneArg const function : {OneArg{log}, OneArg{log10}, OneArg{exp}, OneArg{sqrt}}) {
        errno = EDOM;
        EXPECT_NO_THROW(function({1, 2}));
    }
}

TEST(IntervalAtan2, TakesTheCornersOffTheBranchCut)
{
    Interval const corners = atan2({-1, 1}, {1, 2});
    EXPECT_EQ(corners.lower, std::atan2(-1.0, 1.0));
    EXPECT_EQ(corners.upper, std::atan2(1.0, 1.0));
    Interval const behind = atan2({0, 1}, {-2, -1});
    EXPECT_EQ(behind.lower, std::atan2(1.0, -1.0));
    EXPECT_EQ(behind.upper, PI);
    Interval const below = atan2({-1, 0}, {-2, -1});
    EXPECT_EQ(below.lower, std::atan2(-1.0, -2.0));
    EXPECT_EQ(below.upper, PI);
}

TEST(IntervalAtan2, IsAFullCircleOnTheBranchCut)
{
    EXPECT_EQ(atan2({-1, 1}, {-1, 1}), (Interval{-PI, PI}));
    EXPECT_EQ(atan2({-1, 1}, {0, 1}), (Interval{-PI, PI}));
}

struct PowCase
{
    char const* name;
    Interval base;
    Interval exponent;
    Interval expected;
};

PowCase const powCases[] = {
    {"SquareAroundZero", {-2, 3}, {2, 2}, {0, 9}},
    {"SquareBelowZero", {-3, -2}, {2, 2}, {4, 9}},
    {"SquareUpToZero", {-3, 0}, {2, 2}, {0, 9}},
    {"SquareAboveZero", {2, 3}, {2, 2}, {4, 9}},
    {"SquareOfLargeNegatives", {-1e80, -2}, {2, 2}, {4, 1e150}},
    {"SquareOfLargerNegatives", {-1e81, -1e80}, {2, 2}, {0, 1e150}},
    {"SquareAroundZeroFarBelow", {-1e75, 1}, {2, 2}, {0, 1e150}},
    {"SquareAroundZeroFarAbove", {-1, 1e75}, {2, 2}, {0, 1e150}},
    {"SquareUpToFarAbove", {2, 1e80}, {2, 2}, {4, 1e150}},
    {"SquareOfLargeNumbers", {1e80, 1e81}, {2, 2}, {0, 1e150}},
    {"SquareBelowZeroUpToTheLimit", {-1e80, -1e75}, {2, 2}, {0, 1e150}},
    {"SquareFromTheLimitOn", {1e75, 1e80}, {2, 2}, {0, 1e150}},
    {"ZerothFromZero", {0, 3}, {0, 0}, {-1e150, 1e150}},
    {"ZerothAroundZero", {-2, 3}, {0, 0}, {-1e150, 1e150}},
    {"ZerothUpToZero", {-2, 0}, {0, 0}, {-1e150, 1e150}},
    {"ZerothAboveZero", {2, 3}, {0, 0}, {1, 1}},
    {"ZerothBelowZero", {-3, -2}, {0, 0}, {1, 1}},
    {"FourthAroundZero", {-2, 3}, {4, 4}, {0, 81}},
    {"FourthAboveZero", {2, 3}, {4, 4}, {16, 81}},
    {"FourthBelowZero", {-3, -2}, {4, 4}, {16, 81}},
    {"FourthUpToZero", {-3, 0}, {4, 4}, {0, 81}},
    {"FourthFromZero", {0, 3}, {4, 4}, {0, 81}},
    {"MinusSecondUpToZero", {-2, 0}, {-2, -2}, {0.25, HUGE_VAL}},
    {"MinusSecondFromZero", {0, 2}, {-2, -2}, {0.25, HUGE_VAL}},
    {"MinusThirdFromZero", {0, 2}, {-3, -3}, {0.125, HUGE_VAL}},
    {"MinusSecondAroundZero", {-2, 3}, {-2, -2}, {0, 1e150}},
    {"MinusSecondAboveZero", {2, 4}, {-2, -2}, {1.0 / 16, 1.0 / 4}},
    {"MinusSecondBelowZero", {-4, -2}, {-2, -2}, {1.0 / 16, 1.0 / 4}},
    {"ThirdAboveZero", {2, 3}, {3, 3}, {8, 27}},
    {"MinusFirstAboveZero", {2, 4}, {-1, -1}, {0.25, 0.5}},
    {"HalfAboveZero", {4, 9}, {0.5, 0.5}, {2, 3}},
    {"RangeOfExponentsBelowZero", {-1, 4}, {1, 2}, {0, 0}},
    {"ExponentsAroundZeroOfARangeAroundZero", {-2, 3}, {-1, 1}, {0, 0}},
    {"ExponentsAroundZeroFromZero", {0, 3}, {-1, 1}, {0, 0}},
    {"PositiveExponents", {2, 4}, {1, 2}, {2, 16}},
    {"PositiveExponentsFromZero", {0, 3}, {1, 2}, {0, 9}},
    {"ExponentsUpToZero", {2, 4}, {-1, 0}, {1, 1}},
    {"ExponentsTheWrongWayRound", {2, 4}, {2, 1}, {2, 16}},
    {"NegativeExponents", {2, 4}, {-2, -1}, {1.0 / 16, 0.5}},
    {"SmallBasesAndExponentsFromZero", {0.25, 0.5}, {0, 1}, {1, 1}},
};

class IntervalPowRange : public testing::TestWithParam<PowCase>
{
};

TEST_P(IntervalPowRange, IsAsStated)
{
    Interval const actual = pow(GetParam().base, GetParam().exponent);
    EXPECT_EQ(actual.lower, GetParam().expected.lower);
    EXPECT_EQ(actual.upper, GetParam().expected.upper);
}

INSTANTIATE_TEST_SUITE_P(Cases, IntervalPowRange, testing::ValuesIn(powCases), caseName<PowCase>);

TEST(IntervalPow, OddPowerOfARangeWithANegativePartIsZero)
{
    EXPECT_EQ(pow({-2, 3}, {3, 3}), (Interval{0, 0}));
    EXPECT_EQ(pow({-3, -2}, {3, 3}), (Interval{0, 0}));
    EXPECT_EQ(pow({-3, -2}, {0.5, 0.5}), (Interval{0, 0}));
    EXPECT_EQ(pow({-3, -2}, {-1, -1}), (Interval{0, 0}));
}

TEST(IntervalPow, ExponentsAroundZeroRaiseTheLowerEndToOne)
{
    EXPECT_EQ(pow({2, 4}, {-1, 1}), (Interval{1, 4})); // the numbers begin at a quarter
}

TEST(IntervalFunctions, NotANumberIsNeitherAboveNorBelow)
{
    EXPECT_TRUE(std::isnan(abs({NAN, 2}).lower)); // unchanged
    EXPECT_EQ(abs({NAN, 2}).upper, 2);
    EXPECT_EQ(abs({-3, NAN}).upper, 3);
    EXPECT_EQ(sign({NAN, NAN}), (Interval{1, 1}));
    EXPECT_EQ(sign({-1, NAN}), (Interval{-1, 1}));
    EXPECT_TRUE(std::isnan(sqrt({NAN, 4}).lower));
    EXPECT_EQ(tan({NAN, 1}).upper, std::tan(1.0));
    EXPECT_EQ(pow({NAN, NAN}, {2, 2}), (Interval{0, 1e150}));
    EXPECT_EQ(pow({NAN, NAN}, {0, 0}), (Interval{-1e150, 1e150}));
    EXPECT_EQ(pow({NAN, 2}, {4, 4}).upper, 16);
    EXPECT_EQ(pow({NAN, 2}, {3, 3}).upper, 8);
    EXPECT_EQ(pow({NAN, 2}, {-1, 1}), (Interval{0, 0}));
}

TEST(IntervalFunctions, LargerAndSmallerTakeEachEnd)
{
    eqn::DummyWarningLog log;
    EXPECT_EQ(hdqlib::max({1, 5}, {2, 3}, log), (Interval{2, 5}));
    EXPECT_EQ(hdqlib::min({1, 5}, {2, 3}, log), (Interval{1, 3}));
}

TEST(PlaneEquation, OfNumbers)
{
    eqn::DummyWarningLog log;
    EXPECT_EQ(hdqlib::planeEquationFunc<double>({1, 2, 3}, {10, 100, 1000, 7}, log), 3217);
}

TEST(PlaneEquation, OfRangesTurnsProductsOfNegativeCoefficients)
{
    eqn::DummyWarningLog log;
    std::vector<Interval> const operands{{1, 2}, {1, 2}, {-1, 3}};
    EXPECT_EQ(hdqlib::planeEquationFunc<Interval>(operands, {1, -10, 100, 1000}, log),
              (Interval{1 - 20 - 100 + 1000, 2 - 10 + 300 + 1000}));
}

}
}
