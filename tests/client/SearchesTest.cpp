// Searches of the engine against a server that says what the test has said beforehand.

#include "client/Engine.h"
#include "client/Errors.h"
#include "tests/client/Peer.h"
#include "tests/support/Messages.h"
#include "tests/support/RecordingSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace varnox::client {
namespace {

using socketutil::WriteCache;
using testing::ElementsAre;
using testing::StartsWith;
using tests::cached;
using tests::Peer;

template <typename Exception>
std::string messageOf(std::function<void()> const& action)
{
    try {
        action();
    } catch (Exception const& error) {
        return error.what();
    }
    return "nothing was thrown";
}

void addLoadedZone(WriteCache& c)
{
    c.addString("VnxUtilDataSetAddZoneX");
    c.addInt(3);
    c.addString("IMAX");
    c.addInt64(3);
    c.addString("JMAX");
    c.addInt64(2);
    c.addString("ISHDQ");
    c.addInt64(1);
}

/// An ordered zone of 3 x 2 x 1 nodes, with all query services, behind a plain one.
class SearchedEngine : public testing::Test
{
protected:
    SearchedEngine()
    {
        say([](WriteCache& c) {
            c.addString("VnxUtilDataSetCreate");
            c.addString("");
            c.addStringVector({"p", "q"});
            c.addInt(1);
            c.addString("VnxUtilVarGetUniqueID");
            c.addInt32(1);
            c.addString("VnxUtilVarGetUniqueID");
            c.addInt32(2);
            c.addString("VnxUtilDataSetAddZoneX");
            c.addInt(1);
            c.addString("IMAX");
            c.addInt64(2);
            addLoadedZone(c);
            c.addString("registerLoaderQueryService");
            for (int i = 0; i < 4; ++i)
                c.addUInt32(256);
            c.addInt32Vector({-1, -1});
            c.addInt32Vector({-1, -1});
            c.addInt32Vector({-1, -1});
            c.addUInt32(1);
            c.addUInt32(1);
            c.addInt32(2);
            c.addInt32(2);
            c.addInt32Vector({0, 2});
            c.addUInt32Vector({0, 0});
            c.addString("registerCellConnectivityQueryServices");
            c.addInt(1);
            c.addString("registerZoneVarIDQueryServices");
            c.addInt(1);
            c.addString("registerVarQueryServices");
            c.addInt(1);
            c.addInt(0);
            for (double const bound : {0., 1., 0., 1.})
                c.addDouble(bound);
            c.addString("command finished");
            c.addUInt32(1);
        });
        engine.load({"a"});
        heard();
        // The zone's shape: one partition of four node subzones and two cell subzones.
        say([](WriteCache& c) {
            c.addInt32(0);
            c.addBool(true);
            for (long const size : {3L, 2L, 1L})
                c.addInt64(size);
            c.addUInt32(1);
            c.addInt64Vector({2});
            c.addInt64Vector({6});
            for (unsigned const index : {0U, 0U, 0U, 2U, 1U, 0U})
                c.addUInt32(index);
            c.addUInt32Vector({2});
            c.addUInt32Vector({4});
            c.addInt32(0);
        });
        engine.shape(2);
        heard();
    }

    void say(std::function<void(WriteCache&)> const& add) { peer.say(cached(add)); }
    void sayFound(std::vector<SubzoneAddress> const& found)
    {
        std::vector<unsigned long> words;
        for (SubzoneAddress const address : found)
            words.push_back(address.word());
        say([&](WriteCache& c) { c.addUInt64Vector(words); });
    }
    std::string heard() { return peer.heard(); }
    long idOf(int var)
    {
        return engine.dataSet().variables[static_cast<std::size_t>(var - 1)].uniqueId;
    }

