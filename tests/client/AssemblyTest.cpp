#include "client/Assembly.h"

#include <gtest/gtest.h>

#include <limits>

namespace varnox::client {
namespace {

using Ints = std::vector<std::int32_t>;

TEST(Assembly, PiecesInOrderJoin)
{
    Assembly<std::int32_t> assembly(5);
    EXPECT_TRUE(assembly.add(0, {1, 2}));
    EXPECT_FALSE(assembly.isComplete());
    EXPECT_TRUE(assembly.add(2, {3, 4, 5}));
    EXPECT_TRUE(assembly.isComplete());
    EXPECT_EQ(assembly.take(), (Ints{1, 2, 3, 4, 5}));
}

TEST(Assembly, PiecesOutOfOrderJoinWhenTheGapCloses)
{
    Assembly<std::int32_t> assembly(5);
    EXPECT_TRUE(assembly.add(4, {5}));
    EXPECT_TRUE(assembly.add(2, {3, 4}));
    EXPECT_EQ(assembly.complete(), 0);
    EXPECT_TRUE(assembly.add(0, {1, 2}));
    EXPECT_EQ(assembly.take(), (Ints{1, 2, 3, 4, 5}));
}

TEST(Assembly, LaterPieceOverwrites)
{
    Assembly<std::int32_t> assembly(4);
    EXPECT_TRUE(assembly.add(0, {1, 1, 1}));
    EXPECT_TRUE(assembly.add(1, {2, 2, 2}));
    EXPECT_EQ(assembly.take(), (Ints{1, 2, 2, 2}));
}

TEST(Assembly, PieceOutsideTheArrayIsRefused)
{
    Assembly<std::int32_t> assembly(3);
    EXPECT_FALSE(assembly.add(-1, {1}));
    EXPECT_FALSE(assembly.add(3, {1}));
    EXPECT_FALSE(assembly.add(1, {1, 2, 3}));
    EXPECT_FALSE(assembly.add(0, {1, 2, 3, 4}));
    EXPECT_FALSE(assembly.add(std::numeric_limits<std::int64_t>::max(), {1}));
    EXPECT_TRUE(assembly.add(3, {}));
    EXPECT_EQ(assembly.complete(), 0);
}

TEST(Assembly, RepeatsBehindAGapAreNotTakenWithoutEnd)
{
    Assembly<std::int32_t> assembly(10);
    int accepted = 0;
    while (accepted < 1000 && assembly.add(1, {1, 2, 3}))
        ++accepted;
    EXPECT_LT(accepted, 20);
}

TEST(Assembly, EmptyArrayIsCompleteAtOnce)
{
    EXPECT_TRUE(Assembly<float>(0).isComplete());
}

}
}
