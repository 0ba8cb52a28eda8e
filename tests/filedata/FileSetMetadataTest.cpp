#include "filedata/FileSetMetadata.h"

#include "filedata/Messages.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

namespace varnox::hdqio {
namespace {

using hdqfsloader::tests::TemporaryFile;

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

}
}
