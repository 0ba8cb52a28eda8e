#include "filedata/ConnectivityRecords.h"

#include "tests/filedata/ConnectivityBuilder.h"
#include "tests/filedata/OpenFile.h"
#include "tests/filedata/ScarceMemory.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace varnox::hdqio {
namespace {

using tests::CellRecord;
using tests::FileBuilder;
using tests::NodeRecord;
using tests::OpenFile;
using varnox::tests::hex;

/// A zone of one section and two partitions. Partition 1 has the records.
ZoneMetadata zoneOf(ZoneType_e type, std::int64_t numCells)
{
    ZoneMetadata zone;
    zone.zone = 0;
    zone.zoneType = type;
    zone.numPartitions = 2;
    zone.numSections = 1;
    if (type != ZoneType_Ordered) {
        zone.numNodesPerCellPerSection.alloc(1);
        zone.numNodesPerCellPerSection[0] = type == ZoneType_FETetra ? 4 : 8;
    }
    zone.numCellsPerSecPtn.alloc(1);
    zone.numCellsPerSecPtn[0].alloc(2);
    zone.numCellsPerSecPtn[0][0] = 1;
    zone.numCellsPerSecPtn[0][1] = numCells;
    zone.numCszsPerSecPtn.alloc(1);
    zone.numCszsPerSecPtn[0].alloc(2);
    zone.numCszsPerSecPtn[0][0] = 1;
    zone.numCszsPerSecPtn[0][1] = static_cast<std::uint32_t>((numCells + 255) >> 8);
    zone.ptnMetadata.alloc(2);
    return zone;
}

/// The number of references of every cell subzone of partition 1.
void setReferenceCounts(ZoneMetadata& zone, std::uint16_t count)
{
    auto& counts = zone.ptnMetadata[1].cszNumRefNszs;
    counts.dealloc();
    counts.alloc(1);
    counts[0].alloc(zone.numCszsPerSecPtn[0][1]);
    for (std::uint16_t& entry : counts[0])
        entry = count;
}

/// Partitions 30, 31 and so on, to which all subzones of partition 1 refer.
void setPartitions(ZoneMetadata& zone, std::uint32_t count)
{
    PartitionMetadata& header = zone.ptnMetadata[1];
    header.numRefPartitions = count;
    header.refPartitions.dealloc();
    header.refPartitions.alloc(count);
    for (std::uint32_t i = 0; i < count; ++i)
        header.refPartitions[i] = 30 + i;
    header.cszInclPtnBitArray.dealloc();
    header.cszInclPtnBitArray.alloc(1);
    header.cszInclPtnBitArray[0].alloc(2);
    header.cszInclPtnBitArray[0][0] = 0xFF;
    header.cszInclPtnBitArray[0][1] = 0xFF;
    header.nszInclPtnBitArray.dealloc();
    header.nszInclPtnBitArray.alloc(2);
    header.nszInclPtnBitArray[0] = 0xFF;
    header.nszInclPtnBitArray[1] = 0xFF;
}

struct ReadRecord
{
    ReadRecord(std::string const& bytes, bool isAscii, std::uint32_t version,
               ZoneMetadata const& zone, std::uint32_t subzone = 0, std::uint32_t section = 0,
               std::uint32_t partition = 1)
    {
        OpenFile file(bytes, isAscii);
        FileDescription description;
        description.setFileVersion(version);
        result =
            readCszConnectivity(file.reader, description, zone, partition, section, subzone, cells);
        message = file.message();
        rest = file.rest();
    }

    char result;
    CszConnectivity cells;
    std::string message;
    std::string rest;
};

struct ReadNodeRecord
{
    ReadNodeRecord(std::string const& bytes, bool isAscii, std::uint32_t version,
                   ZoneMetadata const& zone, std::uint16_t numRefs, std::uint32_t subzone = 0)
    {
        OpenFile file(bytes, isAscii);
        FileDescription description;
        description.setFileVersion(version);
        result = readNszConnectivity(file.reader, description, zone, 1, subzone,
                                     zone.ptnMetadata[1].refPartitions, numRefs, nodes);
        message = file.message();
        rest = file.rest();
    }

