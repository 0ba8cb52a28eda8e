#include "filedata/PartitionHeader.h"

#include "tests/filedata/FileBuilder.h"
#include "tests/filedata/OpenFile.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace varnox::hdqio {
namespace {

using tests::ALL_ONES;
using tests::FileBuilder;
using tests::OpenFile;

/// What partition 1 of two of a mixed zone of three sections is to have; the second section has no
/// cells in it.
struct HeaderSpec
{
    std::string version = "106BF";
    ZoneType_e type = ZoneType_FEMixed;
    std::uint64_t numRefPartitions = 2;
    std::vector<std::uint64_t> varFileLocs = {5000, ALL_ONES, 6000};
    std::map<std::uint16_t, std::uint64_t> forcedTags{};
    std::set<std::uint16_t> omittedTags{};
    std::string suffix = "ForZone1Partition2"; ///< Of the words of arrays.
    std::uint32_t marker = 0x15161718;
    std::uint32_t partitionNumber = 2;
};

constexpr std::uint32_t NUM_CSZS[] = {9, 0, 1};
constexpr std::uint32_t NUM_NSZS = 10;

class HeaderBuilder
{
public:
    explicit HeaderBuilder(HeaderSpec const& spec) : m_spec(spec), m_file(spec.version) {}

    std::string build(std::uint64_t& start)
    {
        add<std::uint64_t, true>(1281, "cszConnFileLocs",
                                 {sequence<std::uint64_t>(1000, 9), {9000}});
        add<std::uint64_t, true>(1280, "nszConnFileLocs",
                                 {sequence<std::uint64_t>(2000, NUM_NSZS)});
        m_tags.push_back({1283, "numRefPartitions", m_spec.numRefPartitions});
        add<std::uint32_t>(1284, "refPartitions", {{40, 41}});
        add<std::uint16_t>(1285, "cszNumRefNszs", {sequence<std::uint16_t>(300, 9), {77}});
        add<std::uint16_t>(1286, "nszNumRefCszs", {sequence<std::uint16_t>(400, NUM_NSZS)});
        add<std::uint8_t, true>(1287, "cszInclPtnBitArray", {{0xA5, 0x01}, {0x01}});
        add<std::uint8_t, true>(1288, "nszInclPtnBitArray", {{0x5A, 0x03}});
        add<std::uint64_t, true>(1536, "varFileLocs", {m_spec.varFileLocs});
        m_tags.push_back({1024, "numCellSubzones", 10});
        m_tags.push_back({1025, "numNodeSubzones", NUM_NSZS});
        start = m_file.marker("partitionMarker*", m_spec.marker);
        m_file.marker("partitionNum*", m_spec.partitionNumber);
        m_file.tagList(m_tags);
        return m_file.file(0);
    }

private:
    template <typename T>
    static std::vector<T> sequence(T first, std::uint32_t count)
    {
        std::vector<T> result;
        for (std::uint32_t i = 0; i < count; ++i)
            result.push_back(static_cast<T>(first + i));
        return result;
    }

    template <typename T, bool hex = false>
    void add(std::uint16_t tag, char const* word, std::vector<std::vector<T>> const& arrays)
    {
        if (m_spec.omittedTags.count(tag) != 0)
            return;
        std::uint64_t const start = m_file.loc();
        for (auto const& values : arrays)
            m_file.array<T, hex>((word + m_spec.suffix).c_str(), values);
        auto const forced = m_spec.forcedTags.find(tag);
        m_tags.push_back({tag, word, forced == m_spec.forcedTags.end() ? start : forced->second});
    }

    HeaderSpec const& m_spec;
    FileBuilder m_file;
    std::vector<FileBuilder::Tag> m_tags;
};

struct ReadHeader
{
    explicit ReadHeader(HeaderSpec const& spec)
    {
        std::uint64_t start = 0;
        std::string const bytes = HeaderBuilder(spec).build(start);
        bool const isAscii = spec.version.find('T') != std::string::npos;
        file = std::make_unique<OpenFile>(bytes, isAscii);
        file->reader.seekToFileLoc(start);
        FileDescription description;
        description.setFileVersion(static_cast<std::uint32_t>(std::stoul(spec.version)));
        description.setIsAscii(isAscii);
        description.setDataFileType(spec.version.back() == 'S'   ? DataFileType_Solution
                                    : spec.version.back() == 'G' ? DataFileType_Grid
                                                                 : DataFileType_Full);
        describe(spec.type);
        result =
            readPartitionHeader(file->reader, description, 0, 1,
                                static_cast<int>(spec.varFileLocs.size()), 1, zone, types, header);
        message = file->message();
    }

