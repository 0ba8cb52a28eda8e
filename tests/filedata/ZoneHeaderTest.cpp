#include "filedata/HeaderBudget.h"
#include "filedata/ZoneHeader.h"

#include "filedata/DataFileHeader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/PartitionHeader.h"
#include "filedata/ZoneTypes.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/filedata/OpenFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace varnox::hdqio {
namespace {

using tests::build;
using tests::FileSpec;
using tests::OpenFile;
using tests::PartitionSpec;
using tests::ZoneSpec;

constexpr std::uint64_t ALL_ONES = tests::ALL_ONES;

/// A zone of a file read through its own header. Messages are those of the zone header.
struct ReadZone
{
    explicit ReadZone(std::string const& bytes, std::size_t zoneIndex = 0) : file(bytes)
    {
        std::uint64_t byteOrder = 0;
        std::uint64_t loc = 0;
        TagMap tags;
        std::string title;
        EXPECT_TRUE(readDataFileHeader(file.reader, description, byteOrder, loc));
        EXPECT_TRUE(file.reader.seekToFileLoc(loc));
        EXPECT_TRUE(readDataSetHeaderTags(file.reader, description, tags));
        EXPECT_TRUE(readDataSetHeader(file.reader, description, tags, title, table, headerLocs))
            << file.message();
        storeZoneMetadata(table, static_cast<int>(zoneIndex), 0, zone);
        result = read(zoneIndex);
        message = file.message();
    }
    explicit ReadZone(FileSpec const& spec, std::size_t zoneIndex = 0)
        : ReadZone(build(spec), zoneIndex)
    {
    }

    bool read(std::size_t zoneIndex = 0)
    {
        return file.reader.seekToFileLoc(headerLocs[zoneIndex]) &&
               readZoneHeaders(file.reader, description, 0, static_cast<int>(zoneIndex), 0,
                               static_cast<int>(table.numVars), table.zoneMinMaxes,
                               table.fieldDataTypes, zone);
    }

    OpenFile file;
    FileDescription description;
    ZoneVarMetadata table;
    LightweightVector<std::uint64_t> headerLocs;
    ZoneMetadata zone;
    bool result;
    std::string message;
};

std::vector<FileSpec> inBothForms(FileSpec const& spec)
{
    FileSpec text = spec;
    text.isAscii = true;
    return {spec, text};
}

FileSpec oneZone(char letter, std::uint64_t i, std::uint64_t j, std::uint64_t k)
{
    FileSpec spec;
    spec.zones[0].letter = letter;
    spec.zones[0].i = i;
    spec.zones[0].j = j;
    spec.zones[0].k = k;
    return spec;
}

FileSpec mixedZone(std::string const& version)
{
    FileSpec spec = oneZone('M', 1000, 600, 0);
    spec.version = version;
    spec.zones[0].sections = {{100}, {200, 5}, {300, 6}};
    return spec;
}

// What a letter and a shape stand for.

struct LetterCase
{
    char letter;
    ZoneType_e type;
};

LetterCase const letterCases[] = {
    {'o', ZoneType_Ordered},   {'r', ZoneType_FETriangle},   {'q', ZoneType_FEQuad},
    {'t', ZoneType_FETetra},   {'b', ZoneType_FEBrick},      {'l', ZoneType_FELineSeg},
    {'g', ZoneType_FEPolygon}, {'p', ZoneType_FEPolyhedron}, {'m', ZoneType_FEMixed}};

TEST(ZoneTypes, EveryLetterHasItsTypeInBothCases)
{
    for (LetterCase const& row : letterCases) {
        auto const capital = static_cast<char>(row.letter - 'a' + 'A');
        EXPECT_EQ(zoneTypeFromFileChar(row.letter), row.type);
        EXPECT_EQ(zoneTypeFromFileChar(capital), row.type);
        EXPECT_EQ(fileCharOfZoneType(row.type), row.letter);
        EXPECT_FALSE(isHdqFileChar(row.letter));
        EXPECT_TRUE(isHdqFileChar(capital));
    }
}

TEST(ZoneTypes, UnknownLetterIsOrderedAndPlain)
{
    for (char const letter : {'x', '\0', '\xff', '2', '/'}) {
        EXPECT_EQ(zoneTypeFromFileChar(letter), ZoneType_Ordered);
        EXPECT_FALSE(isHdqFileChar(letter));
    }
    ReadZone const read(oneZone('x', 3, 2, 1));
    EXPECT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.zone.zoneType, ZoneType_Ordered);
    EXPECT_EQ(read.zone.isHdqZone, 0);
}

struct ShapeCase
{
    std::uint8_t shape;
    std::uint32_t corners;
    std::uint32_t nodes[4]; ///< By order from 1.
};

ShapeCase const shapeCases[] = {
    {0, 2, {2, 3, 4, 5}},    {1, 3, {3, 6, 10, 15}},   {2, 4, {4, 9, 16, 25}},
    {3, 4, {4, 10, 20, 35}}, {4, 8, {8, 27, 64, 125}}, {5, 5, {5, 14, 30, 55}},
    {6, 6, {6, 18, 40, 75}}, {7, 0, {0, 0, 0, 0}},     {255, 0, {0, 0, 0, 0}}};

TEST(ZoneMetadata, SectionMetricsFollowShapeAndOrder)
{
    for (ShapeCase const& row : shapeCases) {
        ZoneMetadata zone;
        long const elems[] = {1, 2, 3, 4};
        unsigned char const shapes[] = {row.shape, row.shape, row.shape, row.shape};
        unsigned char const orders[] = {1, 2, 3, 4};
        unsigned char const bases[] = {0, 1, 0, 1};
        zone.setSectionMetrics(4, {nullptr, elems, 4, 4}, {nullptr, shapes, 4, 4},
                               {nullptr, orders, 4, 4}, {nullptr, bases, 4, 4});
        EXPECT_EQ(zone.numSections, 4U);
        for (std::size_t s = 0; s < 4; ++s) {
            EXPECT_EQ(zone.numElemsPerSection[s], elems[s]);
            EXPECT_EQ(zone.cellShapePerSection[s], row.shape);
            EXPECT_EQ(zone.gridOrderPerSection[s], orders[s]);
            EXPECT_EQ(zone.basisFuncPerSection[s], bases[s]);
            EXPECT_EQ(zone.numCornersPerSection[s], row.corners);
            EXPECT_EQ(zone.numNodesPerCellPerSection[s], row.nodes[s]) << int(row.shape);
        }
    }
}

