#include "query/CellConnectivityQueryServer.h"

#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"

namespace varnox::hdqremote {
namespace {

using namespace tests;

Subzone const SUBZONE(/*partition*/ 1, /*section*/ 0, /*subzone*/ 3); // word 30000020

/// A finite-element zone whose subzones hold two line cells of three nodes: 1.0, 2.c and 1.c in
/// subzones 1 and 2 of partition 1, where c is the cell's number.
struct CellSession
{
    explicit CellSession(char isOrdered = 0) : server(fake, isOrdered, socket, 7)
    {
        fake.address = Item(0x0500000010000020U);
        fake.subzones = {Subzone(1, 0, 2), Subzone(1, 0, 1)};
        fake.count = 4;
        fake.subzoneSize = 2;
        fake.corners = 2;
        fake.nodes = 3;
        fake.faces = 1;
        fake.nodesOf = [](Item cell) {
            return std::vector<Item>{Item(Subzone(1, 0, 1), 0),
                                     Item(Subzone(1, 0, 2), cell.itemOffset()),
                                     Item(Subzone(1, 0, 1), cell.itemOffset())};
        };
    }

    RecordingSocket socket;
    FakeCells fake;
    CellConnectivityQueryServer server;
};

std::string const item = hex("20 00 00 10 00 00 00 05");
std::string const subzone = hex("20 00 00 30 00 00 00 00");
std::string const twoSubzones = vec({hex("20 00 00 10 00 00 00 00"), subzone});

std::string const payload = hex("02 00 02 03 01"                                  // the counts
                                "02 00 00 00 00 00 00 00"                         // referenced
                                "20 00 00 10 00 00 00 00 20 00 00 20 00 00 00 00" //
                                "06 00 00 00 00 00 00 00"                         // their indices
                                "00 00 01 00 00 00 00 00 01 00 00 00"             //
                                "06 00 00 00 00 00 00 00"                         // item offsets
                                "00 00 00 00 01 01");

std::vector<std::string> callsFor(std::string const& word)
{
    std::string const secondCell = "1" + std::string(14 - word.size(), '0') + word;
    return {"size " + word,      "cornerNodeCount " + word, "nodeCount " + word,
            "faceCount " + word, "nodeAddresses " + word,   "nodeAddresses " + secondCell};
}

std::vector<std::string> checkoutCalls()
{
    std::vector<std::string> calls{"checkout true [ 10000020 30000020 ]"};
    for (char const* const word : {"10000020", "30000020"})
        for (std::string const& call : callsFor(word))
            calls.push_back(call);
    return calls;
}

MethodCase const methodCases[] = {
    {"setup", "", {"setup"}, "", "S"},
    {"teardown", "", {"teardown"}, "", "S"},
    {"destroy", "", {"destroy"}, "", "S"},
    {"checkout", u8(1) + twoSubzones, checkoutCalls(), payload + payload, "SSIS"},
    {"checkin", twoSubzones, {"checkin [ 10000020 30000020 ]"}, "", "SI"},
    {"checkoutAll", u8(2), {"checkoutAll true"}, "", "SS"},
    {"checkinAll", "", {"checkinAll"}, "", "S"},
    {"copyToUniformNM", "", {}, "", "S"},
    {"toUniformAddress", item, {"toUniformAddress 500000010000020"}, item, "SSS"},
    {"toHdqAddress", item, {"toHdqAddress 500000010000020"}, item, "SSS"},
    {"referencedNodeSubzones",
     subzone,
     {"referencedNodeSubzones 30000020"},
     vec({u64(0x20000020), u64(0x10000020)}),
     "SSI"},
    {"numSubzones", "", {"numSubzones"}, u64(4), "SS"},
    {"subzoneSize", subzone, {"size 30000020"}, hex("02 00"), "SSS"},
    {"cornerNodeCount", item, {"cornerNodeCount 500000010000020"}, u64(2), "SSS"},
    {"nodeCount", item, {"nodeCount 500000010000020"}, u64(3), "SSS"},
    {"faceCount", item, {"faceCount 500000010000020"}, u64(1), "SSS"},
    {"cornerNodeAddresses",
     item,
     {"cornerNodeAddresses 500000010000020"},
     vec({u64(0x10000020), u64(0x0500000020000020), u64(0x0500000010000020)}),
     "SSI"},
    {"cornerNodeAddress", item + u32(7), {"cornerNodeAddress 500000010000020 7"}, item, "SSSS"},
    {"nodeAddresses",
     item,
     {"nodeAddresses 500000010000020"},
     vec({u64(0x10000020), u64(0x0500000020000020), u64(0x0500000010000020)}),
     "SSI"},
    {"nodeAddress", item + u32(7), {"nodeAddress 500000010000020 7"}, item, "SSSS"},
    {"updateInternalFaceNeighbors", "", {}, "", "S"},
    {"faceNeighbors", "", {}, "", "S"},
    {"setFaceNeighbors", "", {}, "", "S"},
    {"unheardOf", "", {}, "", "S"},
    {"Setup", "", {}, "", "S"},
};
VNX_TEST_METHODS(CellConnectivityMethod, CellSession, methodCases);

TEST(CellConnectivityQueryServer, FaceNeighborMethodsConsumeNothing)
{
    for (char const* const method :
         {"copyToUniformNM", "updateInternalFaceNeighbors", "faceNeighbors", "setFaceNeighbors"}) {
        CellSession session;
        session.socket.appendScript(text(method) + u8(1) + item);
        session.server.handleMethod();
        EXPECT_EQ(session.socket.unread(), u8(1) + item) << method;
        EXPECT_TRUE(session.fake.calls.empty()) << method;
        EXPECT_TRUE(session.socket.sent().empty()) << method;
    }
}

TEST(CellConnectivityQueryServer, CheckoutOfAnOrderedZoneAnswersNothing)
{
    CellSession session(/*isOrdered*/ 1);
    session.socket.appendScript(text("checkout") + u8(0) + twoSubzones);
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, std::vector<std::string>{"checkout false [ 10000020 30000020 ]"});
    EXPECT_EQ(session.socket.numSendCaches(), 0U);
    EXPECT_TRUE(session.socket.sent().empty());
    EXPECT_TRUE(session.socket.allWasRead());
}

TEST(CellConnectivityQueryServer, CheckinOfAnOrderedZoneIsAsForAnyOther)
{
    CellSession session(/*isOrdered*/ 1);
    session.socket.appendScript(text("checkin") + twoSubzones);
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, std::vector<std::string>{"checkin [ 10000020 30000020 ]"});
}

