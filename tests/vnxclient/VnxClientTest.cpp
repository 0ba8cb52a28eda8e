#include "tests/support/Certificates.h"
#include "tests/vnxclient/Process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace varnox::tests {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

std::string const CLIENT = std::string(VNX_BIN_DIR) + "/vnxclient";
std::string const SERVER = std::string(VNX_BIN_DIR) + "/vnxdataserver";
std::string const DATA = std::string(VNX_SOURCE_DIR) + "/examples/data/";
std::string const TEST_ADDON = std::string(VNX_LIB_DIR) + "/vnxenginetestaddon.so";

struct Result
{
    int status;
    std::string output;
    std::string error;
};

Result run(std::vector<std::string> arguments, Process::Setup const& setup = {})
{
    arguments.insert(arguments.begin(), CLIENT);
    Process process(arguments, setup);
    int const status = process.wait();
    return {status, process.output(), process.error()};
}

std::string contentsOf(std::string const& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// The numbers of a text report, without its headings.
std::vector<double> numbersIn(std::string const& text)
{
    std::istringstream lines(text);
    std::vector<double> result;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line.front() != '#')
            result.push_back(std::stod(line));
    return result;
}

class VnxClient : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = std::filesystem::temp_directory_path() /
                 ("vnxclientprogram" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string inFolder(std::string const& name) const { return (folder / name).string(); }

    std::string write(std::string const& name, std::string const& text, mode_t mode) const
    {
        std::string const path = inFolder(name);
        std::ofstream(path) << text;
        ::chmod(path.c_str(), mode);
        return path;
    }

    /// A data file under a name that tells the test add-on what to do.
    std::string fileNamed(std::string const& name) const
    {
        std::filesystem::copy_file(DATA + "tjunction_grid.hdqfs", inFolder(name),
                                   std::filesystem::copy_options::overwrite_existing);
        return inFolder(name);
    }

    std::filesystem::path folder;
};

// Usage.

class WrongUsageOf : public testing::TestWithParam<std::vector<std::string>>
{
};

TEST_P(WrongUsageOf, EndsWithTwoAndWords)
{
    Result const result = run(GetParam());
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.error, "");
    EXPECT_EQ(result.output, "");
}

std::vector<std::string> const wrongUsages[] = {
    {},
    {"frobnicate"},
    {"info"},
    {"ls"},
    {"types", "--unknown"},
    {"values", "a"},
    {"values", "a", "--zone", "1"},
    {"values", "a", "--zone", "1", "--var", "1", "--raw"},
    {"values", "a", "--zone", "1", "--var", "1", "--raw", "--output", "o", "--json"},
    {"values", "a", "--zone", "1", "--var", "1", "--subzones", "1", "--all"},
    {"values", "a", "--zone", "1", "--var", "1", "--subzones", "1", "--on-demand"},
    {"values", "a", "--zone", "1", "--var", "1", "--subzones", "x"},
    {"calc", "a", "--zone", "1"},
    {"calc", "a", "--formula", "u"},
    {"calc", "a", "--zone", "1", "--formula", "u", "--type", "bit"},
    {"calc", "a", "--zone", "1", "--formula", "u", "--name", ""},
    {"calc", "a", "--zone", "1", "--formula", "u", "--raw"},
    {"calc", "a", "--zone", "1", "--formula", "u", "--subzones", "1", "--all"},
    {"calc", "a", "--zone", "1", "--formula", "u", "--on-demand"},
    {"range", "a", "--zone", "1"},
    {"range", "a", "--zone", "1", "--var", "1", "--partitions", "--subzones", "0"},
    {"range", "a", "--zone", "1", "--var", "1", "--of", "faces"},
    {"find", "a", "--zone", "1"},
    {"find", "a", "--zone", "1", "--value", "p"},
    {"find", "a", "--zone", "1", "--value", "=1"},
    {"find", "a", "--zone", "1", "--value", "p="},
    {"find", "a", "--zone", "1", "--value", "p=1x"},
    {"plane", "a", "--zone", "1"},
    {"plane", "a", "--zone", "1", "--i", "1", "--j", "1", "--k", "1"},
    {"plane", "a", "--zone", "1", "--i", "x"},
    {"types", "--connect", "nowhere"},
    {"types", "--connect", ""},
    {"types", "--connect", "unix:/x", "--token-file", ""},
    {"types", "--connect", "tls:localhost:1", "--tls-ca", ""},
    {"types", "--connect", "tcp:host"},
    {"types", "--connect", "unix:/x", "--addon", "a.so"},
    {"types", "--token-file", "t"}};

INSTANTIATE_TEST_SUITE_P(Lines, WrongUsageOf, testing::ValuesIn(wrongUsages));

