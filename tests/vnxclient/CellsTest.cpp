// `vnxclient cells` as a whole, against the data server and its loader.

#include "tests/vnxclient/Process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace varnox::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

std::string const DATA = std::string(VNX_SOURCE_DIR) + "/examples/data/";
std::string const GRID = DATA + "tjunction_grid.hdqfs";

struct Result
{
    int status;
    std::string output;
    std::string error;
};

Result run(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {std::string(VNX_BIN_DIR) + "/vnxclient", "cells"});
    Process process(arguments);
    int const status = process.wait();
    return {status, process.output(), process.error()};
}

std::vector<std::string> linesOf(std::string const& text)
{
    std::vector<std::string> result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        result.push_back(line);
    return result;
}

TEST(VnxClientCells, ShowsTheNodesOfTheCellsInText)
{
    Result const result = run({GRID, "--zone", "internal", "--subzones", "15"});
    ASSERT_EQ(result.status, 0) << result.error;
    auto const lines = linesOf(result.output);
    ASSERT_EQ(lines.size(), 2U + 35);
    EXPECT_EQ(lines[0], "# cells of zone 1 'internal': bricks; a node is subzone:item, partition "
                        "ahead if not 0");
    EXPECT_EQ(lines[1], "# subzone 15: 35 cells, hexahedron of 8 nodes");
    EXPECT_EQ(lines[2], "21:7 21:169 21:200 21:38 21:5 21:167 21:198 21:36");
}

TEST(VnxClientCells, ShowsCoordinatesWhereTheyAreAskedFor)
{
    Result const result = run({GRID, "--zone", "1", "--subzones", "15", "--coordinates"});
    ASSERT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(linesOf(result.output)[2],
                StartsWith("21:7(0.204,0.182,0.016) 21:169(0.204,0.182,0.02) "));
    // In another order, by number and by name.
    EXPECT_THAT(
        linesOf(run({GRID, "--zone", "1", "--subzones", "15", "--coordinates-from", "3,X,2"})
                    .output)[2],
        StartsWith("21:7(0.016,0.204,0.182) "));
}

TEST(VnxClientCells, AllSubzonesAreAllCells)
{
    json const all = json::parse(run({GRID, "--zone", "1", "--json"}).output);
    EXPECT_EQ(all.at("zone"), 1);
    EXPECT_EQ(all.at("zoneName"), "internal");
    EXPECT_EQ(all.at("type"), "bricks");
    ASSERT_EQ(all.at("subzones").size(), 16U);
    std::size_t numCells = 0;
    for (json const& subzone : all.at("subzones")) {
        numCells += subzone.at("cells").size();
        EXPECT_EQ(subzone.at("shape"), "hexahedron");
        EXPECT_EQ(subzone.at("corners"), 8);
        EXPECT_EQ(subzone.at("faces"), 6);
        EXPECT_FALSE(subzone.at("nodeSubzones").empty());
    }
    EXPECT_EQ(numCells, 3875U);
    EXPECT_EQ(all.at("subzones")[15].at("cells")[0], (json{{0, 21, 7},
                                                           {0, 21, 169},
                                                           {0, 21, 200},
                                                           {0, 21, 38},
                                                           {0, 21, 5},
                                                           {0, 21, 167},
                                                           {0, 21, 198},
                                                           {0, 21, 36}}));
    EXPECT_EQ(json::parse(run({GRID, "--zone", "1", "--all", "--json"}).output), all);
}

TEST(VnxClientCells, CoordinatesInJsonStandBesideTheCells)
{
    json const one = json::parse(
        run({GRID, "--zone", "1", "--subzones", "15", "--coordinates", "--json"}).output);
    json const& subzone = one.at("subzones")[0];
    ASSERT_EQ(subzone.at("coordinates").size(), subzone.at("cells").size());
    auto const point = subzone.at("coordinates")[0][1].get<std::vector<float>>();
    EXPECT_EQ(point, (std::vector<float>{0.204F, 0.182F, 0.02F}));
}

