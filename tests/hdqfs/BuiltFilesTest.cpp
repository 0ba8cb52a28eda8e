// Files of every kind that the samples lack, built for the test.

#include "addons/hdqfs/Announcement.h"
#include "addons/hdqfs/Loading.h"
#include "addons/hdqfs/SubzoneReader.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/hdqfs/RecordingEngine.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <functional>
#include <numeric>

namespace varnox::hdqfsloader {
namespace {

using hdqio::tests::build;
using hdqio::tests::FileSpec;
using hdqio::tests::PartitionSpec;
using hdqio::tests::SectionSpec;
using hdqio::tests::VarSpec;
using hdqio::tests::ZoneSpec;
using tests::RecordingEngine;
using tests::TemporaryFile;

/// Where the built headers say that values and node maps lie.
constexpr std::size_t VALUES_LOC = 1 << 20;
constexpr std::size_t NODE_MAP_LOC = 1 << 19;
constexpr std::size_t PARTITION_LOC = 7000;
constexpr std::uint16_t NODE_MAP_TAG = 1537;

template <typename T>
std::string bytesOf(std::vector<T> const& values)
{
    std::string result(values.size() * sizeof(T), '\0');
    std::memcpy(result.data(), values.data(), result.size());
    return result;
}

template <typename T>
std::vector<T> counted(std::size_t count, T first = 1)
{
    std::vector<T> result(count);
    std::iota(result.begin(), result.end(), first);
    return result;
}

/// The built headers with other bytes at a place behind them.
std::string with(std::string file, std::size_t place, std::string const& bytes)
{
    EXPECT_LE(file.size(), place);
    file.resize(place);
    return file + bytes;
}

FileSpec plainZone(char letter)
{
    FileSpec spec;
    spec.zones[0].letter = letter;
    spec.zones[0].forcedTags[NODE_MAP_TAG] = NODE_MAP_LOC;
    return spec;
}

std::string failureOf(std::function<void()> const& action)
{
    try {
        action();
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "";
}

class EveryType : public testing::TestWithParam<int>
{
};

TEST_P(EveryType, OfAPlainZonePassesUnchanged)
{
    FileSpec spec = plainZone('o');
    spec.vars[0].type = static_cast<std::uint8_t>(GetParam());
    constexpr std::size_t SIZES[] = {0, 4, 8, 4, 2, 1, 1};
    std::size_t const size = SIZES[GetParam()];
    auto const bytes = bytesOf(counted<unsigned char>(4 * 3 * 2 * size));
    TemporaryFile const file(with(build(spec), VALUES_LOC, bytes));
    DataSet dataSet({file.path()});
    RecordingEngine engine;
    engine.valueSize = size;
    sendValues(dataSet, 0, 0, nullptr);
    EXPECT_EQ(engine.bytes, bytes);
}

INSTANTIATE_TEST_SUITE_P(Types, EveryType, testing::Range(1, 7));

TEST(BuiltFiles, CellsOfAPlainOrderedZoneAreOneFewerAlongEachAxis)
{
    FileSpec spec = plainZone('o');
    spec.vars[0].location = 0;
    spec.zones[0].k = 1; // flat: still one cell along it
    TemporaryFile const file(
        with(build(spec), VALUES_LOC, bytesOf(counted<float>(100))));
    DataSet dataSet({file.path()});
    RecordingEngine engine;
    sendValues(dataSet, 0, 0, nullptr);
    EXPECT_EQ(engine.values<float>(), counted<float>(3 * 2));
}

TEST(BuiltFiles, LongVariableGoesInPiecesOfFourMegabytes)
{
    FileSpec spec = plainZone('t');
    spec.zones[0].i = 2'500'000;
    auto const values = counted<float>(2'500'000);
    TemporaryFile const file(with(build(spec), VALUES_LOC, bytesOf(values)));
    DataSet dataSet({file.path()});
    RecordingEngine engine;
    sendValues(dataSet, 0, 0, nullptr);
    ASSERT_EQ(engine.pieces.size(), 3U);
    EXPECT_EQ(engine.pieces[0].offset, 1);
    EXPECT_EQ(engine.pieces[0].count, 1L << 20);
    EXPECT_EQ(engine.pieces[1].offset, (1L << 20) + 1);
    EXPECT_EQ(engine.values<float>(), values);
}

TEST(BuiltFiles, NodeMapCountsFromZeroInAFileAndFromOneForTheClient)
{
    FileSpec spec = plainZone('q');
    spec.zones[0].i = 6;
    spec.zones[0].j = 2;
    std::vector<std::uint32_t> const map{0, 1, 4, 3, 1, 2, 5, 4};
    TemporaryFile const file(with(build(spec), NODE_MAP_LOC, bytesOf(map)));
    DataSet dataSet({file.path()});
    RecordingEngine const engine;
    sendNodeMap(dataSet, 0, nullptr);
    EXPECT_EQ(engine.nodes.at(0), (std::vector<int>{1, 2, 5, 4, 2, 3, 6, 5}));
}

TEST(BuiltFiles, NodeMapOfAnOrderedZoneIsNone)
{
    for (char const letter : {'o', 'p'}) {
        TemporaryFile const file(with(build(plainZone(letter)), NODE_MAP_LOC, "map"));
        DataSet dataSet({file.path()});
        EXPECT_EQ(failureOf([&] { sendNodeMap(dataSet, 0, nullptr); }),
                  "There is no node map in zone 1 of " + file.path() + ".");
    }
}

TEST(BuiltFiles, NodeMapCountsFromOneInATextFile)
{
    FileSpec spec = plainZone('r');
    spec.isAscii = true;
    spec.zones[0].i = 3;
    spec.zones[0].j = 1;
    std::string map = "nodeMapForZone1";
    map.resize(40, ' ');
    map += "\r\n1           2           3         \r\n";
    TemporaryFile const file(with(build(spec), NODE_MAP_LOC, map));
    DataSet dataSet({file.path()});
    RecordingEngine const engine;
    sendNodeMap(dataSet, 0, nullptr);
    EXPECT_EQ(engine.nodes.at(0), (std::vector<int>{1, 2, 3}));
}

TEST(BuiltFiles, NodeMapOfAMixedZoneGoesBySection)
{
    FileSpec spec = plainZone('m');
    spec.version = "232";
    spec.zones[0].i = 9;
    spec.zones[0].j = 2;
    spec.zones[0].sections = {SectionSpec{1, 4}, SectionSpec{1, 5}}; // hexahedron, pyramid
    TemporaryFile const file(
        with(build(spec), NODE_MAP_LOC,
             bytesOf(std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8})));
    DataSet dataSet({file.path()});
    RecordingEngine const engine;
    sendNodeMap(dataSet, 0, nullptr);
    EXPECT_EQ(engine.nodes.at(1), counted<int>(8));
    EXPECT_EQ(engine.nodes.at(2), counted<int>(5, 5));
}

TEST(BuiltFiles, NodeMapThatNamesANodeTooManyIsAMessage)
{
    FileSpec spec = plainZone('r');
    spec.zones[0].i = 3;
    spec.zones[0].j = 1;
    TemporaryFile const file(
        with(build(spec), NODE_MAP_LOC, bytesOf(std::vector<std::uint32_t>{0, 1, 3})));
    DataSet dataSet({file.path()});
    RecordingEngine const engine;
    EXPECT_EQ(failureOf([&] { sendNodeMap(dataSet, 0, nullptr); }),
              "The node map of zone 1 in " + file.path() +
                  " names node 4, which the zone doesn't have.");
}

TEST(BuiltFiles, PartitionedMixedZoneComesSectionAfterSection)
{
    ZoneSpec zone;
    zone.letter = 'M';
    zone.i = 8;
    zone.j = 10;
    zone.k = 0;
    zone.sections = {SectionSpec{6, 4}, SectionSpec{4, 3}};
    PartitionSpec partition;
    partition.numNodes = 4;
    partition.numCells = {3, 2};
    zone.partitions = {partition, partition};

    FileSpec grid;
    grid.version = "232";
    grid.type = 'G';
    grid.zones = {zone};
    FileSpec solution = grid;
    solution.type = 'S';
    solution.vars[0].name = "c";
    solution.vars[0].location = 0;

    // Both partitions have one header, so they have the same five values: three cells of the first
    // section and two of the second.
    std::string header;
    header += bytesOf(std::vector<std::uint16_t>{1, 1536});
    header += bytesOf(std::vector<std::uint64_t>{PARTITION_LOC + header.size() + 8});
    header += bytesOf(std::vector<std::uint64_t>{VALUES_LOC});
    // Ahead of them a range for the one node subzone and for one cell subzone of each section.
    std::string const ranges = bytesOf(std::vector<float>(6, 0));
    TemporaryFile const gridFile(build(grid));
    TemporaryFile const file(with(with(build(solution), PARTITION_LOC, header), VALUES_LOC,
                                  ranges + bytesOf(std::vector<float>{1, 2, 3, 4, 5})));
    DataSet dataSet({gridFile.path(), file.path()});
    RecordingEngine engine;
    sendValues(dataSet, 0, 1, nullptr);
    EXPECT_EQ(engine.values<float>(), (std::vector<float>{1, 2, 3, 1, 2, 3, 4, 5, 4, 5}));
}

TEST(BuiltFiles, SectionsThatNoAddressCanNameAreRefused)
{
    auto const failureOfSections = [](char letter, std::size_t count) {
        ZoneSpec zone;
        zone.letter = letter;
        zone.i = 16;
        zone.j = 2 * count;
        zone.k = 0;
        zone.sections.assign(count, SectionSpec{2, 4});
        PartitionSpec partition;
        partition.numNodes = 8;
        partition.numCells.assign(count, 1);
        zone.partitions = {partition, partition};
        FileSpec spec;
        spec.version = "232";
        spec.zones = {zone};
        TemporaryFile const file(build(spec));
        std::string const failure = failureOf([&] { DataFile(file.path()).zone(0); });
        auto const path = failure.find(file.path());
        return path == std::string::npos
                   ? failure
                   : failure.substr(0, path) + "FILE" + failure.substr(path + file.path().size());
    };
    EXPECT_EQ(
        failureOfSections('M', 17),
        "There are 17 sections and 2 partitions in zone 1 of FILE; subzones have addresses in "
        "up to 16 and 8388608 of them.");
    EXPECT_EQ(failureOfSections('M', 16), "");
    EXPECT_EQ(failureOfSections('m', 17), ""); // in one piece
}

TEST(BuiltFiles, SolutionCutIntoOtherBricksThanItsGridIsRefused)
{
    FileSpec grid;
    grid.type = 'G';
    FileSpec solution = grid;
    solution.type = 'S';
    solution.vars[0].name = "c";
    solution.limits[0] = 4;
    solution.limits[2] = 9;
    TemporaryFile const gridFile(build(grid));
    TemporaryFile const file(build(solution));
    EXPECT_EQ(failureOf([&] { DataSet({gridFile.path(), file.path()}); }),
              "The solution file " + file.path() + " has other sizes of subzones than " +
                  gridFile.path() + ", the grid file ahead of it.");

    // Runs of finite elements and plain zones don't ask how large bricks are.
    for (char const letter : {'B', 'o'}) {
        grid.zones[0].letter = letter;
        solution.zones[0].letter = letter;
        TemporaryFile const otherGrid(build(grid));
        TemporaryFile const other(build(solution));
        EXPECT_EQ(failureOf([&] { DataSet({otherGrid.path(), other.path()}); }), "");
    }
}

TEST(BuiltFiles, ValuesOfASubzoneOfMoreThan256ItemsAreRefused)
{
    auto const failureOfSizes = [](std::uint64_t i, std::uint64_t j, std::uint64_t k) {
        FileSpec spec;
        spec.limits[0] = spec.limits[1] = spec.limits[2] = 1 << 15;
        spec.zones[0].i = i;
        spec.zones[0].j = j;
        spec.zones[0].k = k;
        TemporaryFile const file(with(build(spec), VALUES_LOC, std::string(2048, '\0')));
        DataSet dataSet({file.path()});
        SubzoneReader reader(dataSet.descriptors());
        std::string const failure = failureOf([&] {
            auto const& values = reader.read(dataSet.values(0, 0), Items::Nodes, {0, 0, 0});
            EXPECT_EQ(values.size(), i * j * k);
        });
        return failure.substr(0, failure.find(file.path()));
    };
    // Up to 32,767 along each axis, one subzone is the zone.
    EXPECT_EQ(failureOfSizes(256, 1, 1), "");
    EXPECT_EQ(failureOfSizes(1, 16, 16), "");
    std::string const refusal = "A subzone of zone 1 of ";
    EXPECT_EQ(failureOfSizes(257, 1, 1), refusal);
    EXPECT_EQ(failureOfSizes(1, 16, 17), refusal);
    EXPECT_EQ(failureOfSizes(10'000, 10'000, 4), refusal);
    EXPECT_EQ(failureOfSizes(65'535, 65'535, 4), refusal); // 2^32 in the first
}

TEST(BuiltFiles, LineLongerThanAPieceComesToItsEnd)
{
    FileSpec spec;
    spec.limits[0] = 256;
    spec.limits[1] = spec.limits[2] = 1;
    spec.zones[0].i = 2'500'000;
    spec.zones[0].j = spec.zones[0].k = 1;
    TemporaryFile const file(
        with(build(spec), VALUES_LOC, bytesOf(std::vector<float>(3'000'000, 7))));
    DataSet dataSet({file.path()});
    RecordingEngine engine;
    sendValues(dataSet, 0, 0, nullptr);
    ASSERT_EQ(engine.pieces.size(), 3U);
    EXPECT_EQ(engine.pieces[1].offset, (1L << 20) + 1);
    EXPECT_EQ(engine.values<float>(), std::vector<float>(2'500'000, 7));
}

TEST(BuiltFiles, ZoneOfVeryManyLinesWithoutNodesIsSentAtOnce)
{
    FileSpec spec;
    spec.limits[0] = spec.limits[1] = spec.limits[2] = 1 << 15;
    spec.zones[0].i = 0;
    spec.zones[0].j = 1;
    spec.zones[0].k = std::uint64_t{1} << 34;
    TemporaryFile const file(with(build(spec), VALUES_LOC, ""));
    DataSet dataSet({file.path()});
    RecordingEngine engine;
    std::clock_t const start = std::clock();
    sendValues(dataSet, 0, 0, nullptr);
    EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC);
    EXPECT_TRUE(engine.pieces.empty());
}

TEST(BuiltFiles, PassiveVariableHasNoValuesOfItsOwn)
{
    for (std::uint8_t const isPassive : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{255}}) {
        FileSpec spec = plainZone('o');
        spec.vars[0].isPassive = isPassive;
        spec.vars[0].type = 77; // of no account
        TemporaryFile const file(build(spec));
        DataSet const dataSet({file.path()});
        EXPECT_TRUE(dataSet.variable(0, 0).isPassive);
        EXPECT_FALSE(dataSet.variable(0, 0).hasValues());
    }
}

