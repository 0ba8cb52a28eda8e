#include "client/Engine.h"

#include "client/Errors.h"
#include "tests/client/Peer.h"
#include "tests/support/RecordingSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace varnox::client {
namespace {

using socketutil::WriteCache;
using testing::HasSubstr;
using testing::StartsWith;
using tests::cached;
using tests::hex;
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

std::string finished(bool result)
{
    return cached([&](WriteCache& c) {
        c.addString("command finished");
        c.addUInt32(result ? 1 : 0);
    });
}

/// An engine whose server says what the test has said beforehand.
class ScriptedEngine : public testing::Test
{
protected:
    void say(std::function<void(WriteCache&)> const& add) { peer.say(cached(add)); }
    std::string heard() { return peer.heard(); }

    Peer peer;
    Engine engine{peer.takeEngineEnd()};
};

// The greeting.

TEST_F(ScriptedEngine, GreetsWithItsGoldenBytes)
{
    peer.say(hex("01  00 00 00 00 00 00 00 00"));
    engine.greet("key");
    EXPECT_EQ(heard(), hex("0F 00 00 00 00 00 00 00") + "VNXDATASERVER 1" +
                           hex("03 00 00 00 00 00 00 00") + "key");
}

TEST_F(ScriptedEngine, RefusedGreetingCarriesTheServersReason)
{
    say([](WriteCache& c) {
        c.addUInt8(0);
        c.addString("The token is wrong.");
    });
    peer.hangUp();
    EXPECT_EQ(messageOf<GreetingRefused>([&] { engine.greet("bad"); }),
              "The data server refused the connection: The token is wrong.");
    EXPECT_EQ(messageOf<ConnectionLost>([&] { engine.listFileTypes(); }),
              "The session with the data server has ended already.");
}

TEST_F(ScriptedEngine, WhatIsNoDataServerIsToldSo)
{
    peer.say("SSH-2.0-something\r\n");
    EXPECT_EQ(messageOf<ProtocolViolation>([&] { engine.greet(""); }),
              "What answered doesn't greet like a data server. This was while greeting it. Is it a "
              "data server, and of the version of this client?");
}

TEST_F(ScriptedEngine, ReasonOfGigabytesIsNotRead)
{
    peer.say(hex("00  00 00 00 40 00 00 00 00"));
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.greet(""); }),
                HasSubstr("1073741824 characters"));
}

TEST_F(ScriptedEngine, GreetingIsNotWaitedForWithoutEnd)
{
    EXPECT_THAT(messageOf<ConnectionLost>([&] { engine.greet("", std::chrono::milliseconds(20)); }),
                HasSubstr("no answer within the time allowed"));
}

// Browsing.

TEST_F(ScriptedEngine, ListsFileTypes)
{
    say([](WriteCache& c) {
        c.addString("HDQFS");
        c.addString("hdqfs");
        c.addString("command finished");
    });
    FileTypes const types = engine.listFileTypes();
    EXPECT_EQ(types.loaderName, "HDQFS");
    EXPECT_EQ(types.extensions, "hdqfs");
    EXPECT_EQ(heard(), hex("0F 00 00 00 00 00 00 00") + "list file types");
}

TEST_F(ScriptedEngine, AnswerWithoutItsEndIsAViolation)
{
    say([](WriteCache& c) {
        c.addString("HDQFS");
        c.addString("hdqfs");
        c.addString("COMMAND FINISHED");
    });
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.listFileTypes(); }),
                StartsWith("The server ended its answer with 'COMMAND FINISHED'."));
}

TEST_F(ScriptedEngine, ListsFilesWithTheirPermissions)
{
    say([](WriteCache& c) {
        c.addString("/data");
        c.addInt(1);
        c.addString(std::string("a.hdqfs\0\x01\xA4", 10)); // 0644
        c.addString("regular");
        c.addUInt64(77);
        c.addUInt64(1700000000);
        c.addString("command finished");
    });
    Listing const listing = engine.listFiles("data");
    EXPECT_EQ(listing.directory, "/data");
    ASSERT_EQ(listing.entries.size(), 1U);
    EXPECT_EQ(listing.entries[0].name, "a.hdqfs");
    EXPECT_EQ(listing.entries[0].permissions, 0644);
    EXPECT_EQ(listing.entries[0].size, 77U);
    EXPECT_EQ(heard(), cached([](WriteCache& c) {
                  c.addString("list files");
                  c.addString("data");
              }));
}

