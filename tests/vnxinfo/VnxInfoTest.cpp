#include "tests/hdqfs/TemporaryFile.h"
#include "tests/vnxclient/Process.h"
#include "tools/vnxinfo/Description.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

namespace varnox::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;

std::string const PROGRAM = std::string(VNX_BIN_DIR) + "/vnxinfo";
std::string const DATA = std::string(VNX_SOURCE_DIR) + "/examples/data/";
std::string const GRID = DATA + "tjunction_grid.hdqfs";
std::string const SOLUTION = DATA + "tjunction_t05.hdqfs";
std::string const TEXT_SOLUTION = DATA + "tjunction_ascii_t05.hdqfs";
std::string const BOX = DATA + "tankbox_partitions.hdqfs";

struct Result
{
    int status;
    std::string output;
    std::string error;
};

Result run(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), PROGRAM);
    Process process(arguments);
    int const status = process.wait();
    return {status, process.output(), process.error()};
}

json runJson(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "--json");
    Result const result = run(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    return json::parse(result.output);
}

TEST(VnxInfo, ShowsAFileAsATree)
{
    Result const result = run({GRID});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("version 105, binary, grid file of 114936 bytes"));
    EXPECT_THAT(result.output, HasSubstr("zone 1 'internal'"));
    EXPECT_THAT(result.output, HasSubstr("5616 nodes in 22 subzones, 3875 cells in 16"));
    EXPECT_THAT(result.output, HasSubstr("X     float   nodes  0 to 0.22"));
}

TEST(VnxInfo, WritesAZoneAtATimeWhatItSaysOfTheWhole)
{
    for (std::string const& path : {GRID, SOLUTION, TEXT_SOLUTION, BOX}) {
        hdqfsloader::DataFile file(path);
        EXPECT_EQ(run({"--json", path}).output,
                  tools::serialized(tools::describe(file, {}), 1) + "\n");
        EXPECT_EQ(run({"--json", "--zone", "1", path}).output,
                  tools::serialized(tools::describe(file, 0), 1) + "\n");
    }
}

TEST(VnxInfo, SaysTheSameAsJson)
{
    json const files = runJson({GRID, BOX});
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0]["type"], "grid");
    json const& box = files[1]["zones"][0];
    EXPECT_EQ(box["type"], "ordered");
    EXPECT_EQ(box["size"], (json{{"i", 40}, {"j", 33}, {"k", 26}}));
    EXPECT_EQ(box["partitions"].size(), 8U);
    EXPECT_EQ(box["variables"][8]["type"], "double");
}

TEST(VnxInfo, ShowsOneZoneWithItsBlocks)
{
    json const file = runJson({"--zone", "internal", GRID});
    json const& blocks = file["zones"][0]["partitions"][0]["blocks"];
    EXPECT_EQ(blocks["cellConnectivity"].size(), 16U);
    EXPECT_EQ(blocks["nodeConnectivity"].size(), 22U);
    EXPECT_EQ(blocks["variables"].size(), 3U);
    EXPECT_EQ(run({"--zone", "9", GRID}).status, 1);
}

TEST(VnxInfo, ShowsTagsWithTheirPlaces)
{
    json const file = runJson({"--tags", BOX});
    EXPECT_EQ(file["dataSet"]["at"], 30);
    EXPECT_EQ(file["dataSet"]["tags"][0],
              (json{{"tag", 1}, {"name", "numberOfZones"}, {"value", 1}, {"at", 88}}));
    EXPECT_EQ(file["zones"][0]["partitions"].size(), 8U);
    EXPECT_THAT(run({"--tags", TEXT_SOLUTION}).output, HasSubstr("varFileLocs"));
}