TEST(ZoneMetadata, DefaultsMarkEverythingUnset)
{
    ZoneMetadata const zone;
    EXPECT_EQ(zone.zone, -1);
    EXPECT_EQ(static_cast<int>(zone.zoneType), 255);
    EXPECT_EQ(zone.numDimensions, 0xFFFFFFFFU);
    EXPECT_EQ(zone.isHdqZone, 0);
    EXPECT_EQ(zone.ijk.i, 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(zone.ijk.j, 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(zone.ijk.k, 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(zone.faceNbrMode, 0);
    EXPECT_EQ(zone.solutionTime, 0);
    EXPECT_EQ(zone.strandID, 0xFFFFFFFFU);
    EXPECT_EQ(zone.parentZone, -1);
    EXPECT_EQ(zone.numPartitions, 0U);
    EXPECT_EQ(zone.numSections, 0U);
    EXPECT_EQ(zone.nodeMapFileLoc, -1);
    EXPECT_EQ(zone.userFaceNbrFileLoc, -1);
    EXPECT_TRUE(zone.numCellsPerSecPtn.isNull());
}

struct OneSectionCase
{
    char letter;
    std::uint8_t shape;
    std::uint32_t corners;
};

TEST(ZoneMetadata, TypesOneToFiveHaveOneSectionOfTheirShape)
{
    OneSectionCase const cases[] = {
        {'r', 1, 3}, {'q', 2, 4}, {'t', 3, 4}, {'b', 4, 8}, {'l', 0, 2}};
    for (OneSectionCase const& row : cases) {
        ReadZone const read(oneZone(row.letter, 100, 60, 6));
        EXPECT_EQ(read.zone.numSections, 1U);
        EXPECT_EQ(read.zone.numElemsPerSection[0], 60);
        EXPECT_EQ(read.zone.cellShapePerSection[0], row.shape);
        EXPECT_EQ(read.zone.gridOrderPerSection[0], 1);
        EXPECT_EQ(read.zone.basisFuncPerSection[0], 0);
        EXPECT_EQ(read.zone.numCornersPerSection[0], row.corners);
        EXPECT_EQ(read.zone.numNodesPerCellPerSection[0], row.corners);
    }
    for (char const letter : {'o', 'g', 'p'}) {
        ReadZone const read(oneZone(letter, 100, 60, 6));
        EXPECT_EQ(read.zone.numSections, 1U);
        EXPECT_TRUE(read.zone.numElemsPerSection.isNull());
        EXPECT_TRUE(read.zone.cellShapePerSection.isNull());
    }
}

TEST(ZoneMetadata, StoredZoneHasItsEntriesOfTheTable)
{
    FileSpec spec = oneZone('q', 100, 60, 240);
    spec.zones.insert(spec.zones.begin(), ZoneSpec{});
    ZoneSpec& zone = spec.zones[1];
    zone.name = "a name";
    zone.faceNbrMode = 2;
    zone.solutionTime = 0.5;
    zone.strandID = 3;
    zone.parentZone = 0;
    ReadZone const read(spec, 1);
    ZoneMetadata stored;
    storeZoneMetadata(read.table, 1, 10, stored);
    EXPECT_EQ(stored.zone, 1);
    EXPECT_EQ(stored.zoneType, ZoneType_FEQuad);
    EXPECT_EQ(stored.numDimensions, 2U);
    EXPECT_EQ(stored.isHdqZone, 0);
    EXPECT_EQ(stored.ijk.i, 100);
    EXPECT_EQ(stored.ijk.j, 60);
    EXPECT_EQ(stored.ijk.k, 240);
    EXPECT_EQ(stored.ijk.ij, 6000);
    EXPECT_EQ(stored.zoneName, "a name");
    EXPECT_EQ(stored.faceNbrMode, 2);
    EXPECT_EQ(stored.solutionTime, 0.5);
    EXPECT_EQ(stored.strandID, 3U);
    EXPECT_EQ(stored.parentZone, 10);
}

TEST(ZoneMetadata, ParentOfNoneIsShiftedToo)
{
    ReadZone const read(oneZone('o', 2, 2, 2));
    ZoneMetadata stored;
    storeZoneMetadata(read.table, 0, 10, stored);
    EXPECT_EQ(stored.parentZone, 9);
}

TEST(ZoneMetadata, SectionsAreStoredOnce)
{
    for (FileSpec const& spec : {oneZone('b', 8, 1, 6), mixedZone("106")}) {
        ReadZone const read(spec);
        ZoneMetadata stored;
        storeZoneMetadata(read.table, 0, 0, stored);
        EXPECT_THROW(storeZoneMetadata(read.table, 0, 0, stored), std::bad_alloc);
    }
}

// Plain zones.

TEST(ZoneHeader, PlainZoneHasTheLocationsOfItsVariables)
{
    for (FileSpec spec : inBothForms(oneZone('b', 8, 1, 6))) {
        spec.vars.resize(2);
        ReadZone const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.zone.isHdqZone, 0);
        EXPECT_EQ(read.zone.classicVarFileLocs[1], 1U << 20);
        EXPECT_TRUE(read.zone.numCellsPerSecPtn.isNull());
        EXPECT_EQ(read.zone.nodeMapFileLoc, 4711);
        EXPECT_EQ(read.zone.userFaceNbrFileLoc, -1);
        EXPECT_EQ(read.zone.numPartitions, 1U);
    }
}

TEST(ZoneHeader, AbsentNodeMapIsMinusOne)
{
    FileSpec spec = oneZone('b', 8, 1, 6);
    spec.zones[0].omittedTags = {1537, 1538, 1792};
    ReadZone const absent(spec);
    EXPECT_EQ(absent.zone.nodeMapFileLoc, -1);
    EXPECT_EQ(absent.zone.userFaceNbrFileLoc, -1);
    EXPECT_EQ(absent.zone.numPartitions, 1U);
    spec.zones[0].omittedTags.clear();
    spec.zones[0].forcedTags = {{1537, 0}, {1538, 17}};
    ReadZone const zero(spec);
    EXPECT_EQ(zero.zone.nodeMapFileLoc, -1);
    EXPECT_EQ(zero.zone.userFaceNbrFileLoc, 17);
}

TEST(ZoneHeader, PlainZoneIsReadAnewAtEachRequest)
{
    ReadZone read(oneZone('b', 8, 1, 6));
    EXPECT_TRUE(read.read());
    EXPECT_TRUE(read.read());
    EXPECT_EQ(read.zone.classicVarFileLocs[0], 1U << 20);
}

TEST(ZoneHeader, MissingArrayTagIsReported)
{
    FileSpec spec = oneZone('b', 8, 1, 6);
    spec.zones[0].omittedTags = {1536};
    ReadZone const read(spec);
    EXPECT_FALSE(read.result);
    EXPECT_EQ(read.message, "Missing zone header tag 'varFileLocs' for zone 1.");
    EXPECT_TRUE(read.zone.classicVarFileLocs.isNull());
}

TEST(ZoneHeader, ArrayTagOfZeroOrAllOnesIsReported)
{
    for (std::uint64_t const value : {std::uint64_t{0}, ALL_ONES}) {
        FileSpec spec = oneZone('b', 8, 1, 6);
        spec.zones.insert(spec.zones.begin(), ZoneSpec{});
        spec.zones[1].forcedTags = {{1536, value}};
        EXPECT_EQ(ReadZone(spec, 1).message,
                  "Invalid value for zone header tag 'varFileLocs' for zone 2");
    }
}

TEST(ZoneHeader, PartitionHeaderTagsAreReportedWithTheirPartition)
{
    for (std::uint64_t const value : {std::uint64_t{0}, ALL_ONES, std::uint64_t{5}}) {
        tests::FileBuilder file("105BF");
        std::uint64_t const start =
            value == 5 ? file.tagList({}) : file.tagList({{1536, "varFileLocs", value}});
        OpenFile open(file.file(0));
        open.reader.seekToFileLoc(start);
        ZoneMetadata zone;
        zone.numPartitions = 2;
        zone.zoneType = ZoneType_Ordered;
        PartitionMetadata partition;
        EXPECT_FALSE(
            readPartitionHeader(open.reader, FileDescription(), 0, 0, 1, 1, zone, {}, partition));
        EXPECT_EQ(open.message(),
                  value == 5
                      ? "Missing partition header tag 'varFileLocs' for partition 2 of zone 1."
                      : "Invalid value for partition header tag 'varFileLocs' for partition 2 of "
                        "zone 1.");
    }
}

TEST(ZoneHeader, TextHeaderBeginsWithItsMarkers)
{
    FileSpec spec = oneZone('b', 8, 1, 6);
    spec.isAscii = true;
    std::string const bytes = build(spec);
    std::string wrongMarker = bytes;
    wrongMarker[bytes.find("33752069")] = '9';
    EXPECT_EQ(ReadZone(wrongMarker).message,
              "Expected value mismatch for 4-byte unsigned integer zoneMarker* (expecting 33752069 "
              " , found 93752069  ).");
    std::string wrongZone = bytes;
    wrongZone[bytes.find("zoneNum* ") + 42] = '2';
    EXPECT_EQ(ReadZone(wrongZone).message,
              "Expected value mismatch for 4-byte unsigned integer zoneNum* (expecting 1         , "
              "found 2         ).");
}

TEST(ZoneHeader, WordsWithoutAZoneAreAcceptedToo)
{
    FileSpec spec = oneZone('B', 300, 260, 6);
    spec.isAscii = true;
    std::string bytes = build(spec);
    for (char const* word : {"cszConnFileLocs", "nszConnFileLocs", "cszNumRefNszs"}) {
        std::size_t const at = bytes.find(word + std::string("ForZone1"));
        bytes.replace(at + std::strlen(word), 8, "        ");
    }
    ReadZone const read(bytes);
    EXPECT_TRUE(read.result) << read.message;
}

// Zones of one partition.

TEST(ZoneHeader, FiniteElementZoneIsCutIntoRunsOf256)
{
    for (FileSpec spec : inBothForms(oneZone('B', 513, 256, 6))) {
        spec.limits[3] = 100; // the file's limit makes no difference
        ReadZone const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.zone.isHdqZone, 1);
        EXPECT_EQ(read.zone.numNodesPerPtn[0], 513);
        EXPECT_EQ(read.zone.firstNodePerPtn[0], 0);
        EXPECT_EQ(read.zone.numNszsPerPtn[0], 3U);
        EXPECT_EQ(read.zone.numCellsPerSecPtn[0][0], 256);
        EXPECT_EQ(read.zone.firstCellPerSecPtn[0][0], 0);
        EXPECT_EQ(read.zone.numCszsPerSecPtn[0][0], 1U);
        EXPECT_TRUE(read.zone.ijkPtnInfo.isNull());
        EXPECT_TRUE(read.zone.ptnMinIJK.isNull());
    }
}

TEST(ZoneHeader, FirstCellOfASectionAddsItsOwnCount)
{
    for (char const* version : {"106", "232"})
        for (FileSpec const& spec : inBothForms(mixedZone(version))) {
            ReadZone const read(spec);
            ASSERT_TRUE(read.result) << read.message;
            ASSERT_EQ(read.zone.firstCellPerSecPtn.size(), 3U);
            EXPECT_EQ(read.zone.firstCellPerSecPtn[0][0], 0);
            EXPECT_EQ(read.zone.firstCellPerSecPtn[1][0], 200);
            EXPECT_EQ(read.zone.firstCellPerSecPtn[2][0], 500);
            EXPECT_EQ(read.zone.numCellsPerSecPtn[2][0], 300);
            EXPECT_EQ(read.zone.numCszsPerSecPtn[2][0], 2U);
        }
}

TEST(ZoneHeader, MixedZoneWithoutSectionsCanBeReadAgain)
{
    FileSpec spec = mixedZone("106");
    spec.zones[0].sections.clear();
    ReadZone read(spec);
    EXPECT_TRUE(read.result) << read.message;
    EXPECT_TRUE(read.read()) << read.file.message();
    EXPECT_TRUE(read.zone.numCellsPerSecPtn.isNull());
}

TEST(ZoneHeader, OrderedZoneIsOnePartition)
{
    for (FileSpec spec : inBothForms(oneZone('O', 13, 7, 1))) {
        spec.limits[2] = 4;
        ReadZone const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.zone.numNodesPerPtn[0], 91);
        EXPECT_EQ(read.zone.numCellsPerSecPtn[0][0], 72);
        EXPECT_EQ(read.zone.firstNodePerPtn[0], 0);
        EXPECT_EQ(read.zone.firstCellPerSecPtn[0][0], 0);
        EXPECT_EQ(read.zone.ptnMinIJK[0].i, 0);
        EXPECT_EQ(read.zone.ptnMinIJK[0].ij, 0);
        EXPECT_EQ(read.zone.ptnMaxIJK[0].i, 12);
        EXPECT_EQ(read.zone.ptnMaxIJK[0].j, 6);
        EXPECT_EQ(read.zone.ptnMaxIJK[0].k, 0);
        EXPECT_EQ(read.zone.ptnMaxIJK[0].ij, 72);
        IJKZoneInfo const& info = read.zone.ijkPtnInfo[0];
        EXPECT_EQ(info.cells.dims.i, 12);
        EXPECT_EQ(info.cells.dims.k, 1);
        EXPECT_EQ(info.cells.dims.ij, 72);
        EXPECT_EQ(info.nodes.dims.ij, 91);
        EXPECT_EQ(info.nodes.maxSubzoneDims.k, 4);
        EXPECT_EQ(info.nodes.partition, 0U);
        EXPECT_EQ(info.nodes.numSubzones[0], 3U);
        EXPECT_EQ(info.nodeSubzones, std::vector<std::uint32_t>(91, 0xFFFFFFF));
        EXPECT_EQ(read.zone.numNszsPerPtn[0], 3 * 2 * 1U);
        EXPECT_EQ(read.zone.numCszsPerSecPtn[0][0], 3 * 2 * 1U);
        EXPECT_EQ(read.zone.ptnRTree, nullptr);
    }
}