TEST_F(ScriptedEngine, ListsEveryTypeOfFile)
{
    std::vector<std::string> const types{"regular", "directory", "file link", "directory link"};
    say([&](WriteCache& c) {
        c.addString("/data");
        c.addInt(4);
        for (std::string const& type : types) {
            c.addString(type + std::string("\0\x01\xA4", 3));
            c.addString(type);
            c.addUInt64(0);
            c.addUInt64(0);
        }
        c.addString("command finished");
    });
    std::vector<std::string> listed;
    for (FileEntry const& entry : engine.listFiles("data").entries)
        listed.push_back(entry.type);
    EXPECT_EQ(listed, types);
}

TEST_F(ScriptedEngine, NameWithoutPermissionsIsAViolation)
{
    say([](WriteCache& c) {
        c.addString("/data");
        c.addInt(1);
        c.addString("a.hdqfs");
    });
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.listFiles("data"); }),
                HasSubstr("'a.hdqfs' as a file's name and permissions"));
}

TEST_F(ScriptedEngine, LyingNumberOfFilesEndsWithTheConnection)
{
    say([](WriteCache& c) {
        c.addString("/data");
        c.addInt(0x7FFFFFFF);
    });
    peer.hangUp();
    EXPECT_THAT(messageOf<ConnectionLost>([&] { engine.listFiles("data"); }),
                StartsWith("The connection to the data server was lost while listing files."));
}

// Loading.

/// A data set of one finite-element zone of 300 nodes and 4 cells, with the nodal doubles "p" by
/// subzones and on demand, and the cell-centred bytes "q" on demand alone; two nodes more than fill
/// one subzone.
std::string loadScript()
{
    return cached([](WriteCache& c) {
        c.addString("VnxUtilDataLoadStart");
        c.addString("VnxUtilDataSetCreate");
        c.addString("flow");
        c.addStringVector({"p", "q"});
        c.addInt(1);
        c.addString("VnxUtilDataSetAddZoneX");
        c.addInt(6);
        c.addString("IMAX");
        c.addInt64(300);
        c.addString("JMAX");
        c.addInt64(4);
        c.addString("NAME");
        c.addString("body");
        c.addString("VALUELOCATION");
        c.addIntVector({1, 0});
        c.addString("VARDATATYPE");
        c.addIntVector({2, 5});
        c.addString("ZONETYPE");
        c.addInt64(4);
        c.addString("registerLoaderQueryService");
        c.addUInt32(256);
        for (int axis = 0; axis < 3; ++axis)
            c.addUInt32(6);
        c.addInt32Vector({-1});
        c.addInt32Vector({-1, -1});
        c.addUInt32(1);
        c.addUInt32(1);
        c.addInt32(1);
        c.addInt32(2);
        c.addInt32Vector({0, 1});
        c.addUInt32Vector({0});
        c.addString("registerFEConnectivityQueryServices");
        c.addInt(0);
        c.addString("registerVarQueryServices");
        c.addInt(0);
        c.addInt(0);
        for (double const bound : {-1.0, 9.0, -2.0, 8.0})
            c.addDouble(bound);
        for (int var = 1; var <= 2; ++var) {
            c.addString("VnxUtilDataValueCustomLOD");
            c.addInt32(1);
            c.addInt32(var);
            for (unsigned const exists : {1U, var == 2 ? 1U : 0U, 0U, 0U, 0U})
                c.addUInt32(exists);
        }
        c.addString("VnxUtilDataLoadFinishX");
        c.addInt(0);
        c.addString("command finished");
        c.addUInt32(1);
    });
}