TEST(CellConnectivityQueryServer, CheckoutOfNothingSendsAnEmptyCache)
{
    CellSession session;
    session.socket.appendScript(text("checkout") + u8(1) + vec({}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, std::vector<std::string>{"checkout true [ ]"});
    EXPECT_EQ(session.socket.numSendCaches(), 1U);
    EXPECT_TRUE(session.socket.sent().empty());
}

TEST(CellConnectivityQueryServer, CheckoutWithinACheckoutLeavesTheOuterOneAlone)
{
    CellSession session;
    auto const nodesOf = session.fake.nodesOf;
    bool isWithin = false;
    session.fake.nodesOf = [&](Item cell) {
        if (cell.itemOffset() == 1 && !isWithin) {
            isWithin = true;
            session.fake.subzoneSize = 1;
            session.fake.nodes = 1;
            session.server.handleMethod();
        }
        return nodesOf(cell);
    };
    session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}) + text("checkout") +
                                u8(1) + vec({subzone}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), hex("01 00 02 01 01") + vec({u64(0x10000020)}) +
                                         vec({u16(0)}) + vec({u8(0)}) + payload);
}

TEST(CellConnectivityQueryServer, CheckoutAnswersWithOneCache)
{
    CellSession session;
    session.socket.appendScript(text("checkout") + u8(1) + twoSubzones);
    session.server.handleMethod();
    EXPECT_EQ(session.socket.numSendCaches(), 1U);
}

TEST(CellConnectivityQueryServer, EmptySubzoneStillTellsItsCounts)
{
    CellSession session;
    session.fake.subzoneSize = 0;
    session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls,
              (std::vector<std::string>{"checkout true [ 30000020 ]", "size 30000020",
                                        "cornerNodeCount 30000020", "nodeCount 30000020",
                                        "faceCount 30000020"}));
    EXPECT_EQ(session.socket.sent(), hex("00 00 02 03 01") + vec({}) + vec({}) + vec({}));
}

