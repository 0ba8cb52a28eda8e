#include "expressions/ArrayEvaluator.h"

#include "expressions/DummyWarningLog.h"
#include "expressions/Functions.h"
#include "tests/expressions/Formulas.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "varnox/eqn/ExprNodes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>

namespace varnox::eqn {
namespace {

using namespace tests::formulas;
using tests::caseName;
using tests::messageOf;

constexpr double INF = std::numeric_limits<double>::infinity();

/// The values of a formula of the variables 1, 2, 3, ..., whose values are given.
struct Evaluated
{
    Evaluated(Formula formula, std::vector<std::vector<double>> const& values)
    {
        ArrayEvaluator evaluator(shared(std::move(formula)));
        std::vector<double const*> inputs;
        std::size_t const count = values.empty() ? 1 : values[0].size();
        for (unsigned long const id : evaluator.program().varIDs())
            inputs.push_back(values[id - 1].data());
        out.resize(count);
        report = evaluator.evaluate(inputs, count, out.data());
    }

    std::vector<double> out;
    EvaluationReport report;
};

double valueOf(Formula formula, std::vector<double> const& values)
{
    std::vector<std::vector<double>> arrays;
    for (double const value : values)
        arrays.push_back({value});
    return Evaluated(std::move(formula), arrays).out[0];
}

struct ValueCase
{
    char const* name;
    Formula (*make)();
    double x;
    double y;
    double expected;
};

Formula a()
{
    return var(1);
}
Formula b()
{
    return var(2);
}

ValueCase const valueCases[] = {
    {"Sum", [] { return add(a(), b()); }, 1.5, 2, 3.5},
    {"Constant", [] { return num(2.5); }, 0, 0, 2.5},
    {"Quotient", [] { return divide(a(), b()); }, 3, 2, 1.5},
    {"Product", [] { return multiply(a(), b()); }, 3, 2, 6},
    {"Negative", [] { return negate(a()); }, 3, 0, -3},
    {"Power", [] { return power(a(), 3); }, 2, 0, 8},
    {"Square", [] { return power(a(), 2); }, -1.1, 0, 1.1 * 1.1},
    {"Difference", [] { return subtract(a(), b()); }, 3, 2, 1},
    {"Variable", [] { return b(); }, 3, 2, 2},
    {"Greater", [] { return greater(a(), b()); }, 3, 2, 1},
    {"NotGreater", [] { return greater(a(), b()); }, 2, 2, 0},
    {"Equal", [] { return equal(a(), b()); }, 2, 2, 1},
    {"NotEqualThough", [] { return equal(a(), b()); }, 2, 3, 0},
    {"Unequal", [] { return notEqual(a(), b()); }, 2, 3, 1},
    {"NotUnequal", [] { return notEqual(a(), b()); }, 2, 2, 0},
    {"GreaterOrEqual", [] { return greaterOrEqual(a(), b()); }, 2, 2, 1},
    {"NotGreaterOrEqual", [] { return greaterOrEqual(a(), b()); }, 1, 2, 0},
    {"LessOrEqual", [] { return lessOrEqual(a(), b()); }, 2, 2, 1},
    {"NotLessOrEqual", [] { return lessOrEqual(a(), b()); }, 3, 2, 0},
    {"Less", [] { return less(a(), b()); }, 1, 2, 1},
    {"NotLess", [] { return less(a(), b()); }, 2, 2, 0},
    {"Plane",
     [] {
         return plane(a(), b(), a(), {1, 10, 100, 1000});
     },
     1, 2, 1121},
    {"OverflowOfASum", [] { return add(a(), a()); }, 1e308, 0, INF},
    {"ExponentialThatUnderflows", [] { return oneArg(hdqlib::EXP_FUNCTION, a()); }, -1000, 0, 0},
    {"PowerThatUnderflows", [] { return power(a(), -300); }, 1e10, 0, 0},
    {"PowerOfInfinity", [] { return power(a(), 2); }, -INF, 0, INF},
    {"QuotientOfInfinity", [] { return divide(a(), b()); }, 1, INF, 0},
    {"DivisionByZeroThatIsIgnored", [] { return divideIgnoringZero(a(), b()); }, -1, 0, -INF},
};

class EvaluatedValue : public testing::TestWithParam<ValueCase>
{
};

TEST_P(EvaluatedValue, IsAsExpected)
{
    Evaluated const result(GetParam().make(), {{GetParam().x}, {GetParam().y}});
    EXPECT_EQ(result.out[0], GetParam().expected);
    EXPECT_EQ(result.report.numUndefined, 0U);
    EXPECT_EQ(result.report.numClamped, 0U);
}

INSTANTIATE_TEST_SUITE_P(Cases, EvaluatedValue, testing::ValuesIn(valueCases), caseName<ValueCase>);

struct UndefinedCase
{
    char const* name;
    Formula (*make)();
    double x;
    double y;
    char const* why;
};

template <unsigned char code>
Formula functionOfA()
{
    return oneArg(code, a());
}

UndefinedCase const undefinedCases[] = {
    {"DivisionByZero", [] { return divide(a(), b()); }, 1, 0, "Division by zero."},
    {"DivisionOfZeroByZero", [] { return divide(a(), b()); }, 0, -0.0, "Division by zero."},
    {"RootOfNegative", functionOfA<hdqlib::SQRT_FUNCTION>, -1, 0,
     "Invalid values for sqrt function."},
    {"LogOfZero", functionOfA<hdqlib::LOG_FUNCTION>, 0, 0,
     "Invalid values for natural logarithmic function."},
    {"LogOfNegative", functionOfA<hdqlib::LOG_FUNCTION>, -1, 0,
     "Invalid values for natural logarithmic function."},
    {"Log10OfZero", functionOfA<hdqlib::LOG10_FUNCTION>, 0, 0,
     "Invalid values for base-10 logarithmic function."},
    {"ExpThatOverflows", functionOfA<hdqlib::EXP_FUNCTION>, 1000, 0,
     "Invalid values for exponential function."},
    {"AsinBeyondOne", functionOfA<hdqlib::ASIN_FUNCTION>, 2, 0,
     "Invalid values for asin function."},
    {"AcosBeyondOne", functionOfA<hdqlib::ACOS_FUNCTION>, -2, 0,
     "Invalid values for acos function."},
    {"SineOfInfinity", functionOfA<hdqlib::SIN_FUNCTION>, INF, 0, "A result is not a number."},
    {"SquareThatOverflows", [] { return power(a(), 2); }, 1e200, 0,
     "Invalid values for power function."},
    {"RootOfNegativeAsAPower", [] { return power(a(), 0.5); }, -1, 0,
     "Invalid values for power function."},
    {"PoleOfAPower", [] { return power(a(), -1); }, 0, 0, "Invalid values for power function."},
    {"PowerOfTwoOperands", [] { return twoArg(hdqlib::POWER_FUNCTION, a(), b()); }, -1, 0.5,
     "Invalid values for power function."},
    {"DifferenceOfInfinities", [] { return subtract(a(), b()); }, INF, INF,
     "A result is not a number."},
    {"WithinAComparison", [] { return greater(oneArg(hdqlib::SQRT_FUNCTION, a()), num(1)); }, -1, 0,
     "Invalid values for sqrt function."},
};

class UndefinedValue : public testing::TestWithParam<UndefinedCase>
{
};

TEST_P(UndefinedValue, IsNotANumberAndCountedWithItsCause)
{
    // Among points that are defined.
    double const x = GetParam().x;
    double const y = GetParam().y;
    Evaluated const result(GetParam().make(), {{0.5, x, 0.5, x}, {2, y, 2, y}});
    EXPECT_FALSE(std::isnan(result.out[0]));
    EXPECT_TRUE(std::isnan(result.out[1]));
    EXPECT_FALSE(std::isnan(result.out[2]));
    EXPECT_TRUE(std::isnan(result.out[3]));
    EXPECT_EQ(result.report.numUndefined, 2U);
    EXPECT_EQ(result.report.whyUndefined, GetParam().why);
}

INSTANTIATE_TEST_SUITE_P(Cases, UndefinedValue, testing::ValuesIn(undefinedCases),
                         caseName<UndefinedCase>);

TEST(ArrayEvaluator, NothingIsMadeOfNotANumber)
{
    for (auto const& make : std::vector<std::function<Formula()>>{
             [] { return greater(a(), b()); }, [] { return greaterOrEqual(a(), b()); },
             [] { return less(a(), b()); }, [] { return lessOrEqual(a(), b()); },
             [] { return equal(a(), b()); }, [] { return notEqual(a(), b()); },
             [] { return add(a(), b()); }, [] { return divideIgnoringZero(b(), a()); },
             [] { return power(a(), 0); }, [] { return power(a(), 2); },
             [] {
                 return plane(b(), a(), b(), {1, 0, 0, 0});
             }}) {
        Evaluated const result(make(), {{NAN, 1}, {1, 2}});
        EXPECT_TRUE(std::isnan(result.out[0]));
        EXPECT_FALSE(std::isnan(result.out[1]));
        EXPECT_EQ(result.report.numUndefined, 0U); // an input has no value
    }
    for (unsigned char code = 0; code < hdqlib::oneArgFunctions().size(); ++code)
        EXPECT_TRUE(std::isnan(valueOf(oneArg(code, a()), {NAN}))) << int{code};
    for (unsigned char code = 0; code < hdqlib::twoArgFunctions().size(); ++code) {
        EXPECT_TRUE(std::isnan(valueOf(twoArg(code, a(), b()), {NAN, 1}))) << int{code};
        EXPECT_TRUE(std::isnan(valueOf(twoArg(code, a(), b()), {1, NAN}))) << int{code};
    }
}

/// Numbers of all sizes and signs, whole ones and zeros among them.
std::vector<double> manyNumbers(std::size_t count, unsigned seed)
{
    std::mt19937_64 generator(seed);
    std::uniform_real_distribution<double> mantissa(-1, 1);
    std::uniform_int_distribution<int> exponent(-40, 40);
    std::uniform_int_distribution<int> kind(0, 9);
    std::vector<double> result(count);
    for (double& value : result) {
        int const k = kind(generator);
        value = k == 0  ? 0
                : k < 4 ? std::round(mantissa(generator) * 10) / 2
                : k < 7 ? mantissa(generator) * 10
                        : std::ldexp(mantissa(generator), exponent(generator));
    }
    return result;
}

constexpr std::size_t MANY = 20'000;

TEST(ArrayEvaluator, FunctionsOfOneOperandAreThoseOfTheirNodes)
{
    DummyWarningLog log;
    std::vector<double> const x = manyNumbers(MANY, 1);
    for (unsigned char code = 0; code < hdqlib::oneArgFunctions().size(); ++code) {
        if (code == hdqlib::RAND_FUNCTION)
            continue;
        Evaluated const result(oneArg(code, a()), {x});
        for (std::size_t i = 0; i < MANY; ++i) {
            double expected = NAN;
            try {
                expected = hdqlib::oneArgFunctions()[code].doubleFunction(x[i], log);
            } catch (std::domain_error const&) {
                if (code == hdqlib::EXP_FUNCTION && x[i] < 0)
                    expected = std::exp(x[i]); // an underflow
            }
            if (std::isnan(expected))
                ASSERT_TRUE(std::isnan(result.out[i])) << int{code} << " of " << x[i];
            else
                ASSERT_EQ(result.out[i], expected) << int{code} << " of " << x[i];
        }
    }
}

TEST(ArrayEvaluator, FunctionsOfTwoOperandsAreThoseOfTheirNodes)
{
    DummyWarningLog log;
    std::vector<double> const x = manyNumbers(MANY, 2);
    std::vector<double> const y = manyNumbers(MANY, 3);
    for (unsigned char code = 0; code < hdqlib::twoArgFunctions().size(); ++code) {
        Evaluated const result(twoArg(code, a(), b()), {x, y});
        for (std::size_t i = 0; i < MANY; ++i) {
            double expected = NAN;
            try {
                expected = hdqlib::twoArgFunctions()[code].doubleFunction(x[i], y[i], log);
            } catch (std::domain_error const&) {
                double const power = std::pow(x[i], y[i]);
                if (std::fabs(power) < 1)
                    expected = power; // an underflow
            }
            if (std::isnan(expected))
                ASSERT_TRUE(std::isnan(result.out[i])) << int{code} << ' ' << x[i] << ' ' << y[i];
            else
                ASSERT_EQ(result.out[i], expected) << int{code} << ' ' << x[i] << ' ' << y[i];
        }
    }
}

TEST(ArrayEvaluator, LengthOfAVectorIsThatOfALoopToTheLastBit)
{
    std::vector<double> const u = manyNumbers(MANY, 4);
    std::vector<double> const v = manyNumbers(MANY, 5);
    std::vector<double> const w = manyNumbers(MANY, 6);
    Formula formula = oneArg(hdqlib::SQRT_FUNCTION,
                             add(add(power(var(1), 2), power(var(2), 2)), power(var(3), 2)));
    Evaluated const result(std::move(formula), {u, v, w});
    for (std::size_t i = 0; i < MANY; ++i)
        ASSERT_EQ(result.out[i], std::sqrt(u[i] * u[i] + v[i] * v[i] + w[i] * w[i]));
}

TEST(ArrayEvaluator, TakesAnyNumberOfValues)
{
    for (std::size_t const count : {0U, 1U, 2U, 255U, 256U, 257U, 1000U}) {
        std::vector<double> const x = manyNumbers(count, 7);
        Evaluated const result(subtract(multiply(a(), num(2)), b()), {x, x});
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(result.out[i], x[i]) << count;
    }
}

TEST(ArrayEvaluator, RandomNumbersLieBetweenZeroAndTheOperand)
{
    std::vector<double> const x(1000, -2);
    Evaluated const result(oneArg(hdqlib::RAND_FUNCTION, a()), {x});
    double least = 0;
    for (double const value : result.out) {
        ASSERT_LE(value, 0);
        ASSERT_GT(value, -2);
        least = std::min(least, value);
    }
    EXPECT_LT(least, -1);
}

TEST(ArrayEvaluator, DrawsFromTheFunctionOfTheNode)
{
    int numDraws = 0;
    auto const draw = [&numDraws](double x, WarningLogInterface&) { return x * ++numDraws; };
    Evaluated const result(
        Formula(new OneArgFuncExpr(1, draw, {}, new VariableExpr(1, 1), hdqlib::RAND_FUNCTION)),
        {{10, 10, 10}});
    EXPECT_EQ(result.out, (std::vector<double>{10, 20, 30}));
}

TEST(ArrayEvaluator, ClampingsAreCountedAndTheFirstIsTold)
{
    std::vector<double> const x{1, 5, 7, 2, NAN};
    Evaluated const above(twoArg(hdqlib::MIN_WARN_FUNCTION, num(4), a()), {x});
    EXPECT_EQ(above.out[0], 1);
    EXPECT_EQ(above.out[1], 4);
    EXPECT_EQ(above.report.numClamped, 2U);
    EXPECT_EQ(above.report.firstClamping, "Value 5 clamped to 4");
    Evaluated const below(twoArg(hdqlib::MAX_WARN_FUNCTION, num(1.5), a()), {x});
    EXPECT_EQ(below.out[0], 1.5);
    EXPECT_EQ(below.out[1], 5);
    EXPECT_EQ(below.report.numClamped, 1U);
    EXPECT_EQ(below.report.firstClamping, "Value 1 clamped to 1.5");
}

TEST(ArrayEvaluator, VariablesAreListedOnceInTheirOrder)
{
    Program const program(shared(add(add(var(7), var(3)), add(var(7), var(~0UL)))));
    EXPECT_EQ(program.varIDs(), (std::vector<unsigned long>{7, 3, ~0UL}));
    EXPECT_EQ(program.maxDepth(), 3U);
}

TEST(ArrayEvaluator, FormulasOfAnyDepthAreEvaluated)
{
    constexpr int DEPTH = 1'000'000;
    Formula negatives = var(1);
    Formula fromLeft = var(1);
    Formula fromRight = var(1);
    for (int i = 0; i < DEPTH; ++i) {
        negatives = negate(std::move(negatives));
        fromLeft = add(std::move(fromLeft), num(1));
        fromRight = add(num(1), std::move(fromRight));
    }
    std::vector<double> const x{1, 2};
    EXPECT_EQ(Evaluated(std::move(negatives), {x}).out, x);
    EXPECT_EQ(Evaluated(std::move(fromLeft), {x}).out, (std::vector<double>{DEPTH + 1, DEPTH + 2}));
    EXPECT_EQ(Evaluated(std::move(fromRight), {x}).out,
              (std::vector<double>{DEPTH + 1, DEPTH + 2}));
}

TEST(ArrayEvaluator, RefusesWhatCannotBeEvaluated)
{
    auto const failure = [](ExprInterface* root) {
        return messageOf<std::invalid_argument>(
            [root] { ArrayEvaluator evaluator{std::shared_ptr<ExprInterface>(root)}; });
    };
    EXPECT_EQ(failure(nullptr), "There is no expression to evaluate.");
    EXPECT_EQ(failure(new NegateExpr(1, nullptr)), "An operand of the expression is missing.");
    EXPECT_EQ(failure(new OneArgFuncExpr(1, {}, {}, new ConstantExpr(1, 1), '\x10')),
              "The expression has a function 16, which doesn't exist.");
    EXPECT_EQ(failure(new TwoArgFuncExpr(1, {}, {}, new ConstantExpr(1, 1), new ConstantExpr(1, 1),
                                         '\6')),
              "The expression has a function 6, which doesn't exist.");
    EXPECT_EQ(failure(new VarArgFuncExpr(1, {}, {}, {})), "The expression has an empty function.");
}

}
}