TEST_F(VnxClient, NamesAMisspeltCommandOrOption)
{
    EXPECT_EQ(run({"inof", "a.hdqfs"}).error, "This was not expected: inof a.hdqfs\n"
                                              "Run with --help for more information.\n");
    EXPECT_THAT(run({"info", "--jsn"}).error, HasSubstr("not expected: --jsn\n"));
    EXPECT_THAT(run({"info"}).error, HasSubstr("FILE is required"));
}

TEST_F(VnxClient, HelpAndVersionAreNoFailures)
{
    EXPECT_EQ(run({"--help"}).status, 0);
    EXPECT_THAT(run({"--help"}).output, HasSubstr("--connect"));
    EXPECT_EQ(run({"values", "--help"}).status, 0);
    EXPECT_THAT(run({"--version"}).output, StartsWith("vnxclient "));
}

// A server of its own.

TEST_F(VnxClient, TellsTheFileTypes)
{
    Result const text = run({"types"});
    EXPECT_EQ(text.status, 0) << text.error;
    EXPECT_EQ(text.output, "Loader:     HDQFS\nExtensions: hdqfs\n");
    EXPECT_EQ(json::parse(run({"types", "--json"}).output),
              (json{{"loader", "HDQFS"}, {"extensions", "hdqfs"}}));
}

TEST_F(VnxClient, ListsADirectory)
{
    write("odd\nname.hdqfs", "12345", 0640);
    Result const text = run({"ls", folder.string()});
    EXPECT_EQ(text.status, 0) << text.error;
    EXPECT_THAT(text.output, StartsWith(folder.string() + "\nrw-r-----  regular        5 "));
    EXPECT_THAT(text.output, testing::EndsWith("  odd?name.hdqfs\n"));
    json const listing = json::parse(run({"ls", folder.string(), "--json"}).output);
    EXPECT_EQ(listing["directory"], folder.string());
    ASSERT_EQ(listing["entries"].size(), 1U);
    EXPECT_EQ(listing["entries"][0]["name"], "odd\nname.hdqfs");
    EXPECT_EQ(listing["entries"][0]["size"], 5);
    EXPECT_EQ(listing["entries"][0]["permissions"], 0640);
}

TEST_F(VnxClient, SaysSoWhereThereIsNothingToList)
{
    Result const result = run({"ls", inFolder("nowhere")});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, inFolder("nowhere") + "\n(nothing: it is empty, or no directory that "
                                                   "the server can or may read)\n");
}