TEST(ZoneHeader, OrderedPointHasOneCell)
{
    ReadZone const read(oneZone('O', 1, 1, 1));
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.zone.numCellsPerSecPtn[0][0], 1);
    EXPECT_EQ(read.zone.numNodesPerPtn[0], 1);
}

TEST(ZoneHeader, TreesHoldTheRangeOfTheZone)
{
    FileSpec spec = oneZone('O', 3, 3, 3);
    spec.vars = {{"a", 1, 1, 0, -1, {-1, 2}}, {"b", 1, 1, 0, -1, {3, 4}}};
    ReadZone const read(spec);
    ASSERT_EQ(read.zone.varMinMaxTrees.size(), 2U);
    for (std::size_t level = 0; level < 5; ++level) {
        EXPECT_EQ(read.zone.varMinMaxTrees[1].levels[level][0].min, 3);
        EXPECT_EQ(read.zone.varMinMaxTrees[1].levels[level][0].max, 4);
    }
}

struct TypeCase
{
    std::uint8_t type;
    std::uint64_t binaryPair;
    std::uint64_t textPair;
};

TypeCase const typeCases[] = {{1, 8, 33}, {2, 16, 49}, {3, 8, 25}, {4, 4, 15},
                              {5, 2, 9},  {6, 2, 9},   {7, 0, 0},  {0, 0, 0}};

