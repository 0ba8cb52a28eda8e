#include "filedata/CompressedReferences.h"

#include "tests/filedata/ConnectivityBuilder.h"
#include "tests/filedata/OpenFile.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace varnox::hdqio {
namespace {

using tests::OpenFile;
using varnox::tests::hex;

constexpr char WORD[] = "refNodeSubzones";
constexpr char OFFSETS_WORD[] = "partitionOffsets";
constexpr std::uint32_t OWN_PARTITION = 7;

LightweightVector<std::uint32_t> listOf(std::vector<std::uint32_t> const& numbers)
{
    LightweightVector<std::uint32_t> result;
    EXPECT_TRUE(result.alloc(numbers.size()));
    for (std::size_t i = 0; i < numbers.size(); ++i)
        result[i] = numbers[i];
    return result;
}

/// Partitions 1000, 1001 and so on.
std::vector<std::uint32_t> partitions(std::size_t count)
{
    std::vector<std::uint32_t> result(count);
    std::iota(result.begin(), result.end(), 1000U);
    return result;
}

struct Reading
{
    std::uint32_t version = 105;
    ZoneType_e type = ZoneType_FEBrick;
    std::vector<std::uint32_t> list{};
    std::uint16_t numRefs = 1;
    bool withSections = false;
};

/// What was read of a file of nothing but references.
struct ReadReferences
{
    template <typename Read>
    ReadReferences(std::string const& bytes, bool isAscii, Reading const& how, Read const& read)
    {
        OpenFile file(bytes, isAscii);
        LightweightVector<std::uint32_t> const list = listOf(how.list);
        result = read(file.reader, list);
        message = file.message();
        rest = file.rest().size();
    }

    char result;
    std::string message;
    std::size_t rest;
    std::vector<SubzoneAddress> addresses;
};

template <int N>
ReadReferences readBits(std::string const& bytes, Reading const& how, bool isAscii = false)
{
    std::vector<SubzoneAddress> out(how.numRefs, SubzoneAddress(0xABABABABABABABAB));
    ReadReferences read(bytes, isAscii, how, [&](FileReaderInterface& reader, auto const& list) {
        return readCompressedRefSzAddressesForBitSize<N>(
            reader, how.version, how.type, static_cast<std::uint32_t>(how.list.size()),
            OWN_PARTITION, list, how.numRefs, how.withSections, out.data(), WORD, OFFSETS_WORD);
    });
    read.addresses = out;
    return read;
}

ReadReferences readChosen(std::string const& bytes, Reading const& how, bool isAscii = false)
{
    std::vector<SubzoneAddress> out(how.numRefs, SubzoneAddress(0xABABABABABABABAB));
    ReadReferences read(bytes, isAscii, how, [&](FileReaderInterface& reader, auto const& list) {
        return readCompressedRefSzAddresses(
            reader, how.version, how.type, static_cast<std::uint32_t>(how.list.size()),
            OWN_PARTITION, list, how.numRefs, how.withSections, out.data(), WORD);
    });
    read.addresses = out;
    return read;
}

std::vector<std::uint64_t> words(std::vector<SubzoneAddress> const& addresses)
{
    std::vector<std::uint64_t> result;
    for (SubzoneAddress const& address : addresses)
        result.push_back(address.word());
    return result;
}

TEST(CompressedReferences, OneReferenceHasItsPartitionInTheTopTwoBits)
{
    std::string const bytes = (hex("80"             // number 2, and six bits of nothing
                                   "05 00 00 00")); // subzone
    auto const read = readBits<2>(bytes, {105, ZoneType_FEBrick, {11, 12, 13}, 1});
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(words(read.addresses), (std::vector<std::uint64_t>{13U << 5 | 5U << 28}));
    EXPECT_EQ(read.rest, 0U);
}

TEST(CompressedReferences, WithoutAListEveryReferenceIsOfTheOwnPartition)
{
    std::string const bytes = (hex("05 00 00 00 06 00 00 00"));
    Reading const how{105, ZoneType_FEBrick, {}, 2};
    for (auto const& read : {readBits<2>(bytes, how), readBits<4>(bytes, how)}) {
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.addresses[0], SubzoneAddress(OWN_PARTITION, 0, 5));
        EXPECT_EQ(read.addresses[1], SubzoneAddress(OWN_PARTITION, 0, 6));
        EXPECT_EQ(read.rest, 0U);
    }
}

