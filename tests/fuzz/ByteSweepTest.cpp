#include "fuzz/support/ByteSweep.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace varnox::fuzz {
namespace {

std::vector<std::string> allOf(ByteSweep sweep)
{
    std::vector<std::string> result;
    while (auto next = sweep.next())
        result.push_back(*next);
    return result;
}

TEST(ByteSweep, EachByteIsChangedInEachWay)
{
    EXPECT_EQ(allOf(ByteSweep({"b"})),
              (std::vector<std::string>{"b", "c", "a", std::string(1, '\0'), "\xFF", "\xE2", "r",
                                        "", "bb", "\xFF", std::string(1, '\0')}));
    auto const all = allOf(ByteSweep({"123456"}));
    ASSERT_EQ(all.size(), 6 * ByteSweep::NUM_WAYS);
    for (char const* const expected :
         {"1", "12345", "123457", "023456", "12346", "1123456", "12\xFF\xFF\xFF\xFF", "12345\xFF"})
        EXPECT_NE(std::find(all.begin(), all.end(), expected), all.end()) << expected;
}

TEST(ByteSweep, ShortestInputComesFirstWhateverTheOrder)
{
    auto const all = allOf(ByteSweep({"long", "", "yz", "xy"}));
    EXPECT_EQ(all, allOf(ByteSweep({"yz", "xy", "long", ""})));
    ASSERT_EQ(all.size(), 8 * ByteSweep::NUM_WAYS);
    EXPECT_EQ(all[0], "x");
    EXPECT_EQ(all[2 * ByteSweep::NUM_WAYS], "y");
    EXPECT_EQ(all[4 * ByteSweep::NUM_WAYS], "l");
}

TEST(ByteSweep, OfNothingIsAtItsEnd)
{
    EXPECT_TRUE(allOf(ByteSweep({})).empty());
    EXPECT_TRUE(allOf(ByteSweep({"", ""})).empty());
}

}
}
