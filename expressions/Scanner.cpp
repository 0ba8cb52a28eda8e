#include "expressions/Scanner.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace varnox {

namespace {

std::size_t runOf(char const* text, std::string const& characters)
{
    return std::strspn(text, characters.c_str());
}

std::size_t runWithout(char const* text, std::string const& characters)
{
    return std::strcspn(text, characters.c_str());
}

/// The token at the start of the text, whose delimiters have been skipped.
std::size_t tokenLength(char const* text, std::string const& delimiters)
{
    return delimiters.empty() ? (*text != '\0' ? 1 : 0) : runWithout(text, delimiters);
}

}

std::string const Scanner::noDelimiters;
std::string const Scanner::whitespaceDelimiters = " \t\n\r";
std::string const Scanner::newlineDelimiters = "\n\r";

// The constructors name the characters themselves: a scanner may be built before the constants are.
Scanner::Scanner() : m_delimiters(" \t\n\r")
{
}

Scanner::Scanner(std::string const& source) : m_source(source), m_delimiters(" \t\n\r")
{
}

Scanner::Scanner(std::string const& source, char delimiter)
    : m_source(source), m_delimiters(1, delimiter)
{
}

Scanner::Scanner(std::string const& source, std::string const& delimiters)
    : m_source(source), m_delimiters(delimiters)
{
}

Scanner::~Scanner() = default;

/// The rest of the source as a C string; empty where the position stands behind the end.
char const* Scanner::current() const
{
    return m_source.c_str() + std::min<std::uint64_t>(m_position, m_source.size());
}

void Scanner::append(std::string const& text)
{
    m_source += text;
}

void Scanner::reset()
{
    m_position = 0;
}

void Scanner::reset(std::string const& source)
{
    m_source = source;
    m_position = 0;
}

void Scanner::init(std::string const& source, std::string const& delimiters)
{
    m_source = source;
    m_delimiters = delimiters;
    m_position = 0;
}

std::string const& Scanner::source() const
{
    return m_source;
}

std::uint64_t Scanner::position() const
{
    return m_position;
}

void Scanner::savePosition()
{
    m_savedPositions.push_back(m_position);
}

void Scanner::forgetPosition()
{
    m_savedPositions.pop_back();
}

void Scanner::restorePosition()
{
    m_position = m_savedPositions.back();
    m_savedPositions.pop_back();
}

void Scanner::eraseToPosition()
{
    std::uint64_t const end = m_position;
    restorePosition();
    // A saved position behind the current one wraps the length, which removes the whole rest.
    m_source.erase(m_position, end - m_position);
}

bool Scanner::hasNextToken() const
{
    return hasNextToken(m_delimiters);
}

bool Scanner::hasNextToken(char delimiter) const
{
    return hasNextToken(std::string(1, delimiter));
}

bool Scanner::hasNextToken(std::string const& delimiters) const
{
    char const* const text = current();
    return text[runOf(text, delimiters)] != '\0';
}

bool Scanner::hasNextInt64Token() const
{
    return hasNextInt64Token(m_delimiters);
}

bool Scanner::hasNextInt64Token(char delimiter) const
{
    return hasNextInt64Token(std::string(1, delimiter));
}

bool Scanner::hasNextInt64Token(std::string const& delimiters) const
{
    if (!hasNextToken(delimiters))
        return false;
    std::string const token = peekNextToken(delimiters);
    char* end = nullptr;
    std::strtoll(token.c_str(), &end, 10);
    return end != token.c_str() && *end == '\0';
}

bool Scanner::hasNextDoubleToken() const
{
    return hasNextDoubleToken(m_delimiters);
}

bool Scanner::hasNextDoubleToken(char delimiter) const
{
    return hasNextDoubleToken(std::string(1, delimiter));
}

bool Scanner::hasNextDoubleToken(std::string const& delimiters) const
{
    if (!hasNextToken(delimiters))
        return false;
    std::string const token = peekNextToken(delimiters);
    char* end = nullptr;
    std::strtod(token.c_str(), &end);
    return end != token.c_str() && *end == '\0';
}

bool Scanner::hasNextTokenBeginningWith(std::string const& text) const
{
    return hasNextTokenBeginningWith(text, m_delimiters);
}

bool Scanner::hasNextTokenBeginningWith(std::string const& text, char delimiter) const
{
    return hasNextTokenBeginningWith(text, std::string(1, delimiter));
}

bool Scanner::hasNextTokenBeginningWith(std::string const& text,
                                        std::string const& delimiters) const
{
    return hasNextToken(delimiters) && peekNextToken(delimiters).compare(0, text.size(), text) == 0;
}

bool Scanner::hasNextTokenEndingWith(std::string const& text) const
{
    return hasNextTokenEndingWith(text, m_delimiters);
}

bool Scanner::hasNextTokenEndingWith(std::string const& text, char delimiter) const
{
    return hasNextTokenEndingWith(text, std::string(1, delimiter));
}

bool Scanner::hasNextTokenEndingWith(std::string const& text, std::string const& delimiters) const
{
    if (!hasNextToken(delimiters))
        return false;
    std::string const token = peekNextToken(delimiters);
    return token.size() >= text.size() &&
           token.compare(token.size() - text.size(), text.size(), text) == 0;
}

bool Scanner::hasNextTokenContaining(std::string const& text) const
{
    return hasNextTokenContaining(text, m_delimiters);
}

bool Scanner::hasNextTokenContaining(std::string const& text, char delimiter) const
{
    return hasNextTokenContaining(text, std::string(1, delimiter));
}

