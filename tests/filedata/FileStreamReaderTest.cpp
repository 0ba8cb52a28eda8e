#include "filedata/FileStreamReader.h"

#include "filedata/FileWriterInterface.h"
#include "filedata/Messages.h"
#include "tests/filedata/OpenFile.h"
#include "tests/support/Slots.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace varnox::hdqio {
namespace {

using tests::OpenFile;

TEST(FileStreamReader, FolderOrMissingFileCannotBeRead)
{
    for (char const* path : {"/tmp", "/nowhere/at/all", "/dev/null"}) {
        FileStreamReader reader(path);
        MessageCapture const messages;
        EXPECT_FALSE(reader.open());
        EXPECT_FALSE(reader.isOpen());
        EXPECT_EQ(messages.text(), std::string("Cannot read file ") + path);
    }
}

TEST(FileStreamReader, OpensNothingByItself)
{
    FileStreamReader reader("/tmp");
    EXPECT_FALSE(reader.isOpen());
    EXPECT_EQ(reader.fileName(), "/tmp");
    EXPECT_FALSE(reader.close(true));
    EXPECT_FALSE(reader.seekToFileStart());
}

TEST(FileStreamReader, SeeksAndTellsAbsoluteLocations)
{
    OpenFile file("0123456789");
    EXPECT_TRUE(file.reader.seekToFileLoc(4));
    EXPECT_EQ(file.reader.getc(), '4');
    EXPECT_EQ(file.reader.fileLoc(), 5U);
    EXPECT_TRUE(file.reader.seekToFileEnd());
    EXPECT_EQ(file.reader.fileLoc(), 10U);
    EXPECT_LT(file.reader.getc(), 0);
    EXPECT_TRUE(file.reader.feof());
    EXPECT_TRUE(file.reader.seekToFileStart());
    EXPECT_FALSE(file.reader.feof());
    EXPECT_EQ(bytesLeft(file.reader), 10U);
    EXPECT_EQ(file.reader.fileLoc(), 0U);
}

TEST(FileStreamReader, LocationBeyondWhatAFileCanHaveIsRefused)
{
    OpenFile file("0123456789");
    EXPECT_FALSE(file.reader.seekToFileLoc(0xFFFFFFFFFFFFFFFF));
    EXPECT_FALSE(file.reader.seekToFileLoc(0x8000000000000000));
    EXPECT_EQ(file.message(), "Cannot seek to location 18446744073709551615. Cannot seek to "
                              "location 9223372036854775808.");
    EXPECT_TRUE(file.reader.seekToFileLoc(1000));
    EXPECT_EQ(bytesLeft(file.reader), 0U);
    EXPECT_LT(file.reader.getc(), 0);
}

TEST(FileStreamReader, ReadsAsTheStreamLibraryDoes)
{
    OpenFile file("line\n1 2 3 abcdef");
    char line[10];
    EXPECT_STREQ(file.reader.fgets(line, sizeof(line)), "line\n");
    int a = 0;
    int b = 0;
    int c = 0;
    EXPECT_EQ(file.reader.fscanf("%d", &a), 1);
    EXPECT_EQ(file.reader.fscanf("%d %d", &b, &c), 2);
    EXPECT_EQ(a + 10 * b + 100 * c, 321);
    EXPECT_EQ(file.reader.fscanf("%1s%d%d", line, &b, &c), 1);
    char bytes[10];
    EXPECT_EQ(file.reader.fread(bytes, 2, 5), 2U); // bcdef is two items and a half
    file.reader.seekToFileStart();
    EXPECT_EQ(file.reader.ungetc(file.reader.getc()), 'l');
    EXPECT_EQ(file.reader.getc(), 'l');
}

TEST(FileStreamReader, KeepsItsFileUnlessToldOtherwise)
{
    OpenFile file("x");
    EXPECT_TRUE(file.reader.close(true));
    EXPECT_FALSE(file.reader.isOpen());
    EXPECT_FALSE(file.reader.close(true));
    {
        FileStreamReader reader(file.path());
        ASSERT_TRUE(reader.open());
    }
    EXPECT_TRUE(std::filesystem::exists(file.path()));
    FileIOStream stream(file.path());
    ASSERT_TRUE(stream.open("rb"));
    EXPECT_TRUE(stream.close(false));
    EXPECT_FALSE(std::filesystem::exists(file.path()));
}

TEST(FileStreamReader, CloseIsFalseIfTheFileCannotBeRemoved)
{
    OpenFile file("x");
    FileIOStream stream(file.path());
    ASSERT_TRUE(stream.open("rb"));
    std::filesystem::remove(file.path());
    EXPECT_FALSE(stream.close(false));
    EXPECT_FALSE(stream.isOpen());
}

TEST(FileStreamReader, StatisticsAreZeroAndFormAndTypeAreKept)
{
    OpenFile file("x");
    file.reader.getc();
    for (std::uint64_t const word : file.reader.statistics()->words)
        EXPECT_EQ(word, 0U);
    file.reader.setIsAscii(1);
    file.reader.setDataFileType(DataFileType_Solution);
    EXPECT_EQ(file.reader.isAscii(), 1);
    EXPECT_EQ(file.reader.dataFileType(), DataFileType_Solution);
}

TEST(FileInterfaces, OperationsStandInTheirSlots)
{
    using varnox::tests::slot;
    using F = FileIOStreamInterface;
    EXPECT_EQ(slot(&F::isOpen), 0U);
    EXPECT_EQ(slot(&F::close), 1U);
    EXPECT_EQ(slot(&F::fileLoc), 2U);
    EXPECT_EQ(slot(&F::seekToFileStart), 3U);
    EXPECT_EQ(slot(&F::seekToFileLoc), 4U);
    EXPECT_EQ(slot(&F::seekToFileEnd), 5U);
    EXPECT_EQ(slot(&F::fileName), 6U);
    EXPECT_EQ(slot(&F::setIsAscii), 7U);
    EXPECT_EQ(slot(&F::isAscii), 8U);
    EXPECT_EQ(slot(&F::setDataFileType), 9U);
    EXPECT_EQ(slot(&F::dataFileType), 10U);
    EXPECT_EQ(slot(&F::statistics), 11U);
    // The destructor takes two.
    using R = FileReaderInterface;
    EXPECT_EQ(slot(&R::open), 14U);
    EXPECT_EQ(slot(&R::fread), 15U);
    EXPECT_EQ(slot(&R::fgets), 16U);
    EXPECT_EQ(slot(&R::feof), 17U);
    EXPECT_EQ(slot(&R::getc), 18U);
    EXPECT_EQ(slot(&R::ungetc), 19U);
    EXPECT_EQ(slot(static_cast<int (R::*)(char const*, void*)>(&R::fscanf)), 20U);
    EXPECT_EQ(slot(static_cast<int (R::*)(char const*, void*, void*)>(&R::fscanf)), 21U);
    EXPECT_EQ(slot(static_cast<int (R::*)(char const*, void*, void*, void*)>(&R::fscanf)), 22U);
    using W = FileWriterInterface;
    EXPECT_EQ(slot(&W::open), 14U);
    EXPECT_EQ(slot(&W::fwrite), 15U);
    EXPECT_EQ(slot(&W::fprintf), 16U);
}

}
}
