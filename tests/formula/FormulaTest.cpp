#include "formula/Formula.h"

#include "expressions/DummyWarningLog.h"
#include "expressions/Functions.h"
#include "expressions/PostOrder.h"
#include "formula/FormulaError.h"
#include "tests/support/CaseName.h"
#include "varnox/eqn/ExprEvalInterface.h"
#include "varnox/eqn/ExprNodes.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace varnox::formula {
namespace {

using tests::caseName;

/// An expression as text: each operation ahead of its operands, in parentheses.
class Printer final : public eqn::ExprEvalInterface
{
public:
    static std::string print(eqn::ExprInterface const& expr)
    {
        Printer printer;
        expr.accept(printer);
        return printer.m_text.str();
    }

private:
    void binary(char const* name, eqn::BinaryExprAbstract const& expr)
    {
        m_text << '(' << name << ' ';
        expr.firstOpExpr()->accept(*this);
        m_text << ' ';
        expr.secondOpExpr()->accept(*this);
        m_text << ')';
    }

    void evaluate(eqn::AddExpr const& expr) override { binary("+", expr); }
    void evaluate(eqn::ConstantExpr const& expr) override { m_text << expr.constantValue(); }
    void evaluate(eqn::DivideExpr const& expr) override
    {
        binary(expr.ignoreDivideByZero() ? "/?" : "/", expr);
    }
    void evaluate(eqn::MultiplyExpr const& expr) override { binary("*", expr); }
    void evaluate(eqn::OneArgFuncExpr const& expr) override
    {
        m_text << '(' << hdqlib::oneArgFunctions().at(expr.functionName()).name << ' ';
        expr.opExpr()->accept(*this);
        m_text << ')';
    }
    void evaluate(eqn::NegateExpr const& expr) override
    {
        m_text << "(neg ";
        expr.opExpr()->accept(*this);
        m_text << ')';
    }
    void evaluate(eqn::PowerExpr const& expr) override
    {
        m_text << "(^" << expr.power() << ' ';
        expr.opExpr()->accept(*this);
        m_text << ')';
    }
    void evaluate(eqn::SubtractExpr const& expr) override { binary("-", expr); }
    void evaluate(eqn::TwoArgFuncExpr const& expr) override
    {
        binary(hdqlib::twoArgFunctions().at(expr.functionName()).name, expr);
    }
    void evaluate(eqn::VarArgFuncExpr const& expr) override
    {
        eqn::DummyWarningLog log;
        m_text << "(plane";
        for (auto const* const operand : expr.opExprs()) {
            m_text << ' ';
            operand->accept(*this);
        }
        m_text << " at 1 10 100 is " << expr.doubleFunction()({1, 10, 100}, log) << ')';
    }
    void evaluate(eqn::VariableExpr const& expr) override { m_text << 'v' << expr.varID(); }
    void evaluate(eqn::GreaterThanExpr const& expr) override { binary(">", expr); }
    void evaluate(eqn::EqualsEqualsExpr const& expr) override { binary("==", expr); }
    void evaluate(eqn::NotEqualExpr const& expr) override { binary("!=", expr); }
    void evaluate(eqn::GreaterThanOrEqualExpr const& expr) override { binary(">=", expr); }
    void evaluate(eqn::LessThanOrEqualExpr const& expr) override { binary("<=", expr); }
    void evaluate(eqn::LessThanExpr const& expr) override { binary("<", expr); }

