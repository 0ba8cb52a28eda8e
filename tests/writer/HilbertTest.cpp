#include "writer/Hilbert.h"

#include "addons/hdqfs/DataSet.h"
#include "tests/writer/Comparison.h"
#include "tests/writer/DataSetFromFile.h"
#include "tests/writer/DataSets.h"
#include "tests/writer/MemoryZone.h"
#include "tests/writer/WrittenFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <set>

namespace varnox::hdqfswriter::tests {
namespace {

using hdqfsloader::Items;

TEST(Hilbert, NeighborsOnTheCurveAreNeighborsInSpace)
{
    // The curve through the whole grid begins with that through its first corner.
    constexpr std::uint32_t SIDE = 8;
    std::vector<std::array<std::uint32_t, 3>> byNumber(SIDE * SIDE * SIDE);
    for (std::uint32_t x = 0; x < SIDE; ++x)
        for (std::uint32_t y = 0; y < SIDE; ++y)
            for (std::uint32_t z = 0; z < SIDE; ++z) {
                std::uint64_t const number = hilbertNumber({x, y, z});
                ASSERT_LT(number, byNumber.size());
                byNumber[number] = {x, y, z};
            }
    for (std::size_t i = 1; i < byNumber.size(); ++i) {
        std::uint32_t distance = 0;
        for (std::size_t axis = 0; axis < 3; ++axis)
            distance += byNumber[i][axis] > byNumber[i - 1][axis]
                            ? byNumber[i][axis] - byNumber[i - 1][axis]
                            : byNumber[i - 1][axis] - byNumber[i][axis];
        EXPECT_EQ(distance, 1U) << i;
    }
}

TEST(Hilbert, ItsNumbersStay)
{
    // Solution files must come out in the order of grid files that are years older.
    EXPECT_EQ(hilbertNumber({1582060, 1990828, 246235}), 4963294914871456669U);
    EXPECT_EQ(hilbertNumber({1870477, 296267, 115538}), 9089925873236857300U);
    EXPECT_EQ(hilbertNumber({1745927, 1888926, 539299}), 5389337669221333950U);
    EXPECT_EQ(hilbertNumber({1505557, 1584912, 1250298}), 6332945533919089631U);
    EXPECT_EQ(hilbertNumber({833503, 647031, 1745183}), 1930890043768017407U);
    EXPECT_EQ(hilbertNumber({637545, 2087215, 2083840}), 3068547746859191662U);
}

TEST(Hilbert, OrdersPointsWithoutAPlaceToo)
{
    constexpr double NAN_ = std::numeric_limits<double>::quiet_NaN();
    constexpr double INF = std::numeric_limits<double>::infinity();
    std::vector<double> const points{NAN_, NAN_, NAN_, 0, 0, 0, INF, -INF, 0, 1e308, -1e308, 0};
    std::vector<std::uint32_t> order = hilbertOrder(points.data(), 4);
    std::sort(order.begin(), order.end());
    EXPECT_EQ(order, (std::vector<std::uint32_t>{0, 1, 2, 3}));
    EXPECT_TRUE(hilbertOrder(points.data(), 0).empty());
}

TEST(Hilbert, ManyPointsComeInTheOrderOfTheirNumbers)
{
    // Half of them in one corner of the grid, and some at one place.
    constexpr std::uint32_t SIDE = 1U << 21;
    std::mt19937 random(5);
    std::vector<std::array<std::uint32_t, 3>> cells{{0, 0, 0}};
    for (std::uint32_t i = 0; i < 60000; ++i) {
        std::uniform_int_distribution<std::uint32_t> along(0, i % 2 == 0 ? 63 : SIDE - 1);
        cells.push_back({along(random), along(random), along(random)});
    }
    std::vector<double> points{SIDE, 0, 0}; // so that cells are as large as units
    for (auto const& cell : cells)
        points.insert(points.end(), cell.begin(), cell.end());
    cells.insert(cells.begin(), {SIDE - 1, 0, 0});

    std::vector<std::uint32_t> expected(cells.size());
    std::iota(expected.begin(), expected.end(), 0U);
    std::stable_sort(expected.begin(), expected.end(), [&](std::uint32_t a, std::uint32_t b) {
        return hilbertNumber(cells[a]) < hilbertNumber(cells[b]);
    });
    EXPECT_EQ(hilbertOrder(points.data(), static_cast<std::uint32_t>(cells.size())), expected);
}

TEST(Hilbert, PointsAtOnePlaceKeepTheirOrder)
{
    std::vector<double> const points(15, 2.5);
    EXPECT_EQ(hilbertOrder(points.data(), 5), (std::vector<std::uint32_t>{0, 1, 2, 3, 4}));
}

/// A zone whose only variables are the place of its nodes, and a number of each cell.
Zone placedZone(MeshSpec const& spec)
{
    std::vector<ZoneVariable> variables(4, {ValueType::Double, ValueLocation::Nodes, false, -1});
    variables.push_back({ValueType::Int32, ValueLocation::Cells, false, -1});
    std::rotate(variables.begin(), variables.begin() + 4, variables.end());
    Zone zone = meshZone(spec, variables);
    auto& source = static_cast<MemorySource&>(*zone.source);
    for (std::uint32_t p = 0; p < spec.numPartitions; ++p) {
        auto const& places = source.places[p];
        for (std::uint32_t axis = 0; axis < 3; ++axis) {
            std::vector<double> along;
            for (std::size_t i = axis; i < places.size(); i += 3)
                along.push_back(places[i]);
            source.set(p, 1 + axis, along);
        }
    }
    return zone;
}

/// Each cell as the number it carries and the places of its nodes, partition by partition.
std::set<std::vector<double>> cellsInSpace(DataSet const& dataSet)
{
    std::set<std::vector<double>> result;
    Zone const& zone = dataSet.zones[0];
    std::vector<std::array<double, 3>> places;
    for (std::uint32_t p = 0; p < zone.partitions.size(); ++p) {
        std::size_t const first = places.size();
        places.resize(first + zone.partitions[p].numNodes);
        std::vector<double> along(zone.partitions[p].numNodes);
        for (std::uint32_t axis = 0; axis < 3; ++axis) {
            auto const* const values =
                static_cast<double const*>(zone.source->values(p, 1 + axis, along.data()));
            for (std::size_t i = 0; i < along.size(); ++i)
                places[first + i][axis] = values[i];
        }
    }
    for (std::uint32_t p = 0; p < zone.partitions.size(); ++p) {
        std::uint64_t total = 0;
        for (std::uint64_t const count : zone.partitions[p].numCells)
            total += count;
        std::vector<std::int32_t> buffer(total);
        auto const* numbers =
            static_cast<std::int32_t const*>(zone.source->values(p, 0, buffer.data()));
        for (std::uint32_t s = 0; s < zone.partitions[p].numCells.size(); ++s) {
            std::size_t const size = zone.type == ZoneType::Tetrahedron || s == 1 ? 4 : 8;
            std::vector<std::uint64_t> nodeBuffer(zone.partitions[p].numCells[s] * size);
            std::uint64_t const* nodes = zone.source->cells(p, s, nodeBuffer.data());
            for (std::uint64_t c = 0; c < zone.partitions[p].numCells[s]; ++c, nodes += size) {
                std::vector<double> cell{static_cast<double>(*numbers++), double(p), double(s)};
                for (std::size_t n = 0; n < size; ++n)
                    cell.insert(cell.end(), places[nodes[n]].begin(), places[nodes[n]].end());
                result.insert(cell);
            }
        }
    }
    return result;
}

DataSet placedDataSet(MeshSpec const& spec)
{
    DataSet result;
    result.variableNames = namesOf(5);
    result.zones = {placedZone(spec)};
    return result;
}

class HilbertOrder : public testing::TestWithParam<MeshSpec>
{
};

TEST_P(HilbertOrder, KeepsCellsAndValuesTogether)
{
    DataSet const dataSet = placedDataSet(GetParam());
    WrittenFile const written(dataSet);
    auto const file = written.open();
    DataSet const read = dataSetFromFile(file);
    EXPECT_EQ(cellsInSpace(dataSet), cellsInSpace(read));
    expectExactRanges(file, read);
    expectExactNodeRecords(file, read);
}

INSTANTIATE_TEST_SUITE_P(Meshes, HilbertOrder,
                         testing::Values(MeshSpec{ZoneType::Brick, {20, 12, 9}},
                                         MeshSpec{ZoneType::Tetrahedron, {9, 9, 9}},
                                         MeshSpec{ZoneType::Brick, {20, 12, 9}, 3},
                                         MeshSpec{ZoneType::Tetrahedron, {19, 9, 9}, 5},
                                         MeshSpec{ZoneType::Mixed, {12, 9, 8}, 4}));

/// Subzones of cells whose range of a variable has the value.
std::size_t numFound(hdqfsloader::DataFile& file, std::uint32_t variable, double value)
{
    auto const ranges = file.subzoneRanges(0, variable, 0, Items::Cells);
    return static_cast<std::size_t>(
        std::count_if(ranges.begin(), ranges.end(), [value](hdqio::MinMax const& range) {
            return range.min <= value && value <= range.max;
        }));
}

TEST(HilbertOrderOfSubzones, ASearchByValueFindsFew)
{
    // Shuffled, nearly every subzone reaches through the whole zone.
    DataSet const dataSet = placedDataSet({ZoneType::Brick, {32, 32, 32}});
    Options options;
    options.order = ItemOrder::Keep;
    WrittenFile const kept(dataSet, options);
    WrittenFile const ordered(dataSet);
    std::size_t const before = numFound(*kept.open(), 1, 1.1);
    std::size_t const after = numFound(*ordered.open(), 1, 1.1);
    EXPECT_EQ(before, 128U);
    EXPECT_LE(3 * after, before);
}

TEST(HilbertOrderOfSubzones, SolutionFilesAgreeWithTheirGrid)
{
    TemporaryFolder const folder;
    DataSet grid = placedDataSet({ZoneType::Brick, {20, 12, 9}, 3});
    Options options;
    options.fileType = FileType::Grid;
    writeFile(folder.file("grid.hdqfs"), grid, options);

    // The solution is the place along X once more, and the number of each cell.
    DataSet solution = grid;
    solution.variableNames = {"number", "x again"};
    solution.zones[0].variables = {grid.zones[0].variables[0], grid.zones[0].variables[1]};
    options.fileType = FileType::Solution;
    std::vector<std::string> paths{folder.file("grid.hdqfs")};
    for (int step = 0; step < 3; ++step) {
        solution.zones[0].solutionTime = step;
        paths.push_back(folder.file("step" + std::to_string(step) + ".hdqfs"));
        writeFile(paths.back(), solution, options);
    }

    hdqfsloader::DataSet loaded(paths);
    EXPECT_EQ(loaded.numZones(), 3U);
    EXPECT_EQ(loaded.varNames(),
              (std::vector<std::string>{"variable 1", "variable 2", "variable 3", "variable 4",
                                        "variable 5", "number", "x again"}));
    auto const gridFile = std::make_shared<hdqfsloader::DataFile>(paths[0]);
    DataSet const gridRead = dataSetFromFile(gridFile);
    for (std::size_t step = 0; step < 3; ++step) {
        auto const file = std::make_shared<hdqfsloader::DataFile>(paths[1 + step]);
        DataSet const read = dataSetFromFile(file, gridFile);
        EXPECT_EQ(file->headers().solutionTimes[0], static_cast<double>(step));
        for (std::uint32_t p = 0; p < 3; ++p) {
            std::size_t const numNodes = read.zones[0].partitions[p].numNodes;
            std::vector<double> a(numNodes);
            std::vector<double> b(numNodes);
            gridRead.zones[0].source->values(p, 1, a.data());
            read.zones[0].source->values(p, 1, b.data());
            EXPECT_EQ(a, b);
            std::vector<std::int32_t> c(read.zones[0].partitions[p].numCells[0]);
            std::vector<std::int32_t> d = c;
            gridRead.zones[0].source->values(p, 0, c.data());
            read.zones[0].source->values(p, 0, d.data());
            EXPECT_EQ(c, d);
        }
        expectExactRanges(file, read);
    }
}

}
}
