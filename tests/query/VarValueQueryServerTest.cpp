#include "query/VarValueQueryServer.h"

#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"

namespace varnox::hdqremote {
namespace {

using namespace tests;

/// A nodal variable of doubles; subzone n has n items, whose values are 0.5, 1.5, 2.5.
struct NodalSession
{
    explicit NodalSession(int type = FieldDataType_Double, unsigned short maxSize = 4)
        : server(&fake, &nodes, socket, maxSize, 7, static_cast<FieldDataType_e>(type))
    {
        fake.valueOf = [](Item item) { return item.itemOffset() + 0.5; };
        nodes.sizeOf = [](Subzone subzone) {
            return static_cast<unsigned short>(subzone.subzoneOffset());
        };
    }

    RecordingSocket socket;
    FakeVarValues fake;
    FakeNodes nodes;
    VarValueQueryServer server;
};

std::string const twoSubzones =
    vec({hex("20 00 00 20 00 00 00 00"), hex("20 00 00 10 00 00 00 00")});

MethodCase const methodCases[] = {
    {"setup", "", {"setup"}, "", "S"},
    {"teardown", "", {"teardown"}, "", "S"},
    {"destroy", "", {"destroy"}, "", "S"},
    {"checkout",
     twoSubzones,
     {"checkout [ 20000020 10000020 ]", "fieldValues [ 20000020 100000020000020 ]",
      "fieldValues [ 10000020 ]"},
     hex("02 00 00 00 00 00 00 00 00 00 00 00 00 00 e0 3f 00 00 00 00 00 00 f8 3f"
         "01 00 00 00 00 00 00 00 00 00 00 00 00 00 e0 3f"),
     "SIS"},
    {"checkin", twoSubzones, {"checkin [ 20000020 10000020 ]"}, "", "SI"},
    {"checkoutAll", "", {"checkoutAll"}, "", "S"},
    {"checkinAll", "", {"checkinAll"}, "", "S"},
    {"copyToUniformFD", "", {}, "", "S"},
    {"fieldValue", "", {}, "", "S"},
    {"fieldValues", "", {}, "", "S"},
    {"unheardOf", "", {}, "", "S"},
};
VNX_TEST_METHODS(VarValueMethod, NodalSession, methodCases);

TEST(VarValueQueryServer, FieldValueReadsNothing)
{
    for (char const* const method : {"fieldValue", "fieldValues", "copyToUniformFD"}) {
        NodalSession session;
        session.socket.appendScript(text(method) + text("setup"));
        session.server.handleMethod();
        EXPECT_TRUE(session.fake.calls.empty()) << method;
        EXPECT_EQ(session.socket.unread(), text("setup")) << method;
        session.server.handleMethod(); // the next bytes are the next command
        EXPECT_EQ(session.fake.calls, std::vector<std::string>{"setup"}) << method;
        EXPECT_TRUE(session.socket.sent().empty()) << method;
    }
}

struct TypeCase
{
    char const* name;
    int type;
    std::string answer; ///< For two items.
};

TypeCase const typeCases[] = {
    {"Float", 1, hex("02 00 00 00 00 00 00 00 00 00 00 3f 00 00 c0 3f")},
    {"Double", 2, hex("02 00 00 00 00 00 00 00 00 00 00 00 00 00 e0 3f 00 00 00 00 00 00 f8 3f")},
    {"Int32", 3, hex("02 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00")},
    {"Int16", 4, hex("02 00 00 00 00 00 00 00 00 00 01 00")},
    {"Byte", 5, hex("02 00 00 00 00 00 00 00 00 01")},
};

class VarValueType : public testing::TestWithParam<TypeCase>
{
};

TEST_P(VarValueType, IsTheTypeOfItsAnswer)
{
    NodalSession session(GetParam().type);
    session.socket.appendScript(text("checkout") + vec({u64(0x20000020)}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent(), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(Types, VarValueType, testing::ValuesIn(typeCases), caseName<TypeCase>);

TEST(VarValueQueryServer, UnknownTypeAnswersNothing)
{
    for (int const type : {0, 6, 7, -1, 257}) {
        NodalSession session(type);
        session.socket.appendScript(text("checkout") + twoSubzones);
        session.server.handleMethod();
        EXPECT_EQ(session.fake.calls.size(), 3U) << type; // the values were asked for
        EXPECT_TRUE(session.socket.sent().empty()) << type;
        EXPECT_EQ(session.socket.numSendCaches(), 1U) << type;
    }
}

TEST(VarValueQueryServer, CheckoutOfNothingSendsAnEmptyCache)
{
    NodalSession session;
    session.socket.appendScript(text("checkout") + vec({}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, std::vector<std::string>{"checkout [ ]"});
    EXPECT_EQ(session.socket.numSendCaches(), 1U);
    EXPECT_TRUE(session.socket.sent().empty());
}

TEST(VarValueQueryServer, CheckoutAnswersWithOneCache)
{
    NodalSession session;
    session.socket.appendScript(text("checkout") + twoSubzones);
    session.server.handleMethod();
    EXPECT_EQ(session.socket.numSendCaches(), 1U);
}

TEST(VarValueQueryServer, EmptySubzoneIsAskedForAndIsAnEmptyVector)
{
    NodalSession session;
    session.socket.appendScript(text("checkout") + vec({u64(0x20)}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls.back(), "fieldValues [ ]");
    EXPECT_EQ(session.socket.sent(), vec({}));
}

TEST(VarValueQueryServer, ItemsHaveTheBitsOfTheirSubzoneWithoutFlagAndOffset)
{
    NodalSession session;
    session.socket.appendScript(text("checkout") + vec({u64(0xAB0000001000003F)}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls.back(), "fieldValues [ 1000003e ]");
}

TEST(VarValueQueryServer, ResultHasRoomForTheLargestSubzone)
{
    NodalSession session(FieldDataType_Double, /*maxSize*/ 256);
    session.socket.appendScript(text("checkout") + vec({u64(0x10000020)}));
    session.server.handleMethod();
    EXPECT_EQ(session.fake.capacity, 256U);
}

TEST(VarValueQueryServer, SubzoneOfAllItemsIsSentWhole)
{
    NodalSession session(FieldDataType_Byte, /*maxSize*/ 256);
    session.nodes.sizeOf = [](Subzone) { return static_cast<unsigned short>(256); };
    session.socket.appendScript(text("checkout") + vec({u64(0x20)}));
    session.server.handleMethod();
    EXPECT_EQ(session.socket.sent().size(), 8U + 256);
    EXPECT_EQ(session.socket.sent().back(), '\xFF');
}

TEST(VarValueQueryServer, SubzoneAboveTheLimitIsRefused)
{
    NodalSession session;
    session.socket.appendScript(text("checkout") + vec({u64(0x50000020)}));
    EXPECT_EQ(messageOf<std::length_error>([&] { session.server.handleMethod(); }),
              "The add-on reports 5 items for a subzone of zone 7; the file set's limit is 4.");
    EXPECT_TRUE(session.socket.sent().empty());
}

TEST(VarValueQueryServer, ValuesThatTheAddonLeavesOutAreZeros)
{
    /// An add-on that says to have filled what it has left as it was.
    struct Lazy : FakeVarValues
    {
        void fieldValues(RawArray<Item> const& items, RawArray<double>& values) override
        {
            values.size = items.size;
        }
    } lazy;
    FakeNodes nodes;
    nodes.sizeOf = [](Subzone) { return static_cast<unsigned short>(200); };
    RecordingSocket socket(text("checkout") + vec({u64(0x20)}));
    VarValueQueryServer server(&lazy, &nodes, socket, 200, 7, FieldDataType_Double);
    {
        // What is freed here may be the memory that the server takes.
        std::vector<std::vector<double>> const used(3, std::vector<double>(200, 1.5));
        ASSERT_EQ(used.back().back(), 1.5);
    }
    server.handleMethod();
    EXPECT_EQ(socket.sent(), vec(std::vector<std::string>(200, f64(0))));
}

TEST(VarValueQueryServer, MoreValuesThanThereIsRoomForAreRefused)
{
    struct Liar : FakeVarValues
    {
        void fieldValues(RawArray<Item> const&, RawArray<double>& values) override
        {
            values.size = 5;
        }
    } liar;
    FakeNodes nodes;
    RecordingSocket socket(text("checkout") + vec({u64(0x20)}));
    VarValueQueryServer server(&liar, &nodes, socket, 4, 7, FieldDataType_Double);
    EXPECT_EQ(messageOf<std::length_error>([&] { server.handleMethod(); }),
              "The add-on reports 5 elements in an array with room for 4.");
    EXPECT_TRUE(socket.sent().empty());
}

TEST(VarValueQueryServer, NodalServerAsksTheNodesForSizes)
{
    NodalSession session;
    session.socket.appendScript(text("checkout") + twoSubzones);
    session.server.handleMethod();
    EXPECT_EQ(session.nodes.calls, (std::vector<std::string>{"size 20000020", "size 10000020"}));
}

TEST(VarValueQueryServer, CellCenteredServerAsksTheCellsForSizes)
{
    RecordingSocket socket(text("checkout") + twoSubzones);
    FakeVarValues values;
    FakeCells cells;
    cells.subzoneSize = 1;
    VarValueQueryServer server(&values, &cells, socket, 4, 7, FieldDataType_Int32);
    server.handleMethod();
    EXPECT_EQ(cells.calls, (std::vector<std::string>{"size 20000020", "size 10000020"}));
    EXPECT_EQ(socket.sent(), vec({i32(0)}) + vec({i32(0)}));
}

TEST(VarValueQueryServer, FailureOfTheSizesPasses)
{
    NodalSession session;
    session.nodes.failing = "size";
    session.socket.appendScript(text("checkout") + twoSubzones);
    EXPECT_THROW(session.server.handleMethod(), std::runtime_error);
    EXPECT_TRUE(session.socket.sent().empty());
}

}
}
