#include "tests/writer/Comparison.h"

#include "addons/hdqfs/ConnectivityReader.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <set>
#include <vector>

namespace varnox::hdqfswriter::tests {

namespace {

using hdqfsloader::Items;
using hdqio::MinMax;

std::string described(double value, char const* format)
{
    char text[64];
    if (std::string(format) == "float")
        std::snprintf(text, sizeof(text), "%.7e", value);
    else
        std::snprintf(text, sizeof(text), "%.15e", value);
    return text;
}

template <typename T>
bool isSame(T expected, T actual, bool throughText)
{
    if constexpr (std::is_same_v<T, float>) {
        if (throughText)
            expected =
                std::strtof(described(static_cast<double>(expected), "float").c_str(), nullptr);
    } else if constexpr (std::is_same_v<T, double>) {
        if (throughText)
            expected = std::strtod(described(expected, "double").c_str(), nullptr);
    }
    if constexpr (std::is_floating_point_v<T>)
        if (throughText && std::isnan(expected))
            return std::isnan(actual);
    return std::memcmp(&expected, &actual, sizeof(T)) == 0;
}

std::uint64_t numValues(Zone const& zone, std::uint32_t variable, std::uint32_t partition)
{
    bool const isNodal = zone.variables[variable].location == ValueLocation::Nodes;
    if (isOrdered(zone))
        return isNodal ? numNodes(zone) : numCells(zone);
    return isNodal ? zone.partitions[partition].numNodes : numCells(zone.partitions[partition]);
}

/// Of an ordered zone all values.
template <typename T>
std::vector<T> valuesOf(Zone const& zone, std::uint32_t variable, std::uint32_t partition)
{
    std::vector<T> result(static_cast<std::size_t>(numValues(zone, variable, partition)));
    void const* given = nullptr;
    if (isOrdered(zone)) {
        Box box{{0, 0, 0}, zone.size};
        if (zone.variables[variable].location == ValueLocation::Cells)
            box = cellsOf(box, zone.size);
        given = zone.source->boxValues(box, variable, result.data());
    } else {
        given = zone.source->values(partition, variable, result.data());
    }
    if (given != result.data() && !result.empty())
        std::memcpy(result.data(), given, result.size() * sizeof(T));
    return result;
}

std::vector<std::uint64_t> cellsOf(Zone const& zone, std::uint32_t partition, std::uint32_t section)
{
    std::uint32_t const size = nodesPerCell(sectionsOf(zone)[section]);
    std::vector<std::uint64_t> result(
        static_cast<std::size_t>(zone.partitions[partition].numCells[section]) * size);
    std::uint64_t const* const given = zone.source->cells(partition, section, result.data());
    std::copy_n(given, result.size(), result.data());
    return result;
}

void expectEqualVariable(Zone const& expected, Zone const& actual, std::uint32_t v,
                         bool throughText)
{
    ZoneVariable const& a = expected.variables[v];
    ZoneVariable const& b = actual.variables[v];
    EXPECT_EQ(a.type, b.type);
    EXPECT_EQ(a.location, b.location);
    EXPECT_EQ(a.isPassive, b.isPassive);
    EXPECT_EQ(a.sharedFrom, b.sharedFrom);
    if (a.isPassive || a.sharedFrom != -1 || a.type != b.type || a.location != b.location)
        return;
    std::uint32_t const partitions = isOrdered(expected) ? 1 : numPartitions(expected);
    for (std::uint32_t p = 0; p < partitions; ++p) {
        SCOPED_TRACE("partition " + std::to_string(p));
        withType(a.type, [&](auto value) {
            using T = decltype(value);
            auto const one = valuesOf<T>(expected, v, p);
            auto const other = valuesOf<T>(actual, v, p);
            ASSERT_EQ(one.size(), other.size());
            for (std::size_t i = 0; i < one.size(); ++i)
                ASSERT_TRUE(isSame(one[i], other[i], throughText))
                    << "value " << i << ": " << +one[i] << " and " << +other[i];
        });
    }
}

void expectEqualPartitions(Zone const& a, Zone const& b)
{
    ASSERT_EQ(a.partitions.size(), b.partitions.size());
    for (std::size_t p = 0; p < a.partitions.size(); ++p) {
        EXPECT_EQ(a.partitions[p].nodes.begin, b.partitions[p].nodes.begin);
        EXPECT_EQ(a.partitions[p].nodes.end, b.partitions[p].nodes.end);
        EXPECT_EQ(a.partitions[p].numNodes, b.partitions[p].numNodes);
        EXPECT_EQ(a.partitions[p].numCells, b.partitions[p].numCells);
    }
}

void expectEqualZone(DataSet const& expected, DataSet const& actual, std::size_t z,
                     bool throughText)
{
    Zone const& a = expected.zones[z];
    Zone const& b = actual.zones[z];
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.isInSubzones, b.isInSubzones);
    EXPECT_EQ(a.size, b.size);
    EXPECT_EQ(a.numFaces, b.numFaces);
    EXPECT_TRUE(isSame(a.solutionTime, b.solutionTime, throughText));
    EXPECT_EQ(a.strandID, b.strandID);
    EXPECT_EQ(a.parentZone, b.parentZone);
    EXPECT_EQ(a.connectivityFrom, b.connectivityFrom);
    EXPECT_EQ(a.faceNeighborMode, b.faceNeighborMode);
    ASSERT_EQ(a.type, b.type);
    ASSERT_EQ(a.sections.size(), b.sections.size());
    for (std::size_t s = 0; s < a.sections.size(); ++s) {
        EXPECT_EQ(a.sections[s].shape, b.sections[s].shape);
        EXPECT_EQ(a.sections[s].gridOrder, b.sections[s].gridOrder);
        EXPECT_EQ(a.sections[s].basisFunction, b.sections[s].basisFunction);
    }
    ASSERT_NO_FATAL_FAILURE(expectEqualPartitions(a, b));
    EXPECT_EQ(a.source->faceNeighbors(), b.source->faceNeighbors());
    ASSERT_EQ(a.variables.size(), b.variables.size());
    for (std::uint32_t v = 0; v < a.variables.size(); ++v) {
        SCOPED_TRACE("variable " + std::to_string(v));
        expectEqualVariable(a, b, v, throughText);
    }
    bool const hasCells = !isOrdered(a) && !hasCellsOfAnyShape(a);
    for (std::uint32_t p = 0; hasCells && p < a.partitions.size(); ++p)
        for (std::uint32_t s = 0; s < a.partitions[p].numCells.size(); ++s)
            EXPECT_EQ(cellsOf(a, p, s), cellsOf(b, p, s)) << "partition " << p << " section " << s;
}

void expectEqualAnnotations(DataSet const& a, DataSet const& b, bool throughText)
{
    auto const same = [throughText](auto const& x, auto const& y) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_arithmetic_v<T>)
            return isSame<T>(x, y, throughText);
        else
            return x == y;
    };
    ASSERT_EQ(a.texts.size(), b.texts.size());
    for (std::size_t i = 0; i < a.texts.size(); ++i) {
#define VALUE(type, name) EXPECT_TRUE(same(a.texts[i].name, b.texts[i].name)) << #name;
#define STRING(name) EXPECT_TRUE(same(a.texts[i].name, b.texts[i].name)) << #name;
#include "filedata/TextFields.def"
    }
    ASSERT_EQ(a.geometries.size(), b.geometries.size());
    for (std::size_t i = 0; i < a.geometries.size(); ++i) {
        Geometry const& one = a.geometries[i];
        Geometry const& other = b.geometries[i];
#define VALUE(type, name) EXPECT_TRUE(same(one.name, other.name)) << #name;
#define STRING(name) EXPECT_TRUE(same(one.name, other.name)) << #name;
#include "filedata/GeomFields.def"
        EXPECT_TRUE(same(one.size[0], other.size[0]) && same(one.size[1], other.size[1]));
        ASSERT_EQ(one.segments.size(), other.segments.size());
        for (std::size_t s = 0; s < one.segments.size(); ++s) {
            ASSERT_EQ(one.segments[s].size(), other.segments[s].size());
            for (std::size_t p = 0; p < one.segments[s].size(); ++p) {
                EXPECT_TRUE(same(one.segments[s][p].x, other.segments[s][p].x));
                EXPECT_TRUE(same(one.segments[s][p].y, other.segments[s][p].y));
                EXPECT_TRUE(same(one.segments[s][p].z, other.segments[s][p].z));
            }
        }
    }
    EXPECT_EQ(a.customLabelSets, b.customLabelSets);
    ASSERT_EQ(a.auxiliaryData.size(), b.auxiliaryData.size());
    for (std::size_t i = 0; i < a.auxiliaryData.size(); ++i) {
        EXPECT_EQ(a.auxiliaryData[i].auxDataLocation, b.auxiliaryData[i].auxDataLocation);
        EXPECT_EQ(a.auxiliaryData[i].auxDataEntity, b.auxiliaryData[i].auxDataEntity);
        EXPECT_EQ(a.auxiliaryData[i].auxDataName, b.auxiliaryData[i].auxDataName);
        EXPECT_EQ(a.auxiliaryData[i].auxDataType, b.auxiliaryData[i].auxDataType);
        EXPECT_EQ(a.auxiliaryData[i].auxDataValue, b.auxiliaryData[i].auxDataValue);
    }
}

