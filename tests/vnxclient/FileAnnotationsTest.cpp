// What a file holds beside its zones and variables, from the file through loader and server to the
// client.

#include "client/Engine.h"
#include "client/Errors.h"
#include "client/ServerProcess.h"
#include "tests/filedata/GroupBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <numeric>

#include <unistd.h>

namespace varnox::tests {
namespace {

using namespace hdqio::tests;
using client::AuxData;
using client::Engine;
using client::Geometry;
using client::Point;
using client::Shape;
using client::Text;
using testing::HasSubstr;

constexpr std::uint16_t FACE_NEIGHBORS_TAG = 1538;
constexpr std::size_t GROUPS_LOC = 1 << 16;

/// A file of two plain zones and one variable, with groups behind it.
class AnnotatedFile
{
public:
    explicit AnnotatedFile(bool isAscii, char type = 'F') : m_groups(version(isAscii, type))
    {
        m_spec.isAscii = isAscii;
        m_spec.type = type;
        m_spec.zones = {ZoneSpec{}, ZoneSpec{}};
        for (ZoneSpec& zone : m_spec.zones)
            zone.letter = 'o';
        m_skipped = m_groups.loc();
        for (std::uint16_t tag = 7; tag <= 10; ++tag)
            m_spec.forcedTags[tag] = ALL_ONES;
    }

    void add(GroupInfo const& group, std::uint32_t count,
             std::function<void(FileBuilder&)> const& addEntries)
    {
        m_spec.forcedTags[group.tag] = place(addGroup(m_groups, group, count, addEntries));
    }

    void addFaceNeighbors(std::uint32_t zone, std::vector<std::int32_t> const& neighbors)
    {
        std::uint64_t const start = m_groups.marker("userFaceNeighborMarker*", 0x10111213);
        m_groups.marker("zoneNum*", zone + 1);
        m_groups.value<std::uint64_t>("userFaceNeighborCount", neighbors.size());
        if (!neighbors.empty())
            m_groups.array<std::int32_t>("UserFaceNeighbors", neighbors);
        m_spec.zones[zone].forcedTags[FACE_NEIGHBORS_TAG] = place(start);
    }

    FileSpec& spec() { return m_spec; }

    std::string bytes() const
    {
        std::string result = build(m_spec);
        EXPECT_LE(result.size(), GROUPS_LOC);
        result.resize(GROUPS_LOC, ' ');
        return result + m_groups.file(0).substr(m_skipped);
    }

private:
    static std::string version(bool isAscii, char type)
    {
        return std::string("105") + (isAscii ? "T" : "B") + type;
    }
    std::uint64_t place(std::uint64_t loc) const { return GROUPS_LOC + loc - m_skipped; }

