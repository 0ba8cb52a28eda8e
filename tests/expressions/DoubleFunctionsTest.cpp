#include "expressions/DoubleFunctions.h"

#include "expressions/RandomNumberGenerator.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "varnox/eqn/WarningLogInterface.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace varnox::hdqlib {
namespace {

using tests::caseName;
using tests::messageOf;

class Texts final : public eqn::WarningLogInterface
{
public:
    void logWarning(std::string const& text) override { texts.push_back(text); }

    std::vector<std::string> texts;
};

using OneArg = double (*)(double, eqn::WarningLogInterface&);
using TwoArg = double (*)(double, double, eqn::WarningLogInterface&);

struct OneArgCase
{
    char const* name;
    OneArg function;
    double x;
    double expected;
};

OneArgCase const oneArgCases[] = {
    {"AbsOfNegative", dbl::abs, -2.5, 2.5},
    {"AbsOfPositive", dbl::abs, 2.5, 2.5},
    {"SignOfNegative", dbl::sign, -0.001, -1},
    {"SignOfPositive", dbl::sign, 9, 1},
    {"Sign2OfZero", dbl::sign2, 0, 0},
    {"Sign2OfNegativeZero", dbl::sign2, -0.0, 0},
    {"Sign2OfPositive", dbl::sign2, 3, 1},
    {"Acos", dbl::acos, -1, std::acos(-1.0)},
    {"Asin", dbl::asin, 0.5, std::asin(0.5)},
    {"Log10", dbl::log10, 1000, std::log10(1000.0)},
    {"Log", dbl::log, 10, std::log(10.0)},
    {"Exp", dbl::exp, 1, std::exp(1.0)},
    {"Sqrt", dbl::sqrt, 2, std::sqrt(2.0)},
    {"SqrtOfZero", dbl::sqrt, 0, 0},
    {"TruncOfNegative", dbl::trunc, -2.7, -2},
    {"TruncOfPositive", dbl::trunc, 2.7, 2},
    {"TruncOfLarge", dbl::trunc, 1e18, 1e18},
    {"RoundBelow", dbl::round, 2.5, 2},
    {"RoundAbove", dbl::round, 2.51, 3},
    {"RoundNearAHalf", dbl::round, 0.501, 1},
    {"RoundOfNegative", dbl::round, -0.6, -1},
    {"RoundOfNegativeHalf", dbl::round, -0.5, 0},
    {"RoundOfMoreThan32Bits", dbl::round, 3e9, -2147483648.0},
    {"RoundOfNotANumber", dbl::round, NAN, -2147483648.0},
    {"Atan", dbl::atan, 7, std::atan(7.0)},
    {"Tan", dbl::tan, 1, std::tan(1.0)},
    {"Sin", dbl::sin, 1, std::sin(1.0)},
    {"Cos", dbl::cos, 1, std::cos(1.0)},
};

class DoubleFunction : public testing::TestWithParam<OneArgCase>
{
};

TEST_P(DoubleFunction, GivesItsValueAndLogsNothing)
{
    Texts log;
    EXPECT_EQ(GetParam().function(GetParam().x, log), GetParam().expected);
    EXPECT_TRUE(log.texts.empty());
}

INSTANTIATE_TEST_SUITE_P(OneArg, DoubleFunction, testing::ValuesIn(oneArgCases),
                         caseName<OneArgCase>);

TEST(DoubleFunctions, SignOfZeroIsOne)
{
    Texts log;
    EXPECT_EQ(dbl::sign(0, log), 1);
    EXPECT_EQ(dbl::sign(-0.0, log), 1);
}

TEST(DoubleFunctions, Sign2OfANegativeNumberIsOne)
{
    Texts log;
    EXPECT_EQ(dbl::sign2(-4, log), 1);
}

TEST(DoubleFunctions, RoundTakesAHalfTowardZero)
{
    Texts log;
    EXPECT_EQ(dbl::round(0.5, log), 0);
    EXPECT_EQ(dbl::round(0.501, log), 1);
    EXPECT_EQ(dbl::round(-0.5, log), 0);
}

struct FailureCase
{
    char const* name;
    OneArg function;
    double x;
    char const* text;
};

FailureCase const failureCases[] = {
    {"SqrtOfNegative", dbl::sqrt, -1, "Invalid values for sqrt function."},
    {"LogOfZero", dbl::log, 0, "Invalid values for natural logarithmic function."},
    {"LogOfNegative", dbl::log, -1, "Invalid values for natural logarithmic function."},
    {"Log10OfZero", dbl::log10, 0, "Invalid values for base-10 logarithmic function."},
    {"Log10OfNegative", dbl::log10, -1, "Invalid values for base-10 logarithmic function."},
    {"ExpThatOverflows", dbl::exp, 1000, "Invalid values for exponential function."},
    {"ExpThatUnderflows", dbl::exp, -1000, "Invalid values for exponential function."},
};

class DoubleFunctionFailure : public testing::TestWithParam<FailureCase>
{
};

TEST_P(DoubleFunctionFailure, IsADomainError)
{
    Texts log;
    errno = EINTR; // of something before
    EXPECT_EQ(messageOf<std::domain_error>([&] { GetParam().function(GetParam().x, log); }),
              GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(OneArg, DoubleFunctionFailure, testing::ValuesIn(failureCases),
                         caseName<FailureCase>);

TEST(DoubleFunctions, AnOldErrnoIsNoFailure)
{
    Texts log;
    for (OneArg const function : {dbl::sqrt, dbl::log, dbl::log10, dbl::exp}) {
        errno = EDOM;
        EXPECT_NO_THROW(function(1, log));
    }
    errno = EDOM;
    EXPECT_EQ(dbl::power(2, 3, log), 8);
}

TEST(DoubleFunctions, FunctionsWithoutACheckGiveNotANumber)
{
    Texts log;
    EXPECT_TRUE(std::isnan(dbl::asin(2, log)));
    EXPECT_TRUE(std::isnan(dbl::acos(2, log)));
    EXPECT_TRUE(std::isnan(dbl::sin(INFINITY, log)));
    EXPECT_TRUE(std::isnan(dbl::sqrt(NAN, log)));
}

TEST(DoubleFunctions, PowerFailsWhereItHasNoResult)
{
    Texts log;
    EXPECT_EQ(dbl::power(4, 0.5, log), 2);
    EXPECT_EQ(dbl::power(-2, 3, log), -8);
    for (auto const& failing : {std::pair{-2.0, 0.5}, {0.0, -1.0}, {1e200, 2.0}})
        EXPECT_EQ(
            messageOf<std::domain_error>([&] { dbl::power(failing.first, failing.second, log); }),
            "Invalid values for power function.")
            << failing.first;
}

TEST(DoubleFunctions, LargerAndSmaller)
{
    Texts log;
    EXPECT_EQ(dbl::max(1, 2, log), 2);
    EXPECT_EQ(dbl::max(2, 1, log), 2);
    EXPECT_EQ(dbl::min(1, 2, log), 1);
    EXPECT_EQ(dbl::min(2, 1, log), 1);
    EXPECT_EQ(dbl::atan2(1, -2, log), std::atan2(1.0, -2.0));
    EXPECT_TRUE(log.texts.empty());
}

TEST(DoubleFunctions, NotANumberIsNeitherAboveNorBelow)
{
    Texts log;
    EXPECT_EQ(dbl::max(1, NAN, log), 1);
    EXPECT_EQ(dbl::min(1, NAN, log), 1);
    EXPECT_TRUE(std::isnan(dbl::max(NAN, 1, log)));
    EXPECT_TRUE(std::isnan(dbl::min(NAN, 1, log)));
}

TEST(DoubleFunctions, ClampingFromBelowIsLogged)
{
    Texts log;
    EXPECT_EQ(dbl::max_warn(2, 1, log), 2);
    EXPECT_EQ(log.texts, std::vector<std::string>{"Value 1 clamped to 2"});
    EXPECT_EQ(dbl::max_warn(1, 2, log), 2);
    EXPECT_EQ(dbl::max_warn(2, 2, log), 2);
    EXPECT_EQ(log.texts.size(), 1U);
}

TEST(DoubleFunctions, ClampingFromAboveIsLogged)
{
    Texts log;
    EXPECT_EQ(dbl::min_warn(1, 2, log), 1);
    EXPECT_EQ(log.texts, std::vector<std::string>{"Value 2 clamped to 1"});
    EXPECT_EQ(dbl::min_warn(2, 1, log), 1);
    EXPECT_EQ(dbl::min_warn(1, 1, log), 1);
    EXPECT_EQ(log.texts.size(), 1U);
}

TEST(DoubleFunctions, ClampingTextHasSixDigits)
{
    EXPECT_EQ(dbl::valueClampingWarningString(1e10, 1.0 / 3), "Value 0.333333 clamped to 1e+10");
    EXPECT_EQ(dbl::valueClampingWarningString(100000, 123456.7), "Value 123457 clamped to 100000");
}

bool drawsTheFixedSequence()
{
    Texts log;
    double state = 0.867454;
    auto const next = [&state] {
        state *= 46.3423452;
        return state -= std::floor(state);
    };
    double const first = next();
    return std::fabs(first - 0.19985) < 0.001 && dbl::rand(1, log) == first &&
           dbl::rand(2, log) == 2 * next() && RandomNumberGenerator::next() == next();
}

TEST(DoubleFunctions, RandomNumbersAreOneFixedSequenceOfAProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process that hasn't drawn yet
    EXPECT_EXIT(std::exit(drawsTheFixedSequence() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(DoubleFunctions, RandomNumbersLieBetweenZeroAndOne)
{
    for (int i = 0; i < 10000; ++i) {
        double const number = RandomNumberGenerator::next();
        ASSERT_GE(number, 0);
        ASSERT_LT(number, 1);
    }
}

}
}