std::uint64_t arraySize(std::uint64_t pair, std::uint64_t count, bool isAscii)
{
    return pair == 0 || count == 0 ? 0 : pair * count + (isAscii ? 42 : 0);
}

TEST(ZoneHeader, BlocksOfAVariableFollowEachOther)
{
    for (TypeCase const& row : typeCases)
        for (FileSpec spec : inBothForms(oneZone('B', 600, 300, 6))) {
            spec.vars[0].type = row.type;
            ReadZone const read(spec);
            ASSERT_TRUE(read.result) << read.message;
            std::uint64_t const pair = spec.isAscii ? row.textPair : row.binaryPair;
            PartitionMetadata const& partition = read.zone.ptnMetadata[0];
            EXPECT_EQ(partition.varFileLocs[0], 1U << 20);
            EXPECT_EQ(partition.varCszMinMaxFileLocs[0] - partition.varFileLocs[0],
                      arraySize(pair, 3, spec.isAscii));
            EXPECT_EQ(partition.varDataFileLocs[0] - partition.varCszMinMaxFileLocs[0],
                      arraySize(pair, 2, spec.isAscii));
        }
}

TEST(ZoneHeader, BadVariableLocationsEndAsOutOfMemory)
{
    FileSpec spec = oneZone('B', 300, 260, 6);
    spec.zones[0].omittedTags = {1536};
    ReadZone const read(spec);
    EXPECT_EQ(read.message, "Missing zone header tag 'varFileLocs' for zone 1. Out-of-memory error "
                            "while reading HDQ zone 1 header.");
    EXPECT_TRUE(read.zone.numCellsPerSecPtn.isNull());
    EXPECT_TRUE(read.zone.numNodesPerPtn.isNull());
    EXPECT_TRUE(read.zone.varMinMaxTrees.isNull());
    EXPECT_TRUE(read.zone.ptnMetadata.isNull());
}

TEST(ZoneHeader, ConnectivityLocationsAreReadSectionBySection)
{
    for (FileSpec const& spec : inBothForms(mixedZone("106"))) {
        ReadZone const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        PartitionMetadata const& partition = read.zone.ptnMetadata[0];
        ASSERT_EQ(partition.cszConnFileLocs.size(), 3U);
        EXPECT_EQ(partition.cszConnFileLocs[0].size(), 1U);
        EXPECT_EQ(partition.cszConnFileLocs[2].size(), 2U);
        EXPECT_EQ(partition.cszConnFileLocs[2][1], 5000U);
        EXPECT_EQ(partition.nszConnFileLocs.size(), 4U);
        EXPECT_EQ(partition.nszConnFileLocs[3], 6000U);
        EXPECT_EQ(partition.cszNumRefNszs[2][1], 3);
        EXPECT_EQ(partition.nszNumRefCszs[3], 4);
    }
}

TEST(ZoneHeader, Version104HasNoReferenceCounts)
{
    FileSpec spec = oneZone('T', 300, 260, 6);
    spec.version = "104";
    ReadZone const read(spec);
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.zone.ptnMetadata[0].nszConnFileLocs.size(), 2U);
    EXPECT_TRUE(read.zone.ptnMetadata[0].cszNumRefNszs.isNull());
    EXPECT_TRUE(read.zone.ptnMetadata[0].nszNumRefCszs.isNull());
}

TEST(ZoneHeader, FlatZonesAndSolutionFilesReadNoConnectivity)
{
    FileSpec solution = oneZone('B', 300, 260, 6);
    solution.type = 'S';
    for (FileSpec spec : {oneZone('Q', 300, 260, 4), oneZone('R', 300, 260, 3),
                          oneZone('L', 300, 260, 2), oneZone('P', 300, 260, 9), solution}) {
        ReadZone const read(spec);
        EXPECT_TRUE(read.result) << read.message;
        EXPECT_TRUE(read.zone.ptnMetadata[0].nszConnFileLocs.isNull());
    }
}

