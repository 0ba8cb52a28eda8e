#include "tests/malformed/Edits.h"

#include "tests/support/Wire.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace varnox::malformed {
namespace {

using namespace tests::wire;

/// A file of one zone: its line, two words, a block at 30 with the zone header's location, some
/// bytes, and at 58 the tag list of the data set.
std::string file()
{
    return "#!HDQFS 232BF\n" + u64(1) + u64(58) + u64(80) + std::string(20, '.') + u16(2) + u16(1) +
           u16(258) + u64(1) + u64(30);
}

std::string withEdit(std::string const& edit)
{
    return edited(file(), {edit});
}

TEST(Edits, PutWritesOverAPlace)
{
    EXPECT_EQ(edited("abcdef", {"put 2 bytes \"XY\""}), "abXYef");
    EXPECT_EQ(edited("abcdef", {"put end-1 u8 0x41"}), "abcdeA");
    EXPECT_EQ(edited("abcabc", {"put \"b\"#2 bytes X"}), "abcabX");
    EXPECT_EQ(edited("abcabc", {"put \"a\"#-1+1 bytes X"}), "abcabX");
    EXPECT_THROW(edited("abc", {"put 2 u16 1"}), std::runtime_error);
}

TEST(Edits, InsertEraseCutAndAddMoveTheRest)
{
    EXPECT_EQ(edited("abc", {"insert 1 bytes XY"}), "aXYbc");
    EXPECT_EQ(edited("abcdef", {"erase 1 2"}), "adef");
    EXPECT_EQ(edited("abcdef", {"cut \"c\""}), "abc");
    EXPECT_EQ(edited("a", {"add text \"b\\x00\\n\""}), "a" + text(std::string("b\0\n", 3)));
}

TEST(Edits, ItemsAreThoseOfTheWire)
{
    EXPECT_EQ(edited("", {"add u8 255 u16 -1 u32 2^31 u64 2^63-1"}),
              u8(255) + u16(0xFFFF) + u32(0x80000000) + u64(0x7FFFFFFFFFFFFFFF));
    EXPECT_EQ(edited("", {"add count 3 f32 1.5 f64 -2 hex 00ff fill 3 7"}),
              u64(3) + f32(1.5F) + f64(-2) + std::string("\0\xff\7\7\7", 5));
    EXPECT_EQ(edited("", {"add vec u16 1 2"}), vec({u16(1), u16(2)}));
    EXPECT_EQ(edited("", {"add texts \"a\" \"\""}), vec({text("a"), text("")}));
}

TEST(Edits, NamesOfTagsLeadToTheirWords)
{
    std::string const whole = file();
    EXPECT_EQ(withEdit("put byteOrder u64 2").substr(14, 8), u64(2));
    EXPECT_EQ(withEdit("put dataSet u64 end").substr(22, 8), u64(whole.size()));
    EXPECT_EQ(withEdit("put dataSet.count u16 9").substr(58, 2), u16(9));
    EXPECT_EQ(withEdit("put dataSet.zoneHeaderFileLocs.number u16 9").substr(62, 2), u16(9));
    EXPECT_EQ(withEdit("put dataSet.numberOfZones u64 @dataSet+1").substr(64, 8), u64(59));
    EXPECT_EQ(withEdit("put @dataSet.zoneHeaderFileLocs u64 &dataSet.numberOfZones").substr(30, 8),
              u64(64));
    EXPECT_EQ(withEdit("put zone1 u64 1").substr(30, 8), u64(1));
    EXPECT_EQ(withEdit("put (@dataSet.zoneHeaderFileLocs+8)+2 u8 0x58")[40], 'X');
}

TEST(Edits, TagsAreDroppedAndRepeated)
{
    EXPECT_EQ(withEdit("drop dataSet.numberOfZones").substr(58, 12), u16(1) + u16(258) + u64(30));
    std::string const longer = withEdit("twice dataSet.numberOfZones 3");
    EXPECT_EQ(longer.substr(22, 8), u64(file().size()));
    EXPECT_EQ(longer.substr(file().size()),
              u16(3) + u16(1) + u16(258) + u16(1) + u64(1) + u64(30) + u64(3));
    EXPECT_THROW(withEdit("drop dataSet.zoneTypes"), std::runtime_error);
}

TEST(Edits, WordsOfTextFilesStayInTheirColumns)
{
    std::string const text = "one     1   2\r\none     33  4\r\n";
    EXPECT_EQ(edited(text, {"say one#2 1 5"}), "one     1   2\r\none     5   4\r\n");
    EXPECT_EQ(edited(text, {"say one#-2 2 \"x\""}), "one     1   x\r\none     33  4\r\n");
    EXPECT_EQ(edited(text, {"say one 1 1234"}), "one     12342\r\none     33  4\r\n");
    EXPECT_EQ(edited(text, {"reword one#2 other"}), "one     1   2\r\nother   33  4\r\n");
    EXPECT_THROW(edited(text, {"say one 2 55"}), std::runtime_error);
    EXPECT_THROW(edited(text, {"say two 1 5"}), std::runtime_error);
}

TEST(Edits, OnesThatArentUnderstoodAreRefused)
{
    for (char const* const edit :
         {"pot 1 u8 1", "put", "put 1", "put 1 u9 1", "erase 0 1 2", "put zone u8 1"})
        EXPECT_THROW(withEdit(edit), std::exception) << edit;
}

}
}
