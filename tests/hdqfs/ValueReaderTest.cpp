#include "addons/hdqfs/ValueReader.h"

#include "addons/hdqfs/DescriptorCache.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <stdexcept>

namespace varnox::hdqfsloader {
namespace {

using tests::TemporaryFile;

template <typename T>
std::string bytes(std::vector<T> const& values)
{
    std::string result(values.size() * sizeof(T), '\0');
    std::memcpy(result.data(), values.data(), result.size());
    return result;
}

std::string padded(std::string const& text, std::size_t width)
{
    return text + std::string(width - text.size(), ' ');
}

/// A text array of int32 values, six to a line.
std::string textArray(std::string const& word, std::vector<std::string> const& fields,
                      std::size_t width)
{
    std::string result = padded(word, 40) + "\r\n";
    for (std::size_t i = 0; i < fields.size(); ++i) {
        bool const ends = (i + 1) % 6 == 0 || i + 1 == fields.size();
        result += padded(fields[i], width - 2) + (ends ? "\r\n" : "  ");
    }
    return result;
}

std::vector<double> readAll(ValueArray const& array)
{
    DescriptorCache files;
    ValueReader reader(files);
    std::vector<double> out(array.numValues);
    reader.readDoubles(array, 0, array.numValues, out.data());
    return out;
}

std::string messageOf(ValueArray const& array)
{
    try {
        readAll(array);
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "";
}

TEST(ValueReader, EveryBinaryTypeReadsAsDoubles)
{
    std::string const contents = "ab" + bytes<float>({1.5F, -2.0F}) + bytes<double>({0.1, 1e300}) +
                                 bytes<std::int32_t>({-7, 1 << 30}) +
                                 bytes<std::int16_t>({-32768, 5}) + bytes<std::uint8_t>({255, 1});
    TemporaryFile const file(contents);
    auto const at = [&](std::uint64_t loc, ValueType type) {
        return readAll({&file.path(), loc, 2, 0, type, false});
    };
    EXPECT_EQ(at(2, ValueType::Float), (std::vector<double>{1.5, -2.0}));
    EXPECT_EQ(at(10, ValueType::Double), (std::vector<double>{0.1, 1e300}));
    EXPECT_EQ(at(26, ValueType::Int32), (std::vector<double>{-7, 1 << 30}));
    EXPECT_EQ(at(34, ValueType::Int16), (std::vector<double>{-32768, 5}));
    EXPECT_EQ(at(38, ValueType::Byte), (std::vector<double>{255, 1}));
    EXPECT_EQ(at(38, ValueType::Bit), (std::vector<double>{255, 1}));
}

TEST(ValueReader, TextArrayIsReadFromItsMiddle)
{
    TemporaryFile const file(textArray("valuesForVar3", {"1", "-2", "3", "4", "5", "6", "7"}, 13));
    DescriptorCache files;
    ValueReader reader(files);
    ValueArray const array{&file.path(), 0, 7, 2, ValueType::Int32, true};
    double out[3];
    reader.readDoubles(array, 4, 3, out);
    EXPECT_EQ(out[0], 5);
    EXPECT_EQ(out[1], 6);
    EXPECT_EQ(out[2], 7);
}

TEST(ValueReader, LoneTextValueFollowsOnTheLineOfItsDescription)
{
    TemporaryFile const file(padded("valuesForVar1", 40) + "  " + padded("2.5000000e+00", 15) +
                             "\r\n");
    EXPECT_EQ(readAll({&file.path(), 0, 1, 0, ValueType::Float, true}), (std::vector<double>{2.5}));
}

TEST(ValueReader, TextHoldsNotANumberAndInfinity)
{
    TemporaryFile const file(textArray("valuesForVar1", {"nan", "-inf"}, 25));
    auto const values = readAll({&file.path(), 0, 2, 0, ValueType::Double, true});
    EXPECT_TRUE(std::isnan(values[0]));
    EXPECT_EQ(values[1], -INFINITY);
}

TEST(ValueReader, ForeignDescriptionIsReported)
{
    TemporaryFile const file(textArray("valuesForVar2", {"1", "2"}, 13));
    EXPECT_EQ(messageOf({&file.path(), 0, 2, 0, ValueType::Int32, true}),
              "Cannot read the values of variable 1 in " + file.path() +
                  ": looking for 'valuesForVar1', found 'valuesForVar2' instead.");
}

TEST(ValueReader, TextThatIsNoNumberIsReportedWithItsPlace)
{
    TemporaryFile const file(textArray("valuesForVar1", {"1", "2", "3x"}, 13));
    EXPECT_EQ(messageOf({&file.path(), 0, 3, 0, ValueType::Int32, true}),
              "Cannot read the values of variable 1 in " + file.path() + ": value 3 is no number.");
}

TEST(ValueReader, ValueOutsideItsTypeIsNoNumber)
{
    TemporaryFile const file(textArray("valuesForVar1", {"1", "256"}, 5));
    EXPECT_NE(messageOf({&file.path(), 0, 2, 0, ValueType::Byte, true}).find("value 2"),
              std::string::npos);
}

TEST(ValueReader, ValuesBeyondTheArrayAreRefused)
{
    TemporaryFile const file("12345678");
    DescriptorCache files;
    ValueReader reader(files);
    double out[3];
    EXPECT_THROW(reader.readDoubles({&file.path(), 0, 2, 0, ValueType::Float, false}, 1, 2, out),
                 std::out_of_range);
}

TEST(ValueReader, AbsurdLocationIsAnErrorAndDoesNotWrap)
{
    TemporaryFile const file("12345678");
    EXPECT_NE(messageOf({&file.path(), ~std::uint64_t{0} - 3, 2, 0, ValueType::Float, false}), "");
}

}
}
