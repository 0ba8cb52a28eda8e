#include "query/SubzoneVarValues.h"

#include "query/Arrays.h"
#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"
#include "varnox/socketutil/WriteCache.h"

#include <cmath>
#include <limits>
#include <stdexcept>

namespace varnox::hdqlib {
namespace {

using namespace tests;

template <typename T>
SubzoneVarValues<T> valuesOf(std::vector<double> values)
{
    return SubzoneVarValues<T>(viewOf(values));
}

template <typename T>
std::string wireOf(SubzoneVarValues<T>& values)
{
    return cached([&](auto& cache) { values.addToCache(cache); });
}

template <typename T>
std::string wireOf(std::vector<double> const& values)
{
    auto sent = valuesOf<T>(values);
    return wireOf(sent);
}

/// The golden bytes of 3.7, -2 and 1, in each type.
template <typename T>
std::string golden();
template <>
std::string golden<float>()
{
    return hex("03 00 00 00 00 00 00 00 cd cc 6c 40 00 00 00 c0 00 00 80 3f");
}
template <>
std::string golden<double>()
{
    return hex("03 00 00 00 00 00 00 00 9a 99 99 99 99 99 0d 40 00 00 00 00 00 00 00 c0"
               "00 00 00 00 00 00 f0 3f");
}
template <>
std::string golden<int>()
{
    return hex("03 00 00 00 00 00 00 00 03 00 00 00 fe ff ff ff 01 00 00 00");
}
template <>
std::string golden<short>()
{
    return hex("03 00 00 00 00 00 00 00 03 00 fe ff 01 00");
}
template <>
std::string golden<unsigned char>()
{
    return hex("03 00 00 00 00 00 00 00 03 fe 01");
}

template <typename T>
class SubzoneVarValuesOf : public testing::Test
{
};
using Types = testing::Types<float, double, int, short, unsigned char>;
TYPED_TEST_SUITE(SubzoneVarValuesOf, Types);

TYPED_TEST(SubzoneVarValuesOf, TravelAsTheirGoldenBytes)
{
    EXPECT_EQ(wireOf<TypeParam>({3.7, -2, 1}), golden<TypeParam>());
    RecordingSocket socket(golden<TypeParam>());
    SubzoneVarValues<TypeParam> received(socket);
    EXPECT_EQ(received.size(), 3U);
    EXPECT_EQ(wireOf(received), golden<TypeParam>());
    EXPECT_TRUE(socket.allWasRead());
}

TYPED_TEST(SubzoneVarValuesOf, AreAddedToAnAnswerAsTheSameBytes)
{
    for (std::vector<double> values :
         {std::vector<double>{3.7, -2, 1}, std::vector<double>{}, std::vector<double>(300, 1e9)}) {
        std::string const expected = wireOf<TypeParam>(values);
        EXPECT_EQ(cached([&](auto& cache) { addNarrowed<TypeParam>(viewOf(values), cache); }),
                  expected);
    }
}

TYPED_TEST(SubzoneVarValuesOf, NothingIsAnEmptyVector)
{
    EXPECT_EQ(wireOf<TypeParam>({}), vec({}));
    RecordingSocket socket(vec({}));
    EXPECT_EQ(SubzoneVarValues<TypeParam>(socket).size(), 0U);
}

TYPED_TEST(SubzoneVarValuesOf, AreReceivedAsAVector)
{
    RecordingSocket socket(golden<TypeParam>() + golden<TypeParam>());
    SubzoneVarValues<TypeParam> values(socket);
    auto const received = values.receiveValues(socket);
    ASSERT_EQ(received.size(), 3U);
    for (unsigned short i = 0; i < 3; ++i)
        EXPECT_EQ(static_cast<double>(received[i]), values.fieldValue(i));
}

TYPED_TEST(SubzoneVarValuesOf, FailureOfTheConnectionIsAnIOException)
{
    std::string const whole = golden<TypeParam>();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        RecordingSocket socket(whole.substr(0, length));
        EXPECT_EQ(messageOf<IOException>([&] { SubzoneVarValues<TypeParam>{socket}; }),
                  "the script has ended");
    }
}

TYPED_TEST(SubzoneVarValuesOf, FieldValuesIgnoreTheAddresses)
{
    auto const values = valuesOf<TypeParam>({1, 2, 3});
    std::vector<Item> items{Item(Subzone(9, 9, 9), 2), Item(Subzone(0, 0, 0), 2)};
    OwnedArray<double> result;
    values.fieldValues(viewOf(items), result.view());
    ASSERT_EQ(result.view().size, 2U);
    EXPECT_EQ(result.view().data[0], 1);
    EXPECT_EQ(result.view().data[1], 2);
}

TYPED_TEST(SubzoneVarValuesOf, ValueThatIsNotThereIsOutOfRange)
{
    auto const values = valuesOf<TypeParam>({1, 2, 3});
    EXPECT_EQ(values.fieldValue(2), 3);
    EXPECT_EQ(messageOf<std::out_of_range>([&] { values.fieldValue(3); }),
              "A subzone of 3 values is asked for 4.");
    std::vector<Item> items(3, Item(0));
    OwnedArray<double> result;
    values.fieldValues(viewOf(items), result.view());
    EXPECT_EQ(result.view().size, 3U);
    items.emplace_back(0);
    EXPECT_EQ(
        messageOf<std::out_of_range>([&] { values.fieldValues(viewOf(items), result.view()); }),
        "A subzone of 3 values is asked for 4.");
    EXPECT_EQ(result.view().size, 3U);
}

TEST(SubzoneVarValues, FieldValuesIgnoresTheAddresses)
{
    auto const values = valuesOf<double>({1.5, 2.5, 3.5});
    std::vector<Item> items{Item(Subzone(0, 0, 0), 2), Item(Subzone(0, 0, 0), 1)};
    OwnedArray<double> result(8);
    values.fieldValues(viewOf(items), result.view());
    ASSERT_EQ(result.view().size, 2U);
    EXPECT_EQ(result.view().capacity, 8U);
    EXPECT_EQ(result.view().data[0], 1.5); // not 3.5, the value of item 2
    EXPECT_EQ(result.view().data[1], 2.5);
}

struct NarrowingCase
{
    char const* name;
    double value;
    int asInt;
    int asShort;
    int asByte;
};

constexpr int INDEFINITE = std::numeric_limits<int>::min();

NarrowingCase const narrowingCases[] = {
    {"FractionIsCutTowardZero", 3.7, 3, 3, 3},
    {"NegativeFractionIsCutTowardZero", -3.7, -3, -3, 253},
    {"MinusOne", -1, -1, -1, 255},
    {"OverflowKeepsTheLowBits", 70000, 70000, 4464, 112},
    {"NegativeOverflowKeepsTheLowBits", -70000, -70000, -4464, 144},
    {"LargestInt", 2147483647.9, 2147483647, -1, 255},
    {"OneBeyondTheLargestInt", 2147483648.0, INDEFINITE, 0, 0},
    {"SmallestInt", -2147483648.9, INDEFINITE, 0, 0},
    {"FarOutOfRange", 1e300, INDEFINITE, 0, 0},
    {"NotANumber", std::nan(""), INDEFINITE, 0, 0},
    {"Infinity", std::numeric_limits<double>::infinity(), INDEFINITE, 0, 0},
};

class Narrowing : public testing::TestWithParam<NarrowingCase>
{
};

TEST_P(Narrowing, GoesThroughTheProcessorsConversion)
{
    double const value = GetParam().value;
    EXPECT_EQ(truncateToInt32(value), GetParam().asInt);
    EXPECT_EQ(valuesOf<int>({value}).fieldValue(0), GetParam().asInt);
    EXPECT_EQ(valuesOf<short>({value}).fieldValue(0), GetParam().asShort);
    EXPECT_EQ(valuesOf<unsigned char>({value}).fieldValue(0), GetParam().asByte);
}

INSTANTIATE_TEST_SUITE_P(Doubles, Narrowing, testing::ValuesIn(narrowingCases),
                         caseName<NarrowingCase>);

TEST(SubzoneVarValues, FloatIsRounded)
{
    EXPECT_EQ(valuesOf<float>({0.1}).fieldValue(0), static_cast<double>(0.1F));
    EXPECT_EQ(valuesOf<float>({1e300}).fieldValue(0), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(valuesOf<float>({std::nan("")}).fieldValue(0)));
}

}
}