/// The zone's metadata: two node subzones, one cell subzone, in one partition.
std::string shapeScript(std::uint32_t numNodeSubzones = 2, int type = 4)
{
    return cached([=](WriteCache& c) {
        c.addInt32(type);
        c.addBool(true);
        c.addInt64(300);
        c.addInt64(4);
        c.addInt64(0);
        c.addUInt32(1);
        c.addInt64Vector({4});
        c.addInt64Vector({300});
        c.addUInt32Vector({1});
        c.addUInt32Vector({numNodeSubzones});
        c.addInt32(0);
    });
}

class LoadedEngine : public ScriptedEngine
{
protected:
    void SetUp() override
    {
        peer.say(loadScript());
        engine.load({"a.hdqfs"});
        heard();
    }
};

TEST_F(ScriptedEngine, LoadAsksAndAnswersWithItsGoldenBytes)
{
    peer.say(loadScript());
    DataSet const& dataSet = engine.load({"a.hdqfs", "b.hdqfs"});
    std::string const end = hex("10 00 00 00 00 00 00 00") + "command finished";
    engine.close(); // brings out the last answers
    EXPECT_EQ(heard(), hex("0C 00 00 00 00 00 00 00") + "load dataset" +
                           hex("0F 00 00 00 00 00 00 00") + "a.hdqfs\nb.hdqfs" + end +
                           hex("01 00 00 00") +           // the data set was created
                           end + hex("01 00 00 00") +     // the zone was added
                           hex("02 00 00 00") +           // p is of doubles
                           hex("01 00 00 00 01 00 00 00") // both can be loaded on demand
                           + end +
                           hex("01 00 00 00"                                      // finished:
                               "01 00 00 00 00 00 00 00 04 00 00 00 00 00 00 00") // the zone's id
                           + hex("11 00 00 00 00 00 00 00") + "close data server");
    EXPECT_EQ(dataSet.title, "flow");
    ASSERT_EQ(dataSet.zones.size(), 1U);
    EXPECT_EQ(dataSet.zones[0].name, "body");
    EXPECT_EQ(dataSet.zones[0].numItems(ValueLocation_Nodal), 300);
    EXPECT_TRUE(dataSet.zones[0].variables[0].hasQueries);
    EXPECT_EQ(dataSet.zones[0].variables[0].range->min, -1);
}

TEST(Engine, LoadCutAtAnyByteIsALostConnection)
{
    std::string const script = loadScript();
    for (std::size_t length = 0; length < script.size(); ++length) {
        Peer peer;
        Engine engine(peer.takeEngineEnd());
        engine.setServerLog([] { return "I am tired"; });
        peer.say(script.substr(0, length));
        peer.hangUp();
        std::string const message = messageOf<ConnectionLost>([&] { engine.load({"a"}); });
        ASSERT_THAT(message, HasSubstr("while loading a.")) << "cut at " << length;
        ASSERT_THAT(message, HasSubstr("I am tired")) << "cut at " << length;
    }
}

TEST(Engine, LoadWithAnyByteDamagedEndsInWords)
{
    std::string const script = loadScript();
    for (std::size_t position = 0; position < script.size(); ++position) {
        Peer peer;
        Engine engine(peer.takeEngineEnd());
        std::string damaged = script;
        damaged[position] = static_cast<char>(damaged[position] ^ 0x7F);
        peer.say(damaged);
        peer.hangUp();
        try {
            engine.load({"a"}); // a title or a range may be any
        } catch (Error const& error) {
            ASSERT_STRNE(error.what(), "") << "damaged at " << position;
        }
    }
}

TEST_F(ScriptedEngine, FailedLoadCarriesWhatTheLoaderSaid)
{
    say([](WriteCache& c) {
        c.addString("VnxUtilDialogErrMsg");
        c.addString("Failed to open file for reading: a");
        c.addString("command finished");
        c.addUInt32(0);
    });
    EXPECT_EQ(messageOf<LoadFailed>([&] { engine.load({"a"}); }),
              "Could not load a: Failed to open file for reading: a");
}

class WordWithoutASender : public ScriptedEngine, public testing::WithParamInterface<char const*>
{
};

TEST_P(WordWithoutASender, IsAViolationThatNamesIt)
{
    say([](WriteCache& c) { c.addString(GetParam()); });
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.load({"a"}); }),
                StartsWith("The server sent '" + std::string(GetParam()) +
                           "', a command that this client doesn't know."));
}

