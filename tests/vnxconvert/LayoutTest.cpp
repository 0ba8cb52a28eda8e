// Zones of grids that come from no file, and what is read of the command line: without VTK.

#include "tests/support/Messages.h"
#include "tools/vnxconvert/CellKinds.h"
#include "tools/vnxconvert/Inputs.h"
#include "tools/vnxconvert/Staging.h"
#include "tools/vnxconvert/Variables.h"
#include "tools/vnxconvert/ZoneLayout.h"

#include "tests/vnxconvert/Vtu.h"
#include "tests/writer/WrittenFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

namespace varnox::convert::tests {
namespace {

using hdqfswriter::Partition;
using hdqfswriter::tests::TemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using varnox::tests::messageOf;

std::shared_ptr<Grid> boxOf(std::uint64_t i, std::uint64_t j, std::uint64_t k)
{
    auto grid = std::make_shared<Grid>();
    grid->name = "box";
    grid->isOrdered = true;
    grid->size = {i, j, k};
    grid->numNodes = i * j * k;
    grid->points.kind = Points::Kind::Uniform;
    return grid;
}

/// Cubes in a box of so many along each axis.
std::shared_ptr<Grid> cubes(int i, int j, int k)
{
    auto grid = std::make_shared<Grid>();
    grid->name = "cubes";
    std::vector<double> points[3];
    for (int n = 0; n < (i + 1) * (j + 1) * (k + 1); ++n) {
        points[0].push_back(n % (i + 1));
        points[1].push_back(n / (i + 1) % (j + 1));
        points[2].push_back(n / (i + 1) / (j + 1));
    }
    grid->numNodes = points[0].size();
    for (std::size_t axis = 0; axis < 3; ++axis)
        grid->points.columns[axis] = columnOf(NumberType::Double, points[axis]);
    std::vector<std::int64_t> nodes;
    std::vector<std::int64_t> offsets{0};
    for (int c = 0; c < i * j * k; ++c) {
        int const a = c % i + (i + 1) * (c / i % j + (j + 1) * (c / i / j));
        int const b = a + (i + 1) * (j + 1);
        for (int const node : {a, a + 1, a + i + 2, a + i + 1, b, b + 1, b + i + 2, b + i + 1})
            nodes.push_back(node);
        offsets.push_back(static_cast<std::int64_t>(nodes.size()));
    }
    grid->cells.count = offsets.size() - 1;
    grid->cells.numNodes = nodes.size();
    grid->cells.kinds = sharedArray(std::vector<std::uint8_t>(grid->cells.count, HEXAHEDRON));
    grid->cells.offsets = sharedArray(offsets);
    grid->cells.nodes = sharedArray(nodes);
    return grid;
}

TEST(ZoneLayout, BoxesOfAnOrderedZoneTileIt)
{
    Remarks remarks;
    LayoutOptions options;
    options.partitionCells = 50;
    auto const zones = layOut(boxOf(20, 7, 5), options, remarks);
    ASSERT_EQ(zones.size(), 1U);
    std::uint64_t numNodes = 0;
    for (Partition const& partition : zones[0]->partitions) {
        EXPECT_LE(partition.nodes.numItems(), 50U);
        numNodes += partition.nodes.numItems();
    }
    EXPECT_EQ(numNodes, 700U);
    EXPECT_GE(zones[0]->partitions.size(), 14U);
}

TEST(ZoneLayout, APartitionThatIsLargeEnoughIsNotCut)
{
    Remarks remarks;
    LayoutOptions options;
    options.partitionCells = 19 * 6 * 4;
    EXPECT_THAT(layOut(boxOf(20, 7, 5), options, remarks)[0]->partitions, IsEmpty());
}

TEST(ZoneLayout, EachNodeGoesToThePartitionThatHasItFirst)
{
    Remarks remarks;
    LayoutOptions options;
    options.partitionCells = 30;
    auto const grid = cubes(6, 5, 4);
    auto const zone = layOut(grid, options, remarks).at(0);
    EXPECT_EQ(zone->partitions.size(), 4U);
    EXPECT_EQ(zone->numNodes(), grid->numNodes);
    EXPECT_EQ(zone->numCells(), grid->cells.count);
    std::vector<std::uint32_t> sorted = zone->nodes;
    std::sort(sorted.begin(), sorted.end());
    for (std::uint32_t n = 0; n < sorted.size(); ++n)
        ASSERT_EQ(sorted[n], n);
    for (std::uint32_t n = 0; n < zone->nodes.size(); ++n)
        ASSERT_EQ(zone->zoneNodes[zone->nodes[n]], n);
    // A cell has nodes of its own partition and of those ahead.
    for (std::uint32_t p = 0; p < 4; ++p)
        for (std::uint64_t c = zone->firstCell(p, 0); c < zone->firstCell(p + 1, 0); ++c)
            for (std::size_t n = 0; n < 8; ++n) {
                auto const node = static_cast<std::size_t>(
                    grid->cells.nodes.get()[8 * zone->cellNumbers[0][c] + n]);
                EXPECT_LT(zone->zoneNodes[node], zone->firstNode(p + 1));
            }
}

TEST(ZoneLayout, PartitionsInTheFilesOrderTakeCellsAsTheyCome)
{
    Remarks remarks;
    LayoutOptions options;
    options.partitionCells = 7;
    options.keepOrder = true;
    auto const zone = layOut(cubes(4, 5, 1), options, remarks).at(0);
    std::vector<std::uint32_t> expected(20);
    std::iota(expected.begin(), expected.end(), 0U);
    EXPECT_EQ(zone->cellNumbers[0], expected);
}

TEST(ZoneLayout, NodesThatNoCellHasStayInAGridThatIsTakenWhole)
{
    auto grid = cubes(2, 1, 1);
    for (Column& column : grid->points.columns)
        column = columnOf(NumberType::Double, std::vector<double>(15));
    grid->numNodes = 15;
    Remarks remarks;
    EXPECT_EQ(layOut(grid, {}, remarks).at(0)->numNodes(), 15U);
    LayoutOptions options;
    options.partitionCells = 1;
    EXPECT_EQ(layOut(grid, options, remarks).at(0)->numNodes(), 15U);
}

TEST(ZoneLayout, BlankedCellsAreLeftOut)
{
    auto grid = cubes(3, 1, 1);
    grid->hiddenCells = columnOf(NumberType::UInt8, std::vector<std::uint8_t>{0, 0, 1});
    Remarks remarks;
    auto const zone = layOut(grid, {}, remarks).at(0);
    EXPECT_EQ(zone->numCells(), 2U);
    EXPECT_EQ(zone->numNodes(), 12U);
}

TEST(ZoneLayout, OffsetsThatRunBackwardsAreAnError)
{
    auto grid = cubes(3, 1, 1);
    grid->cells.offsets = sharedArray(std::vector<std::int64_t>{0, 16, 8, 24});
    Remarks remarks;
    EXPECT_EQ(messageOf<std::runtime_error>([&] { layOut(grid, {}, remarks); }),
              "Cell 2 of 'cubes' ends ahead of its begin: the file is damaged.");
    grid->cells.offsets = sharedArray(std::vector<std::int64_t>{0, 8, 16, 25});
    EXPECT_EQ(messageOf<std::runtime_error>([&] { layOut(grid, {}, remarks); }),
              "Cell 3 of 'cubes' has nodes outside of the list of nodes: the file is damaged.");
}

TEST(ZoneLayout, FacesOutsideOfTheirListAreAnError)
{
    auto grid = cubes(1, 1, 1);
    grid->cells.kinds = sharedArray(std::vector<std::uint8_t>{POLYHEDRON});
    auto const message = [&](std::int64_t offset, std::vector<std::int64_t> faces) {
        grid->cells.faceOffsets = sharedArray(std::vector<std::int64_t>{offset});
        grid->cells.numFaceEntries = faces.size();
        grid->cells.faces = sharedArray(std::move(faces));
        Remarks remarks;
        return messageOf<std::runtime_error>([&] { layOut(grid, {}, remarks); });
    };
    EXPECT_THAT(message(-1, {1, 3, 0, 1, 2}), HasSubstr("is a polyhedron without faces"));
    EXPECT_THAT(message(9, {1, 3, 0, 1, 2}), HasSubstr("has faces outside of the list of faces"));
    EXPECT_THAT(message(0, {2, 3, 0, 1, 2}), HasSubstr("has faces outside of the list of faces"));
    EXPECT_THAT(message(0, {1, 400, 0, 1, 2}),
                HasSubstr("has a face outside of the list of faces"));
    EXPECT_THAT(message(0, {1, 3, 0, 1, 8}), HasSubstr("has a node that doesn't exist"));
}

TEST(ZoneLayout, AnOrderedGridWithOtherNodesThanItsSizeIsAnError)
{
    auto grid = boxOf(3, 3, 3);
    grid->numNodes = 26;
    Remarks remarks;
    EXPECT_EQ(messageOf<std::runtime_error>([&] { layOut(grid, {}, remarks); }),
              "'box' has other nodes than its size says.");
}

TEST(Variables, ANameAtNodesAndAtCellsIsToldApart)
{
    Grid grid;
    grid.fields = {{"p", "p", ValueLocation::Cells, {}},
                   {"p", "p", ValueLocation::Nodes, {}},
                   {"p_cell", "p_cell", ValueLocation::Nodes, {}},
                   {"T", "T", ValueLocation::Cells, {}}};
    Variables variables({});
    EXPECT_TRUE(variables.add(grid));
    EXPECT_FALSE(variables.add(grid));
    std::vector<std::string> names;
    for (Variable const& variable : variables.all())
        names.push_back(variable.name);
    EXPECT_THAT(names, ElementsAre("X", "Y", "Z", "p_cell_2", "p", "p_cell", "T"));
}

TEST(TimeRange, IsReadFromText)
{
    EXPECT_TRUE(TimeRange::parse("1:2").contains(2));
    EXPECT_FALSE(TimeRange::parse("1:2").contains(2.5));
    EXPECT_TRUE(TimeRange::parse(":2").contains(-1e300));
    EXPECT_TRUE(TimeRange::parse("-1e-3:").contains(1e300));
    EXPECT_FALSE(TimeRange::parse("0.5").contains(0.25));
    for (char const* const wrong : {"", "a", "1:b", "2:1", "1:2:3", "nan"})
        EXPECT_THROW(TimeRange::parse(wrong), std::invalid_argument) << wrong;
}

TEST(Inputs, DamagedFilesOfFilesAreNamedWithTheReason)
{
    TemporaryFolder const folder;
    auto const message = [&](std::string const& name, std::string const& text) {
        writeText(folder.file(name), text);
        return messageOf<std::runtime_error>([&] { framesOf({folder.file(name)}, false); });
    };
    EXPECT_THAT(message("a.pvd", "<VTKFile><Coll"),
                HasSubstr("a.pvd: it is no collection of files"));
    EXPECT_THAT(message("b.pvd", "<VTKFile><Collection><DataSet timestep=\"x\" file=\"a\"/>"
                                 "</Collection></VTKFile>"),
                HasSubstr("'x' is no time."));
    EXPECT_THAT(message("c.pvd", "<VTKFile><Collection></Collection></VTKFile>"),
                HasSubstr("it names no files"));
    EXPECT_THAT(message("d.vtk.series", "{\"files\": 3"), HasSubstr("it is no series"));
    EXPECT_THAT(message("e.vtk.series", "{\"files\": [{\"name\": \"a\"}]}"),
                HasSubstr("it is no series"));
    EXPECT_THAT(messageOf<std::runtime_error>([&] { framesOf({folder.file("no.pvd")}, false); }),
                HasSubstr("No such file or directory"));
}

TEST(Inputs, SeriesBesideEachOtherNeedTheSameTimes)
{
    TemporaryFolder const folder;
    auto const series = [&](std::string const& name, std::string const& times) {
        writeText(folder.file(name), "{\"files\": [" + times + "]}");
        return folder.file(name);
    };
    std::string const a = series("a.vtu.series", R"({"name": "a0.vtu", "time": 0},
                                                    {"name": "a1.vtu", "time": 1})");
    std::string const b = series("b.vtu.series", R"({"name": "b0.vtu", "time": 0},
                                                    {"name": "b1.vtu", "time": 1})");
    std::string const c = series("c.vtu.series", R"({"name": "c0.vtu", "time": 0})");
    auto const frames = framesOf({a, b}, false);
    ASSERT_EQ(frames.size(), 2U);
    ASSERT_EQ(frames[1].files.size(), 2U);
    EXPECT_EQ(frames[1].files[1].path, folder.file("b1.vtu"));
    EXPECT_THAT(messageOf<std::runtime_error>([&] {
                    framesOf({a, c}, false);
                }),
                HasSubstr("are not those of the series ahead of it"));
    EXPECT_THAT(messageOf<std::runtime_error>([&] {
                    framesOf({a, "x.vtu"}, false);
                }),
                HasSubstr("x.vtu, which is none, can't go into one file"));
}

TEST(Staging, FilesAppearTogetherOrNotAtAll)
{
    TemporaryFolder const folder;
    {
        Staging staging(folder.file("a.hdqfs"));
        writeText(staging.placeFor(folder.file("a.hdqfs")), "new");
        EXPECT_EQ(folder.numFiles(), 1U) << "the folder of the files";
    }
    EXPECT_EQ(folder.numFiles(), 0U);
    Staging staging(folder.file("a.hdqfs"));
    writeText(staging.placeFor(folder.file("a.hdqfs")), "new");
    writeText(staging.placeFor(folder.file("b.hdqfs")), "new");
    staging.publish();
    EXPECT_EQ(folder.numFiles(), 3U);
    EXPECT_TRUE(std::filesystem::exists(folder.file("b.hdqfs")));
}

}
}