/// The items of a zone by partition and subzone: for each, which values of the other kind of item
/// lie at it. Built by brute force from the data set alone.
class BruteForce
{
public:
    BruteForce(hdqfsloader::DataFile& file, Zone const& zone, std::uint32_t zoneIndex)
        : m_file(file), m_zone(zone), m_zoneIndex(zoneIndex)
    {
    }

    void check(std::uint32_t v)
    {
        withType(m_zone.variables[v].type, [&](auto value) { checkAs<decltype(value)>(v); });
    }

private:
    using RangeTable = std::vector<std::vector<MinMax>>; ///< By partition, then subzone.

    static void add(MinMax& range, double value)
    {
        // A comparison with not-a-number is false.
        if (value < range.min)
            range.min = value;
        if (value > range.max)
            range.max = value;
    }

    RangeTable emptyTable(Items items)
    {
        constexpr double INF = std::numeric_limits<double>::infinity();
        RangeTable result;
        for (std::uint32_t p = 0; p < numPartitions(m_zone); ++p)
            result.emplace_back(m_file.layout(m_zoneIndex, p, items).numSubzones(),
                                MinMax{INF, -INF});
        return result;
    }

    template <typename T>
    void checkAs(std::uint32_t v)
    {
        m_nodes = emptyTable(Items::Nodes);
        m_cells = emptyTable(Items::Cells);
        m_isNodal = m_zone.variables[v].location == ValueLocation::Nodes;
        if (isOrdered(m_zone))
            addOrdered<T>(v);
        else
            addMesh<T>(v);
        std::vector<MinMax> const stored = m_file.partitionRanges(m_zoneIndex, v);
        RangeTable const& own = m_isNodal ? m_nodes : m_cells;
        for (std::uint32_t p = 0; p < own.size(); ++p) {
            SCOPED_TRACE("variable " + std::to_string(v) + " partition " + std::to_string(p));
            compare<T>(m_nodes[p], m_file.subzoneRanges(m_zoneIndex, v, p, Items::Nodes), "nodes");
            compare<T>(m_cells[p], m_file.subzoneRanges(m_zoneIndex, v, p, Items::Cells), "cells");
            compare<T>({hdqfsloader::joined(own[p])}, {stored[p]}, "partition");
        }
        std::vector<MinMax> all;
        for (auto const& ranges : own)
            all.insert(all.end(), ranges.begin(), ranges.end());
        compare<T>({hdqfsloader::joined(all)}, {m_file.headers().zoneMinMaxes[v][m_zoneIndex]},
                   "zone");
    }

