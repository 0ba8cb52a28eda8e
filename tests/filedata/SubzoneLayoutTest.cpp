#include "filedata/SubzoneLayout.h"

#include <gtest/gtest.h>

namespace varnox::hdqio {
namespace {

IJKSubzoneInfo along(std::int64_t size, std::int64_t limit, bool isPartition)
{
    return IJKSubzoneInfo({size, 1, 1, size}, {limit, limit, limit, limit * limit}, 7, isPartition);
}

TEST(IJKSubzoneInfo, WholeZoneThatItsLimitDividesGetsOneSubzoneMore)
{
    IJKSubzoneInfo const whole = along(32, 16, false);
    EXPECT_EQ(whole.numSubzones[0], 3U);
    EXPECT_EQ(whole.subzoneOffset[0], 8U);
    IJKSubzoneInfo const partition = along(32, 16, true);
    EXPECT_EQ(partition.numSubzones[0], 2U);
    EXPECT_EQ(partition.subzoneOffset[0], 0U);
}

TEST(IJKSubzoneInfo, RestIsSharedBetweenTheEnds)
{
    for (bool const isPartition : {false, true}) {
        IJKSubzoneInfo const info = along(33, 16, isPartition);
        EXPECT_EQ(info.numSubzones[0], 3U);
        EXPECT_EQ(info.subzoneOffset[0], 7U);
    }
}

TEST(IJKSubzoneInfo, EmptyAxisOfAWholeZoneHasOneSubzone)
{
    IJKSubzoneInfo const info = along(0, 16, false);
    EXPECT_EQ(info.numSubzones[0], 1U);
    EXPECT_EQ(info.subzoneOffset[0], 8U);
}

TEST(IJKSubzoneInfo, ProductsAndReducedSizes)
{
    IJKSubzoneInfo const info({40, 33, 0, 1320}, {6, 6, 6, 36}, 2, true);
    EXPECT_EQ(info.reducedDims.i, 39);
    EXPECT_EQ(info.reducedDims.j, 32);
    EXPECT_EQ(info.reducedDims.k, 0);
    EXPECT_EQ(info.reducedDims.ij, 39 * 32);
    EXPECT_EQ(info.numSubzones[3], info.numSubzones[0] * info.numSubzones[1]);
    EXPECT_EQ(info.subzoneOffset[3], info.subzoneOffset[0] * info.subzoneOffset[1]);
    EXPECT_EQ(info.totalSubzones, info.numSubzones[2] * info.numSubzones[3]);
    EXPECT_EQ(info.partition, 2U);
}

TEST(IJKZoneInfo, FlagsAreSetAndContainersEmpty)
{
    IJKZoneInfo const info;
    for (char const flag : info.flags)
        EXPECT_EQ(flag, 1);
    EXPECT_TRUE(info.minMaxes.empty());
    EXPECT_TRUE(info.nodeSubzones.empty());
}

TEST(IJKSubzoneInfo, EmptyAxisOfAPartitionHasNone)
{
    IJKSubzoneInfo const info = along(0, 16, true);
    EXPECT_EQ(info.numSubzones[0], 0U);
    EXPECT_EQ(info.subzoneOffset[0], 0U);
    EXPECT_EQ(info.totalSubzones, 0U);
}

TEST(IJKSubzoneInfo, LimitsCountIn16Bits)
{
    IJKSubzoneInfo const info = along(33, 0x50010, true);
    EXPECT_EQ(info.numSubzones[0], 3U);
    EXPECT_EQ(info.subzoneOffset[0], 7U);
    EXPECT_EQ(info.maxSubzoneDims.i, 0x50010);
}

TEST(IJKZoneInfo, CopyHasBothContainers)
{
    IJKZoneInfo source;
    source.cells = along(33, 16, true);
    source.flags[1] = 0;
    source.minMaxes[7] = {{1, 2}};
    source.nodeSubzones = {3, 4};
    IJKZoneInfo copy;
    copy = source;
    EXPECT_EQ(copy.cells.numSubzones[0], 3U);
    EXPECT_EQ(copy.flags[1], 0);
    EXPECT_EQ(copy.minMaxes.at(7)[0].max, 2);
    EXPECT_EQ(copy.nodeSubzones, source.nodeSubzones);
}

}
}
