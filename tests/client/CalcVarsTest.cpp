#include "client/Engine.h"

#include "client/Errors.h"
#include "tests/client/Peer.h"
#include "tests/support/Messages.h"
#include "tests/support/RecordingSocket.h"
#include "tests/support/Wire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace varnox::client {
namespace {

using socketutil::WriteCache;
using testing::EndsWith;
using testing::HasSubstr;
using tests::cached;
using tests::messageOf;
using tests::Peer;
using tests::wire::f64;
using tests::wire::i32;
using tests::wire::text;
using tests::wire::u64;
using tests::wire::u8;

/// What the server sends while it loads two zones with variables u and v at nodes, c at cells. The
/// data set gets the id 1 and they 2, 3 and 4. Zone 2 takes no calculated variables unless it is
/// said so.
std::string loadScript(bool both)
{
    return cached([=](WriteCache& c) {
        c.addString("VnxUtilDataSetCreate");
        c.addString("flow");
        c.addStringVector({"u", "v", "c"});
        c.addInt(1);
        for (int zone = 0; zone < 2; ++zone) {
            c.addString("VnxUtilDataSetAddZoneX");
            c.addInt(1);
            c.addString("VALUELOCATION");
            c.addIntVector({1, 1, 0});
        }
        for (int zone = 0; zone < (both ? 2 : 1); ++zone) {
            c.addString("registerZoneVarIDQueryServices");
            c.addInt(zone);
        }
        c.addString("command finished");
        c.addUInt32(1);
    });
}

class CalcVars : public testing::Test
{
protected:
    void load(bool both = true)
    {
        peer.say(loadScript(both));
        engine.load({"a.hdqfs"});
        peer.heard();
    }

    /// The answer to the next variable, whose number counts from 0.
    void sayAnswer(int number) { peer.say(i32(number) + f64(-1) + f64(2) + f64(-3) + f64(4)); }

