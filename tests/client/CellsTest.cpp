// Cells that the engine asks for, of a server that says what the test has said beforehand.

#include "client/Engine.h"
#include "client/Errors.h"
#include "tests/client/Peer.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "tests/support/RecordingSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace varnox::client {
namespace {

using socketutil::WriteCache;
using testing::ElementsAre;
using testing::HasSubstr;
using tests::cached;
using tests::hex;
using tests::messageOf;
using tests::Peer;

/// A zone of tetrahedra in two partitions: 300 cells and 280 nodes in the first, unless a test
/// wants more, 1 and 4 in the second; and a plain zone.
class CellEngine : public testing::Test
{
protected:
    explicit CellEngine(std::int64_t numNodesInFirst = 280)
    {
        say([=](WriteCache& c) {
            c.addString("VnxUtilDataSetCreate");
            c.addString("");
            c.addStringVector({"p"});
            c.addInt(1);
            for (bool const isHdq : {true, false}) {
                c.addString("VnxUtilDataSetAddZoneX");
                c.addInt(4);
                c.addString("IMAX");
                c.addInt64(numNodesInFirst + 4);
                c.addString("JMAX");
                c.addInt64(301);
                c.addString("ZONETYPE");
                c.addInt64(3);
                c.addString("ISHDQ");
                c.addInt64(isHdq ? 1 : 0);
            }
            c.addString("registerLoaderQueryService");
            for (int i = 0; i < 4; ++i)
                c.addUInt32(256);
            c.addInt32Vector({-1, -1});
            c.addInt32Vector({-1});
            c.addInt32Vector({-1});
            c.addUInt32(1);
            c.addUInt32(1);
            c.addInt32(2);
            c.addInt32(1);
            c.addInt32Vector({0, 2});
            c.addUInt32Vector({0, 0});
            c.addString("registerCellConnectivityQueryServices");
            c.addInt(0);
            c.addString("command finished");
            c.addUInt32(1);
        });
        engine.load({"a"});
        say([=](WriteCache& c) {
            c.addInt32(3);
            c.addBool(true);
            for (long const size : {numNodesInFirst + 4, 301L, 4L})
                c.addInt64(size);
            c.addUInt32(2);
            c.addInt64Vector({300, 1});
            c.addInt64Vector({numNodesInFirst, 4});
            c.addUInt32Vector({2, 1});
            c.addUInt32Vector({static_cast<std::uint32_t>((numNodesInFirst + 255) / 256), 1});
            c.addInt32(0);
        });
        engine.shape(1);
        heard();
    }

    void say(std::function<void(WriteCache&)> const& add) { peer.say(cached(add)); }
    std::string heard() { return peer.heard(); }