    std::ostringstream m_text;
};

/// Variables u, v and w are 1, 2 and 3; Pressure, "wall distance", "ψ" and "sin" are 4 to 7.
std::optional<unsigned long> variableNamed(std::string const& name)
{
    char const* const names[] = {"u", "v", "w", "Pressure", "wall distance", "ψ", "sin"};
    unsigned long id = 0;
    for (char const* const candidate : names) {
        ++id;
        if (name == candidate)
            return id;
    }
    return std::nullopt;
}

std::shared_ptr<eqn::ExprInterface> parsed(std::string const& formula)
{
    return parseFormula(formula, 77, variableNamed);
}

struct FormulaCase
{
    char const* name;
    char const* formula;
    char const* expression;
};

class Formulas : public testing::TestWithParam<FormulaCase>
{
};

TEST_P(Formulas, AreTheirExpressions)
{
    EXPECT_EQ(Printer::print(*parsed(GetParam().formula)), GetParam().expression);
}

FormulaCase const formulaCases[] = {
    {"Length", "sqrt(u^2+v^2+w^2)", "(sqrt (+ (+ (^2 v1) (^2 v2)) (^2 v3)))"},
    {"Threshold", "{Pressure} > 1e5", "(> v4 100000)"},
    {"Number", "12", "12"},
    {"NumberWithoutALeadingDigit", ".5", "0.5"},
    {"NumberWithoutATrailingDigit", "5.*2", "(* 5 2)"},
    {"NumberWithExponent", "2.5E-3", "0.0025"},
    {"BareName", "Pressure", "v4"},
    {"NameInBraces", "{wall distance}", "v5"},
    {"NameInAnotherScript", "ψ + 1", "(+ v6 1)"},
    {"NameOfAFunction", "sin + sin(u)", "(+ v7 (sin v1))"},
    {"NameOfAFunctionInBraces", "{sin}*(u)", "(* v7 v1)"},
    {"SumsFromTheLeft", "u-v+w-1", "(- (+ (- v1 v2) v3) 1)"},
    {"ProductsFromTheLeft", "u/v*w/2", "(/ (* (/ v1 v2) v3) 2)"},
    {"ProductsBindMoreThanSums", "u+v*w-u/v", "(- (+ v1 (* v2 v3)) (/ v1 v2))"},
    {"PowersBindMoreThanProducts", "u*v^2", "(* v1 (^2 v2))"},
    {"PowersBindMoreThanSigns", "-u^2", "(neg (^2 v1))"},
    {"PowersBindMoreThanTheSignOfANumber", "-2^2", "(neg (^2 2))"},
    {"PowersFromTheRight", "u^v^w", "(power v1 (power v2 v3))"},
    {"PowerOfPower", "u^2^v", "(power v1 (power 2 v2))"},
    {"NegativeExponent", "u^-1", "(^-1 v1)"},
    {"PositiveExponent", "u^+2", "(^2 v1)"},
    {"FractionAsExponent", "u^0.5", "(^0.5 v1)"},
    {"NumberInParenthesesAsExponent", "u^(-3)", "(^-3 v1)"},
    {"SumAsExponent", "u^(1+1)", "(power v1 (+ 1 1))"},
    {"SignsBindMoreThanProducts", "-u*-v", "(* (neg v1) (neg v2))"},
    {"ManySigns", "--+-u", "(neg (neg (neg v1)))"},
    {"NegativeNumber", "-3", "-3"},
    {"NumberNegatedTwice", "u - -3", "(- v1 -3)"},
    {"Parentheses", "(u+v)*((w))", "(* (+ v1 v2) v3)"},
    {"ComparisonsBindLeast", "u+1 < v*2", "(< (+ v1 1) (* v2 2))"},
    {"Less", "u<v", "(< v1 v2)"},
    {"LessOrEqual", "u<=v", "(<= v1 v2)"},
    {"Greater", "u>v", "(> v1 v2)"},
    {"GreaterOrEqual", "u>=v", "(>= v1 v2)"},
    {"Equal", "u==v", "(== v1 v2)"},
    {"Unequal", "u!=v", "(!= v1 v2)"},
    {"ComparisonOfComparisons", "(u<v) == (v<w)", "(== (< v1 v2) (< v2 v3))"},
    {"ComparisonAsArgument", "max(u<v, 0.5)", "(max (< v1 v2) 0.5)"},
    {"ComparisonInASum", "1 + (u<v)", "(+ 1 (< v1 v2))"},
    {"NegativeRightSide", "u<-1", "(< v1 -1)"},
    {"FunctionWhateverItsCase", "SQRT(u)+Sqrt(v)", "(+ (sqrt v1) (sqrt v2))"},
    {"FunctionWithBlanks", "atan2 ( u ,\n\tv )", "(atan2 v1 v2)"},
    {"PowerAsFunction", "power(u, 2)", "(power v1 2)"},
    {"Plane", "plane(u, v, w, 2, -3, 0.5, 4)", "(plane v1 v2 v3 at 1 10 100 is 26)"},
    {"PlaneOfFormulas", "plane(u+1, -v, 3, 1, 0, 0, 0)",
     "(plane (+ v1 1) (neg v2) 3 at 1 10 100 is 1)"},
    {"LineBreaks", "u\r\n +\n v", "(+ v1 v2)"},
};

INSTANTIATE_TEST_SUITE_P(Formula, Formulas, testing::ValuesIn(formulaCases), caseName<FormulaCase>);

TEST(Formula, EveryFunctionOfTheTablesHasItsName)
{
    for (std::size_t code = 0; code < hdqlib::oneArgFunctions().size(); ++code) {
        std::string const name = hdqlib::oneArgFunctions()[code].name;
        auto const expression = parsed(name + "(u)");
        auto const* const node = dynamic_cast<eqn::OneArgFuncExpr const*>(expression.get());
        ASSERT_NE(node, nullptr) << name;
        EXPECT_EQ(node->functionName(), code) << name;
    }
    for (std::size_t code = 0; code < hdqlib::twoArgFunctions().size(); ++code) {
        std::string const name = hdqlib::twoArgFunctions()[code].name;
        auto const expression = parsed(name + "(u, v)");
        auto const* const node = dynamic_cast<eqn::TwoArgFuncExpr const*>(expression.get());
        ASSERT_NE(node, nullptr) << name;
        EXPECT_EQ(node->functionName(), code) << name;
    }
}

TEST(Formula, EveryNodeHasTheExpressionsId)
{
    auto const expression = parsed("-sqrt(u^2 + v*w/3 - 1) + plane(u, v, w, 1, 2, 3, 4) + "
                                   "max(u, v^w) * ((u<v) + (u<=v) + (u>v) + (u>=v) + (u==v) + "
                                   "(u!=v))");
    for (eqn::ExprInterface const* const node : eqn::inPostOrder(*expression))
        EXPECT_EQ(node->exprUniqueID(), 77U);
}

TEST(Formula, NumbersAreTheNearestDoubles)
{
    auto const valueOf = [](std::string const& formula) {
        auto const expression = parsed(formula);
        return dynamic_cast<eqn::ConstantExpr const&>(*expression).constantValue();
    };
    EXPECT_EQ(valueOf("0.1"), 0.1);
    EXPECT_EQ(valueOf("3.141592653589793238462643"), 3.141592653589793);
    EXPECT_EQ(valueOf("1.7976931348623157e308"), 1.7976931348623157e308);
    EXPECT_EQ(valueOf("-5e-324"), -5e-324);
}

struct MistakeCase
{
    char const* name;
    std::string formula;
    std::size_t column;
    char const* message;
};

class Mistakes : public testing::TestWithParam<MistakeCase>
{
};

TEST_P(Mistakes, AreToldWithTheirColumn)
{
    try {
        parsed(GetParam().formula);
        FAIL() << "nothing was thrown";
    } catch (FormulaError const& error) {
        EXPECT_STREQ(error.what(), GetParam().message);
        EXPECT_EQ(error.column(), GetParam().column);
    }
}

MistakeCase const mistakeCases[] = {
    {"Nothing", "", 1,
     "Column 1: The formula ends where a number, a variable or a function is missing.\n\n^"},
    {"Blanks", "  ", 3,
     "Column 3: The formula ends where a number, a variable or a function is missing.\n  \n  ^"},
    {"NoSecondOperand", "u +", 4,
     "Column 4: The formula ends where a number, a variable or a function is missing.\nu +\n   ^"},
    {"NoFirstOperand", "* u", 1,
     "Column 1: A number, a variable or a function is missing here.\n* u\n^"},
    {"TwoOperations", "u */ v", 4,
     "Column 4: A number, a variable or a function is missing here.\nu */ v\n   ^"},
    {"NoOperation", "u v", 3, "Column 3: An operation is missing here.\nu v\n  ^"},
    {"NumberAndName", "2u", 2, "Column 2: An operation is missing here.\n2u\n ^"},
    {"TwoPoints", "1.2.3", 4, "Column 4: An operation is missing here.\n1.2.3\n   ^"},
    {"UnknownVariable", "u + Velocity", 5,
     "Column 5: There is no variable 'Velocity'.\nu + Velocity\n    ^"},
    {"UnknownVariableInBraces", "{no such}", 1,
     "Column 1: There is no variable 'no such'.\n{no such}\n^"},
    {"UnknownFunction", "u + cot(v)", 5,
     "Column 5: There is no function 'cot'.\nu + cot(v)\n    ^"},
    {"FunctionAsVariable", "sqrt + 1", 1, "Column 1: There is no variable 'sqrt'.\nsqrt + 1\n^"},
    {"OpenBrace", "u + {v", 5, "Column 5: This brace isn't closed.\nu + {v\n    ^"},
    {"OpenParenthesis", "u*(v+w", 3, "Column 3: This parenthesis isn't closed.\nu*(v+w\n  ^"},
    {"OpenCall", "sqrt(u", 5, "Column 5: This parenthesis isn't closed.\nsqrt(u\n    ^"},
    {"CloseTwice", "(u))", 4, "Column 4: There is no parenthesis to close here.\n(u))\n   ^"},
    {"TooFewArguments", "1 + max(u)", 5, "Column 5: 'max' takes 2 arguments.\n1 + max(u)\n    ^"},
    {"NoArgument", "sin()", 1, "Column 1: 'sin' takes 1 argument.\nsin()\n^"},
    {"TooManyArguments", "sin(u, v)", 8,
     "Column 8: This function has no argument here.\nsin(u, v)\n       ^"},
    {"EmptyArgument", "max(u,)", 7,
     "Column 7: A number, a variable or a function is missing here.\nmax(u,)\n      ^"},
    {"CommaOutsideACall", "(u, v)", 1, "Column 1: This parenthesis isn't closed.\n(u, v)\n^"},
    {"ArgumentsWithoutAComma", "max(u v)", 7,
     "Column 7: An operation is missing here.\nmax(u v)\n      ^"},
    {"FormulaAsCoefficient", "plane(u,v,w,1,2,u,4)", 17,
     "Column 17: This argument of 'plane' must be a number.\nplane(u,v,w,1,2,u,4)\n"
     "                ^"},
    {"ChainOfComparisons", "u < v < w", 7,
     "Column 7: Comparisons can't follow each other; set parentheses.\nu < v < w\n      ^"},
    {"SingleEqualsSign", "u = v", 3,
     "Column 3: This has no meaning in a formula. To compare, write ==.\nu = v\n  ^"},
    {"SingleExclamationMark", "!u", 1,
     "Column 1: This has no meaning in a formula. For unequal, write !=.\n!u\n^"},
    {"ForeignSign", "u % v", 3, "Column 3: This has no meaning in a formula.\nu % v\n  ^"},
    {"LonePoint", "u + .", 5, "Column 5: This has no meaning in a formula.\nu + .\n    ^"},
    {"NumberTooLarge", "u + 1e999", 5,
     "Column 5: This number is too large or too small for a double.\nu + 1e999\n    ^"},
    {"ColumnsCountCharacters", "ψ + ψψ * u", 5,
     "Column 5: There is no variable 'ψψ'.\nψ + ψψ * u\n    ^"},
    {"ColumnInItsLine", "u +\n  q *\n 2", 3, "Column 3: There is no variable 'q'.\n  q *\n  ^"},
    {"ControlCharacters", "u + \x1b[2J", 5,
     "Column 5: This has no meaning in a formula.\nu +  [2J\n    ^"},
    {"ZeroByte", std::string("u\0v", 3), 2, "Column 2: This has no meaning in a formula.\nu v\n ^"},
};

INSTANTIATE_TEST_SUITE_P(Formula, Mistakes, testing::ValuesIn(mistakeCases), caseName<MistakeCase>);

std::string messageOf(std::string const& formula)
{
    try {
        parsed(formula);
    } catch (FormulaError const& error) {
        return error.what();
    }
    return "";
}

TEST(Formula, LongLineIsShownAroundThePlace)
{
    std::string const message = messageOf(std::string(500, ' ') + "q" + std::string(500, ' '));
    EXPECT_EQ(message, "Column 501: There is no variable 'q'.\n" + std::string(60, ' ') + "q" +
                           std::string(59, ' ') + "\n" + std::string(60, ' ') + "^");
}

TEST(Formula, DepthIsBounded)
{
    auto const nested = [](std::string const& open, std::size_t depth, std::string const& close) {
        std::string formula;
        for (std::size_t i = 0; i < depth; ++i)
            formula += open;
        formula += "u";
        for (std::size_t i = 0; i < depth; ++i)
            formula += close;
        return formula;
    };
    constexpr std::size_t FINE = MAX_FORMULA_DEPTH - 1;
    for (auto const& [open, close] : std::vector<std::pair<std::string, std::string>>{
             {"(", ")"}, {"-", ""}, {"u^", ""}, {"sin(", ")"}, {"max(u,", ")"}}) {
        EXPECT_EQ(messageOf(nested(open, FINE, close)), "") << open;
        EXPECT_NE(messageOf(nested(open, FINE + 1, close)).find("nested too deeply"),
                  std::string::npos)
            << open;
        EXPECT_NE(messageOf(nested(open, 100'000, close)).find("nested too deeply"),
                  std::string::npos)
            << open;
    }
}

TEST(Formula, LongSumsAndProductsAreNotDeep)
{
    std::string formula = "u";
    for (int i = 0; i < 100'000; ++i)
        formula += i % 2 == 0 ? "+v" : "*w";
    EXPECT_EQ(messageOf(formula), "");
}

TEST(Formula, LengthIsBounded)
{
    EXPECT_EQ(messageOf("u" + std::string(MAX_FORMULA_BYTES - 1, ' ')), "");
    EXPECT_NE(messageOf("u" + std::string(MAX_FORMULA_BYTES, ' ')).find("too long"),
              std::string::npos);
}

TEST(Formula, EveryBeginningOfAFormulaIsReadOrRefused)
{
    std::string const whole = "-sqrt({wall distance}^2 + v*w/3.5e-2 - 1) >= max_warn(u, v^w) + "
                              "plane(u, v, w, 1, -2, 3, 4)";
    ASSERT_EQ(messageOf(whole), "");
    std::size_t numRefused = 0;
    for (std::size_t length = 0; length < whole.size(); ++length)
        numRefused += messageOf(whole.substr(0, length)).empty() ? 0 : 1;
    EXPECT_GT(numRefused, whole.size() / 2);
}

}
}
