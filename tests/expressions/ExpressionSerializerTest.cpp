#include "expressions/ExpressionSerializer.h"

#include "expressions/DummyWarningLog.h"
#include "expressions/Functions.h"
#include "expressions/IntervalFunctions.h"
#include "tests/expressions/Allocations.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "tests/support/RecordingSocket.h"
#include "tests/support/Wire.h"
#include "varnox/IOException.h"
#include "varnox/eqn/ExprEvalInterface.h"
#include "varnox/eqn/ExprNodes.h"
#include "varnox/eqn/WarningLogInterface.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace varnox::hdqlib {
namespace {

using namespace tests::wire;
using eqn::ExprInterface;
using socketutil::SocketException;
using tests::bytesOf;
using tests::caseName;
using tests::hex;
using tests::messageOf;
using tests::RecordingSocket;

constexpr unsigned long ID = 0x1122334455667788;

std::string const start = hex("88 77 66 55 44 33 22 11"); // the id
std::string const end = hex("ff");
std::string const x = hex("0a 05 00 00 00 00 00 00 00"); // variable 5
std::string const y = hex("0a ff ff ff ff ff ff ff ff"); // variable 2^64 - 1
std::string const z = hex("0a 07 00 00 00 00 00 00 00");
std::string const two = hex("01 00 00 00 00 00 00 00 40"); // constant 2

ExprInterface* variable(unsigned long varID)
{
    return new eqn::VariableExpr(ID, varID);
}

std::string bytesOf(ExprInterface* root)
{
    socketutil::WriteCache cache;
    ExpressionSerializer(std::shared_ptr<ExprInterface>(root)).addToCache(cache);
    return tests::bytesOf(cache);
}

std::shared_ptr<ExprInterface> read(std::string const& bytes)
{
    RecordingSocket socket(bytes);
    auto result = ExpressionSerializer::deserialize(socket).expression();
    EXPECT_TRUE(socket.allWasRead());
    return result;
}

std::string bytesOf(std::shared_ptr<ExprInterface> const& root)
{
    socketutil::WriteCache cache;
    ExpressionSerializer(root).addToCache(cache);
    return tests::bytesOf(cache);
}

/// A formula in which each node stands between brackets ahead of its operands.
class Text final : public eqn::ExprEvalInterface
{
public:
    static std::string of(ExprInterface const* expr)
    {
        Text text;
        expr->accept(text);
        EXPECT_EQ(expr->exprUniqueID(), ID);
        return text.m_text;
    }

    void evaluate(eqn::AddExpr const& e) override { binary("+", e); }
    void evaluate(eqn::ConstantExpr const& e) override { m_text = number(e.constantValue()); }
    void evaluate(eqn::DivideExpr const& e) override
    {
        binary(e.ignoreDivideByZero() ? "/ignoring" : "/", e);
    }
    void evaluate(eqn::MultiplyExpr const& e) override { binary("*", e); }
    void evaluate(eqn::OneArgFuncExpr const& e) override
    {
        unary("f" + std::to_string(e.functionName()), e);
    }
    void evaluate(eqn::NegateExpr const& e) override { unary("neg", e); }
    void evaluate(eqn::PowerExpr const& e) override { unary("pow" + number(e.power()), e); }
    void evaluate(eqn::SubtractExpr const& e) override { binary("-", e); }
    void evaluate(eqn::TwoArgFuncExpr const& e) override
    {
        binary("g" + std::to_string(e.functionName()), e);
    }
    void evaluate(eqn::VarArgFuncExpr const& e) override
    {
        m_text = "(plane";
        for (ExprInterface const* const operand : e.opExprs())
            m_text += " " + of(operand);
        m_text += ")";
    }
    void evaluate(eqn::VariableExpr const& e) override { m_text = "v" + std::to_string(e.varID()); }
    void evaluate(eqn::GreaterThanExpr const& e) override { binary(">", e); }
    void evaluate(eqn::EqualsEqualsExpr const& e) override { binary("==", e); }
    void evaluate(eqn::NotEqualExpr const& e) override { binary("!=", e); }
    void evaluate(eqn::GreaterThanOrEqualExpr const& e) override { binary(">=", e); }
    void evaluate(eqn::LessThanOrEqualExpr const& e) override { binary("<=", e); }
    void evaluate(eqn::LessThanExpr const& e) override { binary("<", e); }

private:
    static std::string number(double value) { return std::to_string(value); }
    void unary(std::string const& name, eqn::UnaryExprAbstract const& e)
    {
        m_text = "(" + name + " " + of(e.opExpr()) + ")";
    }
    void binary(std::string const& name, eqn::BinaryExprAbstract const& e)
    {
        m_text = "(" + name + " " + of(e.firstOpExpr()) + " " + of(e.secondOpExpr()) + ")";
    }