TEST_F(VnxClient, DescribesADataSetInText)
{
    Result const result = run({"info", DATA + "tankbox_partitions.hdqfs"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("Title:     Dam break on a regular grid\nZones:     1\n"));
    EXPECT_THAT(result.output,
                HasSubstr("Zone 1 'box': ordered, in subzones, 40 x 33 x 26 nodes\n"));
    EXPECT_THAT(result.output, HasSubstr("partitions 8, node subzones 288, cell subzones 240\n"));
    EXPECT_THAT(result.output, HasSubstr("  3   level        int16   nodal         0 to 1000\n"));
    EXPECT_EQ(result.error, "");
}

TEST_F(VnxClient, DescribesADataSetInJson)
{
    Result const result = run({"--json", "info", DATA + "tjunction_grid.hdqfs",
                               DATA + "tjunction_t05.hdqfs", DATA + "tjunction_t10.hdqfs"});
    EXPECT_EQ(result.status, 0) << result.error;
    json const info = json::parse(result.output);
    EXPECT_EQ(info["title"], "T-junction, turbulent, transient");
    EXPECT_EQ(info["solutionTimes"], (json{0.5, 1.0}));
    EXPECT_EQ(info["variables"].size(), 10U);
    ASSERT_EQ(info["zones"].size(), 2U);
    json const& zone = info["zones"][1];
    EXPECT_EQ(zone["type"], "bricks");
    EXPECT_EQ(zone["nodes"], 5616);
    EXPECT_EQ(zone["cells"], 3875);
    EXPECT_EQ(zone["connectivityFromZone"], 1);
    EXPECT_EQ(zone["partitions"][0]["nodeSubzones"], 22);
    EXPECT_EQ(zone["partitions"][0]["cellSubzones"], json{16});
    EXPECT_EQ(zone["variables"][0]["sharedFromZone"], 1);
    EXPECT_EQ(zone["variables"][9]["name"], "p_cell");
    EXPECT_EQ(zone["variables"][9]["type"], "double");
    EXPECT_EQ(zone["variables"][9]["location"], "cell-centred");
}

TEST_F(VnxClient, DescribesAnnotationsInText)
{
    Result const result = run({"info", fileNamed("everything.hdqfs"), "--addon", TEST_ADDON});
    EXPECT_EQ(result.status, 0) << result.error;
    for (char const* const line :
         {"\nAuxiliary data of the data set: Solver = v 1\nAuxiliary data of zone 2: Part = wall\n",
          "\nLabels: 'low' 'high'\n", "\nText 'inlet' at 0.5, 0.25\n",
          "\nGeometry: rectangle at 1, 2, 0, size 3 x 4\n",
          "\nGeometry: polylines, 2 of 3 points together\n",
          "strand 4, connectivity of zone 1, "
          "with face neighbours\n"})
        EXPECT_THAT(result.output, HasSubstr(line));
}

TEST_F(VnxClient, DescribesAnnotationsInJson)
{
    Result const result =
        run({"--json", "info", fileNamed("everything.hdqfs"), "--addon", TEST_ADDON});
    EXPECT_EQ(result.status, 0) << result.error;
    json const info = json::parse(result.output);
    EXPECT_EQ(info["labelSets"], json::parse(R"([["low", "high"]])"));
    ASSERT_EQ(info["auxData"].size(), 3U);
    EXPECT_EQ(info["auxData"][1], (json{{"owner", "zone"},
                                        {"number", 2},
                                        {"name", "Part"},
                                        {"value", "wall"},
                                        {"type", 0},
                                        {"kept", true}}));
    ASSERT_EQ(info["texts"].size(), 2U);
    EXPECT_FALSE(info["texts"][0].contains("color"));
    EXPECT_EQ(info["texts"][1]["color"], 9);
    EXPECT_EQ(info["texts"][1]["attached"], true);
    EXPECT_EQ(info["texts"][1]["typeface"]["family"], "serif");
    ASSERT_EQ(info["geometries"].size(), 6U);
    EXPECT_EQ(info["geometries"][3]["shape"], "circle");
    EXPECT_EQ(info["geometries"][3]["anchor"], (json{4.0, 5.0, 6.0}));
    EXPECT_EQ(info["geometries"][5]["polylines"], json::parse("[[[1.0, 2.0, 3.0]]]"));
    EXPECT_EQ(info["zones"][1]["faceNeighbors"], true);
}

TEST_F(VnxClient, ReadsTheSameValuesOnEveryRoad)
{
    std::vector<std::string> const what{"values",
                                        DATA + "tjunction_grid.hdqfs",
                                        DATA + "tjunction_t05.hdqfs",
                                        "--zone",
                                        "internal",
                                        "--var",
                                        "p"};
    auto const with = [&](std::vector<std::string> const& more) {
        std::vector<std::string> arguments = what;
        arguments.insert(arguments.end(), more.begin(), more.end());
        Result const result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.error;
        return result.output;
    };
    std::vector<double> const bySubzones = numbersIn(with({}));
    ASSERT_EQ(bySubzones.size(), 5616U);
    EXPECT_EQ(numbersIn(with({"--on-demand"})), bySubzones);
    EXPECT_EQ(numbersIn(with({"--all", "--output", inFolder("text")})).size(), 0U);
    EXPECT_EQ(numbersIn(contentsOf(inFolder("text"))), bySubzones);

    with({"--output", inFolder("raw"), "--raw"});
    std::string const bytes = contentsOf(inFolder("raw"));
    std::vector<float> raw(bytes.size() / sizeof(float));
    std::memcpy(raw.data(), bytes.data(), raw.size() * sizeof(float));
    ASSERT_EQ(raw.size(), bySubzones.size());
    for (std::size_t i = 0; i < raw.size(); ++i)
        ASSERT_EQ(raw[i], static_cast<float>(bySubzones[i])) << "value " << i;

    json const subzones = json::parse(with({"--json"}));
    EXPECT_EQ(subzones["variableName"], "p");
    EXPECT_EQ(subzones["type"], "float");
    ASSERT_EQ(subzones["subzones"].size(), 22U);
    EXPECT_EQ(subzones["subzones"][21]["values"].size(), 5616U - 21U * 256U);
    EXPECT_EQ(subzones["subzones"][1]["values"][0].get<float>(), raw[256]);
    EXPECT_EQ(json::parse(with({"--json", "--on-demand"}))["values"].size(), 5616U);

    std::string const one = with({"--subzones", "1,0"});
    EXPECT_THAT(one, HasSubstr("# subzone 1: 256 values\n"));
    EXPECT_EQ(numbersIn(one).front(), bySubzones[256]);
    EXPECT_EQ(numbersIn(one)[256], bySubzones[0]);
}

// Ranges and searches.

TEST_F(VnxClient, TellsRanges)
{
    std::vector<std::string> const box{DATA + "tankbox_partitions.hdqfs", "--zone", "1", "--var",
                                       "X"};
    auto const range = [&](std::vector<std::string> const& options) {
        std::vector<std::string> arguments{"range"};
        arguments.insert(arguments.end(), box.begin(), box.end());
        arguments.insert(arguments.end(), options.begin(), options.end());
        Result const result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.error;
        return result.output;
    };
    EXPECT_EQ(range({}), "variable 4 'X' of zone 1 'box': 5e-07 to 0.9999995\n");
    EXPECT_EQ(json::parse(range({"--json"})).at("range").size(), 2U);
    EXPECT_THAT(range({"--partitions"}),
                StartsWith("# ranges of variable 4 'X' of zone 1 'box' in its partitions\n"
                           "0: 5e-07 to 0.4871795\n1: 0.5128205 to 0.9999995\n"));
    json const partitions = json::parse(range({"--partitions", "--json"}));
    ASSERT_EQ(partitions.at("partitions").size(), 8U);
    EXPECT_FLOAT_EQ(partitions.at("partitions")[1][0].get<float>(), 0.5128205F);
    EXPECT_THAT(range({"--subzones", "1"}),
                StartsWith("# ranges of variable 4 'X' of zone 1 'box' in the node subzones of "
                           "partition 1\n1/0: 0.5128205 to "));
    json const cells = json::parse(range({"--subzones", "1", "--of", "cells", "--json"}));
    EXPECT_EQ(cells.at("of"), "cells");
    EXPECT_EQ(cells.at("variableName"), "X");
    EXPECT_EQ(cells.at("subzones")[0].at("partition"), 1);
    EXPECT_EQ(cells.at("subzones")[0].at("subzone"), 0);
    EXPECT_EQ(cells.at("subzones")[0].at("range").size(), 2U);
}

TEST_F(VnxClient, FindsByValueWhatItsValuesShow)
{
    std::vector<std::string> const files{DATA + "tjunction_grid.hdqfs",
                                         DATA + "tjunction_t05.hdqfs"};
    Result const text =
        run({"find", files[0], files[1], "--zone", "1", "--value", "p=3", "--value", "8=0.5"});
    ASSERT_EQ(text.status, 0) << text.error;
    EXPECT_THAT(text.output, StartsWith("# 7 of 22 node subzones of zone 1 'internal' may hold "
                                        "p = 3, k = 0.5\n7\n9\n"));
    Result const result = run({"find", files[0], files[1], "--zone", "1", "--value", "p=3",
                               "--value", "8=0.5", "--json"});
    ASSERT_EQ(result.status, 0) << result.error;
    json const found = json::parse(result.output);
    EXPECT_EQ(found.at("of"), "nodes");
    EXPECT_EQ(found.at("totalSubzones"), 22);
    EXPECT_EQ(found.at("values")[1].at("variableName"), "k");
    EXPECT_EQ(found.at("values")[1].at("value"), 0.5);

    json const p = json::parse(
        run({"values", files[0], files[1], "--zone", "1", "--var", "p", "--json"}).output);
    json const k = json::parse(
        run({"values", files[0], files[1], "--zone", "1", "--var", "k", "--json"}).output);
    json expected = json::array();
    for (std::size_t s = 0; s < p.at("subzones").size(); ++s) {
        auto const holds = [&](json const& values, double value) {
            auto const all = values.at("subzones")[s].at("values").get<std::vector<double>>();
            auto const [low, high] = std::minmax_element(all.begin(), all.end());
            return *low <= value && value <= *high;
        };
        if (holds(p, 3) && holds(k, 0.5))
            expected.push_back({{"partition", 0}, {"section", 0}, {"subzone", s}});
    }
    EXPECT_EQ(found.at("subzones"), expected);
    // What follows a value is a file.
    EXPECT_EQ(run({"find", "--zone", "1", "--value", "p=3", "--value", "8=0.5", files[0], files[1]})
                  .output,
              text.output);
    // By cells, of a variable at nodes.
    EXPECT_THAT(
        run({"find", files[0], files[1], "--zone", "1", "--value", "p=3", "--of", "cells"}).output,
        HasSubstr(" of 16 cell subzones "));
    EXPECT_THAT(run({"find", files[0], files[1], "--zone", "1", "--value", "p_cell=3"}).output,
                HasSubstr(" of 16 cell subzones "));
}

TEST_F(VnxClient, FindsPlanesAndLines)
{
    std::string const file = DATA + "tankbox_partitions.hdqfs";
    Result const plane = run({"plane", file, "--zone", "box", "--i", "20"});
    ASSERT_EQ(plane.status, 0) << plane.error;
    EXPECT_THAT(plane.output, StartsWith("# 36 of 288 node subzones of zone 1 'box' are on the "
                                         "plane i = 20\n1/0\n1/4\n"));
    Result const line =
        run({"plane", file, "--zone", "1", "--i", "20", "--k", "3", "--of", "cells", "--json"});
    ASSERT_EQ(line.status, 0) << line.error;
    json const report = json::parse(line.output);
    EXPECT_EQ(report.at("i"), 20);
    EXPECT_EQ(report.at("k"), 3);
    EXPECT_EQ(report.at("of"), "cells");
    EXPECT_EQ(report.at("subzones").size(), 6U);
    EXPECT_EQ(report.at("subzones")[3], (json{{"partition", 3}, {"section", 0}, {"subzone", 0}}));
}

TEST_F(VnxClient, CalculatesAFormula)
{
    std::string const grid = DATA + "tjunction_grid.hdqfs";
    std::string const step = DATA + "tjunction_t05.hdqfs";
    std::vector<std::string> const calc{"calc", grid, step, "--zone", "1", "--formula"};
    auto const calculated = [&](std::vector<std::string> const& rest) {
        std::vector<std::string> arguments = calc;
        arguments.insert(arguments.end(), rest.begin(), rest.end());
        Result const result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.error;
        return result.output;
    };
    json const u = json::parse(
        run({"values", grid, step, "--zone", "1", "--var", "U", "--subzones", "0,3", "--json"})
            .output);
    json const twice = json::parse(
        calculated({"2*U", "--name", "twice", "--type", "float", "--subzones", "0,3", "--json"}));
    EXPECT_EQ(twice["variableName"], "twice");
    EXPECT_EQ(twice["variable"], 11);
    EXPECT_EQ(twice["type"], "float");
    EXPECT_EQ(twice["location"], "nodal");
    ASSERT_EQ(twice["subzones"].size(), 2U);
    for (std::size_t s = 0; s < 2; ++s) {
        EXPECT_EQ(twice["subzones"][s]["subzone"], u["subzones"][s]["subzone"]);
        std::vector<double> expected = u["subzones"][s]["values"];
        for (double& value : expected)
            value *= 2;
        EXPECT_EQ(twice["subzones"][s]["values"].get<std::vector<double>>(), expected);
    }

    std::string const text = calculated({"U"}); // a name that there is can't be the result's
    EXPECT_THAT(text, StartsWith("# variable 11 '(U)' of zone 1 '"));
    EXPECT_THAT(text, HasSubstr("': double, nodal\n# subzone 0: 256 values\n"));
    EXPECT_EQ(numbersIn(text).size(), 5616U);

    std::string const path = inFolder("result.raw");
    EXPECT_EQ(calculated({"0-p_cell", "--type", "byte", "--output", path, "--raw"}), "");
    EXPECT_EQ(contentsOf(path).size(), 3875U); // a byte for each cell
}

struct Failing
{
    char const* name;
    std::vector<std::string> arguments;
    std::string message;
};

class FailureOf : public testing::TestWithParam<Failing>
{
};

TEST_P(FailureOf, EndsWithOneAndSaysWhy)
{
    Result const result = run(GetParam().arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, StartsWith("vnxclient: "));
    EXPECT_THAT(result.error, HasSubstr(GetParam().message));
}

std::string const BOX = DATA + "tankbox_partitions.hdqfs";

Failing const failures[] = {
    {"MissingFile", {"info", "/nowhere.hdqfs"}, "Failed to open file for reading: /nowhere.hdqfs"},
    {"ForeignFile", {"info", CLIENT}, "Could not load " + CLIENT},
    {"MissingAddon", {"--addon", "/no.so", "types"}, "Unable to load library /no.so"},
    {"UnknownZone", {"values", BOX, "--zone", "x", "--var", "1"}, "There is no zone 'x'."},
    {"UnknownVariable", {"values", BOX, "--zone", "1", "--var", "10"}, "no variable 10 in zone 1"},
    {"UnknownSubzone",
     {"values", BOX, "--zone", "1", "--var", "1", "--subzones", "8/0"},
     "There is no node subzone 8/0 in zone 1"},
    {"MistakeInAFormula",
     {"calc", BOX, "--zone", "1", "--formula", "X + Nobody"},
     "The formula can't be read. Column 5: There is no variable 'Nobody'.\nX + Nobody\n    ^\n"},
    {"ValueOfAnUnknownVariable",
     {"find", BOX, "--zone", "1", "--value", "nothing=1"},
     "There is no variable 'nothing'."},
    {"PlaneOutside",
     {"plane", BOX, "--zone", "1", "--i", "40"},
     "There is no I = 40 among the nodes of zone 1"},
    {"PlaneOfFiniteElements",
     {"plane", DATA + "tjunction_grid.hdqfs", "--zone", "1", "--k", "1"},
     "Zone 1 has no planes and lines: it is of the type bricks, not ordered."},
    {"RangesOfNoPartition",
     {"range", BOX, "--zone", "1", "--var", "1", "--subzones", "8"},
     "There is no partition 8 in zone 1; it has 8"},
    {"NobodyListens", {"types", "--connect", "unix:/nowhere/socket"}, "Is the server running"},
    {"MissingTokenFile",
     {"types", "--connect", "unix:/x", "--token-file", "/nowhere"},
     "The token file /nowhere can't be opened"},
    {"OptionForSsh", {"types", "--connect", "ssh:-oX"}, "no host for ssh"},
    {"OutputThatCantBe",
     {"values", BOX, "--zone", "1", "--var", "1", "--output", "/nowhere/x"},
     "Could not write '/nowhere/x'"},
    {"FullDevice",
     {"values", BOX, "--zone", "1", "--var", "1", "--output", "/dev/full"},
     "Could not write '/dev/full': No space left on device."}};

INSTANTIATE_TEST_SUITE_P(Failures, FailureOf, testing::ValuesIn(failures),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_F(VnxClient, UnfinishedFileIsRemoved)
{
    Result const result = run({"values", DATA + "tankbox_partitions.hdqfs", "--zone", "1", "--var",
                               "1", "--subzones", "0,99", "--output", inFolder("values")});
    EXPECT_EQ(result.status, 1);
    EXPECT_FALSE(std::filesystem::exists(inFolder("values")));
}

TEST_F(VnxClient, FullDiskIsAFailure)
{
    Process::Setup setup;
    setup.outputPath = "/dev/full";
    Result const result = run({"types"}, setup);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("Could not write to standard output: No space left"));
}

/// Run by a shell that makes something of its own of the descriptors or signals.
Result runAs(std::string const& preparation, std::vector<std::string> const& arguments)
{
    std::vector<std::string> words{"/bin/sh", "-c", preparation, CLIENT};
    words.insert(words.end(), arguments.begin(), arguments.end());
    Process process(words);
    int const status = process.wait();
    return {status, process.output(), process.error()};
}

TEST_F(VnxClient, FileThatMayNotGrowIsAFailureAndIsRemoved)
{
    Result const result =
        runAs("ulimit -f 10; exec \"$0\" \"$@\"", {"values", BOX, "--zone", "1", "--var", "X",
                                                   "--raw", "--output", inFolder("values")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "vnxclient: Could not write '" + inFolder("values") + "': File too large.\n");
    EXPECT_FALSE(std::filesystem::exists(inFolder("values")));
}

TEST_F(VnxClient, ClosedStandardOutputIsNotTheServersConnection)
{
    Result const result = runAs("exec \"$0\" \"$@\" >&-", {"types"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "vnxclient: Could not write to standard output: Bad file descriptor.\n");
    EXPECT_EQ(runAs("exec \"$0\" \"$@\" <&- 2>&-", {"types"}).output,
              "Loader:     HDQFS\nExtensions: hdqfs\n");
}

TEST_F(VnxClient, EndsQuietlyWhenNobodyReads)
{
    Process::Setup setup;
    setup.outputIsClosed = true;
    Result const result =
        run({"values", DATA + "tankbox_partitions.hdqfs", "--zone", "1", "--var", "X"}, setup);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
}

TEST_F(VnxClient, ServerThatDiesGivesItsLastWords)
{
    Result const result = run({"info", fileNamed("throws.hdqfs"), "--addon", TEST_ADDON});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("the loader lost its way"));
    Result const crashed = run({"info", fileNamed("dies.hdqfs"), "--addon", TEST_ADDON});
    EXPECT_EQ(crashed.status, 1);
    EXPECT_THAT(crashed.error, HasSubstr("The connection to the data server was lost"));
}

// Progress.

TEST_F(VnxClient, ShowsItsProgressToATerminalWhenTheWorkIsLong)
{
    Process::Setup setup;
    setup.errorIsTerminal = true;
    Result const result = run({"info", fileNamed("slow.hdqfs"), "--addon", TEST_ADDON}, setup);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.error, HasSubstr("\rLoading: 0"));
    EXPECT_THAT(result.error, testing::EndsWith("\r\033[K")) << "wiped in the end";
}

TEST_F(VnxClient, ShowsNoProgressOfShortWork)
{
    Process::Setup setup;
    setup.errorIsTerminal = true;
    EXPECT_EQ(run({"types"}, setup).error, "");
}

TEST_F(VnxClient, ShowsNoProgressWithoutATerminal)
{
    EXPECT_EQ(run({"info", fileNamed("slow.hdqfs"), "--addon", TEST_ADDON}).error, "");
}

// The end by a signal.

class VnxClientSignal : public VnxClient, public testing::WithParamInterface<int>
{
};

/// Gone, or dead and waiting for whoever adopted it.
bool isDead(pid_t pid)
{
    std::string const status = contentsOf("/proc/" + std::to_string(pid) + "/stat");
    std::size_t const end = status.rfind(')');
    return end == std::string::npos || status.compare(end + 2, 1, "Z") == 0;
}

/// The process that hangs because of this file; 0 if none does in time.
pid_t hangingAt(std::string const& file)
{
    for (int i = 0; i < 1000 && !std::filesystem::exists(file + ".pid"); ++i)
        std::this_thread::sleep_for(10ms);
    return std::atoi(contentsOf(file + ".pid").c_str());
}

TEST_P(VnxClientSignal, EndsClientAndServerWithinATenthOfASecond)
{
    std::string const file = fileNamed("hangs.hdqfs");
    Process client({CLIENT, "info", file, "--addon", TEST_ADDON});
    pid_t const worker = hangingAt(file);
    ASSERT_GT(worker, 1);
    ASSERT_FALSE(isDead(worker));
    ASSERT_FALSE(client.isAllGone(0ms));
    auto const start = std::chrono::steady_clock::now();
    client.signal(GetParam());
    bool const isAllGone = client.isAllGone(5000ms);
    while (!isDead(worker) && std::chrono::steady_clock::now() - start < 5s)
        std::this_thread::sleep_for(1ms);
    auto const took = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(isAllGone);
    EXPECT_TRUE(isDead(worker));
    EXPECT_LT(took, 100ms);
    EXPECT_EQ(client.wait(), -GetParam());
}

INSTANTIATE_TEST_SUITE_P(Signals, VnxClientSignal,
                         testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL),
                         [](auto const& test) { return "Signal" + std::to_string(test.param); });

