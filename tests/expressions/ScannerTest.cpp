#include "expressions/Scanner.h"

#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "tests/support/Slots.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

namespace varnox {
namespace {

using tests::caseName;
using tests::messageOf;
using tests::slot;

TEST(Scanner, DelimitersAreFixed)
{
    EXPECT_EQ(Scanner::noDelimiters, "");
    EXPECT_EQ(Scanner::whitespaceDelimiters, " \t\n\r");
    EXPECT_EQ(Scanner::newlineDelimiters, "\n\r");
}

TEST(Scanner, StartsAtTheBeginningOfItsSource)
{
    EXPECT_EQ(Scanner().source(), "");
    EXPECT_EQ(Scanner("ab").source(), "ab");
    EXPECT_EQ(Scanner("ab").position(), 0U);
    EXPECT_EQ(Scanner("a b").nextToken(), "a");
    EXPECT_EQ(Scanner("a b;c", ';').nextToken(), "a b");
    EXPECT_EQ(Scanner("a b;c", std::string("b;")).nextToken(), "a ");
}

TEST(Scanner, TokenSkipsDelimitersAndStopsRightBehindItself)
{
    Scanner scanner("  abc def");
    EXPECT_EQ(scanner.nextToken(), "abc");
    EXPECT_EQ(scanner.position(), 5U);
    EXPECT_EQ(scanner.nextToken(), "def");
    EXPECT_EQ(scanner.nextToken(), "");
    EXPECT_EQ(scanner.position(), 9U);
}

TEST(Scanner, DelimiterBehindATokenIsNotConsumed)
{
    Scanner scanner("a,b", ',');
    EXPECT_EQ(scanner.nextToken(), "a");
    EXPECT_EQ(scanner.peekNextChar(), ',');
    EXPECT_EQ(scanner.nextToken(), "b");
}

TEST(Scanner, WithoutDelimitersTokensAreSingleCharacters)
{
    Scanner scanner("a b", Scanner::noDelimiters);
    EXPECT_EQ(scanner.nextToken(), "a");
    EXPECT_EQ(scanner.nextToken(), " ");
    EXPECT_TRUE(scanner.hasNextToken());
    EXPECT_EQ(scanner.nextToken(), "b");
    EXPECT_FALSE(scanner.hasNextToken());
    EXPECT_EQ(scanner.nextToken(), "");
}

TEST(Scanner, PeekingDoesNotMove)
{
    Scanner scanner("  abc");
    EXPECT_EQ(scanner.peekNextToken(), "abc");
    EXPECT_EQ(scanner.peekNextToken('b'), "  a");
    EXPECT_EQ(scanner.peekNextToken(std::string(" a")), "bc");
    EXPECT_EQ(scanner.position(), 0U);
}

TEST(Scanner, OnlyDelimitersAreNoToken)
{
    Scanner scanner(" \t\r\n");
    EXPECT_FALSE(scanner.hasNextToken());
    EXPECT_TRUE(scanner.hasNextToken(' '));
    EXPECT_TRUE(scanner.hasNextToken(Scanner::noDelimiters));
    EXPECT_EQ(scanner.peekNextToken(), "");
}

TEST(Scanner, CharacterFormTakesOneDelimiter)
{
    Scanner scanner("a b;c d");
    EXPECT_EQ(scanner.nextToken(';'), "a b");
    EXPECT_EQ(scanner.nextToken(';'), "c d");
    scanner.reset("12;x");
    EXPECT_TRUE(scanner.hasNextInt64Token(';'));
    EXPECT_FALSE(scanner.hasNextInt64Token('x')); // "12;"
    EXPECT_EQ(scanner.nextInt64Token(';'), 12);
    scanner.reset("1.5;x");
    EXPECT_TRUE(scanner.hasNextDoubleToken(';'));
    EXPECT_EQ(scanner.nextDoubleToken(';'), 1.5);
}

TEST(Scanner, IntegerTokenIsIntegerToItsEnd)
{
    Scanner scanner("12 x");
    EXPECT_TRUE(scanner.hasNextInt64Token());
    EXPECT_EQ(scanner.nextInt64Token(), 12);
    EXPECT_FALSE(scanner.hasNextInt64Token());
    EXPECT_EQ(scanner.nextInt64Token(), 0); // no number, and consumed
    EXPECT_EQ(scanner.numCharsRemaining(), 0U);
    EXPECT_FALSE(scanner.hasNextInt64Token());
    EXPECT_EQ(scanner.nextInt64Token(), 0);
}

TEST(Scanner, NumberAtThePositionMayBeFollowedByAnything)
{
    Scanner scanner("12x");
    EXPECT_FALSE(scanner.hasNextInt64Token());
    EXPECT_TRUE(scanner.hasNextInt64());
    EXPECT_EQ(scanner.nextInt64(), 12);
    EXPECT_EQ(scanner.peekNextChar(), 'x');
    EXPECT_FALSE(scanner.hasNextInt64());
    EXPECT_EQ(scanner.nextInt64(), 0);
    EXPECT_EQ(scanner.position(), 2U);
}

TEST(Scanner, NumberAtThePositionSkipsWhiteSpaceWhateverTheDelimiters)
{
    Scanner scanner(" \n-7 +1.5e2,", ',');
    EXPECT_EQ(scanner.nextInt64(), -7);
    EXPECT_EQ(scanner.position(), 4U);
    EXPECT_TRUE(scanner.hasNextDouble());
    EXPECT_EQ(scanner.nextDouble(), 150);
    EXPECT_FALSE(scanner.hasNextDouble());
    EXPECT_EQ(scanner.nextDouble(), 0);
    EXPECT_EQ(scanner.peekNextChar(), ',');
}

struct NumberCase
{
    char const* name;
    char const* token;
    bool isInteger;
    long integer;
    bool isReal;
    double real;
};

NumberCase const numberCases[] = {
    {"Plain", "42", true, 42, true, 42},
    {"Signed", "-42", true, -42, true, -42},
    {"WithPlus", "+42", true, 42, true, 42},
    {"LeadingZerosStayDecimal", "010", true, 10, true, 10},
    {"Hexadecimal", "0x10", false, 0, true, 16},
    {"Fraction", "1.5", false, 1, true, 1.5},
    {"Exponent", "1e3", false, 1, true, 1000},
    {"Infinity", "inf", false, 0, true, HUGE_VAL},
    {"Word", "abc", false, 0, false, 0},
    {"NumberAndWord", "5abc", false, 5, false, 5},
    {"SignAlone", "-", false, 0, false, 0},
    {"BeyondTheRange", "99999999999999999999", true, 9223372036854775807, true, 1e20},
};

class ScannedNumber : public testing::TestWithParam<NumberCase>
{
};

TEST_P(ScannedNumber, IsOneIfItsWholeTokenIs)
{
    Scanner scanner(std::string(" ") + GetParam().token + " rest");
    EXPECT_EQ(scanner.hasNextInt64Token(), GetParam().isInteger);
    EXPECT_EQ(scanner.hasNextDoubleToken(), GetParam().isReal);
    EXPECT_EQ(scanner.position(), 0U);
    EXPECT_EQ(scanner.nextInt64Token(), GetParam().integer);
    EXPECT_EQ(scanner.nextToken(), "rest");
    scanner.reset();
    EXPECT_EQ(scanner.nextDoubleToken(), GetParam().real);
    EXPECT_EQ(scanner.nextToken(), "rest");
}

INSTANTIATE_TEST_SUITE_P(Tokens, ScannedNumber, testing::ValuesIn(numberCases),
                         caseName<NumberCase>);

TEST(Scanner, TokenIsComparedAtItsBeginning)
{
    Scanner scanner("  abc def");
    EXPECT_TRUE(scanner.hasNextTokenBeginningWith("ab"));
    EXPECT_TRUE(scanner.hasNextTokenBeginningWith("abc"));
    EXPECT_FALSE(scanner.hasNextTokenBeginningWith("abcd"));
    EXPECT_FALSE(scanner.hasNextTokenBeginningWith("bc"));
    EXPECT_FALSE(scanner.hasNextTokenBeginningWith("abc d"));
    EXPECT_TRUE(scanner.hasNextTokenBeginningWith("  abc d", 'e'));
    EXPECT_TRUE(scanner.hasNextTokenBeginningWith("bc", std::string(" a")));
}

TEST(Scanner, EmptyBeginningNeedsATokenAllTheSame)
{
    EXPECT_TRUE(Scanner(" a").hasNextTokenBeginningWith(""));
    EXPECT_FALSE(Scanner(" ").hasNextTokenBeginningWith(""));
    EXPECT_FALSE(Scanner(" ").hasNextTokenEndingWith(""));
    EXPECT_FALSE(Scanner(" ").hasNextTokenContaining(""));
}

TEST(Scanner, TokenIsComparedAtItsEnd)
{
    Scanner scanner("bc de");
    EXPECT_FALSE(scanner.hasNextTokenEndingWith("abc"));
    EXPECT_TRUE(scanner.hasNextTokenEndingWith("bc"));
    EXPECT_TRUE(scanner.hasNextTokenEndingWith("c"));
    EXPECT_TRUE(scanner.hasNextTokenEndingWith(""));
    EXPECT_FALSE(scanner.hasNextTokenEndingWith("b"));
    EXPECT_TRUE(scanner.hasNextTokenEndingWith(" d", 'e'));
    EXPECT_TRUE(scanner.hasNextTokenEndingWith("c d", std::string("e")));
}

TEST(Scanner, TokenIsSearched)
{
    Scanner scanner("abcd ef");
    EXPECT_TRUE(scanner.hasNextTokenContaining("bc"));
    EXPECT_TRUE(scanner.hasNextTokenContaining(""));
    EXPECT_FALSE(scanner.hasNextTokenContaining("ef"));
    EXPECT_TRUE(scanner.hasNextTokenContaining("d e", 'f'));
    EXPECT_FALSE(scanner.hasNextTokenContaining("cd", std::string("c")));
    EXPECT_EQ(scanner.position(), 0U);
}

TEST(Scanner, SkipsAsManyTokensAsThereAre)
{
    Scanner scanner("one two ");
    EXPECT_TRUE(scanner.skipTokens(0));
    EXPECT_EQ(scanner.position(), 0U);
    EXPECT_FALSE(scanner.skipTokens(3));
    EXPECT_EQ(scanner.position(), 7U); // at the end of the second
    scanner.reset();
    EXPECT_TRUE(scanner.skipTokens(2));
}

TEST(Scanner, SkippingDelimitersTellsHowMany)
{
    Scanner scanner(",, \t a", ',');
    EXPECT_EQ(scanner.skipDelimiters(), 2U);
    EXPECT_EQ(scanner.skipDelimiters(), 0U);
    EXPECT_EQ(scanner.skipWhitespace(), 3U);
    EXPECT_EQ(scanner.skipDelimiters('a'), 1U);
    scanner.reset();
    EXPECT_EQ(scanner.skipDelimiters(std::string(" ,")), 3U);
    EXPECT_EQ(scanner.skipDelimiters(Scanner::noDelimiters), 0U);
}

TEST(Scanner, CharactersComeOneByOne)
{
    Scanner scanner("ab");
    EXPECT_TRUE(scanner.hasNextChar());
    EXPECT_TRUE(scanner.hasNextChar('a'));
    EXPECT_FALSE(scanner.hasNextChar('b'));
    EXPECT_EQ(scanner.nextChar(), 'a');
    EXPECT_EQ(scanner.peekNextChar(), 'b');
    EXPECT_EQ(scanner.nextChar(), 'b');
    EXPECT_FALSE(scanner.hasNextChar());
    EXPECT_FALSE(scanner.hasNextChar('\0'));
    EXPECT_EQ(scanner.peekNextChar(), '\0');
}

TEST(Scanner, NextCharacterAtTheEndMovesAllTheSame)
{
    Scanner scanner("a");
    scanner.nextChar();
    EXPECT_EQ(scanner.nextChar(), '\0');
    EXPECT_EQ(scanner.position(), 2U);
    EXPECT_EQ(scanner.peekNextChar(), '\0');
    EXPECT_FALSE(scanner.hasNextChar());
    EXPECT_FALSE(scanner.hasNextToken());
    EXPECT_FALSE(scanner.hasNext(""));
}

TEST(Scanner, PositionBehindTheEndIsTheStandardRangeException)
{
    Scanner scanner("a");
    scanner.nextChar();
    EXPECT_EQ(scanner.peekNext(5), "");
    EXPECT_EQ(scanner.remaining(), "");
    scanner.nextChar();
    std::string const message =
        "basic_string::substr: __pos (which is 2) > this->size() (which is 1)";
    EXPECT_EQ(messageOf<std::out_of_range>([&] { scanner.peekNext(1); }), message);
    EXPECT_EQ(messageOf<std::out_of_range>([&] { scanner.next(1); }), message);
    EXPECT_EQ(messageOf<std::out_of_range>([&] { scanner.peekRemaining(); }), message);
    EXPECT_EQ(messageOf<std::out_of_range>([&] { scanner.remaining(); }), message);
}

TEST(Scanner, TextStandsExactlyAtThePosition)
{
    Scanner scanner(" abc");
    EXPECT_FALSE(scanner.hasNext("abc"));
    scanner.nextChar();
    EXPECT_TRUE(scanner.hasNext("ab"));
    EXPECT_TRUE(scanner.hasNext(""));
    EXPECT_FALSE(scanner.hasNext("abcd"));
}

TEST(Scanner, SomeCharactersAndTheRest)
{
    Scanner scanner("abcdef");
    EXPECT_EQ(scanner.peekNext(2), "ab");
    EXPECT_EQ(scanner.next(2), "ab");
    EXPECT_EQ(scanner.numCharsRemaining(), 4U);
    EXPECT_EQ(scanner.peekRemaining(), "cdef");
    EXPECT_EQ(scanner.position(), 2U);
    EXPECT_EQ(scanner.next(99), "cdef");
    EXPECT_EQ(scanner.position(), 6U);
    scanner.reset();
    EXPECT_EQ(scanner.remaining(), "abcdef");
    EXPECT_EQ(scanner.numCharsRemaining(), 0U);
}

TEST(Scanner, LineEndsAreConsumedAndNotGiven)
{
    Scanner scanner("one\r\ntwo");
    EXPECT_TRUE(scanner.hasNextLine());
    EXPECT_EQ(scanner.nextLine(), "one");
    EXPECT_FALSE(scanner.hasNextLine()); // though a line follows
    EXPECT_EQ(scanner.nextLine(), "two");
    EXPECT_EQ(scanner.nextLine(), "");
}

TEST(Scanner, LastLineWithoutAnEndIsNotAnnounced)
{
    EXPECT_FALSE(Scanner("last").hasNextLine());
    EXPECT_EQ(Scanner("last").nextLine(), "last");
    EXPECT_TRUE(Scanner("last\r").hasNextLine());
}

TEST(Scanner, EveryKindOfLineEndCounts)
{
    Scanner scanner("a\nb\rc\r\n\n\rd");
    std::vector<std::string> lines;
    while (scanner.hasNextLine())
        lines.push_back(scanner.nextLine());
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "c", "", ""}));
    EXPECT_EQ(scanner.remaining(), "d");
}