    Peer peer;
    Engine engine{peer.takeEngineEnd()};
};

TEST_F(SearchedEngine, FindsByValueWithItsGoldenBytes)
{
    sayFound({SubzoneAddress(0, 0, 1), SubzoneAddress(0, 0, 3)});
    auto const found = engine.subzonesThatMayHold(2, {{2, 0.5}, {1, -1}}, ValueLocation_Nodal);
    EXPECT_THAT(found, ElementsAre(SubzoneAddress(0, 0, 1), SubzoneAddress(0, 0, 3)));
    EXPECT_EQ(heard(), cached([&](WriteCache& c) {
                  c.addString("ZoneVarIDQuery");
                  c.addInt(1);
                  c.addString("findNodeSubzones");
                  c.addDoubleVector({0.5, -1});
                  c.addUInt64Vector(
                      {static_cast<unsigned long>(idOf(2)), static_cast<unsigned long>(idOf(1))});
              }));
    sayFound({});
    EXPECT_TRUE(engine.subzonesThatMayHold(2, {}, ValueLocation_CellCentered).empty());
    EXPECT_EQ(heard(), cached([](WriteCache& c) {
                  c.addString("ZoneVarIDQuery");
                  c.addInt(1);
                  c.addString("findCellSubzones");
                  c.addDoubleVector({});
                  c.addUInt64Vector({});
              }));
}

TEST_F(SearchedEngine, FindsPlanesWithItsGoldenBytes)
{
    sayFound({SubzoneAddress(0, 0, 2)});
    EXPECT_EQ(engine.subzonesOfPlane(2, Axis::I, 2, ValueLocation_Nodal).size(), 1U);
    sayFound({});
    engine.subzonesOfPlane(2, Axis::K, 0, ValueLocation_CellCentered);
    EXPECT_EQ(heard(), cached([](WriteCache& c) {
                  c.addString("OrderedSubzoneQuery");
                  c.addInt(1);
                  c.addString("findIJKPlaneNodeSubzones");
                  c.addInt32(0);
                  c.addInt64(2);
                  c.addString("OrderedSubzoneQuery");
                  c.addInt(1);
                  c.addString("findIJKPlaneCellSubzones");
                  c.addInt32(2);
                  c.addInt64(0);
              }));
}

TEST_F(SearchedEngine, FindsLinesWithItsGoldenBytes)
{
    sayFound({});
    engine.subzonesOfLine(2, Axis::J, 2, 0, ValueLocation_Nodal);
    sayFound({});
    engine.subzonesOfLine(2, Axis::K, 1, 0, ValueLocation_CellCentered);
    EXPECT_EQ(heard(), cached([](WriteCache& c) {
                  c.addString("OrderedSubzoneQuery");
                  c.addInt(1);
                  c.addString("findIJKLineNodeSubzones");
                  c.addInt32(1);
                  c.addInt64(2);
                  c.addInt64(0);
                  c.addString("OrderedSubzoneQuery");
                  c.addInt(1);
                  c.addString("findIJKLineCellSubzones");
                  c.addInt32(2);
                  c.addInt(1); // of 4 bytes, unlike those of nodes
                  c.addInt(0);
              }));
}

TEST_F(SearchedEngine, AsksForAVariableByItsUniqueId)
{
    say([](WriteCache& c) { c.addUInt8(1); });
    EXPECT_TRUE(engine.hasVariable(2, 1));
    say([](WriteCache& c) { c.addUInt8(0); });
    EXPECT_FALSE(engine.hasVariable(2, 2));
    EXPECT_EQ(heard(), cached([&](WriteCache& c) {
                  for (int const var : {1, 2}) {
                      c.addString("ZoneVarIDQuery");
                      c.addInt(1);
                      c.addString("varExists");
                      c.addUInt64(static_cast<unsigned long>(idOf(var)));
                  }
              }));
}

TEST_F(SearchedEngine, RangesOfCellSubzonesOfANodalVariable)
{
    say([](WriteCache& c) { c.addDoubleVector({-1, 5, 0, 9}); });
    auto const ranges = engine.subzoneRanges(2, 1, 0, ValueLocation_CellCentered);
    ASSERT_EQ(ranges.size(), 2U);
    EXPECT_EQ(ranges[1].max, 9);
    EXPECT_THAT(heard(), testing::HasSubstr("cellSubzoneMinMaxes"));
}

TEST_F(SearchedEngine, DuplicateIsAZoneThatSharesItsSourcesValues)
{
    say([](WriteCache& c) { c.addInt(2); });
    EXPECT_EQ(engine.duplicateZone(2), 3);
    EXPECT_EQ(heard(), cached([](WriteCache& c) {
                  c.addString("ZoneVarIDQuery");
                  c.addInt(1);
                  c.addString("duplicate");
              }));
    Zone const& copy = *engine.dataSet().zone(3);
    EXPECT_EQ(copy.connectShareZone, 2);
    EXPECT_EQ(copy.variables[0].shareZone, 2);
    EXPECT_TRUE(copy.hasIdentityQueries);
    EXPECT_NE(copy.uniqueId, engine.dataSet().zone(2)->uniqueId);
    EXPECT_EQ(engine.shape(3).numNodeSubzones(), 4U);
    EXPECT_EQ(heard(), ""); // the shape is that of the source

    say([](WriteCache& c) { c.addInt(3); });
    EXPECT_EQ(engine.duplicateZone(3), 4);
    EXPECT_EQ(engine.dataSet().zone(4)->variables[0].shareZone, 2);
    EXPECT_EQ(engine.shape(4).numNodeSubzones(), 4U);
    heard();
    sayFound({});
    engine.subzonesThatMayHold(4, {{1, 0}}, ValueLocation_Nodal);
    EXPECT_THAT(heard(), StartsWith(cached([](WriteCache& c) {
                    c.addString("ZoneVarIDQuery");
                    c.addInt(3);
                })));
}

TEST_F(SearchedEngine, DuplicateWithAnUnexpectedNumberIsAViolation)
{
    say([](WriteCache& c) { c.addInt(7); });
    EXPECT_THAT(
        messageOf<ProtocolViolation>([&] { engine.duplicateZone(2); }),
        StartsWith("The server gave a duplicate of zone 2 the index 7, and 2 is the next."));
}

struct BadAnswer
{
    char const* name;
    std::vector<SubzoneAddress> found;
    char const* message;
};

class BadAnswers : public SearchedEngine, public testing::WithParamInterface<BadAnswer>
{
};

TEST_P(BadAnswers, AreViolations)
{
    sayFound(GetParam().found);
    EXPECT_THAT(messageOf<ProtocolViolation>([&] {
                    engine.subzonesThatMayHold(2, {{1, 0}}, ValueLocation_Nodal);
                }),
                testing::HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Subzones, BadAnswers,
    testing::Values(
        BadAnswer{"Missing", {SubzoneAddress(0, 0, 4)}, "subzone 4, which doesn't exist."},
        BadAnswer{"OfNoSection", {SubzoneAddress(0, 1, 0)}, "subzone 0/1/0, which doesn't exist."},
        BadAnswer{"OfNoPartition", {SubzoneAddress(1, 0, 0)}, "subzone 1/0, which doesn't exist."},
        BadAnswer{"Twice",
                  {SubzoneAddress(0, 0, 1), SubzoneAddress(0, 0, 1)},
                  "subzone 1 out of order or twice."},
        BadAnswer{"OutOfOrder",
                  {SubzoneAddress(0, 0, 2), SubzoneAddress(0, 0, 1)},
                  "subzone 1 out of order or twice."},
        BadAnswer{"TooMany", std::vector<SubzoneAddress>(5, SubzoneAddress(0, 0, 0)), "5 values"}),
    [](auto const& test) { return std::string(test.param.name); });

TEST_F(SearchedEngine, WhatCantBeAskedIsNotSent)
{
    EXPECT_EQ(messageOf<Error>([&] {
                  engine.subzonesThatMayHold(1, {{1, 0}}, ValueLocation_Nodal);
              }),
              "Zone 1 can't be searched by value: it has no subzones, or the loader doesn't offer "
              "it.");
    EXPECT_EQ(messageOf<Error>([&] { engine.duplicateZone(1); }),
              "Zone 1 can't be duplicated: it has no subzones, or the loader doesn't offer it.");
    EXPECT_EQ(messageOf<Error>([&] { engine.hasVariable(1, 1); }),
              "Zone 1 can't be asked for its variables.");
    EXPECT_EQ(messageOf<Error>([&] {
                  engine.subzonesThatMayHold(2, {{3, 0}}, ValueLocation_Nodal);
              }),
              "There is no variable 3 in zone 2; the data set has 2.");
    EXPECT_EQ(messageOf<Error>([&] { engine.subzonesOfPlane(1, Axis::I, 0, ValueLocation_Nodal); }),
              "Zone 1 can't be searched by plane and line: it has no subzones, or the loader "
              "doesn't offer it.");
    EXPECT_EQ(messageOf<Error>(
                  [&] { engine.subzonesOfPlane(2, Axis::J, 1, ValueLocation_CellCentered); }),
              "There is no J = 1 among the cells of zone 2: indices count from 0, and here there "
              "are 1.");
    EXPECT_EQ(
        messageOf<Error>([&] { engine.subzonesOfLine(2, Axis::J, 0, -1, ValueLocation_Nodal); }),
        "There is no K = -1 among the nodes of zone 2: indices count from 0, and here there "
        "are 1.");
    EXPECT_EQ(heard(), "");
}

}
}