    std::string m_text;
};

struct GoldenCase
{
    char const* name;
    ExprInterface* (*make)();
    std::string nodes;
    char const* text;
};

template <typename Node>
ExprInterface* binaryNode()
{
    return new Node(ID, variable(5), variable(~0UL));
}

Expression owned(ExprInterface* node)
{
    return Expression(node);
}

GoldenCase const goldenCases[] = {
    {"Add", binaryNode<eqn::AddExpr>, x + y + hex("00"), "(+ v5 v18446744073709551615)"},
    {"Constant", [] { return static_cast<ExprInterface*>(new eqn::ConstantExpr(ID, 2)); }, two,
     "2.000000"},
    {"Divide",
     [] {
         return static_cast<ExprInterface*>(
             new eqn::DivideExpr(ID, variable(5), variable(~0UL), false));
     },
     x + y + hex("02"), "(/ v5 v18446744073709551615)"},
    {"Multiply", binaryNode<eqn::MultiplyExpr>, x + y + hex("03"), "(* v5 v18446744073709551615)"},
    {"OneArgFunc",
     [] {
         Expression operand = owned(variable(5));
         return static_cast<ExprInterface*>(makeOneArgFunc(ID, SQRT_FUNCTION, operand).release());
     },
     x + hex("04 0d"), "(f13 v5)"},
    {"Negate", [] { return static_cast<ExprInterface*>(new eqn::NegateExpr(ID, variable(5))); },
     x + hex("05"), "(neg v5)"},
    {"Power", [] { return static_cast<ExprInterface*>(new eqn::PowerExpr(ID, variable(5), -1.5)); },
     x + hex("06 00 00 00 00 00 00 f8 bf"), "(pow-1.500000 v5)"},
    {"Subtract", binaryNode<eqn::SubtractExpr>, x + y + hex("07"), "(- v5 v18446744073709551615)"},
    {"TwoArgFunc",
     [] {
         Expression first = owned(variable(5));
         Expression second = owned(variable(~0UL));
         return static_cast<ExprInterface*>(
             makeTwoArgFunc(ID, ATAN2_FUNCTION, first, second).release());
     },
     x + y + hex("08 04"), "(g4 v5 v18446744073709551615)"},
    {"VarArgFunc",
     [] {
         Expression first = owned(variable(5));
         Expression second = owned(variable(~0UL));
         Expression third = owned(variable(7));
         return static_cast<ExprInterface*>(
             makePlaneEquation(ID, first, second, third, {1, 2, -2, 0.5}).release());
     },
     x + y + z +
         hex("09 04 00 00 00 00 00 00 00" // coefficients:
             "00 00 00 00 00 00 f0 3f"    // A = 1
             "00 00 00 00 00 00 00 40"    // B = 2
             "00 00 00 00 00 00 00 c0"    // C = -2
             "00 00 00 00 00 00 e0 3f"),  // D = 0.5
     "(plane v5 v18446744073709551615 v7)"},
    {"Variable", [] { return variable(5); }, x, "v5"},
    {"GreaterThan", binaryNode<eqn::GreaterThanExpr>, x + y + hex("0b"),
     "(> v5 v18446744073709551615)"},
    {"EqualsEquals", binaryNode<eqn::EqualsEqualsExpr>, x + y + hex("0c"),
     "(== v5 v18446744073709551615)"},
    {"NotEqual", binaryNode<eqn::NotEqualExpr>, x + y + hex("0d"), "(!= v5 v18446744073709551615)"},
    {"GreaterThanOrEqual", binaryNode<eqn::GreaterThanOrEqualExpr>, x + y + hex("0e"),
     "(>= v5 v18446744073709551615)"},
    {"LessThanOrEqual", binaryNode<eqn::LessThanOrEqualExpr>, x + y + hex("0f"),
     "(<= v5 v18446744073709551615)"},
    {"LessThan", binaryNode<eqn::LessThanExpr>, x + y + hex("10"), "(< v5 v18446744073709551615)"},
};

class ExpressionNode : public testing::TestWithParam<GoldenCase>
{
};

TEST_P(ExpressionNode, TravelsAsItsGoldenBytes)
{
    std::string const golden = start + GetParam().nodes + end;
    EXPECT_EQ(bytesOf(GetParam().make()), golden);
    std::shared_ptr<ExprInterface> const received = read(golden);
    EXPECT_EQ(Text::of(received.get()), GetParam().text);
    EXPECT_EQ(bytesOf(received), golden);
}

INSTANTIATE_TEST_SUITE_P(Nodes, ExpressionNode, testing::ValuesIn(goldenCases),
                         caseName<GoldenCase>);

TEST(ExpressionSerializer, KeepsTheExpressionThatItIsGiven)
{
    auto const root = std::shared_ptr<ExprInterface>(variable(5));
    EXPECT_EQ(ExpressionSerializer(root).expression(), root);
}

TEST(ExpressionSerializer, LoneConstantIsIdCodeNumberAndEnd)
{
    EXPECT_EQ(bytesOf(new eqn::ConstantExpr(ID, 2)), hex("88 77 66 55 44 33 22 11"
                                                         "01"
                                                         "00 00 00 00 00 00 00 40"
                                                         "ff"));
}

TEST(ExpressionSerializer, OperandsStandAheadOfTheirNodeInTheirOrder)
{
    // (5 - 2) * -(7) > 5
    auto* const root = new eqn::GreaterThanExpr(
        ID,
        new eqn::MultiplyExpr(ID,
                              new eqn::SubtractExpr(ID, variable(5), new eqn::ConstantExpr(ID, 2)),
                              new eqn::NegateExpr(ID, variable(7))),
        variable(5));
    std::string const golden =
        start + x + two + hex("07") + z + hex("05") + hex("03") + x + hex("0b") + end;
    EXPECT_EQ(bytesOf(root), golden);
    EXPECT_EQ(Text::of(read(golden).get()), "(> (* (- v5 2.000000) (neg v7)) v5)");
}

TEST(ExpressionSerializer, IgnoringADivisionByZeroDoesNotTravel)
{
    std::string const bytes = bytesOf(new eqn::DivideExpr(ID, variable(5), variable(7), true));
    EXPECT_EQ(bytes, start + x + z + hex("02") + end);
    EXPECT_EQ(Text::of(read(bytes).get()), "(/ v5 v7)");
}

TEST(ExpressionSerializer, EveryFunctionOfOneOperandComesBack)
{
    eqn::DummyWarningLog log;
    ASSERT_EQ(oneArgFunctions().size(), 16U);
    for (unsigned char code = 0; code < 16; ++code) {
        std::string const golden = start + x + hex("04") + u8(code) + end;
        std::shared_ptr<ExprInterface> const root = read(golden);
        auto const& node = dynamic_cast<eqn::OneArgFuncExpr const&>(*root);
        EXPECT_EQ(node.functionName(), code);
        EXPECT_EQ(bytesOf(root), golden);
        if (code == RAND_FUNCTION)
            continue; // each call has a number of its own
        OneArgFunction const& function = oneArgFunctions()[code];
        Interval const range{0.25, 0.75};
        EXPECT_EQ(node.doubleFunction()(0.75, log), function.doubleFunction(0.75, log));
        EXPECT_EQ(node.intervalFunction()(range, log).upper,
                  function.intervalFunction(range, log).upper);
    }
}

TEST(ExpressionSerializer, EveryFunctionOfTwoOperandsComesBack)
{
    eqn::DummyWarningLog log;
    ASSERT_EQ(twoArgFunctions().size(), 6U);
    for (unsigned char code = 0; code < 6; ++code) {
        std::string const golden = start + x + z + hex("08") + u8(code) + end;
        std::shared_ptr<ExprInterface> const root = read(golden);
        auto const& node = dynamic_cast<eqn::TwoArgFuncExpr const&>(*root);
        EXPECT_EQ(node.functionName(), code);
        EXPECT_EQ(bytesOf(root), golden);
        TwoArgFunction const& function = twoArgFunctions()[code];
        Interval const first{2, 4};
        Interval const second{-1, 3};
        EXPECT_EQ(node.doubleFunction()(4, 3, log), function.doubleFunction(4, 3, log));
        EXPECT_EQ(node.intervalFunction()(first, second, log).upper,
                  function.intervalFunction(first, second, log).upper);
    }
}

/// What the functions of the tables make of numbers by which each can be told from all others.
TEST(ExpressionSerializer, CodesAreThoseOfTheirFunctions)
{
    eqn::DummyWarningLog log;
    double const v = -0.625;
    std::map<int, double> const expected{{1, 0.625},        {2, std::sin(v)},  {3, std::cos(v)},
                                         {4, std::tan(v)},  {6, -1},           {7, 0},
                                         {8, std::asin(v)}, {9, std::acos(v)}, {10, std::atan(v)},
                                         {11, std::exp(v)}, {14, -1},          {15, 1}};
    for (auto const& [code, value] : expected)
        EXPECT_EQ(oneArgFunctions()[static_cast<std::size_t>(code)].doubleFunction(v, log), value);
    EXPECT_EQ(oneArgFunctions()[0].doubleFunction(100, log), 2);
    EXPECT_EQ(oneArgFunctions()[12].doubleFunction(100, log), std::log(100));
    EXPECT_EQ(oneArgFunctions()[13].doubleFunction(100, log), 10);
    double const expectedOfTwo[] = {2, 3, 2, 3, std::atan2(2, 3), 8};
    for (std::size_t code = 0; code < 6; ++code)
        EXPECT_EQ(twoArgFunctions()[code].doubleFunction(2, 3, log), expectedOfTwo[code]) << code;
}

TEST(ExpressionSerializer, CodesAreThoseOfTheirFunctionsForRanges)
{
    eqn::DummyWarningLog log;
    Interval const v{0.25, 0.625};
    Interval (*const ofOne[])(Interval const&) = {
        varnox::log10, varnox::abs,   varnox::sin,  varnox::cos,  varnox::tan,  rand,
        varnox::round, varnox::trunc, varnox::asin, varnox::acos, varnox::atan, varnox::exp,
        varnox::log,   varnox::sqrt,  varnox::sign, varnox::sign2};
    std::set<std::pair<double, double>> results;
    for (std::size_t code = 0; code < std::size(ofOne); ++code) {
        Interval const expected = ofOne[code](v);
        Interval const actual = oneArgFunctions()[code].intervalFunction(v, log);
        EXPECT_EQ(actual.lower, expected.lower) << code;
        EXPECT_EQ(actual.upper, expected.upper) << code;
        results.emplace(actual.lower, actual.upper);
    }
    EXPECT_EQ(results.size(), std::size(ofOne) - 1); // round and sign2 are both [0, 1]
    EXPECT_EQ(oneArgFunctions()[6].intervalFunction({1.5, 2.5}, log).upper, 3);
    EXPECT_EQ(oneArgFunctions()[15].intervalFunction({1.5, 2.5}, log).upper, 1);

    Interval const expectedOfTwo[] = {
        {1, 3}, {2, 5}, {1, 3}, {2, 5}, {std::atan2(1, 3), std::atan2(5, 2)}, {1, 125}};
    for (std::size_t code = 0; code < std::size(expectedOfTwo); ++code) {
        Interval const actual = twoArgFunctions()[code].intervalFunction({1, 5}, {2, 3}, log);
        EXPECT_EQ(actual.lower, expectedOfTwo[code].lower) << code;
        EXPECT_EQ(actual.upper, expectedOfTwo[code].upper) << code;
    }
}

/// Counts what is logged.
class Count final : public eqn::WarningLogInterface
{
public:
    void logWarning(std::string const&) override { ++number; }

