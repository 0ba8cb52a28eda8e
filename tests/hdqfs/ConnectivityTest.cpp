// The cells and nodes of finite-element zones, of samples and of files built for the test.

#include "addons/hdqfs/CellConnectivity.h"
#include "addons/hdqfs/NodeConnectivity.h"
#include "addons/hdqfs/ValueReader.h"
#include "tests/filedata/MeshBuilder.h"
#include "tests/hdqfs/Samples.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "varnox/UniformAddress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <set>

namespace varnox::hdqfsloader {
namespace {

using hdqio::tests::build;
using hdqio::tests::FileSpec;
using hdqio::tests::MeshCell;
using hdqio::tests::MeshPartition;
using hdqio::tests::meshZone;
using tests::sample;
using tests::samples;
using tests::TemporaryFile;
using Address = ItemAddress<long>;
using SubzoneAddress = Address::SubzoneAddress;

/// The objects of a zone.
struct Grid
{
    explicit Grid(std::vector<std::string> const& paths, std::uint32_t zone = 0)
        : dataSet(paths), own(dataSet.grid(zone)),
          cells(reader, ConnectivitySource(own, dataSet.connectivity(zone))),
          nodes(reader, ConnectivitySource(own, dataSet.connectivity(zone)))
    {
    }

    std::vector<SubzoneAddress> subzones(Items items)
    {
        std::vector<SubzoneAddress> result;
        std::uint32_t const numPartitions = own.file->zone(own.zone).numPartitions;
        for (std::uint32_t p = 0; p < numPartitions; ++p) {
            SubzoneLayout const& layout = own.file->layout(own.zone, p, items);
            for (std::uint32_t s = 0; s < layout.numSections(); ++s)
                for (std::uint32_t n = 0; n < layout.numSubzones(s); ++n)
                    result.emplace_back(p, s, n);
        }
        return result;
    }

    std::vector<Address> nodesOf(Address const& cell)
    {
        Address buffer[125];
        RawArray<Address> result{nullptr, buffer, 125, 0};
        cells.nodeAddresses(cell, result);
        return {buffer, buffer + result.size};
    }

    std::vector<SubzoneAddress> listOf(std::function<void(RawArray<SubzoneAddress>&)> const& fill)
    {
        SubzoneAddress* owner = nullptr;
        RawArray<SubzoneAddress> list{&owner, nullptr, 0, 0};
        fill(list);
        std::vector<SubzoneAddress> result(list.data, list.data + list.size);
        delete[] owner;
        return result;
    }
    std::vector<SubzoneAddress> nodeSubzonesAt(SubzoneAddress const& subzone)
    {
        return listOf([&](auto& list) { cells.referencedNodeSubzones(subzone, list); });
    }
    std::vector<SubzoneAddress> cellSubzonesAt(SubzoneAddress const& subzone)
    {
        return listOf([&](auto& list) { nodes.referencedCellSubzones(subzone, list); });
    }

    /// The value of a variable at a node.
    double valueAt(std::uint32_t var, Address const& node)
    {
        auto const subzone = node.subzoneAddress();
        auto& values = m_values[{var, subzone.word()}];
        if (values.empty()) {
            auto const run = own.file->layout(own.zone, subzone.partition(), Items::Nodes)
                                 .run(0, subzone.subzoneOffset());
            values.resize(run.size);
            ValueReader(dataSet.descriptors())
                .readDoubles(own.file->values(own.zone, var, subzone.partition()), run.firstItem,
                             run.size, values.data());
        }
        return values.at(node.itemOffset());
    }

