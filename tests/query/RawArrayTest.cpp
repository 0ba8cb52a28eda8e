#include "varnox/RawArray.h"

#include <gtest/gtest.h>

#include <array>
#include <new>

namespace varnox {
namespace {

class GrowableArray : public testing::Test
{
protected:
    ~GrowableArray() override { delete[] owner; }

    void fillTo(std::uint64_t n)
    {
        while (array.size < n)
            append(array, static_cast<long>(array.size));
    }

    long* owner = nullptr;
    RawArray<long> array{&owner, nullptr, 0, 0};
};

TEST_F(GrowableArray, FirstElementGivesRoomFor32)
{
    append(array, 5L);
    EXPECT_EQ(array.capacity, 32U);
    EXPECT_EQ(array.size, 1U);
    EXPECT_EQ(array.data[0], 5);
    EXPECT_EQ(owner, array.data);
}

TEST_F(GrowableArray, FullArrayDoubles)
{
    resize(array, 100);
    EXPECT_EQ(array.capacity, 100U);
    append(array, 7L);
    EXPECT_EQ(array.capacity, 200U);
    EXPECT_EQ(array.data[100], 7);
}

TEST_F(GrowableArray, KeepsItsElementsWhileItGrows)
{
    fillTo(33);
    EXPECT_EQ(array.capacity, 64U);
    for (long i = 0; i < 33; ++i)
        EXPECT_EQ(array.data[i], i);
}

TEST_F(GrowableArray, ElementOfItselfIsAppendedWhole)
{
    fillTo(32);
    append(array, array.data[31]);
    EXPECT_EQ(array.data[32], 31);
}

TEST_F(GrowableArray, ResizingTakesExactlyWhatIsWanted)
{
    resize(array, 3);
    EXPECT_EQ(array.capacity, 3U);
    EXPECT_EQ(array.size, 3U);
    long const* const block = array.data;
    resize(array, 2);
    EXPECT_EQ(array.size, 2U);
    EXPECT_EQ(array.capacity, 3U);
    EXPECT_EQ(array.data, block);
}

TEST_F(GrowableArray, LengthBeyondAnyMemoryIsABadArrayLength)
{
    EXPECT_THROW(resize(array, std::uint64_t{1} << 60), std::bad_array_new_length);
    EXPECT_EQ(array.data, nullptr);
    EXPECT_EQ(array.size, 0U);
}

TEST(FixedArray, TakesExactlyItsCapacity)
{
    std::array<long, 8> buffer{};
    RawArray<long> array{nullptr, buffer.data(), buffer.size(), 0};
    for (long i = 0; i < 8; ++i)
        append(array, i);
    EXPECT_EQ(array.size, 8U);
    EXPECT_EQ(array.data, buffer.data());
    EXPECT_THROW(append(array, 8L), std::bad_array_new_length);
    EXPECT_EQ(array.size, 8U);
}

TEST(FixedArray, CannotBeResizedBeyondItsCapacity)
{
    std::array<long, 8> buffer{};
    RawArray<long> array{nullptr, buffer.data(), buffer.size(), 0};
    resize(array, 8);
    EXPECT_EQ(array.size, 8U);
    EXPECT_THROW(resize(array, 9), std::bad_array_new_length);
}

}
}