    int number = 0;
};

TEST(ExpressionSerializer, CodesTellFunctionsThatWarnFromThoseThatDoNot)
{
    int const expected[] = {0, 0, 1, 1, 0, 0};
    for (std::size_t code = 0; code < std::size(expected); ++code) {
        Count log;
        TwoArgFunction const& function = twoArgFunctions()[code];
        function.doubleFunction(2, 3, log);
        function.doubleFunction(3, 2, log);
        EXPECT_EQ(log.number, expected[code]) << code;
        function.intervalFunction({2, 2}, {3, 3}, log); // never warns
        function.intervalFunction({3, 3}, {2, 2}, log);
        EXPECT_EQ(log.number, expected[code]) << code;
    }
}

TEST(ExpressionSerializer, CodeOfRandomNumbersDrawsAnotherEachTime)
{
    eqn::DummyWarningLog log;
    auto const& draw = oneArgFunctions()[5].doubleFunction;
    double const first = draw(1, log);
    EXPECT_EQ(draw(0, log), 0);
    EXPECT_NE(draw(1, log), first);
}

TEST(ExpressionSerializer, PlaneEquationIsTheSameFunctionAfterwards)
{
    Expression first = owned(variable(5));
    Expression second = owned(variable(6));
    Expression third = owned(variable(7));
    auto const root =
        read(bytesOf(makePlaneEquation(ID, first, second, third, {0.5, -2, 8, 1024}).release()));
    auto const& node = dynamic_cast<eqn::VarArgFuncExpr const&>(*root);
    eqn::DummyWarningLog log;
    EXPECT_EQ(node.doubleFunction()({3, 5, 7}, log), 1.5 - 10 + 56 + 1024);
    EXPECT_EQ(node.intervalFunction()({{1, 2}, {1, 2}, {1, 2}}, log).lower, 0.5 - 4 + 8 + 1024);
    ASSERT_EQ(node.opExprs().size(), 3U);
    EXPECT_EQ(Text::of(node.opExprs()[0]), "v5"); // in the order in which they were pushed
    EXPECT_EQ(Text::of(node.opExprs()[2]), "v7");
}

TEST(ExpressionSerializer, PlaneEquationOfThreeCoefficientsIsRefusedAndLeavesItsOperands)
{
    Expression first = owned(variable(5));
    Expression second = owned(variable(6));
    Expression third = owned(variable(7));
    EXPECT_EQ(messageOf<std::invalid_argument>([&] {
                  makePlaneEquation(ID, first, second, third, {0.5, -2, 8});
              }),
              "A plane equation has four coefficients.");
    EXPECT_NE(first, nullptr);
    EXPECT_NE(third, nullptr);
}

TEST(ExpressionSerializer, CoefficientsLoseTheDigitsOfASubtraction)
{
    Expression first = owned(variable(5));
    Expression second = owned(variable(6));
    Expression third = owned(variable(7));
    double const a = 0.1;
    double const d = 1e6;
    std::string const bytes =
        bytesOf(makePlaneEquation(ID, first, second, third, {a, 0, 0, d}).release());
    double const sent = a * 1 + 0 * 0 + 0 * 0 + d - d;
    EXPECT_NE(sent, a);
    EXPECT_EQ(bytes.substr(bytes.size() - 33), f64(sent) + f64(0) + f64(0) + f64(d) + end);
}

TEST(ExpressionSerializer, AnyFunctionIsSentAsThePlaneThroughFourPoints)
{
    auto const function = [](std::vector<double> const& v, eqn::WarningLogInterface&) {
        EXPECT_EQ(v.size(), 3U); // however many operands there are
        return 10 + v[0] * v[0] - 2 * v[1] + 4 * v[2];
    };
    EXPECT_EQ(bytesOf(new eqn::VarArgFuncExpr(ID, function, {}, {variable(5), variable(7)})),
              start + x + z + hex("09") + vec({f64(1), f64(-2), f64(4), f64(10)}) + end);
}

TEST(ExpressionSerializer, EmptyFunctionCannotBeSent)
{
    EXPECT_EQ(messageOf<boost::bad_function_call>(
                  [] { bytesOf(new eqn::VarArgFuncExpr(ID, {}, {}, {variable(5)})); }),
              "call to empty boost::function");
}

TEST(ExpressionSerializer, MissingExpressionsAndOperandsCannotBeSent)
{
    EXPECT_EQ(
        messageOf<std::invalid_argument>([] { bytesOf(static_cast<ExprInterface*>(nullptr)); }),
        "There is no expression to send.");
    EXPECT_EQ(messageOf<std::invalid_argument>(
                  [] { bytesOf(new eqn::AddExpr(ID, variable(5), nullptr)); }),
              "An operand of the expression is missing.");
}

TEST(ExpressionSerializer, OnlyFirstFourCoefficientsCount)
{
    std::string const coefficients = vec({f64(1), f64(2), f64(3), f64(4), f64(5)});
    auto const root = read(start + x + y + z + hex("09") + coefficients + end);
    eqn::DummyWarningLog log;
    EXPECT_EQ(dynamic_cast<eqn::VarArgFuncExpr const&>(*root).doubleFunction()({1, 1, 1}, log), 10);
}

TEST(ExpressionSerializer, LowerPartOfTheStackIsDropped)
{
    long const before = tests::numAllocations();
    EXPECT_EQ(Text::of(read(start + x + y + hex("00") + z + end).get()), "v7");
    EXPECT_EQ(tests::numAllocations(), before);
}

struct DamageCase
{
    char const* name;
    std::string nodes;
    char const* text;
};

char const* const tooFew = "The expression is damaged: a node has fewer operands than it needs.";

DamageCase const damageCases[] = {
    {"NothingAtAll", end, "The expression is damaged: it ends without a value."},
    {"CodeBehindTheLast", x + hex("11"), "The expression is damaged: there is no node of type 17."},
    {"LargestCode", x + hex("fe"), "The expression is damaged: there is no node of type 254."},
    {"SumOfOne", x + hex("00"), tooFew},
    {"SumOfNone", hex("00"), tooFew},
    {"QuotientOfOne", x + hex("02"), tooFew},
    {"ProductOfOne", x + hex("03"), tooFew},
    {"FunctionOfNothing", hex("04 0d"), tooFew},
    {"NegativeOfNothing", hex("05"), tooFew},
    {"PowerOfNothing", hex("06") + f64(2), tooFew},
    {"DifferenceOfOne", x + hex("07"), tooFew},
    {"FunctionOfOneOfTwo", x + hex("08 04"), tooFew},
    {"PlaneOfTwo", x + y + hex("09") + vec({f64(1), f64(1), f64(1), f64(1)}), tooFew},
    {"ComparisonOfOne", x + hex("0b"), tooFew},
    {"EqualityOfOne", x + hex("0c"), tooFew},
    {"InequalityOfOne", x + hex("0d"), tooFew},
    {"NotBelowOfOne", x + hex("0e"), tooFew},
    {"NotAboveOfOne", x + hex("0f"), tooFew},
    {"BelowOfOne", x + hex("10"), tooFew},
    {"PlaneWithThreeCoefficients", x + y + z + hex("09") + vec({f64(1), f64(1), f64(1)}),
     "The expression is damaged: a plane equation has 3 coefficients instead of 4."},
};

class DamagedExpression : public testing::TestWithParam<DamageCase>
{
};

TEST_P(DamagedExpression, EndsWithAClearErrorAndLosesNothing)
{
    std::string text;
    long const before = tests::numAllocations();
    {
        RecordingSocket socket(start + GetParam().nodes + end);
        text = messageOf<IOException>([&] { ExpressionSerializer::deserialize(socket); });
    }
    EXPECT_EQ(text, GetParam().text);
    text = std::string();
    text.shrink_to_fit();
    EXPECT_EQ(tests::numAllocations(), before);
}

INSTANTIATE_TEST_SUITE_P(Expressions, DamagedExpression, testing::ValuesIn(damageCases),
                         caseName<DamageCase>);

TEST(ExpressionSerializer, EveryUnknownCodeIsAnError)
{
    for (int code = 17; code < 255; ++code) {
        RecordingSocket socket(start + x + u8(static_cast<std::uint64_t>(code)) + end);
        EXPECT_EQ(messageOf<IOException>([&] { ExpressionSerializer::deserialize(socket); }),
                  "The expression is damaged: there is no node of type " + std::to_string(code) +
                      ".");
    }
}

TEST(ExpressionSerializer, UnknownFunctionLosesItsOperands)
{
    tests::ExpectedLoss const loss;
    ASSERT_FALSE(oneArgFunctions().empty() || twoArgFunctions().empty()); // the tables stay
    for (auto const& [nodes, lost] : {std::pair{y + hex("04 10"), 1},
                                      {y + hex("04 ff"), 1},
                                      {y + z + hex("08 06"), 2},
                                      {y + z + hex("08 ff"), 2}}) {
        // With a node below it on the stack the expression goes on without the function.
        long const before = tests::numAllocations();
        EXPECT_EQ(Text::of(read(start + x + nodes + end).get()), "v5");
        EXPECT_EQ(tests::numAllocations(), before + lost);
        RecordingSocket socket(start + nodes + end);
        EXPECT_EQ(messageOf<IOException>([&] { ExpressionSerializer::deserialize(socket); }),
                  "The expression is damaged: it ends without a value.");
    }
}

/// An expression with every kind of node.
std::string everyNode()
{
    return start + x + two + hex("00") + z + hex("02") + x + hex("03") + hex("04 0d") + hex("05") +
           hex("06") + f64(3) + y + hex("07") + two + hex("08 04") + x + z + hex("09") +
           vec({f64(1), f64(2), f64(3), f64(4)}) + x + hex("0b") + x + hex("0c") + x + hex("0d") +
           x + hex("0e") + x + hex("0f") + x + hex("10") + end;
}

TEST(ExpressionSerializer, EveryTruncationFailsAndLosesNothing)
{
    std::string const whole = everyNode();
    EXPECT_EQ(bytesOf(read(whole)), whole);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        RecordingSocket socket(whole.substr(0, size));
        long const before = tests::numAllocations();
        EXPECT_THROW(ExpressionSerializer::deserialize(socket), SocketException) << size;
        EXPECT_EQ(tests::numAllocations(), before) << size;
    }
}