TEST(CompressedReferences, WideNumbersAreReadEvenWithoutAList)
{
    Reading const how{105, ZoneType_FEBrick, {}, 2};
    auto const read8 = readBits<8>((hex("FF FF 05 00 00 00 06 00 00 00")), how);
    auto const read16 = readBits<16>((hex("FF FF FF FF 05 00 00 00 06 00 00 00")), how);
    for (auto const& read : {read8, read16}) {
        ASSERT_TRUE(read.result) << read.message;
        EXPECT_EQ(read.addresses[1], SubzoneAddress(OWN_PARTITION, 0, 6));
        EXPECT_EQ(read.rest, 0U);
    }
}

TEST(CompressedReferences, HighBitsComeFirst)
{
    std::vector<std::uint32_t> const list = partitions(16);
    std::string const subzones = (hex("00 00 00 00 00 00 00 00 00 00 00 00"
                                      "00 00 00 00 00 00 00 00"));
    auto const two = readBits<2>((hex("1B 40")) + subzones, {105, ZoneType_FEBrick, list, 5});
    auto const four = readBits<4>((hex("01 2F E0")) + subzones, {105, ZoneType_FEBrick, list, 5});
    std::uint32_t const expectedOfTwo[] = {1000, 1001, 1002, 1003, 1001};
    std::uint32_t const expectedOfFour[] = {1000, 1001, 1002, 1015, 1014};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(two.addresses[i].partition(), expectedOfTwo[i]);
        EXPECT_EQ(four.addresses[i].partition(), expectedOfFour[i]);
    }
}

struct WidthCase
{
    std::size_t numPartitions;
    char const* word;
};

TEST(CompressedReferences, TheNumberOfPartitionsChoosesTheWidth)
{
    WidthCase const cases[] = {{0, "refPtn4BitOffsets"},   {5, "refPtn4BitOffsets"},
                               {16, "refPtn4BitOffsets"},  {17, "refPtn8BitOffsets"},
                               {256, "refPtn8BitOffsets"}, {257, "refPtn16BitOffsets"}};
    for (WidthCase const& row : cases) {
        for (std::string const version : {"105BF", "105TF"}) {
            tests::FileBuilder file(version);
            std::uint16_t const last =
                static_cast<std::uint16_t>(row.numPartitions == 0 ? 0 : row.numPartitions - 1);
            std::uint64_t const start =
                references(file, WORD, row.numPartitions, {{3, last}, {4, 0}, {5, last}}, false);
            std::string const bytes = file.file(0).substr(start);
            if (file.isAscii() && row.numPartitions != 0) {
                EXPECT_EQ(bytes.substr(0, bytes.find(' ')), row.word);
            }
            Reading const how{105, ZoneType_FEBrick, partitions(row.numPartitions), 3};
            auto const read = readChosen(bytes, how, file.isAscii());
            ASSERT_TRUE(read.result) << row.numPartitions << read.message;
            EXPECT_EQ(read.rest, 0U);
            std::uint32_t const partition = row.numPartitions == 0 ? OWN_PARTITION : 1000U + last;
            EXPECT_EQ(read.addresses[2], SubzoneAddress(partition, 0, 5)) << row.numPartitions;
        }
    }
}

struct SectionCase
{
    char const* name;
    std::uint32_t version;
    ZoneType_e type;
    bool withSections;
    bool areRead;
};

TEST(CompressedReferences, SectionsAreReadOfMixedZonesFrom106Alone)
{
    SectionCase const cases[] = {{"105", 105, ZoneType_FEMixed, true, false},
                                 {"106", 106, ZoneType_FEMixed, true, true},
                                 {"232", 232, ZoneType_FEMixed, true, true},
                                 {"notMixed", 232, ZoneType_FEBrick, true, false},
                                 {"notWanted", 232, ZoneType_FEMixed, false, false}};
    std::string const bytes = (hex("05 00 00 00 06 00 00 00 07 00 00 00" // subzones
                                   "3F 20"));                            // sections
    for (SectionCase const& row : cases) {
        auto const read = readBits<2>(bytes, {row.version, row.type, {}, 3, row.withSections});
        ASSERT_TRUE(read.result) << row.name;
        EXPECT_EQ(read.rest, row.areRead ? 0U : 2U) << row.name;
        EXPECT_EQ(read.addresses[0], SubzoneAddress(OWN_PARTITION, row.areRead ? 3 : 0, 5));
        EXPECT_EQ(read.addresses[1], SubzoneAddress(OWN_PARTITION, row.areRead ? 15 : 0, 6));
        EXPECT_EQ(read.addresses[2], SubzoneAddress(OWN_PARTITION, row.areRead ? 2 : 0, 7));
    }
}