INSTANTIATE_TEST_SUITE_P(Words, WordWithoutASender,
                         testing::Values("VnxUtilDataNodeGetRawPtrByRef",
                                         "VnxUtilDataValueGetRawPtrByRef"));

TEST_F(ScriptedEngine, FailedLoadWithoutAWordPointsToTheLog)
{
    peer.say(finished(false));
    EXPECT_EQ(messageOf<LoadFailed>([&] {
                  engine.load({"a", "b"});
              }),
              "Could not load a and 1 more: The loader gave no reason; the server's log may tell "
              "more.");
}

TEST_F(ScriptedEngine, LoadOfAnUnusableDataSetFails)
{
    say([](WriteCache& c) {
        c.addString("VnxUtilDataSetAddZoneX");
        c.addInt(1);
        c.addString("IMAX");
        c.addInt64(-3);
    });
    peer.say(finished(true));
    EXPECT_EQ(messageOf<LoadFailed>([&] { engine.load({"a"}); }),
              "Could not load a: The loader gave the size of zone 1 as -3 x 1 x 1.");
}

TEST_F(ScriptedEngine, SecondLoadStartsAfresh)
{
    peer.say(loadScript());
    engine.load({"a"});
    say([](WriteCache& c) {
        c.addString("VnxUtilDataSetCreate");
        c.addString("second");
        c.addStringVector({});
        c.addInt(1);
    });
    peer.say(finished(true));
    DataSet const& dataSet = engine.load({"b"});
    EXPECT_EQ(dataSet.title, "second");
    EXPECT_TRUE(dataSet.zones.empty());
    EXPECT_EQ(engine.announcement(), nullptr);
}

TEST_F(ScriptedEngine, PathsThatCantTravelAreNotSent)
{
    for (std::vector<std::string> const& paths :
         std::vector<std::vector<std::string>>{{}, {""}, {"a\nb"}})
        EXPECT_THROW(engine.load(paths), Error);
    EXPECT_EQ(heard(), "");
}

TEST_F(ScriptedEngine, SomethingElseThanACommandIsAViolation)
{
    peer.say("HTTP/1.1 400 Bad Request\r\n");
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.load({"a"}); }),
                HasSubstr("characters where at most 256 can be. This was while loading a."));
}

// Values.

TEST_F(LoadedEngine, ReadsSubzonesWithItsGoldenBytes)
{
    peer.say(shapeScript());
    say([](WriteCache& c) { c.addDoubleVector({0.5, 1.5}); });
    std::vector<std::string> received;
    engine.subzoneValues(1, 1, parseSubzones("1"), [&](SubzoneAddress address, Values const& v) {
        received.push_back(textOf(address));
        EXPECT_EQ(std::get<std::vector<double>>(v), (std::vector<double>{0.5, 1.5}));
    });
    EXPECT_EQ(received, std::vector<std::string>{"1"});
    engine.close();
    std::string const answers = cached([](WriteCache& c) { // of the load, still on their way
        c.addString("command finished");
        c.addInt(1);
        c.addInt64Vector({4});
    });
    auto const query = [](std::string const& method) {
        return cached([&](WriteCache& c) {
            c.addString("NodalVarQuery");
            c.addInt(0); // zone and variable count from 0 here
            c.addInt(0);
            c.addString(method);
        });
    };
    std::string const subzones = hex("01 00 00 00 00 00 00 00"   // one subzone:
                                     "00 00 00 10 00 00 00 00"); // partition 0, subzone 1
    std::string const sent = heard();
    std::size_t const start = sent.find(hex("0B 00 00 00 00 00 00 00") + "loaderQuery");
    ASSERT_NE(start, std::string::npos);
    EXPECT_THAT(sent.substr(0, start), testing::EndsWith(answers));
    EXPECT_EQ(sent.substr(start),
              cached([](WriteCache& c) {
                  c.addString("loaderQuery");
                  c.addString("zoneMetadata");
                  c.addUInt32(0); // file set
                  c.addUInt32(0); // file
                  c.addInt32(0);  // zone of the file
              }) + query("setup") +
                  query("checkout") + subzones + query("checkin") + subzones + query("teardown") +
                  cached([](WriteCache& c) { c.addString("close data server"); }));
}