TEST(ZoneHeader, ZoneMayAgreeToHaveNoConnectivity)
{
    FileSpec spec = mixedZone("106");
    spec.zones[0].hasConnectivity = false;
    ReadZone const read(spec);
    EXPECT_TRUE(read.result) << read.message;
    EXPECT_TRUE(read.zone.ptnMetadata[0].cszConnFileLocs.isNull());
}

TEST(ZoneHeader, DisagreementAboutConnectivityIsReported)
{
    for (std::uint16_t tag = 1280; tag <= 1795; ++tag) {
        if (tag != 1280 && tag != 1281 && tag != 1285 && tag != 1286 && tag != 1795)
            continue;
        FileSpec spec = mixedZone("106");
        spec.zones[0].hasConnectivity = false;
        spec.zones[0].omittedTags = {tag};
        ReadZone const read(spec);
        EXPECT_FALSE(read.result) << tag;
        EXPECT_EQ(read.message, "Connectivity integrity error while reading HDQ zone 1 header.");
        EXPECT_TRUE(read.zone.numCellsPerSecPtn.isNull());
        spec.zones[0].omittedTags.clear();
        spec.zones[0].forcedTags = {{tag, 5000}};
        EXPECT_FALSE(ReadZone(spec).result) << tag;
    }
}

TEST(ZoneHeader, ZoneThatIsNotMixedAsksForFewerTags)
{
    FileSpec spec = oneZone('T', 300, 260, 6);
    spec.zones[0].hasConnectivity = false;
    spec.zones[0].omittedTags = {1795};
    for (char const* version : {"105", "106", "232"}) {
        spec.version = version;
        EXPECT_TRUE(ReadZone(spec).result) << version;
    }
    spec.version = "104";
    spec.zones[0].omittedTags = {1795, 1285, 1286};
    EXPECT_TRUE(ReadZone(spec).result);
}

TEST(ZoneHeader, MixedZoneOfAnEarlierVersionHasItsCellsInItsFirstSection)
{
    FileSpec spec = mixedZone("106");
    spec.zones[0].hasConnectivity = false;
    spec.zones[0].omittedTags = {1795}; // which only later ones have
    ReadZone read(spec);
    EXPECT_FALSE(read.result);
    read.description.setFileVersion(105);
    ASSERT_TRUE(read.read()) << read.file.message();
    EXPECT_EQ(read.zone.numCellsPerSecPtn[0][0], 600);
    EXPECT_EQ(read.zone.numCszsPerSecPtn[0][0], 3U);
    EXPECT_EQ(read.zone.numCellsPerSecPtn[1][0], 0);
    EXPECT_EQ(read.zone.firstCellPerSecPtn[2][0], 0);
}

TEST(ZoneHeader, MixedZoneOfFacesReadsNoConnectivity)
{
    FileSpec spec = mixedZone("232");
    spec.zones[0].sections = {{300, 2}, {300, 1}};
    ReadZone const whole(spec);
    ASSERT_TRUE(whole.result) << whole.message;
    EXPECT_EQ(whole.zone.numDimensions, 2U);
    EXPECT_TRUE(whole.zone.ptnMetadata[0].nszConnFileLocs.isNull());
    EXPECT_TRUE(whole.zone.ptnMetadata[0].cszConnFileLocs.isNull());
    spec.zones[0].partitions = {{0, 0, 500, {100, 200}}, {0, 0, 500, {200, 100}}};
    EXPECT_EQ(ReadZone(spec).message, // of boxes, and not of counts
              "Missing zone header tag 'partitionMinNodeNumbers' for zone 1.");
}

/// The entry of a variable and a zone behind those of another file.
template <typename T>
LightweightVector<LightweightVector<T>> behindAnotherFile(std::vector<std::vector<T>> const& rows)
{
    LightweightVector<LightweightVector<T>> result;
    EXPECT_TRUE(result.alloc(rows.size()));
    for (std::size_t v = 0; v < rows.size(); ++v) {
        EXPECT_TRUE(result[v].alloc(rows[v].size()));
        std::copy(rows[v].begin(), rows[v].end(), result[v].begin());
    }
    return result;
}

TEST(ZoneHeader, OffsetsLeadIntoTheTablesOfAllFiles)
{
    VarZoneMinMaxes const ranges = behindAnotherFile<MinMax>({{{0, 1}, {0, 2}}, {{0, 3}, {0, 4}}});
    VarZoneTypes const types = behindAnotherFile<std::uint8_t>({{5, 5}, {2, 4}});
    ReadZone read(oneZone('B', 600, 300, 6));
    ASSERT_TRUE(read.file.reader.seekToFileLoc(read.headerLocs[0]));
    ASSERT_TRUE(
        readZoneHeaders(read.file.reader, read.description, 1, 0, 1, 1, ranges, types, read.zone));
    EXPECT_EQ(read.zone.varMinMaxTrees[0].levels[0][0].max, 4);
    // The blocks of a variable are of the type at the zone's own place in its file.
    PartitionMetadata const& partition = read.zone.ptnMetadata[0];
    EXPECT_EQ(partition.varCszMinMaxFileLocs[0] - partition.varFileLocs[0], 3 * 16U);
}

TEST(ZoneHeader, BlocksOfAVariableAreOfItsTypeInTheZone)
{
    FileSpec spec;
    spec.zones.assign(2, spec.zones[0]);
    ReadZone read(spec, 1);
    VarZoneTypes const types = behindAnotherFile<std::uint8_t>({{1, 2}});
    ASSERT_TRUE(read.file.reader.seekToFileLoc(read.headerLocs[1]));
    ASSERT_TRUE(readZoneHeaders(read.file.reader, read.description, 0, 1, 0, 1,
                                read.table.zoneMinMaxes, types, read.zone));
    PartitionMetadata const& partition = read.zone.ptnMetadata[0];
    EXPECT_EQ(partition.varCszMinMaxFileLocs[0] - partition.varFileLocs[0],
              read.zone.numNszsPerPtn[0] * 16U);
}

// Partitioned zones.

PartitionSpec volumePartition(std::uint64_t nodes, std::vector<std::uint64_t> const& cells)
{
    PartitionSpec partition;
    partition.numNodes = nodes;
    partition.numCells = cells;
    return partition;
}

