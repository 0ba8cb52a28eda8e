#include "filedata/TagList.h"

#include "tests/filedata/OpenFile.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

namespace varnox::hdqio {
namespace {

using tests::OpenFile;
using varnox::tests::hex;

TagNames const NAMES{{1, "first"}, {258, "second"}};

TEST(TagList, BinaryListIsNumbersAndThenValues)
{
    OpenFile file(hex("02 00"                    // two tags
                      "02 01 01 00"              // 258 and 1
                      "08 07 06 05 04 03 02 01"  // of 258
                      "ff ff ff ff ff ff ff ff") // of 1
                  + "rest");
    TagMap tags;
    EXPECT_TRUE(readTagList(file.reader, NAMES, tags));
    EXPECT_EQ(tags, (TagMap{{1, ABSENT_FILE_LOC}, {258, 0x0102030405060708}}));
    EXPECT_EQ(file.rest(), "rest");
}

TEST(TagList, TextListHasAWordForEachItem)
{
    OpenFile file("numTags  2\r\ntags\r\n258  1\r\n"
                  "second  0102030405060708\r\nfirst  ff\r\nrest",
                  true);
    TagMap tags;
    EXPECT_TRUE(readTagList(file.reader, NAMES, tags)) << file.message();
    EXPECT_EQ(tags, (TagMap{{1, 255}, {258, 0x0102030405060708}}));
    EXPECT_EQ(file.rest(), "rest");
}

TEST(TagList, OfATagThatOccursTwiceTheLastCounts)
{
    OpenFile file(hex("02 00 01 00 01 00 05 00 00 00 00 00 00 00 06 00 00 00 00 00 00 00"));
    TagMap tags;
    EXPECT_TRUE(readTagList(file.reader, NAMES, tags));
    EXPECT_EQ(tags, (TagMap{{1, 6}}));
}

TEST(TagList, NoTagsGiveAnEmptyMap)
{
    TagMap tags;
    OpenFile binary(hex("00 00"));
    EXPECT_TRUE(readTagList(binary.reader, NAMES, tags));
    OpenFile text("numTags 0\r\ntags\r\n", true);
    EXPECT_TRUE(readTagList(text.reader, NAMES, tags));
    EXPECT_TRUE(tags.empty());
}

TEST(TagList, UnknownTagCostsEightBytes)
{
    OpenFile file(hex("02 00 77 00 01 00 05 00 00 00 00 00 00 00 06 00 00 00 00 00 00 00"));
    TagMap tags;
    EXPECT_TRUE(readTagList(file.reader, NAMES, tags));
    EXPECT_EQ(tags, (TagMap{{1, 6}}));
    EXPECT_EQ(file.message(),
              "Unrecognized tag while reading file header: 119. Attempting to continue...");
}

TEST(TagList, UnknownTagCostsALineOfText)
{
    OpenFile file("numTags 2\r\ntags\r\n119 1\r\nsomething else 0005\r\nfirst 6\r\n", true);
    TagMap tags;
    EXPECT_TRUE(readTagList(file.reader, NAMES, tags));
    EXPECT_EQ(tags, (TagMap{{1, 6}}));
    EXPECT_EQ(file.message(),
              "Unrecognized tag while reading file header: 119. Attempting to continue...");
}

TEST(TagList, LineOfAnUnknownTagEndsInItsLineFeed)
{
    OpenFile file("numTags 2\ntags\n119 1\nsome\rthing 5\nfirst 6\n", true);
    TagMap tags;
    EXPECT_TRUE(readTagList(file.reader, NAMES, tags)) << file.message();
    EXPECT_EQ(tags, (TagMap{{1, 6}}));
    OpenFile last("numTags 1\r\ntags\r\n119\r\nsomething 5\r\nrest", true);
    EXPECT_TRUE(readTagList(last.reader, NAMES, tags));
    EXPECT_EQ(last.rest(), "rest");
}

TEST(TagList, UnknownTagAtTheEndOfTheFileIsReported)
{
    std::string const announced =
        "Unrecognized tag while reading file header: 119. Attempting to continue... ";
    TagMap tags;
    OpenFile binary(hex("01 00 77 00 05 00 00 00 00 00 00"));
    EXPECT_FALSE(readTagList(binary.reader, NAMES, tags));
    EXPECT_EQ(binary.message(),
              announced + "Read error while attempting to skip unrecognized tag.");
    OpenFile text("numTags 1\r\ntags\r\n119\r\nsomething", true);
    EXPECT_FALSE(readTagList(text.reader, NAMES, tags));
    EXPECT_EQ(text.message(),
              announced + "End-of-file encountered attempting to skip unrecognized tag.");
}

TEST(TagList, ListCutAtEveryByteIsRefused)
{
    std::string const whole =
        hex("02 00 01 00 02 01 05 00 00 00 00 00 00 00 06 00 00 00 00 00 00 00");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        OpenFile file(whole.substr(0, length));
        TagMap tags;
        EXPECT_FALSE(readTagList(file.reader, NAMES, tags)) << length;
        EXPECT_NE(file.message(), "") << length;
    }
}

TEST(TagList, AbsentTagIsZero)
{
    EXPECT_EQ(valueOrZero({{1, 7}}, 1), 7U);
    EXPECT_EQ(valueOrZero({{1, 7}}, 2), 0U);
}

}
}
