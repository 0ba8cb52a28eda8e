#include "filedata/FileSetMetadata.h"

#include "filedata/Messages.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

namespace varnox::hdqio {
namespace {

using hdqfsloader::tests::TemporaryFile;
using tests::build;
using tests::FileSpec;
using tests::PartitionSpec;
using tests::VarSpec;
using tests::ZoneSpec;

std::string sample(std::string const& name)
{
    return std::string(VNX_SOURCE_DIR) + "/examples/data/" + name + ".hdqfs";
}

std::string contentsOf(std::string const& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string messageOf(std::function<void()> const& action)
{
    MessageCapture const quiet;
    try {
        action();
    } catch (std::exception const& error) {
        return error.what();
    }
    return "";
}

TEST(FileSetMetadata, LoneFileHasItsOwnZonesAndVariables)
{
    FileSetMetadata const set({sample("tankbox_partitions")});
    EXPECT_EQ(set.numFilesInFileSet(), 1U);
    EXPECT_EQ(set.numFileSetZones(), 1);
    EXPECT_EQ(set.numFileSetVars(), 9);
    EXPECT_EQ(set.subzoneMaxIJK().i, 6);
    EXPECT_EQ(set.subzoneMaxIJK().ij, 36);
    EXPECT_EQ(set.subzoneMaxSize(), 256);
}

TEST(FileSetMetadata, GridWithOneSolutionHasTheGridsZonesAndBothVariables)
{
    FileSetMetadata const set({sample("tjunction_grid"), sample("tjunction_t00")});
    EXPECT_EQ(set.numFileSetZones(), 1);
    EXPECT_EQ(set.numFileSetVars(), 10);
    EXPECT_EQ(set.numGridOrFullFileVars(), 3);
    EXPECT_EQ(set.zoneShareConnectivity()[0], -1);
}

TEST(FileSetMetadata, EverySolutionFileAddsACopyOfTheZonesThatSharesTheGrid)
{
    FileSetMetadata const set({sample("tjunction_grid"), sample("tjunction_t00"),
                               sample("tjunction_t05"), sample("tjunction_t10")});
    EXPECT_EQ(set.numFileSetZones(), 3);
    EXPECT_EQ(set.numFileSetVars(), 10);
    EXPECT_EQ(set.zoneShareConnectivity()[0], -1);
    EXPECT_EQ(set.zoneShareConnectivity()[1], 0);
    EXPECT_EQ(set.zoneShareConnectivity()[2], 0);
    for (std::size_t grid = 0; grid < 3; ++grid) {
        EXPECT_EQ(set.varZoneShareVar()[grid][0], -1);
        EXPECT_EQ(set.varZoneShareVar()[grid][2], 0);
    }
    for (std::size_t solution = 3; solution < 10; ++solution)
        EXPECT_EQ(set.varZoneShareVar()[solution][2], -1);
}

TEST(FileSetMetadata, VariablesOfLaterSolutionFilesMustAgree)
{
    EXPECT_EQ(messageOf([] {
                  FileSetMetadata({sample("tjunction_ascii_grid"), sample("tjunction_ascii_t05"),
                                   sample("tjunction_t10")});
              }),
              "Number of variables in solution file, " + sample("tjunction_t10") +
                  ", must be the same in all associated solution files");
}

TEST(FileSetMetadata, ZoneHeaderIsReadOnce)
{
    FileSetMetadata set({sample("tjunction_grid")});
    ZoneMetadata const& zone = set.zoneMetadata(0, 0);
    EXPECT_EQ(zone.numNodesPerPtn[0], 5616);
    EXPECT_EQ(zone.numCellsPerSecPtn[0][0], 3875);
    EXPECT_EQ(zone.numNszsPerPtn[0], 22U);
    EXPECT_EQ(zone.numCszsPerSecPtn[0][0], 16U);
    EXPECT_EQ(zone.ptnMetadata[0].cszConnFileLocs[0].size(), 16U);
    std::int64_t const* const numbers = zone.numNodesPerPtn.data();
    EXPECT_EQ(set.zoneMetadata(0, 0).numNodesPerPtn.data(), numbers);
}

TEST(FileSetMetadata, PartitionedOrderedZoneIsCutIntoItsBoxes)
{
    FileSetMetadata set({sample("tankbox_partitions")});
    ZoneMetadata const& zone = set.zoneMetadata(0, 0);
    ASSERT_EQ(zone.numPartitions, 8U);
    std::int64_t nodes = 0;
    std::int64_t cells = 0;
    for (std::size_t p = 0; p < 8; ++p) {
        nodes += zone.numNodesPerPtn[p];
        cells += zone.numCellsPerSecPtn[0][p];
    }
    EXPECT_EQ(nodes, 40 * 33 * 26);
    EXPECT_EQ(cells, 39 * 32 * 25);
    EXPECT_EQ(zone.ptnRTree->size(), 8U);
    ASSERT_EQ(zone.varMinMaxTrees.size(), 9U);
    EXPECT_LE(zone.varMinMaxTrees[0].levels[4][0].min, zone.varMinMaxTrees[0].levels[0][3].min);
}

TEST(FileSetMetadata, TextAndBinaryReadAlike)
{
    FileSetMetadata binary({sample("tjunction_grid"), sample("tjunction_t05")});
    FileSetMetadata text({sample("tjunction_ascii_grid"), sample("tjunction_ascii_t05")});
    for (std::uint32_t file = 0; file < 2; ++file) {
        ZoneMetadata const& a = binary.zoneMetadata(file, 0);
        ZoneMetadata const& b = text.zoneMetadata(file, 0);
        EXPECT_EQ(a.zoneName, b.zoneName);
        EXPECT_EQ(a.solutionTime, b.solutionTime);
        EXPECT_EQ(a.strandID, b.strandID);
        EXPECT_EQ(a.ijk.i, b.ijk.i);
        EXPECT_EQ(a.ijk.j, b.ijk.j);
        EXPECT_EQ(a.ijk.k, b.ijk.k);
        EXPECT_EQ(a.numDimensions, b.numDimensions);
        EXPECT_EQ(a.numNszsPerPtn[0], b.numNszsPerPtn[0]);
    }
}

TEST(FileSetMetadata, ZoneThatDoesNotExistIsOutOfRange)
{
    FileSetMetadata set({sample("tjunction_grid")});
    EXPECT_THROW(set.zoneMetadata(0, 1), std::out_of_range);
    EXPECT_THROW(set.zoneMetadata(0, -1), std::out_of_range);
    EXPECT_THROW(set.zoneMetadata(1, 0), std::out_of_range);
}

TEST(FileSetMetadata, MissingFileIsNamed)
{
    EXPECT_EQ(messageOf([] { FileSetMetadata({"/nowhere/a.hdqfs"}); }),
              "Unable to open file /nowhere/a.hdqfs for reading.");
}

/// Opens the contents as a file set and reads its zone; true if nothing was thrown.
bool opens(std::string const& contents)
{
    TemporaryFile const file(contents);
    return messageOf([&] {
               FileSetMetadata set({file.path()});
               for (int zone = 0; zone < set.numGridOrFullFileZones(); ++zone)
                   set.zoneMetadata(0, zone);
           })
        .empty();
}

TEST(FileSetMetadata, HeadersCutAtEveryByteAreRefused)
{
    // The headers and arrays of this file lie in its first 1100 bytes.
    std::string const whole = contentsOf(sample("tjunction_grid"));
    EXPECT_TRUE(opens(whole));
    for (std::size_t length = 0; length < 694; ++length)
        EXPECT_FALSE(opens(whole.substr(0, length))) << length;
}

TEST(FileSetMetadata, EveryDamagedByteOfTheHeadersLeavesTheProcessWell)
{
    for (char const* name : {"tjunction_grid", "tankbox_partitions"}) {
        std::string const whole = contentsOf(sample(name));
        std::size_t refused = 0;
        for (std::size_t at = 0; at < 1100; ++at) {
            for (char const value : {'\x00', '\x7f', '\xff'}) {
                std::string damaged = whole;
                damaged[at] = value;
                refused += opens(damaged) ? 0 : 1;
            }
        }
        EXPECT_GT(refused, 100U);
    }
}

/// A grid file of three zones, or a solution file of as many.
FileSpec fileOf(char type, std::vector<VarSpec> const& vars)
{
    FileSpec spec;
    spec.type = type;
    spec.zones.assign(3, ZoneSpec{});
    spec.vars = vars;
    return spec;
}

FileSetMetadata setOf(TemporaryFile const& grid, std::vector<TemporaryFile const*> const& others)
{
    std::vector<std::string> paths{grid.path()};
    for (TemporaryFile const* file : others)
        paths.push_back(file->path());
    return FileSetMetadata(paths);
}

TEST(FileSetMetadata, SolutionFilesMustHaveTheGridsZones)
{
    TemporaryFile const grid(build(fileOf('G', {{"x"}})));
    FileSpec spec = fileOf('S', {{"p"}});
    spec.zones.pop_back();
    TemporaryFile const solution(build(spec));
    EXPECT_EQ(messageOf([&] { setOf(grid, {&solution}); }),
              "Number of zones in solution file, " + solution.path() +
                  ", must match the grid file, " + grid.path());
}

TEST(FileSetMetadata, VariablesAreComparedFromTheSecondSolutionFileOn)
{
    TemporaryFile const grid(build(fileOf('G', {{"x"}, {"y"}})));
    TemporaryFile const first(build(fileOf('S', {{"p"}})));
    TemporaryFile const other(build(fileOf('S', {{"p"}, {"q"}, {"r"}})));
    EXPECT_EQ(setOf(grid, {&first}).numFileSetVars(), 3);
    EXPECT_EQ(setOf(grid, {&other}).numFileSetVars(), 5);
    EXPECT_EQ(messageOf([&] {
                  setOf(grid, {&first, &other});
              }),
              "Number of variables in solution file, " + other.path() +
                  ", must be the same in all associated solution files");
}

TEST(FileSetMetadata, SolutionFileMayHaveNoVariables)
{
    TemporaryFile const grid(build(fileOf('G', {{"x"}, {"y"}})));
    TemporaryFile const solution(build(fileOf('S', {})));
    FileSetMetadata const set = setOf(grid, {&solution});
    EXPECT_EQ(set.numFileSetVars(), 2);
    EXPECT_EQ(set.numFileSetZones(), 3);
}

TEST(FileSetMetadata, FileTypesAreNotCompared)
{
    TemporaryFile const grid(build(fileOf('S', {{"x"}})));
    TemporaryFile const solution(build(fileOf('F', {{"p"}})));
    EXPECT_EQ(setOf(grid, {&solution}).numFileSetVars(), 2);
}

TEST(FileSetMetadata, SharedVariablesAreShiftedAndNoneStaysNone)
{
    VarSpec shared{"p"};
    shared.shareZone = 2;
    TemporaryFile const grid(build(fileOf('G', {{"x"}})));
    TemporaryFile const solution(build(fileOf('S', {shared, {"q"}})));
    FileSetMetadata const set = setOf(grid, {&solution, &solution, &solution});
    ASSERT_EQ(set.numFileSetZones(), 9);
    auto const& shares = set.varZoneShareVar();
    EXPECT_EQ(shares[1][0], 2);
    EXPECT_EQ(shares[1][3], 2 + 3);
    EXPECT_EQ(shares[1][6], 2 + 2 * 3);
    for (std::size_t zone = 0; zone < 9; ++zone) {
        EXPECT_EQ(shares[2][zone], -1);
        EXPECT_EQ(shares[0][zone], zone < 3 ? -1 : static_cast<int>(zone % 3));
    }
}

TEST(FileSetMetadata, ConnectivityOfLaterCopiesIsThatOfTheFirst)
{
    FileSpec spec = fileOf('G', {{"x"}});
    TemporaryFile const grid(build(spec));
    spec = fileOf('S', {{"p"}});
    spec.zones[2].shareConnectivity = 1;
    TemporaryFile const solution(build(spec));
    FileSetMetadata const set = setOf(grid, {&solution, &solution});
    std::vector<int> const expected{-1, -1, 1, 0, 1, 2};
    for (std::size_t zone = 0; zone < 6; ++zone)
        EXPECT_EQ(set.zoneShareConnectivity()[zone], expected[zone]) << zone;
}

TEST(FileSetMetadata, ParentsAreShiftedByTheZonesOfEarlierCopies)
{
    FileSpec spec = fileOf('S', {{"p"}});
    spec.zones[1].parentZone = 0;
    TemporaryFile const grid(build(fileOf('G', {{"x"}})));
    TemporaryFile const solution(build(spec));
    FileSetMetadata set = setOf(grid, {&solution, &solution, &solution});
    EXPECT_EQ(set.zoneMetadata(1, 1).parentZone, 0);
    EXPECT_EQ(set.zoneMetadata(3, 1).parentZone, 6);
    EXPECT_EQ(set.zoneMetadata(3, 0).parentZone, 5);
    EXPECT_EQ(set.zoneMetadata(3, 1).zone, 1);
}

TEST(FileSetMetadata, LimitsAreThoseOfTheFirstFile)
{
    FileSpec spec = fileOf('G', {{"x"}});
    spec.limits[0] = 4;
    spec.limits[1] = 5;
    spec.limits[3] = 100;
    TemporaryFile const grid(build(spec));
    TemporaryFile const solution(build(fileOf('S', {{"p"}})));
    FileSetMetadata const set = setOf(grid, {&solution});
    EXPECT_EQ(set.subzoneMaxIJK().i, 4);
    EXPECT_EQ(set.subzoneMaxIJK().j, 5);
    EXPECT_EQ(set.subzoneMaxIJK().k, 6);
    EXPECT_EQ(set.subzoneMaxIJK().ij, 20);
    EXPECT_EQ(set.subzoneMaxSize(), 100);
}

TEST(FileSetMetadata, SetWithoutZonesIsNoFault)
{
    FileSpec spec = fileOf('F', {{"x"}, {"y"}});
    spec.zones.clear();
    TemporaryFile const file(build(spec));
    FileSetMetadata const set = setOf(file, {});
    EXPECT_EQ(set.numFileSetZones(), 0);
    EXPECT_EQ(set.numFileSetVars(), 2);
    EXPECT_EQ(set.varZoneShareVar().size(), 2U);
    EXPECT_TRUE(set.varZoneShareVar()[0].isNull());
    EXPECT_TRUE(set.zoneShareConnectivity().isNull());
}

TEST(FileSetMetadata, NoFilesAreNoSet)
{
    EXPECT_EQ(messageOf([] { FileSetMetadata(std::vector<std::string>{}); }),
              "A file set needs at least one file.");
}

TEST(FileSetMetadata, FailuresNameTheirFile)
{
    TemporaryFile const foreign("PNG\n");
    EXPECT_EQ(messageOf([&] { setOf(foreign, {}); }),
              "Failed to read HDQFS header: " + foreign.path());
    FileSpec spec = fileOf('F', {{"x"}});
    spec.forcedTags = {{263, 1 << 30}};
    TemporaryFile const damaged(build(spec));
    EXPECT_EQ(messageOf([&] { setOf(damaged, {}); }), "Error reading file " + damaged.path() + ".");
    spec.forcedTags = {{1, 5000}};
    TemporaryFile const tooMany(build(spec));
    EXPECT_EQ(messageOf([&] { setOf(tooMany, {}); }),
              "Failed to read HDQFS header: " + tooMany.path());
}

void overwrite(std::string const& path, std::string const& contents)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << contents;
}

TEST(FileSetMetadata, HdqZoneIsReadOnceAndAPlainOneAnew)
{
    FileSpec spec = fileOf('F', {{"x"}});
    spec.zones[1].letter = 'b';
    TemporaryFile const file(build(spec));
    FileSetMetadata set = setOf(file, {});
    ZoneMetadata const* const hdq = &set.zoneMetadata(0, 0);
    EXPECT_FALSE(hdq->numCellsPerSecPtn.isNull());
    EXPECT_TRUE(set.zoneMetadata(0, 1).numCellsPerSecPtn.isNull());
    EXPECT_EQ(set.zoneMetadata(0, 1).classicVarFileLocs[0], 1U << 20);
    std::remove(file.path().c_str());
    EXPECT_EQ(&set.zoneMetadata(0, 0), hdq);
    EXPECT_EQ(messageOf([&] { set.zoneMetadata(0, 1); }),
              "Unable to open file " + file.path() + " for reading.");
}

PartitionSpec box(std::uint64_t minNode, std::uint64_t maxNode)
{
    PartitionSpec result;
    result.minNode = minNode;
    result.maxNode = maxNode;
    return result;
}

FileSpec partitioned(std::vector<VarSpec> const& vars)
{
    FileSpec spec;
    spec.zones[0].i = 5;
    spec.zones[0].j = 4;
    spec.zones[0].k = 3;
    spec.zones[0].partitions = {box(0, 57), box(3, 59)};
    spec.vars = vars;
    return spec;
}

TEST(FileSetMetadata, FailedZoneCanBeReadAgain)
{
    FileSpec spec = partitioned({{"x"}});
    std::string const good = build(spec);
    spec.zones[0].forcedTags = {{1794, 0}};
    TemporaryFile const file(build(spec));
    FileSetMetadata set = setOf(file, {});
    EXPECT_EQ(messageOf([&] { set.zoneMetadata(0, 0); }),
              "Error reading zone metadata for zone 0.");
    spec.zones[0].forcedTags = {{1797, 1 << 30}};
    overwrite(file.path(), build(spec));
    EXPECT_EQ(messageOf([&] { set.zoneMetadata(0, 0); }),
              "Error reading zone min/maxes for zone 0.");
    overwrite(file.path(), good);
    EXPECT_EQ(messageOf([&] { set.zoneMetadata(0, 0); }), "");
    EXPECT_EQ(set.zoneMetadata(0, 0).varMinMaxTrees[0].levels[0].size(), 2U);
}

TEST(FileSetMetadata, TreesOfPartitionsAreReadInTheTypeOfTheirVariable)
{
    std::vector<VarSpec> const vars{{"byte", 5},  {"bit", 6},   {"int16", 4},
                                    {"int32", 3}, {"float", 1}, {"double", 2}};
    for (bool const isAscii : {false, true}) {
        FileSpec spec = partitioned(vars);
        spec.isAscii = isAscii;
        TemporaryFile const file(build(spec));
        FileSetMetadata set = setOf(file, {});
        ZoneMetadata const* zone = nullptr;
        ASSERT_EQ(messageOf([&] { zone = &set.zoneMetadata(0, 0); }), "");
        ASSERT_EQ(zone->varMinMaxTrees.size(), vars.size());
        for (std::size_t v = 0; v < vars.size(); ++v) {
            auto const& levels = zone->varMinMaxTrees[v].levels;
            auto const width = 10.0 * static_cast<double>(v + 1);
            ASSERT_EQ(levels[0].size(), 2U);
            EXPECT_EQ(levels[0][0].min, 0);
            EXPECT_EQ(levels[0][0].max, width) << vars[v].name;
            EXPECT_EQ(levels[0][1].min, 1);
            EXPECT_EQ(levels[4][0].min, 0);
            EXPECT_EQ(levels[4][0].max, width + 1);
        }
    }
}

TEST(FileSetMetadata, PartitionedVariableOfNoKnownTypeIsRefused)
{
    for (std::uint8_t const type : {std::uint8_t{0}, std::uint8_t{7}}) {
        TemporaryFile const file(build(partitioned({{"x", type}})));
        FileSetMetadata set = setOf(file, {});
        EXPECT_EQ(messageOf([&] { set.zoneMetadata(0, 0); }),
                  "Error reading zone min/maxes for zone 0.");
    }
}

TEST(FileSetMetadata, FileThatWasDamagedSinceIsRefused)
{
    TemporaryFile const grid(build(fileOf('G', {{"x"}})));
    FileSetMetadata set = setOf(grid, {});
    FileSpec spec = fileOf('G', {{"x"}});
    spec.limits[0] = 0;
    overwrite(grid.path(), build(spec));
    EXPECT_EQ(messageOf([&] { set.zoneMetadata(0, 0); }),
              "Failed to read HDQFS header: " + grid.path());
}

TEST(FileSetMetadata, NodeTablesOfAllZonesTogetherAreHeldAgainstTheFile)
{
    FileSpec spec;
    spec.zones[0].i = 256;
    spec.zones[0].j = 256;
    spec.zones[0].k = 1;
    spec.zones.assign(130, spec.zones[0]);
    TemporaryFile const file(build(spec));
    FileSetMetadata set = setOf(file, {});
    for (int zone = 0; zone < 130; ++zone) {
        ZoneMetadata const& metadata = set.zoneMetadata(0, zone);
        EXPECT_EQ(metadata.numNodesPerPtn[0], 65536);
        EXPECT_EQ(metadata.ijkPtnInfo[0].nodeSubzones.size(), zone < 128 ? 65536U : 0U) << zone;
    }
}

}
}