TEST(CellConnectivityQueryServer, FirstCellIsAskedForWithoutFormFlagAndItem)
{
    CellSession session;
    session.fake.subzoneSize = 0;
    session.socket.appendScript(text("checkout") + u8(1) + vec({u64(0xAB00000030000021)}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls[1], "size ab00000030000021"); // as it was asked for
    EXPECT_EQ(session.fake.calls[2], "cornerNodeCount 30000020");
}

TEST(CellConnectivityQueryServer, MoreNodeAddressesThanTheCountAreCut)
{
    CellSession session;
    session.fake.nodes = 1;
    session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), hex("02 00 02 01 01") + vec({u64(0x10000020)}) +
                                         vec({u16(0), u16(0)}) + vec({u8(0), u8(0)}));
}

TEST(CellConnectivityQueryServer, FewerNodeAddressesLeaveOldContents)
{
    CellSession session;
    session.fake.nodesOf = [](Item cell) {
        std::vector<Item> nodes{Item(SUBZONE, 10), Item(SUBZONE, 11), Item(SUBZONE, 12)};
        if (cell.itemOffset() == 1)
            nodes = {Item(SUBZONE, 20)};
        return nodes;
    };
    session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), hex("02 00 02 03 01") + vec({subzone}) +
                                         vec({u16(0), u16(0), u16(0), u16(0), u16(0), u16(0)}) +
                                         vec({u8(10), u8(11), u8(12), u8(20), u8(11), u8(12)}));
}

TEST(CellConnectivityQueryServer, CellWithoutAnyNodeAddressHasZeros)
{
    CellSession session;
    session.fake.nodesOf = [](Item) { return std::vector<Item>(); };
    session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), hex("02 00 02 03 01") + vec({u64(0)}) +
                                         vec(std::vector<std::string>(6, u16(0))) +
                                         vec(std::vector<std::string>(6, u8(0))));
}

TEST(CellConnectivityQueryServer, FewerNodeAddressesInANewBlockHaveZerosBehind)
{
    CellSession session;
    session.fake.nodesOf = [](Item) {
        // What is freed here may be the block that the address is then appended to.
        std::vector<Item> const used(32, Item(~0UL));
        return std::vector<Item>{Item(SUBZONE, used.front().itemOffset() == 255 ? 10 : 0)};
    };
    session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), hex("02 00 02 03 01") + vec({u64(0), subzone}) +
                                         vec({u16(1), u16(0), u16(0), u16(1), u16(0), u16(0)}) +
                                         vec({u8(10), u8(0), u8(0), u8(10), u8(0), u8(0)}));
}

TEST(CellConnectivityQueryServer, SubzoneOfMoreThanAnAddressCanNameIsRefused)
{
    struct Impossible
    {
        unsigned short size;
        long nodes;
        char const* text;
    };
    for (Impossible const& c :
         {Impossible{257, 3, "257 cells of 3"}, Impossible{2, 126, "2 cells of 126"},
          Impossible{2, -1, "2 cells of 18446744073709551615"}}) {
        CellSession session;
        session.fake.subzoneSize = c.size;
        session.fake.nodes = c.nodes;
        session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}));
        EXPECT_EQ(messageOf<std::length_error>([&] { session.server.handleMethod(); }),
                  "The add-on reports " + std::string(c.text) +
                      " nodes for a subzone of zone 7; at most 256 of 125 are possible.");
        EXPECT_TRUE(session.socket.sent().empty());
    }
}

TEST(CellConnectivityQueryServer, LargestSubzoneIsSentWhole)
{
    CellSession session;
    session.fake.subzoneSize = 256;
    session.fake.nodes = 125;
    session.fake.nodesOf = [](Item cell) {
        return std::vector<Item>(125, Item(SUBZONE, cell.itemOffset()));
    };
    session.socket.appendScript(text("checkout") + u8(1) + vec({subzone}));
    session.server.handleMethod();
    std::string const& sent = session.socket.sent();
    EXPECT_EQ(sent.size(), 5U + 16 + 8 + 256 * 125 * 2 + 8 + 256 * 125);
    EXPECT_EQ(sent.substr(0, 5), hex("00 01 02 7d 01"));
    EXPECT_EQ(sent.back(), '\xFF');
}