    char result;
    NszConnectivity nodes;
    std::string message;
    std::string rest;
};

/// A record of cells with as many references, each corner with a number and an offset of its own.
CellRecord cellRecordOf(std::size_t numCorners, std::size_t numRefs, std::size_t numPartitions = 0)
{
    CellRecord record;
    record.numPartitions = numPartitions;
    for (std::size_t i = 0; i < numRefs; ++i)
        record.refs.push_back(
            {static_cast<std::uint32_t>(100 + i),
             static_cast<std::uint16_t>(numPartitions == 0 ? 0 : i % numPartitions)});
    for (std::size_t i = 0; i < numCorners; ++i) {
        record.refNumbers.push_back(static_cast<std::uint16_t>((numCorners - 1 - i) % numRefs));
        record.nszOffsets.push_back(static_cast<std::uint8_t>(i * 7));
    }
    return record;
}

std::string bytesOf(std::uint32_t version, bool isAscii, CellRecord const& record)
{
    FileBuilder file(std::to_string(version) + (isAscii ? "T" : "B"));
    std::uint64_t const start = cellRecord(file, version, record);
    return file.file(0).substr(start);
}

std::string bytesOf(std::uint32_t version, bool isAscii, NodeRecord const& record)
{
    FileBuilder file(std::to_string(version) + (isAscii ? "T" : "B"));
    std::uint64_t const start = nodeRecord(file, version, record);
    return file.file(0).substr(start);
}

void expectSame(CszConnectivity const& cells, CellRecord const& record, std::string const& what)
{
    ASSERT_EQ(cells.numRefNszs, record.refs.size()) << what;
    for (std::size_t i = 0; i < record.refs.size(); ++i) {
        std::uint32_t const partition =
            record.numPartitions == 0 ? 1 : 30U + record.refs[i].partitionNumber;
        ASSERT_EQ(cells.refNszs[i], SubzoneAddress(partition, 0, record.refs[i].subzone)) << what;
        ASSERT_EQ(cells.refNszs[i].section(), 0U);
    }
    ASSERT_EQ(std::size_t{cells.numCells} * cells.numCornersPerCell, record.refNumbers.size());
    for (std::size_t i = 0; i < record.refNumbers.size(); ++i) {
        ASSERT_EQ(cells.refNszOffsets[i], record.refNumbers[i]) << what << " corner " << i;
        ASSERT_EQ(cells.nszOffsets[i], record.nszOffsets[i]) << what << " corner " << i;
    }
}

// The form of a record.

TEST(CszConnectivity, IsReadFromItsGoldenBytes)
{
    ZoneMetadata zone = zoneOf(ZoneType_FETetra, 2);
    setReferenceCounts(zone, 3);
    std::string const golden = hex("05 00 00 00  06 00 00 00  01 00 00 00" // 3 node subzones
                                   "24 18"                                 // 0210 0120, 2 bits each
                                   "FF 00 01 02  03 04 05 06");            // nodes in them
    ReadRecord const read(golden, false, 105, zone);
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.cells.numCells, 2U);
    EXPECT_EQ(read.cells.numCornersPerCell, 4U);
    EXPECT_EQ(read.cells.numRefNszs, 3U);
    EXPECT_EQ(read.cells.refNszs[2], SubzoneAddress(1, 0, 1));
    std::uint16_t const numbers[] = {0, 2, 1, 0, 0, 1, 2, 0};
    std::uint8_t const offsets[] = {0xFF, 0, 1, 2, 3, 4, 5, 6};
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(read.cells.refNszOffsets[i], numbers[i]);
        EXPECT_EQ(read.cells.nszOffsets[i], offsets[i]);
    }
    EXPECT_EQ(read.rest, "");
}

TEST(CszConnectivity, FourReferencesAreFourBitsAndDecimalInVersion104)
{
    ZoneMetadata zone = zoneOf(ZoneType_FETetra, 1);
    std::string const text = "numRefNodeSubzones 4\r\n"
                             "refNodeSubzones 1 2 3 4\r\n"
                             "refNsz4BitOffsets 18 48\r\n" // 12 30
                             "nszOffsets 9 10 11 12\r\n";
    ReadRecord const read(text, true, 104, zone);
    ASSERT_TRUE(read.result) << read.message;
    std::uint16_t const numbers[] = {1, 2, 3, 0};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(read.cells.refNszOffsets[i], numbers[i]);
    EXPECT_EQ(read.cells.nszOffsets[3], 12);
    EXPECT_EQ(read.cells.refNszs[3], SubzoneAddress(1, 0, 3));
}