FileSpec partitionedBricks(std::string const& version)
{
    FileSpec spec = oneZone('B', 1000, 700, 6);
    spec.version = version;
    spec.zones[0].partitions = {volumePartition(600, {400}), volumePartition(256, {257}),
                                volumePartition(144, {0})};
    return spec;
}

TEST(ZoneHeader, PartitionedVolumeHasItsCountsAndTotals)
{
    for (char const* version : {"105", "231", "232"})
        for (FileSpec const& spec : inBothForms(partitionedBricks(version))) {
            ReadZone const read(spec);
            ASSERT_TRUE(read.result) << read.message;
            ZoneMetadata const& zone = read.zone;
            EXPECT_EQ(zone.numPartitions, 3U);
            EXPECT_EQ(zone.ptnFileNums[2], 0U);
            EXPECT_EQ(zone.ptnFileLocs[2], 7000U);
            EXPECT_EQ(zone.numCellsPerSecPtn[0][1], 257);
            EXPECT_EQ(zone.numCszsPerSecPtn[0][0], 2U);
            EXPECT_EQ(zone.numCszsPerSecPtn[0][1], 2U);
            EXPECT_EQ(zone.numCszsPerSecPtn[0][2], 0U);
            EXPECT_EQ(zone.firstCellPerSecPtn[0][2], 657);
            EXPECT_EQ(zone.numNodesPerPtn[0], 600);
            EXPECT_EQ(zone.numNszsPerPtn[0], 3U);
            EXPECT_EQ(zone.numNszsPerPtn[1], 1U);
            EXPECT_EQ(zone.firstNodePerPtn[2], 856);
            EXPECT_EQ(zone.ptnMetadata.size(), 3U);
            EXPECT_TRUE(zone.ptnMetadata[0].varFileLocs.isNull());
            EXPECT_EQ(zone.ptnRTree, nullptr);
        }
}

TEST(ZoneHeader, FirstCellsRunThroughPartitionsAndInsideThroughSections)
{
    FileSpec spec = mixedZone("232");
    spec.zones[0].partitions = {volumePartition(400, {10, 20, 30}),
                                volumePartition(600, {90, 180, 270})};
    for (FileSpec const& form : inBothForms(spec)) {
        ReadZone const read(form);
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.zone.firstCellPerSecPtn[0][0], 0);
        EXPECT_EQ(read.zone.firstCellPerSecPtn[1][0], 10);
        EXPECT_EQ(read.zone.firstCellPerSecPtn[2][0], 30);
        EXPECT_EQ(read.zone.firstCellPerSecPtn[0][1], 60);
        EXPECT_EQ(read.zone.firstCellPerSecPtn[2][1], 330);
        EXPECT_EQ(read.zone.numCellsPerSecPtn[2][1], 270);
    }
}

TEST(ZoneHeader, NodesOfVolumePartitionsMustAddUp)
{
    FileSpec spec = partitionedBricks("105");
    spec.zones[0].partitions[1].numNodes = 255;
    ReadZone const read(spec);
    EXPECT_FALSE(read.result);
    EXPECT_EQ(read.message, "Mismatch of number of nodes between zone and partitions in "
                            "partitioned zone 1.");
    EXPECT_TRUE(read.zone.numCellsPerSecPtn.isNull());
    EXPECT_TRUE(read.zone.ptnMetadata.isNull());
}

PartitionSpec box(std::uint64_t minNode, std::uint64_t maxNode)
{
    PartitionSpec partition;
    partition.minNode = minNode;
    partition.maxNode = maxNode;
    return partition;
}

/// 5 x 4 x 3 nodes, cut behind i = 2.
FileSpec partitionedOrdered()
{
    FileSpec spec = oneZone('O', 5, 4, 3);
    spec.limits[0] = 2;
    spec.zones[0].partitions = {box(0, 57), box(3, 59)};
    return spec;
}

TEST(ZoneHeader, PartitionedOrderedZoneIsCutIntoBoxes)
{
    for (FileSpec const& spec : inBothForms(partitionedOrdered())) {
        ReadZone const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        ZoneMetadata const& zone = read.zone;
        EXPECT_EQ(zone.ptnMinIJK[1].i, 3);
        EXPECT_EQ(zone.ptnMinIJK[1].ij, 0);
        EXPECT_EQ(zone.ptnMaxIJK[0].i, 2);
        EXPECT_EQ(zone.ptnMaxIJK[0].j, 3);
        EXPECT_EQ(zone.ptnMaxIJK[0].k, 2);
        EXPECT_EQ(zone.ptnMaxIJK[0].ij, 6);
        // The second one reaches the last index of each axis.
        EXPECT_EQ(zone.ijkPtnInfo[0].nodes.dims.ij, 12);
        EXPECT_EQ(zone.ijkPtnInfo[0].cells.dims.i, 3);
        EXPECT_EQ(zone.ijkPtnInfo[0].cells.dims.j, 3);
        EXPECT_EQ(zone.ijkPtnInfo[1].cells.dims.i, 1);
        EXPECT_EQ(zone.ijkPtnInfo[1].cells.dims.k, 2);
        EXPECT_EQ(zone.ijkPtnInfo[1].cells.partition, 1U);
        EXPECT_TRUE(zone.ijkPtnInfo[1].nodeSubzones.empty());
        EXPECT_EQ(zone.ijkPtnInfo[0].nodes.numSubzones[0], 2U);
        EXPECT_EQ(zone.ijkPtnInfo[1].nodes.subzoneOffset[0], 0U);
        EXPECT_EQ(zone.numNodesPerPtn[0], 36);
        EXPECT_EQ(zone.numNodesPerPtn[1], 24);
        EXPECT_EQ(zone.numCellsPerSecPtn[0][0], 18);
        EXPECT_EQ(zone.numCellsPerSecPtn[0][1], 6);
        EXPECT_EQ(zone.firstNodePerPtn[1], 36);
        EXPECT_EQ(zone.firstCellPerSecPtn[0][1], 18);
        EXPECT_EQ(zone.numNszsPerPtn[0], 2U);
        EXPECT_EQ(zone.numCszsPerSecPtn[0][1], 1U);
        ASSERT_NE(zone.ptnRTree, nullptr);
        EXPECT_EQ(zone.ptnRTree->size(), 2U);
        for (auto const& [partitionBox, partition] : *zone.ptnRTree) {
            EXPECT_EQ(partitionBox.min_corner().get<0>(), zone.ptnMinIJK[partition].i);
            EXPECT_EQ(partitionBox.min_corner().get<2>(), 0);
            EXPECT_EQ(partitionBox.max_corner().get<0>(), zone.ptnMaxIJK[partition].i);
            EXPECT_EQ(partitionBox.max_corner().get<1>(), 3);
            EXPECT_EQ(partitionBox.max_corner().get<2>(), 2);
        }
    }
}

