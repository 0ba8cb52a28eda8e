#include "filedata/DataFileHeader.h"

#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

namespace varnox::hdqio {
namespace {

using hdqfsloader::tests::TemporaryFile;

struct Result
{
    char wasRead;
    FileDescription description;
    std::uint64_t byteOrder;
    std::uint64_t headerLoc;
    std::string message;
};

Result read(std::string const& contents)
{
    TemporaryFile const file(contents);
    FileStreamReader reader(file.path());
    EXPECT_TRUE(reader.open());
    MessageCapture const messages;
    Result result{};
    result.wasRead =
        readDataFileHeader(reader, result.description, result.byteOrder, result.headerLoc);
    result.message = messages.text();
    return result;
}

std::string const NUMBERS("\x01\0\0\0\0\0\0\0\x1e\0\0\0\0\0\0\0", 16);

TEST(DataFileHeader, BinaryFullFile)
{
    Result const result = read("#!HDQFS 105BF\n" + NUMBERS);
    EXPECT_TRUE(result.wasRead);
    EXPECT_EQ(result.description.getFileVersion(), 105U);
    EXPECT_EQ(result.description.isAscii(), 0);
    EXPECT_EQ(result.description.dataFileType(), DataFileType_Full);
    EXPECT_EQ(result.byteOrder, 1U);
    EXPECT_EQ(result.headerLoc, 30U);
}

TEST(DataFileHeader, TextGridFile)
{
    Result const result = read("#!HDQFS 232TG\n"
                               "fileByteOrderIndicator                    0000000000000001\r\n"
                               "dataSetHeaderFileLoc                      0000000000000086\r\n");
    EXPECT_TRUE(result.wasRead) << result.message;
    EXPECT_EQ(result.description.isAscii(), 1);
    EXPECT_EQ(result.description.dataFileType(), DataFileType_Grid);
    EXPECT_EQ(result.headerLoc, 0x86U);
}

TEST(DataFileHeader, Version104HasNoTypeLetterAndIsFull)
{
    for (char const* line : {"#!HDQFS 104B\n", "#!HDQFS 104BS\n"}) {
        Result const result = read(line + NUMBERS);
        EXPECT_TRUE(result.wasRead);
        EXPECT_EQ(result.description.dataFileType(), DataFileType_Full);
    }
}

TEST(DataFileHeader, RevisionIsAlwaysZero)
{
    Result const result = read("#!HDQFS 105BF $Revision: 17 $ and more\n" + NUMBERS);
    EXPECT_TRUE(result.wasRead);
    EXPECT_EQ(result.description.getCodeRevision(), 0U);
}

TEST(DataFileHeader, ByteOrderIndicatorMayHoldAnyValue)
{
    for (char const value : {'\0', '\x7f', '\xff'}) {
        Result const result = read("#!HDQFS 105BF\n" + std::string(8, value) + NUMBERS.substr(8));
        EXPECT_TRUE(result.wasRead);
        EXPECT_EQ(result.headerLoc, 30U);
    }
}

TEST(DataFileHeader, FailedValuesAreZero)
{
    Result const result = read("#!HDQFS 105TF\nfileByteOrderIndicator 1 other 2\n");
    EXPECT_FALSE(result.wasRead);
    EXPECT_EQ(result.byteOrder, 0U);
    EXPECT_EQ(result.headerLoc, 0U);
}

TEST(DataFileHeader, LineOf127BytesIsAcceptedAndALongerOneRefused)
{
    std::string const start = "#!HDQFS 105BF ";
    EXPECT_TRUE(read(start + std::string(126 - start.size(), 'x') + "\n" + NUMBERS).wasRead);
    EXPECT_EQ(read(start + std::string(127 - start.size(), 'x') + "\n" + NUMBERS).message,
              "HDQFS file has incorrect header. Cannot parse file header info.");
}

struct RefusedCase
{
    char const* name;
    char const* line;
    char const* message;
};

RefusedCase const refusedCases[] = {
    {"Empty", "", "HDQFS file has incorrect header. Cannot parse file header info."},
    {"NoLineEnd", "#!HDQFS 105BF",
     "HDQFS file has incorrect header. Cannot parse file header info."},
    {"Foreign", "PNG\n", "HDQFS file has incorrect header. File type is not correct."},
    {"TabForBlank", "#!HDQFS\t105BF\n",
     "HDQFS file has incorrect header. File type is not correct."},
    {"TooOld", "#!HDQFS 103BF\n",
     "HDQFS file is an older version 103 that is no longer supported."},
    {"TooNew", "#!HDQFS 233BF\n",
     "HDQFS file is an newer version 233 that is not supported by the current loader. Try updating "
     "your Varnox."},
    {"SmallLetterForTheForm", "#!HDQFS 105bF\n",
     "HDQFS file has incorrect header. Version format is not correct."},
    {"NoDesignator", "#!HDQFS 105\n",
     "HDQFS file has incorrect header. Version format is not correct."},
    {"NoVersion", "#!HDQFS BF\n",
     "HDQFS file has incorrect header. Version format is not correct."},
    {"OtherLetterForTheForm", "#!HDQFS 105FF\n",
     "HDQFS file has incorrect header. Version format is not correct."},
    {"NoTypeLetter", "#!HDQFS 105B\n",
     "HDQFS file has incorrect header. Expected data file type identifier."},
    {"WrongTypeLetter", "#!HDQFS 105BX\n",
     "HDQFS file has incorrect header. Expected data file type identifier."},
};

class RefusedLines : public testing::TestWithParam<RefusedCase>
{
};

TEST_P(RefusedLines, AreNamed)
{
    Result const result = read(GetParam().line);
    EXPECT_FALSE(result.wasRead);
    EXPECT_EQ(result.message, GetParam().message);
    EXPECT_EQ(result.byteOrder, 0U);
    EXPECT_EQ(result.headerLoc, 0U);
}

INSTANTIATE_TEST_SUITE_P(DataFileHeader, RefusedLines, testing::ValuesIn(refusedCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(DataFileHeader, FileCutAtEveryByteIsRefused)
{
    std::string const whole = "#!HDQFS 105BF\n" + NUMBERS;
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(read(whole.substr(0, length)).wasRead) << length;
}

}
}
