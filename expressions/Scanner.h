#pragma once

#include <cstdint>
#include <deque>
#include <string>

namespace varnox {

/// Walks a string and hands out tokens, numbers and lines. A scan is a position in a source, a set
/// of delimiter characters, and a stack of saved positions for look-ahead that may be taken back.
///
/// The three forms of a token operation use the scanner's own delimiters, one character, or a
/// string of characters. Number conversion overflow isn't reported. A zero byte in the source ends
/// every token and number operation, though hasNextChar and numCharsRemaining count by the string's
/// size.
class Scanner
{
public:
    static std::string const noDelimiters;         ///< Nothing: a token is one character.
    static std::string const whitespaceDelimiters; ///< Blank, tab, line feed, carriage return.
    static std::string const newlineDelimiters;    ///< Line feed, carriage return.

    Scanner();
    explicit Scanner(std::string const& source);
    Scanner(std::string const& source, char delimiter);
    Scanner(std::string const& source, std::string const& delimiters);
    Scanner(Scanner const&) = default;
    Scanner& operator=(Scanner const&) = default;
    virtual ~Scanner();

    virtual void append(std::string const& text);
    virtual void reset();
    virtual void reset(std::string const& source);
    virtual void init(std::string const& source, std::string const& delimiters);
    virtual std::string const& source() const;
    virtual std::uint64_t position() const;
    /// Restoring, forgetting and erasing want a saved position; without one they are undefined.
    virtual void savePosition();
    virtual void forgetPosition();
    /// Goes back to the saved position and removes what lay between. Throws std::out_of_range where
    /// the saved position lies behind the end of the source.
    virtual void eraseToPosition();
    virtual void restorePosition();

    virtual bool hasNextToken() const;
    virtual bool hasNextToken(char delimiter) const;
    virtual bool hasNextToken(std::string const& delimiters) const;
    /// The whole token is a base-10 integer, or a real number.
    virtual bool hasNextInt64Token() const;
    virtual bool hasNextInt64Token(char delimiter) const;
    virtual bool hasNextInt64Token(std::string const& delimiters) const;
    virtual bool hasNextDoubleToken() const;
    virtual bool hasNextDoubleToken(char delimiter) const;
    virtual bool hasNextDoubleToken(std::string const& delimiters) const;
    virtual bool hasNextTokenBeginningWith(std::string const& text) const;
    virtual bool hasNextTokenBeginningWith(std::string const& text, char delimiter) const;
    virtual bool hasNextTokenBeginningWith(std::string const& text,
                                           std::string const& delimiters) const;
    virtual bool hasNextTokenEndingWith(std::string const& text) const;
    virtual bool hasNextTokenEndingWith(std::string const& text, char delimiter) const;
    virtual bool hasNextTokenEndingWith(std::string const& text,
                                        std::string const& delimiters) const;
    virtual bool hasNextTokenContaining(std::string const& text) const;
    virtual bool hasNextTokenContaining(std::string const& text, char delimiter) const;
    virtual bool hasNextTokenContaining(std::string const& text,
                                        std::string const& delimiters) const;
    virtual bool hasNextChar() const;
    virtual bool hasNextChar(char c) const;
    /// The text stands exactly at the position.
    virtual bool hasNext(std::string const& text) const;
    virtual bool hasNextInt64() const;
    virtual bool hasNextDouble() const;
    /// A line end lies at or behind the position: a last line without one answers false.
    virtual bool hasNextLine() const;

    /// Skips delimiters, takes the run up to the next one and stops right behind the run. Empty at
    /// the end.
    virtual std::string nextToken();
    virtual std::string nextToken(char delimiter);
    virtual std::string nextToken(std::string const& delimiters);
    virtual std::string peekNextToken() const;
    virtual std::string peekNextToken(char delimiter) const;
    virtual std::string peekNextToken(std::string const& delimiters) const;
    /// Without a check: what is no number gives 0, and the token is consumed.
    virtual long nextInt64Token();
    virtual long nextInt64Token(char delimiter);
    virtual long nextInt64Token(std::string const& delimiters);
    virtual double nextDoubleToken();
    virtual double nextDoubleToken(char delimiter);
    virtual double nextDoubleToken(std::string const& delimiters);
    /// False if there are fewer tokens than that; those there are were skipped.
    virtual bool skipTokens(unsigned long count);
    virtual unsigned long skipWhitespace();
    /// The length of the run that was skipped.
    virtual unsigned long skipDelimiters();
    virtual unsigned long skipDelimiters(char delimiter);
    virtual unsigned long skipDelimiters(std::string const& delimiters);
    /// Moves one, also at the end.
    virtual char nextChar();
    /// 0 at the end.
    virtual char peekNextChar() const;
    /// Up to count characters. Like next, peekRemaining and remaining it throws std::out_of_range
    /// where the position stands behind the end.
    virtual std::string peekNext(unsigned long count) const;
    virtual std::string next(unsigned long count);
    virtual std::string remaining();
    virtual std::string peekRemaining() const;
    virtual unsigned long numCharsRemaining() const;
    /// At the position, behind white space.
    virtual long nextInt64();
    virtual double nextDouble();
    /// Without its end; "\n", "\r" and "\r\n" each end a line.
    virtual std::string nextLine();
    /// Moves behind the text if it begins in the rest of this line.
    virtual bool findInLine(std::string const& text);
    /// Line by line; a failed search has moved to the last line.
    virtual bool find(std::string const& text);

private:
    char const* current() const;

    std::string m_source;
    std::uint64_t m_position = 0;
    std::string m_delimiters;
    std::deque<std::uint64_t> m_savedPositions;
};

}