    void describe(ZoneType_e type)
    {
        zone.zoneType = type;
        zone.numPartitions = 2;
        zone.numSections = 3;
        std::uint32_t const numSections = zone.isMixed() ? 3 : 1;
        zone.numCszsPerSecPtn.alloc(numSections);
        for (std::uint32_t s = 0; s < numSections; ++s) {
            zone.numCszsPerSecPtn[s].alloc(2);
            zone.numCszsPerSecPtn[s][0] = 77;
            zone.numCszsPerSecPtn[s][1] = NUM_CSZS[s];
        }
        zone.numNszsPerPtn.alloc(2);
        zone.numNszsPerPtn[0] = 77;
        zone.numNszsPerPtn[1] = NUM_NSZS;
        // The file's variables begin behind another file's one.
        types.alloc(4);
        std::uint8_t const numbers[] = {9, 1, 2, 4};
        for (std::size_t v = 0; v < 4; ++v) {
            types[v].alloc(1);
            types[v][0] = numbers[v];
        }
    }

    std::unique_ptr<OpenFile> file;
    ZoneMetadata zone;
    LightweightVector<LightweightVector<std::uint8_t>> types;
    PartitionMetadata header;
    char result;
    std::string message;
};

TEST(PartitionHeader, AllItsArraysAreRead)
{
    for (char const* const version : {"105BF", "106BG", "231BF", "232BF", "105TF", "232TG"}) {
        HeaderSpec spec;
        spec.version = version;
        ReadHeader const read(spec);
        ASSERT_TRUE(read.result) << version << read.message;
        PartitionMetadata const& header = read.header;
        ASSERT_EQ(header.cszConnFileLocs.size(), 3U);
        EXPECT_EQ(header.cszConnFileLocs[0].size(), 9U);
        EXPECT_EQ(header.cszConnFileLocs[0][8], 1008U);
        EXPECT_TRUE(header.cszConnFileLocs[1].isNull());
        EXPECT_EQ(header.cszConnFileLocs[2][0], 9000U);
        EXPECT_EQ(header.nszConnFileLocs.size(), NUM_NSZS);
        EXPECT_EQ(header.nszConnFileLocs[9], 2009U);
        EXPECT_EQ(header.numRefPartitions, 2U);
        EXPECT_EQ(header.refPartitions[0], 40U);
        EXPECT_EQ(header.refPartitions[1], 41U);
        EXPECT_EQ(header.cszNumRefNszs[0][8], 308);
        EXPECT_TRUE(header.cszNumRefNszs[1].isNull());
        EXPECT_EQ(header.cszNumRefNszs[2][0], 77);
        EXPECT_EQ(header.nszNumRefCszs[9], 409);
        ASSERT_EQ(header.cszInclPtnBitArray[0].size(), 2U);
        EXPECT_EQ(header.cszInclPtnBitArray[0][0], 0xA5);
        EXPECT_EQ(header.cszInclPtnBitArray[0][1], 0x01);
        EXPECT_TRUE(header.cszInclPtnBitArray[1].isNull());
        EXPECT_EQ(header.cszInclPtnBitArray[2][0], 0x01);
        ASSERT_EQ(header.nszInclPtnBitArray.size(), 2U);
        EXPECT_EQ(header.nszInclPtnBitArray[0], 0x5A);
        EXPECT_EQ(header.nszInclPtnBitArray[1], 0x03);
    }
}

TEST(PartitionHeader, WordsWithoutIndicesAreAcceptedToo)
{
    HeaderSpec spec;
    spec.version = "106TF";
    spec.suffix = "";
    EXPECT_TRUE(ReadHeader(spec).result);
    spec.suffix = "ForZone1Partition1";
    ReadHeader const other(spec);
    EXPECT_FALSE(other.result);
    EXPECT_NE(other.message.find("Mismatched descriptions: looking for "
                                 "'cszConnFileLocsForZone1Partition2', found "
                                 "'cszConnFileLocsForZone1Partition1' instead."),
              std::string::npos)
        << other.message;
}

TEST(PartitionHeader, TextBeginsWithItsMarkers)
{
    HeaderSpec spec;
    spec.version = "106TF";
    spec.marker = 0x15161719;
    EXPECT_NE(ReadHeader(spec).message.find("partitionMarker*"), std::string::npos);
    spec.marker = 0x15161718;
    spec.partitionNumber = 1;
    EXPECT_NE(ReadHeader(spec).message.find("partitionNum*"), std::string::npos);
    spec.version = "106BF";
    EXPECT_TRUE(ReadHeader(spec).result); // the binary form has none
}

TEST(PartitionHeader, BlocksOfVariablesCountAllSections)
{
    // A pair takes 8 bytes as float and 4 as int16; in text 33 and 15, and 42 for each array that
    // there is.
    for (bool const isAscii : {false, true}) {
        HeaderSpec spec;
        spec.version = isAscii ? "106TF" : "106BF";
        ReadHeader const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        PartitionMetadata const& header = read.header;
        std::uint64_t const ofFloat = isAscii ? 33 : 8;
        std::uint64_t const ofInt16 = isAscii ? 15 : 4;
        std::uint64_t const word = isAscii ? 42 : 0;
        EXPECT_EQ(header.varFileLocs[0], 5000U);
        EXPECT_EQ(header.varCszMinMaxFileLocs[0], 5000 + word + 10 * ofFloat);
        EXPECT_EQ(header.varDataFileLocs[0], 5000 + 3 * word + 20 * ofFloat);
        EXPECT_EQ(header.varCszMinMaxFileLocs[2], 6000 + word + 10 * ofInt16);
        EXPECT_EQ(header.varDataFileLocs[2], 6000 + 3 * word + 20 * ofInt16);
    }
}

TEST(PartitionHeader, AbsentVariableIsAbsentThroughout)
{
    ReadHeader const read(HeaderSpec{});
    EXPECT_EQ(read.header.varFileLocs[1], ALL_ONES);
    EXPECT_EQ(read.header.varCszMinMaxFileLocs[1], ALL_ONES);
    EXPECT_EQ(read.header.varDataFileLocs[1], ALL_ONES);
}

TEST(PartitionHeader, OrderedZoneHasVariablesAlone)
{
    HeaderSpec spec;
    spec.type = ZoneType_Ordered;
    ReadHeader const read(spec);
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.header.varFileLocs[0], 5000U);
    EXPECT_EQ(read.header.varDataFileLocs[0], 5000U + 10 * 8 + 9 * 8);
    EXPECT_TRUE(read.header.nszConnFileLocs.isNull());
    EXPECT_TRUE(read.header.cszConnFileLocs.isNull());
    EXPECT_TRUE(read.header.refPartitions.isNull());
    EXPECT_TRUE(read.header.cszNumRefNszs.isNull());
}

