#include "client/Engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace varnox::client {
namespace {

std::string readAndWritten(std::string const& text)
{
    std::string result;
    for (SubzoneAddress const address : parseSubzones(text))
        result += (result.empty() ? "" : ",") + textOf(address);
    return result;
}

TEST(SubzoneText, NumbersAndRangesOfPartitionsAndSections)
{
    EXPECT_EQ(readAndWritten("0"), "0");
    EXPECT_EQ(readAndWritten("3-5,1"), "3,4,5,1");
    EXPECT_EQ(readAndWritten("2/7-8"), "2/7,2/8");
    EXPECT_EQ(readAndWritten("0/1/4"), "0/1/4");
}

TEST(SubzoneText, NamesTheAddress)
{
    auto const addresses = parseSubzones("5/2/9");
    ASSERT_EQ(addresses.size(), 1U);
    EXPECT_EQ(addresses[0].partition(), 5U);
    EXPECT_EQ(addresses[0].section(), 2U);
    EXPECT_EQ(addresses[0].subzoneOffset(), 9U);
}

class BadSubzoneText : public testing::TestWithParam<char const*>
{
};

TEST_P(BadSubzoneText, IsRefusedWithTheFormsThatWork)
{
    try {
        parseSubzones(GetParam());
        FAIL() << "nothing was thrown";
    } catch (std::invalid_argument const& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("names"));
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, BadSubzoneText,
                         testing::Values("", ",", "1,", "a", "-1", "1-", "5-3", "1-2-3", "1/2/3/4",
                                         "1/", "8388608/0", "0/16/0", "268435456", "0-268435455",
                                         "1 2", "0x3"));

}
}