TEST(CompressedReferences, TextCountsSubzonesFromOne)
{
    std::string const bytes = "refNodeSubzones 1 3\r\n";
    auto const read = readBits<2>(bytes, {105, ZoneType_FEBrick, {}, 2}, true);
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.addresses[0].subzoneOffset(), 0U);
    EXPECT_EQ(read.addresses[1].subzoneOffset(), 2U);
}

TEST(CompressedReferences, TextNumbersOfPartitionsAreHexadecimal)
{
    std::string const bytes = "partitionOffsets 40\r\nrefNodeSubzones 1\r\n";
    auto const read = readBits<2>(bytes, {104, ZoneType_FEBrick, {11, 12}, 1}, true);
    ASSERT_TRUE(read.result) << read.message;
    EXPECT_EQ(read.addresses[0].partition(), 12U);
}

TEST(CompressedReferences, NumbersAreCutToTheirFields)
{
    std::string const bytes = (hex("00 FF FF FF FF"));
    auto const read = readBits<2>(bytes, {105, ZoneType_FEBrick, {0xFFFFFFFF}, 1});
    ASSERT_TRUE(read.result);
    EXPECT_EQ(read.addresses[0].word(), 0x00FFFFFFFFFFFFE0U);
}

TEST(CompressedReferences, NumberBehindTheListIsReported)
{
    std::string const bytes = (hex("C0 05 00 00 00"));
    auto const read = readBits<2>(bytes, {105, ZoneType_FEBrick, {1, 2, 3}, 1});
    EXPECT_FALSE(read.result);
    EXPECT_EQ(read.message, "Bad value for partitionOffsets.");
}

TEST(CompressedReferences, NoReferencesTakeNoBytes)
{
    Reading const how{232, ZoneType_FEMixed, {1, 2}, 0, true};
    for (auto const& read : {readBits<2>("rest", how), readBits<16>("rest", how)}) {
        EXPECT_TRUE(read.result);
        EXPECT_EQ(read.rest, 4U);
    }
}

TEST(CompressedReferences, AsManyAsThereCanBeAreRead)
{
    tests::FileBuilder file("232BF");
    std::vector<tests::Reference> list;
    for (std::uint32_t i = 0; i < 65535; ++i)
        list.push_back(
            {i * 3, static_cast<std::uint16_t>(i % 300), static_cast<std::uint8_t>(i % 16)});
    std::uint64_t const start = references(file, WORD, 300, list, true);
    auto const read = readChosen(file.file(0).substr(start),
                                 {232, ZoneType_FEMixed, partitions(300), 65535, true});
    ASSERT_TRUE(read.result) << read.message;
    for (std::uint32_t i = 0; i < 65535; ++i)
        ASSERT_EQ(read.addresses[i], SubzoneAddress(1000 + i % 300, i % 16, i * 3)) << i;
}

TEST(CompressedReferences, ListCutAnywhereIsReported)
{
    std::vector<tests::Reference> const list(40, {2, 1, 1});
    for (std::string const version : {"232BF", "232TF"}) {
        tests::FileBuilder file(version);
        std::uint64_t const start = references(file, WORD, 17, list, true);
        std::string bytes = file.file(0).substr(start);
        if (file.isAscii())
            bytes.resize(bytes.find_last_not_of(" \r\n") + 1);
        Reading const how{232, ZoneType_FEMixed, partitions(17), 40, true};
        EXPECT_TRUE(readChosen(bytes, how, file.isAscii()).result);
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            auto const read = readChosen(bytes.substr(0, length), how, file.isAscii());
            if (file.isAscii() && length + 1 == bytes.size())
                continue; // the last number has lost a digit
            EXPECT_FALSE(read.result) << length;
            EXPECT_NE(read.message, "") << length;
        }
    }
}

}
}