TEST_F(LoadedEngine, ReadsAllSubzonesAndCountsThem)
{
    peer.say(shapeScript());
    say([](WriteCache& c) {
        c.addDoubleVector(std::vector<double>(256, 1));
        c.addDoubleVector(std::vector<double>(44, 2));
    });
    std::size_t total = 0;
    engine.allSubzoneValues(1, 1, [&](SubzoneAddress, Values const& v) { total += count(v); });
    EXPECT_EQ(total, 300U);
}

TEST_F(LoadedEngine, MoreValuesThanTheZoneHasIsAViolation)
{
    peer.say(shapeScript());
    say([](WriteCache& c) {
        c.addDoubleVector(std::vector<double>(256, 1));
        c.addDoubleVector(std::vector<double>(45, 2));
    });
    EXPECT_THAT(messageOf<ProtocolViolation>(
                    [&] { engine.allSubzoneValues(1, 1, [](SubzoneAddress, Values const&) {}); }),
                StartsWith("The server sent more than the 300 values of the zone."));
}

TEST_F(LoadedEngine, FewerValuesThanTheZoneHasIsAnError)
{
    peer.say(shapeScript());
    say([](WriteCache& c) {
        c.addDoubleVector(std::vector<double>(256, 1));
        c.addDoubleVector({});
    });
    EXPECT_EQ(messageOf<Error>(
                  [&] { engine.allSubzoneValues(1, 1, [](SubzoneAddress, Values const&) {}); }),
              "The subzones of variable 1 'p' of zone 1 hold 256 values where the zone has 300.");
}

TEST_F(LoadedEngine, SubzoneOfMoreThanTheLimitIsAViolation)
{
    peer.say(shapeScript());
    say([](WriteCache& c) { c.addDoubleVector(std::vector<double>(257, 1)); });
    EXPECT_THAT(messageOf<ProtocolViolation>([&] {
                    engine.subzoneValues(1, 1, parseSubzones("0"),
                                         [](SubzoneAddress, Values const&) {});
                }),
                StartsWith("The server sent 257 values where at most 256 can be."));
}

TEST_F(LoadedEngine, SubzoneThatDoesNotExistIsNotAskedFor)
{
    peer.say(shapeScript());
    auto const nothing = [](SubzoneAddress, Values const&) {};
    EXPECT_EQ(messageOf<Error>([&] { engine.subzoneValues(1, 1, parseSubzones("2"), nothing); }),
              "There is no node subzone 2 in zone 1: subzones, sections and partitions count from "
              "0, and here there are 2.");
    EXPECT_THROW(engine.subzoneValues(1, 1, parseSubzones("1/0"), nothing), Error);
    EXPECT_THROW(engine.subzoneValues(1, 1, parseSubzones("0/1/0"), nothing), Error);
    EXPECT_EQ(heard().find("NodalVarQuery"), std::string::npos);
}

TEST_F(LoadedEngine, MoreSubzonesThanItemsAllowIsAViolation)
{
    peer.say(shapeScript(4'000'000'000U));
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.shape(1); }),
                HasSubstr("more subzones than it has nodes and cells for"));
}

TEST_F(LoadedEngine, ShapeOfAnotherTypeThanTheLoadersIsAViolation)
{
    peer.say(shapeScript(2, 3));
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.shape(1); }),
                StartsWith("The server described zone 1 as tetrahedra and the loader as bricks."));
}

TEST_F(LoadedEngine, ShapeIsAskedForOnce)
{
    peer.say(shapeScript());
    EXPECT_EQ(engine.shape(1).numNodeSubzones(), 2U);
    heard();
    EXPECT_EQ(engine.shape(1).numCellSubzones(), 1U);
    EXPECT_EQ(heard(), "");
}

class ZonesChangedMeanwhile : public LoadedEngine,
                              public testing::WithParamInterface<std::function<void(WriteCache&)>>
{
};