TEST(Scanner, FindsInTheRestOfItsLineAlone)
{
    Scanner scanner("one two\nthree");
    EXPECT_FALSE(scanner.findInLine("three"));
    EXPECT_EQ(scanner.position(), 0U);
    EXPECT_TRUE(scanner.findInLine("tw"));
    EXPECT_EQ(scanner.position(), 6U);
    EXPECT_FALSE(scanner.findInLine("one"));
    EXPECT_FALSE(scanner.findInLine("missing"));
    EXPECT_EQ(scanner.position(), 6U);
}

TEST(Scanner, FoundTextMayBeginAtTheEndOfTheLine)
{
    Scanner scanner("one\ntwo");
    EXPECT_TRUE(scanner.findInLine("\ntw"));
    EXPECT_EQ(scanner.position(), 6U);
}

TEST(Scanner, NothingButLineEndsHoldsNoText)
{
    Scanner scanner("\n\n");
    EXPECT_FALSE(scanner.findInLine("\n"));
    EXPECT_FALSE(scanner.find("\n"));
    EXPECT_EQ(scanner.position(), 0U);
}

TEST(Scanner, FindsInALaterLine)
{
    Scanner scanner("one\ntwo\nthree");
    EXPECT_TRUE(scanner.find("thr"));
    EXPECT_EQ(scanner.remaining(), "ee");
}

