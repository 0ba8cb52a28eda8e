#include "client/AnnotationBuilder.h"

#include "client/DataSetBuilder.h"
#include "client/EngineSocket.h"
#include "client/Errors.h"
#include "tests/client/Peer.h"
#include "tests/support/CaseName.h"
#include "tests/support/Wire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace varnox::client {
namespace {

using testing::HasSubstr;
using tests::Peer;
using tests::wire::f64;
using tests::wire::i32;
using tests::wire::i64;
using tests::wire::text;
using tests::wire::u32;
using tests::wire::u64;
using tests::wire::vec;

class Annotations : public testing::Test
{
protected:
    Annotations()
    {
        answer("VnxUtilDataSetCreate", text("title") + vec({text("p"), text("q")}) + i32(1));
        answer("VnxUtilDataSetAddZoneX", i32(0));
    }

    /// Serves one command with these arguments and gives the answer.
    std::string answer(std::string const& command, std::string const& arguments)
    {
        peer.say(arguments);
        std::uint64_t const before = socket.bytesReceived();
        builder.serve(command);
        socket.flush();
        EXPECT_EQ(socket.bytesReceived() - before, arguments.size()) << "not all was read";
        return peer.heard();
    }

    /// A text and a geometry, which get the ids 5 and 6.
    void createBoth()
    {
        ASSERT_EQ(answer("VnxUtilTextCreate",
                         i32(1) + f64(0.5) + f64(0.25) + i32(2) + f64(14) + text("inlet")),
                  u64(5));
        ASSERT_EQ(answer("VnxUtilGeomCircleCreate", i32(1) + f64(1) + f64(2) + f64(3)), u64(6));
    }

    /// Polylines of two and a million points; the id is 5.
    void createPolylines()
    {
        ASSERT_EQ(answer("VnxUtilGeom3DMPolyCreate", vec({i64(2), i64(1'000'000)})), u64(5));
    }

    static std::string point(int polyline, long number, double x = 0)
    {
        return u64(5) + i32(polyline) + i64(number) + f64(x) + f64(0) + f64(0);
    }

    DataSet const& dataSet() const { return builder.dataSet(); }

