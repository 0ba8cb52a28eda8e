#include "filedata/DataFileHeader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/ValueInput.h"
#include "filedata/ZoneHeader.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/filedata/OpenFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

/// Readers are an interface: what another one throws ends in a message, not in the caller.
namespace varnox::hdqio {
namespace {

using tests::build;
using tests::FileSpec;
using tests::OpenFile;
using tests::PartitionSpec;

/// Passes everything on to a reader, until its n-th operation on the file throws.
class BrokenReader : public FileReaderInterface
{
public:
    explicit BrokenReader(FileReaderInterface& reader) : m_reader(reader) {}

    /// The n-th operation from now on, counted from 1, throws; none with 0.
    void breakAt(std::size_t n) { m_remaining = n; }
    bool isBroken() const { return m_isBroken; }
    bool seeks = true; ///< False: every search of a location fails.

    char isOpen() const override { return m_reader.isOpen(); }
    char close(bool keepFile) override { return m_reader.close(keepFile); }
    std::uint64_t fileLoc() override { return m_reader.fileLoc(); }
    char seekToFileStart() override { return operation().seekToFileStart() && seeks; }
    char seekToFileLoc(std::uint64_t loc) override
    {
        return operation().seekToFileLoc(loc) && seeks;
    }
    char seekToFileEnd() override { return operation().seekToFileEnd() && seeks; }
    std::string const& fileName() const override { return m_reader.fileName(); }
    void setIsAscii(char isAscii) override { m_reader.setIsAscii(isAscii); }
    char isAscii() const override { return m_reader.isAscii(); }
    void setDataFileType(DataFileType_e type) override { m_reader.setDataFileType(type); }
    DataFileType_e dataFileType() const override { return m_reader.dataFileType(); }
    IOStatistics* statistics() override { return m_reader.statistics(); }
    char open() override { return m_reader.open(); }
    std::size_t fread(void* buffer, std::size_t size, std::size_t count) override
    {
        return operation().fread(buffer, size, count);
    }
    char* fgets(char* buffer, int size) override { return operation().fgets(buffer, size); }
    int feof() override { return m_reader.feof(); }
    int getc() override { return operation().getc(); }
    int ungetc(int c) override { return operation().ungetc(c); }
    int fscanf(char const* format, void* a) override { return operation().fscanf(format, a); }
    int fscanf(char const* format, void* a, void* b) override
    {
        return operation().fscanf(format, a, b);
    }
    int fscanf(char const* format, void* a, void* b, void* c) override
    {
        return operation().fscanf(format, a, b, c);
    }

private:
    FileReaderInterface& operation()
    {
        if (m_remaining > 0 && --m_remaining == 0) {
            m_isBroken = true;
            throw std::runtime_error("the reader is broken");
        }
        return m_reader;
    }

    FileReaderInterface& m_reader;
    std::size_t m_remaining = 0;
    bool m_isBroken = false;
};

/// A file of which everything up to the data set header's tags has been read.
struct StartedFile
{
    explicit StartedFile(FileSpec const& spec) : file(build(spec)), reader(file.reader)
    {
        std::uint64_t byteOrder = 0;
        EXPECT_TRUE(readDataFileHeader(reader, description, byteOrder, headerLoc));
        EXPECT_TRUE(reader.seekToFileLoc(headerLoc));
        EXPECT_TRUE(readDataSetHeaderTags(reader, description, tags));
    }
    bool readHeader()
    {
        if (!readDataSetHeader(reader, description, tags, title, table, zoneHeaderLocs))
            return false;
        storeZoneMetadata(table, 0, 0, zone);
        return true;
    }
    bool readZone()
    {
        return reader.seekToFileLoc(zoneHeaderLocs[0]) &&
               readZoneHeaders(reader, description, 0, 0, 0, static_cast<int>(table.numVars),
                               table.zoneMinMaxes, table.fieldDataTypes, zone) != 0;
    }