TEST_P(ZonesChangedMeanwhile, IsAViolation)
{
    say(GetParam());
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.values(1, 2); }),
                StartsWith("The server changed the zones while no data set was being loaded."));
    EXPECT_EQ(engine.dataSet().zones.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Commands, ZonesChangedMeanwhile,
                         testing::Values(
                             [](WriteCache& c) {
                                 c.addString("VnxUtilDataSetCreate");
                                 c.addString("");
                                 c.addStringVector({});
                                 c.addInt(1);
                             },
                             [](WriteCache& c) {
                                 c.addString("VnxUtilDataSetCreateX");
                                 c.addInt(0);
                             },
                             [](WriteCache& c) {
                                 c.addString("VnxUtilDataSetAddZoneX");
                                 c.addInt(0);
                             }));

TEST_F(LoadedEngine, VariableWithoutQueriesPointsToLoadingOnDemand)
{
    EXPECT_FALSE(engine.hasSubzoneValues(1, 2));
    EXPECT_EQ(messageOf<Error>([&] {
                  engine.subzoneValues(1, 2, parseSubzones("0"),
                                       [](SubzoneAddress, Values const&) {});
              }),
              "The variable 2 'q' of zone 1 can't be read by subzones; load it whole, on demand.");
}

TEST_F(LoadedEngine, NumbersOutOfRangeAreErrors)
{
    EXPECT_EQ(messageOf<Error>([&] { engine.values(2, 1); }),
              "There is no zone 2; the data set has 1.");
    EXPECT_EQ(messageOf<Error>([&] { engine.values(0, 1); }),
              "There is no zone 0; the data set has 1.");
    EXPECT_EQ(messageOf<Error>([&] { engine.values(1, 3); }),
              "There is no variable 3 in zone 1; the data set has 2.");
    EXPECT_THROW(engine.values(1, -1), Error);
}

/// One piece of q's values.
void addPiece(WriteCache& c, long offset, long announced, std::vector<unsigned char> const& values)
{
    c.addString("VnxUtilDataValueArraySetByRef");
    c.addInt64(offset);
    c.addInt64(announced);
    c.addUInt8Vector(values);
}

TEST_F(LoadedEngine, LoadsAVariableOnDemandAndUnloadsIt)
{
    say([](WriteCache& c) {
        addPiece(c, 4, 1, {9}); // offsets count from 1
        addPiece(c, 1, 3, {6, 7, 8});
    });
    peer.say(finished(true));
    peer.say(finished(true));
    EXPECT_EQ(std::get<std::vector<std::uint8_t>>(engine.values(1, 2)),
              (std::vector<std::uint8_t>{6, 7, 8, 9}));
    engine.close();
    EXPECT_THAT(heard(), testing::EndsWith(cached([](WriteCache& c) {
                    c.addString("load field data");
                    c.addInt32(1); // zone and variable count from 1 here
                    c.addInt32(2);
                    c.addString("unload field data");
                    c.addInt32(1);
                    c.addInt32(2);
                    c.addString("close data server");
                })));
}

TEST_F(LoadedEngine, LoadOnDemandThatFailsLeavesTheSessionUsable)
{
    say([](WriteCache& c) {
        c.addString("VnxUtilDialogErrMsg");
        c.addString("the disk is on fire");
    });
    peer.say(finished(false));
    EXPECT_EQ(messageOf<Error>([&] { engine.values(1, 2); }),
              "The loader could not load the variable 2 'q' of zone 1: the disk is on fire");
    say([](WriteCache& c) { addPiece(c, 1, 4, {1, 2, 3, 4}); });
    peer.say(finished(true) + finished(true));
    EXPECT_EQ(count(engine.values(1, 2)), 4U);
}

TEST_F(LoadedEngine, VariableThatIsNotLoadedWholeIsAnError)
{
    say([](WriteCache& c) { addPiece(c, 1, 2, {1, 2}); });
    peer.say(finished(true) + finished(true));
    EXPECT_EQ(messageOf<Error>([&] { engine.values(1, 2); }),
              "The loader delivered only 2 of the 4 values of variable 2 'q' of zone 1.");
}