TEST_F(VnxClient, SignalThatIsIgnoredStaysSo)
{
    std::string const file = fileNamed("hangs.hdqfs");
    Process client({"/bin/sh", "-c", "trap '' HUP; exec \"$0\" \"$@\"", CLIENT, "info", file,
                    "--addon", TEST_ADDON});
    ASSERT_GT(hangingAt(file), 1);
    client.signal(SIGHUP);
    EXPECT_FALSE(client.isAllGone(500ms));
    client.signal(SIGTERM);
    EXPECT_EQ(client.wait(), -SIGTERM);
}

TEST_F(VnxClient, InterruptRemovesTheUnfinishedFile)
{
    Process::Setup setup;
    setup.environment["VNX_TEST_HANG"] = inFolder("hanging");
    Process client({CLIENT, "values", fileNamed("everything.hdqfs"), "--addon", TEST_ADDON,
                    "--zone", "1", "--var", "1", "--output", inFolder("values")},
                   setup);
    ASSERT_GT(hangingAt(inFolder("hanging")), 1);
    EXPECT_TRUE(std::filesystem::exists(inFolder("values")));
    client.signal(SIGINT);
    EXPECT_EQ(client.wait(), -SIGINT);
    EXPECT_FALSE(std::filesystem::exists(inFolder("values")));
}