TEST(BuiltFiles, UnknownDataTypeIsRefused)
{
    FileSpec spec = plainZone('o');
    spec.vars[0].type = 7;
    TemporaryFile const file(build(spec));
    EXPECT_NE(failureOf([&] { DataSet({file.path()}); }), "");
}

TEST(BuiltFiles, VariableSharedWithItselfHasAnEnd)
{
    FileSpec spec = plainZone('o');
    spec.zones = {spec.zones[0], spec.zones[0]};
    spec.vars[0].shareZone = 1; // zone 2 shares with itself, zone 1 with zone 2
    TemporaryFile const file(build(spec));
    DataSet const dataSet({file.path()});
    EXPECT_EQ(dataSet.variable(0, 0).sharedFrom, 1);
    EXPECT_EQ(dataSet.variable(1, 0).sharedFrom, -1);
}

TEST(BuiltFiles, SharingFromAZoneThatDoesNotExistIsRefused)
{
    FileSpec spec = plainZone('o');
    spec.vars[0].shareZone = 5;
    TemporaryFile const file(build(spec));
    EXPECT_EQ(failureOf([&] { DataSet({file.path()}); }),
              "Variable 1 of zone 1 of " + file.path() +
                  " is shared from a zone that doesn't exist.");
}

TEST(BuiltFiles, PolygonsAndPolyhedraAreNamedAsNotSupported)
{
    FileSpec spec = plainZone('g');
    ZoneSpec polyhedra = spec.zones[0];
    polyhedra.letter = 'p';
    polyhedra.name = "foam";
    ZoneSpec ordered = spec.zones[0];
    ordered.letter = 'o';
    spec.zones = {ordered, spec.zones[0], polyhedra};
    TemporaryFile const file(build(spec));
    DataSet const dataSet({file.path()});
    EXPECT_EQ(unsupportedZones(dataSet),
              "Polygons and polyhedra are not supported: of these zones only the values can be "
              "loaded, not the cells: 2 \"zone\", 3 \"foam\".");
}

TEST(BuiltFiles, FileWithoutZonesLoads)
{
    FileSpec spec;
    spec.zones.clear();
    TemporaryFile const file(build(spec));
    DataSet const dataSet({file.path()});
    EXPECT_EQ(dataSet.numZones(), 0U);
    EXPECT_EQ(dataSet.numVars(), 1U);
}

}
}