TEST(CszConnectivity, FourReferencesAreTwoBitsAndHexadecimalFrom105)
{
    ZoneMetadata zone = zoneOf(ZoneType_FETetra, 1);
    setReferenceCounts(zone, 4);
    std::string const text = "refNodeSubzones 1 2 3 4\r\n"
                             "refNsz2BitOffsets 6c\r\n" // 1 2 3 0
                             "nszOffsets 9 10 11 12\r\n";
    for (std::uint32_t const version : {105U, 106U, 231U, 232U}) {
        ReadRecord const read(text, true, version, zone);
        ASSERT_TRUE(read.result) << version << read.message;
        std::uint16_t const numbers[] = {1, 2, 3, 0};
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(read.cells.refNszOffsets[i], numbers[i]);
    }
}

struct NumberWidthCase
{
    std::size_t numRefs;
    char const* word;
    char const* wordOf104;
};

TEST(CszConnectivity, ReferenceNumbersHaveAsFewBitsAsTheyNeed)
{
    NumberWidthCase const cases[] = {{1, "refNsz2BitOffsets", "refNsz4BitOffsets"},
                                     {4, "refNsz2BitOffsets", "refNsz4BitOffsets"},
                                     {5, "refNsz4BitOffsets", "refNsz4BitOffsets"},
                                     {16, "refNsz4BitOffsets", "refNsz4BitOffsets"},
                                     {17, "refNsz8BitOffsets", "refNsz8BitOffsets"},
                                     {256, "refNsz8BitOffsets", "refNsz8BitOffsets"},
                                     {257, "refNsz16BitOffsets", "refNsz16BitOffsets"},
                                     {2048, "refNsz16BitOffsets", "refNsz16BitOffsets"}};
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 256);
    for (NumberWidthCase const& row : cases) {
        for (std::uint32_t const version : {104U, 105U, 106U, 232U}) {
            for (bool const isAscii : {false, true}) {
                setReferenceCounts(zone, static_cast<std::uint16_t>(row.numRefs));
                CellRecord const record = cellRecordOf(2048, row.numRefs);
                std::string const bytes = bytesOf(version, isAscii, record);
                std::string const what = std::to_string(version) + " " +
                                         std::to_string(row.numRefs) + (isAscii ? " text" : "");
                if (isAscii) {
                    char const* const word = version == 104 ? row.wordOf104 : row.word;
                    EXPECT_NE(bytes.find("\r\n" + std::string(word)), std::string::npos) << what;
                }
                ReadRecord const read(bytes, isAscii, version, zone);
                ASSERT_TRUE(read.result) << what << read.message;
                EXPECT_EQ(read.rest, "") << what;
                expectSame(read.cells, record, what);
            }
        }
    }
}

TEST(CszConnectivity, ReferencesNameTheirPartitionsInAsFewBitsAsTheyNeed)
{
    for (std::uint32_t const numPartitions : {1U, 3U, 4U, 5U, 16U, 17U, 256U, 257U, 300U}) {
        for (bool const isAscii : {false, true}) {
            ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 256);
            setReferenceCounts(zone, 310);
            setPartitions(zone, numPartitions);
            CellRecord const record = cellRecordOf(2048, 310, numPartitions);
            ReadRecord const read(bytesOf(105, isAscii, record), isAscii, 105, zone);
            ASSERT_TRUE(read.result) << numPartitions << read.message;
            EXPECT_EQ(read.rest, "");
            expectSame(read.cells, record, std::to_string(numPartitions));
        }
    }
}

