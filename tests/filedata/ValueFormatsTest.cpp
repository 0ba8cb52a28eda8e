#include "filedata/ValueFormats.h"

#include <gtest/gtest.h>

#include <string>

namespace varnox::hdqio {
namespace {

struct SizeCase
{
    char const* name;
    std::uint64_t binary;
    std::uint64_t inArray;
    std::uint64_t alone;
    std::uint64_t measured[3];
    char const* typeName;
    char const* wantedTypeName;
};

template <typename T, bool hex>
SizeCase sizeCase(char const* name, std::uint64_t binary, std::uint64_t inArray,
                  std::uint64_t alone, char const* typeName)
{
    return {name,
            binary,
            inArray,
            alone,
            {valueSizeInFile<T, hex>(false), arrayValueSizeInFile<T, hex>(true),
             valueSizeInFile<T, hex>(true)},
            AsciiInputInfo<T, hex>::typeName,
            typeName};
}

SizeCase const sizeCases[] = {
    sizeCase<char, false>("Char", 1, 3, 45, "single character"),
    sizeCase<std::uint8_t, false>("UInt8", 1, 5, 47, "1-byte unsigned integer"),
    sizeCase<std::uint8_t, true>("UInt8Hex", 1, 4, 46, "1-byte unsigned integer"),
    sizeCase<std::int16_t, false>("Int16", 2, 8, 50, "2-byte unsigned integer"),
    sizeCase<std::uint16_t, false>("UInt16", 2, 7, 49, "2-byte signed integer"),
    sizeCase<std::uint16_t, true>("UInt16Hex", 2, 6, 48, "2-byte unsigned integer"),
    sizeCase<std::int32_t, false>("Int32", 4, 13, 55, "4-byte signed integer"),
    sizeCase<std::uint32_t, false>("UInt32", 4, 12, 54, "4-byte unsigned integer"),
    sizeCase<std::uint64_t, false>("UInt64", 8, 21, 63, "8-byte unsigned integer"),
    sizeCase<std::uint64_t, true>("UInt64Hex", 8, 18, 60, "8-byte hexadecimal"),
    sizeCase<std::int64_t, false>("Int64", 8, 22, 64, "8-byte unsigned integer"),
    sizeCase<std::int64_t, true>("Int64Hex", 8, 18, 60, "8-byte hexadecimal"),
    sizeCase<float, false>("Float", 4, 17, 59, "float"),
    sizeCase<double, false>("Double", 8, 25, 67, "double"),
    sizeCase<ValuePair<std::uint8_t>, false>("UInt8Pair", 2, 9, 51, "MinMax<uint8_t>"),
    sizeCase<ValuePair<std::int16_t>, false>("Int16Pair", 4, 15, 57, "MinMax<int16_t>"),
    sizeCase<ValuePair<std::int32_t>, false>("Int32Pair", 8, 25, 67, "MinMax<int32_t>"),
    sizeCase<ValuePair<float>, false>("FloatPair", 8, 33, 75, "MinMax<float>"),
    sizeCase<ValuePair<double>, false>("DoublePair", 16, 49, 91, "MinMax<double>"),
};

class ValueSizes : public testing::TestWithParam<SizeCase>
{
};

TEST_P(ValueSizes, AreFixed)
{
    SizeCase const& row = GetParam();
    EXPECT_EQ(row.measured[0], row.binary);
    EXPECT_EQ(row.measured[1], row.inArray);
    EXPECT_EQ(row.measured[2], row.alone);
    EXPECT_STREQ(row.typeName, row.wantedTypeName);
}

INSTANTIATE_TEST_SUITE_P(ValueFormats, ValueSizes, testing::ValuesIn(sizeCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(ValueFormats, NamesStandCrossed)
{
    EXPECT_STREQ((AsciiInputInfo<std::int16_t, false>::typeName), "2-byte unsigned integer");
    EXPECT_STREQ((AsciiInputInfo<std::uint16_t, false>::typeName), "2-byte signed integer");
    EXPECT_STREQ((AsciiInputInfo<std::int64_t, false>::typeName), "8-byte unsigned integer");
}

TEST(ValueFormats, ArrayOfNothingTakesNothing)
{
    EXPECT_EQ((arraySizeInFile<double, false>(0, true)), 0U);
    EXPECT_EQ((arraySizeInFile<double, false>(0, false)), 0U);
}

TEST(ValueFormats, TextArrayTakesItsDescriptionAndItsValues)
{
    EXPECT_EQ((arraySizeInFile<double, false>(3, true)), 117U);
    EXPECT_EQ((arraySizeInFile<double, false>(3, false)), 24U);
}

}
}
