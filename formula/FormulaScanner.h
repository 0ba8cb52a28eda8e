#pragma once

#include <cstddef>
#include <string>

namespace varnox::formula {

struct Token
{
    enum class Kind { Number, Name, Sign, End };

    Kind kind = Kind::End;
    std::string text;      ///< The name without its braces, or the sign.
    bool inBraces = false; ///< A name that can't be that of a function.
    double number = 0;
    std::size_t offset = 0; ///< In the formula, in bytes.

    bool isSign(char const* sign) const { return kind == Kind::Sign && text == sign; }
};

/// Cuts a formula into tokens.
class FormulaScanner
{
public:
    explicit FormulaScanner(std::string const& formula) : m_formula(formula) {}

    /// Behind the last one, End without end. Throws FormulaError.
    Token next();

private:
    Token number();
    Token name();
    Token nameInBraces();
    Token sign();

    std::string const& m_formula;
    std::size_t m_at = 0;
};

}