TEST(CszConnectivity, SubzoneWhoseBitIsClearNamesNoPartitions)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 256 * 11);
    setReferenceCounts(zone, 5);
    setPartitions(zone, 6);
    zone.ptnMetadata[1].cszInclPtnBitArray[0][1] = 0xFB; // of subzones 8 to 15 all but 10
    CellRecord const own = cellRecordOf(2048, 5);
    CellRecord const others = cellRecordOf(2048, 5, 6);
    ReadRecord const clear(bytesOf(105, false, own), false, 105, zone, 10);
    ASSERT_TRUE(clear.result) << clear.message;
    EXPECT_EQ(clear.rest, "");
    expectSame(clear.cells, own, "clear");
    for (std::uint32_t const subzone : {2U, 9U}) {
        ReadRecord const set(bytesOf(105, false, others), false, 105, zone, subzone);
        ASSERT_TRUE(set.result) << set.message;
        expectSame(set.cells, others, "set");
    }
}

TEST(CszConnectivity, PartitionNumberBehindTheListIsReported)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 1);
    setReferenceCounts(zone, 5);
    setPartitions(zone, 3);
    CellRecord record = cellRecordOf(8, 5, 3);
    record.refs[4].partitionNumber = 3;
    EXPECT_EQ(ReadRecord(bytesOf(105, false, record), false, 105, zone).message,
              "Bad value for refPtn2BitOffsets.");
}

TEST(CszConnectivity, ScarceMemoryEndsInAMessage)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 256);
    setReferenceCounts(zone, 2048);
    setPartitions(zone, 300);
    OpenFile file(bytesOf(105, false, cellRecordOf(2048, 2048, 300)));
    FileDescription description;
    description.setFileVersion(105);
    // Three vectors of the result, and room for the numbers of partitions and of references.
    EXPECT_EQ(tests::expectEveryShortageIsSaid([&] {
                  CszConnectivity cells;
                  return file.reader.seekToFileLoc(0) != 0 &&
                         readCszConnectivity(file.reader, description, zone, 1, 0, 0, cells) != 0;
              }),
              5U);
}

// Sizes.

struct SizeCase
{
    std::int64_t numCells;
    std::uint32_t subzone;
    std::uint32_t size;
};

TEST(CszConnectivity, LastSubzoneHasWhatIsLeft)
{
    SizeCase const cases[] = {{1, 0, 1},     {255, 0, 255}, {256, 0, 256},
                              {257, 0, 256}, {257, 1, 1},   {512, 0, 256},
                              {512, 1, 256}, {600, 1, 256}, {600, 2, 88}};
    for (SizeCase const& row : cases) {
        ZoneMetadata zone = zoneOf(ZoneType_FETetra, row.numCells);
        setReferenceCounts(zone, 2);
        CellRecord const record = cellRecordOf(std::size_t{4} * row.size, 2);
        ReadRecord const read(bytesOf(105, false, record), false, 105, zone, row.subzone);
        ASSERT_TRUE(read.result) << row.numCells << read.message;
        EXPECT_EQ(read.cells.numCells, row.size);
        EXPECT_EQ(read.rest, "");
    }
}

TEST(CszConnectivity, CellOfAnOrderedZoneHasEightCorners)
{
    ZoneMetadata zone = zoneOf(ZoneType_Ordered, 3);
    setReferenceCounts(zone, 2);
    CellRecord const record = cellRecordOf(24, 2);
    ReadRecord const read(bytesOf(105, false, record), false, 105, zone);
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.cells.numCornersPerCell, 8U);
    EXPECT_EQ(read.rest, "");
}

