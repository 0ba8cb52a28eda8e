#include "query/OrderedSubzoneQueryServer.h"

#include "tests/query/MethodCase.h"

namespace varnox::hdqremote {
namespace {

using namespace tests;

struct OrderedSession
{
    OrderedSession() { fake.subzones = {Subzone(1, 0, 2), Subzone(1, 0, 1)}; }

    RecordingSocket socket;
    FakeOrdered fake;
    OrderedSubzoneQueryServer server{fake, socket};
};

std::string const found = hex("02 00 00 00 00 00 00 00"
                              "20 00 00 20 00 00 00 00 20 00 00 10 00 00 00 00");

MethodCase const methodCases[] = {
    {"setup", "", {"setup"}, "", "S"},
    {"teardown", "", {"teardown"}, "", "S"},
    {"destroy", "", {"destroy"}, "", "S"},
    {"findIJKPlaneCellSubzones",
     i32(-2) + i64(1L << 40),
     {"findIJKPlaneCellSubzones -2 1099511627776"},
     found,
     "SSSI"},
    {"findIJKLineCellSubzones",
     i32(1) + i32(2) + i32(3),
     {"findIJKLineCellSubzones 1 2 3"},
     found,
     "SSSSI"},
    {"findIJKPlaneNodeSubzones",
     i32(3) + i64(-1),
     {"findIJKPlaneNodeSubzones 3 -1"},
     found,
     "SSSI"},
    {"findIJKLineNodeSubzones",
     i32(1) + i64(1L << 40) + i64(-3),
     {"findIJKLineNodeSubzones 1 1099511627776 -3"},
     found,
     "SSSSI"},
    {"unheardOf", "", {}, "", "S"},
};
VNX_TEST_METHODS(OrderedSubzoneMethod, OrderedSession, methodCases);

TEST(OrderedSubzoneQueryServer, LineThroughCellsTakesPlainInts)
{
    OrderedSession session;
    session.socket.appendScript(text("findIJKLineCellSubzones") +
                                hex("01 00 00 00 ff ff ff ff 00 00 00 80 09"));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls,
              std::vector<std::string>{"findIJKLineCellSubzones 1 -1 -2147483648"});
    EXPECT_EQ(session.socket.unread(), hex("09"));
}

TEST(OrderedSubzoneQueryServer, LineThroughCellsStartsWithABlockOfNoCapacity)
{
    OrderedSession session;
    session.fake.subzones.clear(); // the block is freed though nothing replaced it
    session.socket.appendScript(text("findIJKLineCellSubzones") + i32(1) + i32(2) + i32(3));
    session.server.handleMethod();
    EXPECT_TRUE(session.fake.hadABlock);
    EXPECT_EQ(session.fake.capacity, 0U);
    for (char const* const method : {"findIJKPlaneCellSubzones", "findIJKPlaneNodeSubzones"}) {
        session.socket.appendScript(text(method) + i32(1) + i64(2));
        session.server.handleMethod();
        EXPECT_FALSE(session.fake.hadABlock);
        EXPECT_EQ(session.fake.capacity, 0U);
    }
}

TEST(OrderedSubzoneQueryServer, NothingFoundIsAnEmptyVector)
{
    OrderedSession session;
    session.fake.subzones.clear();
    session.socket.appendScript(text("findIJKPlaneNodeSubzones") + i32(1) + i64(2));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), vec({}));
}

TEST(OrderedSubzoneQueryServer, GivesItsInterface)
{
    OrderedSession const session;
    EXPECT_EQ(&session.server.queryInterface(), &session.fake);
}

}
}