TEST(CellConnectivityQueryServer, NodesOfACellHaveFixedRoom)
{
    CellSession session;
    session.socket.appendScript(text("cornerNodeAddresses") + item + text("nodeAddresses") + item);
    session.server.handleMethod();
    EXPECT_EQ(session.fake.capacity, 8U);
    session.server.handleMethod();
    EXPECT_EQ(session.fake.capacity, 125U);
}

TEST(CellConnectivityQueryServer, ExactlyEightCornersFit)
{
    CellSession session;
    std::size_t numNodes = 8;
    session.fake.nodesOf = [&](Item) { return std::vector<Item>(numNodes, Item(1)); };
    session.socket.appendScript(text("cornerNodeAddresses") + item + text("cornerNodeAddresses") +
                                item);
    session.server.handleMethod();
    EXPECT_EQ(session.socket.takeSent(), vec(std::vector<std::string>(8, u64(1))));
    numNodes = 9;
    EXPECT_THROW(session.server.handleMethod(), std::bad_array_new_length);
    EXPECT_TRUE(session.socket.sent().empty());
}

TEST(CellConnectivityQueryServer, CountBeyondTheFixedRoomIsRefused)
{
    /// An add-on that claims more than it was given room for.
    class Liar : public FakeCells
    {
        void cornerNodeAddresses(Item const&, RawArray<Item>& result) override { result.size = 9; }
    } liar;
    RecordingSocket socket(text("cornerNodeAddresses") + item);
    CellConnectivityQueryServer server(liar, 0, socket, 7);
    EXPECT_EQ(
        messageOf<std::length_error>([&] { server.handleMethod(); }),
        "The add-on reports 9 nodes for a cell of zone 7, more than the 8 there is room for.");
}

TEST(CellConnectivityQueryServer, NodesThatTheAddonLeavesOutAreZeros)
{
    /// An add-on that says to have filled what it has left as it was.
    class Lazy : public FakeCells
    {
        void cornerNodeAddresses(Item const&, RawArray<Item>& result) override { result.size = 8; }
        void nodeAddresses(Item const&, RawArray<Item>& result) override { result.size = 125; }
    } lazy;
    RecordingSocket socket(text("cornerNodeAddresses") + item + text("nodeAddresses") + item);
    CellConnectivityQueryServer server(lazy, 0, socket, 7);
    server.handleMethod();
    EXPECT_EQ(socket.takeSent(), vec(std::vector<std::string>(8, u64(0))));
    server.handleMethod();
    EXPECT_EQ(socket.takeSent(), vec(std::vector<std::string>(125, u64(0))));
}

TEST(CellConnectivityQueryServer, MoreNodeAddressesThanThereIsRoomForAreRefused)
{
    class Liar : public FakeCells
    {
        void nodeAddresses(Item const&, RawArray<Item>& result) override
        {
            reserve(result, 2);
            result.size = 3;
        }
    } liar;
    liar.subzoneSize = 1;
    liar.nodes = 3;
    RecordingSocket socket(text("checkout") + u8(1) + vec({subzone}));
    CellConnectivityQueryServer server(liar, 0, socket, 7);
    EXPECT_EQ(messageOf<std::length_error>([&] { server.handleMethod(); }),
              "The add-on reports 3 elements in an array with room for 2.");
    EXPECT_TRUE(socket.sent().empty());
}

TEST(CellConnectivityQueryServer, IndexAboveTheSignedRangeArrivesAsANegativeInt)
{
    CellSession session;
    session.socket.appendScript(text("nodeAddress") + item + u32(0xFFFFFFFE));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, std::vector<std::string>{"nodeAddress 500000010000020 -2"});
}

TEST(CellConnectivityQueryServer, TellsWhatItWasMadeOf)
{
    CellSession const session(/*isOrdered*/ 5);
    EXPECT_TRUE(session.server.isOrdered());
    EXPECT_FALSE(CellSession(0).server.isOrdered());
    EXPECT_EQ(&session.server.queryInterface(), &session.fake);
}

}
}