TEST_F(VnxClient, InterruptAlsoEndsWaitingForAServerThatDoesNotAnswer)
{
    std::string const path = inFolder("silent");
    int const listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr const*>(&address), sizeof(address)), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    Process client({CLIENT, "types", "--connect", "unix:" + path});
    std::this_thread::sleep_for(200ms);
    auto const start = std::chrono::steady_clock::now();
    client.signal(SIGINT);
    EXPECT_EQ(client.wait(), -SIGINT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 100ms);
    ::close(listener);
}

// Servers that are named.

class VnxClientConnected : public VnxClient
{
protected:
    void start(std::vector<std::string> const& options)
    {
        std::vector<std::string> arguments{SERVER, "--address-file", inFolder("address")};
        if (::geteuid() == 0)
            arguments.emplace_back("--allow-root");
        arguments.insert(arguments.end(), options.begin(), options.end());
        server = std::make_unique<Process>(arguments);
        for (int i = 0; i < 500 && !std::filesystem::exists(inFolder("address")); ++i)
            std::this_thread::sleep_for(10ms);
        std::istringstream(contentsOf(inFolder("address"))) >> address;
        ASSERT_NE(address, "");
    }
    void TearDown() override
    {
        if (server != nullptr) {
            server->signal(SIGTERM);
            server->wait();
        }
        VnxClient::TearDown();
    }

