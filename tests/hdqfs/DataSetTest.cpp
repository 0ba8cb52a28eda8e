#include "addons/hdqfs/DataSet.h"

#include "tests/hdqfs/Samples.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace varnox::hdqfsloader {
namespace {

using tests::sample;
using tests::samples;
using tests::TemporaryFile;

using Names = std::vector<std::string>;

Names const JUNCTION_VARS{"X", "Y", "Z", "U", "V", "W", "p", "k", "nut", "p_cell"};

std::string failureOf(std::vector<std::string> const& paths)
{
    try {
        DataSet const dataSet(paths);
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "";
}

std::string contentsOf(std::string const& path)
{
    std::ifstream const file(path, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

TEST(DataSet, GridAloneHasItsOwnVariables)
{
    DataSet const dataSet({sample("tjunction_grid")});
    EXPECT_EQ(dataSet.numZones(), 1U);
    EXPECT_EQ(dataSet.varNames(), (Names{"X", "Y", "Z"}));
    DataSet::Zone const zone = dataSet.zone(0);
    EXPECT_EQ(zone.type, ZoneType_FEBrick);
    EXPECT_TRUE(zone.isHdq);
    EXPECT_EQ(zone.size.i, 5616);
    EXPECT_EQ(zone.size.j, 3875);
}

TEST(DataSet, EachSolutionFileIsACopyOfTheGridsZones)
{
    DataSet const dataSet(
        samples({"tjunction_grid", "tjunction_t00", "tjunction_t05", "tjunction_t10"}));
    EXPECT_EQ(dataSet.numZones(), 3U);
    EXPECT_EQ(dataSet.varNames(), JUNCTION_VARS);
    EXPECT_DOUBLE_EQ(dataSet.zone(0).solutionTime, 0.0);
    EXPECT_DOUBLE_EQ(dataSet.zone(1).solutionTime, 0.5);
    EXPECT_DOUBLE_EQ(dataSet.zone(2).solutionTime, 1.0);
    EXPECT_EQ(dataSet.zone(0).connectivityFrom, -1);
    EXPECT_EQ(dataSet.zone(1).connectivityFrom, 0);
    EXPECT_EQ(dataSet.zone(2).connectivityFrom, 0);
}

TEST(DataSet, GridVariablesOfLaterCopiesAreSharedFromTheFirst)
{
    DataSet const dataSet(samples({"tjunction_grid", "tjunction_t00", "tjunction_t05"}));
    EXPECT_TRUE(dataSet.variable(0, 0).hasValues());
    EXPECT_EQ(dataSet.variable(1, 0).sharedFrom, 0);
    EXPECT_FALSE(dataSet.variable(1, 0).hasValues());
    EXPECT_TRUE(dataSet.variable(1, 6).hasValues());
    EXPECT_EQ(dataSet.values(1, 6).file->path(), sample("tjunction_t05"));
    EXPECT_EQ(dataSet.values(1, 6).var, 3U);
}

TEST(DataSet, CellVariableKeepsItsPlaceAndType)
{
    DataSet const dataSet(samples({"tjunction_grid", "tjunction_t00"}));
    DataSet::Variable const cells = dataSet.variable(0, 9);
    EXPECT_FALSE(cells.isNodal);
    EXPECT_EQ(cells.type, ValueType::Double);
    EXPECT_TRUE(dataSet.variable(0, 6).isNodal);
    EXPECT_EQ(dataSet.variable(0, 6).type, ValueType::Float);
}

TEST(DataSet, TwoFileSetsStandOneBehindTheOther)
{
    DataSet const dataSet(samples({"tjunction_grid", "tjunction_t00", "tjunction_grid",
                                   "tjunction_t05", "tjunction_t10"}));
    EXPECT_EQ(dataSet.numZones(), 3U);
    EXPECT_EQ(dataSet.zone(1).connectivityFrom, -1);
    EXPECT_EQ(dataSet.zone(2).connectivityFrom, 1);
    EXPECT_EQ(dataSet.variable(2, 1).sharedFrom, 1);
}

TEST(DataSet, SetWithoutSolutionsLacksTheVariablesOfOthers)
{
    DataSet const dataSet(samples({"tjunction_grid", "tjunction_t00", "tjunction_grid"}));
    EXPECT_EQ(dataSet.varNames(), JUNCTION_VARS);
    EXPECT_TRUE(dataSet.variable(1, 2).hasValues());
    EXPECT_TRUE(dataSet.variable(1, 3).isPassive);
}

TEST(DataSet, FilesWithOtherNamesDontLoadTogether)
{
    std::string const failure =
        failureOf(samples({"tjunction_grid", "tjunction_t00", "tankbox_partitions"}));
    EXPECT_EQ(failure.rfind("The files can't be loaded together: variable 1 is \"valid\"", 0), 0U)
        << failure;
}

TEST(DataSet, SolutionFileNeedsItsGridFile)
{
    EXPECT_EQ(failureOf({sample("tjunction_t00")}),
              "The solution file " + sample("tjunction_t00") + " must follow its grid file.");
}

TEST(DataSet, SolutionOfAnotherGridIsRefused)
{
    std::string const failure = failureOf(samples({"tankbox_partitions", "tjunction_t00"}));
    EXPECT_NE(failure.find("has other types or sizes of zones than"), std::string::npos) << failure;
}

TEST(DataSet, MissingFileIsNamed)
{
    std::string const failure = failureOf({"/nowhere/at/all.hdqfs"});
    EXPECT_NE(failure.find("/nowhere/at/all.hdqfs"), std::string::npos) << failure;
}

TEST(DataSet, EmptyAndForeignFilesAreRefusedByName)
{
    for (char const* contents : {"", "CDF\x01 something else", "#!HDQFS"}) {
        TemporaryFile const file(contents);
        EXPECT_NE(failureOf({file.path()}).find(file.path()), std::string::npos);
    }
}

TEST(DataSet, FileCutInItsDataSetHeaderIsRefused)
{
    std::string const whole = contentsOf(sample("tjunction_t00"));
    for (std::size_t length = 0; length < 600; length += 7) {
        TemporaryFile const file(whole.substr(0, length));
        EXPECT_NE(failureOf({sample("tjunction_grid"), file.path()}), "") << length;
    }
}

TEST(DataSet, TextFormSaysTheSameAsTheBinaryForm)
{
    DataSet const text(samples({"tjunction_ascii_grid", "tjunction_ascii_t05"}));
    DataSet const binary(samples({"tjunction_grid", "tjunction_t05"}));
    EXPECT_EQ(text.zone(0).name, binary.zone(0).name);
    EXPECT_EQ(text.zone(0).size.i, binary.zone(0).size.i);
    EXPECT_DOUBLE_EQ(text.zone(0).solutionTime, binary.zone(0).solutionTime);
    EXPECT_FLOAT_EQ(static_cast<float>(text.variable(0, 0).range.max),
                    static_cast<float>(binary.variable(0, 0).range.max));
}

}
}