    template <typename T>
    void compare(std::vector<MinMax> const& expected, std::vector<MinMax> const& stored,
                 char const* what)
    {
        ASSERT_EQ(expected.size(), stored.size()) << what;
        bool const isText = m_file.description().isAscii() != 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            if (expected[i].min > expected[i].max) { // of nothing
                EXPECT_GT(stored[i].min, stored[i].max) << what << " " << i;
                continue;
            }
            bool const holds =
                isText ? isSame(static_cast<float>(expected[i].min),
                                static_cast<float>(stored[i].min), true) &&
                             isSame(static_cast<float>(expected[i].max),
                                    static_cast<float>(stored[i].max), true)
                       : expected[i].min == stored[i].min && expected[i].max == stored[i].max;
            ASSERT_TRUE(holds) << what << " " << i << ": [" << expected[i].min << ", "
                               << expected[i].max << "] and [" << stored[i].min << ", "
                               << stored[i].max << "]";
        }
    }

    template <typename T>
    void addMesh(std::uint32_t v)
    {
        std::vector<std::uint64_t> firstNode{0};
        for (Partition const& partition : m_zone.partitions)
            firstNode.push_back(firstNode.back() + partition.numNodes);
        std::vector<std::vector<T>> values;
        for (std::uint32_t p = 0; p < m_zone.partitions.size(); ++p)
            values.push_back(valuesOf<T>(m_zone, v, p));
        auto const partitionOf = [&](std::uint64_t node) {
            auto const next = std::upper_bound(firstNode.begin(), firstNode.end(), node);
            return static_cast<std::uint32_t>(next - firstNode.begin() - 1);
        };
        for (std::uint32_t p = 0; p < m_zone.partitions.size(); ++p) {
            for (std::size_t n = 0; m_isNodal && n < values[p].size(); ++n)
                add(m_nodes[p][n / 256], static_cast<double>(values[p][n]));
            std::size_t firstCell = 0;
            std::size_t firstSubzone = 0;
            for (std::uint32_t s = 0; s < m_zone.partitions[p].numCells.size(); ++s) {
                std::uint32_t const size = nodesPerCell(sectionsOf(m_zone)[s]);
                auto const nodes = cellsOf(m_zone, p, s);
                for (std::size_t i = 0; i < nodes.size(); ++i) {
                    std::size_t const cell = i / size;
                    std::uint32_t const q = partitionOf(nodes[i]);
                    std::uint64_t const node = nodes[i] - firstNode[q];
                    MinMax& ofCell = m_cells[p][firstSubzone + cell / 256];
                    if (m_isNodal) {
                        add(ofCell, static_cast<double>(values[q][node]));
                    } else {
                        auto const value = static_cast<double>(values[p][firstCell + cell]);
                        add(ofCell, value);
                        add(m_nodes[q][node / 256], value);
                    }
                }
                std::size_t const count = nodes.size() / size;
                firstCell += count;
                firstSubzone += (count + 255) / 256;
            }
        }
    }

    template <typename T>
    void addOrdered(std::uint32_t v)
    {
        auto const values = valuesOf<T>(m_zone, v, 0);
        auto const& size = m_zone.size;
        std::array<std::uint64_t, 3> const cells{numCellsAlong(size[0]), numCellsAlong(size[1]),
                                                 numCellsAlong(size[2])};
        auto const& along = m_isNodal ? size : cells;
        auto const valueAt = [&](std::uint64_t i, std::uint64_t j, std::uint64_t k) {
            return static_cast<double>(values[(k * along[1] + j) * along[0] + i]);
        };
        for (std::uint64_t k = 0; k < cells[2]; ++k)
            for (std::uint64_t j = 0; j < cells[1]; ++j)
                for (std::uint64_t i = 0; i < cells[0]; ++i)
                    for (unsigned corner = 0; corner < 8; ++corner) {
                        std::uint64_t const ni = std::min(i + (corner & 1), size[0] - 1);
                        std::uint64_t const nj = std::min(j + (corner >> 1 & 1), size[1] - 1);
                        std::uint64_t const nk = std::min(k + (corner >> 2), size[2] - 1);
                        double const value = m_isNodal ? valueAt(ni, nj, nk) : valueAt(i, j, k);
                        add(rangeOf(Items::Cells, {i, j, k}), value);
                        add(rangeOf(Items::Nodes, {ni, nj, nk}), value);
                    }
        if (!m_isNodal)
            return;
        // A node has its own value and no other.
        m_nodes = emptyTable(Items::Nodes);
        for (std::uint64_t k = 0; k < size[2]; ++k)
            for (std::uint64_t j = 0; j < size[1]; ++j)
                for (std::uint64_t i = 0; i < size[0]; ++i)
                    add(rangeOf(Items::Nodes, {i, j, k}), valueAt(i, j, k));
    }

    MinMax& rangeOf(Items items, std::array<std::uint64_t, 3> const& at)
    {
        for (std::uint32_t p = 0; p < numPartitions(m_zone); ++p) {
            Box const box = m_zone.partitions.empty() ? Box{{0, 0, 0}, m_zone.size}
                                                      : m_zone.partitions[p].nodes;
            bool isInside = true;
            for (std::size_t axis = 0; axis < 3; ++axis)
                isInside = isInside && at[axis] >= box.begin[axis] && at[axis] < box.end[axis];
            if (!isInside)
                continue;
            auto const& layout = m_file.layout(m_zoneIndex, p, items);
            std::array<std::uint64_t, 3> brick{};
            for (std::size_t axis = 0; axis < 3; ++axis)
                brick[axis] = (at[axis] - box.begin[axis] + layout.axis(axis).shift) /
                              layout.axis(axis).limit;
            std::uint64_t const subzone =
                brick[0] +
                layout.axis(0).numBricks * (brick[1] + layout.axis(1).numBricks * brick[2]);
            return (items == Items::Nodes ? m_nodes : m_cells)[p][subzone];
        }
        throw std::out_of_range("no partition");
    }

    hdqfsloader::DataFile& m_file;
    Zone const& m_zone;
    std::uint32_t m_zoneIndex;
    bool m_isNodal = false;
    RangeTable m_nodes;
    RangeTable m_cells;
};

}

