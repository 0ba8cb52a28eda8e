#include "query/ZoneVarIDQueryServer.h"

#include "command/CommandCache.h"
#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"
#include "varnox/hdqremote/DataSetRegistrationServer.h"

namespace varnox::hdqremote {
namespace {

using namespace tests;

struct ZoneSession
{
    ZoneSession()
    {
        fake.exists = true;
        fake.subzones = {Subzone(1, 0, 2), Subzone(1, 0, 1)};
    }

    RecordingSocket socket;
    CommandCache cache{socket, [](std::string const&) {}};
    DataSetRegistrationServer registrationServer{socket, cache};
    FakeZoneVarID fake;
    ZoneVarIDQueryServer server{fake, 7, socket, registrationServer};
};

// The lengths of the two vectors aren't compared.
std::string const search = hex("01 00 00 00 00 00 00 00 00 00 00 00 00 00 f8 3f"
                               "02 00 00 00 00 00 00 00"
                               "05 00 00 00 00 00 00 00 ff ff ff ff ff ff ff ff");
std::string const found = hex("02 00 00 00 00 00 00 00"
                              "20 00 00 20 00 00 00 00 20 00 00 10 00 00 00 00");

// "duplicate" is tested with the registration server.
MethodCase const methodCases[] = {
    {"varExists", i64(-3), {"varExists -3"}, u8(1), "SSS"},
    {"findCellSubzones", search, {"findCellSubzones [ 1.5 ] [ 5 -1 ]"}, found, "SIII"},
    {"findNodeSubzones", search, {"findNodeSubzones [ 1.5 ] [ 5 -1 ]"}, found, "SIII"},
    {"destroy", "", {"destroy"}, "", "S"},
    {"setup", "", {}, "", "S"}, // of the other servers
    {"unheardOf", "", {}, "", "S"},
};
VNX_TEST_METHODS(ZoneVarIDMethod, ZoneSession, methodCases);

TEST(ZoneVarIDQueryServer, VariableThatDoesNotExistIsAZeroByte)
{
    ZoneSession session;
    session.fake.exists = false;
    session.socket.appendScript(text("varExists") + u64(5));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), u8(0));
}

TEST(ZoneVarIDQueryServer, NothingFoundIsAnEmptyVector)
{
    ZoneSession session;
    session.fake.subzones.clear();
    session.socket.appendScript(text("findNodeSubzones") + vec({}) + vec({}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, std::vector<std::string>{"findNodeSubzones [ ] [ ]"});
    EXPECT_EQ(session.socket.sent(), vec({}));
}

TEST(ZoneVarIDQueryServer, DuplicateOfAZoneThatIsNotThereIsAnError)
{
    ZoneSession session;
    session.fake.copy = &session.fake;
    session.socket.appendScript(text("duplicate"));
    EXPECT_EQ(messageOf<DataSetRegistrationServer::Error>([&] { session.server.handleMethod(); }),
              "Zone 7 does not exist.");
    EXPECT_TRUE(session.socket.sent().empty());
}

TEST(ZoneVarIDQueryServer, GivesItsInterface)
{
    ZoneSession const session;
    EXPECT_EQ(&session.server.queryInterface(), &session.fake);
}

}
}
