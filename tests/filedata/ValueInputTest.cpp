#include "filedata/ValueInput.h"

#include "filedata/ValueFormats.h"
#include "filedata/ValueOutput.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/filedata/OpenFile.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace varnox::hdqio {
namespace {

using tests::OpenFile;
using tests::StringWriter;
using varnox::tests::hex;

template <typename T, bool isHex = false>
T valueIn(std::string const& bytes, bool isAscii)
{
    OpenFile file(bytes, isAscii);
    T value{};
    EXPECT_TRUE((readValue<T, isHex>(file.reader, value, {"item"}))) << file.message();
    EXPECT_EQ(file.rest(), "");
    return value;
}

template <typename T, bool isHex = false>
std::string messageFor(std::string const& bytes, bool isAscii = true)
{
    OpenFile file(bytes, isAscii);
    T value{};
    EXPECT_FALSE((readValue<T, isHex>(file.reader, value, {"item"})));
    return file.message();
}

TEST(ValueInput, BinaryValuesAreTheirBytes)
{
    EXPECT_EQ(valueIn<std::uint8_t>(hex("fe"), false), 0xFE);
    EXPECT_EQ(valueIn<std::uint16_t>(hex("02 01"), false), 0x0102);
    EXPECT_EQ(valueIn<std::int32_t>(hex("fe ff ff ff"), false), -2);
    EXPECT_EQ(valueIn<std::uint32_t>(hex("04 03 02 01"), false), 0x01020304U);
    EXPECT_EQ(valueIn<std::uint64_t>(hex("08 07 06 05 04 03 02 01"), false), 0x0102030405060708U);
    EXPECT_EQ((valueIn<std::uint64_t, true>(hex("08 07 06 05 04 03 02 01"), false)),
              0x0102030405060708U);
    EXPECT_EQ(valueIn<float>(hex("00 00 20 c1"), false), -10.0F);
    EXPECT_EQ(valueIn<double>(hex("00 00 00 00 00 00 24 40"), false), 10.0);
}

TEST(ValueInput, TextValuesStandBehindTheirDescription)
{
    EXPECT_EQ(valueIn<std::uint8_t>("item   255\r\n", true), 255);
    EXPECT_EQ(valueIn<std::uint16_t>("item\r\n65535  \r\n", true), 65535);
    EXPECT_EQ(valueIn<std::int32_t>("ITEM -2147483648", true), INT32_MIN);
    EXPECT_EQ(valueIn<std::uint32_t>("item 4294967295", true), 0xFFFFFFFFU);
    EXPECT_EQ(valueIn<std::uint64_t>("item 18446744073709551615", true), UINT64_MAX);
    EXPECT_EQ((valueIn<std::uint64_t, true>("item ffffffffffffffff", true)), UINT64_MAX);
    EXPECT_EQ(valueIn<float>("item 1.5000000e-01", true), 0.15F);
    EXPECT_EQ(valueIn<double>("item -1.234567890123456e+300", true), -1.234567890123456e+300);
}

TEST(ValueInput, CutBinaryValueIsReported)
{
    EXPECT_EQ(messageFor<std::uint32_t>(hex("01 02 03"), false), "Cannot read item value.");
}

TEST(ValueInput, MismatchedDescriptionIsReportedBeforeTheValue)
{
    EXPECT_EQ(messageFor<std::uint32_t>("other 1"),
              "Mismatched descriptions: looking for 'item', found 'other' instead. "
              "Cannot read item value.");
}

TEST(ValueInput, LoneTextValueWantsADescriptionAlsoWithoutAName)
{
    OpenFile file("unspecified 5", true);
    std::uint32_t value = 0;
    EXPECT_TRUE((readValue<std::uint32_t, false>(file.reader, value, {})));
    EXPECT_EQ(value, 5U);
    OpenFile bare("5 6", true);
    EXPECT_FALSE((readValue<std::uint32_t, false>(bare.reader, value, {})));
}

TEST(ValueInput, TooLargeUInt8IsRefusedInText)
{
    EXPECT_EQ(messageFor<std::uint8_t>("item 256"), "Cannot read item value.");
    OpenFile file("item 1 256", true);
    std::uint8_t values[2];
    EXPECT_FALSE((readValues<std::uint8_t, false, 0>(file.reader, 2, values, {"item"})));
    EXPECT_EQ(file.message(),
              "Error reading 2 1-byte unsigned integer values for item data block.");
}

template <typename T, bool isHex>
bool reads(std::string const& text)
{
    OpenFile file(text, true);
    T value{};
    return readValues<T, isHex, 0>(file.reader, 1, &value, {"item"});
}

TEST(ValueInput, LimitsOfNarrowTypesInText)
{
    EXPECT_TRUE((reads<std::uint8_t, false>("item 255")));
    EXPECT_FALSE((reads<std::uint8_t, false>("item 256")));
    EXPECT_FALSE((reads<std::uint8_t, false>("item -1")));
    EXPECT_TRUE((reads<std::uint8_t, true>("item ff")));
    EXPECT_FALSE((reads<std::uint8_t, true>("item 100")));
    EXPECT_TRUE((reads<std::uint16_t, false>("item 65535")));
    EXPECT_FALSE((reads<std::uint16_t, false>("item 65536")));
    EXPECT_TRUE((reads<std::uint16_t, true>("item ffff")));
    EXPECT_FALSE((reads<std::uint16_t, true>("item 10000")));
    EXPECT_TRUE((reads<std::int16_t, false>("item 32767")));
    EXPECT_FALSE((reads<std::int16_t, false>("item 32768")));
    EXPECT_FALSE((reads<ValuePair<std::uint8_t>, false>("item 0 256")));
    EXPECT_FALSE((reads<ValuePair<std::uint8_t>, false>("item 256 0")));
    EXPECT_FALSE((reads<std::uint32_t, false>("item x")));
}

TEST(ValueInput, SmallestInt16IsRefusedInText)
{
    EXPECT_TRUE((reads<std::int16_t, false>("item -32767")));
    EXPECT_FALSE((reads<std::int16_t, false>("item -32768")));
    EXPECT_FALSE((reads<ValuePair<std::int16_t>, false>("item -32768 0")));
    OpenFile binary(hex("00 80"));
    std::int16_t value = 0;
    EXPECT_TRUE((readValues<std::int16_t, false, 0>(binary.reader, 1, &value, {"item"})));
    EXPECT_EQ(value, -32768);
}

TEST(ValueInput, BaseOneIsSubtractedInTextAlone)
{
    std::uint32_t value = 7;
    OpenFile text("item 1", true);
    EXPECT_TRUE((readValues<std::uint32_t, false, 1>(text.reader, 1, &value, {"item"})));
    EXPECT_EQ(value, 0U);
    OpenFile binary(hex("01 00 00 00"));
    EXPECT_TRUE((readValues<std::uint32_t, false, 1>(binary.reader, 1, &value, {"item"})));
    EXPECT_EQ(value, 1U);
}

TEST(ValueInput, EmptyTextArrayConsumesItsDescription)
{
    OpenFile file("item\r\nnext", true);
    EXPECT_TRUE((readValues<double, false, 0>(file.reader, 0, nullptr, {"item"})));
    EXPECT_EQ(file.rest(), "next");
    OpenFile missing("next", true);
    EXPECT_FALSE((readValues<double, false, 0>(missing.reader, 0, nullptr, {"item"})));
    OpenFile binary("next");
    EXPECT_TRUE((readValues<double, false, 0>(binary.reader, 0, nullptr, {"item"})));
    EXPECT_EQ(binary.rest(), "next");
}

TEST(ValueInput, ArrayWithoutANameHasNoDescriptionAndFailsSilently)
{
    OpenFile file("1 2 3", true);
    std::int32_t values[3];
    EXPECT_TRUE((readValues<std::int32_t, false, 0>(file.reader, 2, values, {})));
    EXPECT_EQ(values[1], 2);
    EXPECT_FALSE((readValues<std::int32_t, false, 0>(file.reader, 2, values, {})));
    EXPECT_EQ(file.message(), "");
}

/// What the writer writes comes back through the reader.
template <typename T, bool isHex, int base>
void expectRoundTrip(std::vector<T> const& values)
{
    for (bool const isAscii : {false, true}) {
        StringWriter writer(isAscii);
        EXPECT_TRUE((writeValueArray<T, isHex, base>(writer, "itemForVar", 4, values.size(),
                                                     values.data(), 3)));
        EXPECT_EQ(writer.bytes.size(), (arraySizeInFile<T, isHex>(values.size(), isAscii)));
        OpenFile file(writer.bytes + "next", isAscii);
        LightweightVector<T> read;
        EXPECT_TRUE(
            (readValueArray<T, isHex, base>(file.reader, 0, values.size(), read, {"item", 4})))
            << file.message();
        ASSERT_EQ(read.size(), values.size());
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(read[i], values[i]);
        EXPECT_EQ(file.rest(), "next");
    }
}

TEST(ValueInput, EveryTypeComesBackFromBothForms)
{
    expectRoundTrip<char, false, 0>({'O', 'q', 'M'});
    expectRoundTrip<std::uint8_t, false, 0>({0, 1, 255});
    expectRoundTrip<std::uint8_t, true, 0>({0, 1, 255});
    expectRoundTrip<std::int16_t, false, 0>({-32767, 0, 32767, 5});
    expectRoundTrip<std::uint16_t, false, 0>({0, 65535});
    expectRoundTrip<std::uint16_t, true, 0>({0, 65535});
    expectRoundTrip<std::int32_t, false, 0>({INT32_MIN, -1, INT32_MAX});
    expectRoundTrip<std::uint32_t, false, 0>({0, UINT32_MAX});
    expectRoundTrip<std::uint32_t, false, 1>({0, UINT32_MAX - 1});
    expectRoundTrip<std::uint64_t, false, 0>({0, 9999999999999999999ULL});
    expectRoundTrip<std::uint64_t, true, 0>({0, UINT64_MAX});
    expectRoundTrip<std::int64_t, false, 0>({INT64_MIN, 0, INT64_MAX});
    expectRoundTrip<float, false, 0>({-1.5F, 3.4028235e38F, 1e-38F});
    expectRoundTrip<double, false, 0>({-0.1, 1.0 / 3.0, 1e-300});
}

TEST(ValueInput, OutOfRoomIsRefusedBeforeAnythingIsWritten)
{
    OpenFile file(std::string(64, '\0'));
    LightweightVector<std::uint32_t> out;
    EXPECT_FALSE((readValueArray<std::uint32_t, false, 0>(file.reader, 1, 2, out, {"item"})));
    ASSERT_TRUE(out.alloc(4));
    EXPECT_TRUE((readValueArray<std::uint32_t, false, 0>(file.reader, 2, 2, out, {"item"})));
    EXPECT_FALSE((readValueArray<std::uint32_t, false, 0>(file.reader, 3, 2, out, {"item"})));
    EXPECT_FALSE(
        (readValueArray<std::uint32_t, false, 0>(file.reader, UINT64_MAX, 2, out, {"item"})));
    LightweightVector<MinMax> ranges;
    ASSERT_TRUE(ranges.alloc(1));
    EXPECT_FALSE(readMinMaxArray<float>(file.reader, 1, 1, ranges, {"item"}));
}

TEST(ValueInput, CountThatTheFileCannotHoldIsRefused)
{
    for (std::uint64_t const count : {std::uint64_t{100000}, std::uint64_t{1} << 40,
                                      std::numeric_limits<std::uint64_t>::max()}) {
        OpenFile file(std::string(400, '\0'));
        LightweightVector<std::uint32_t> out;
        EXPECT_FALSE(
            (readValueArray<std::uint32_t, false, 0>(file.reader, 0, count, out, {"item", 1})));
        EXPECT_TRUE(out.isNull());
        EXPECT_EQ(file.message(), "Cannot allocate memory for itemForVar2 data block of " +
                                      std::to_string(count) + " 4-byte unsigned integer values.");
        PlainDataVector<std::uint32_t> plain;
        EXPECT_FALSE(
            (readValueArray<std::uint32_t, false, 0>(file.reader, 0, count, plain, {"item"})));
        EXPECT_TRUE(plain.isNull());
    }
    OpenFile file(std::string(400, '\0'));
    LightweightVector<MinMax> ranges;
    EXPECT_FALSE(readMinMaxArray<double>(file.reader, 0, 1 << 30, ranges, {"item"}));
    EXPECT_EQ(file.message(), "Cannot allocate memory for item data block (1073741824 min-max "
                              "value values).");
}

TEST(ValueInput, RangesThatEndEarlyAreReported)
{
    OpenFile file(std::string(400, '\0'));
    EXPECT_TRUE(file.reader.seekToFileLoc(390));
    LightweightVector<MinMax> ranges;
    ASSERT_TRUE(ranges.alloc(2));
    EXPECT_FALSE(readMinMaxArray<float>(file.reader, 0, 2, ranges, {"item", 0}));
    EXPECT_EQ(file.message(), "Error reading 2 MinMax<float> values for itemForVar1 data block.");
}

TEST(ValueInput, RangesOfEveryTypeAreWidened)
{
    std::vector<MinMax> const ranges(2500, {1, 2});
    auto const expectWidened = [&](auto zero) {
        using T = decltype(zero);
        for (bool const isAscii : {false, true}) {
            StringWriter writer(isAscii);
            EXPECT_TRUE(
                writeMinMaxArray<T>(writer, "itemForVar", 0, ranges.size(), ranges.data(), 2));
            OpenFile file(writer.bytes + "next", isAscii);
            LightweightVector<MinMax> out;
            ASSERT_TRUE(out.alloc(ranges.size() + 1));
            out[0] = {7, 8};
            EXPECT_TRUE(readMinMaxArray<T>(file.reader, 1, ranges.size(), out, {"item", 0}));
            EXPECT_EQ(out[0].max, 8);
            EXPECT_EQ(out[1].min, 1);
            EXPECT_EQ(out[2500].max, 2);
            EXPECT_EQ(file.rest(), "next");
        }
    };
    expectWidened(std::uint8_t{});
    expectWidened(std::int16_t{});
    expectWidened(std::int32_t{});
    expectWidened(float{});
    expectWidened(double{});
}

TEST(ValueInput, RangeIsTheFirstHalfAsMinimumAndTheSecondAsMaximum)
{
    OpenFile file(hex("00 00 80 3f 00 00 00 40"));
    LightweightVector<MinMax> out;
    EXPECT_TRUE(readMinMaxArray<float>(file.reader, 0, 1, out, {"item"}));
    EXPECT_EQ(out[0].min, 1);
    EXPECT_EQ(out[0].max, 2);
}

TEST(ValueInput, VerifiedValueMustBeTheExpectedOne)
{
    OpenFile right("zoneMarker* 33752069", true);
    EXPECT_TRUE(
        (readAndVerifyValue<std::uint32_t, false>(right.reader, 0x02030405, {"zoneMarker*"})));
    OpenFile wrong("zoneMarker* 7", true);
    EXPECT_FALSE(
        (readAndVerifyValue<std::uint32_t, false>(wrong.reader, 0x02030405, {"zoneMarker*"})));
    EXPECT_EQ(wrong.message(), "Expected value mismatch for 4-byte unsigned integer zoneMarker* "
                               "(expecting 33752069  , found 7         ).");
    OpenFile binary(hex("05 04 03 02"));
    EXPECT_TRUE(
        (readAndVerifyValue<std::uint32_t, false>(binary.reader, 0x02030405, {"zoneMarker*"})));
    OpenFile cut("");
    EXPECT_FALSE((readAndVerifyValue<std::uint32_t, false>(cut.reader, 0x02030405, {"m*"})));
    EXPECT_EQ(cut.message(), "Expected value mismatch for 4-byte unsigned integer m* "
                             "(expecting 33752069  , found 0         ).");
}

TEST(ValueInput, StringIsItsBytesWithoutATerminator)
{
    for (bool const isAscii : {false, true}) {
        OpenFile file((isAscii ? "title  " : "") + std::string("ab\rcd"), isAscii);
        LightweightVector<char> out;
        ASSERT_TRUE(out.alloc(4));
        EXPECT_TRUE(readString(file.reader, 4, out, {"title"}));
        EXPECT_EQ(std::string(out.data(), out.size()), "ab\rc");
        EXPECT_EQ(file.rest(), "d");
    }
}

TEST(ValueInput, StringThatEndsEarlyOrHasNoRoomIsFalse)
{
    LightweightVector<char> out;
    ASSERT_TRUE(out.alloc(4));
    OpenFile cut("abc");
    EXPECT_FALSE(readString(cut.reader, 4, out, {"title"}));
    OpenFile tooLong("abcdefgh");
    EXPECT_FALSE(readString(tooLong.reader, 5, out, {"title"}));
    OpenFile other("other abcd", true);
    EXPECT_FALSE(readString(other.reader, 4, out, {"title"}));
}

std::string const EIGHT_BYTES(8, '\x7f'); // the total size, which is not looked at

TEST(ValueInput, StringsEndInACarriageReturnInBothForms)
{
    OpenFile binary(EIGHT_BYTES + "x\r\ry y\rrest");
    LightweightVector<std::string> out;
    EXPECT_TRUE(readStringArray(binary.reader, 0, 3, out, {"names"}));
    EXPECT_EQ(out[0], "x");
    EXPECT_EQ(out[1], "");
    EXPECT_EQ(out[2], "y y");
    EXPECT_EQ(binary.rest(), "rest");

    OpenFile text("namesTotalSize 0\r\nnames\r\nx\r\n\r\ny y\r\nrest", true);
    ASSERT_TRUE(readStringArray(text.reader, 0, 3, out, {"names"})) << text.message();
    EXPECT_EQ(out[1], "");
    EXPECT_EQ(out[2], "y y");
    EXPECT_EQ(text.rest(), "rest");
}

TEST(ValueInput, StringsStandFromTheirOffsetOn)
{
    OpenFile file(EIGHT_BYTES + "x\ry\r");
    LightweightVector<std::string> out;
    ASSERT_TRUE(out.alloc(3));
    EXPECT_TRUE(readStringArray(file.reader, 1, 2, out, {"names"}));
    EXPECT_EQ(out[0], "");
    EXPECT_EQ(out[2], "y");
    file.reader.seekToFileStart();
    EXPECT_FALSE(readStringArray(file.reader, 2, 2, out, {"names"}));
    EXPECT_EQ(file.message(), "Cannot resize string array.");
}

TEST(ValueInput, MoreStringsThanBytesAreRefused)
{
    OpenFile file(EIGHT_BYTES + "x\r");
    LightweightVector<std::string> out;
    EXPECT_FALSE(readStringArray(file.reader, 0, 1000000, out, {"names"}));
    EXPECT_EQ(file.message(), "Cannot resize string array.");
    EXPECT_TRUE(out.isNull());
}

TEST(ValueInput, StringArrayThatEndsEarlyIsReported)
{
    OpenFile file(EIGHT_BYTES + "x\ryyy");
    LightweightVector<std::string> out;
    EXPECT_FALSE(readStringArray(file.reader, 0, 2, out, {"names"}));
    EXPECT_EQ(file.message(), "Unexpected end of file reading string array.");
}

TEST(ValueInput, TextStringWithoutALineFeedIsReported)
{
    OpenFile file("namesTotalSize 0\r\nnames\r\nx\ry\r\n", true);
    LightweightVector<std::string> out;
    EXPECT_FALSE(readStringArray(file.reader, 0, 2, out, {"names"}));
    EXPECT_EQ(file.message(), "Problem with end of line in ascii string array.");
}

TEST(ValueInput, StringOf500BytesStaysEmptyAndLeavesItsRest)
{
    OpenFile file(EIGHT_BYTES + std::string(499, 'a') + "\r" + std::string(500, 'b') + "cc\rd\r");
    LightweightVector<std::string> out;
    EXPECT_TRUE(readStringArray(file.reader, 0, 3, out, {"names"})) << file.message();
    EXPECT_EQ(out[0], std::string(499, 'a'));
    EXPECT_EQ(out[1], "");
    EXPECT_EQ(out[2], "cc");
    EXPECT_EQ(file.rest(), "d\r");
}

TEST(ValueInput, EmptyStringArrayStillHasItsSizeAndInTextItsDescription)
{
    LightweightVector<std::string> out;
    OpenFile binary(EIGHT_BYTES + "rest");
    EXPECT_TRUE(readStringArray(binary.reader, 0, 0, out, {"names"}));
    EXPECT_EQ(binary.rest(), "rest");
    OpenFile text("namesTotalSize 0 names rest", true);
    EXPECT_TRUE(readStringArray(text.reader, 0, 0, out, {"names"}));
    EXPECT_EQ(text.rest(), "rest");
    EXPECT_TRUE(out.isNull());
}

}
}
