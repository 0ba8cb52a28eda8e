#include "formula/FormulaScanner.h"

#include "formula/FormulaError.h"

#include <charconv>
#include <cstring>

namespace varnox::formula {

namespace {

/// Longer signs first.
constexpr char const* SIGNS[] = {"<=", ">=", "==", "!=", "<", ">", "+",    "-",
                                 "*",  "/",  "^",  "(",  ")", ",", nullptr};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Letters of any language, which is what bytes beyond ASCII belong to.
bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}

Token FormulaScanner::next()
{
    while (m_at < m_formula.size() && isBlank(m_formula[m_at]))
        ++m_at;
    if (m_at == m_formula.size()) {
        Token end;
        end.offset = m_at;
        return end;
    }
    char const first = m_formula[m_at];
    bool const isPoint =
        first == '.' && m_at + 1 < m_formula.size() && isDigit(m_formula[m_at + 1]);
    if (isDigit(first) || isPoint)
        return number();
    if (isLetter(first))
        return name();
    return first == '{' ? nameInBraces() : sign();
}

Token FormulaScanner::number()
{
    Token token;
    token.kind = Token::Kind::Number;
    token.offset = m_at;
    char const* const begin = m_formula.data() + m_at;
    auto const [end, error] =
        std::from_chars(begin, m_formula.data() + m_formula.size(), token.number);
    if (error != std::errc())
        throw FormulaError("This number is too large or too small for a double.", m_formula, m_at);
    token.text.assign(begin, end);
    m_at += token.text.size();
    return token;
}

Token FormulaScanner::name()
{
    Token token;
    token.kind = Token::Kind::Name;
    token.offset = m_at;
    std::size_t end = m_at;
    while (end < m_formula.size() && (isLetter(m_formula[end]) || isDigit(m_formula[end])))
        ++end;
    token.text = m_formula.substr(m_at, end - m_at);
    m_at = end;
    return token;
}

Token FormulaScanner::nameInBraces()
{
    std::size_t const end = m_formula.find('}', m_at);
    if (end == std::string::npos)
        throw FormulaError("This brace isn't closed.", m_formula, m_at);
    Token token;
    token.kind = Token::Kind::Name;
    token.inBraces = true;
    token.offset = m_at;
    token.text = m_formula.substr(m_at + 1, end - m_at - 1);
    m_at = end + 1;
    return token;
}

Token FormulaScanner::sign()
{
    for (char const* const* sign = SIGNS; *sign != nullptr; ++sign) {
        if (m_formula.compare(m_at, std::strlen(*sign), *sign) != 0)
            continue;
        Token token;
        token.kind = Token::Kind::Sign;
        token.offset = m_at;
        token.text = *sign;
        m_at += token.text.size();
        return token;
    }
    char const* const advice = m_formula[m_at] == '='   ? " To compare, write ==."
                               : m_formula[m_at] == '!' ? " For unequal, write !=."
                                                        : "";
    throw FormulaError(std::string("This has no meaning in a formula.") + advice, m_formula, m_at);
}

}
