#include "filedata/LightweightVector.h"
#include "filedata/PlainDataVector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace varnox::hdqio {
namespace {

TEST(LightweightVector, IsOnePointerWithItsCountAheadOfTheElements)
{
    static_assert(sizeof(LightweightVector<double>) == sizeof(void*));
    LightweightVector<double> vector;
    ASSERT_TRUE(vector.alloc(5));
    EXPECT_EQ(reinterpret_cast<std::uint64_t const*>(vector.data())[-1], 5U);
    EXPECT_EQ(vector.size(), 5U);
}

TEST(LightweightVector, IsAllocatedOnce)
{
    LightweightVector<int> vector;
    EXPECT_TRUE(vector.alloc(0));
    EXPECT_TRUE(vector.isNull());
    EXPECT_TRUE(vector.alloc(2));
    EXPECT_FALSE(vector.alloc(2));
    EXPECT_FALSE(vector.alloc(0));
    vector.dealloc();
    EXPECT_TRUE(vector.isNull());
    EXPECT_TRUE(vector.alloc(2));
}

TEST(LightweightVector, ElementsOfClassTypeAreInitialisedAndDestroyed)
{
    LightweightVector<std::string> strings;
    ASSERT_TRUE(strings.alloc(3));
    EXPECT_EQ(strings[2], "");
    strings[1] = std::string(1000, 'x');
    LightweightVector<LightweightVector<int>> vectors;
    ASSERT_TRUE(vectors.alloc(3));
    EXPECT_TRUE(vectors[2].isNull());
    ASSERT_TRUE(vectors[0].alloc(10)); // the sanitizer sees it freed
}

TEST(LightweightVector, MoreThanMemoryIsRefused)
{
    LightweightVector<double> vector;
    EXPECT_FALSE(vector.alloc(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_FALSE(vector.alloc(std::numeric_limits<std::uint64_t>::max() / 8));
    EXPECT_TRUE(vector.isNull());
}

TEST(LightweightVector, MoveTakesTheElements)
{
    LightweightVector<int> a;
    ASSERT_TRUE(a.alloc(1));
    a[0] = 7;
    LightweightVector<int> b(std::move(a));
    LightweightVector<int> c;
    ASSERT_TRUE(c.alloc(3));
    c = std::move(b);
    EXPECT_EQ(c.size(), 1U);
    EXPECT_EQ(c[0], 7);
}

TEST(PlainDataVector, IsAllocatedOnceAndFilled)
{
    static_assert(sizeof(PlainDataVector<double>) == sizeof(void*));
    PlainDataVector<std::int32_t> vector;
    EXPECT_TRUE(vector.alloc(0));
    EXPECT_TRUE(vector.isNull());
    EXPECT_TRUE(vector.allocFilled(2, 0xFF));
    EXPECT_EQ(vector[1], -1);
    EXPECT_FALSE(vector.alloc(1));
    EXPECT_FALSE(PlainDataVector<double>().alloc(std::numeric_limits<std::uint64_t>::max() / 4));
}

}
}
