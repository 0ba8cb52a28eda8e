#include "filedata/IODescription.h"

#include "tests/filedata/OpenFile.h"

#include <gtest/gtest.h>

namespace varnox::hdqio {
namespace {

using tests::OpenFile;

constexpr std::int32_t NO_INDEX = IODescription::UNSET_INDEX;
constexpr std::uint32_t NO_PARTITION = IODescription::UNSET_PARTITION;
constexpr std::uint32_t NO_SEGMENT = IODescription::UNSET_SEGMENT;

struct TextCase
{
    char const* name;
    IODescription description;
    char const* text;
};

TextCase const textCases[] = {
    {"Bare", {"zoneNamesArray"}, "zoneNamesArray"},
    {"Nothing", {}, "unspecified"},
    {"Variable", {"fieldDataTypes", 2}, "fieldDataTypesForVar3"},
    {"ZoneAndPartition", {"varFileLocs", NO_INDEX, 0, 4}, "varFileLocsForZone1Partition5"},
    {"Partition", {"a", NO_INDEX, NO_INDEX, 0}, "aForPartition1"},
    {"Segment", {"a", NO_INDEX, NO_INDEX, NO_PARTITION, 8}, "aForSegment9"},
    {"All", {"a", 0, 1, 2, 3}, "aForVar1Zone2Partition3Segment4"},
    {"AllWithoutAName", {nullptr, 0, 1, 2, 3}, "unspecifiedVar1Zone2Partition3Segment4"},
    {"SegmentWithoutAName", {nullptr, NO_INDEX, NO_INDEX, NO_PARTITION, 0}, "unspecifiedSegment1"},
    {"Star", {"zoneMarker*"}, "zoneMarker*"},
    {"StarBehindTheIndices", {"marker*", NO_INDEX, 6}, "markerForZone7*"},
    {"Suffix",
     {"varNamesArray", NO_INDEX, NO_INDEX, NO_PARTITION, NO_SEGMENT, "TotalSize"},
     "varNamesArrayTotalSize"},
    {"SuffixBehindTheIndicesAheadOfTheStar",
     {"a*", 1, NO_INDEX, NO_PARTITION, NO_SEGMENT, "End"},
     "aForVar2End*"},
};

class DescriptionTexts : public testing::TestWithParam<TextCase>
{
};

TEST_P(DescriptionTexts, AreFormatted)
{
    char text[100];
    EXPECT_TRUE(GetParam().description.getFormattedDescription(text, sizeof(text)));
    EXPECT_STREQ(text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(IODescription, DescriptionTexts, testing::ValuesIn(textCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(IODescription, UnsetPartitionHas23Bits)
{
    EXPECT_EQ(IODescription::UNSET_PARTITION, 0x7FFFFFU);
    EXPECT_EQ(IODescription().partitionIndex, 0x7FFFFFU);
    IODescription const last{"a", NO_INDEX, NO_INDEX, 0x7FFFFE};
    EXPECT_STREQ(DescriptionText(last).text(), "aForPartition8388607");
    IODescription const beyond{"a", NO_INDEX, NO_INDEX, 0x7FFFFF};
    EXPECT_STREQ(DescriptionText(beyond).text(), "a");
}

TEST(IODescription, TextIsCutAtTheEndOfTheBufferAndFollowingStepsAreSkipped)
{
    char text[8] = "xxxxxxx";
    IODescription const description{"abcdefghij*", 0, 1};
    description.getFormattedDescription(text, sizeof(text));
    EXPECT_STREQ(text, "abcdefg");
}

TEST(IODescription, WordThatDiffersOnlyInCaseMatches)
{
    EXPECT_TRUE(checkDescription("ZONENAMESARRAY", {"zoneNamesArray"}));
    EXPECT_TRUE(checkDescription("fielddatatypesforvar3", {"fieldDataTypes", 2}));
    EXPECT_FALSE(checkDescription("zoneNamesArra", {"zoneNamesArray"}));
    EXPECT_FALSE(checkDescription("zoneNamesArrayy", {"zoneNamesArray"}));
    EXPECT_FALSE(checkDescription("", {"zoneNamesArray"}));
}

struct OlderNameCase
{
    char const* name;
    char const* word;
    IODescription description;
};

OlderNameCase const olderNameCases[] = {
    {"Nsz", "nszConnectivityFileLocs", {"nszConnFileLocs"}},
    {"Csz", "cszConnectivityFileLocs", {"cszConnFileLocs"}},
    {"NszForZone", "nszConnectivityFileLocsForZone", {"nszConnFileLocsForZone"}},
    {"CszForZone", "cszConnectivityFileLocsForZone", {"cszConnFileLocsForZone"}},
    {"Passive", "passiveForVar2", {"passiveVar", 1}},
    {"Share", "shareForVar7", {"shareVar", 6}},
    {"Indices", "NSZCONNECTIVITYFILELOCSForZone2Partition9", {"nszConnFileLocs", NO_INDEX, 1, 8}},
};

class OlderNames : public testing::TestWithParam<OlderNameCase>
{
};

TEST_P(OlderNames, AreAccepted)
{
    OpenFile file(std::string(GetParam().word) + " \r\n 17", true);
    EXPECT_TRUE(readAndVerifyDescription(file.reader, GetParam().description)) << file.message();
    EXPECT_EQ(file.rest(), "17");
}

INSTANTIATE_TEST_SUITE_P(IODescription, OlderNames, testing::ValuesIn(olderNameCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(IODescription, NewNameDoesNotSatisfyARequestForTheOlderOne)
{
    OpenFile file("passiveVar 1", true);
    EXPECT_FALSE(readAndVerifyDescription(file.reader, {"passive"}));
}

TEST(IODescription, MismatchNamesWhatWasFirstLookedFor)
{
    OpenFile file("other 1", true);
    EXPECT_FALSE(readAndVerifyDescription(file.reader, {"passiveVar", 1}));
    EXPECT_EQ(file.message(),
              "Mismatched descriptions: looking for 'passiveVarForVar2', found 'other' instead.");
}

TEST(IODescription, EndOfFileIsReported)
{
    OpenFile file(" \r\n", true);
    EXPECT_FALSE(readAndVerifyDescription(file.reader, {"numTags"}));
    EXPECT_EQ(file.message(), "Cannot read description for numTags.");
}

TEST(IODescription, WordIsCutAt99CharactersAndTheRestIsLeft)
{
    OpenFile file(std::string(99, 'a') + "bcd", true);
    EXPECT_FALSE(readAndVerifyDescription(file.reader, {"numTags"}));
    EXPECT_EQ(file.message(), "Mismatched descriptions: looking for 'numTags', found '" +
                                  std::string(99, 'a') + "' instead.");
    EXPECT_EQ(file.rest(), "bcd");
}

TEST(IODescription, TabIsNotSkipped)
{
    OpenFile file(" \r\n \tx", true);
    skipWhitespace(file.reader);
    EXPECT_EQ(file.rest(), "\tx");
}

TEST(IODescription, WhitespaceEndsAtTheEndOfTheFile)
{
    OpenFile file(" \r\n ", true);
    skipWhitespace(file.reader);
    EXPECT_EQ(file.rest(), "");
}

TEST(IODescription, BareNameIsAcceptedOnlyWhereItIsAllowed)
{
    IODescription description{"cszNumRefNszs", NO_INDEX, 2};
    OpenFile strict("cszNumRefNszs 1", true);
    EXPECT_FALSE(readAndVerifyDescription(strict.reader, description));
    description.orBareName = true;
    OpenFile bare("cszNumRefNszs 1", true);
    EXPECT_TRUE(readAndVerifyDescription(bare.reader, description));
    OpenFile indexed("cszNumRefNszsForZone3 1", true);
    EXPECT_TRUE(readAndVerifyDescription(indexed.reader, description));
    OpenFile otherZone("cszNumRefNszsForZone4 1", true);
    EXPECT_FALSE(readAndVerifyDescription(otherZone.reader, description));
}

}
}