TEST(PartitionHeader, SolutionFileAndAbsentConnectivityHaveNoRecords)
{
    HeaderSpec solution;
    solution.version = "106BS";
    HeaderSpec missing;
    missing.omittedTags = {1280};
    HeaderSpec absent;
    absent.forcedTags = {{1280, ALL_ONES}};
    for (HeaderSpec const& spec : {solution, missing, absent}) {
        ReadHeader const read(spec);
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.header.varFileLocs[2], 6000U);
        EXPECT_TRUE(read.header.nszConnFileLocs.isNull());
        EXPECT_TRUE(read.header.cszConnFileLocs.isNull());
        EXPECT_EQ(read.header.refPartitions[1], 41U);
        EXPECT_TRUE(read.header.cszNumRefNszs.isNull());
        EXPECT_TRUE(read.header.nszInclPtnBitArray.isNull());
    }
}

TEST(PartitionHeader, WithoutOtherPartitionsTheirListIsNotRead)
{
    HeaderSpec spec;
    spec.numRefPartitions = 0;
    spec.omittedTags = {1284};
    ReadHeader const read(spec);
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_TRUE(read.header.refPartitions.isNull());
    EXPECT_EQ(read.header.nszInclPtnBitArray[1], 0x03);
}

TEST(PartitionHeader, Version104MayLeaveTheCountsOfReferencesToTheRecords)
{
    HeaderSpec spec;
    spec.version = "104B";
    spec.omittedTags = {1285, 1286};
    ReadHeader const without(spec);
    ASSERT_TRUE(without.result) << without.message;
    EXPECT_TRUE(without.header.cszNumRefNszs.isNull());
    EXPECT_EQ(without.header.nszInclPtnBitArray[1], 0x03);
    spec.omittedTags = {};
    EXPECT_EQ(ReadHeader(spec).header.nszNumRefCszs[9], 409);
}

struct MissingTagCase
{
    std::uint16_t tag;
    char const* name;
};

TEST(PartitionHeader, EveryArrayOfItsConnectivityMustBeThere)
{
    MissingTagCase const cases[] = {{1281, "cszConnFileLocs"},    {1284, "refPartitions"},
                                    {1285, "cszNumRefNszs"},      {1286, "nszNumRefCszs"},
                                    {1287, "cszInclPtnBitArray"}, {1288, "nszInclPtnBitArray"},
                                    {1536, "varFileLocs"}};
    for (MissingTagCase const& row : cases) {
        HeaderSpec missing;
        missing.omittedTags = {row.tag};
        ReadHeader const read(missing);
        EXPECT_FALSE(read.result);
        EXPECT_EQ(read.message, "Missing partition header tag '" + std::string(row.name) +
                                    "' for partition 2 of zone 1.");
        EXPECT_TRUE(read.header.nszConnFileLocs.isNull());
        HeaderSpec zero;
        zero.forcedTags = {{row.tag, 0}};
        EXPECT_EQ(ReadHeader(zero).message, "Invalid value for partition header tag '" +
                                                std::string(row.name) +
                                                "' for partition 2 of zone 1.");
    }
}