TEST(CszConnectivity, SectionsHaveTheirOwnCountsAndNodes)
{
    ZoneMetadata zone;
    zone.zone = 0;
    zone.zoneType = ZoneType_FEMixed;
    zone.numPartitions = 1;
    long const elems[] = {300, 2};
    unsigned char const shapes[] = {3, 6};
    unsigned char const orders[] = {2, 1};
    unsigned char const bases[] = {0, 0};
    zone.setSectionMetrics(2, {nullptr, elems, 2, 2}, {nullptr, shapes, 2, 2},
                           {nullptr, orders, 2, 2}, {nullptr, bases, 2, 2});
    zone.numCellsPerSecPtn.alloc(2);
    zone.numCszsPerSecPtn.alloc(2);
    zone.ptnMetadata.alloc(1);
    zone.ptnMetadata[0].cszNumRefNszs.alloc(2);
    for (std::size_t s = 0; s < 2; ++s) {
        zone.numCellsPerSecPtn[s].alloc(1);
        zone.numCellsPerSecPtn[s][0] = elems[s];
        zone.numCszsPerSecPtn[s].alloc(1);
        zone.numCszsPerSecPtn[s][0] = s == 0 ? 2 : 1;
        zone.ptnMetadata[0].cszNumRefNszs[s].alloc(2);
        zone.ptnMetadata[0].cszNumRefNszs[s][0] = 1;
        zone.ptnMetadata[0].cszNumRefNszs[s][1] = 3;
    }
    ReadRecord const tetrahedra(bytesOf(232, false, cellRecordOf(440, 3)), false, 232, zone, 1, 0,
                                0);
    ASSERT_TRUE(tetrahedra.result) << tetrahedra.message;
    EXPECT_EQ(tetrahedra.cells.numCells, 44U);
    EXPECT_EQ(tetrahedra.cells.numCornersPerCell, 10U);
    EXPECT_EQ(tetrahedra.rest, "");
    ReadRecord const prisms(bytesOf(232, false, cellRecordOf(12, 1)), false, 232, zone, 0, 1, 0);
    ASSERT_TRUE(prisms.result) << prisms.message;
    EXPECT_EQ(prisms.cells.numCornersPerCell, 6U);
    EXPECT_EQ(prisms.rest, "");
}

// Damage.

TEST(CszConnectivity, BadCountsOfReferencesAreReported)
{
    for (std::uint16_t const count : {std::uint16_t{0}, std::uint16_t{9}}) {
        ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 1);
        setReferenceCounts(zone, count);
        EXPECT_EQ(ReadRecord("", false, 105, zone).message, "Bad value for numRefNodeSubzones.");
        std::string const own{static_cast<char>(count), '\0'};
        EXPECT_EQ(ReadRecord(own, false, 104, zone).message, "Bad value for numRefNodeSubzones.");
    }
}

TEST(CszConnectivity, AsManyReferencesAsCornersAreFine)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 1);
    setReferenceCounts(zone, 8);
    CellRecord const record = cellRecordOf(8, 8);
    ReadRecord const read(bytesOf(105, false, record), false, 105, zone);
    ASSERT_TRUE(read.result) << read.message;
    expectSame(read.cells, record, "");
}

TEST(CszConnectivity, NumberBehindTheReferencesIsReported)
{
    struct Case
    {
        std::size_t numRefs;
        char const* message;
    };
    for (Case const& row :
         {Case{3, "Bad value for refNsz2BitOffsets."}, Case{15, "Bad value for refNsz4BitOffsets."},
          Case{255, "Bad value for refNsz8BitOffsets."},
          Case{300, "Bad value for refNsz16BitOffsets."}}) {
        ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 256);
        setReferenceCounts(zone, static_cast<std::uint16_t>(row.numRefs));
        CellRecord record = cellRecordOf(2048, row.numRefs);
        record.refNumbers.back() = static_cast<std::uint16_t>(row.numRefs);
        EXPECT_EQ(ReadRecord(bytesOf(105, false, record), false, 105, zone).message, row.message);
    }
}

TEST(CszConnectivity, RecordsThatDontExistAreReported)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 300);
    setReferenceCounts(zone, 2);
    EXPECT_EQ(ReadRecord("", false, 105, zone, 2).message,
              "Partition 2 of zone 1 has no connectivity for subzone 3 of the cells of section 1.");
    EXPECT_NE(ReadRecord("", false, 105, zone, 0, 1).message, "");
    EXPECT_NE(ReadRecord("", false, 105, zone, 0, 0, 2).message, "");
    EXPECT_NE(ReadRecord("", false, 105, zone, 0, 0, 0).message, ""); // its header wasn't read
    zone.numNodesPerCellPerSection.dealloc();
    EXPECT_NE(ReadRecord("", false, 105, zone).message, "");
}