void expectEqual(DataSet const& expected, DataSet const& actual, bool throughText)
{
    EXPECT_EQ(expected.title, actual.title);
    EXPECT_EQ(expected.variableNames, actual.variableNames);
    expectEqualAnnotations(expected, actual, throughText);
    ASSERT_EQ(expected.zones.size(), actual.zones.size());
    for (std::size_t z = 0; z < expected.zones.size(); ++z) {
        SCOPED_TRACE("zone " + std::to_string(z));
        expectEqualZone(expected, actual, z, throughText);
    }
}

void expectExactRanges(std::shared_ptr<hdqfsloader::DataFile> const& file, DataSet const& dataSet)
{
    for (std::uint32_t z = 0; z < dataSet.zones.size(); ++z) {
        Zone const& zone = dataSet.zones[z];
        SCOPED_TRACE("zone " + std::to_string(z));
        for (std::uint32_t v = 0; zone.isInSubzones && v < zone.variables.size(); ++v)
            if (!zone.variables[v].isPassive && zone.variables[v].sharedFrom == -1)
                BruteForce(*file, zone, z).check(v);
    }
}

void expectExactNodeRecords(std::shared_ptr<hdqfsloader::DataFile> const& file,
                            DataSet const& dataSet)
{
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;
    for (std::uint32_t z = 0; z < dataSet.zones.size(); ++z) {
        Zone const& zone = dataSet.zones[z];
        if (isOrdered(zone) || !zone.isInSubzones || zone.connectivityFrom != -1)
            continue;
        std::vector<std::uint64_t> firstNode{0};
        for (Partition const& partition : zone.partitions)
            firstNode.push_back(firstNode.back() + partition.numNodes);
        std::vector<std::vector<std::set<SubzoneAddress>>> expected;
        for (Partition const& partition : zone.partitions)
            expected.emplace_back((partition.numNodes + 255) / 256);
        for (std::uint32_t p = 0; p < zone.partitions.size(); ++p)
            for (std::uint32_t s = 0; s < zone.partitions[p].numCells.size(); ++s) {
                std::uint32_t const size = nodesPerCell(sectionsOf(zone)[s]);
                auto const nodes = cellsOf(zone, p, s);
                for (std::size_t i = 0; i < nodes.size(); ++i) {
                    auto const next =
                        std::upper_bound(firstNode.begin(), firstNode.end(), nodes[i]);
                    auto const q = static_cast<std::size_t>(next - firstNode.begin() - 1);
                    expected[q][(nodes[i] - firstNode[q]) / 256].insert(
                        SubzoneAddress(p, s, static_cast<std::uint32_t>(i / size / 256)));
                }
            }
        hdqfsloader::ConnectivityReader reader;
        for (std::uint32_t p = 0; p < expected.size(); ++p)
            for (std::uint32_t n = 0; n < expected[p].size(); ++n) {
                auto const stored = reader.cellSubzones({file.get(), z}, {p, 0, n});
                EXPECT_TRUE(std::equal(stored.begin(), stored.end(), expected[p][n].begin(),
                                       expected[p][n].end()))
                    << "zone " << z << " partition " << p << " node subzone " << n;
            }
    }
}

}