TEST(Scanner, FailedSearchHasMovedToTheLastLine)
{
    Scanner scanner("one\ntwo\nthree");
    EXPECT_FALSE(scanner.find("four"));
    EXPECT_EQ(scanner.position(), 8U);
    Scanner ended("one\ntwo\n");
    EXPECT_FALSE(ended.find("four"));
    EXPECT_EQ(ended.position(), 8U);
}

TEST(Scanner, SavedPositionsAreAStack)
{
    Scanner scanner("a b c");
    scanner.savePosition();
    scanner.nextToken();
    scanner.savePosition();
    scanner.nextToken();
    scanner.restorePosition();
    EXPECT_EQ(scanner.position(), 1U);
    scanner.restorePosition();
    EXPECT_EQ(scanner.position(), 0U);
    scanner.savePosition();
    scanner.nextToken();
    scanner.savePosition();
    scanner.forgetPosition();
    scanner.restorePosition();
    EXPECT_EQ(scanner.position(), 0U);
}

TEST(Scanner, ErasesWhatLiesBehindTheSavedPosition)
{
    Scanner scanner("x one two rest");
    scanner.nextToken();
    scanner.savePosition();
    scanner.nextToken();
    scanner.nextToken();
    scanner.eraseToPosition();
    EXPECT_EQ(scanner.source(), "x rest");
    EXPECT_EQ(scanner.position(), 1U);
}