    std::unique_ptr<Process> server;
    std::string address;
};

TEST_F(VnxClientConnected, SpeaksOverAUnixSocket)
{
    start({"--listen", "unix:" + inFolder("socket")});
    for (int session = 0; session < 2; ++session)
        EXPECT_EQ(run({"types", "--connect", address}).output,
                  "Loader:     HDQFS\nExtensions: hdqfs\n");
}

TEST_F(VnxClientConnected, ShowsItsTokenOverTcp)
{
    std::string const token = write("token", "open sesame\n", 0600);
    start({"--listen", "tcp:127.0.0.1:0", "--token-file", token});
    Result const accepted = run({"types", "--connect", address, "--token-file", token});
    EXPECT_EQ(accepted.status, 0) << accepted.error;

    Result const without = run({"types", "--connect", address});
    EXPECT_EQ(without.status, 1);
    EXPECT_THAT(without.error, HasSubstr("vnxclient: The data server refused the connection: "));

    Result const open =
        run({"types", "--connect", address, "--token-file", write("open", "open sesame\n", 0644)});
    EXPECT_EQ(open.status, 1);
    EXPECT_THAT(open.error, HasSubstr("run: chmod 600 "));
}

TEST_F(VnxClientConnected, SpeaksByTlsToAServerOfTheRightName)
{
    Certificate const own = makeCertificate(folder.string(), "own", "127.0.0.1");
    start({"--listen", "tcp:127.0.0.1:0", "--tls-cert", own.certificate, "--tls-key", own.key});
    std::string const encrypted = "tls" + address.substr(address.find(':'));
    Result const trusted = run({"types", "--connect", encrypted, "--tls-ca", own.certificate});
    EXPECT_EQ(trusted.error, "");
    EXPECT_EQ(trusted.output, "Loader:     HDQFS\nExtensions: hdqfs\n");

    Result const stranger = run({"types", "--connect", encrypted});
    EXPECT_EQ(stranger.status, 1);
    EXPECT_THAT(stranger.error,
                HasSubstr("Can't connect to " + encrypted +
                          ": TLS failed: the certificate of the other side is refused: "));

    std::string const byName = "tls:localhost" + address.substr(address.rfind(':'));
    Result const misnamed = run({"types", "--connect", byName, "--tls-ca", own.certificate});
    EXPECT_EQ(misnamed.status, 1);
    EXPECT_THAT(misnamed.error, HasSubstr("hostname mismatch"));
    EXPECT_EQ(
        run({"types", "--connect", byName, "--tls-ca", own.certificate, "--tls-any-name"}).status,
        0);
    Result const plain = run({"types", "--connect", address});
    EXPECT_EQ(plain.status, 1);
    EXPECT_THAT(plain.error, HasSubstr("\nIf it speaks TLS, its address is " + encrypted + ".\n"));
    EXPECT_EQ(run({"types", "--connect", address, "--tls-ca", own.certificate}).status, 2);
}