TEST(VnxClientCells, PartitionsAndOrderedZonesHaveCellsToo)
{
    Result const result =
        run({DATA + "tankbox_partitions.hdqfs", "--zone", "1", "--subzones", "7/0", "--json"});
    ASSERT_EQ(result.status, 0) << result.error;
    json const subzone = json::parse(result.output).at("subzones")[0];
    EXPECT_EQ(subzone.at("partition"), 7);
    EXPECT_EQ(subzone.at("cells")[0].size(), 8U);
    EXPECT_EQ(subzone.at("cells")[0][0][0], 7);
}

struct Failing
{
    char const* name;
    std::vector<std::string> arguments;
    int status;
    char const* message;
};

Failing const failures[] = {
    {"NoZone", {GRID}, 2, "--zone is required"},
    {"UnknownZone", {GRID, "--zone", "nowhere"}, 1, "There is no zone 'nowhere'."},
    {"ZoneBeyondTheLast", {GRID, "--zone", "2"}, 1, "There is no zone 2; the data set has 1."},
    {"SubzoneThatDoesntExist",
     {GRID, "--zone", "1", "--subzones", "16"},
     1,
     "There is no cell subzone 16 in zone 1: subzones, sections and partitions count from 0, and "
     "here there are 16."},
    {"BadList", {GRID, "--zone", "1", "--subzones", "x"}, 2, "--subzones: 'x' names no subzones"},
    {"ListAndAll",
     {GRID, "--zone", "1", "--subzones", "1", "--all"},
     2,
     "--subzones excludes --all"},
    {"TwoCoordinates",
     {GRID, "--zone", "1", "--coordinates-from", "1,2"},
     1,
     "'1,2' doesn't name three variables with commas between them."},
    {"UnknownCoordinate",
     {GRID, "--zone", "1", "--coordinates-from", "1,2,q"},
     1,
     "There is no variable 'q'."}};

class VnxClientCellsFailure : public testing::TestWithParam<Failing>
{
};

TEST_P(VnxClientCellsFailure, SaysWhy)
{
    Result const result = run(GetParam().arguments);
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_THAT(result.error, HasSubstr(GetParam().message));
    EXPECT_EQ(result.output, "");
}

INSTANTIATE_TEST_SUITE_P(Failures, VnxClientCellsFailure, testing::ValuesIn(failures),
                         [](auto const& row) { return row.param.name; });

TEST(VnxClientCells, DamagedConnectivityIsAMessage)
{
    std::ifstream in(DATA + "tjunction_ascii_grid.hdqfs", std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), {});
    std::size_t const begin = text.find("refNodeSubzones");
    ASSERT_NE(begin, std::string::npos);
    struct Damage
    {
        std::string word;
        std::string message;
    };
    for (Damage const& row :
         {Damage{"refNodeSubzones", "damaged: it refers to node "},
          Damage{"nszOffsets", "Error reading 2048 1-byte unsigned integer values for nszOffsets"},
          Damage{"refNsz4BitOffsets", "Bad value for refNsz4BitOffsets."}}) {
        std::string damaged = text;
        std::size_t const number = text.find("\n", text.find(row.word, begin)) + 1;
        damaged.replace(number, 3, row.word == "refNsz4BitOffsets" ? "ff " : "999");
        std::string const path = std::filesystem::temp_directory_path() /
                                 ("damaged" + std::to_string(::getpid()) + ".hdqfs");
        std::ofstream(path, std::ios::binary) << damaged;
        Result const result = run({path, "--zone", "1"});
        std::filesystem::remove(path);
        EXPECT_EQ(result.status, 1) << row.word;
        EXPECT_THAT(result.error, HasSubstr("was lost while reading the cells of zone 1"))
            << row.word;
        EXPECT_THAT(result.error,
                    HasSubstr("cell subzone 0 of section 0 in partition 0 of zone 1 of "))
            << row.word;
        EXPECT_THAT(result.error, HasSubstr(row.message)) << row.word;
    }
}

}
}
