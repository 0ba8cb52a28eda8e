#include "client/Errors.h"

#include <gtest/gtest.h>

namespace varnox::client {
namespace {

TEST(Printable, ControlCharactersBecomeQuestionMarks)
{
    EXPECT_EQ(printable("a\x1B[31m\tb\rc\x7F\xC2\x9B", 100), "a?[31m?b?c?\xC2?");
}

TEST(Printable, LineEndsStayWithoutTheirReturns)
{
    EXPECT_EQ(printable("unknown host\r\nsecond\nthird\r", 100), "unknown host\nsecond\nthird");
}

TEST(Printable, WhatIsTooLongIsCut)
{
    EXPECT_EQ(printable("abcdef", 3), "abc...");
    EXPECT_EQ(printable("abc", 3), "abc");
}

}
}