TEST(ExpressionSerializer, EveryChangedByteReadsOrFails)
{
    tests::ExpectedLoss const loss; // of unknown functions
    std::string const whole = everyNode();
    int numRead = 0;
    int numFailed = 0;
    for (std::size_t place = 0; place < whole.size(); ++place)
        for (int value = 0; value < 256; ++value) {
            std::string changed = whole;
            changed[place] = static_cast<char>(value);
            RecordingSocket socket(changed);
            try {
                EXPECT_NE(ExpressionSerializer::deserialize(socket).expression(), nullptr);
                ++numRead;
            } catch (IOException const&) {
                ++numFailed;
            } catch (SocketException const&) {
                ++numFailed;
            }
        }
    EXPECT_GT(numRead, 0);
    EXPECT_GT(numFailed, 0);
}

TEST(ExpressionSerializer, MillionNestedFunctionsTravel)
{
    std::string bytes = start + x;
    for (int i = 0; i < 1'000'000; ++i)
        bytes += "\x04\x0d";
    bytes += end;
    EXPECT_EQ(bytesOf(read(bytes)), bytes);
}

TEST(ExpressionSerializer, SumsOfAMillionTermsTravelEitherWayRound)
{
    std::string fromLeft = start + x;
    std::string fromRight = start;
    for (int i = 0; i < 1'000'000; ++i) {
        fromLeft += x + '\0';
        fromRight += x;
    }
    fromLeft += end;
    fromRight += x + std::string(1'000'000, '\0') + end;
    EXPECT_EQ(bytesOf(read(fromLeft)), fromLeft);
    EXPECT_EQ(bytesOf(read(fromRight)), fromRight);
}

}
}
