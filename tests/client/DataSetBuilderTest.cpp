#include "client/DataSetBuilder.h"

#include "client/EngineSocket.h"
#include "client/Errors.h"
#include "tests/client/Peer.h"
#include "tests/support/RecordingSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace varnox::client {
namespace {

using socketutil::WriteCache;
using testing::HasSubstr;
using tests::cached;
using tests::hex;
using tests::Peer;

std::string const FINISHED = hex("10 00 00 00 00 00 00 00") + "command finished";
std::string const TRUE32 = hex("01 00 00 00");
std::string const FALSE32 = hex("00 00 00 00");

class Builder : public testing::Test
{
protected:
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

    std::string answer(
        std::string const& command,
        std::function<void(WriteCache&)> const& add = [](WriteCache&) {})
    {
        return answer(command, cached(add));
    }

    std::string violation(std::string const& command, std::string const& arguments)
    {
        try {
            peer.say(arguments);
            builder.serve(command);
        } catch (ProtocolViolation const& error) {
            return error.what();
        }
        return "nothing was thrown";
    }

    /// Variables "p" and "q".
    void createDataSet()
    {
        answer("VnxUtilDataSetCreate", [](WriteCache& c) {
            c.addString("title");
            c.addStringVector({"p", "q"});
            c.addInt(1);
        });
    }

    using Entry = std::function<void(WriteCache&)>;
    static Entry integer(std::string const& key, long value)
    {
        return [=](WriteCache& c) {
            c.addString(key);
            c.addInt64(value);
        };
    }
    static Entry text(std::string const& key, std::string const& value)
    {
        return [=](WriteCache& c) {
            c.addString(key);
            c.addString(value);
        };
    }
    static Entry ints(std::string const& key, std::vector<int> const& values)
    {
        return [=](WriteCache& c) {
            c.addString(key);
            c.addIntVector(values);
        };
    }

    static std::string list(std::vector<Entry> const& entries)
    {
        return cached([&](WriteCache& c) {
            c.addInt(static_cast<int>(entries.size()));
            for (Entry const& entry : entries)
                entry(c);
        });
    }

    std::string addZone(std::vector<Entry> const& entries)
    {
        return answer("VnxUtilDataSetAddZoneX", list(entries));
    }