TEST(VnxInfo, ShowsValuesInTheOrderOfTheFile)
{
    json const binary = runJson({"--values", "--zone", "1", "--var", "p", SOLUTION});
    ASSERT_EQ(binary["partitions"].size(), 1U);
    ASSERT_EQ(binary["partitions"][0].size(), 5616U);
    Result const text = run({"--values", "--zone", "1", "--var", "p", SOLUTION});
    EXPECT_THAT(text.output, testing::StartsWith("13.974033\n"));
    json const inText = runJson({"--values", "--zone", "1", "--var", "p", TEXT_SOLUTION});
    EXPECT_NEAR(inText["partitions"][0][5615].get<double>(),
                binary["partitions"][0][5615].get<double>(), 1e-5);
}

TEST(VnxInfo, CountsValuesInAHistogram)
{
    json const file = runJson({"--histogram", "alpha.water", "--bins", "4", BOX});
    EXPECT_EQ(file["values"], 34320);
    ASSERT_EQ(file["counts"].size(), 4U);
    std::uint64_t sum = 0;
    for (json const& count : file["counts"])
        sum += count.get<std::uint64_t>();
    EXPECT_EQ(sum, 34320U);
    EXPECT_EQ(file["edges"].size(), 5U);
    EXPECT_EQ(file["edges"][4], 1.0);
    // Few values lie between water and air.
    EXPECT_GT(file["counts"][0], 30000);
    EXPECT_GT(file["counts"][3], 2500);
}

TEST(VnxInfo, ChecksASetOfFiles)
{
    Result const result = run({"--check", GRID, SOLUTION});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, GRID + ": sound\n" + SOLUTION + ": sound\n");
    // A box is no solution of the junction's grid, but it is checked by itself.
    EXPECT_EQ(run({"--check", GRID, BOX}).status, 0);
}

TEST(VnxInfo, TellsThatAFileIsCutOff)
{
    std::ifstream file(BOX, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), {}};
    hdqfsloader::tests::TemporaryFile const cut(bytes.substr(0, 277055));
    Result const result = run({cut.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("damaged         The file ends at 277055, ahead of the "
                                         "header of partition 3 at 277055."));
    EXPECT_THAT(result.output, HasSubstr("9   alpha.water  double")); // and goes on
    hdqfsloader::tests::TemporaryFile const longer(bytes.substr(0, 986732));
    EXPECT_EQ(run({longer.path()}).status, 0); // --check reads what lies behind the headers
    EXPECT_EQ(run({"--check", longer.path()}).status, 1);
}

TEST(VnxInfo, EndsWithOneForAFaultyFile)
{
    hdqfsloader::tests::TemporaryFile const damaged("#!HDQFS 105BF\n");
    Result const result = run({"--check", damaged.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("first line"));
    EXPECT_THAT(result.output, HasSubstr("1 fault"));
    Result const asJson = run({"--check", "--json", damaged.path()});
    EXPECT_EQ(asJson.status, 1);
    EXPECT_FALSE(json::parse(asJson.output)["sound"].get<bool>());
}

TEST(VnxInfo, SaysWhyAFileCannotBeOpened)
{
    Result const missing = run({"/nowhere"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.error, "vnxinfo: Cannot open /nowhere: No such file or directory.\n");
    EXPECT_EQ(run({"/dev"}).error, "vnxinfo: Cannot open /dev: it is no ordinary file.\n");
    Result const checked = run({"--check", "/nowhere", GRID});
    EXPECT_EQ(checked.status, 1);
    EXPECT_EQ(
        checked.output,
        "/nowhere: file: It can't be opened: No such file or directory.\n/nowhere: 1 fault\n" +
            GRID + ": sound\n");
}

TEST(VnxInfo, EndsWithTwoForWrongUsage)
{
    EXPECT_EQ(run({}).status, 2);
    EXPECT_EQ(run({"--values", GRID}).status, 2);
    EXPECT_THAT(run({"--chek"}).error, HasSubstr("This was not expected: --chek\n"));
    EXPECT_EQ(run({"--check", "--tags", GRID}).status, 2);
    EXPECT_EQ(run({"--bins", "3", GRID}).status, 2);
}

}
}
