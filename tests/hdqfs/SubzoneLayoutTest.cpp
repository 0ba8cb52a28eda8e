#include "addons/hdqfs/SubzoneLayout.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace varnox::hdqfsloader {
namespace {

SubzoneLayout::Axis wholeAxis(std::uint64_t size, std::uint64_t limit)
{
    return {size, limit, (limit - size % limit) / 2, size / limit + 1};
}

TEST(SubzoneLayout, SectionsStandOneAfterTheOther)
{
    SubzoneLayout const layout = SubzoneLayout::ofSections({300, 512, 10});
    EXPECT_EQ(layout.numSections(), 3U);
    EXPECT_EQ(layout.numSubzones(0), 2U);
    EXPECT_EQ(layout.numSubzones(1), 2U);
    EXPECT_EQ(layout.numSubzones(), 5U);
    EXPECT_EQ(layout.numItems(), 822U);
    EXPECT_EQ(layout.run(0, 1).firstItem, 256U);
    EXPECT_EQ(layout.run(0, 1).size, 44U);
    EXPECT_EQ(layout.run(1, 1).firstItem, 556U);
    EXPECT_EQ(layout.run(1, 1).size, 256U);
    EXPECT_EQ(layout.run(2, 0).firstItem, 812U);
    EXPECT_EQ(layout.run(2, 0).size, 10U);
}

TEST(SubzoneLayout, FirstBrickIsShortByTheShift)
{
    SubzoneLayout const layout =
        SubzoneLayout::ofBricks({wholeAxis(33, 16), wholeAxis(1, 16), wholeAxis(1, 16)});
    EXPECT_EQ(layout.numSubzones(), 3U);
    EXPECT_EQ(layout.run(0, 0).size, 9U);  // indices 0 to 8
    EXPECT_EQ(layout.run(0, 1).size, 16U); // 9 to 24
    EXPECT_EQ(layout.run(0, 2).size, 8U);  // 25 to 32
    EXPECT_EQ(layout.run(0, 2).firstItem, 25U);
}

TEST(SubzoneLayout, BrickBeyondAShortAxisHoldsNothingAndKeepsItsNumber)
{
    // One item and a limit of one: two bricks, the second of them empty.
    SubzoneLayout const layout =
        SubzoneLayout::ofBricks({wholeAxis(1, 1), wholeAxis(3, 4), wholeAxis(1, 4)});
    ASSERT_EQ(layout.numSubzones(), 2U);
    EXPECT_EQ(layout.run(0, 0).size, 3U);
    EXPECT_EQ(layout.run(0, 1).size, 0U);
}

TEST(SubzoneLayout, RunsFollowEachOtherWithoutGaps)
{
    for (std::uint64_t limit : {1U, 2U, 5U, 6U}) {
        SubzoneLayout const layout = SubzoneLayout::ofBricks(
            {wholeAxis(13, limit), wholeAxis(7, limit), wholeAxis(6, limit)});
        std::uint64_t next = 0;
        for (std::uint64_t subzone = 0; subzone < layout.numSubzones(); ++subzone) {
            SubzoneLayout::Run const run = layout.run(0, subzone);
            if (run.size != 0) {
                EXPECT_EQ(run.firstItem, next) << "limit " << limit << " subzone " << subzone;
            }
            next += run.size;
        }
        EXPECT_EQ(next, layout.numItems());
    }
}

TEST(SubzoneLayout, SizeOfAVeryLargeBrickIsNotCutOff)
{
    SubzoneLayout::Axis const axis{1 << 16, 1 << 15, 0, 2};
    SubzoneLayout const layout = SubzoneLayout::ofBricks({axis, axis, {4, 4, 0, 1}});
    EXPECT_EQ(layout.run(0, 0).size, std::uint64_t{1} << 32);
}

TEST(SubzoneLayout, UnknownSubzoneIsRefused)
{
    SubzoneLayout const runs = SubzoneLayout::ofSections({300});
    EXPECT_THROW(runs.run(0, 2), std::out_of_range);
    EXPECT_THROW(runs.run(1, 0), std::out_of_range);
    SubzoneLayout const bricks =
        SubzoneLayout::ofBricks({wholeAxis(4, 6), wholeAxis(4, 6), wholeAxis(4, 6)});
    EXPECT_THROW(bricks.run(0, 1), std::out_of_range);
    EXPECT_THROW(bricks.brick(1), std::out_of_range);
}

}
}