TEST(Scanner, ErasingBackwardsRemovesTheWholeRest)
{
    Scanner scanner("abcdef");
    scanner.next(4);
    scanner.savePosition();
    scanner.reset();
    scanner.eraseToPosition();
    EXPECT_EQ(scanner.source(), "abcd");
    EXPECT_EQ(scanner.position(), 4U);
}

TEST(Scanner, ErasingFromBehindTheEndIsTheStandardRangeException)
{
    Scanner scanner("abcdef");
    scanner.next(4);
    scanner.savePosition();
    scanner.reset("ab");
    EXPECT_EQ(messageOf<std::out_of_range>([&] { scanner.eraseToPosition(); }),
              "basic_string::erase: __pos (which is 4) > this->size() (which is 2)");
}

TEST(Scanner, SourceGrowsAndIsReplaced)
{
    Scanner scanner("a,b", ',');
    scanner.nextToken();
    scanner.append(",c");
    EXPECT_EQ(scanner.source(), "a,b,c");
    EXPECT_EQ(scanner.position(), 1U);
    scanner.reset("x y,z");
    EXPECT_EQ(scanner.position(), 0U);
    EXPECT_EQ(scanner.nextToken(), "x y"); // the delimiters stay
    scanner.init("x y,z", " ");
    EXPECT_EQ(scanner.position(), 0U);
    EXPECT_EQ(scanner.nextToken(), "x");
}

