#include "tests/filedata/ScarceMemory.h"

#include "filedata/FileSetMetadata.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <string>
#include <vector>

namespace varnox::hdqio {
namespace {

using hdqfsloader::tests::TemporaryFile;
using tests::build;
using tests::expectEveryShortageIsSaid;
using tests::FileSpec;
using tests::PartitionSpec;

std::string sample(std::string const& name)
{
    return std::string(VNX_SOURCE_DIR) + "/examples/data/" + name + ".hdqfs";
}

/// All that the files say of themselves.
bool readAll(std::vector<std::string> const& paths)
{
    FileSetMetadata set(paths);
    for (std::uint32_t file = 0; file < set.numFilesInFileSet(); ++file)
        for (int zone = 0; zone < set.numGridOrFullFileZones(); ++zone)
            set.zoneMetadata(file, zone);
    return true;
}

/// Each run loses one allocation of the file set and its zones.
TEST(ScarceMemory, BinaryFileSetEndsInItsMessage)
{
    EXPECT_GT(expectEveryShortageIsSaid([] {
                  return readAll({sample("tjunction_grid"), sample("tjunction_t00")});
              }),
              100U);
}

TEST(ScarceMemory, TextFileSetEndsInItsMessage)
{
    EXPECT_GT(expectEveryShortageIsSaid([] {
                  return readAll({sample("tjunction_ascii_grid"), sample("tjunction_ascii_t05")});
              }),
              100U);
}

TEST(ScarceMemory, SetOfSeveralSolutionsEndsInItsMessage)
{
    EXPECT_GT(expectEveryShortageIsSaid([] {
                  return readAll(
                      {sample("tjunction_grid"), sample("tjunction_t00"), sample("tjunction_t05")});
              }),
              100U);
}

TEST(ScarceMemory, PartitionsOfAnOrderedZoneEndInTheirMessage)
{
    EXPECT_GT(expectEveryShortageIsSaid([] { return readAll({sample("tankbox_partitions")}); }),
              100U);
}

TEST(ScarceMemory, PartitionsOfAMixedZoneEndInTheirMessage)
{
    FileSpec spec;
    spec.version = "106";
    spec.title = "short of memory";
    spec.zones[0].letter = 'M';
    spec.zones[0].i = 300;
    spec.zones[0].j = 30;
    spec.zones[0].sections = {{20, 4}, {10, 3}};
    PartitionSpec first;
    first.numNodes = 200;
    first.numCells = {15, 4};
    PartitionSpec second;
    second.numNodes = 100;
    second.numCells = {5, 6};
    spec.zones[0].partitions = {first, second};
    TemporaryFile const file(build(spec));
    EXPECT_GT(expectEveryShortageIsSaid([&] { return readAll({file.path()}); }), 50U);
}

}
}