TEST(ZoneHeader, SubzonesOfPartitionsThatTheirLimitDividesAreNotShifted)
{
    FileSpec spec = partitionedOrdered();
    spec.limits[0] = 3;
    ReadZone const read(spec);
    ASSERT_TRUE(read.result) << read.message;
    for (IJKSubzoneInfo const& info :
         {read.zone.ijkPtnInfo[0].cells, read.zone.ijkPtnInfo[0].nodes}) {
        EXPECT_EQ(info.dims.i, 3);
        EXPECT_EQ(info.numSubzones[0], 1U);
        EXPECT_EQ(info.subzoneOffset[0], 0U);
    }
}

TEST(ZoneHeader, PartitionMinMaxesStepByTheTypesBehindBothOffsets)
{
    ReadZone read(partitionedOrdered());
    ASSERT_TRUE(read.result) << read.message;
    VarZoneMinMaxes const ranges = behindAnotherFile<MinMax>({{{0, 1}, {0, 2}}, {{0, 3}, {0, 4}}});
    VarZoneTypes const types = behindAnotherFile<std::uint8_t>({{5, 5}, {1, 1}, {1, 2}});
    ASSERT_TRUE(read.file.reader.seekToFileLoc(read.headerLocs[0]));
    ASSERT_TRUE(
        readZoneHeaders(read.file.reader, read.description, 1, 0, 1, 2, ranges, types, read.zone));
    EXPECT_EQ(read.zone.varPtnMinMaxFileLocs[1] - read.zone.varPtnMinMaxFileLocs[0], 2 * 16U);
}

TEST(ZoneHeader, CellMismatchOfPartitionsSaysMismatched)
{
    FileSpec spec = partitionedOrdered();
    spec.zones[0].partitions[1] = box(4, 59);
    ReadZone const read(spec);
    EXPECT_FALSE(read.result);
    EXPECT_EQ(read.message, "Mismatched of number of cells between zone and partitions in "
                            "partitioned zone 1.");
    EXPECT_EQ(read.zone.ptnRTree, nullptr);
    EXPECT_TRUE(read.zone.ijkPtnInfo.isNull());
}

TEST(ZoneHeader, NodeMismatchOfBoxesIsReported)
{
    // The cells of the last layer in I count nothing, its nodes do.
    FileSpec spec = partitionedOrdered();
    spec.zones[0].partitions = {box(0, 58)};
    spec.zones[0].partitions.push_back(box(4, 39)); // i = 4 in the lower two layers
    ReadZone const read(spec);
    EXPECT_EQ(read.message, "Mismatched of number of nodes between zone and partitions in "
                            "partitioned zone 1.");
}

TEST(ZoneHeader, FlatPartitionedZoneHasNoCellsAndIsRefused)
{
    FileSpec spec = oneZone('O', 5, 4, 1);
    spec.zones[0].partitions = {box(0, 17), box(3, 19)};
    EXPECT_EQ(ReadZone(spec).message, "Mismatched of number of cells between zone and partitions "
                                      "in partitioned zone 1.");
}

TEST(ZoneHeader, PartitionedLineIsSplitByItsNodesAndCells)
{
    // 100 nodes and 99 cells; faces don't count.
    for (std::uint64_t const faces : {std::uint64_t{0}, std::uint64_t{2}, ALL_ONES << 63}) {
        FileSpec spec = oneZone('L', 100, 99, faces);
        spec.zones[0].partitions = {box(0, 39), box(40, 99)};
        ReadZone const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.zone.numNodesPerPtn[1], 60);
        EXPECT_EQ(read.zone.numCellsPerSecPtn[0][0], 40);
        EXPECT_EQ(read.zone.numCellsPerSecPtn[0][1], 59);
    }
}

TEST(ZoneHeader, PartitionedLineOfOneFaceLosesItsCells)
{
    // Its faces are its last index in K, which costs a layer of cells, the only one.
    FileSpec spec = oneZone('L', 100, 99, 1);
    spec.zones[0].partitions = {box(0, 39), box(40, 99)};
    EXPECT_EQ(ReadZone(spec).message, "Mismatched of number of cells between zone and partitions "
                                      "in partitioned zone 1.");
}

TEST(ZoneHeader, BoxThatLeavesItsZoneIsRefused)
{
    PartitionSpec const bad[] = {box(59, 0),
                                 box(3, 60),
                                 box(3, ALL_ONES),
                                 box(ALL_ONES - 3, 59),
                                 box(0x8000000000000000, 59),
                                 box(0, 0x7FFFFFFFFFFFFFFF)};
    for (PartitionSpec const& partition : bad) {
        FileSpec spec = partitionedOrdered();
        spec.zones[0].partitions[1] = partition;
        EXPECT_EQ(ReadZone(spec).message, "Partition 2 of zone 1 is no box inside its zone.");
        FileSpec line = oneZone('L', 1, 1, 0);
        line.zones[0].partitions = {box(0, 0), partition};
        EXPECT_FALSE(ReadZone(line).result);
    }
}

TEST(ZoneHeader, PartitionedZoneOfNoSizeIsRefused)
{
    for (char const letter : {'O', 'L'})
        for (auto const& [i, j] : {std::pair{0, 4}, std::pair{4, 0}}) {
            FileSpec spec =
                oneZone(letter, static_cast<std::uint64_t>(i), static_cast<std::uint64_t>(j), 3);
            spec.zones[0].partitions = {box(0, 0), box(0, 0)};
            EXPECT_EQ(ReadZone(spec).message, "Zone 1 is partitioned and has a size of " +
                                                  std::to_string(i) + " x " + std::to_string(j) +
                                                  " x 3.");
        }
}

