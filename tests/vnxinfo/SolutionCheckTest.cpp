// Solution files that are held to their grid files.

#include "tests/writer/DataSets.h"
#include "tests/writer/WrittenFile.h"
#include "tools/vnxinfo/Check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace varnox::tools {
namespace {

using hdqfswriter::DataSet;
using hdqfswriter::FileType;
using hdqfswriter::tests::TemporaryFolder;
using testing::HasSubstr;

/// Bricks in more than one subzone of nodes and of cells.
hdqfswriter::Zone bricks(std::uint64_t alongX, std::uint64_t alongY = 7)
{
    hdqfswriter::tests::MeshSpec spec;
    spec.numBlocks = {alongX, alongY, 5};
    auto const all = hdqfswriter::tests::variablesOfAllTypes();
    return hdqfswriter::tests::meshZone(spec, {all[8], all[9]}); // at nodes and at cells
}

DataSet dataSetOf(std::vector<hdqfswriter::Zone> zones)
{
    DataSet result;
    result.title = "solution";
    result.variableNames = hdqfswriter::tests::namesOf(2);
    result.zones = std::move(zones);
    for (hdqfswriter::Zone& zone : result.zones)
        zone.name = "a zone";
    return result;
}

class SolutionCheck : public testing::Test
{
protected:
    std::string write(DataSet const& dataSet, FileType type)
    {
        std::string const path = m_folder.file(std::to_string(m_folder.numFiles()) + ".hdqfs");
        hdqfswriter::Options options;
        options.fileType = type;
        hdqfswriter::writeFile(path, dataSet, options);
        EXPECT_EQ(textOf(findFaults(path)), "");
        return path;
    }

    static std::string textOf(Faults const& faults)
    {
        std::string result;
        for (Fault const& fault : faults.kept())
            result += fault.place + ": " + fault.text + "\n";
        return result;
    }

    TemporaryFolder m_folder;
};

TEST_F(SolutionCheck, OfItsOwnGridIsSound)
{
    hdqfswriter::Zone sharer = bricks(8);
    sharer.connectivityFrom = 0;
    DataSet const dataSet = dataSetOf({bricks(8), sharer});
    EXPECT_EQ(
        textOf(findFaults(write(dataSet, FileType::Solution), write(dataSet, FileType::Grid))), "");
}

TEST_F(SolutionCheck, HasAsManyZonesAsItsGrid)
{
    std::string const grid = write(dataSetOf({bricks(8)}), FileType::Grid);
    EXPECT_EQ(
        textOf(findFaults(write(dataSetOf({bricks(8), bricks(8)}), FileType::Solution), grid)),
        "zones: There are 2, and 1 in the grid file.\n");
}

TEST_F(SolutionCheck, HasZonesOfTheSameSizesAsItsGrid)
{
    std::string const grid = write(dataSetOf({bricks(8), bricks(8)}), FileType::Grid);
    EXPECT_EQ(
        textOf(findFaults(write(dataSetOf({bricks(8), bricks(9)}), FileType::Solution), grid)),
        "zone, zone 2: Its type or size differs from the grid file's.\n");
}

TEST_F(SolutionCheck, HasRangesOfTheCellsOfItsGrid)
{
    std::string const solution = write(dataSetOf({bricks(7, 8)}), FileType::Solution);
    std::string const faults =
        textOf(findFaults(solution, write(dataSetOf({bricks(8)}), FileType::Grid)));
    EXPECT_THAT(faults, HasSubstr("range of a cell subzone, zone 1, partition 1, variable 1"));
    EXPECT_THAT(faults, HasSubstr("range of a node subzone, zone 1, partition 1, variable 2"));
}

TEST_F(SolutionCheck, IsntHeldToADamagedGrid)
{
    std::string const solution = write(dataSetOf({bricks(7, 8)}), FileType::Solution);
    std::string const grid = write(dataSetOf({bricks(8)}), FileType::Grid);
    std::filesystem::resize_file(grid, std::filesystem::file_size(grid) / 2);
    EXPECT_EQ(textOf(findFaults(solution, grid)), "");
}

}
}