TEST_F(VnxClientConnected, IsToldTheAddressOfAServerThatDoesNotSpeakTls)
{
    start({"--listen", "tcp:127.0.0.1:0"});
    Result const result = run({"types", "--connect", "tls" + address.substr(address.find(':'))});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error,
                HasSubstr("\nIf the server doesn't speak TLS, its address is " + address + ".\n"));
}

TEST_F(VnxClientConnected, IsToldWhatAServerHasAgainstItsCertificate)
{
    Certificate const own = makeCertificate(folder.string(), "own", "127.0.0.1");
    start({"--listen", "tcp:127.0.0.1:0", "--tls-cert", own.certificate, "--tls-key", own.key,
           "--tls-client-ca", own.certificate});
    std::string const encrypted = "tls" + address.substr(address.find(':'));
    Result const without = run({"types", "--connect", encrypted, "--tls-ca", own.certificate});
    EXPECT_EQ(without.status, 1);
    EXPECT_EQ(without.error, "vnxclient: Can't connect to " + encrypted +
                                 ": TLS failed: tlsv13 alert certificate required.\nThe server "
                                 "wants to see a certificate: give one with --tls-cert and "
                                 "--tls-key.\n");
    Result const locked = run({"types", "--connect", encrypted, "--tls-ca", own.certificate,
                               "--tls-cert", own.certificate, "--tls-key", lockedKey(own)});
    EXPECT_EQ(locked.status, 1);
    EXPECT_THAT(locked.error, HasSubstr("needs a pass phrase, and nobody is asked for one"));
}

