#include "varnox/ItemAddress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace varnox {
namespace {

using Item = ItemAddress<long>;
using Subzone = Item::SubzoneAddress;

TEST(ItemAddress, FieldsStandAtTheirBits)
{
    EXPECT_EQ(Subzone(/*partition*/ 1, /*section*/ 0, /*subzone*/ 0).word(), 0x20U);
    EXPECT_EQ(Subzone(0, 1, 0).word(), 0x2U);
    EXPECT_EQ(Subzone(0, 0, 1).word(), 0x10000000U);
    EXPECT_EQ(Item(Subzone(0, 0, 0), 1).word(), 0x0100000000000000U);
    EXPECT_EQ(Subzone(8388607, 15, 268435455).word(), 0x00FFFFFFFFFFFFFEU);
}

TEST(ItemAddress, FieldsComeBack)
{
    Subzone const subzone(8388606, 14, 268435454);
    EXPECT_EQ(subzone.partition(), 8388606U);
    EXPECT_EQ(subzone.section(), 14U);
    EXPECT_EQ(subzone.subzoneOffset(), 268435454U);
}

TEST(ItemAddress, NumbersAreCutToTheWidthOfTheirFields)
{
    EXPECT_EQ(Subzone(8388608, 16, 268435456).word(), 0U);
}

TEST(ItemAddress, ItemOfASubzoneKeepsItsFieldsExactly)
{
    Subzone const subzone(77, 3, 1234567);
    Item const item(subzone, 9);
    EXPECT_EQ(item.word(), subzone.word() | 0x0900000000000000U);
    EXPECT_EQ(item.subzoneAddress().word(), subzone.word());
    EXPECT_EQ(item.itemOffset(), 9);
}

TEST(ItemAddress, LargestItemOffsetIsTheWholeTopByte)
{
    Item const item(Subzone(0, 0, 0), 255);
    EXPECT_EQ(item.word(), 0xFF00000000000000U);
    EXPECT_EQ(item.itemOffset(), 255);
}

TEST(ItemAddress, ItemOfASubzoneHasNoFormFlag)
{
    EXPECT_EQ(Item(Subzone(0x0000000000000021U), 1).word(), 0x0100000000000020U);
    EXPECT_EQ(Item(Subzone(0xAB00000000000020U), 1).word(), 0x0100000000000020U);
}

TEST(ItemAddress, AssigningLeavesTheFormFlagAsItWas)
{
    Item flagged(1);
    flagged.assign(Subzone(0x20), 2);
    EXPECT_EQ(flagged.word(), 0x0200000000000021U);
    Item plain(0);
    plain.assign(Subzone(0x21), 2);
    EXPECT_EQ(plain.word(), 0x0200000000000020U);
}

TEST(SubzoneAddress, OrderIsByPartitionThenSectionThenSubzone)
{
    // Raw words of these don't ascend.
    std::vector<Subzone> const ascending = {Subzone(1, 0, 9), Subzone(1, 1, 0), Subzone(1, 1, 2),
                                            Subzone(2, 0, 0)};
    EXPECT_FALSE(std::is_sorted(ascending.begin(), ascending.end(),
                                [](Subzone a, Subzone b) { return a.word() < b.word(); }));
    for (std::size_t i = 0; i < ascending.size(); ++i)
        for (std::size_t j = 0; j < ascending.size(); ++j)
            EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << " " << j;
}

TEST(SubzoneAddress, SubzonesOfTwoSectionsDifferWhateverTheirOffsets)
{
    EXPECT_LT(Subzone(4, 1, 1000), Subzone(4, 2, 0));
    EXPECT_NE(Subzone(4, 1, 7), Subzone(4, 2, 7));
}

TEST(SubzoneAddress, HighNumbersCompareUnsigned)
{
    EXPECT_LT(Subzone(1, 0, 0), Subzone(8388607, 0, 0));
    EXPECT_LT(Subzone(0, 0, 1), Subzone(0, 0, 268435455));
}

}
}