struct Piece
{
    char const* name;
    long offset;
    long announced;
    std::vector<unsigned char> values;
};

class BadPieces : public LoadedEngine, public testing::WithParamInterface<Piece>
{
};

TEST_P(BadPieces, AreViolations)
{
    say([](WriteCache& c) {
        addPiece(c, GetParam().offset, GetParam().announced, GetParam().values);
    });
    peer.say(finished(true));
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.values(1, 2); }),
                HasSubstr("This was while loading variable 2 'q' of zone 1."));
}

Piece const badPieces[] = {{"OffsetZero", 0, 1, {1}},
                           {"OffsetBeyond", 5, 1, {1}},
                           {"NegativeOffset", -(1L << 62), 1, {1}},
                           {"LargestOffset", std::numeric_limits<long>::max(), 1, {1}},
                           {"NegativeCount", 1, -1, {1}},
                           {"CountBeyondTheZone", 1, 5, {1, 2, 3, 4, 5}},
                           {"FewerThanAnnounced", 1, 3, {1, 2}},
                           {"MoreThanAnnounced", 1, 1, {1, 2}}};

INSTANTIATE_TEST_SUITE_P(Pieces, BadPieces, testing::ValuesIn(badPieces),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_F(LoadedEngine, ReportsItsProgress)
{
    std::vector<std::uint64_t> done;
    engine.setProgress([&](Progress const& progress) {
        EXPECT_STREQ(progress.action, "Reading");
        EXPECT_EQ(progress.total, 4U);
        done.push_back(progress.done);
    });
    say([](WriteCache& c) {
        addPiece(c, 1, 3, {1, 2, 3});
        addPiece(c, 4, 1, {4});
    });
    peer.say(finished(true) + finished(true));
    engine.values(1, 2);
    EXPECT_EQ(done, (std::vector<std::uint64_t>{3, 4}));
}

TEST_F(LoadedEngine, ReadsRanges)
{
    peer.say(shapeScript());
    say([](WriteCache& c) {
        c.addDoubleVector({-1, 9});
        c.addDoubleVector({-1, 5, 0, 9});
    });
    auto const partitions = engine.partitionRanges(1, 1);
    ASSERT_EQ(partitions.size(), 1U);
    EXPECT_EQ(partitions[0].max, 9);
    auto const subzones = engine.subzoneRanges(1, 1, 0);
    ASSERT_EQ(subzones.size(), 2U);
    EXPECT_EQ(subzones[1].min, 0);
    EXPECT_THROW(engine.subzoneRanges(1, 1, 1), Error);
    EXPECT_THROW(engine.subzoneRanges(1, 2, 0), Error);
    EXPECT_THROW(engine.partitionRanges(1, 2), Error);
}

TEST_F(LoadedEngine, RangesOfAnotherNumberThanSubzonesAreAViolation)
{
    peer.say(shapeScript());
    say([](WriteCache& c) { c.addDoubleVector({1, 2}); });
    EXPECT_THAT(messageOf<ProtocolViolation>([&] { engine.subzoneRanges(1, 1, 0); }),
                StartsWith("The server sent 2 numbers for 2 ranges."));
}

TEST_F(LoadedEngine, TakerThatThrowsEndsTheSession)
{
    peer.say(shapeScript());
    say([](WriteCache& c) { c.addDoubleVector({0.5}); });
    EXPECT_THROW(engine.subzoneValues(1, 1, parseSubzones("0"),
                                      [](SubzoneAddress, Values const&) { throw 7; }),
                 int);
    EXPECT_THROW(engine.values(1, 1), ConnectionLost);
}

// Sharing.

// Of three zones, variable 1 of the third is the second's and that the first's; variable 2 is
// passive but for the third zone, which shares it with itself.
TEST_F(ScriptedEngine, FollowsSharingToTheSource)
{
    say([](WriteCache& c) {
        c.addString("VnxUtilDataSetCreate");
        c.addString("");
        c.addStringVector({"p", "q"});
        c.addInt(1);
        for (std::vector<int> const& shares : {std::vector<int>{0, 0}, {1, 0}, {2, 3}}) {
            c.addString("VnxUtilDataSetAddZoneX");
            c.addInt(3);
            c.addString("IMAX");
            c.addInt64(2);
            c.addString("ISPASSIVEVAR");
            c.addIntVector({0, shares[1] == 0 ? 1 : 0});
            c.addString("SHAREVARFROMZONE");
            c.addIntVector(shares);
        }
        c.addString("VnxUtilDataValueCustomLOD");
        c.addInt32(1);
        c.addInt32(1);
        for (unsigned const exists : {1U, 0U, 0U, 0U, 0U})
            c.addUInt32(exists);
    });
    peer.say(finished(true));
    engine.load({"a"});
    heard();
    say([](WriteCache& c) {
        c.addString("VnxUtilDataValueArraySetByRef");
        c.addInt64(1);
        c.addInt64(2);
        c.addFloatVector({1, 2});
    });
    peer.say(finished(true));
    EXPECT_EQ(std::get<std::vector<float>>(engine.values(3, 1)), (std::vector<float>{1, 2}));
    EXPECT_THAT(heard(), testing::EndsWith(cached([](WriteCache& c) {
                    c.addString("load field data");
                    c.addInt32(1);
                    c.addInt32(1);
                })));
    EXPECT_EQ(std::get<std::vector<float>>(engine.values(2, 2)), (std::vector<float>{0, 0}))
        << "a passive variable";
    EXPECT_EQ(messageOf<Error>([&] { engine.values(3, 2); }),
              "The variable 2 'q' of zone 3 is shared in a circle.");
    EXPECT_EQ(heard(), "") << "neither needs the server";
}

TEST_F(ScriptedEngine, ManyValuesOfAPassiveVariableAreNotMade)
{
    say([](WriteCache& c) {
        c.addString("VnxUtilDataSetCreate");
        c.addString("");
        c.addStringVector({"p"});
        c.addInt(1);
        for (std::int64_t const count : {(64 << 20) / 4, (64 << 20) / 4 + 1}) {
            c.addString("VnxUtilDataSetAddZoneX");
            c.addInt(2);
            c.addString("IMAX");
            c.addInt64(count);
            c.addString("ISPASSIVEVAR");
            c.addIntVector({1});
        }
    });
    peer.say(finished(true));
    engine.load({"a"});
    EXPECT_EQ(count(engine.values(1, 1)), std::size_t{16} << 20);
    EXPECT_EQ(messageOf<Error>([&] { engine.values(2, 1); }),
              "The variable 1 'p' of zone 2 is passive, and its 16777217 values, all of them 0, are "
              "too many to hold.");
}

TEST_F(ScriptedEngine, TypeThatDoesNotTravelIsAnError)
{
    say([](WriteCache& c) {
        c.addString("VnxUtilDataSetCreate");
        c.addString("");
        c.addStringVector({"flags"});
        c.addInt(1);
        c.addString("VnxUtilDataSetAddZoneX");
        c.addInt(1);
        c.addString("VARDATATYPE");
        c.addIntVector({6});
    });
    peer.say(finished(true));
    engine.load({"a"});
    EXPECT_EQ(messageOf<Error>([&] { engine.values(1, 1); }),
              "The values of variable 1 'flags' of zone 1 are of the type bit, which doesn't "
              "travel.");
}

TEST(Engine, ZerosOfAnAbsurdZoneAreNotMade)
{
    Peer peer;
    Engine engine(peer.takeEngineEnd());
    peer.say(cached([](WriteCache& c) {
        c.addString("VnxUtilDataSetCreate");
        c.addString("");
        c.addStringVector({"p"});
        c.addInt(1);
        c.addString("VnxUtilDataSetAddZoneX");
        c.addInt(2);
        c.addString("IMAX");
        c.addInt64(1L << 50);
        c.addString("ISPASSIVEVAR");
        c.addIntVector({1});
    }));
    peer.say(finished(true));
    engine.load({"a"});
    EXPECT_THAT(messageOf<Error>([&] { engine.values(1, 1); }), HasSubstr("too many to hold"));
}

}
}