    Peer peer;
    EngineSocket socket{peer.takeEngineEnd()};
    ArgKeys argKeys;
    DataSetBuilder builder{socket, argKeys};
};

TEST_F(Annotations, KeepsATextAndGivesItsId)
{
    createBoth();
    ASSERT_EQ(dataSet().texts.size(), 1U);
    Text const& kept = dataSet().texts[0];
    EXPECT_EQ(kept.id, 5U);
    EXPECT_EQ(kept.coordSys, 1);
    EXPECT_EQ(kept.x, 0.5);
    EXPECT_EQ(kept.y, 0.25);
    EXPECT_EQ(kept.heightUnits, 2);
    EXPECT_EQ(kept.height, 14);
    EXPECT_EQ(kept.text, "inlet");
    EXPECT_FALSE(kept.color);
    EXPECT_FALSE(kept.typeface);
}

struct FieldCase
{
    char const* name;
    std::string item;
    std::function<double(DataSet const&)> field;
    double value;
    std::string answer;
};

template <typename T>
double numberOf(std::optional<T> const& field)
{
    return field ? static_cast<double>(*field) : -99.0;
}

#define TEXT(member) [](DataSet const& d) { return numberOf(d.texts.at(0).member); }
#define GEOMETRY(member) [](DataSet const& d) { return numberOf(d.geometries.at(0).member); }

std::vector<FieldCase> const fieldCases = {
    {"VnxUtilTextBoxSetColor", i32(-7), TEXT(boxColor), -7, ""},
    {"VnxUtilTextBoxSetFillColor", i32(7), TEXT(boxFillColor), 7, ""},
    {"VnxUtilTextBoxSetLineThickness", f64(0.5), TEXT(boxLineThickness), 0.5, ""},
    {"VnxUtilTextBoxSetMargin", f64(0.5), TEXT(boxMargin), 0.5, ""},
    {"VnxUtilTextBoxSetType", i32(2), TEXT(boxType), 2, ""},
    {"VnxUtilTextSetAnchor", i32(2), TEXT(anchor), 2, ""},
    {"VnxUtilTextSetAngle", f64(-30), TEXT(angle), -30, ""},
    {"VnxUtilTextSetClipping", i32(2), TEXT(clipping), 2, ""},
    {"VnxUtilTextSetColor", i32(3), TEXT(color), 3, ""},
    {"VnxUtilTextSetLineSpacing", f64(1.5), TEXT(lineSpacing), 1.5, ""},
    {"VnxUtilTextSetScope", i32(1), TEXT(scope), 1, ""},
    {"VnxUtilTextSetZoneOrMap", i32(4), TEXT(zoneOrMap), 4, ""},
    {"VnxUtilTextSetAttached", u32(0xFFFFFFFF), TEXT(attached), 1, ""},
    {"VnxUtilGeomSetPositionCoordSys", i32(6), GEOMETRY(positionCoordSys), 6, ""},
    {"VnxUtilGeomSetAttached", u32(0), GEOMETRY(attached), 0, ""},
    {"VnxUtilGeomSetZoneOrMap", i32(4), GEOMETRY(zoneOrMap), 4, ""},
    {"VnxUtilGeomSetColor", i32(4), GEOMETRY(color), 4, ""},
    {"VnxUtilGeomSetFillColor", i32(4), GEOMETRY(fillColor), 4, ""},
    {"VnxUtilGeomSetIsFilled", u32(1), GEOMETRY(filled), 1, ""},
    {"VnxUtilGeomSetLinePattern", i32(4), GEOMETRY(linePattern), 4, ""},
    {"VnxUtilGeomSetPatternLength", f64(2.5), GEOMETRY(patternLength), 2.5, ""},
    {"VnxUtilGeomSetLineThickness", f64(2.5), GEOMETRY(lineThickness), 2.5, ""},
    {"VnxUtilGeomEllipseSetNumPoints", i32(72), GEOMETRY(ellipsePoints), 72, ""},
    {"VnxUtilGeomArrowheadSetStyle", i32(2), GEOMETRY(arrowheadStyle), 2, ""},
    {"VnxUtilGeomArrowheadSetAttach", i32(3), GEOMETRY(arrowheadAttachment), 3, ""},
    {"VnxUtilGeomArrowheadSetSize", f64(2.5), GEOMETRY(arrowheadSize), 2.5, ""},
    {"VnxUtilGeomArrowheadSetAngle", f64(2.5), GEOMETRY(arrowheadAngle), 2.5, ""},
    {"VnxUtilGeomSetScope", i32(2), GEOMETRY(scope), 2, ""},
    {"VnxUtilGeomSetClipping", i32(2), GEOMETRY(clipping), 2, ""},
    {"VnxUtilTextSetTypeface", text("serif") + u32(1) + u32(0),
     [](DataSet const& d) {
         Typeface const& typeface = d.texts.at(0).typeface.value();
         return typeface.family == "serif" && typeface.isBold && !typeface.isItalic ? 1.0 : 0.0;
     },
     1, ""},
    {"VnxUtilTextSetMacroFunctionCmd", text("redraw"),
     [](DataSet const& d) { return d.texts.at(0).macroCommand == "redraw" ? 1.0 : 0.0; }, 1,
     u32(1)},
    {"VnxUtilGeomSetMacroFunctionCmd", text("redraw"),
     [](DataSet const& d) { return d.geometries.at(0).macroCommand == "redraw" ? 1.0 : 0.0; }, 1,
     u32(1)},
    {"VnxUtilGeomSetAnchorPos", f64(1) + f64(20) + f64(300),
     [](DataSet const& d) {
         Point const& anchor = d.geometries.at(0).anchor.value();
         return anchor[0] + anchor[1] + anchor[2];
     },
     321, ""},
};

class AnnotationField : public Annotations, public testing::WithParamInterface<FieldCase>
{
};

TEST_P(AnnotationField, IsKeptAsItCame)
{
    createBoth();
    bool const isText = std::string(GetParam().name).rfind("VnxUtilText", 0) == 0;
    EXPECT_EQ(answer(GetParam().name, u64(isText ? 5 : 6) + GetParam().item), GetParam().answer);
    EXPECT_EQ(GetParam().field(dataSet()), GetParam().value);
    EXPECT_EQ(builder.problem(), "");
}

TEST_P(AnnotationField, OfAnObjectThatIsNotThereIsReadAndKeptAsTheProblem)
{
    createBoth();
    bool const isText = std::string(GetParam().name).rfind("VnxUtilText", 0) == 0;
    std::string const answered = answer(GetParam().name, u64(isText ? 6 : 5) + GetParam().item);
    EXPECT_EQ(answered, GetParam().answer.empty() ? "" : u32(0));
    EXPECT_EQ(builder.problem(), isText
                                     ? "The loader changed a text 6 that it has not created."
                                     : "The loader changed a geometry 5 that it has not created.");
}

INSTANTIATE_TEST_SUITE_P(Annotations, AnnotationField, testing::ValuesIn(fieldCases),
                         tests::caseName<FieldCase>);

struct ShapeCase
{
    char const* name;
    Shape shape;
    std::vector<double> sizes;
};

ShapeCase const shapeCases[] = {{"VnxUtilGeomRectangleCreate", Shape::Rectangle, {3, 4}},
                                {"VnxUtilGeomEllipseCreate", Shape::Ellipse, {3, 4}},
                                {"VnxUtilGeomSquareCreate", Shape::Square, {3}},
                                {"VnxUtilGeomCircleCreate", Shape::Circle, {3}}};

class AnnotationShape : public Annotations, public testing::WithParamInterface<ShapeCase>
{
};

TEST_P(AnnotationShape, HasItsAnchorAndSizes)
{
    std::string sizes;
    for (double const size : GetParam().sizes)
        sizes += f64(size);
    EXPECT_EQ(answer(GetParam().name, i32(6) + f64(1) + f64(2) + sizes), u64(5));
    ASSERT_EQ(dataSet().geometries.size(), 1U);
    Geometry const& kept = dataSet().geometries[0];
    EXPECT_EQ(kept.id, 5U);
    EXPECT_EQ(kept.shape, GetParam().shape);
    EXPECT_EQ(kept.coordSys, 6);
    EXPECT_EQ(kept.anchor, (Point{1, 2, 0}));
    EXPECT_EQ(kept.sizes, GetParam().sizes);
}

INSTANTIATE_TEST_SUITE_P(Annotations, AnnotationShape, testing::ValuesIn(shapeCases),
                         tests::caseName<ShapeCase>);

TEST_F(Annotations, PolylinesInThePlaneTakeTheirPointsInAnyOrder)
{
    EXPECT_EQ(answer("VnxUtilGeom2DMPolyCreate", i32(3) + vec({i64(1), i64(2), i64(0)})), u64(5));
    std::string const set = "VnxUtilGeom2DMPolySetPoint";
    EXPECT_EQ(answer(set, u64(5) + i32(2) + i64(2) + f64(7) + f64(8)), "");
    EXPECT_EQ(answer(set, u64(5) + i32(2) + i64(1) + f64(5) + f64(6)), "");
    EXPECT_EQ(answer(set, u64(5) + i32(1) + i64(1) + f64(3) + f64(4)), "");
    Geometry const& kept = dataSet().geometries.at(0);
    EXPECT_EQ(kept.coordSys, 3);
    EXPECT_FALSE(kept.anchor);
    EXPECT_EQ(kept.polylines,
              (std::vector<std::vector<Point>>{{{3, 4, 0}}, {{5, 6, 0}, {7, 8, 0}}, {}}));
    EXPECT_EQ(builder.problem(), "");
}

TEST_F(Annotations, PolylinesInSpaceHaveNoCoordinateSystem)
{
    createPolylines();
    EXPECT_EQ(
        answer("VnxUtilGeom3DMPolySetPoint", u64(5) + i32(1) + i64(1) + f64(1) + f64(2) + f64(3)),
        "");
    Geometry const& kept = dataSet().geometries.at(0);
    EXPECT_EQ(kept.shape, Shape::SpacePolylines);
    EXPECT_FALSE(kept.coordSys);
    EXPECT_EQ(kept.polylines.at(0), (std::vector<Point>{{1, 2, 3}}));
}

TEST_F(Annotations, PointsOutsideAPolylineAreTheProblem)
{
    for (auto const& [polyline, number] :
         {std::pair{1, 0L}, {1, -1L}, {1, 3L}, {0, 1L}, {-1, 1L}, {3, 1L}, {1, 1L << 62}}) {
        builder.beginLoad();
        answer("VnxUtilGeom3DMPolyCreate", vec({i64(2), i64(1'000'000)}));
        EXPECT_EQ(answer("VnxUtilGeom3DMPolySetPoint", u64(dataSet().geometries.at(0).id) +
                                                           i32(polyline) + i64(number) + f64(0) +
                                                           f64(0) + f64(0)),
                  "");
        EXPECT_EQ(builder.problem(), "The loader gave point " + std::to_string(number) +
                                         " of polyline " + std::to_string(polyline) +
                                         " of a geometry that has no such point yet.");
    }
}

TEST_F(Annotations, PointOfTheOtherKindOfPolylineIsTheProblem)
{
    createPolylines();
    answer("VnxUtilGeom2DMPolySetPoint", u64(5) + i32(1) + i64(1) + f64(1) + f64(2));
    EXPECT_THAT(builder.problem(), HasSubstr("point 1 of polyline 1"));
}

TEST_F(Annotations, MemoryFollowsThePointsThatHaveCome)
{
    createPolylines();
    answer("VnxUtilGeom3DMPolySetPoint", point(2, 100'001)); // as far ahead as may be
    EXPECT_EQ(builder.problem(), "");
    EXPECT_EQ(dataSet().geometries.at(0).polylines[1].size(), 100'001U);
    answer("VnxUtilGeom3DMPolySetPoint", point(2, 100'002));
    EXPECT_EQ(builder.problem(), "");
    answer("VnxUtilGeom3DMPolySetPoint", point(2, 100'004));
    EXPECT_THAT(builder.problem(), HasSubstr("point 100004 of polyline 2"));
    EXPECT_EQ(dataSet().geometries.at(0).polylines[1].size(), 100'002U);
}

TEST_F(Annotations, NegativeSizeOfAPolylineIsTheProblem)
{
    EXPECT_EQ(answer("VnxUtilGeom3DMPolyCreate", vec({i64(-1)})), u64(5));
    EXPECT_EQ(builder.problem(), "The loader created a polyline of -1 points.");
}

TEST_F(Annotations, MorePolylinesThanMayBeAreAViolationBeforeTheyAreRead)
{
    peer.say(u64(AnnotationBuilder::MAX_POLYLINES + 1));
    EXPECT_THROW(builder.serve("VnxUtilGeom3DMPolyCreate"), ProtocolViolation);
}

TEST_F(Annotations, KeepsLabelSets)
{
    EXPECT_EQ(answer("VnxUtilCustomLabelsAppend", vec({text("low"), text("high")})), u32(1));
    EXPECT_EQ(answer("VnxUtilCustomLabelsAppend", vec({})), u32(1));
    EXPECT_EQ(dataSet().labelSets, (std::vector<LabelSet>{{"low", "high"}, {}}));
}

TEST_F(Annotations, KeepsAuxDataWithItsOwner)
{
    auto const item = [](int kind, int number, char const* value) {
        return i32(kind) + i32(number) + text("Unit") + i32(2) + text(value) + i32(1);
    };
    EXPECT_EQ(answer("VnxUtilAuxDataSetItem", item(0, 1, "a")), u32(1));
    EXPECT_EQ(answer("VnxUtilAuxDataSetItem", item(1, 0, "b")), u32(1));
    EXPECT_EQ(answer("VnxUtilAuxDataSetItem", item(3, 2, "c")), u32(1));
    EXPECT_EQ(answer("VnxUtilAuxDataSetItem", item(0, 1, "d")), u32(1)); // takes the first's place
    auto const& kept = dataSet().auxData;
    ASSERT_EQ(kept.size(), 3U);
    EXPECT_EQ(kept[0].owner, AuxData::Owner::Zone);
    EXPECT_EQ(kept[0].number, 1);
    EXPECT_EQ(kept[0].name, "Unit");
    EXPECT_EQ(kept[0].value, "d");
    EXPECT_EQ(kept[0].type, 2);
    EXPECT_TRUE(kept[0].isKept);
    EXPECT_EQ(kept[1].owner, AuxData::Owner::DataSet);
    EXPECT_EQ(kept[2].owner, AuxData::Owner::Variable);
    EXPECT_EQ(kept[2].number, 2);
    builder.endLoad();
    EXPECT_EQ(builder.problem(), "");
}

struct StrayCase
{
    char const* name;
    int kind;
    int number;
    char const* problem;
};

StrayCase const strayCases[] = {
    {"KindTwo", 2, 1, "The loader gave auxiliary data of a kind of owner 2."},
    {"NegativeKind", -1, 1, "The loader gave auxiliary data of a kind of owner -1."},
    {"ZoneThatIsNotThere", 0, 2,
     "The loader gave auxiliary data of zone 2, which it has not added."},
    {"ZoneZero", 0, 0, "The loader gave auxiliary data of zone 0, which it has not added."},
    {"VariableThatIsNotThere", 3, 3,
     "The loader gave auxiliary data of variable 3, which it has not added."},
    {"VariableZero", 3, 0,
     "The loader gave auxiliary data of variable 0, which it has not added."}};

class StrayAuxData : public Annotations, public testing::WithParamInterface<StrayCase>
{
};

TEST_P(StrayAuxData, IsAnsweredWithTrueAndKeptAsTheProblem)
{
    EXPECT_EQ(answer("VnxUtilAuxDataSetItem", i32(GetParam().kind) + i32(GetParam().number) +
                                                  text("n") + i32(0) + text("v") + i32(0)),
              u32(1));
    builder.endLoad();
    EXPECT_EQ(builder.problem(), GetParam().problem);
}

INSTANTIATE_TEST_SUITE_P(Annotations, StrayAuxData, testing::ValuesIn(strayCases),
                         tests::caseName<StrayCase>);

TEST_F(Annotations, AnotherDataSetHasNoneOfThem)
{
    createBoth();
    answer("VnxUtilCustomLabelsAppend", vec({}));
    answer("VnxUtilAuxDataSetItem", i32(1) + i32(0) + text("n") + i32(0) + text("v") + i32(0));
    answer("VnxUtilDataSetCreate", text("next") + vec({}) + i32(1));
    EXPECT_TRUE(dataSet().texts.empty());
    EXPECT_TRUE(dataSet().geometries.empty());
    EXPECT_TRUE(dataSet().labelSets.empty());
    EXPECT_TRUE(dataSet().auxData.empty());
    answer("VnxUtilAuxDataSetItem", i32(1) + i32(0) + text("n") + i32(0) + text("v") + i32(0));
    EXPECT_EQ(dataSet().auxData.size(), 1U);
}

// Face neighbours.

class FaceNeighborTarget : public Annotations
{
protected:
    std::string const command = "VnxUtilDataFaceNbrAssignByRef";
    std::string const head = i64(1L << 33) + i32(4) + tests::wire::u8(255);
    std::vector<FaceNeighbors> target;
};

TEST_F(FaceNeighborTarget, KeepsWhatComesAndAnswers)
{
    builder.setFaceNeighborTarget(&target, false);
    EXPECT_EQ(answer(command, head + i32(2) + vec({i32(7), i32(-8)})), u32(1));
    builder.setFaceNeighborTarget(&target, true);
    EXPECT_EQ(answer(command, head + i32(1) + vec({i32(7)}) + vec({i64(9)})), u32(1));
    ASSERT_EQ(target.size(), 2U);
    EXPECT_EQ(target[0].first, 1L << 33);
    EXPECT_EQ(target[0].second, 4);
    EXPECT_EQ(target[0].third, 255);
    EXPECT_EQ(target[0].items, (std::vector<int>{7, -8}));
    EXPECT_TRUE(target[0].zones.empty());
    EXPECT_EQ(target[1].zones, (std::vector<long>{9}));
}

TEST_F(FaceNeighborTarget, CountsThatDoNotAgreeAreViolations)
{
    builder.setFaceNeighborTarget(&target, true);
    for (std::string const& rest :
         {i32(-1), i32(2) + vec({i32(1)}) + vec({i64(1)}), i32(1) + vec({i32(1), i32(2)}),
          i32(1) + vec({i32(1)}) + vec({})}) {
        Peer other;
        EngineSocket otherSocket(other.takeEngineEnd());
        DataSetBuilder otherBuilder(otherSocket, argKeys);
        otherBuilder.setFaceNeighborTarget(&target, true);
        other.say(head + rest);
        EXPECT_THROW(otherBuilder.serve(command), ProtocolViolation);
    }
}

}
}