TEST(Scanner, CopyHasTheSavedPositionsToo)
{
    Scanner scanner("a;b", ';');
    scanner.savePosition();
    scanner.nextToken();
    Scanner copy(scanner);
    Scanner assigned;
    assigned = scanner;
    for (Scanner* const other : {&copy, &assigned}) {
        EXPECT_EQ(other->position(), 1U);
        EXPECT_EQ(other->nextToken(), "b");
        other->restorePosition();
        EXPECT_EQ(other->position(), 0U);
    }
    EXPECT_EQ(scanner.position(), 1U);
}

TEST(Scanner, ZeroByteEndsTheScanButNotTheCount)
{
    std::string const source("ab\0cd\n", 6);
    Scanner scanner(source);
    EXPECT_EQ(scanner.nextToken(), "ab");
    EXPECT_FALSE(scanner.hasNextToken());
    EXPECT_FALSE(scanner.hasNextLine());
    EXPECT_TRUE(scanner.hasNextChar());
    EXPECT_EQ(scanner.numCharsRemaining(), 4U);
    EXPECT_EQ(scanner.nextChar(), '\0');
    EXPECT_EQ(scanner.nextToken(), "cd");
}

/// Sees that the short forms reach the long one through the virtual table.
class OwnTokens : public Scanner
{
public:
    using Scanner::nextToken;
    using Scanner::Scanner;
    std::string nextToken(std::string const& delimiters) override { return "<" + delimiters + ">"; }
};

TEST(Scanner, ShortFormsGoThroughTheLongOne)
{
    OwnTokens scanner("a b", ';');
    EXPECT_EQ(scanner.nextToken(), "<;>");
    EXPECT_EQ(scanner.nextToken('x'), "<x>");
}