TEST_F(VnxClient, AddressesAreCalledAsTheirUserWroteThem)
{
    EXPECT_THAT(run({"types", "--connect", "tls:localhost"}).error,
                StartsWith("vnxclient: 'tls:localhost' has no port; write tls:HOST:PORT.\n"));
    EXPECT_THAT(run({"types", "--connect", "tls:127.0.0.1:1"}).error,
                StartsWith("vnxclient: Can't connect to tls:127.0.0.1:1: "));
    EXPECT_THAT(run({"types", "--connect", "nowhere"}).error,
                StartsWith("vnxclient: 'nowhere' is no address; write unix:PATH, tcp:HOST:PORT, "
                           "tls:HOST:PORT or ssh:[USER@]HOST.\n"));
}

TEST_F(VnxClient, SpeaksThroughSsh)
{
    write("ssh", "#!/bin/sh\n[ \"$1\" = me@there ] || exit 9\nshift\nexec \"$@\"\n", 0755);
    Process::Setup setup;
    setup.environment["PATH"] =
        folder.string() + ":" + VNX_BIN_DIR + ":" + std::string(std::getenv("PATH"));
    std::vector<std::string> words{"types", "--connect", "ssh:me@there"};
    if (::geteuid() == 0)
        words.emplace_back("--allow-root");
    Result const result = run(words, setup);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "Loader:     HDQFS\nExtensions: hdqfs\n");

    write("ssh", "#!/bin/sh\necho 'ssh: no such host' >&2\nexit 255\n", 0755);
    Result const failed = run({"types", "--connect", "ssh:me@there"}, setup);
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.error, HasSubstr("ssh: no such host"));
}

}
}