TEST(CszConnectivity, MoreCornersThanTheFileCanHoldAreRefused)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 256);
    zone.numNodesPerCellPerSection[0] = 0xFFFFFFFF;
    setReferenceCounts(zone, 3);
    EXPECT_EQ(ReadRecord("", false, 105, zone).message,
              "Cannot allocate memory for cell connectivity (1099511627520 entries, 3 ref "
              "subzones).");
}

TEST(CszConnectivity, ResultInUseIsRefused)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 1);
    setReferenceCounts(zone, 3);
    FileDescription description;
    description.setFileVersion(105);
    OpenFile file(bytesOf(105, false, cellRecordOf(8, 3)));
    CszConnectivity cells;
    ASSERT_TRUE(readCszConnectivity(file.reader, description, zone, 1, 0, 0, cells));
    file.reader.seekToFileStart();
    EXPECT_FALSE(readCszConnectivity(file.reader, description, zone, 1, 0, 0, cells));
    EXPECT_EQ(file.message(),
              "Cannot allocate memory for cell connectivity (8 entries, 3 ref subzones).");
}

TEST(CszConnectivity, RecordCutAnywhereIsReported)
{
    for (std::uint32_t const version : {104U, 105U}) {
        for (bool const isAscii : {false, true}) {
            ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 2);
            setReferenceCounts(zone, 6);
            setPartitions(zone, 5);
            CellRecord record = cellRecordOf(16, 6, 5);
            record.nszOffsets.back() = 7; // of one digit, so that no cut leaves another number
            std::string bytes = bytesOf(version, isAscii, record);
            if (isAscii)
                bytes.resize(bytes.find_last_not_of(" \r\n") + 1);
            EXPECT_TRUE(ReadRecord(bytes, isAscii, version, zone).result);
            for (std::size_t length = 0; length < bytes.size(); ++length) {
                ReadRecord const read(bytes.substr(0, length), isAscii, version, zone);
                EXPECT_FALSE(read.result) << length;
                EXPECT_NE(read.message, "") << length;
            }
        }
    }
}

// Node subzones.

TEST(NszConnectivity, IsReadFromItsGoldenBytes)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEMixed, 1);
    setPartitions(zone, 2);
    std::string const golden = hex("40"                       // partitions 1 and 0 of the list
                                   "05 00 00 00  06 00 00 00" // cell subzones
                                   "2F");                     // of sections 2 and 15
    ReadNodeRecord const read(golden, false, 106, zone, 2);
    ASSERT_TRUE(read.result) << read.message;
    ASSERT_EQ(read.nodes.numRefCszs, 2U);
    EXPECT_EQ(read.nodes.refCszs[0], SubzoneAddress(31, 2, 5));
    EXPECT_EQ(read.nodes.refCszs[1], SubzoneAddress(30, 15, 6));
    EXPECT_EQ(read.rest, "");
}

TEST(NszConnectivity, Version104HasItsCountInTheRecord)
{
    ZoneMetadata const zone = zoneOf(ZoneType_FEBrick, 1);
    for (bool const isAscii : {false, true}) {
        std::string const bytes = bytesOf(104, isAscii, NodeRecord{{{5}, {6}, {9}}});
        ReadNodeRecord const read(bytes, isAscii, 104, zone, 0);
        ASSERT_TRUE(read.result) << read.message;
        ASSERT_EQ(read.nodes.numRefCszs, 3U);
        EXPECT_EQ(read.nodes.refCszs[2], SubzoneAddress(1, 0, 9));
        EXPECT_EQ(read.rest, "");
    }
}

TEST(NszConnectivity, FormsOfAllVersionsAndWidthsAreRead)
{
    for (std::uint32_t const version : {104U, 105U, 106U, 231U, 232U}) {
        for (std::uint32_t const numPartitions : {0U, 4U, 5U, 17U, 257U}) {
            for (bool const isAscii : {false, true}) {
                ZoneMetadata zone = zoneOf(ZoneType_FEMixed, 1);
                if (numPartitions != 0)
                    setPartitions(zone, numPartitions);
                NodeRecord record;
                record.numPartitions = numPartitions;
                record.withSections = version > 105;
                for (std::uint32_t i = 0; i < 300; ++i)
                    record.refs.push_back(
                        {i + 3,
                         static_cast<std::uint16_t>(numPartitions == 0 ? 0 : i % numPartitions),
                         static_cast<std::uint8_t>(version > 105 ? i % 16 : 0)});
                ReadNodeRecord const read(bytesOf(version, isAscii, record), isAscii, version, zone,
                                          300);
                ASSERT_TRUE(read.result) << read.message;
                EXPECT_EQ(read.rest, "");
                for (std::uint32_t i = 0; i < 300; ++i) {
                    tests::Reference const& ref = record.refs[i];
                    std::uint32_t const partition =
                        numPartitions == 0 ? 1 : 30U + ref.partitionNumber;
                    ASSERT_EQ(read.nodes.refCszs[i],
                              SubzoneAddress(partition, ref.section, ref.subzone));
                }
            }
        }
    }
}