TEST(Scanner, OperationsStandInTheirSlots)
{
    using S = Scanner;
    using Text = std::string const&;
    // The destructor takes the first two.
    EXPECT_EQ(slot(&S::append), 2U);
    EXPECT_EQ(slot(static_cast<void (S::*)()>(&S::reset)), 3U);
    EXPECT_EQ(slot(static_cast<void (S::*)(Text)>(&S::reset)), 4U);
    EXPECT_EQ(slot(&S::init), 5U);
    EXPECT_EQ(slot(&S::source), 6U);
    EXPECT_EQ(slot(&S::position), 7U);
    EXPECT_EQ(slot(&S::savePosition), 8U);
    EXPECT_EQ(slot(&S::forgetPosition), 9U);
    EXPECT_EQ(slot(&S::eraseToPosition), 10U);
    EXPECT_EQ(slot(&S::restorePosition), 11U);
    EXPECT_EQ(slot(static_cast<bool (S::*)() const>(&S::hasNextToken)), 12U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(char) const>(&S::hasNextToken)), 13U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text) const>(&S::hasNextToken)), 14U);
    EXPECT_EQ(slot(static_cast<bool (S::*)() const>(&S::hasNextInt64Token)), 15U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(char) const>(&S::hasNextInt64Token)), 16U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text) const>(&S::hasNextInt64Token)), 17U);
    EXPECT_EQ(slot(static_cast<bool (S::*)() const>(&S::hasNextDoubleToken)), 18U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(char) const>(&S::hasNextDoubleToken)), 19U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text) const>(&S::hasNextDoubleToken)), 20U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text) const>(&S::hasNextTokenBeginningWith)), 21U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text, char) const>(&S::hasNextTokenBeginningWith)), 22U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text, Text) const>(&S::hasNextTokenBeginningWith)), 23U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text) const>(&S::hasNextTokenEndingWith)), 24U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text, char) const>(&S::hasNextTokenEndingWith)), 25U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text, Text) const>(&S::hasNextTokenEndingWith)), 26U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text) const>(&S::hasNextTokenContaining)), 27U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text, char) const>(&S::hasNextTokenContaining)), 28U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(Text, Text) const>(&S::hasNextTokenContaining)), 29U);
    EXPECT_EQ(slot(static_cast<bool (S::*)() const>(&S::hasNextChar)), 30U);
    EXPECT_EQ(slot(static_cast<bool (S::*)(char) const>(&S::hasNextChar)), 31U);
    EXPECT_EQ(slot(&S::hasNext), 32U);
    EXPECT_EQ(slot(&S::hasNextInt64), 33U);
    EXPECT_EQ(slot(&S::hasNextDouble), 34U);
    EXPECT_EQ(slot(&S::hasNextLine), 35U);
    EXPECT_EQ(slot(static_cast<std::string (S::*)()>(&S::nextToken)), 36U);
    EXPECT_EQ(slot(static_cast<std::string (S::*)(char)>(&S::nextToken)), 37U);
    EXPECT_EQ(slot(static_cast<std::string (S::*)(Text)>(&S::nextToken)), 38U);
    EXPECT_EQ(slot(static_cast<std::string (S::*)() const>(&S::peekNextToken)), 39U);
    EXPECT_EQ(slot(static_cast<std::string (S::*)(char) const>(&S::peekNextToken)), 40U);
    EXPECT_EQ(slot(static_cast<std::string (S::*)(Text) const>(&S::peekNextToken)), 41U);
    EXPECT_EQ(slot(static_cast<long (S::*)()>(&S::nextInt64Token)), 42U);
    EXPECT_EQ(slot(static_cast<long (S::*)(char)>(&S::nextInt64Token)), 43U);
    EXPECT_EQ(slot(static_cast<long (S::*)(Text)>(&S::nextInt64Token)), 44U);
    EXPECT_EQ(slot(static_cast<double (S::*)()>(&S::nextDoubleToken)), 45U);
    EXPECT_EQ(slot(static_cast<double (S::*)(char)>(&S::nextDoubleToken)), 46U);
    EXPECT_EQ(slot(static_cast<double (S::*)(Text)>(&S::nextDoubleToken)), 47U);
    EXPECT_EQ(slot(&S::skipTokens), 48U);
    EXPECT_EQ(slot(&S::skipWhitespace), 49U);
    EXPECT_EQ(slot(static_cast<unsigned long (S::*)()>(&S::skipDelimiters)), 50U);
    EXPECT_EQ(slot(static_cast<unsigned long (S::*)(char)>(&S::skipDelimiters)), 51U);
    EXPECT_EQ(slot(static_cast<unsigned long (S::*)(Text)>(&S::skipDelimiters)), 52U);
    EXPECT_EQ(slot(&S::nextChar), 53U);
    EXPECT_EQ(slot(&S::peekNextChar), 54U);
    EXPECT_EQ(slot(&S::peekNext), 55U);
    EXPECT_EQ(slot(&S::next), 56U);
    EXPECT_EQ(slot(&S::remaining), 57U);
    EXPECT_EQ(slot(&S::peekRemaining), 58U);
    EXPECT_EQ(slot(&S::numCharsRemaining), 59U);
    EXPECT_EQ(slot(&S::nextInt64), 60U);
    EXPECT_EQ(slot(&S::nextDouble), 61U);
    EXPECT_EQ(slot(&S::nextLine), 62U);
    EXPECT_EQ(slot(&S::findInLine), 63U);
    EXPECT_EQ(slot(&S::find), 64U);
}

}
}