    Peer peer;
    Engine engine{peer.takeEngineEnd()};
};

TEST_F(CellEngine, ReadsCellsWithTheirGoldenBytes)
{
    peer.say(hex("01 00  04 04 04"         // one cell: corners, nodes, faces
                 "02 00 00 00 00 00 00 00" // two node subzones:
                 "00 00 00 10 00 00 00 00  20 00 00 00 00 00 00 00" // 0/1 and 1/0
                 "04 00 00 00 00 00 00 00  01 00 00 00 00 00 01 00"
                 "04 00 00 00 00 00 00 00  03 17 00 02"));
    std::vector<CellSubzone> received;
    engine.cells(1, {SubzoneAddress(1, 0, 0)},
                 [&](CellSubzone const& cells) { received.push_back(cells); });
    ASSERT_EQ(received.size(), 1U);
    CellSubzone const& cells = received[0];
    EXPECT_EQ(cells.address, SubzoneAddress(1, 0, 0));
    EXPECT_EQ(cells.shape, FECellShape_Tetrahedron);
    EXPECT_EQ(cells.numCells, 1U);
    EXPECT_EQ(cells.numFacesPerCell, 4U);
    EXPECT_THAT(cells.nodeSubzones, ElementsAre(SubzoneAddress(0, 0, 1), SubzoneAddress(1, 0, 0)));
    EXPECT_THAT(std::vector<NodeAddress>(cells.nodesOf(0).begin(), cells.nodesOf(0).end()),
                ElementsAre(NodeAddress(SubzoneAddress(1, 0, 0), 3),
                            NodeAddress(SubzoneAddress(0, 0, 1), 0x17),
                            NodeAddress(SubzoneAddress(0, 0, 1), 0),
                            NodeAddress(SubzoneAddress(1, 0, 0), 2)));
    engine.close();
    EXPECT_EQ(heard(), cached([](WriteCache& c) {
                  c.addString("CellConnectivityQuery");
                  c.addInt(0);
                  c.addString("checkout");
                  c.addUInt8(0);
                  c.addUInt64Vector({0x20});
                  c.addString("CellConnectivityQuery");
                  c.addInt(0);
                  c.addString("checkin");
                  c.addUInt64Vector({0x20});
                  c.addString("close data server");
              }));
}

TEST_F(CellEngine, ReadsNodesWithTheirGoldenBytes)
{
    peer.say(hex("18 00  01 00 00 00 00 00 00 00  00 00 00 10 00 00 00 00"
                 "04 00  00 00 00 00 00 00 00 00"));
    auto const nodes = engine.nodeSubzones(1, {SubzoneAddress(0, 0, 1), SubzoneAddress(1, 0, 0)});
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_EQ(nodes[0].numNodes, 24U);
    EXPECT_THAT(nodes[0].cellSubzones, ElementsAre(SubzoneAddress(0, 0, 1)));
    EXPECT_EQ(nodes[1].numNodes, 4U);
    EXPECT_TRUE(nodes[1].cellSubzones.empty());
    engine.close();
    EXPECT_EQ(heard(), cached([](WriteCache& c) {
                  for (char const* const method : {"checkout", "checkin"}) {
                      c.addString("NodeConnectivityQuery");
                      c.addInt(0);
                      c.addString(method);
                      c.addUInt64Vector({0x10000000, 0x20});
                  }
                  c.addString("close data server");
              }));
}

TEST_F(CellEngine, SubzonesOfAZoneStandInTheirOrder)
{
    EXPECT_THAT(
        engine.subzonesOf(1, ValueLocation_CellCentered),
        ElementsAre(SubzoneAddress(0, 0, 0), SubzoneAddress(0, 0, 1), SubzoneAddress(1, 0, 0)));
    EXPECT_EQ(engine.subzonesOf(1, ValueLocation_Nodal).size(), 3U);
}

constexpr std::int64_t MOST_LISTED = std::int64_t{1} << 23;

class EngineWithAsManyNodesAsAreListed : public CellEngine
{
protected:
    EngineWithAsManyNodesAsAreListed() : CellEngine(256 * (MOST_LISTED - 1)) {}
};

TEST_F(EngineWithAsManyNodesAsAreListed, ListsThem)
{
    auto const subzones = engine.subzonesOf(1, ValueLocation_Nodal);
    EXPECT_EQ(subzones.size(), std::size_t{MOST_LISTED});
    EXPECT_EQ(subzones.capacity(), subzones.size());
    EXPECT_EQ(subzones.back(), SubzoneAddress(1, 0, 0));
}

class EngineWithTooManyNodesToList : public CellEngine
{
protected:
    EngineWithTooManyNodesToList() : CellEngine(256 * MOST_LISTED) {}
};

TEST_F(EngineWithTooManyNodesToList, SaysSo)
{
    EXPECT_EQ(messageOf<Error>([&] { engine.subzonesOf(1, ValueLocation_Nodal); }),
              "Zone 1 has 8388609 node subzones, too many to list.");
    EXPECT_EQ(engine.subzonesOf(1, ValueLocation_CellCentered).size(), 3U);
}

struct BadCells
{
    char const* name;
    std::string bytes;
    char const* problem;
};

BadCells const badCells[] = {
    {"TooManyCells",
     hex("01 01  04 04 04  00 00 00 00 00 00 00 00") + hex("00 00 00 00 00 00 00 00") +
         hex("00 00 00 00 00 00 00 00"),
     "The server sent subzone 1/0 with 257 cells of 4 corners and 4 nodes."},
    {"MoreCornersThanNodes",
     hex("01 00  05 04 04  00 00 00 00 00 00 00 00") + hex("00 00 00 00 00 00 00 00") +
         hex("00 00 00 00 00 00 00 00"),
     "The server sent subzone 1/0 with 1 cells of 5 corners and 4 nodes."},
    {"TooFewNodes",
     hex("01 00  04 04 04  01 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
         hex("01 00 00 00 00 00 00 00  00 00") + hex("01 00 00 00 00 00 00 00  00"),
     "The server sent subzone 1/0 with fewer nodes or node subzones than its cells refer to."},
    {"ReferenceBehindTheList",
     hex("01 00  01 01 01  01 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
         hex("01 00 00 00 00 00 00 00  01 00") + hex("01 00 00 00 00 00 00 00  00"),
     "The server sent subzone 1/0 with fewer nodes or node subzones than its cells refer to."},
    {"NodeSubzoneThatDoesntExist",
     hex("01 00  01 01 01  01 00 00 00 00 00 00 00  20 00 00 10 00 00 00 00") +
         hex("01 00 00 00 00 00 00 00  00 00") + hex("01 00 00 00 00 00 00 00  00"),
     "The server sent cells of subzone 1/0 with nodes in the node subzone 1/1, which doesn't "
     "exist."}};

class BadCellAnswers : public CellEngine, public testing::WithParamInterface<BadCells>
{
};

TEST_P(BadCellAnswers, AreViolations)
{
    peer.say(GetParam().bytes);
    EXPECT_THAT(messageOf<ProtocolViolation>([&] {
                    engine.cells(1, {SubzoneAddress(1, 0, 0)}, [](CellSubzone const&) { FAIL(); });
                }),
                HasSubstr(GetParam().problem));
}

INSTANTIATE_TEST_SUITE_P(Cells, BadCellAnswers, testing::ValuesIn(badCells),
                         tests::caseName<BadCells>);

TEST_F(CellEngine, CellSubzoneAtNodesThatDoesntExistIsAViolation)
{
    peer.say(hex("18 00  01 00 00 00 00 00 00 00  00 00 00 20 00 00 00 00"));
    EXPECT_THAT(
        messageOf<ProtocolViolation>([&] { engine.nodeSubzones(1, {SubzoneAddress(0, 0, 0)}); }),
        HasSubstr("The server named the cell subzone 2 at nodes, and it doesn't exist."));
}

TEST_F(CellEngine, FewerCellsThanTheZoneHasIsAnError)
{
    std::string const empty = hex("00 00  04 04 04") + hex("00 00 00 00 00 00 00 00") +
                              hex("00 00 00 00 00 00 00 00") + hex("00 00 00 00 00 00 00 00");
    peer.say(empty + empty + empty);
    EXPECT_EQ(messageOf<Error>([&] { engine.allCells(1, [](CellSubzone const&) {}); }),
              "The subzones of zone 1 hold 0 cells where the zone has 301.");
}

TEST_F(CellEngine, PlainZoneHasNoCellsBySubzones)
{
    EXPECT_EQ(messageOf<Error>([&] { engine.allCells(2, [](CellSubzone const&) {}); }),
              "Zone 2 has no subzones, so its cells can't be had by them.");
}

TEST_F(CellEngine, SubzonesThatDontExistAreNotAskedFor)
{
    EXPECT_THAT(messageOf<Error>([&] {
                    engine.cells(1, {SubzoneAddress(0, 0, 0), SubzoneAddress(0, 0, 2)},
                                 [](CellSubzone const&) { FAIL(); });
                }),
                HasSubstr("There is no cell subzone 2 in zone 1"));
    EXPECT_EQ(heard(), "");
}

}
}
