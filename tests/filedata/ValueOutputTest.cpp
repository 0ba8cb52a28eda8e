#include "filedata/ValueOutput.h"

#include "tests/filedata/FileBuilder.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <limits>

namespace varnox::hdqio {
namespace {

using tests::StringWriter;
using varnox::tests::hex;

template <typename T, bool isHex = false, int base = 0>
std::string text(std::vector<T> const& values, std::uint64_t valuesPerLine = 100,
                 std::int64_t index = NO_ARRAY_INDEX)
{
    StringWriter writer(true);
    EXPECT_TRUE((writeValueArray<T, isHex, base>(writer, "item", index, values.size(),
                                                 values.data(), valuesPerLine)));
    return writer.bytes;
}

std::string const LABEL = "item                                    ";

TEST(ValueOutput, LoneValueStandsOnTheLineOfItsLabel)
{
    EXPECT_EQ(text<std::uint32_t>({7}), LABEL + "  7         \r\n");
}

TEST(ValueOutput, SeveralValuesStandOnLinesOfTheirOwn)
{
    EXPECT_EQ(text<std::uint32_t>({7, 8, 9}, 2),
              LABEL + "\r\n7           8         \r\n9         \r\n");
    EXPECT_EQ(text<std::uint32_t>({7, 8}, 2), LABEL + "\r\n7           8         \r\n");
}

TEST(ValueOutput, IndexIsWrittenFromOne)
{
    EXPECT_EQ(text<std::uint32_t>({7}, 1, 2),
              "item3                                     7         \r\n");
}

struct FormatCase
{
    char const* name;
    std::string text;
    char const* value;
};

FormatCase const formatCases[] = {
    {"Char", text<char>({'O'}), "O"},
    {"UInt8", text<std::uint8_t>({5}), "5  "},
    {"UInt8Hex", text<std::uint8_t, true>({10}), "0a"},
    {"Int16", text<std::int16_t>({-5}), "-5    "},
    {"UInt16", text<std::uint16_t>({5}), "5    "},
    {"UInt16Hex", text<std::uint16_t, true>({0xAB}), "00ab"},
    {"Int32", text<std::int32_t>({-5}), "-5         "},
    {"UInt32", text<std::uint32_t>({5}), "5         "},
    {"UInt32FromOne", text<std::uint32_t, false, 1>({5}), "6         "},
    {"UInt64", text<std::uint64_t>({5}), "5                  "},
    {"UInt64Hex", text<std::uint64_t, true>({0xAB}), "00000000000000ab"},
    {"Int64", text<std::int64_t>({-5}), "-5                  "},
    {"Int64Hex", text<std::int64_t, true>({-1}), "ffffffffffffffff"},
    {"Float", text<float>({1.5F}), "1.5000000e+00  "},
    {"Double", text<double>({-1.5}), "-1.500000000000000e+00 "},
    {"UInt8Pair", text<ValuePair<std::uint8_t>>({{1, 2}}), "1   2  "},
    {"Int16Pair", text<ValuePair<std::int16_t>>({{-1, 2}}), "-1     2     "},
    {"Int32Pair", text<ValuePair<std::int32_t>>({{-1, 2}}), "-1          2          "},
    {"FloatPair", text<ValuePair<float>>({{1, 2}}), "1.0000000e+00   2.0000000e+00  "},
    {"DoublePair", text<ValuePair<double>>({{1, 2}}),
     "1.000000000000000e+00   2.000000000000000e+00  "},
};

class PrintFormats : public testing::TestWithParam<FormatCase>
{
};

TEST_P(PrintFormats, FillTheirColumns)
{
    EXPECT_EQ(GetParam().text, LABEL + "  " + GetParam().value + "\r\n");
}

INSTANTIATE_TEST_SUITE_P(ValueOutput, PrintFormats, testing::ValuesIn(formatCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(ValueOutput, ArrayOfNothingWritesNothing)
{
    for (bool const isAscii : {false, true}) {
        StringWriter writer(isAscii);
        EXPECT_TRUE((writeValueArray<double, false, 0>(writer, "item", 1, 0, nullptr, 1)));
        EXPECT_TRUE((writeMinMaxArray<double>(writer, "item", 1, 0, nullptr, 1)));
        EXPECT_EQ(writer.bytes, "");
    }
}

TEST(ValueOutput, BinaryArrayIsItsBytes)
{
    StringWriter writer(false);
    std::uint16_t const values[] = {0x0102, 0x0304};
    EXPECT_TRUE((writeValueArray<std::uint16_t, true, 0>(writer, "item", 1, 2, values, 1)));
    EXPECT_EQ(writer.bytes, hex("02 01 04 03"));
}

TEST(ValueOutput, BaseOneIsAddedInTextAlone)
{
    StringWriter writer(false);
    std::uint32_t const value = 5;
    EXPECT_TRUE((writeValueArray<std::uint32_t, false, 1>(writer, "item", 1, 1, &value, 1)));
    EXPECT_EQ(writer.bytes, hex("05 00 00 00"));
}

/// A writer whose disk is full.
class FullDisk : public StringWriter
{
public:
    using StringWriter::StringWriter;
    std::size_t fwrite(void const*, std::size_t, std::size_t) override { return 0; }
};

TEST(ValueOutput, BinaryWriteIsTrueWhateverWasWritten)
{
    FullDisk writer(false);
    std::uint32_t const value = 5;
    EXPECT_TRUE((writeValueArray<std::uint32_t, false, 0>(writer, "item", 1, 1, &value, 1)));
}

TEST(ValueOutput, TextThatDoesNotFitRepeatsTheLastOne)
{
    std::string lines;
    std::size_t calls = 0;
    EXPECT_FALSE(layOutAsciiValues(lines, 4, 2, [&](char* buffer, int size, std::uint64_t i) {
        ++calls;
        if (i != 1)
            return std::snprintf(buffer, static_cast<std::size_t>(size), "v%lu", i) > 0;
        return false;
    }));
    EXPECT_EQ(lines, "v0  v0\r\nv0  v0\r\n");
    EXPECT_EQ(calls, 2U);
}

TEST(ValueOutput, RangesAreCutTowardZeroOrRounded)
{
    MinMax const range{-2.75, 3.99};
    auto const bytes = [&](auto zero) {
        StringWriter writer(false);
        EXPECT_TRUE(writeMinMaxArray<decltype(zero)>(writer, "item", 0, 1, &range, 1));
        return writer.bytes;
    };
    EXPECT_EQ(bytes(std::int16_t{}), hex("fe ff 03 00"));
    EXPECT_EQ(bytes(std::int32_t{}), hex("fe ff ff ff 03 00 00 00"));
    EXPECT_EQ(bytes(float{}), hex("00 00 30 c0 29 5c 7f 40"));
    EXPECT_EQ(bytes(double{}), hex("00 00 00 00 00 00 06 c0 ec 51 b8 1e 85 eb 0f 40"));
    MinMax const bytesRange{1.99, 255.5};
    StringWriter writer(false);
    EXPECT_TRUE(writeMinMaxArray<std::uint8_t>(writer, "item", 0, 1, &bytesRange, 1));
    EXPECT_EQ(writer.bytes, hex("01 ff"));
}

TEST(ValueOutput, RangeBeyondAnIntegerIsNoUndefinedCast)
{
    MinMax const range{std::numeric_limits<double>::quiet_NaN(), 1e300};
    StringWriter writer(false);
    EXPECT_TRUE(writeMinMaxArray<std::int32_t>(writer, "item", 0, 1, &range, 1));
    EXPECT_EQ(writer.bytes, hex("00 00 00 80 00 00 00 80"));
}

TEST(ValueOutput, EncodedValueMustBeShorterThanTheBuffer)
{
    char buffer[12];
    EXPECT_TRUE((encodeAsciiValue<std::uint32_t, false, 0>(buffer, 11, 7)));
    EXPECT_STREQ(buffer, "7         ");
    EXPECT_FALSE((encodeAsciiValue<std::uint32_t, false, 0>(buffer, 10, 7)));
    EXPECT_FALSE((encodeAsciiValue<std::uint32_t, false, 0>(buffer, 0, 7)));
}

}
}