TEST(PartitionHeader, MoreReferencedPartitionsThanTheFileCanHoldAreRefused)
{
    HeaderSpec spec;
    spec.numRefPartitions = 0xFFFFFFFF;
    ReadHeader const read(spec);
    EXPECT_FALSE(read.result);
    EXPECT_EQ(read.message, "Cannot allocate memory for refPartitionsForZone1Partition2 data block "
                            "of 4294967295 4-byte unsigned integer values.");
}

TEST(PartitionHeader, NumberOfReferencedPartitionsIsNotCut)
{
    HeaderSpec spec;
    spec.numRefPartitions = 0x100000002;
    ReadHeader const read(spec);
    EXPECT_FALSE(read.result);
    EXPECT_EQ(read.message,
              "Partition 2 of zone 1 refers to 4294967298 partitions, more than there can be.");
}

TEST(PartitionHeader, RecordInUseIsRefused)
{
    ReadHeader read(HeaderSpec{});
    ASSERT_TRUE(read.result);
    std::uint64_t start = 0;
    OpenFile file(HeaderBuilder(HeaderSpec{}).build(start));
    file.reader.seekToFileLoc(start);
    FileDescription description;
    description.setFileVersion(106);
    description.setIsAscii(0);
    description.setDataFileType(DataFileType_Full);
    EXPECT_FALSE(readPartitionHeader(file.reader, description, 0, 1, 3, 1, read.zone, read.types,
                                     read.header));
    EXPECT_EQ(file.message(),
              "Out-of-memory error while reading the header of partition 2 of zone 1.");
}

TEST(PartitionHeader, FlatMixedZoneIsPartitionedInOneSection)
{
    HeaderSpec spec;
    spec.version = "106BS";
    ReadHeader flat(spec);
    std::uint64_t start = 0;
    OpenFile file(HeaderBuilder(spec).build(start));
    file.reader.seekToFileLoc(start);
    flat.zone.numCszsPerSecPtn.dealloc();
    flat.zone.numCszsPerSecPtn.alloc(1);
    flat.zone.numCszsPerSecPtn[0].alloc(2);
    flat.zone.numCszsPerSecPtn[0][1] = 4;
    FileDescription description;
    description.setFileVersion(106);
    description.setIsAscii(0);
    description.setDataFileType(DataFileType_Solution);
    PartitionMetadata header;
    EXPECT_TRUE(
        readPartitionHeader(file.reader, description, 0, 1, 3, 1, flat.zone, flat.types, header));
    EXPECT_EQ(header.varDataFileLocs[0], 5000U + 10 * 8 + 4 * 8);
}

TEST(PartitionHeader, CutAnywhereIsReported)
{
    for (char const* const version : {"106BF", "106TF"}) {
        HeaderSpec spec;
        spec.version = version;
        std::uint64_t start = 0;
        std::string const bytes = HeaderBuilder(spec).build(start);
        ReadHeader const whole(spec);
        FileDescription description;
        description.setFileVersion(106);
        description.setIsAscii(version[3] == 'T');
        description.setDataFileType(DataFileType_Full);
        // A text file cut inside its last number has another number.
        std::size_t const end = version[3] == 'T' ? bytes.rfind(' ') : bytes.size();
        for (std::size_t length = start; length < end; ++length) {
            OpenFile file(bytes.substr(0, length), version[3] == 'T');
            file.reader.seekToFileLoc(start);
            PartitionMetadata header;
            EXPECT_FALSE(readPartitionHeader(file.reader, description, 0, 1, 3, 1, whole.zone,
                                             whole.types, header))
                << version << length;
            EXPECT_NE(file.message(), "") << length;
        }
    }
}

TEST(PartitionHeader, BitsTakeWholeBytes)
{
    EXPECT_EQ(numBytesForNumBits(0), 0U);
    EXPECT_EQ(numBytesForNumBits(1), 1U);
    EXPECT_EQ(numBytesForNumBits(8), 1U);
    EXPECT_EQ(numBytesForNumBits(9), 2U);
    EXPECT_EQ(numBytesForNumBits(16), 2U);
}

}
}