    DataSet dataSet;
    ConnectivityReader reader;
    DataSet::ZoneInFile own;
    CellConnectivity cells;
    NodeConnectivity nodes;

private:
    std::map<std::pair<std::uint32_t, std::uint64_t>, std::vector<double>> m_values;
};

std::string failureOf(std::function<void()> const& action)
{
    try {
        action();
    } catch (std::exception const& error) {
        return error.what();
    }
    return "";
}

// The sample.

/// Calls f for each cell.
void forEachCell(Grid& grid, std::function<void(Address)> const& f)
{
    for (SubzoneAddress const& subzone : grid.subzones(Items::Cells))
        for (unsigned c = 0; c < grid.cells.size(subzone); ++c)
            f(Address(subzone, static_cast<std::uint8_t>(c)));
}

TEST(CellConnectivity, CellsOfTheSampleHaveEightDifferentNodes)
{
    Grid grid({sample("tjunction_grid")});
    std::size_t numCells = 0;
    std::set<std::uint64_t> seen;
    forEachCell(grid, [&](Address const& cell) {
        ++numCells;
        EXPECT_EQ(grid.cells.cornerNodeCount(cell), 8);
        EXPECT_EQ(grid.cells.nodeCount(cell), 8);
        EXPECT_EQ(grid.cells.faceCount(cell), 6);
        std::set<std::uint64_t> nodes;
        for (Address const& node : grid.nodesOf(cell))
            nodes.insert(node.word());
        EXPECT_EQ(nodes.size(), 8U);
        seen.insert(nodes.begin(), nodes.end());
    });
    EXPECT_EQ(numCells, 3875U);
    EXPECT_EQ(seen.size(), 5616U);
}

TEST(CellConnectivity, NodesOfASubzoneHaveTheRangesThatTheFileSays)
{
    Grid grid({sample("tjunction_grid")});
    for (std::uint32_t var = 0; var < 3; ++var) {
        auto const stored = grid.own.file->subzoneRanges(0, var, 0, Items::Cells);
        std::vector<hdqio::MinMax> found(stored.size(), {1e300, -1e300});
        forEachCell(grid, [&](Address const& cell) {
            hdqio::MinMax& range = found[cell.subzoneAddress().subzoneOffset()];
            for (Address const& node : grid.nodesOf(cell)) {
                range.min = std::min(range.min, grid.valueAt(var, node));
                range.max = std::max(range.max, grid.valueAt(var, node));
            }
        });
        ASSERT_EQ(found.size(), 16U);
        for (std::size_t s = 0; s < found.size(); ++s) {
            EXPECT_EQ(found[s].min, stored[s].min) << var << " " << s;
            EXPECT_EQ(found[s].max, stored[s].max) << var << " " << s;
        }
    }
}

/// Six times the signed volume of a tetrahedron.
double volume(std::array<std::array<double, 3>, 4> const& p)
{
    double d[3][3];
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            d[i][axis] = p[i + 1][axis] - p[0][axis];
    return d[0][0] * (d[1][1] * d[2][2] - d[1][2] * d[2][1]) -
           d[0][1] * (d[1][0] * d[2][2] - d[1][2] * d[2][0]) +
           d[0][2] * (d[1][0] * d[2][1] - d[1][1] * d[2][0]);
}

TEST(CellConnectivity, HexahedraOfTheSampleHaveTheirCornersAround)
{
    Grid grid({sample("tjunction_grid")});
    constexpr std::size_t TETRAHEDRA[5][4] = {
        {0, 1, 3, 4}, {1, 2, 3, 6}, {1, 4, 5, 6}, {3, 4, 6, 7}, {1, 3, 4, 6}};
    forEachCell(grid, [&](Address const& cell) {
        auto const nodes = grid.nodesOf(cell);
        for (auto const& corners : TETRAHEDRA) {
            std::array<std::array<double, 3>, 4> points;
            for (std::size_t i = 0; i < 4; ++i)
                for (std::uint32_t axis = 0; axis < 3; ++axis)
                    points[i][axis] = grid.valueAt(axis, nodes[corners[i]]);
            EXPECT_GT(volume(points), 0) << cell.word();
        }
    });
}

TEST(CellConnectivity, FaceOfTheSampleBelongsToTwoCellsAtMost)
{
    Grid grid({sample("tjunction_grid")});
    constexpr std::size_t FACES[6][4] = {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 1, 5, 4},
                                         {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
    std::map<std::set<std::uint64_t>, int> faces;
    forEachCell(grid, [&](Address const& cell) {
        auto const nodes = grid.nodesOf(cell);
        for (auto const& face : FACES) {
            std::set<std::uint64_t> key;
            for (std::size_t const corner : face)
                key.insert(nodes[corner].word());
            ++faces[key];
        }
    });
    std::size_t numInner = 0;
    for (auto const& [face, count] : faces) {
        EXPECT_LE(count, 2);
        numInner += count == 2;
    }
    // Each inner face is counted twice among the six of each cell.
    EXPECT_EQ(faces.size() + numInner, 3875U * 6);
    EXPECT_GT(numInner, 3875U * 2);
}

TEST(CellConnectivity, TextFileHasTheSameCells)
{
    Grid binary({sample("tjunction_grid")});
    Grid text({sample("tjunction_ascii_grid")});
    forEachCell(binary, [&](Address const& cell) {
        EXPECT_EQ(text.nodesOf(cell), binary.nodesOf(cell)) << cell.word();
    });
    for (SubzoneAddress const& subzone : binary.subzones(Items::Nodes))
        EXPECT_EQ(text.cellSubzonesAt(subzone), binary.cellSubzonesAt(subzone));
}

TEST(CellConnectivity, LaterTimesHaveTheCellsOfTheGrid)
{
    Grid first(samples({"tjunction_grid", "tjunction_t00", "tjunction_t05"}), 0);
    Grid second(samples({"tjunction_grid", "tjunction_t00", "tjunction_t05"}), 1);
    Address const cell(SubzoneAddress(0, 0, 7), 33);
    EXPECT_EQ(second.nodesOf(cell), first.nodesOf(cell));
    EXPECT_EQ(second.cells.numSubzones(), 16);
    EXPECT_EQ(second.nodes.numSubzones(), 22);
}

/// Holds each list of references against all cells.
void expectReferencesOfAllCells(Grid& grid)
{
    std::map<std::uint64_t, std::set<std::uint64_t>> ofCells;
    std::map<std::uint64_t, std::set<std::uint64_t>> ofNodes;
    forEachCell(grid, [&](Address const& cell) {
        for (Address const& node : grid.nodesOf(cell)) {
            ofCells[cell.subzoneAddress().word()].insert(node.subzoneAddress().word());
            ofNodes[node.subzoneAddress().word()].insert(cell.subzoneAddress().word());
        }
    });
    auto const wordsOf = [](std::vector<SubzoneAddress> const& subzones) {
        std::set<std::uint64_t> result;
        for (SubzoneAddress const& subzone : subzones)
            result.insert(subzone.word());
        EXPECT_EQ(result.size(), subzones.size());
        return result;
    };
    for (SubzoneAddress const& subzone : grid.subzones(Items::Cells)) {
        auto const list = grid.nodeSubzonesAt(subzone);
        EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
        EXPECT_EQ(wordsOf(list), ofCells[subzone.word()]);
    }
    for (SubzoneAddress const& subzone : grid.subzones(Items::Nodes))
        EXPECT_EQ(wordsOf(grid.cellSubzonesAt(subzone)), ofNodes[subzone.word()]);
}

TEST(NodeConnectivity, CellSubzonesOfTheSampleAreThoseOfItsCells)
{
    Grid grid({sample("tjunction_grid")});
    expectReferencesOfAllCells(grid);
}

/// Every item has a number of its own, and comes back from it.
void expectNumbers(Grid& grid, Items items, std::uint64_t count)
{
    auto const toUniform = [&](Address const& item) {
        return items == Items::Cells ? grid.cells.toUniformAddress(item)
                                     : grid.nodes.toUniformAddress(item);
    };
    auto const toHdq = [&](Address const& item) {
        return items == Items::Cells ? grid.cells.toHdqAddress(item)
                                     : grid.nodes.toHdqAddress(item);
    };
    std::vector<bool> seen(count);
    for (SubzoneAddress const& subzone : grid.subzones(items)) {
        unsigned const size =
            items == Items::Cells ? grid.cells.size(subzone) : grid.nodes.size(subzone);
        for (unsigned i = 0; i < size; ++i) {
            Address const item(subzone, static_cast<std::uint8_t>(i));
            Address const uniform = toUniform(item);
            ASSERT_TRUE(isUniformAddress(uniform));
            ASSERT_LT(itemNumberOf(uniform), count);
            EXPECT_FALSE(seen[itemNumberOf(uniform)]);
            seen[itemNumberOf(uniform)] = true;
            EXPECT_EQ(toHdq(uniform), item);
            EXPECT_EQ(toUniform(uniform), uniform);
            EXPECT_EQ(toHdq(item), item);
        }
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), static_cast<std::ptrdiff_t>(count));
    EXPECT_NE(failureOf([&] { toHdq(uniformAddress(count)); }), "");
}

TEST(CellConnectivity, UniformAddressesNumberTheSample)
{
    Grid grid({sample("tjunction_grid")});
    expectNumbers(grid, Items::Cells, 3875);
    expectNumbers(grid, Items::Nodes, 5616);
    Address const item(SubzoneAddress(0, 0, 2), 5);
    EXPECT_EQ(itemNumberOf(grid.cells.toUniformAddress(item)), 2U * 256 + 5);
}

// Built files.

/// Tetrahedra and prisms in three partitions, with references in all directions; the second
/// section has no cells in the first partition.
std::vector<MeshPartition> mixedMesh()
{
    std::vector<MeshPartition> mesh(3);
    std::uint32_t const numNodes[] = {600, 300, 40};
    std::size_t const numCells[3][2] = {{300, 0}, {513, 20}, {3, 256}};
    std::uint32_t next = 12345;
    auto const random = [&next](std::uint32_t below) {
        next = next * 1664525 + 1013904223;
        return (next >> 8) % below;
    };
    for (std::uint32_t p = 0; p < 3; ++p) {
        mesh[p].numNodes = numNodes[p];
        mesh[p].cells.resize(2);
        for (std::size_t s = 0; s < 2; ++s) {
            for (std::size_t c = 0; c < numCells[p][s]; ++c) {
                MeshCell cell;
                for (std::size_t n = 0; n < (s == 0 ? 4U : 6U); ++n) {
                    // The first subzone of a partition keeps to itself.
                    std::uint32_t const of = c < 256 && s == 0 ? p : random(3);
                    cell.push_back({of, random(numNodes[of])});
                }
                mesh[p].cells[s].push_back(cell);
            }
        }
    }
    return mesh;
}

FileSpec fileOf(hdqio::tests::ZoneSpec const& zone, std::string const& version, bool isAscii)
{
    FileSpec spec;
    spec.version = version;
    spec.isAscii = isAscii;
    spec.zones = {zone};
    return spec;
}

void expectMesh(Grid& grid, std::vector<MeshPartition> const& mesh)
{
    for (std::uint32_t p = 0; p < mesh.size(); ++p) {
        for (std::uint32_t s = 0; s < mesh[p].cells.size(); ++s) {
            for (std::uint32_t c = 0; c < mesh[p].cells[s].size(); ++c) {
                Address const cell(SubzoneAddress(p, s, c / 256),
                                   static_cast<std::uint8_t>(c % 256));
                std::vector<Address> expected;
                for (auto const& node : mesh[p].cells[s][c])
                    expected.emplace_back(SubzoneAddress(node.partition, 0, node.node / 256),
                                          static_cast<std::uint8_t>(node.node % 256));
                ASSERT_EQ(grid.nodesOf(cell), expected) << p << "/" << s << "/" << c;
            }
        }
    }
}

TEST(CellConnectivity, CellsOfPartitionsReferToNodesOfOthers)
{
    auto const mesh = mixedMesh();
    for (char const* const version : {"106", "231", "232"}) {
        for (bool const isAscii : {false, true}) {
            auto const number = static_cast<std::uint32_t>(std::stoul(version));
            auto const zone = meshZone('M', number, mesh, {{0, 3}, {0, 6}});
            TemporaryFile const file(build(fileOf(zone, version, isAscii)));
            Grid grid({file.path()});
            expectMesh(grid, mesh);
            expectReferencesOfAllCells(grid);
            expectNumbers(grid, Items::Cells, 300 + 513 + 3 + 20 + 256);
            expectNumbers(grid, Items::Nodes, 940);
        }
    }
}

TEST(CellConnectivity, ItemsAreNumberedSectionBySectionAndInsideByPartition)
{
    auto const zone = meshZone('M', 232, mixedMesh(), {{0, 3}, {0, 6}});
    TemporaryFile const file(build(fileOf(zone, "232", false)));
    Grid grid({file.path()});
    auto const numberOf = [&](std::uint32_t p, std::uint32_t s, std::uint32_t n) {
        return itemNumberOf(grid.cells.toUniformAddress(Address(SubzoneAddress(p, s, n), 1)));
    };
    EXPECT_EQ(numberOf(0, 0, 1), 257U);
    EXPECT_EQ(numberOf(1, 0, 0), 301U);
    EXPECT_EQ(numberOf(2, 0, 0), 814U);
    EXPECT_EQ(numberOf(1, 1, 0), 817U);
    EXPECT_EQ(numberOf(2, 1, 0), 837U);
}

TEST(CellConnectivity, RecordsOfOldVersionsAreRead)
{
    std::vector<MeshPartition> mesh(1);
    mesh[0].numNodes = 5000;
    mesh[0].cells.resize(1);
    for (std::uint32_t c = 0; c < 700; ++c) {
        MeshCell cell;
        for (std::uint32_t n = 0; n < 8; ++n)
            cell.push_back({0, (c * 7 + n * 31) % (c < 256 ? 1000 : 5000)});
        mesh[0].cells[0].push_back(cell);
    }
    for (char const* const version : {"104", "105", "106", "232"}) {
        for (bool const isAscii : {false, true}) {
            auto const number = static_cast<std::uint32_t>(std::stoul(version));
            TemporaryFile const file(build(fileOf(meshZone('B', number, mesh), version, isAscii)));
            Grid grid({file.path()});
            expectMesh(grid, mesh);
            expectReferencesOfAllCells(grid);
        }
    }
}

TEST(CellConnectivity, CellsOfHigherOrderHaveTheirCornersFirst)
{
    std::vector<MeshPartition> mesh(1);
    mesh[0].numNodes = 40;
    mesh[0].cells.resize(1);
    MeshCell cell;
    for (std::uint32_t n = 0; n < 27; ++n)
        cell.push_back({0, (n * 3) % 40});
    mesh[0].cells[0] = {cell, cell};
    TemporaryFile const file(build(fileOf(meshZone('M', 232, mesh, {{0, 4, 2}}), "232", false)));
    Grid grid({file.path()});
    Address const second(SubzoneAddress(0, 0, 0), 1);
    EXPECT_EQ(grid.cells.nodeCount(second), 27);
    EXPECT_EQ(grid.cells.cornerNodeCount(second), 8);
    auto const nodes = grid.nodesOf(second);
    ASSERT_EQ(nodes.size(), 27U);
    Address buffer[8];
    RawArray<Address> corners{nullptr, buffer, 8, 0};
    grid.cells.cornerNodeAddresses(second, corners);
    ASSERT_EQ(corners.size, 8U);
    for (int n = 0; n < 8; ++n) {
        EXPECT_EQ(buffer[n], nodes[static_cast<std::size_t>(n)]);
        EXPECT_EQ(grid.cells.cornerNodeAddress(second, n), buffer[n]);
    }
    EXPECT_EQ(grid.cells.nodeAddress(second, 26), nodes[26]);
    EXPECT_NE(failureOf([&] { grid.cells.cornerNodeAddress(second, 8); }), "");
    EXPECT_NE(failureOf([&] { grid.cells.nodeAddress(second, 27); }), "");
    EXPECT_NE(failureOf([&] { grid.cells.nodeAddress(second, -1); }), "");
}

TEST(CellConnectivity, CellsOfFewerNodesThanCornersAreDamage)
{
    // A grid order of 0 leaves a tetrahedron one node.
    std::vector<MeshPartition> mesh(1);
    mesh[0].numNodes = 4;
    mesh[0].cells = {{{{0, 3}}, {{0, 1}}}};
    TemporaryFile const file(build(fileOf(meshZone('M', 232, mesh, {{0, 3, 0}}), "232", false)));
    Grid grid({file.path()});
    Address const cell(SubzoneAddress(0, 0, 0), 1);
    std::string const expected = "The connectivity of cell subzone 0 of section 0 in partition 0 of "
                                 "zone 1 of " +
                                 file.path() +
                                 " is damaged: its cells have 4 corners and 1 nodes.";
    EXPECT_EQ(failureOf([&] {
                  Address buffer[8];
                  RawArray<Address> corners{nullptr, buffer, 8, 0};
                  grid.cells.cornerNodeAddresses(cell, corners);
              }),
              expected);
    EXPECT_EQ(failureOf([&] { grid.cells.cornerNodeAddress(cell, 3); }), expected);
    EXPECT_EQ(failureOf([&] { grid.nodesOf(cell); }), expected);
}

struct ShapeCase
{
    std::uint8_t shape;
    std::size_t numNodes;
    long numFaces;
};

TEST(CellConnectivity, EveryShapeHasItsCounts)
{
    ShapeCase const cases[] = {{3, 4, 4}, {4, 8, 6}, {5, 5, 5}, {6, 6, 5}};
    for (ShapeCase const& row : cases) {
        std::vector<MeshPartition> mesh(1);
        mesh[0].numNodes = 8;
        mesh[0].cells.resize(1);
        mesh[0].cells[0] = {MeshCell(row.numNodes, {0, 7})};
        TemporaryFile const file(
            build(fileOf(meshZone('M', 106, mesh, {{0, row.shape}}), "106", false)));
        Grid grid({file.path()});
        Address const cell(SubzoneAddress(0, 0, 0), 0);
        EXPECT_EQ(grid.cells.cornerNodeCount(cell), static_cast<long>(row.numNodes));
        EXPECT_EQ(grid.cells.nodeCount(cell), static_cast<long>(row.numNodes));
        EXPECT_EQ(grid.cells.faceCount(cell), row.numFaces);
    }
}

// Shared connectivity.

std::vector<MeshPartition> oneTetrahedron(std::uint32_t numNodes)
{
    std::vector<MeshPartition> mesh(1);
    mesh[0].numNodes = numNodes;
    mesh[0].cells = {{{{0, 3}, {0, 0}, {0, 2}, {0, 1}}}};
    return mesh;
}

TEST(CellConnectivity, ZoneMayShareThatOfAnother)
{
    FileSpec spec = fileOf(meshZone('T', 105, oneTetrahedron(4)), "105", false);
    spec.zones.resize(3, spec.zones[0]);
    for (std::size_t z = 1; z < 3; ++z) {
        spec.zones[z].makeMesh = nullptr;
        spec.zones[z].hasConnectivity = false;
        spec.zones[z].shareConnectivity = static_cast<std::int32_t>(z) - 1;
    }
    TemporaryFile const file(build(spec));
    Grid grid({file.path()}, 2);
    expectMesh(grid, oneTetrahedron(4));
    EXPECT_EQ(grid.cellSubzonesAt(SubzoneAddress(0, 0, 0)).size(), 1U);
}

TEST(CellConnectivity, SharingBetweenZonesCutInOtherWaysIsRefused)
{
    FileSpec spec = fileOf(meshZone('T', 105, oneTetrahedron(4)), "105", false);
    spec.zones.push_back(meshZone('T', 105, oneTetrahedron(5)));
    spec.zones[1].shareConnectivity = 0;
    TemporaryFile const file(build(spec));
    Grid grid({file.path()}, 1);
    EXPECT_EQ(failureOf([&] { grid.nodesOf(Address(SubzoneAddress(0, 0, 0), 0)); }),
              "Zone 2 of " + file.path() +
                  " shares the connectivity of zone 1, which is cut into subzones in another way.");
}

TEST(CellConnectivity, SharingInARingIsRefused)
{
    FileSpec spec = fileOf(meshZone('T', 105, oneTetrahedron(4)), "105", false);
    spec.zones.resize(3, spec.zones[0]);
    spec.zones[0].shareConnectivity = 1;
    spec.zones[1].shareConnectivity = 2;
    spec.zones[2].shareConnectivity = 1;
    TemporaryFile const file(build(spec));
    EXPECT_EQ(failureOf([&] { DataSet({file.path()}); }),
              "The connectivity of zone 1 of " + file.path() + " is shared in a ring of zones.");
}

// What can't be answered.

TEST(CellConnectivity, AddressesOutsideTheZoneAreErrors)
{
    Grid grid({sample("tjunction_grid")});
    for (SubzoneAddress const& subzone :
         {SubzoneAddress(0, 0, 16), SubzoneAddress(0, 1, 0), SubzoneAddress(1, 0, 0)}) {
        EXPECT_THROW(grid.nodesOf(Address(subzone, 0)), std::out_of_range);
        EXPECT_THROW(grid.nodeSubzonesAt(subzone), std::out_of_range);
        EXPECT_THROW(grid.cells.nodeCount(Address(subzone, 0)), std::out_of_range);
        EXPECT_THROW(grid.cells.toUniformAddress(Address(subzone, 0)), std::out_of_range);
        SubzoneAddress wanted[] = {subzone};
        RawArray<SubzoneAddress> list{nullptr, wanted, 1, 1};
        EXPECT_THROW(grid.cells.checkout(false, list), std::out_of_range);
    }
    // 3875 cells: the last subzone has 35. 5616 nodes: the last one has 240.
    EXPECT_THROW(grid.nodesOf(Address(SubzoneAddress(0, 0, 15), 35)), std::out_of_range);
    EXPECT_THROW(grid.cells.toUniformAddress(Address(SubzoneAddress(0, 0, 15), 35)),
                 std::out_of_range);
    EXPECT_THROW(grid.nodes.toUniformAddress(Address(SubzoneAddress(0, 0, 21), 240)),
                 std::out_of_range);
    EXPECT_THROW(grid.cellSubzonesAt(SubzoneAddress(0, 0, 22)), std::out_of_range);
    EXPECT_THROW(grid.cellSubzonesAt(SubzoneAddress(0, 1, 0)), std::out_of_range);
}

TEST(CellConnectivity, ZoneWithoutConnectivitySaysSo)
{
    FileSpec spec = fileOf(meshZone('T', 105, oneTetrahedron(4)), "105", false);
    spec.zones[0].makeMesh = nullptr;
    spec.zones[0].hasConnectivity = false;
    TemporaryFile const file(build(spec));
    Grid grid({file.path()});
    std::string const expected = "Zone 1 of " + file.path() + " has no connectivity.";
    EXPECT_EQ(failureOf([&] { grid.nodesOf(Address(SubzoneAddress(0, 0, 0), 0)); }), expected);
    EXPECT_EQ(failureOf([&] { grid.cellSubzonesAt(SubzoneAddress(0, 0, 0)); }), expected);
    EXPECT_EQ(grid.cells.size(SubzoneAddress(0, 0, 0)), 1);
}

TEST(CellConnectivity, NodeThatDoesntExistIsDamage)
{
    auto mesh = oneTetrahedron(4);
    mesh[0].cells[0][0][1].node = 4;
    TemporaryFile const file(build(fileOf(meshZone('T', 105, mesh), "105", false)));
    Grid grid({file.path()});
    EXPECT_EQ(failureOf([&] { grid.nodesOf(Address(SubzoneAddress(0, 0, 0), 0)); }),
              "The connectivity of cell subzone 0 of section 0 in partition 0 of zone 1 of " +
                  file.path() +
                  " is damaged: it refers to node 4 of node subzone 0 of section 0 in partition "
                  "0, which doesn't exist.");
    mesh[0].cells[0][0][1].node = 256;
    TemporaryFile const other(build(fileOf(meshZone('T', 105, mesh), "105", false)));
    Grid second({other.path()});
    EXPECT_NE(failureOf([&] {
                  second.nodesOf(Address(SubzoneAddress(0, 0, 0), 0));
              }).find("it refers to node 0 of node subzone 1 of section 0 in partition 0"),
              std::string::npos);
}

TEST(CellConnectivity, DamagedRecordsNeverReachBeyondTheZone)
{
    // Every byte of a file of all that there is, one by one set to all ones and to zero: each
    // question is answered or refused, and what is answered lies in the zone.
    auto const mesh = [] {
        std::vector<MeshPartition> result(2);
        for (std::uint32_t p = 0; p < 2; ++p) {
            result[p].numNodes = 5;
            result[p].cells = {{{{p, 0}, {1 - p, 1}, {p, 2}, {p, 3}}},
                               {{{p, 0}, {p, 1}, {p, 2}, {p, 3}, {p, 4}}}};
        }
        return result;
    }();
    std::string const good =
        build(fileOf(meshZone('M', 106, mesh, {{0, 3}, {0, 5}}), "106", false));
    std::size_t numAnswered = 0;
    std::size_t numRefused = 0;
    for (std::size_t place = 0; place < good.size(); ++place) {
        for (char const byte : {'\0', '\xff'}) {
            std::string bytes = good;
            if (bytes[place] == byte)
                continue;
            bytes[place] = byte;
            TemporaryFile const file(bytes);
            std::string const failure = failureOf([&] {
                Grid grid({file.path()});
                // A damaged count may make a great many of them.
                auto const some = [&](Items items) {
                    auto list = grid.subzones(items);
                    list.resize(std::min<std::size_t>(list.size(), 8), SubzoneAddress(0));
                    return list;
                };
                if (!grid.dataSet.zone(0).isHdq || grid.dataSet.zone(0).type == ZoneType_Ordered)
                    throw std::runtime_error("another zone");
                for (SubzoneAddress const& subzone : some(Items::Cells))
                    for (unsigned c = 0; c < grid.cells.size(subzone); ++c)
                        for (Address const& node :
                             grid.nodesOf(Address(subzone, static_cast<std::uint8_t>(c))))
                            ASSERT_LT(node.itemOffset(), grid.nodes.size(node.subzoneAddress()));
                for (SubzoneAddress const& subzone : some(Items::Nodes))
                    for (SubzoneAddress const& cells : grid.cellSubzonesAt(subzone))
                        ASSERT_GT(grid.cells.size(cells), 0);
            });
            ++(failure.empty() ? numAnswered : numRefused);
        }
    }
    EXPECT_GT(numAnswered, 100U);
    EXPECT_GT(numRefused, 100U);
}

TEST(ConnectivityReader, MoreSubzonesThanAreKeptAreReadAgain)
{
    std::vector<MeshPartition> mesh(1);
    mesh[0].numNodes = 256;
    mesh[0].cells.resize(1);
    constexpr std::uint32_t NUM_SUBZONES = 2 * ConnectivityReader::MAX_KEPT + 1;
    for (std::uint32_t c = 0; c < NUM_SUBZONES * 256; ++c)
        mesh[0].cells[0].push_back({{0, c % 251}, {0, c / 256}, {0, 1}, {0, 2}});
    TemporaryFile const file(build(fileOf(meshZone('T', 105, mesh), "105", false)));
    Grid grid({file.path()});
    for (int round = 0; round < 2; ++round)
        expectMesh(grid, mesh);
}

}
}
