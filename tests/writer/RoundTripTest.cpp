// What the writer writes, read back by the file layer and by the loader, is what it was given.

#include "varnox/hdqfswriter/FileWriter.h"

#include "filedata/FileSetMetadata.h"
#include "tests/support/CaseName.h"
#include "tests/writer/Comparison.h"
#include "tests/writer/DataSetFromFile.h"
#include "tests/writer/DataSets.h"
#include "tests/writer/MemoryZone.h"
#include "tests/writer/WrittenFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace varnox::hdqfswriter::tests {
namespace {

DataSet dataSetOf(std::vector<Zone> zones)
{
    DataSet result;
    result.title = "a title";
    result.variableNames = namesOf(zones.front().variables.size());
    result.zones = std::move(zones);
    for (std::size_t z = 0; z < result.zones.size(); ++z)
        result.zones[z].name = "zone number " + std::to_string(z + 1);
    return result;
}

DataSet ordered()
{
    DataSet result = dataSetOf({orderedZone({13, 7, 9}, variablesOfAllTypes()),
                                orderedZone({6, 12, 18}, variablesOfAllTypes()),
                                orderedZone({1, 30, 5}, variablesOfAllTypes()),
                                orderedZone({1, 1, 1}, variablesOfAllTypes())});
    result.zones[1].solutionTime = 0.1;
    result.zones[1].strandID = 7;
    result.zones[1].parentZone = 0;
    result.zones[2].faceNeighborMode = 3;
    return result;
}

DataSet orderedInPartitions()
{
    std::array<std::vector<std::uint64_t>, 3> const cuts{{{5, 6}, {3}, {8}}};
    return dataSetOf({orderedZone({13, 7, 9}, variablesOfAllTypes(), cuts),
                      orderedZone({12, 12, 12}, variablesOfAllTypes(), {{{6}, {11}, {}}})});
}

DataSet orderedPlain()
{
    DataSet result = dataSetOf({orderedZone({13, 7, 9}, variablesOfAllTypes()),
                                orderedZone({13, 1, 1}, variablesOfAllTypes())});
    for (Zone& zone : result.zones)
        zone.isInSubzones = false;
    return result;
}

DataSet passiveAndShared()
{
    DataSet result = dataSetOf({orderedZone({5, 6, 7}, variablesOfAllTypes()),
                                orderedZone({5, 6, 7}, variablesOfAllTypes()),
                                orderedZone({5, 6, 7}, variablesOfAllTypes())});
    result.zones[0].variables[4].isPassive = true;
    result.zones[1].variables[0].sharedFrom = 0;
    result.zones[1].variables[9].sharedFrom = 0;
    result.zones[2].variables[9].isPassive = true;
    result.zones[2].variables[10].sharedFrom = 1;
    return result;
}

/// Zones of more nodes than their file has bytes: one without values, and a thin one of cells.
DataSet largerThanTheirFile()
{
    ZoneVariable const none{ValueType::Float, ValueLocation::Nodes, true, -1};
    ZoneVariable const bytes{ValueType::Byte, ValueLocation::Cells, false, -1};
    return dataSetOf({orderedZone({500, 100, 10}, {none}), orderedZone({2, 100000, 1}, {bytes})});
}

DataSet sharedInPartitions()
{
    std::array<std::vector<std::uint64_t>, 3> const cuts{{{5}, {}, {8}}};
    DataSet result = dataSetOf({orderedZone({13, 7, 9}, variablesOfAllTypes(), cuts),
                                orderedZone({13, 7, 9}, variablesOfAllTypes(), cuts)});
    result.zones[1].variables[3].sharedFrom = 0;
    result.zones[1].variables[4].isPassive = true;
    result.zones[1].variables[11].sharedFrom = 0;
    return result;
}

DataSet meshes()
{
    return dataSetOf({meshZone({ZoneType::Brick, {9, 8, 11}}, variablesOfAllTypes()),
                      meshZone({ZoneType::Tetrahedron, {4, 5, 6}}, variablesOfAllTypes()),
                      meshZone({ZoneType::Brick, {1, 1, 1}}, variablesOfAllTypes())});
}

DataSet meshesInPartitions()
{
    return dataSetOf({meshZone({ZoneType::Brick, {17, 8, 9}, 2}, variablesOfAllTypes()),
                      meshZone({ZoneType::Tetrahedron, {23, 6, 7}, 7}, variablesOfAllTypes()),
                      meshZone({ZoneType::Brick, {9, 20, 20}, 3, true, 3}, variablesOfAllTypes())});
}

DataSet mixed()
{
    return dataSetOf(
        {meshZone({ZoneType::Mixed, {9, 8, 7}}, variablesOfAllTypes()),
         meshZone({ZoneType::Mixed, {12, 9, 8}, 4, true, 5, 2}, variablesOfAllTypes()),
         meshZone({ZoneType::Brick, {4, 4, 4}}, variablesOfAllTypes()),
         meshZone({ZoneType::Mixed, {3, 3, 4}, 1, false}, variablesOfAllTypes()),
         meshZone({ZoneType::Mixed, {3, 3, 1}}, variablesOfAllTypes())}); // an empty section
}

DataSet meshesPlain()
{
    return dataSetOf(
        {meshZone({ZoneType::Brick, {5, 5, 5}, 1, false}, variablesOfAllTypes()),
         meshZone({ZoneType::Tetrahedron, {2, 2, 2}, 1, false}, variablesOfAllTypes())});
}

/// Zones of the remaining types, whose cells are any nodes.
DataSet otherPlain()
{
    struct Kind
    {
        ZoneType type;
        std::uint64_t corners;
    };
    DataSet result;
    std::vector<Zone> zones;
    for (Kind const kind : {Kind{ZoneType::Triangle, 3}, Kind{ZoneType::Quadrilateral, 4},
                            Kind{ZoneType::LineSegment, 2}, Kind{ZoneType::Polygon, 0},
                            Kind{ZoneType::Polyhedron, 0}}) {
        Zone zone;
        zone.type = kind.type;
        zone.isInSubzones = false;
        zone.numFaces = 77;
        zone.variables = variablesOfAllTypes();
        zone.partitions = {{{}, 30, {20}}};
        auto source = std::make_shared<MemorySource>();
        source->mesh = {{{}}};
        for (std::uint64_t n = 0; n < 20 * kind.corners; ++n)
            source->mesh[0][0].push_back(n * 7 % 30);
        zone.source = source;
        for (std::uint32_t v = 0; v < zone.variables.size(); ++v)
            fillValues(zone, v, 5 + v);
        zones.push_back(zone);
    }
    return dataSetOf(zones);
}

DataSet sharedConnectivity()
{
    DataSet result =
        dataSetOf({meshZone({ZoneType::Brick, {17, 8, 9}, 2}, variablesOfAllTypes()),
                   meshZone({ZoneType::Brick, {17, 8, 9}, 2}, variablesOfAllTypes()),
                   meshZone({ZoneType::Tetrahedron, {4, 4, 4}}, variablesOfAllTypes()),
                   meshZone({ZoneType::Tetrahedron, {4, 4, 4}}, variablesOfAllTypes()),
                   meshZone({ZoneType::Brick, {3, 3, 3}, 1, false}, variablesOfAllTypes()),
                   meshZone({ZoneType::Brick, {3, 3, 3}, 1, false}, variablesOfAllTypes())});
    for (std::int32_t z = 0; z < 6; z += 2) {
        Zone& zone = result.zones[static_cast<std::size_t>(z) + 1];
        zone.connectivityFrom = z;
        zone.variables[0].sharedFrom = z;
        zone.variables[1].sharedFrom = z;
        fillValues(zone, 2, 1234);
    }
    return result;
}

DataSet sharedConnectivityMixed()
{
    DataSet result = dataSetOf({meshZone({ZoneType::Mixed, {4, 4, 4}}, variablesOfAllTypes()),
                                meshZone({ZoneType::Mixed, {4, 4, 4}}, variablesOfAllTypes())});
    result.zones[1].connectivityFrom = 0;
    return result;
}

DataSet annotated()
{
    DataSet result = dataSetOf({orderedZone({4, 3, 2}, {{}, {}}),
                                meshZone({ZoneType::Brick, {2, 2, 2}}, {{}, {}}),
                                meshZone({ZoneType::Brick, {2, 2, 2}, 1, false}, {{}, {}})});
    Text text;
#define VALUE(type, name) text.name = static_cast<type>(++number);
#define STRING(name) text.name = "text " + std::to_string(++number);
    int number = 0;
#include "filedata/TextFields.def"
    text.xOrThetaPos = 0.1;
    result.texts = {text, Text{}};
    Geometry geometry;
#define VALUE(type, name) geometry.name = static_cast<type>(++number);
#define STRING(name) geometry.name = "string\r\n" + std::to_string(++number);
#include "filedata/GeomFields.def"
    for (std::uint8_t type = 0; type < 6; ++type) {
        geometry.geomType = type;
        geometry.size[0] = type == 0 || type > 4 ? 0 : 2.5 + type;
        geometry.size[1] = type == Geometry::RECTANGLE || type == Geometry::ELLIPSE ? 1.25 : 0;
        result.geometries.push_back(geometry);
    }
    result.geometries[0].posCoordMode = Geometry::IN_THREE_DIMENSIONS;
    result.geometries[0].segments = {{{1, 2, 3}, {4, 5, 6}}, {{7, 8, 9}}};
    result.geometries.push_back(result.geometries[0]);
    result.geometries.back().posCoordMode = 0;
    for (auto& segment : result.geometries.back().segments)
        for (Point& point : segment)
            point.z = 0;
    result.customLabelSets = {{"one", "two"}, {"three"}, {"four", "", "six"}};
    result.auxiliaryData = {{0, 0, "name", 0, "value"},
                            {2, 1, "of a zone", 0, ""},
                            {AuxiliaryData::OF_A_VARIABLE, 1, "of a variable", 1, "x\ny"}};
    for (Zone& zone : result.zones)
        static_cast<MemorySource&>(*zone.source).neighbors = {1, -5, 12, 2000000000};
    return result;
}

/// Without wide types, so that the ranges of zones are narrow.
DataSet narrow()
{
    std::vector<ZoneVariable> const variables{{ValueType::Int16, ValueLocation::Nodes, false, -1},
                                              {ValueType::Float, ValueLocation::Nodes, false, -1}};
    DataSet result = dataSetOf({orderedZone({9, 8, 7}, variables)});
    return result;
}

DataSet notNumbers()
{
    std::vector<ZoneVariable> const variables{{ValueType::Float, ValueLocation::Nodes, false, -1},
                                              {ValueType::Double, ValueLocation::Cells, false, -1}};
    DataSet result = dataSetOf(
        {orderedZone({8, 8, 8}, variables), meshZone({ZoneType::Brick, {8, 8, 9}}, variables)});
    for (Zone const& zone : result.zones) {
        auto& source = static_cast<MemorySource&>(*zone.source);
        std::vector<float> values(source.bytes[{0, 0}].size() / sizeof(float), 1.5F);
        std::fill_n(values.begin(), 300, std::numeric_limits<float>::quiet_NaN());
        values[310] = std::numeric_limits<float>::infinity();
        values[311] = -std::numeric_limits<float>::infinity();
        source.set(0, 0, values);
        std::vector<double> const none(source.bytes[{0, 1}].size() / sizeof(double),
                                       std::numeric_limits<double>::quiet_NaN());
        source.set(0, 1, none);
    }
    return result;
}

struct RoundTripCase
{
    char const* name;
    DataSet (*build)();
    bool isText;
    std::optional<std::uint32_t> version;
    std::uint32_t expectedVersion;
};

class RoundTrip : public testing::TestWithParam<RoundTripCase>
{
};

TEST_P(RoundTrip, IsEqualInEveryField)
{
    DataSet const dataSet = GetParam().build();
    Options options;
    options.isText = GetParam().isText;
    options.version = GetParam().version;
    options.order = ItemOrder::Keep;
    WrittenFile const written(dataSet, options);
    EXPECT_EQ(written.summary.version, GetParam().expectedVersion);
    EXPECT_EQ(written.summary.numBytes, written.size());

    auto const file = written.open();
    EXPECT_EQ(file->description().getFileVersion(), GetParam().expectedVersion);
    expectEqual(dataSet, dataSetFromFile(file), options.isText);
    expectExactRanges(file, dataSet);
    expectExactNodeRecords(file, dataSet);

    // The file layer's own view of all zones.
    hdqio::FileSetMetadata metadata({written.path()});
    for (int z = 0; z < metadata.numFileSetZones(); ++z)
        EXPECT_NO_THROW(metadata.zoneMetadata(0, z)) << "zone " << z;
}

#define BOTH_FORMS(name, build, version)                                                           \
    RoundTripCase{#name "Binary", build, false, {}, version}, RoundTripCase                        \
    {                                                                                              \
#name "Text", build, true, {}, version                                                     \
    }
#define ON_REQUEST(name, build, version)                                                           \
    RoundTripCase{#name #version "Binary", build, false, version, version}, RoundTripCase          \
    {                                                                                              \
#name #version "Text", build, true, version, version                                       \
    }

INSTANTIATE_TEST_SUITE_P(
    DataSets, RoundTrip,
    testing::Values(BOTH_FORMS(Ordered, ordered, 105),
                    BOTH_FORMS(OrderedInPartitions, orderedInPartitions, 105),
                    BOTH_FORMS(OrderedPlain, orderedPlain, 105),
                    BOTH_FORMS(PassiveAndShared, passiveAndShared, 105),
                    RoundTripCase{"LargerThanTheirFile", largerThanTheirFile, false, {}, 105},
                    BOTH_FORMS(SharedInPartitions, sharedInPartitions, 105),
                    BOTH_FORMS(Meshes, meshes, 105),
                    BOTH_FORMS(MeshesInPartitions, meshesInPartitions, 105),
                    BOTH_FORMS(Mixed, mixed, 232), BOTH_FORMS(MeshesPlain, meshesPlain, 105),
                    BOTH_FORMS(OtherPlain, otherPlain, 105),
                    BOTH_FORMS(SharedConnectivity, sharedConnectivity, 105),
                    BOTH_FORMS(SharedConnectivityMixed, sharedConnectivityMixed, 232),
                    BOTH_FORMS(Annotated, annotated, 105), BOTH_FORMS(Narrow, narrow, 105),
                    BOTH_FORMS(NotNumbers, notNumbers, 105)),
    varnox::tests::caseName<RoundTripCase>);

INSTANTIATE_TEST_SUITE_P(
    Versions, RoundTrip,
    testing::Values(ON_REQUEST(Ordered, ordered, 104), ON_REQUEST(Meshes, meshes, 104),
                    ON_REQUEST(MeshesInPartitions, meshesInPartitions, 104),
                    ON_REQUEST(Meshes, meshes, 106),
                    ON_REQUEST(MeshesInPartitions, meshesInPartitions, 231),
                    ON_REQUEST(MeshesInPartitions, meshesInPartitions, 232),
                    ON_REQUEST(Mixed, mixed, 106), ON_REQUEST(Mixed, mixed, 231),
                    ON_REQUEST(Annotated, annotated, 104), ON_REQUEST(Annotated, annotated, 232)),
    varnox::tests::caseName<RoundTripCase>);

}
}
