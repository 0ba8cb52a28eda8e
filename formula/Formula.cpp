#include "formula/Formula.h"

#include "expressions/Functions.h"
#include "formula/FormulaError.h"
#include "formula/FormulaScanner.h"
#include "varnox/eqn/ExprNodes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace varnox::formula {

using hdqlib::Expression;
using hdqlib::makeOneArgFunc;
using hdqlib::makePlaneEquation;
using hdqlib::makeTwoArgFunc;

namespace {

using MakeBinary = Expression (*)(unsigned long id, Expression first, Expression second);

template <typename Node>
Expression makeBinary(unsigned long id, Expression first, Expression second)
{
    return Expression(new Node(id, first.release(), second.release()));
}

Expression makeDivide(unsigned long id, Expression first, Expression second)
{
    return Expression(new eqn::DivideExpr(id, first.release(), second.release(), false));
}

struct BinarySign
{
    char const* sign;
    MakeBinary make;
};

constexpr BinarySign COMPARISONS[] = {
    {"<", makeBinary<eqn::LessThanExpr>},      {"<=", makeBinary<eqn::LessThanOrEqualExpr>},
    {">", makeBinary<eqn::GreaterThanExpr>},   {">=", makeBinary<eqn::GreaterThanOrEqualExpr>},
    {"==", makeBinary<eqn::EqualsEqualsExpr>}, {"!=", makeBinary<eqn::NotEqualExpr>}};
constexpr BinarySign SUMS[] = {{"+", makeBinary<eqn::AddExpr>},
                               {"-", makeBinary<eqn::SubtractExpr>}};
constexpr BinarySign PRODUCTS[] = {{"*", makeBinary<eqn::MultiplyExpr>}, {"/", makeDivide}};

template <std::size_t N>
MakeBinary find(BinarySign const (&signs)[N], Token const& token)
{
    for (BinarySign const& candidate : signs)
        if (token.isSign(candidate.sign))
            return candidate.make;
    return nullptr;
}

std::string lowerCase(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// The code of a function, which is its position in the table.
template <typename Function>
std::optional<unsigned char> codeOf(std::vector<Function> const& functions, std::string const& name)
{
    for (std::size_t code = 0; code < functions.size(); ++code)
        if (functions[code].name == name)
            return static_cast<unsigned char>(code);
    return std::nullopt;
}

std::optional<double> numberOf(Expression const& expression)
{
    auto const* const constant = dynamic_cast<eqn::ConstantExpr const*>(expression.get());
    return constant != nullptr ? std::optional(constant->constantValue()) : std::nullopt;
}

/// Goes down one function for each kind of operation, from what binds least to what binds most.
class Parser
{
public:
    Parser(std::string const& formula, unsigned long id, VariableLookup const& variables)
        : m_formula(formula), m_id(id), m_variables(variables), m_scanner(formula)
    {
    }

    Expression parse()
    {
        if (m_formula.size() > MAX_FORMULA_BYTES)
            fail("This formula is too long.", 0);
        advance();
        Expression result = comparison();
        if (m_token.kind != Token::Kind::End)
            fail(m_token.isSign(")") ? "There is no parenthesis to close here."
                                     : "An operation is missing here.",
                 m_token.offset);
        return result;
    }

private:
    /// Counts how deep the parser has gone, for as long as it lives.
    class Deeper
    {
    public:
        explicit Deeper(Parser& parser) : m_parser(parser)
        {
            if (m_parser.m_depth == MAX_FORMULA_DEPTH)
                m_parser.fail("This formula is nested too deeply.", m_parser.m_token.offset);
            ++m_parser.m_depth;
        }
        Deeper(Deeper const&) = delete;
        Deeper& operator=(Deeper const&) = delete;
        ~Deeper() { --m_parser.m_depth; }

    private:
        Parser& m_parser;
    };

    [[noreturn]] void fail(std::string const& complaint, std::size_t offset) const
    {
        throw FormulaError(complaint, m_formula, offset);
    }

    void advance() { m_token = m_scanner.next(); }

    bool take(char const* sign)
    {
        bool const found = m_token.isSign(sign);
        if (found)
            advance();
        return found;
    }

    Expression comparison()
    {
        Expression first = sum();
        MakeBinary const make = find(COMPARISONS, m_token);
        if (make == nullptr)
            return first;
        advance();
        Expression second = sum();
        if (find(COMPARISONS, m_token) != nullptr)
            fail("Comparisons can't follow each other; set parentheses.", m_token.offset);
        return make(m_id, std::move(first), std::move(second));
    }

    Expression sum()
    {
        Expression first = product();
        while (MakeBinary const make = find(SUMS, m_token)) {
            advance();
            Expression second = product();
            first = make(m_id, std::move(first), std::move(second));
        }
        return first;
    }

    Expression product()
    {
        Expression first = signedPower();
        while (MakeBinary const make = find(PRODUCTS, m_token)) {
            advance();
            Expression second = signedPower();
            first = make(m_id, std::move(first), std::move(second));
        }
        return first;
    }

    Expression signedPower()
    {
        Deeper const deeper(*this);
        if (take("+"))
            return signedPower();
        if (!take("-"))
            return power();
        Expression operand = signedPower();
        if (auto const number = numberOf(operand))
            return Expression(new eqn::ConstantExpr(m_id, -*number));
        return Expression(new eqn::NegateExpr(m_id, operand.release()));
    }

    Expression power()
    {
        Expression base = primary();
        if (!take("^"))
            return base;
        Expression exponent = signedPower();
        if (auto const number = numberOf(exponent))
            return Expression(new eqn::PowerExpr(m_id, base.release(), *number));
        return makeTwoArgFunc(m_id, hdqlib::POWER_FUNCTION, base, exponent);
    }

    Expression primary()
    {
        Token const token = m_token;
        switch (token.kind) {
        case Token::Kind::Number:
            advance();
            return Expression(new eqn::ConstantExpr(m_id, token.number));
        case Token::Kind::Name:
            advance();
            return !token.inBraces && m_token.isSign("(") ? call(token) : variable(token);
        case Token::Kind::Sign:
            if (token.isSign("(")) {
                advance();
                return parenthesised(token.offset);
            }
            fail("A number, a variable or a function is missing here.", token.offset);
        case Token::Kind::End:
            break;
        }
        fail("The formula ends where a number, a variable or a function is missing.", token.offset);
    }

    Expression parenthesised(std::size_t offset)
    {
        Expression result = comparison();
        if (!take(")"))
            fail("This parenthesis isn't closed.", offset);
        return result;
    }

    Expression variable(Token const& token) const
    {
        auto const varID = m_variables(token.text);
        if (!varID)
            fail("There is no variable '" + token.text + "'.", token.offset);
        return Expression(new eqn::VariableExpr(m_id, *varID));
    }

    struct Argument
    {
        Expression expression;
        std::size_t offset;
    };

    std::vector<Argument> arguments(std::size_t maxCount)
    {
        std::size_t const offset = m_token.offset;
        advance(); // the parenthesis
        std::vector<Argument> result;
        if (take(")"))
            return result;
        do {
            if (result.size() == maxCount)
                fail("This function has no argument here.", m_token.offset);
            std::size_t const at = m_token.offset;
            result.push_back({comparison(), at});
        } while (take(","));
        if (!take(")"))
            fail(m_token.kind == Token::Kind::End ? "This parenthesis isn't closed."
                                                  : "An operation is missing here.",
                 m_token.kind == Token::Kind::End ? offset : m_token.offset);
        return result;
    }

    std::vector<Argument> exactly(std::size_t count, Token const& function)
    {
        std::vector<Argument> result = arguments(count);
        if (result.size() < count)
            fail("'" + function.text + "' takes " + std::to_string(count) +
                     (count == 1 ? " argument." : " arguments."),
                 function.offset);
        return result;
    }

    Expression call(Token const& function)
    {
        std::string const name = lowerCase(function.text);
        if (auto const code = codeOf(hdqlib::oneArgFunctions(), name)) {
            std::vector<Argument> args = exactly(1, function);
            return makeOneArgFunc(m_id, *code, args[0].expression);
        }
        if (auto const code = codeOf(hdqlib::twoArgFunctions(), name)) {
            std::vector<Argument> args = exactly(2, function);
            return makeTwoArgFunc(m_id, *code, args[0].expression, args[1].expression);
        }
        if (name == "plane")
            return plane(exactly(7, function));
        fail("There is no function '" + function.text + "'.", function.offset);
    }

    Expression plane(std::vector<Argument> args) const
    {
        std::vector<double> coefficients;
        for (std::size_t i = 3; i < args.size(); ++i) {
            auto const number = numberOf(args[i].expression);
            if (!number)
                fail("This argument of 'plane' must be a number.", args[i].offset);
            coefficients.push_back(*number);
        }
        return makePlaneEquation(m_id, args[0].expression, args[1].expression, args[2].expression,
                                 coefficients);
    }

    std::string const& m_formula;
    unsigned long m_id;
    VariableLookup const& m_variables;
    FormulaScanner m_scanner;
    Token m_token;
    std::size_t m_depth = 0;
};

}

std::shared_ptr<eqn::ExprInterface> parseFormula(std::string const& formula, unsigned long id,
                                                 VariableLookup const& variables)
{
    return Parser(formula, id, variables).parse();
}

}
