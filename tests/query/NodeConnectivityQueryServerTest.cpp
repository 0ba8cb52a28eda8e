#include "query/NodeConnectivityQueryServer.h"

#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"

namespace varnox::hdqremote {
namespace {

using namespace tests;

struct NodeSession
{
    NodeSession()
    {
        fake.address = Item(0x0500000010000020U);
        fake.subzones = {Subzone(1, 0, 2), Subzone(1, 0, 1)};
        fake.count = 4;
        fake.sizeOf = [](Subzone subzone) {
            return static_cast<unsigned short>(subzone.subzoneOffset());
        };
    }

    RecordingSocket socket;
    FakeNodes fake;
    NodeConnectivityQueryServer server{fake, socket, 7};
};

std::string const item = hex("20 00 00 10 00 00 00 05");
std::string const subzone = hex("20 00 00 30 00 00 00 00");
std::string const twoSubzones = vec({subzone, hex("20 00 00 10 00 00 00 00")});
// In the order in which the add-on gave them.
std::string const references = hex("02 00 00 00 00 00 00 00"
                                   "20 00 00 20 00 00 00 00 20 00 00 10 00 00 00 00");

MethodCase const methodCases[] = {
    {"setup", "", {"setup"}, "", "S"},
    {"teardown", "", {"teardown"}, "", "S"},
    {"destroy", "", {"destroy"}, "", "S"},
    {"checkout",
     twoSubzones,
     {"checkout [ 30000020 10000020 ]", "size 30000020", "referencedCellSubzones 30000020",
      "size 10000020", "referencedCellSubzones 10000020"},
     hex("03 00") + references + hex("01 00") + references,
     "SIS"},
    {"checkin", twoSubzones, {"checkin [ 30000020 10000020 ]"}, "", "SI"},
    {"checkoutAll", "", {"checkoutAll"}, "", "S"},
    {"checkinAll", "", {"checkinAll"}, "", "S"},
    {"toUniformAddress", item, {"toUniformAddress 500000010000020"}, item, "SSS"},
    {"toHdqAddress", item, {"toHdqAddress 500000010000020"}, item, "SSS"},
    {"referencedCellSubzones", subzone, {"referencedCellSubzones 30000020"}, references, "SSI"},
    {"numSubzones", "", {"numSubzones"}, u64(4), "SS"},
    {"subzoneSize", subzone, {"size 30000020"}, hex("03 00"), "SSS"},
    {"copyToUniformNM", "", {}, "", "S"}, // of the cells alone
    {"unheardOf", "", {}, "", "S"},
};
VNX_TEST_METHODS(NodeConnectivityMethod, NodeSession, methodCases);

TEST(NodeConnectivityQueryServer, CheckoutOfNothingSendsAnEmptyCache)
{
    NodeSession session;
    session.socket.appendScript(text("checkout") + vec({}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, std::vector<std::string>{"checkout [ ]"});
    EXPECT_EQ(session.socket.numSendCaches(), 1U);
    EXPECT_TRUE(session.socket.sent().empty());
}

TEST(NodeConnectivityQueryServer, CheckoutAnswersWithOneCache)
{
    NodeSession session;
    session.socket.appendScript(text("checkout") + twoSubzones);
    session.server.handleMethod();
    EXPECT_EQ(session.socket.numSendCaches(), 1U);
}

TEST(NodeConnectivityQueryServer, SubzoneThatTouchesNoCellsHasItsSizeAndAnEmptyVector)
{
    NodeSession session;
    session.fake.subzones.clear();
    session.socket.appendScript(text("checkout") + vec({subzone}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), hex("03 00") + vec({}));
}

TEST(NodeConnectivityQueryServer, MoreReferencesThanThereIsRoomForAreRefused)
{
    struct Liar : FakeNodes
    {
        void referencedCellSubzones(Subzone const&, RawArray<Subzone>& result) override
        {
            result.size = 1;
        }
    } liar;
    for (std::string const& request :
         {text("checkout") + vec({subzone}), text("referencedCellSubzones") + subzone}) {
        RecordingSocket socket(request);
        NodeConnectivityQueryServer server(liar, socket, 7);
        EXPECT_EQ(messageOf<std::length_error>([&] { server.handleMethod(); }),
                  "The add-on reports 1 elements in an array with room for 0.");
        EXPECT_TRUE(socket.sent().empty());
    }
}

TEST(NodeConnectivityQueryServer, EmptyListOfReferencesIsAnEmptyVector)
{
    NodeSession session;
    session.fake.subzones.clear();
    session.socket.appendScript(text("referencedCellSubzones") + subzone);
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), vec({}));
}

TEST(NodeConnectivityQueryServer, GivesItsInterface)
{
    NodeSession const session;
    EXPECT_EQ(&session.server.queryInterface(), &session.fake);
}

}
}