    Peer peer;
    EngineSocket socket{peer.takeEngineEnd()};
    ArgKeys argKeys;
    DataSetBuilder builder{socket, argKeys};
};

TEST_F(Builder, UnknownCommandIsAViolation)
{
    EXPECT_EQ(violation("VnxUtilTextCreate\x1b[2J", ""),
              "The server sent 'VnxUtilTextCreate?[2J', a command that this client doesn't know.");
}

TEST_F(Builder, LoadStartHasNoAnswer)
{
    EXPECT_EQ(answer("VnxUtilDataLoadStart"), "");
}

TEST_F(Builder, CreatesADataSetFromTitleAndNames)
{
    EXPECT_EQ(answer("VnxUtilDataSetCreate",
                     hex("01 00 00 00 00 00 00 00 74"    // title
                         "02 00 00 00 00 00 00 00"       // two names:
                         "01 00 00 00 00 00 00 00 70"    // p
                         "02 00 00 00 00 00 00 00 71 72" // qr
                         "FF FF FF FF")),                // flag
              FINISHED + TRUE32);
    EXPECT_EQ(builder.dataSet().title, "t");
    ASSERT_EQ(builder.dataSet().variables.size(), 2U);
    EXPECT_EQ(builder.dataSet().variables[1].name, "qr");
    EXPECT_EQ(builder.dataSet().variables[1].number, 2);
}

TEST_F(Builder, CreatesADataSetFromAList)
{
    EXPECT_EQ(answer("VnxUtilDataSetCreateX", list({text("TITLE", "flow"),
                                                    [](WriteCache& c) {
                                                        c.addString("VARNAMES");
                                                        c.addStringVector({"X"});
                                                    }})),
              FINISHED + TRUE32);
    EXPECT_EQ(builder.dataSet().title, "flow");
    EXPECT_EQ(builder.dataSet().variables.at(0).name, "X");
}

TEST_F(Builder, AddsAZoneWithAllThatIsSaidOfIt)
{
    createDataSet();
    addZone({});
    EXPECT_EQ(addZone({integer("CONNECTSHAREZONE", 1), integer("FACENEIGHBORMODE", 2),
                       integer("IMAX", 8), integer("ISHDQ", 1), ints("ISPASSIVEVAR", {0, 1}),
                       integer("JMAX", 2), integer("KMAX", 0), text("NAME", "wall"),
                       integer("NUMSECTIONS", 2), integer("PARENTZONE", 1),
                       text("SECTIONCELLS", "1 1"), text("SECTIONORDERS", "1 2"),
                       text("SECTIONSHAPES", "4 3"), ints("SHAREVARFROMZONE", {1, 0}),
                       [](WriteCache& c) {
                           c.addString("SOLUTIONTIME");
                           c.addDouble(0.25);
                       },
                       integer("STRANDID", 3), ints("VALUELOCATION", {1, 0}),
                       ints("VARDATATYPE", {2, 5}), integer("ZONETYPE", 8)}),
              FINISHED + TRUE32);
    ASSERT_EQ(builder.dataSet().zones.size(), 2U);
    Zone const& zone = builder.dataSet().zones[1];
    EXPECT_EQ(zone.number, 2);
    EXPECT_EQ(zone.name, "wall");
    EXPECT_EQ(zone.type, ZoneType_FEMixed);
    EXPECT_EQ(zone.numNodes(), 8);
    EXPECT_EQ(zone.numCells(), 2);
    EXPECT_TRUE(zone.isHdq);
    EXPECT_EQ(zone.solutionTime, 0.25);
    EXPECT_EQ(zone.strand, 3);
    EXPECT_EQ(zone.parentZone, 1);
    EXPECT_EQ(zone.connectShareZone, 1);
    EXPECT_EQ(zone.faceNeighborMode, 2);
    ASSERT_EQ(zone.sections.size(), 2U);
    EXPECT_EQ(zone.sections[1].shape, FECellShape_Tetrahedron);
    EXPECT_EQ(zone.sections[1].order, 2);
    ASSERT_EQ(zone.variables.size(), 2U);
    EXPECT_EQ(zone.variables[0].type, FieldDataType_Double);
    EXPECT_EQ(zone.variables[0].shareZone, 1);
    EXPECT_EQ(zone.variables[1].location, ValueLocation_CellCentered);
    EXPECT_TRUE(zone.variables[1].isPassive);
    builder.endLoad();
    EXPECT_EQ(builder.problem(), "");
}

TEST_F(Builder, ZoneWithoutTypesHasThoseOfTheZoneBefore)
{
    createDataSet();
    addZone({});
    addZone({ints("VARDATATYPE", {2, 4})});
    addZone({});
    EXPECT_EQ(builder.dataSet().zones[0].variables[1].type, FieldDataType_Float);
    EXPECT_EQ(builder.dataSet().zones[2].variables[0].type, FieldDataType_Double);
    EXPECT_EQ(builder.dataSet().zones[2].variables[1].type, FieldDataType_Int16);
}

TEST_F(Builder, ZonesMayBeLeftOut)
{
    createDataSet();
    addZone({integer("ZONE", 3)});
    addZone({});
    ASSERT_EQ(builder.dataSet().zones.size(), 4U);
    EXPECT_FALSE(builder.dataSet().zones[1].isAdded);
    EXPECT_TRUE(builder.dataSet().zones[2].isAdded);
    EXPECT_TRUE(builder.dataSet().zones[3].isAdded);
}

struct BadZone
{
    char const* name;
    std::vector<std::pair<std::string, long>> integers;
    char const* problem;
};

class BadZones : public Builder, public testing::WithParamInterface<BadZone>
{
};

// A false in a batch would end the server's reading of the answers behind it.
TEST_P(BadZones, AreAnsweredWithTrueAndKeptAsTheProblem)
{
    createDataSet();
    std::vector<Entry> entries;
    for (auto const& [key, value] : GetParam().integers)
        entries.push_back(integer(key, value));
    EXPECT_EQ(addZone(entries), FINISHED + TRUE32);
    builder.endLoad();
    EXPECT_EQ(builder.problem(), GetParam().problem);
}

BadZone const badZones[] = {
    {"NumberZero", {{"ZONE", 0}}, "The loader added a zone with the number 0 to 0 zones."},
    {"NumberFarAway",
     {{"ZONE", 1L << 40}},
     "The loader added a zone with the number 1099511627776 to 0 zones."},
    {"UnknownType", {{"ZONETYPE", 9}}, "The loader gave the type of zone 1 as 9."},
    {"NegativeSize", {{"IMAX", -1}}, "The loader gave the size of zone 1 as -1 x 1 x 1."},
    {"SizeBeyondCounting",
     {{"IMAX", 1L << 40}, {"JMAX", 1L << 40}},
     "The loader gave the size of zone 1 as 1099511627776 x 1099511627776 x 1."},
    {"CellsBeyondCounting",
     {{"IMAX", 0}, {"JMAX", 1L << 40}, {"KMAX", 1L << 40}},
     "The loader gave the size of zone 1 as 0 x 1099511627776 x 1099511627776."},
    {"ConnectivityOfNoZone",
     {{"CONNECTSHAREZONE", 7}},
     "Zone 1 shares the connectivity of zone 7, which the loader has not added."},
    {"SectionsWithoutLists",
     {{"NUMSECTIONS", 1}},
     "The loader gave 0 cell counts, 0 shapes and 0 orders for the 1 sections of zone 1."}};

std::string nameOfBadZone(testing::TestParamInfo<BadZone> const& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Zones, BadZones, testing::ValuesIn(badZones), nameOfBadZone);

TEST_F(Builder, ZonesAreNotLeftOutWithoutEnd)
{
    createDataSet();
    for (long number = 90'000; number < 1'000'000; number += 90'000)
        addZone({integer("ZONE", number)});
    EXPECT_LE(builder.dataSet().zones.size(), 100'001U);
    EXPECT_THAT(builder.problem(), HasSubstr("The loader added a zone with the number 180000"));
}

TEST_F(Builder, ArrayOfAnotherLengthThanTheVariablesIsAViolation)
{
    createDataSet();
    EXPECT_EQ(violation("VnxUtilDataSetAddZoneX", list({ints("VARDATATYPE", {1, 1, 1})})),
              "The server sent 3 entries of VARDATATYPE of zone 1 where the data set has 2 "
              "variables.");
}

TEST_F(Builder, UnknownKeyIsAViolationThatNamesIt)
{
    EXPECT_EQ(violation("VnxUtilDataSetAddZoneX", list({integer("COLOUR", 1)})),
              "The loader used the key 'COLOUR', which this client doesn't know; a newer client "
              "may.");
}

TEST_F(Builder, KeyCanBeMadeKnown)
{
    argKeys.add("Colour", ArgType::Integer);
    argKeys.add("Painter", ArgType::Function); // leaves its key alone on the wire
    argKeys.add("Ids", ArgType::Int64Array);
    argKeys.add("Word", ArgType::Word);
    createDataSet();
    EXPECT_EQ(addZone({integer("COLOUR", 1),
                       [](WriteCache& c) {
                           c.addString("IDS");
                           c.addInt64Vector({5, 6});
                       },
                       [](WriteCache& c) { c.addString("PAINTER"); },
                       [](WriteCache& c) {
                           c.addString("WORD");
                           c.addUInt64(7);
                       }}),
              FINISHED + TRUE32);
}

TEST_F(Builder, KeyTwiceIsAViolation)
{
    EXPECT_THAT(violation("VnxUtilDataSetCreateX", list({text("TITLE", "a"), text("TITLE", "b")})),
                HasSubstr("'TITLE' twice"));
}

TEST_F(Builder, NegativeNumberOfEntriesIsAViolation)
{
    EXPECT_EQ(violation("VnxUtilDataSetCreateX", hex("FF FF FF FF")),
              "The server sent an argument list with -1 entries.");
}

TEST_F(Builder, KeyOfGigabytesIsAViolation)
{
    EXPECT_THAT(violation("VnxUtilDataSetCreateX", hex("01 00 00 00 00 00 00 80 00 00 00 00")),
                HasSubstr("2147483648 characters"));
}

TEST_F(Builder, LoadFinishGivesTheZonesIds)
{
    createDataSet(); // takes id 1; the variables take 2 and 3
    addZone({});
    EXPECT_EQ(answer("VnxUtilDataLoadFinishX", list({})),
              FINISHED + hex("01 00 00 00"
                             "01 00 00 00 00 00 00 00  04 00 00 00 00 00 00 00"));
}

TEST_F(Builder, CountsVariablesAndZones)
{
    createDataSet();
    addZone({});
    EXPECT_EQ(answer("VnxUtilDataSetGetNumVars"), hex("02 00 00 00"));
    EXPECT_EQ(answer("VnxUtilDataSetGetNumZones"), hex("01 00 00 00"));
}

TEST_F(Builder, GivesIds)
{
    createDataSet();
    addZone({});
    EXPECT_EQ(answer("VnxUtilDataSetGetUniqueID"), hex("01 00 00 00 00 00 00 00"));
    EXPECT_EQ(answer("VnxUtilVarGetUniqueID", hex("02 00 00 00")), hex("03 00 00 00 00 00 00 00"));
    EXPECT_EQ(answer("VnxUtilVarGetUniqueID", hex("03 00 00 00")), hex("00 00 00 00 00 00 00 00"));
    EXPECT_EQ(answer("VnxUtilGetNextUniqueID"), hex("05 00 00 00 00 00 00 00"));
    EXPECT_EQ(answer("VnxUtilDataSetGetUniqueIDsForZones",
                     hex("02 00 00 00 00 00 00 00  01 00 00 00  09 00 00 00"
                         "02 00 00 00")),
              hex("02 00 00 00 00 00 00 00  04 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"));
}

TEST_F(Builder, IdsOfAnotherNumberOfZonesThanNamedIsAViolation)
{
    EXPECT_EQ(violation("VnxUtilDataSetGetUniqueIDsForZones",
                        hex("01 00 00 00 00 00 00 00  01 00 00 00  02 00 00 00")),
              "The server asked for the ids of 2 zones and named 1.");
}

TEST_F(Builder, GivesNamesOfVariablesThatExist)
{
    createDataSet();
    EXPECT_EQ(answer("VnxUtilVarGetName", hex("02 00 00 00")),
              TRUE32 + hex("01 00 00 00 00 00 00 00 71"));
    EXPECT_EQ(answer("VnxUtilVarGetName", hex("00 00 00 00")), FALSE32);
    EXPECT_EQ(answer("VnxUtilVarGetName", hex("FF FF FF FF")), FALSE32);
}

TEST_F(Builder, GivesTheSectionsOfZonesThatExist)
{
    createDataSet();
    addZone({});
    std::string const dataSet = hex("01 00 00 00 00 00 00 00");
    EXPECT_EQ(answer("VnxUtilZoneGetNumSections", dataSet + hex("01 00 00 00")), TRUE32 + FALSE32);
    EXPECT_EQ(answer("VnxUtilZoneGetNumSections", dataSet + hex("02 00 00 00")), FALSE32);
}

TEST_F(Builder, SharesConnectivityAndValues)
{
    createDataSet();
    addZone({});
    addZone({});
    EXPECT_EQ(answer("VnxUtilDataConnectShare", hex("01 00 00 00 02 00 00 00")), FINISHED);
    EXPECT_EQ(answer("VnxUtilDataValueShare", hex("01 00 00 00 02 00 00 00 02 00 00 00")),
              FINISHED);
    EXPECT_EQ(builder.dataSet().zones[1].connectShareZone, 1);
    EXPECT_EQ(builder.dataSet().zones[1].variables[1].shareZone, 1);
    EXPECT_EQ(builder.problem(), "");
    EXPECT_EQ(answer("VnxUtilDataConnectShare", hex("01 00 00 00 05 00 00 00")), FINISHED);
    EXPECT_THAT(builder.problem(), HasSubstr("zone 5"));
}

TEST_F(Builder, KeepsRangesWithoutAnAnswer)
{
    createDataSet();
    addZone({});
    EXPECT_EQ(answer("VnxUtilDataValueSetMinMaxByZoneVar",
                     [](WriteCache& c) {
                         c.addInt(1);
                         c.addInt(2);
                         c.addDouble(-1);
                         c.addDouble(4);
                     }),
              "");
    ASSERT_TRUE(builder.dataSet().zones[0].variables[1].range);
    EXPECT_EQ(builder.dataSet().zones[0].variables[1].range->max, 4);
}

TEST_F(Builder, KeepsWhatCanBeLoadedOnDemand)
{
    createDataSet();
    addZone({});
    std::string const yesNoYes = TRUE32 + FALSE32 + TRUE32;
    EXPECT_EQ(answer("VnxUtilDataValueCustomLOD",
                     hex("01 00 00 00 02 00 00 00") + yesNoYes + FALSE32 + FALSE32),
              TRUE32);
    EXPECT_EQ(answer("VnxUtilDataNodeCustomLOD", hex("01 00 00 00") + yesNoYes), FINISHED + TRUE32);
    EXPECT_EQ(answer("VnxUtilDataFaceNbrCustomLOD", hex("01 00 00 00") + FALSE32 + yesNoYes),
              FINISHED + TRUE32);
    Zone const& zone = builder.dataSet().zones[0];
    for (LoadOnDemand const& callbacks :
         {zone.variables[1].onDemand, zone.nodeMap, zone.faceNeighbors}) {
        EXPECT_TRUE(callbacks.load);
        EXPECT_FALSE(callbacks.unload);
        EXPECT_TRUE(callbacks.cleanUp);
    }
    EXPECT_FALSE(zone.variables[0].onDemand.load);
}

TEST_F(Builder, RegistrationOfAZoneThatIsNotThereIsAnsweredAndKeptAsTheProblem)
{
    createDataSet();
    EXPECT_EQ(answer("VnxUtilDataValueCustomLOD", std::string(28, '\1')), TRUE32);
    EXPECT_THAT(builder.problem(), HasSubstr("which it has not added"));
}

TEST_F(Builder, KeepsWhatIsSaidToTheUser)
{
    EXPECT_EQ(answer("VnxUtilDialogErrMsg", [](WriteCache& c) { c.addString("no memory"); }), "");
    EXPECT_EQ(answer("VnxUtilDialogMessageBox",
                     [](WriteCache& c) {
                         c.addString("go on");
                         c.addInt(2);
                     }),
              TRUE32);
    EXPECT_EQ(builder.dataSet().messages, (std::vector<std::string>{"no memory", "go on"}));
    createDataSet();
    EXPECT_EQ(builder.dataSet().messages.size(), 2U);
}

TEST_F(Builder, KeepsTheLatestMessagesOnly)
{
    for (int i = 0; i < 1000; ++i)
        answer("VnxUtilDialogErrMsg", [i](WriteCache& c) { c.addString(std::to_string(i)); });
    EXPECT_EQ(builder.dataSet().messages.size(), 100U);
    EXPECT_EQ(builder.dataSet().messages.back(), "999");
}

TEST_F(Builder, AnswersStateChangesAndInstructions)
{
    EXPECT_EQ(
        answer("VnxUtilStateChanged", hex("03 00 00 00  01 00 00 00 00 00 00 00 02 00 00 00")),
        FINISHED);
    EXPECT_EQ(answer("VnxUtilImportSetLoaderInstr"), FINISHED + TRUE32);
}

TEST_F(Builder, ArrayThatWasNotAskedForIsAViolation)
{
    for (char const* const command :
         {"VnxUtilDataValueArraySetByRef", "VnxUtilDataNodeArraySetByRef",
          "VnxUtilDataNodeSectionArraySetByRef", "VnxUtilDataNodeSectionArraySetByRef64",
          "VnxUtilDataFaceNbrAssignByRef"})
        EXPECT_EQ(violation(command, ""), "The server sent an array that wasn't asked for.");
}

/// One file set of a grid and two solution files with one zone each, two variables.
std::string const ANNOUNCEMENT =
    hex("00 01 00 00"                         // at most 256 items in a subzone
        "08 00 00 00 07 00 00 00 06 00 00 00" // and I, J, K
        "02 00 00 00 00 00 00 00"             // two zones share connectivity with:
        "FF FF FF FF 00 00 00 00"             //   none, zone 0
        "02 00 00 00 00 00 00 00"             // zone 0 shares its two variables with:
        "FF FF FF FF FF FF FF FF"             //   none, none
        "02 00 00 00 00 00 00 00"             // zone 1:
        "00 00 00 00 FF FF FF FF"             //   zone 0, none
        "01 00 00 00"                         // one file set of
        "03 00 00 00 01 00 00 00 01 00 00 00" // three files, one zone, one variable
        "02 00 00 00 00 00 00 00"             // its first zones
        "00 00 00 00 02 00 00 00"             //   0, and 2 in all
        "02 00 00 00 00 00 00 00"             // file sets of the zones
        "00 00 00 00 00 00 00 00");           //   0, 0

TEST_F(Builder, ReadsTheLoadersAnnouncementFromItsGoldenBytes)
{
    EXPECT_EQ(answer("registerLoaderQueryService", ANNOUNCEMENT), "");
    ASSERT_TRUE(builder.announcement());
    LoaderAnnouncement const& announced = *builder.announcement();
    EXPECT_EQ(announced.subzoneMaxSize, 256U);
    EXPECT_EQ(announced.subzoneMaxIJK, (std::array<std::uint32_t, 3>{8, 7, 6}));
    EXPECT_EQ(announced.zoneShareConnectivity, (std::vector<int>{-1, 0}));
    EXPECT_EQ(announced.varZoneShareVar, (std::vector<std::vector<int>>{{-1, -1}, {0, -1}}));
    ASSERT_EQ(announced.fileSets.size(), 1U);
    EXPECT_EQ(announced.fileSets[0].numFiles, 3U);
    EXPECT_EQ(announced.fileSetFirstZones, (std::vector<int>{0, 2}));
    EXPECT_EQ(announced.zoneFileSets, (std::vector<unsigned int>{0, 0}));
}

struct Damage
{
    char const* name;
    std::size_t position;
    char byte;
    char const* message;
};

class DamagedAnnouncements : public Builder, public testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedAnnouncements, AreViolations)
{
    std::string damaged = ANNOUNCEMENT;
    damaged.at(GetParam().position) = GetParam().byte;
    EXPECT_THAT(violation("registerLoaderQueryService", damaged), HasSubstr(GetParam().message));
    EXPECT_FALSE(builder.announcement());
}

Damage const damages[] = {{"MoreCopiesThanZones", 68, 9, "the zones of file set 0"},
                          {"NoFiles", 68, 0, "the zones of file set 0"},
                          {"ZonesOfAnotherCount", 72, 5, "the zones of file set 0"},
                          {"FirstZoneNotZero", 88, 1, "the first zones"},
                          {"MoreZonesThanTables", 92, 3, "the first zones"},
                          {"FileSetThatIsNotThere", 104, 1, "the file set of zone 0"}};

INSTANTIATE_TEST_SUITE_P(Damages, DamagedAnnouncements, testing::ValuesIn(damages),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_F(Builder, MarksZonesWithQueries)
{
    createDataSet();
    addZone({});
    addZone({});
    EXPECT_EQ(answer("registerFEConnectivityQueryServices", hex("00 00 00 00")), "");
    EXPECT_EQ(answer("registerCellConnectivityQueryServices", hex("01 00 00 00")), "");
    EXPECT_EQ(answer("registerZoneVarIDQueryServices", hex("01 00 00 00")), "");
    auto const& zones = builder.dataSet().zones;
    EXPECT_TRUE(zones[0].hasConnectivityQueries);
    EXPECT_FALSE(zones[0].hasOrderedQueries);
    EXPECT_TRUE(zones[1].hasConnectivityQueries);
    EXPECT_TRUE(zones[1].hasOrderedQueries);
    EXPECT_TRUE(zones[1].hasIdentityQueries);
    EXPECT_EQ(answer("registerZoneVarIDQueryServices", hex("FF FF FF FF")), "");
    EXPECT_THAT(builder.problem(), HasSubstr("queries for zone 0"));
}

TEST_F(Builder, AnswersAVariablesRegistrationWithItsType)
{
    createDataSet();
    addZone({ints("VALUELOCATION", {1, 0}), ints("VARDATATYPE", {2, 4})});
    auto const registration = [](int zone, int var) {
        return [=](WriteCache& c) {
            c.addInt(zone);
            c.addInt(var);
            for (double const bound : {1.0, 2.0, 3.0, 4.0})
                c.addDouble(bound);
        };
    };
    EXPECT_EQ(answer("registerVarQueryServices", registration(0, 0)), hex("02 00 00 00"));
    EXPECT_EQ(answer("registerVarQueryServices", registration(0, 1)), hex("04 00 00 00"));
    auto const& variables = builder.dataSet().zones[0].variables;
    EXPECT_TRUE(variables[0].hasQueries);
    EXPECT_EQ(variables[0].range->max, 2); // of its nodes
    EXPECT_EQ(variables[1].range->max, 4); // of its cells
    EXPECT_EQ(answer("registerVarQueryServices", registration(0, 2)), hex("00 00 00 00"));
    EXPECT_THAT(builder.problem(), HasSubstr("queries for variable 3 of zone 1"));
}

}
}