    Peer peer;
    Engine engine{peer.takeEngineEnd()};
};

TEST_F(CalcVars, RequestIsItsGoldenBytes)
{
    load();
    sayAnswer(3);
    EXPECT_EQ(engine.createCalcVar(1, "speed", "sqrt(u^2+{v}) < 1e5", FieldDataType_Float), 4);
    engine.close();                                                    // brings out what was to go
    EXPECT_THAT(peer.heard(), EndsWith(text("ZoneVarIDQuery") + i32(0) // zone 1
                                       + text("createCalcVar")         //
                                       + u64(7) + i32(0) + i32(1)      // id, 0, float
                                       + u64(7)                        // expression's id
                                       + u8(10) + u64(2) + u8(6) + f64(2)    // u, power 2
                                       + u8(10) + u64(3) + u8(0)             // v, sum
                                       + u8(4) + u8(13)                      // square root
                                       + u8(1) + f64(1e5) + u8(16) + u8(255) // 1e5, less
                                       + text("close data server")));
}

TEST_F(CalcVars, VariableStandsAtTheEndAndTheOthersHaveAPlaceForIt)
{
    load();
    sayAnswer(3);
    engine.createCalcVar(1, "speed", "u+v");
    DataSet const& dataSet = engine.dataSet();
    ASSERT_EQ(dataSet.variables.size(), 4U);
    EXPECT_EQ(dataSet.variables[3].number, 4);
    EXPECT_EQ(dataSet.variables[3].name, "speed");
    ASSERT_EQ(dataSet.zones[0].variables.size(), 4U);
    ZoneVariable const& variable = dataSet.zones[0].variables[3];
    EXPECT_EQ(variable.type, FieldDataType_Double);
    EXPECT_EQ(variable.location, ValueLocation_Nodal);
    EXPECT_TRUE(variable.hasQueries);
    EXPECT_FALSE(variable.isAbsent);
    EXPECT_EQ(variable.range->min, -1);
    EXPECT_EQ(variable.range->max, 2);
    ASSERT_EQ(dataSet.zones[1].variables.size(), 4U);
    EXPECT_TRUE(dataSet.zones[1].variables[3].isAbsent);
    EXPECT_THAT(messageOf<Error>([&] { engine.values(2, 4); }),
                HasSubstr("it was calculated for another zone"));
}

TEST_F(CalcVars, OtherZoneCanBeAskedForTheVariable)
{
    load();
    sayAnswer(3);
    engine.createCalcVar(1, "speed", "u+v");
    peer.say(u8(0));
    EXPECT_FALSE(engine.hasVariable(2, 4));
    peer.say(u8(1));
    EXPECT_TRUE(engine.hasVariable(1, 4));
    EXPECT_THAT(peer.heard(),
                EndsWith(text("ZoneVarIDQuery") + i32(1) + text("varExists") + u64(7) +
                         text("ZoneVarIDQuery") + i32(0) + text("varExists") + u64(7)));
    EXPECT_EQ(messageOf<Error>([&] { engine.hasVariable(2, 5); }),
              "There is no variable 5 in zone 2; the data set has 4.");
    EXPECT_EQ(peer.heard(), "");
}

TEST_F(CalcVars, ValuesStandAtCellsIfAnyOfTheFormulaDoes)
{
    load();
    sayAnswer(3);
    sayAnswer(4);
    engine.createCalcVar(1, "at cells", "c*2");
    sayAnswer(5);
    engine.createCalcVar(1, "anywhere", "1");
    engine.createCalcVar(1, "of both", "u + c");
    auto const& variables = engine.dataSet().zones[0].variables;
    EXPECT_EQ(variables[3].location, ValueLocation_CellCentered);
    EXPECT_EQ(variables[3].range->min, -3);
    EXPECT_EQ(variables[3].range->max, 4);
    EXPECT_EQ(variables[4].location, ValueLocation_Nodal);
    EXPECT_EQ(variables[5].location, ValueLocation_CellCentered);
}

TEST_F(CalcVars, VariableOfTheSameNameInAnotherZoneHasTheSameId)
{
    load();
    sayAnswer(3);
    sayAnswer(4);
    sayAnswer(5);
    engine.createCalcVar(1, "speed", "u");
    engine.createCalcVar(2, "speed", "v");
    auto const& variables = engine.dataSet().variables;
    EXPECT_EQ(variables[3].uniqueId, variables[4].uniqueId);
    engine.createCalcVar(2, "twice", "{speed}"); // zone 2's own speed
    ASSERT_EQ(variables.size(), 6U);
    EXPECT_NE(variables[5].uniqueId, variables[4].uniqueId);
    engine.close();
    EXPECT_THAT(peer.heard(),
                EndsWith(u8(10) + u64(static_cast<std::uint64_t>(variables[4].uniqueId)) + u8(255) +
                         text("close data server")));
}

TEST_F(CalcVars, VariableOfAnotherZoneIsNotInAFormula)
{
    load();
    sayAnswer(3);
    engine.createCalcVar(1, "speed", "u");
    peer.heard();
    EXPECT_EQ(messageOf<Error>([&] { engine.createCalcVar(2, "twice", "2 * speed"); }),
              "The formula can't be read. Column 5: There is no variable 'speed'.\n2 * speed\n"
              "    ^");
    EXPECT_EQ(peer.heard(), "");
}

struct RefusalCase
{
    char const* name;
    int zone;
    char const* variable;
    char const* formula;
    FieldDataType_e type;
    char const* message;
};

RefusalCase const refusalCases[] = {
    {"NoSuchZone", 3, "n", "u", FieldDataType_Double, "There is no zone 3; the data set has 2."},
    {"ZoneWithoutQueries", 2, "n", "u", FieldDataType_Double,
     "The loader calculates no variables of zone 2."},
    {"TypeThatDoesNotTravel", 1, "n", "u", FieldDataType_Bit,
     "Values of the type bit don't travel."},
    {"NameThatThereIs", 1, "v", "u", FieldDataType_Double,
     "There is a variable 'v' in zone 1 already."},
    {"Mistake", 1, "n", "u +", FieldDataType_Double,
     "The formula can't be read. Column 4: The formula ends where a number, a variable or a "
     "function is missing.\nu +\n   ^"}};

class RefusedCalcVar : public CalcVars, public testing::WithParamInterface<RefusalCase>
{
};

TEST_P(RefusedCalcVar, IsToldAndNothingIsSent)
{
    load(false);
    EXPECT_EQ(messageOf<Error>([&] {
                  engine.createCalcVar(GetParam().zone, GetParam().variable, GetParam().formula,
                                       GetParam().type);
              }),
              GetParam().message);
    EXPECT_EQ(peer.heard(), "");
    EXPECT_EQ(engine.dataSet().variables.size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(Refusals, RefusedCalcVar, testing::ValuesIn(refusalCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_F(CalcVars, NumberThatIsNotTheNextOneIsAViolation)
{
    for (int const number : {2, 4, -1, 0x7FFFFFFF}) {
        Peer otherPeer;
        Engine other(otherPeer.takeEngineEnd());
        otherPeer.say(loadScript(true));
        other.load({"a"});
        otherPeer.say(i32(number) + f64(0) + f64(0) + f64(0) + f64(0));
        EXPECT_THAT(
            messageOf<ProtocolViolation>([&] { other.createCalcVar(1, "n", "u"); }),
            HasSubstr("The server gave the new variable the number " + std::to_string(number)));
    }
}

TEST_F(CalcVars, ServerThatRefusesEndsTheSession)
{
    load();
    peer.hangUp();
    EXPECT_THAT(messageOf<ConnectionLost>([&] { engine.createCalcVar(1, "n", "u"); }),
                HasSubstr("lost while making the variable 'n' of zone 1"));
}

}
}