bool Scanner::hasNextTokenContaining(std::string const& text, std::string const& delimiters) const
{
    return hasNextToken(delimiters) && peekNextToken(delimiters).find(text) != std::string::npos;
}

bool Scanner::hasNextChar() const
{
    return m_position < m_source.size();
}

bool Scanner::hasNextChar(char c) const
{
    return hasNextChar() && peekNextChar() == c;
}

bool Scanner::hasNext(std::string const& text) const
{
    return m_position <= m_source.size() && m_source.compare(m_position, text.size(), text) == 0;
}

bool Scanner::hasNextInt64() const
{
    char const* const text = current();
    char* end = nullptr;
    std::strtoll(text, &end, 10);
    return end != text;
}

bool Scanner::hasNextDouble() const
{
    char const* const text = current();
    char* end = nullptr;
    std::strtod(text, &end);
    return end != text;
}

bool Scanner::hasNextLine() const
{
    // Deliberate: a last line without an end is none here, though nextLine gives it.
    // Test: Scanner.LastLineWithoutAnEndIsNotAnnounced
    char const* const text = current();
    return text[runWithout(text, newlineDelimiters)] != '\0';
}

std::string Scanner::nextToken()
{
    return nextToken(m_delimiters);
}

std::string Scanner::nextToken(char delimiter)
{
    return nextToken(std::string(1, delimiter));
}

std::string Scanner::nextToken(std::string const& delimiters)
{
    skipDelimiters(delimiters);
    char const* const text = current();
    std::string token(text, tokenLength(text, delimiters));
    m_position += token.size();
    return token;
}

std::string Scanner::peekNextToken() const
{
    return peekNextToken(m_delimiters);
}

std::string Scanner::peekNextToken(char delimiter) const
{
    return peekNextToken(std::string(1, delimiter));
}

std::string Scanner::peekNextToken(std::string const& delimiters) const
{
    char const* text = current();
    text += runOf(text, delimiters);
    return {text, tokenLength(text, delimiters)};
}

long Scanner::nextInt64Token()
{
    return nextInt64Token(m_delimiters);
}

long Scanner::nextInt64Token(char delimiter)
{
    return nextInt64Token(std::string(1, delimiter));
}

long Scanner::nextInt64Token(std::string const& delimiters)
{
    return std::strtoll(nextToken(delimiters).c_str(), nullptr, 10);
}

double Scanner::nextDoubleToken()
{
    return nextDoubleToken(m_delimiters);
}

double Scanner::nextDoubleToken(char delimiter)
{
    return nextDoubleToken(std::string(1, delimiter));
}

double Scanner::nextDoubleToken(std::string const& delimiters)
{
    return std::strtod(nextToken(delimiters).c_str(), nullptr);
}

bool Scanner::skipTokens(unsigned long count)
{
    for (unsigned long i = 0; i < count; ++i) {
        if (!hasNextToken())
            return false;
        nextToken();
    }
    return true;
}

unsigned long Scanner::skipWhitespace()
{
    return skipDelimiters(whitespaceDelimiters);
}

unsigned long Scanner::skipDelimiters()
{
    return skipDelimiters(m_delimiters);
}

unsigned long Scanner::skipDelimiters(char delimiter)
{
    return skipDelimiters(std::string(1, delimiter));
}

unsigned long Scanner::skipDelimiters(std::string const& delimiters)
{
    std::size_t const length = runOf(current(), delimiters);
    m_position += length;
    return length;
}

char Scanner::nextChar()
{
    char const c = peekNextChar();
    ++m_position;
    return c;
}

char Scanner::peekNextChar() const
{
    return hasNextChar() ? m_source[m_position] : '\0';
}

std::string Scanner::peekNext(unsigned long count) const
{
    return m_source.substr(m_position, count);
}

std::string Scanner::next(unsigned long count)
{
    std::string text = peekNext(count);
    m_position += text.size();
    return text;
}

std::string Scanner::remaining()
{
    std::string text = peekRemaining();
    m_position = m_source.size();
    return text;
}

std::string Scanner::peekRemaining() const
{
    return m_source.substr(m_position);
}

unsigned long Scanner::numCharsRemaining() const
{
    return m_source.size() - m_position;
}

long Scanner::nextInt64()
{
    char const* const text = current();
    char* end = nullptr;
    long const value = std::strtoll(text, &end, 10);
    m_position += static_cast<std::uint64_t>(end - text);
    return value;
}

double Scanner::nextDouble()
{
    char const* const text = current();
    char* end = nullptr;
    double const value = std::strtod(text, &end);
    m_position += static_cast<std::uint64_t>(end - text);
    return value;
}

std::string Scanner::nextLine()
{
    char const* const text = current();
    std::string line(text, runWithout(text, newlineDelimiters));
    m_position += line.size();
    if (hasNextChar())
        m_position += hasNext("\r\n") ? 2 : 1;
    return line;
}

bool Scanner::findInLine(std::string const& text)
{
    if (!hasNextToken(newlineDelimiters))
        return false;
    std::size_t const lineLength = runWithout(current(), newlineDelimiters);
    std::size_t const found = m_source.find(text, m_position);
    if (found == std::string::npos || found - m_position > lineLength)
        return false;
    m_position = found + text.size();
    return true;
}

bool Scanner::find(std::string const& text)
{
    while (hasNextToken(newlineDelimiters)) {
        if (findInLine(text))
            return true;
        if (!hasNextLine())
            return false;
        nextLine();
    }
    return false;
}

}