TEST(NszConnectivity, SubzoneWhoseBitIsClearNamesNoPartitions)
{
    ZoneMetadata zone = zoneOf(ZoneType_FEBrick, 1);
    setPartitions(zone, 2);
    zone.ptnMetadata[1].nszInclPtnBitArray[1] = 0xFD; // all but subzone 9
    std::string const own = bytesOf(105, false, NodeRecord{{{5}}});
    std::string const others = bytesOf(105, false, NodeRecord{{{5, 1}}, false, 2});
    EXPECT_EQ(ReadNodeRecord(own, false, 105, zone, 1, 9).nodes.refCszs[0],
              SubzoneAddress(1, 0, 5));
    EXPECT_EQ(ReadNodeRecord(others, false, 105, zone, 1, 8).nodes.refCszs[0],
              SubzoneAddress(31, 0, 5));
    EXPECT_EQ(ReadNodeRecord(others, false, 105, zone, 1, 1).nodes.refCszs[0],
              SubzoneAddress(31, 0, 5));
}

TEST(NszConnectivity, NoReferencesAreAnEmptyResult)
{
    ZoneMetadata const zone = zoneOf(ZoneType_FEBrick, 1);
    ReadNodeRecord const read("rest", false, 105, zone, 0);
    EXPECT_TRUE(read.result);
    EXPECT_EQ(read.nodes.numRefCszs, 0U);
    EXPECT_TRUE(read.nodes.refCszs.isNull());
    EXPECT_EQ(read.rest, "rest");
    EXPECT_TRUE(ReadNodeRecord(std::string(2, '\0'), false, 104, zone, 7).result);
}

TEST(NszConnectivity, ResultInUseIsFreedAndRefused)
{
    ZoneMetadata const zone = zoneOf(ZoneType_FEBrick, 1);
    FileDescription description;
    description.setFileVersion(105);
    OpenFile file(bytesOf(105, false, NodeRecord{{{5}, {6}, {9}}}));
    NszConnectivity nodes;
    auto const read = [&] {
        file.reader.seekToFileStart();
        return readNszConnectivity(file.reader, description, zone, 1, 0, {}, 3, nodes);
    };
    ASSERT_TRUE(read());
    EXPECT_FALSE(read());
    EXPECT_EQ(file.message(), "Cannot allocate memory for node connectivity referenced cell "
                              "subzones (3 subzones).");
    EXPECT_TRUE(nodes.refCszs.isNull());
    EXPECT_EQ(nodes.numRefCszs, 0U);
    EXPECT_TRUE(read());
}

TEST(NszConnectivity, RecordCutAnywhereIsReported)
{
    for (bool const isAscii : {false, true}) {
        ZoneMetadata zone = zoneOf(ZoneType_FEMixed, 1);
        setPartitions(zone, 5);
        NodeRecord record{{{5, 1, 3}, {6, 2, 0}, {7, 0, 0}, {8, 0, 0}}, true, 5};
        std::string bytes = bytesOf(106, isAscii, record);
        if (isAscii)
            bytes.resize(bytes.find_last_not_of(" \r\n") + 1);
        EXPECT_TRUE(ReadNodeRecord(bytes, isAscii, 106, zone, 4).result);
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            ReadNodeRecord const read(bytes.substr(0, length), isAscii, 106, zone, 4);
            EXPECT_FALSE(read.result) << length;
            EXPECT_NE(read.message, "") << length;
        }
    }
}

}
}