TEST(ZoneHeader, PartitionMinMaxesStepByTheVariablesOwnType)
{
    for (FileSpec spec : inBothForms(partitionedOrdered())) {
        spec.vars.clear();
        for (TypeCase const& row : typeCases)
            spec.vars.push_back({"v", row.type});
        ReadZone const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        for (std::size_t v = 1; v < spec.vars.size(); ++v) {
            TypeCase const& row = typeCases[v];
            EXPECT_EQ(read.zone.varPtnMinMaxFileLocs[v] - read.zone.varPtnMinMaxFileLocs[v - 1],
                      arraySize(spec.isAscii ? row.textPair : row.binaryPair, 2, spec.isAscii));
        }
        EXPECT_EQ(read.zone.varMinMaxTrees.size(), spec.vars.size());
        EXPECT_TRUE(read.zone.varMinMaxTrees[0].levels.isNull());
    }
}

struct PartitionTagCase
{
    std::uint16_t tag;
    char const* name;
    bool isVolume;
};

PartitionTagCase const partitionTagCases[] = {
    {1793, "partitionFileNums", true},        {1794, "partitionFileLocs", true},
    {1795, "partitionNumCells", true},        {1796, "partitionNumNodes", true},
    {1797, "partitionMinMaxes", true},        {1798, "partitionMinNodeNumbers", false},
    {1799, "partitionMaxNodeNumbers", false}, {1797, "partitionMinMaxes", false}};

TEST(ZoneHeader, EveryTagOfAPartitionedZoneMustBeThere)
{
    for (PartitionTagCase const& row : partitionTagCases) {
        FileSpec spec = row.isVolume ? partitionedBricks("105") : partitionedOrdered();
        spec.zones[0].omittedTags = {row.tag};
        ReadZone const missing(spec);
        EXPECT_FALSE(missing.result);
        EXPECT_EQ(missing.message,
                  std::string("Missing zone header tag '") + row.name + "' for zone 1.");
        spec.zones[0].omittedTags.clear();
        spec.zones[0].forcedTags = {{row.tag, 0}};
        ReadZone invalid(spec);
        EXPECT_EQ(invalid.message,
                  std::string("Invalid value for zone header tag '") + row.name + "' for zone 1");
        EXPECT_FALSE(invalid.read()); // and a repeat finds nothing in its way
        EXPECT_EQ(invalid.file.message(), invalid.message + " " + invalid.message);
    }
}

TEST(ZoneHeader, LocationsOfPartitionsAreNotLookedAt)
{
    FileSpec spec = partitionedBricks("105");
    std::string bytes = build(spec);
    std::uint64_t const location = 7000;
    std::string const pattern(reinterpret_cast<char const*>(&location), 8);
    std::size_t const at = bytes.find(pattern + pattern);
    bytes.replace(at, 8, 8, '\0');
    ReadZone const read(bytes);
    EXPECT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.zone.ptnFileLocs[0], 0U);
}

// Sizes that are too large for the file.

TEST(ZoneHeader, MorePartitionsThanTheFileCanHoldAreRefused)
{
    FileSpec spec = partitionedBricks("105");
    spec.zones[0].forcedTags = {{1792, 1000000}};
    EXPECT_EQ(ReadZone(spec).message,
              "The file is too short for the 1000000 partitions of zone 1.");
    spec.zones[0].forcedTags = {{1792, 0x100000003}};
    EXPECT_EQ(ReadZone(spec).message,
              "Zone 1 claims 4294967299 partitions, more than there can be.");
}

TEST(ZoneHeader, MoreSubzonesThanTheFileCanHoldAreRefused)
{
    constexpr std::uint64_t HUGE_SIZE = std::uint64_t{1} << 40;
    constexpr std::uint64_t LARGEST = 0x7FFFFFFFFFFFFFFF;
    std::uint64_t const sizes[][3] = {{6'300'000, 1, 1},         {HUGE_SIZE, HUGE_SIZE, HUGE_SIZE},
                                      {HUGE_SIZE, 0, HUGE_SIZE}, {HUGE_SIZE, HUGE_SIZE, 0},
                                      {0, HUGE_SIZE, HUGE_SIZE}, {ALL_ONES, 1, 1},
                                      {1, 1, ALL_ONES},          {HUGE_SIZE, 1, 1},
                                      {1, LARGEST, 1},           {LARGEST, 1, 1},
                                      {1, 1, LARGEST},           {1 << 12, 1 << 12, 1 << 13}};
    for (auto const& size : sizes) {
        ReadZone const read(oneZone('O', size[0], size[1], size[2]));
        EXPECT_FALSE(read.result);
        EXPECT_EQ(read.message.substr(0, 30), "The file is too short for the ");
        EXPECT_TRUE(read.zone.ijkPtnInfo.isNull());
    }
}

TEST(ZoneHeader, ZoneWithoutValuesMayHaveMoreNodesThanItsFileHasBytes)
{
    FileSpec spec = oneZone('O', 300, 200, 100);
    spec.vars[0].isPassive = 1;
    for (FileSpec const& form : inBothForms(spec)) {
        ReadZone const read(form);
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.zone.numNodesPerPtn[0], 6'000'000);
        EXPECT_EQ(read.zone.numNszsPerPtn[0], 51U * 34 * 17);
        EXPECT_TRUE(read.zone.ijkPtnInfo[0].nodeSubzones.empty());
    }
    spec.zones[0].k = 17; // few enough for a node table
    EXPECT_EQ(ReadZone(spec).zone.ijkPtnInfo[0].nodeSubzones.size(), 300U * 200 * 17);
}

TEST(ZoneHeader, ItemsBeyondWhatSubzonesCanHoldAreRefused)
{
    for (FileSpec spec :
         {oneZone('B', std::uint64_t{1} << 37, 1, 6), oneZone('B', 8, std::uint64_t{1} << 37, 6),
          oneZone('B', ALL_ONES, 1, 6), oneZone('B', 8, ALL_ONES, 6)}) {
        spec.zones[0].hasConnectivity = false;
        ReadZone const read(spec);
        EXPECT_FALSE(read.result);
        EXPECT_EQ(read.message, "Zone 1 has more nodes or cells than subzones can hold.");
    }
}

TEST(ZoneHeader, EmptyOrderedZoneIsNoFault)
{
    ReadZone const read(oneZone('O', 0, 0, 0));
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.zone.numNodesPerPtn[0], 0);
    EXPECT_EQ(read.zone.numNszsPerPtn[0], 1U);
}

TEST(HeaderBudget, FileThatCantTellWhereItIsHasClaimedNothing)
{
    FileStreamReader closed("nowhere");
    EXPECT_EQ(bytesSince(closed, 10), 0U);
}

}
}
