#include "query/VarSubzoneQueryServer.h"

#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"

namespace varnox::hdqremote {
namespace {

using namespace tests;

struct VarSubzoneSession
{
    VarSubzoneSession() { fake.values = {-1.5, 2}; }

    RecordingSocket socket;
    FakeVarSubzones fake;
    VarSubzoneQueryServer server{fake, socket};
};

std::string const ranges = hex("02 00 00 00 00 00 00 00"
                               "00 00 00 00 00 00 f8 bf 00 00 00 00 00 00 00 40");

MethodCase const methodCases[] = {
    {"setup", "", {"setup"}, "", "S"},
    {"teardown", "", {"teardown"}, "", "S"},
    {"destroy", "", {"destroy"}, "", "S"},
    {"findNodeSubzones", "", {}, "", "S"},
    {"findCellSubzones", "", {}, "", "S"},
    {"partitionMinMaxes", "", {"partitionMinMaxes"}, ranges, "SS"},
    {"cellSubzoneMinMaxes", u32(4000000000), {"cellSubzoneMinMaxes 4000000000"}, ranges, "SSS"},
    {"nodeSubzoneMinMaxes", u32(3), {"nodeSubzoneMinMaxes 3"}, ranges, "SSS"},
    {"unheardOf", "", {}, "", "S"},
};
VNX_TEST_METHODS(VarSubzoneMethod, VarSubzoneSession, methodCases);

TEST(VarSubzoneQueryServer, SearchesByValueAreConsumedWithoutAnAnswer)
{
    for (char const* const method : {"findCellSubzones", "findNodeSubzones"}) {
        VarSubzoneSession session;
        session.socket.appendScript(text(method) + vec({f64(1)}) + vec({u64(1)}));
        session.server.handleMethod();
        EXPECT_EQ(session.socket.unread(), vec({f64(1)}) + vec({u64(1)})) << method;
        EXPECT_TRUE(session.fake.calls.empty()) << method;
        EXPECT_TRUE(session.socket.sent().empty()) << method;
    }
}

TEST(VarSubzoneQueryServer, FailedSendIsASocketException)
{
    VarSubzoneSession session;
    session.socket.appendScript(text("partitionMinMaxes"));
    session.socket.failAt(1);
    EXPECT_EQ(messageOf<socketutil::SocketException>([&] { session.server.handleMethod(); }),
              "failed on purpose");
}

TEST(VarSubzoneQueryServer, MoreRangesThanThereIsRoomForAreRefused)
{
    struct Liar : FakeVarSubzones
    {
        void partitionMinMaxes(RawArray<double>& result) override { result.size = 2; }
    } liar;
    RecordingSocket socket(text("partitionMinMaxes"));
    VarSubzoneQueryServer server(liar, socket);
    EXPECT_EQ(messageOf<std::length_error>([&] { server.handleMethod(); }),
              "The add-on reports 2 elements in an array with room for 0.");
    EXPECT_TRUE(socket.sent().empty());
}

TEST(VarSubzoneQueryServer, NoRangesAreAnEmptyVector)
{
    VarSubzoneSession session;
    session.fake.values.clear();
    session.socket.appendScript(text("partitionMinMaxes"));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), vec({}));
}

}
}