    OpenFile file;
    BrokenReader reader;
    FileDescription description;
    std::uint64_t headerLoc = 0;
    TagMap tags;
    std::string title;
    ZoneVarMetadata table;
    LightweightVector<std::uint64_t> zoneHeaderLocs;
    ZoneMetadata zone;
};

FileSpec zoneOf(char letter, bool isAscii)
{
    FileSpec spec;
    spec.isAscii = isAscii;
    spec.title = "a title";
    spec.zones[0].letter = letter;
    return spec;
}

FileSpec partitioned(bool isAscii)
{
    FileSpec spec = zoneOf('O', isAscii);
    spec.zones[0].i = 5;
    spec.zones[0].j = 4;
    spec.zones[0].k = 3;
    PartitionSpec low;
    low.maxNode = 57;
    PartitionSpec high;
    high.minNode = 3;
    high.maxNode = 59;
    spec.zones[0].partitions = {low, high};
    return spec;
}

class BrokenReaders : public testing::TestWithParam<bool>
{
};

INSTANTIATE_TEST_SUITE_P(Forms, BrokenReaders, testing::Bool(),
                         [](auto const& test) { return test.param ? "Text" : "Binary"; });

TEST_P(BrokenReaders, ReaderOfAnotherKindReadsTheSame)
{
    StartedFile file(partitioned(GetParam()));
    ASSERT_TRUE(file.readHeader()) << file.file.message();
    EXPECT_EQ(file.title, "a title");
    EXPECT_EQ(file.table.varNames[0], "v");
    ASSERT_TRUE(file.readZone()) << file.file.message();
    EXPECT_EQ(file.zone.numPartitions, 2U);
    EXPECT_EQ(file.zone.ptnMinIJK[1].i, 3);
}

TEST_P(BrokenReaders, DataSetHeaderEndsInItsMessage)
{
    for (std::size_t n = 1;; ++n) {
        StartedFile file(partitioned(GetParam()));
        file.reader.breakAt(n);
        bool const result = file.readHeader();
        ASSERT_EQ(result, !file.reader.isBroken()) << n;
        if (result) {
            EXPECT_GT(n, 20U);
            return;
        }
        ASSERT_EQ(file.file.message(), "Unrecoverable error while reading data set header.") << n;
    }
}

// In the list of tags, and ahead of it.
constexpr char TAGS_ARE_CUT[] = "Error while reading file tags, possibly out of memory.";
constexpr char TAGS_ARE_BROKEN[] = "Unrecoverable error while retrieving file tags.";

/// Reads the zone with a reader that breaks at each operation in turn.
void expectMessages(FileSpec const& spec, std::string const& message)
{
    for (std::size_t n = 2;; ++n) { // the first is the test's own
        StartedFile file(spec);
        ASSERT_TRUE(file.readHeader());
        file.reader.breakAt(n);
        bool const result = file.readZone();
        ASSERT_EQ(result, !file.reader.isBroken()) << n;
        if (result) {
            EXPECT_GT(n, 5U);
            return;
        }
        std::string const told = file.file.message();
        ASSERT_TRUE(told == TAGS_ARE_CUT || told == TAGS_ARE_BROKEN || told == message)
            << n << ": " << told;
        EXPECT_TRUE(file.zone.numCellsPerSecPtn.isNull()) << n;
    }
}

TEST_P(BrokenReaders, ZoneHeaderEndsInItsMessage)
{
    expectMessages(zoneOf('O', GetParam()), "Unrecoverable error while reading HDQ zone 1 header.");
}

TEST_P(BrokenReaders, HeaderOfAPlainZoneEndsInItsMessage)
{
    expectMessages(zoneOf('o', GetParam()), "Unrecoverable error while reading zone 1 header.");
}

TEST_P(BrokenReaders, HeaderOfAPartitionedZoneEndsInItsMessage)
{
    expectMessages(partitioned(GetParam()),
                   "Unrecoverable error while reading partitioned zone 1 header.");
}

TEST_P(BrokenReaders, NamesOfVariablesEndInTheirMessage)
{
    StartedFile file(zoneOf('O', GetParam()));
    LightweightVector<std::string> names;
    file.reader.breakAt(1);
    EXPECT_FALSE(readPerVarFileHeader(file.reader, file.tags, 0, names));
    EXPECT_EQ(file.file.message(), "Unrecoverable error while reading file header.");
}

TEST(BrokenReader, FileThatCannotBeSearchedIsSaid)
{
    OpenFile file(build(FileSpec{}));
    BrokenReader reader(file.reader);
    reader.seeks = false;
    FileDescription description;
    std::uint64_t byteOrder = 1;
    std::uint64_t loc = 1;
    EXPECT_FALSE(readDataFileHeader(reader, description, byteOrder, loc));
    EXPECT_EQ(byteOrder, 0U);
    EXPECT_EQ(loc, 0U);
    EXPECT_FALSE(checkZoneAndVarCounts(reader, 1, 1));
    EXPECT_EQ(file.message(), "Can't read HDQFS file. Can't read HDQFS file.");
    EXPECT_EQ(bytesLeft(reader), 0U);
}

}
}