    FileSpec m_spec;
    FileBuilder m_groups;
    std::size_t m_skipped = 0;
};

class FileAnnotations : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        folder = std::filesystem::temp_directory_path() /
                 ("vnxannotations" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
        server = client::ServerProcess::startLocal(std::string(VNX_BIN_DIR) + "/vnxdataserver",
                                                   std::string(VNX_LIB_DIR) + "/vnxhdqfsloader.so");
        engine = std::make_unique<Engine>(server->takeStream().release());
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string write(std::string const& name, std::string const& bytes) const
    {
        std::ofstream((folder / name).string(), std::ios::binary) << bytes;
        return (folder / name).string();
    }

    client::DataSet const& load(AnnotatedFile const& file)
    {
        return engine->load({write("file.hdqfs", file.bytes())});
    }

    /// Auxiliary data, an item a line.
    static std::string listed(client::DataSet const& dataSet)
    {
        std::string result;
        for (AuxData const& item : dataSet.auxData)
            result += nameOf(item.owner) + " " + std::to_string(item.number) + " " + item.name +
                      "=" + item.value + "\n";
        return result;
    }

    std::filesystem::path folder;
    std::unique_ptr<client::ServerProcess> server;
    std::unique_ptr<Engine> engine;
};

INSTANTIATE_TEST_SUITE_P(Forms, FileAnnotations, testing::Bool(),
                         [](auto const& test) { return test.param ? "Text" : "Binary"; });

TEST_P(FileAnnotations, FileWithoutGroupsHasNone)
{
    client::DataSet const& dataSet = load(AnnotatedFile(GetParam()));
    EXPECT_TRUE(dataSet.texts.empty());
    EXPECT_TRUE(dataSet.geometries.empty());
    EXPECT_TRUE(dataSet.labelSets.empty());
    EXPECT_TRUE(dataSet.auxData.empty());
    EXPECT_TRUE(dataSet.messages.empty());
    EXPECT_FALSE(dataSet.zones.at(0).faceNeighbors.load);
}

TEST_P(FileAnnotations, AuxDataFindsItsOwners)
{
    AnnotatedFile file(GetParam());
    file.add(AUX, 7, [](FileBuilder& group) {
        addAuxData(group, 1, 99, "Solver", "v 1"); // the data set has no number
        addAuxData(group, 0, 1, "Part", "wall");
        addAuxData(group, 3, 0, "Unit", "");
        addAuxData(group, 0, 2, "stray", "");
        addAuxData(group, 3, 1, "stray", "");
        addAuxData(group, 0, 0xFFFFFFFF, "stray", "");
        addAuxData(group, 2, 0, "stray", "");
    });
    client::DataSet const& dataSet = load(file);
    EXPECT_EQ(listed(dataSet), "data set 0 Solver=v 1\nzone 2 Part=wall\nvariable 1 Unit=\n");
    EXPECT_EQ(dataSet.auxData.at(0).type, 1);
    EXPECT_TRUE(dataSet.auxData.at(0).isKept);
    ASSERT_EQ(dataSet.messages.size(), 1U);
    EXPECT_THAT(dataSet.messages[0], HasSubstr("has 4 auxiliary data whose owner doesn't exist"));
}

TEST_P(FileAnnotations, TextHasAllThatTheFileSays)
{
    AnnotatedFile file(GetParam());
    file.add(TEXT, 2, [](FileBuilder& group) {
        addText(group, "inlet", "redraw", 1);
        addText(group, "", "", 2); // of no zone
    });
    client::DataSet const& dataSet = load(file);
    ASSERT_EQ(dataSet.texts.size(), 2U);
    Text const& text = dataSet.texts[0];
    EXPECT_EQ(text.text, "inlet");
    EXPECT_EQ(text.x, 1);
    EXPECT_EQ(text.y, 2);
    EXPECT_EQ(text.color, 4);
    EXPECT_EQ(text.boxColor, 5);
    EXPECT_EQ(text.boxFillColor, 6);
    EXPECT_EQ(text.boxLineThickness, 7);
    EXPECT_EQ(text.boxMargin, 8);
    EXPECT_EQ(text.boxType, 9);
    EXPECT_EQ(text.anchor, 10);
    EXPECT_EQ(text.angle, 11);
    EXPECT_EQ(text.clipping, 12);
    EXPECT_EQ(text.height, 13);
    EXPECT_EQ(text.lineSpacing, 14);
    EXPECT_EQ(text.coordSys, 15);
    EXPECT_EQ(text.scope, 16);
    EXPECT_EQ(text.heightUnits, 17);
    EXPECT_EQ(text.typeface->family, "serif");
    EXPECT_TRUE(text.typeface->isBold);
    EXPECT_TRUE(text.typeface->isItalic);
    EXPECT_EQ(text.zoneOrMap, 2);
    EXPECT_EQ(text.attached, true);
    EXPECT_EQ(text.macroCommand, "redraw");
    EXPECT_FALSE(dataSet.texts[1].zoneOrMap);
    EXPECT_FALSE(dataSet.texts[1].macroCommand);
}

TEST_P(FileAnnotations, GeometryHasAllThatTheFileSays)
{
    AnnotatedFile file(GetParam());
    file.add(GEOMETRY, 1, [](FileBuilder& group) {
        addGeom(group, 3, 1, "pick", 0);
        group.value<double>("circleRadius", 34);
    });
    client::DataSet const& dataSet = load(file);
    ASSERT_EQ(dataSet.geometries.size(), 1U);
    Geometry const& circle = dataSet.geometries[0];
    EXPECT_EQ(circle.shape, Shape::Circle);
    EXPECT_EQ(circle.sizes, std::vector<double>{34});
    EXPECT_EQ(circle.anchor, (Point{1, 2, 3}));
    EXPECT_EQ(circle.coordSys, 1);
    EXPECT_EQ(circle.positionCoordSys, 1);
    EXPECT_EQ(circle.attached, true);
    EXPECT_EQ(circle.zoneOrMap, 1);
    EXPECT_EQ(circle.color, 6);
    EXPECT_EQ(circle.fillColor, 7);
    EXPECT_EQ(circle.filled, true);
    EXPECT_EQ(circle.linePattern, 9);
    EXPECT_EQ(circle.patternLength, 10);
    EXPECT_EQ(circle.lineThickness, 11);
    EXPECT_EQ(circle.ellipsePoints, 12);
    EXPECT_EQ(circle.arrowheadStyle, 13);
    EXPECT_EQ(circle.arrowheadAttachment, 14);
    EXPECT_EQ(circle.arrowheadSize, 15);
    EXPECT_EQ(circle.arrowheadAngle, 16);
    EXPECT_EQ(circle.scope, 17);
    EXPECT_EQ(circle.clipping, 18);
    EXPECT_EQ(circle.macroCommand, "pick");
}

TEST_P(FileAnnotations, EveryShapeIsKept)
{
    AnnotatedFile file(GetParam());
    file.add(GEOMETRY, 6, [](FileBuilder& group) {
        addGeom(group, 0, 6, "");
        group.value<std::uint32_t>("numSegments", 2);
        addSegment(group, {1, 2}, {3, 4}, {5, 6});
        addSegment(group, {7}, {8}, {9});
        addGeom(group, 0, 1, "");
        group.value<std::uint32_t>("numSegments", 1);
        addSegment(group, {1, 2}, {4, 5}, {});
        addGeom(group, 1, 0, "");
        group.value<double>("rectangleWidth", 31);
        group.value<double>("rectangleHeight", 32);
        addGeom(group, 2, 0, "");
        group.value<double>("squareSize", 33);
        addGeom(group, 4, 0, "");
        group.value<double>("ellipseHorizontalAxis", 35);
        group.value<double>("ellipseVerticalAxis", 36);
        addGeom(group, 7, 0, "");
    });
    client::DataSet const& dataSet = load(file);
    auto const& kept = dataSet.geometries;
    ASSERT_EQ(kept.size(), 5U);
    EXPECT_EQ(kept[0].polylines,
              (std::vector<std::vector<Point>>{{{1, 3, 5}, {2, 4, 6}}, {{7, 8, 9}}}));
    EXPECT_EQ(kept[1].polylines, (std::vector<std::vector<Point>>{{{1, 4, 0}, {2, 5, 0}}}));
    EXPECT_EQ(kept[1].shape, Shape::FlatPolylines);
    EXPECT_EQ(kept[1].coordSys, 1);
    EXPECT_EQ(kept[2].sizes, (std::vector<double>{31, 32}));
    EXPECT_EQ(kept[3].sizes, std::vector<double>{33});
    EXPECT_EQ(kept[4].sizes, (std::vector<double>{35, 36}));
    EXPECT_FALSE(kept[4].zoneOrMap);
    ASSERT_EQ(dataSet.messages.size(), 1U);
    EXPECT_THAT(dataSet.messages[0], HasSubstr("has 1 geometries of an unknown shape"));
}

TEST_P(FileAnnotations, LabelSetsAreKept)
{
    AnnotatedFile file(GetParam());
    file.add(LABELS, 2, [](FileBuilder& group) {
        group.value<std::uint32_t>("numLabels", 2);
        group.strings("customLabelSet", {"low", "high"});
        group.value<std::uint32_t>("numLabels", 1);
        group.strings("customLabelSet", {"one"});
    });
    EXPECT_EQ(load(file).labelSets, (std::vector<client::LabelSet>{{"low", "high"}, {"one"}}));
}

TEST_P(FileAnnotations, DamagedGroupIsLeftOutAndTheUserTold)
{
    AnnotatedFile file(GetParam());
    file.add(LABELS, 1, [](FileBuilder& group) {
        group.value<std::uint32_t>("numLabels", 1);
        group.strings("customLabelSet", {"kept"});
    });
    file.add(TEXT, 1, [](FileBuilder& group) { group.value<double>("xOrThetaPos", 1); });
    client::DataSet const& dataSet = load(file);
    EXPECT_TRUE(dataSet.texts.empty());
    EXPECT_EQ(dataSet.labelSets.size(), 1U);
    ASSERT_EQ(dataSet.messages.size(), 1U);
    EXPECT_THAT(dataSet.messages[0], HasSubstr("The texts of " + (folder / "file.hdqfs").string() +
                                               " can't be read and are left out: "));
}

TEST_P(FileAnnotations, SolutionFilesNumberOnBehindTheirGrid)
{
    auto const addAll = [](AnnotatedFile& file, std::string const& name) {
        file.add(AUX, 3, [&](FileBuilder& group) {
            addAuxData(group, 1, 0, name, "d");
            addAuxData(group, 0, 1, name, "z");
            addAuxData(group, 3, 0, name, "v");
        });
        file.add(TEXT, 1, [&](FileBuilder& group) { addText(group, name, "", 0); });
    };
    AnnotatedFile grid(GetParam(), 'G');
    AnnotatedFile first(GetParam(), 'S');
    AnnotatedFile second(GetParam(), 'S');
    addAll(grid, "grid");
    addAll(first, "first");
    addAll(second, "second");
    client::DataSet const& dataSet =
        engine->load({write("grid.hdqfs", grid.bytes()), write("first.hdqfs", first.bytes()),
                      write("second.hdqfs", second.bytes())});
    // Zones 1 and 2 are those of the first solution, 3 and 4 of the second; variable 1 is the
    // grid's.
    EXPECT_EQ(listed(dataSet),
              "data set 0 grid=d\nzone 2 grid=z\nzone 4 grid=z\nvariable 1 grid=v\n"
              "data set 0 first=d\nzone 2 first=z\nvariable 2 first=v\n"
              "data set 0 second=d\nzone 4 second=z\nvariable 2 second=v\n");
    ASSERT_EQ(dataSet.texts.size(), 3U);
    EXPECT_EQ(dataSet.texts[0].zoneOrMap, 1);
    EXPECT_EQ(dataSet.texts[1].zoneOrMap, 1);
    EXPECT_EQ(dataSet.texts[2].zoneOrMap, 3);
}

TEST_P(FileAnnotations, FaceNeighborsAreLoadedOnDemand)
{
    AnnotatedFile file(GetParam());
    file.addFaceNeighbors(1, {7, -8, 1 << 30});
    file.spec().zones[1].faceNbrMode = 3;
    client::DataSet const& dataSet = load(file);
    EXPECT_FALSE(dataSet.zones.at(0).faceNeighbors.load);
    EXPECT_TRUE(dataSet.zones.at(1).faceNeighbors.load);
    EXPECT_TRUE(dataSet.zones.at(1).faceNeighbors.unload);
    EXPECT_EQ(dataSet.zones.at(1).faceNeighborMode, 3);
    auto const neighbors = engine->faceNeighbors(2);
    ASSERT_EQ(neighbors.size(), 1U);
    EXPECT_EQ(neighbors[0].first, 1);
    EXPECT_EQ(neighbors[0].second, 0);
    EXPECT_EQ(neighbors[0].third, 0);
    EXPECT_EQ(neighbors[0].items, (std::vector<int>{7, -8, 1 << 30}));
    EXPECT_TRUE(neighbors[0].zones.empty());
}

TEST_P(FileAnnotations, ManyFaceNeighborsComeInPiecesOfFourMegabytes)
{
    std::vector<std::int32_t> numbers((1U << 20) + 3);
    std::iota(numbers.begin(), numbers.end(), 1);
    AnnotatedFile file(GetParam());
    file.addFaceNeighbors(0, numbers);
    load(file);
    auto const neighbors = engine->faceNeighbors(1);
    ASSERT_EQ(neighbors.size(), 2U);
    EXPECT_EQ(neighbors[0].items.size(), std::size_t{1} << 20);
    EXPECT_EQ(neighbors[1].first, (1 << 20) + 1);
    EXPECT_EQ(neighbors[1].items.back(), (1 << 20) + 3);
}

TEST_P(FileAnnotations, NoFaceNeighborsAreLoadedAsNone)
{
    AnnotatedFile file(GetParam());
    file.addFaceNeighbors(0, {});
    load(file);
    EXPECT_TRUE(engine->faceNeighbors(1).empty());
}

TEST_P(FileAnnotations, DamagedFaceNeighborsAreAFailureOfTheirLoadAlone)
{
    AnnotatedFile file(GetParam());
    file.addFaceNeighbors(0, {1, 2, 3});
    file.addFaceNeighbors(1, {4, 5, 6, 7});
    std::string const bytes = file.bytes();
    std::size_t const cut = GetParam() ? 40 : 8; // through the last numbers
    engine->load({write("cut.hdqfs", bytes.substr(0, bytes.size() - cut))});
    try {
        engine->faceNeighbors(2);
        FAIL() << "nothing was thrown";
    } catch (client::Error const& error) {
        EXPECT_THAT(error.what(), HasSubstr("Cannot read the face neighbours of zone 2 of "));
    }
    EXPECT_EQ(engine->faceNeighbors(1).at(0).items, (std::vector<int>{1, 2, 3}));
}

}
}
