#include "varnox/hdqremote/DataSetRegistrationServer.h"

#include "command/CommandCache.h"
#include "filedata/Messages.h"
#include "query/CellConnectivityQueryServer.h"
#include "query/LoaderServer.h"
#include "query/NodeConnectivityQueryServer.h"
#include "query/OrderedSubzoneQueryServer.h"
#include "query/VarSubzoneQueryServer.h"
#include "query/VarValueQueryServer.h"
#include "query/ZoneVarIDQueryServer.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"
#include "varnox/eqn/ExprInterface.h"

namespace varnox::hdqremote {
namespace {

using namespace tests;
using hdqfsloader::tests::TemporaryFile;

std::string sample(std::string const& name)
{
    return std::string(VNX_SOURCE_DIR) + "/examples/data/" + name + ".hdqfs";
}

std::string const FULL = sample("tankbox_partitions"); // a zone and 9 variables
std::string const GRID = sample("tjunction_grid");     // a zone and 3 variables
std::string const SOLUTION = sample("tjunction_t00");  // 7 variables more
std::string const LATER = sample("tjunction_t05");
std::string const LATEST = sample("tjunction_t10");

constexpr char const* LOADED_MEANWHILE =
    "Another data set was loaded while the add-on answered for zone 0.";

/// All query objects of one zone with one variable.
struct ZoneOfAddon
{
    FakeCells cells;
    FakeNodes nodes;
    FakeOrdered ordered;
    FakeZoneVarID zoneVarID;
    FakeVarValues cellCentered{3, 4};
    FakeVarValues nodal{1, 2};
    FakeVarSubzones subzones;
};

struct RegistrationSession
{
    explicit RegistrationSession(std::string const& script = "") : socket(script) {}

    void registerVar(ZoneOfAddon& zone, int number, int var)
    {
        server.registerVarQueryServices(&zone.cellCentered, &zone.nodal, &zone.subzones, number,
                                        var);
    }

    /// Delivers what was registered, with the types that the client tells for the variables.
    bool deliver(std::vector<int> const& types = {})
    {
        for (int const type : types)
            socket.appendScript(i32(type));
        return cache.finishCachingCommands();
    }

    /// What is announced for the paths when a first zone is registered.
    std::string announcementOf(std::vector<std::string> const& paths)
    {
        server.setFilePaths(paths);
        server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
        return socket.takeSent();
    }

    RecordingSocket socket;
    CommandCache cache{socket, [](std::string const&) {}};
    DataSetRegistrationServer server{socket, cache};
    ZoneOfAddon addon;
};

class DataSetRegistration : public testing::Test, protected RegistrationSession
{
protected:
    std::string failureOfPaths(std::vector<std::string> const& paths)
    {
        hdqio::MessageCapture const quiet;
        return messageOf<DataSetRegistrationServer::Error>([&] { server.setFilePaths(paths); });
    }

    std::string failure(std::function<void()> const& action)
    {
        return messageOf<DataSetRegistrationServer::Error>(action);
    }
};

// What a client needs to know of the subzones: the largest size, and the limits along I, J and K.
std::string const limits = u32(256) + u32(6) + u32(6) + u32(6);

std::string repeated(std::size_t count, std::int64_t value)
{
    return vec(std::vector<std::string>(count, i32(value)));
}

TEST_F(DataSetRegistration, LoneFullFileIsAFileSetOfOneFile)
{
    EXPECT_EQ(announcementOf({FULL}),
              text("registerLoaderQueryService") + limits //
                  + vec({i32(-1)})                        // zoneShareConnectivity
                  + repeated(9, -1)                       // varZoneShareVar of the zone
                  + u32(1) + u32(1) + i32(1) + i32(9)     // one set: a file, a zone, 9 vars
                  + vec({i32(0), i32(1)})                 // fileSetFirstZones
                  + vec({u32(0)}));                       // zoneFileSets
    EXPECT_EQ(socket.numSendCaches(), 1U);
}

TEST_F(DataSetRegistration, SolutionFilesJoinTheGridBeforeThem)
{
    EXPECT_EQ(announcementOf({GRID, SOLUTION, LATER, GRID, LATEST}),
              text("registerLoaderQueryService") + limits //
                  + vec({i32(-1), i32(0), i32(-1)})       //
                  + repeated(10, -1)                      //
                  + vec({i32(0), i32(0), i32(0), i32(-1), i32(-1), i32(-1), i32(-1), i32(-1),
                         i32(-1), i32(-1)}) //
                  + repeated(10, -1)        //
                  + u32(2)                  // two sets, three numbers for each
                  + u32(3) + i32(1) + i32(3) + u32(2) + i32(1) + i32(3) //
                  + vec({i32(0), i32(2), i32(3)}) + vec({u32(0), u32(0), u32(1)}));
}

TEST_F(DataSetRegistration, SharesOfALaterSetCountFromItsFirstZone)
{
    EXPECT_EQ(announcementOf({FULL, GRID, SOLUTION, LATER}),
              text("registerLoaderQueryService") + limits //
                  + vec({i32(-1), i32(-1), i32(1)})       // -1 stays -1
                  + repeated(10, -1)                      // 9 variables and a slot more
                  + repeated(10, -1)                      //
                  + vec({i32(1), i32(1), i32(1), i32(-1), i32(-1), i32(-1), i32(-1), i32(-1),
                         i32(-1), i32(-1)})                                      //
                  + u32(2) + u32(1) + i32(1) + i32(9) + u32(3) + i32(1) + i32(3) //
                  + vec({i32(0), i32(1), i32(3)}) + vec({u32(0), u32(1), u32(1)}));
}

TEST_F(DataSetRegistration, NoPathsGiveNoZones)
{
    server.setFilePaths({});
    EXPECT_EQ(failure([&] { server.cellConnectivityQueryServer(0); }), "Zone 0 does not exist.");
    EXPECT_EQ(failure([&] { server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0); }),
              "Nothing can be registered before a data set has been loaded.");
    EXPECT_EQ(server.loaderServer(), nullptr);
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST_F(DataSetRegistration, FileThatCannotBeOpenedIsAnError)
{
    EXPECT_EQ(failureOfPaths({"/nowhere/a.hdqfs"}),
              "Failed to open file for reading: /nowhere/a.hdqfs");
    EXPECT_EQ(failureOfPaths({""}), "Failed to open file for reading: ");
    EXPECT_EQ(failureOfPaths({GRID, SOLUTION, "/nowhere/a.hdqfs"}),
              "Failed to open file for reading: /nowhere/a.hdqfs");
}

TEST_F(DataSetRegistration, ForeignFileIsAnError)
{
    for (char const* const contents : {"", "solid cube\n", "#!HDQFS"}) {
        TemporaryFile const foreign(contents);
        EXPECT_EQ(failureOfPaths({foreign.path()}),
                  "Failed to read HDQFS header: " + foreign.path());
        EXPECT_EQ(failureOfPaths({FULL, foreign.path()}),
                  "Failed to read HDQFS header: " + foreign.path());
    }
}

TEST_F(DataSetRegistration, LoneSolutionFileIsAnError)
{
    EXPECT_EQ(failureOfPaths({SOLUTION}),
              "Expected a grid file but found a solution file: " + SOLUTION +
                  "\n\nOne or more solution files must be preceded by a grid file.");
}

TEST_F(DataSetRegistration, FileSetsBeforeAFailureStay)
{
    failureOfPaths({FULL, GRID, "/nowhere/a.hdqfs"});
    server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
    std::string const sent = socket.takeSent();
    EXPECT_EQ(sent.substr(sent.size() - 44),
              u32(1) + u32(1) + i32(1) + i32(9) + vec({i32(0), i32(1)}) + vec({u32(0)}));
}

TEST_F(DataSetRegistration, FirstRegistrationAnnouncesTheDataSetOnce)
{
    server.setFilePaths({GRID, SOLUTION, LATER});
    EXPECT_EQ(server.loaderServer(), nullptr);
    server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
    EXPECT_NE(server.loaderServer(), nullptr);
    EXPECT_FALSE(socket.takeSent().empty());
    server.registerZoneVarIDQueryServices(&addon.zoneVarID, 1);
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    EXPECT_TRUE(socket.sent().empty());
}

TEST_F(DataSetRegistration, WhateverIsRegisteredFirstAnnouncesTheDataSet)
{
    std::vector<std::function<void(RegistrationSession&)>> const registrations = {
        [](RegistrationSession& s) {
            s.server.registerZoneConnectivityQueryServices(&s.addon.cells, &s.addon.nodes, 0);
        },
        [](RegistrationSession& s) {
            s.server.registerZoneConnectivityQueryServices(&s.addon.cells, &s.addon.nodes,
                                                           &s.addon.ordered, 0);
        },
        [](RegistrationSession& s) {
            s.server.registerZoneVarIDQueryServices(&s.addon.zoneVarID, 0);
        },
        [](RegistrationSession& s) { s.registerVar(s.addon, 0, 0); },
    };
    for (auto const& registerFirst : registrations) {
        RegistrationSession session;
        session.server.setFilePaths({FULL});
        registerFirst(session);
        EXPECT_EQ(session.socket.sent().substr(0, 34), text("registerLoaderQueryService"));
        EXPECT_TRUE(session.cache.isCachingCommands());
    }
}

TEST_F(DataSetRegistration, WhatWaitsIsDeliveredBeforeTheAnnouncement)
{
    server.setFilePaths({FULL});
    socketutil::WriteCache waiting;
    waiting.addString("waiting");
    cache.appendCache(waiting);
    server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
    EXPECT_EQ(socket.sent().substr(0, 15 + 34),
              text("waiting") + text("registerLoaderQueryService"));
}

TEST_F(DataSetRegistration, EachRegistrationIsItsGoldenBytes)
{
    server.setFilePaths({GRID, SOLUTION, LATER});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    socket.takeSent();
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, &addon.ordered, 1);
    server.registerZoneVarIDQueryServices(&addon.zoneVarID, 1);
    registerVar(addon, 0, 9);
    EXPECT_TRUE(socket.sent().empty());
    EXPECT_TRUE(deliver({1}));
    EXPECT_EQ(socket.sent(),
              hex("23 00 00 00 00 00 00 00") + "registerFEConnectivityQueryServices" +
                  hex("00 00 00 00") + text("registerCellConnectivityQueryServices") +
                  hex("01 00 00 00") + text("registerZoneVarIDQueryServices") + hex("01 00 00 00") +
                  text("registerVarQueryServices") +
                  hex("00 00 00 00 09 00 00 00"                          // zone, variable
                      "00 00 00 00 00 00 f0 3f 00 00 00 00 00 00 00 40"  // nodal: 1 to 2
                      "00 00 00 00 00 00 08 40 00 00 00 00 00 00 10 40") // cell-centred: 3 to 4
    );
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(DataSetRegistration, RangesAreAskedForNodalFirst)
{
    struct Ordering : FakeVarValues
    {
        explicit Ordering(std::string& sequence, char const* own) : all(sequence), name(own) {}
        void minMax(double&, double&) override { all += name; }
        std::string& all;
        char const* name;
    };
    std::string sequence;
    Ordering cellCentered(sequence, "cells ");
    Ordering nodal(sequence, "nodes ");
    server.setFilePaths({FULL});
    server.registerVarQueryServices(&cellCentered, &nodal, &addon.subzones, 0, 0);
    EXPECT_EQ(sequence, "nodes cells ");
}

TEST_F(DataSetRegistration, VariableIsServedOnceTheClientHasToldItsType)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    registerVar(addon, 0, 8);
    EXPECT_EQ(server.nodalVarQueryServer(0, 8), nullptr);
    EXPECT_TRUE(deliver({FieldDataType_Int16}));
    ASSERT_NE(server.nodalVarQueryServer(0, 8), nullptr);
    ASSERT_NE(server.cellCenteredVarQueryServer(0, 8), nullptr);
    ASSERT_NE(server.varSubzoneQueryServer(0, 8), nullptr);
    EXPECT_EQ(server.nodalVarQueryServer(0, 7), nullptr);

    socket.takeSent();
    addon.nodes.sizeOf = [](Subzone) { return static_cast<unsigned short>(2); };
    addon.cells.subzoneSize = 1;
    socket.appendScript(text("checkout") + vec({u64(0x20)}) + text("checkout") + vec({u64(0x20)}) +
                        text("partitionMinMaxes"));
    server.nodalVarQueryServer(0, 8)->handleMethod();
    EXPECT_EQ(socket.takeSent(), vec({hex("00 00"), hex("01 00")}));
    EXPECT_EQ(addon.nodal.capacity, 256U); // the limit of the file set
    server.cellCenteredVarQueryServer(0, 8)->handleMethod();
    EXPECT_EQ(socket.takeSent(), vec({hex("00 00")}));
    server.varSubzoneQueryServer(0, 8)->handleMethod();
    EXPECT_EQ(addon.subzones.calls, std::vector<std::string>{"partitionMinMaxes"});
}

TEST_F(DataSetRegistration, VariableOfAZoneThatSharesIsServedWithTheOthersConnectivity)
{
    ZoneOfAddon first;
    server.setFilePaths({GRID, SOLUTION, LATER}); // the second zone shares with the first
    server.registerZoneConnectivityQueryServices(&first.cells, &first.nodes, 0);
    registerVar(addon, 1, 0);
    EXPECT_TRUE(deliver({FieldDataType_Float}));
    socket.appendScript(text("checkout") + vec({u64(0x20)}) + text("checkout") + vec({u64(0x20)}));
    server.nodalVarQueryServer(1, 0)->handleMethod();
    server.cellCenteredVarQueryServer(1, 0)->handleMethod();
    EXPECT_EQ(first.nodes.calls, std::vector<std::string>{"size 20"});
    EXPECT_EQ(first.cells.calls, std::vector<std::string>{"size 20"});
}

TEST_F(DataSetRegistration, VariableWithoutConnectivityIsAnError)
{
    server.setFilePaths({FULL});
    registerVar(addon, 0, 0);
    EXPECT_EQ(failure([&] { deliver({1}); }),
              "The connectivity of zone 0 must be registered before its variables.");
}

TEST_F(DataSetRegistration, RegistrationBeyondTheDataSetAddsSlotsForAllZones)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 2);
    EXPECT_EQ(server.cellConnectivityQueryServer(1), nullptr);
    EXPECT_NE(server.cellConnectivityQueryServer(2), nullptr);
    registerVar(addon, 2, 12);
    EXPECT_TRUE(deliver({1}));
    EXPECT_NE(server.nodalVarQueryServer(2, 12), nullptr);
    EXPECT_EQ(server.nodalVarQueryServer(0, 12), nullptr);
    EXPECT_EQ(failure([&] { server.nodalVarQueryServer(0, 13); }),
              "Zone 0 does not exist for var 13.");
}

TEST_F(DataSetRegistration, NumbersThatCannotBeTakeNoMemory)
{
    server.setFilePaths({FULL});
    EXPECT_EQ(failure([&] {
                  server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, -1);
              }),
              "Zone -1 does not exist.");
    EXPECT_EQ(failure([&] { server.registerZoneVarIDQueryServices(&addon.zoneVarID, 2147483647); }),
              "Zone 2147483647 does not exist.");
    EXPECT_EQ(failure([&] { registerVar(addon, 0, -1); }), "Zone 0 does not exist for var -1.");
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    registerVar(addon, 0, 2'000'000);
    EXPECT_EQ(failure([&] { deliver({1}); }), "Variable 2000000 does not exist.");
}

TEST_F(DataSetRegistration, ObjectsThatAreMissingAreErrors)
{
    server.setFilePaths({FULL});
    ZoneOfAddon& a = addon;
    std::vector<std::function<void()>> const registrations = {
        [&] { server.registerZoneConnectivityQueryServices(nullptr, &a.nodes, 0); },
        [&] { server.registerZoneConnectivityQueryServices(&a.cells, nullptr, 0); },
        [&] { server.registerZoneConnectivityQueryServices(nullptr, &a.nodes, &a.ordered, 0); },
        [&] { server.registerZoneConnectivityQueryServices(&a.cells, nullptr, &a.ordered, 0); },
        [&] { server.registerZoneConnectivityQueryServices(&a.cells, &a.nodes, nullptr, 0); },
        [&] { server.registerZoneVarIDQueryServices(nullptr, 0); },
        [&] { server.registerVarQueryServices(nullptr, &a.nodal, &a.subzones, 0, 0); },
        [&] { server.registerVarQueryServices(&a.cellCentered, nullptr, &a.subzones, 0, 0); },
        [&] { server.registerVarQueryServices(&a.cellCentered, &a.nodal, nullptr, 0, 0); },
    };
    for (std::function<void()> const& registerIt : registrations)
        EXPECT_EQ(failure(registerIt), "A query object of zone 0 is missing.");
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST_F(DataSetRegistration, ManyVariablesOfOneOfManyZonesTakeNoMemory)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    registerVar(addon, 0, 900'000);
    EXPECT_TRUE(deliver({1})); // so many of one zone are few
    EXPECT_EQ(server.nodalVarQueryServer(0, 899'999), nullptr);
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 999);
    registerVar(addon, 999, 0);
    EXPECT_EQ(failure([&] { deliver({1}); }), "nothing was thrown");
    registerVar(addon, 999, 900'001);
    EXPECT_EQ(failure([&] { deliver({1}); }),
              "The data set would have 900002 variables for each of 1000 zones, of which most have "
              "far fewer.");
    EXPECT_EQ(failure([&] { server.nodalVarQueryServer(999, 900'001); }),
              "Zone 999 does not exist for var 900001.");
}

TEST_F(DataSetRegistration, ZoneBehindTheOthersGetsTheSlotsOfAll)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 1);
    registerVar(addon, 1, 2);
    EXPECT_TRUE(deliver({1}));
    EXPECT_NE(server.nodalVarQueryServer(1, 2), nullptr);
    EXPECT_EQ(failure([&] { server.nodalVarQueryServer(1, 3); }),
              "Zone 1 does not exist for var 3.");
    registerVar(addon, 0, 9);
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    EXPECT_TRUE(deliver({1}));
    EXPECT_EQ(server.nodalVarQueryServer(1, 9), nullptr);
}

TEST_F(DataSetRegistration, RegistrationAgainReplacesTheServer)
{
    FakeCells others;
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    server.registerZoneConnectivityQueryServices(&others, &addon.nodes, 0);
    EXPECT_EQ(&server.cellConnectivityQueryServer(0)->queryInterface(), &others);
}

TEST_F(DataSetRegistration, RegistrationAgainReleasesTheServersBefore)
{
    server.setFilePaths({FULL});
    std::vector<std::weak_ptr<void>> before;
    auto const keepTrackOf = [&](auto* made) { before.emplace_back(made->shared_from_this()); };
    for (bool const isAgain : {false, true}) {
        server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, &addon.ordered, 0);
        server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
        registerVar(addon, 0, 3);
        EXPECT_TRUE(deliver({FieldDataType_Float}));
        if (isAgain)
            break;
        keepTrackOf(server.cellConnectivityQueryServer(0));
        keepTrackOf(server.nodeConnectivityQueryServer(0));
        keepTrackOf(server.orderedSubzoneQueryServer(0));
        keepTrackOf(server.zoneVarIDQueryServer(0));
        keepTrackOf(server.nodalVarQueryServer(0, 3));
        keepTrackOf(server.cellCenteredVarQueryServer(0, 3));
        keepTrackOf(server.varSubzoneQueryServer(0, 3));
    }
    for (std::size_t i = 0; i < before.size(); ++i)
        EXPECT_TRUE(before[i].expired()) << i;
}

TEST_F(DataSetRegistration, VariableKeepsTheConnectivityItWasRegisteredWith)
{
    ZoneOfAddon other;
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    registerVar(addon, 0, 3);
    EXPECT_TRUE(deliver({FieldDataType_Float}));
    server.registerZoneConnectivityQueryServices(&other.cells, &other.nodes, 0);
    socket.appendScript(text("checkout") + vec({u64(0x20)}) + text("checkout") + vec({u64(0x20)}));
    server.nodalVarQueryServer(0, 3)->handleMethod();
    server.cellCenteredVarQueryServer(0, 3)->handleMethod();
    EXPECT_EQ(addon.nodes.calls, std::vector<std::string>{"size 20"});
    EXPECT_EQ(addon.cells.calls, std::vector<std::string>{"size 20"});
}

/// A server that is asked for something, and loses its place while the add-on answers.
class ServerThatGoesMeanwhile : public DataSetRegistration
{
protected:
    void registerAll()
    {
        server.setFilePaths({FULL});
        server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, &addon.ordered, 0);
        server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
        registerVar(addon, 0, 3);
        EXPECT_TRUE(deliver({FieldDataType_Float}));
        socket.takeSent();
    }

    template <typename Server>
    void expectToFinish(Server* asked, CallLog& object, std::string const& request,
                        std::string const& answer)
    {
        std::weak_ptr<Server> const alive = asked->weak_from_this();
        bool wasAlive = false;
        object.meanwhile = [&] {
            server.setFilePaths({FULL});
            wasAlive = !alive.expired();
        };
        socket.appendScript(request);
        asked->handleMethod();
        object.meanwhile = [] {};
        EXPECT_TRUE(wasAlive) << request;
        EXPECT_TRUE(alive.expired()) << request;
        EXPECT_EQ(socket.takeSent(), answer) << request;
    }
};

TEST_F(ServerThatGoesMeanwhile, FinishesItsAnswer)
{
    std::string const checkout = text("checkout") + vec({u64(0x20)});
    registerAll();
    expectToFinish(server.cellConnectivityQueryServer(0), addon.cells, text("numSubzones"), i64(0));
    registerAll();
    expectToFinish(server.nodeConnectivityQueryServer(0), addon.nodes, checkout, u16(0) + vec({}));
    registerAll();
    expectToFinish(server.orderedSubzoneQueryServer(0), addon.ordered,
                   text("findIJKPlaneCellSubzones") + i32(0) + i64(0), vec({}));
    registerAll();
    expectToFinish(server.zoneVarIDQueryServer(0), addon.zoneVarID, text("varExists") + u64(1),
                   u8(0));
    registerAll();
    expectToFinish(server.nodalVarQueryServer(0, 3), addon.nodal, checkout, vec({}));
    registerAll();
    expectToFinish(server.cellCenteredVarQueryServer(0, 3), addon.cellCentered, checkout, vec({}));
    registerAll();
    expectToFinish(server.varSubzoneQueryServer(0, 3), addon.subzones, text("partitionMinMaxes"),
                   vec({}));
}

TEST_F(DataSetRegistration, OrderedZoneHasAllThreeServers)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, &addon.ordered, 0);
    EXPECT_TRUE(server.cellConnectivityQueryServer(0)->isOrdered());
    EXPECT_EQ(&server.nodeConnectivityQueryServer(0)->queryInterface(), &addon.nodes);
    EXPECT_EQ(&server.orderedSubzoneQueryServer(0)->queryInterface(), &addon.ordered);
}

TEST_F(DataSetRegistration, OrderedZoneAnswersACheckoutOfItsNodesAlone)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, &addon.ordered, 0);
    socket.takeSent();
    socket.appendScript(text("checkout") + u8(1) + vec({u64(0x20)}) + text("checkout") +
                        vec({u64(0x20)}));
    server.cellConnectivityQueryServer(0)->handleMethod();
    EXPECT_EQ(socket.takeSent(), "");
    server.nodeConnectivityQueryServer(0)->handleMethod();
    EXPECT_EQ(socket.takeSent(), u16(0) + vec({}));
}

TEST_F(DataSetRegistration, SlotWithoutAServerIsNullWithoutAnError)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    EXPECT_FALSE(server.cellConnectivityQueryServer(0)->isOrdered());
    EXPECT_EQ(server.orderedSubzoneQueryServer(0), nullptr);
    EXPECT_EQ(server.zoneVarIDQueryServer(0), nullptr);
    EXPECT_EQ(server.nodalVarQueryServer(0, 8), nullptr);
    EXPECT_EQ(server.cellCenteredVarQueryServer(0, 8), nullptr);
    EXPECT_EQ(server.varSubzoneQueryServer(0, 8), nullptr);
}

TEST_F(DataSetRegistration, LookupsOutOfRangeAreErrors)
{
    server.setFilePaths({FULL});
    for (int const zone : {1, -1, -2147483647 - 1, 2147483647}) {
        std::string const noZone = "Zone " + std::to_string(zone) + " does not exist.";
        EXPECT_EQ(failure([&] { server.cellConnectivityQueryServer(zone); }), noZone);
        EXPECT_EQ(failure([&] { server.nodeConnectivityQueryServer(zone); }), noZone);
        EXPECT_EQ(failure([&] { server.orderedSubzoneQueryServer(zone); }), noZone);
        EXPECT_EQ(failure([&] { server.zoneVarIDQueryServer(zone); }), noZone);
        EXPECT_EQ(failure([&] { server.nodalVarQueryServer(zone, 0); }), noZone);
        EXPECT_EQ(failure([&] { server.cellCenteredVarQueryServer(zone, 0); }), noZone);
        EXPECT_EQ(failure([&] { server.varSubzoneQueryServer(zone, 0); }), noZone);
    }
    for (int const var : {9, -1, 2147483647}) {
        std::string const noVar = "Zone 0 does not exist for var " + std::to_string(var) + ".";
        EXPECT_EQ(failure([&] { server.nodalVarQueryServer(0, var); }), noVar);
        EXPECT_EQ(failure([&] { server.cellCenteredVarQueryServer(0, var); }), noVar);
        EXPECT_EQ(failure([&] { server.varSubzoneQueryServer(0, var); }), noVar);
    }
}

TEST_F(DataSetRegistration, NextDataSetStartsAfresh)
{
    std::string const first = announcementOf({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    deliver();
    server.setFilePaths({GRID, SOLUTION, LATER, LATEST});
    EXPECT_EQ(server.loaderServer(), nullptr);
    EXPECT_EQ(server.zoneVarIDQueryServer(0), nullptr);
    EXPECT_EQ(server.cellConnectivityQueryServer(2), nullptr);
    socket.takeSent();
    EXPECT_EQ(announcementOf({FULL}), first);
    EXPECT_EQ(failure([&] { server.cellConnectivityQueryServer(1); }), "Zone 1 does not exist.");
}

TEST_F(DataSetRegistration, DataSetLoadedDuringTheAnnouncementIsTheOneAnnounced)
{
    std::string const expected = announcementOf({FULL});
    std::vector<std::function<void(RegistrationSession&)>> const registrations = {
        [](RegistrationSession& s) {
            s.server.registerZoneVarIDQueryServices(&s.addon.zoneVarID, 0);
        },
        [](RegistrationSession& s) {
            s.server.registerZoneConnectivityQueryServices(&s.addon.cells, &s.addon.nodes, 0);
        },
        [](RegistrationSession& s) {
            s.server.registerZoneConnectivityQueryServices(&s.addon.cells, &s.addon.nodes,
                                                           &s.addon.ordered, 0);
        },
        [](RegistrationSession& s) { s.registerVar(s.addon, 0, 0); },
    };
    for (auto const& registerFirst : registrations) {
        RegistrationSession session;
        session.server.setFilePaths({GRID, SOLUTION, LATER});
        session.cache.beginCachingCommands();
        session.cache.addReceiveRoutine([&] {
            session.server.setFilePaths({FULL});
            return true;
        });
        registerFirst(session);
        EXPECT_EQ(session.socket.sent(), expected);
    }
}

TEST_F(DataSetRegistration, ZoneThatADataSetLoadedMeanwhileLacksGetsASlot)
{
    server.setFilePaths({GRID, SOLUTION, LATER});
    cache.beginCachingCommands();
    cache.addReceiveRoutine([&] {
        server.setFilePaths({});
        server.setFilePaths({FULL});
        return true;
    });
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 1);
    EXPECT_EQ(server.cellConnectivityQueryServer(0), nullptr);
    EXPECT_NE(server.cellConnectivityQueryServer(1), nullptr);
}

TEST_F(DataSetRegistration, VariableThatWaitsForItsTypeDoesNotPassToTheNextDataSet)
{
    ZoneOfAddon next;
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    registerVar(addon, 0, 0);
    server.setFilePaths({GRID, SOLUTION});
    socket.appendScript(i32(FieldDataType_Float));
    server.registerZoneConnectivityQueryServices(&next.cells, &next.nodes, 0); // delivers the rest
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_EQ(server.nodalVarQueryServer(0, 0), nullptr);
    registerVar(next, 0, 0);
    EXPECT_TRUE(deliver({FieldDataType_Float}));
    EXPECT_NE(server.nodalVarQueryServer(0, 0), nullptr);
}

TEST_F(DataSetRegistration, CalculatedVariableGivesAllZonesASlot)
{
    server.setFilePaths({GRID, SOLUTION, LATER});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    deliver();
    socket.takeSent();
    std::size_t const before = socket.numOperations();
    EXPECT_EQ(server.registerCalcVarQueryServices(&addon.cellCentered, &addon.nodal,
                                                  &addon.subzones, FieldDataType_Double, 1),
              10);
    EXPECT_EQ(socket.numOperations(), before); // nothing is sent
    EXPECT_NE(server.nodalVarQueryServer(1, 10), nullptr);
    EXPECT_NE(server.cellCenteredVarQueryServer(1, 10), nullptr);
    EXPECT_NE(server.varSubzoneQueryServer(1, 10), nullptr);
    EXPECT_EQ(server.nodalVarQueryServer(0, 10), nullptr);
    EXPECT_EQ(failure([&] {
                  server.registerCalcVarQueryServices(&addon.cellCentered, &addon.nodal,
                                                      &addon.subzones, FieldDataType_Double, 2);
              }),
              "Zone 2 does not exist.");
}

struct CalculatedVariableSession : RegistrationSession
{
    CalculatedVariableSession()
    {
        server.setFilePaths({FULL});
        server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
        server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
        deliver();
        socket.takeSent();
        addon.zoneVarID.calculatedCellCentered = &addon.cellCentered;
        addon.zoneVarID.calculatedNodal = &addon.nodal;
        addon.zoneVarID.calculatedRanges = &addon.subzones;
    }

    /// The client's creation of a variable; gives what was answered.
    std::string create(std::string const& expression)
    {
        socket.appendScript(text("createCalcVar") + u64(~6ULL) + i32(-5) +
                            i32(FieldDataType_Int32) + expression);
        server.zoneVarIDQueryServer(0)->handleMethod();
        return socket.takeSent();
    }

    std::string failure(std::function<void()> const& action)
    {
        return messageOf<DataSetRegistrationServer::Error>(action);
    }

    // id 9: variable 5, its sine
    std::string const sine = u64(9) + u8(10) + u64(5) + u8(4) + u8(2) + u8(255);
};

class CalculatedVariable : public testing::Test, protected CalculatedVariableSession
{
};

TEST_F(CalculatedVariable, DoesNotPassToTheNextDataSet)
{
    addon.zoneVarID.meanwhile = [&] {
        server.setFilePaths({FULL});
        server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
        server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
        deliver();
        socket.takeSent();
    };
    EXPECT_EQ(failure([&] { create(sine); }), LOADED_MEANWHILE);
    addon.zoneVarID.meanwhile = [] {};
    EXPECT_EQ(failure([&] { server.nodalVarQueryServer(0, 9); }),
              "Zone 0 does not exist for var 9.");
    EXPECT_EQ(create(sine), i32(9) + f64(1) + f64(2) + f64(3) + f64(4));
}

TEST_F(CalculatedVariable, IsMadeByTheAddonAndAnsweredWithItsNumberAndRanges)
{
    EXPECT_EQ(create(sine), i32(9) + f64(1) + f64(2) + f64(3) + f64(4));
    EXPECT_EQ(addon.zoneVarID.calls, std::vector<std::string>{"createCalcVar -7 -5 3"});
    EXPECT_TRUE(socket.allWasRead());
    ASSERT_NE(addon.zoneVarID.expression, nullptr);
    EXPECT_EQ(addon.zoneVarID.expression->exprUniqueID(), 9U);
    EXPECT_EQ(addon.zoneVarID.expression.use_count(), 1); // the add-on alone keeps it
    EXPECT_EQ(create(sine), i32(10) + f64(1) + f64(2) + f64(3) + f64(4));
}

TEST_F(CalculatedVariable, IsServedInTheTypeOfItsRequest)
{
    create(sine);
    addon.nodes.sizeOf = [](Subzone) { return std::uint16_t{2}; };
    addon.nodal.valueOf = [](Item item) { return item.itemOffset() + 0.75; };
    socket.appendScript(text("checkout") + vec({u64(0)}));
    server.nodalVarQueryServer(0, 9)->handleMethod();
    EXPECT_EQ(socket.takeSent(), vec({i32(0), i32(1)}));
}

TEST_F(CalculatedVariable, DamagedExpressionReachesNoAddonAndRegistersNothing)
{
    std::string const damaged = u64(9) + u8(4) + u8(2) + u8(255);
    EXPECT_EQ(messageOf<IOException>([&] { create(damaged); }),
              "The expression is damaged: a node has fewer operands than it needs.");
    EXPECT_TRUE(addon.zoneVarID.calls.empty());
    EXPECT_EQ(failure([&] { server.nodalVarQueryServer(0, 9); }),
              "Zone 0 does not exist for var 9.");
    EXPECT_TRUE(socket.sent().empty());
}

TEST_F(CalculatedVariable, WithoutAllThreeQueryObjectsIsAnError)
{
    std::string const none =
        "The add-on made no query objects for a calculated variable of zone 0.";
    FakeZoneVarID& fake = addon.zoneVarID;
    fake.calculatedCellCentered = nullptr;
    EXPECT_EQ(failure([&] { create(sine); }), none);
    fake.calculatedCellCentered = &addon.cellCentered;
    fake.calculatedNodal = nullptr;
    EXPECT_EQ(failure([&] { create(sine); }), none);
    fake.calculatedNodal = &addon.nodal;
    fake.calculatedRanges = nullptr;
    EXPECT_EQ(failure([&] { create(sine); }), none);
    EXPECT_EQ(failure([&] { server.nodalVarQueryServer(0, 9); }),
              "Zone 0 does not exist for var 9.");
    EXPECT_TRUE(socket.sent().empty());
}

TEST_F(CalculatedVariable, EveryFailureOfTheConnectionPasses)
{
    // string, id, two numbers, expression of 6 items, answer
    for (std::size_t n = 0; n < 11; ++n) {
        CalculatedVariableSession session;
        session.socket.failAt(n);
        EXPECT_THROW(session.create(sine), socketutil::SocketException) << "operation " << n;
        EXPECT_TRUE(session.socket.sent().empty());
    }
}

TEST_F(CalculatedVariable, IsNotRegisteredIfTheAddonFails)
{
    addon.zoneVarID.failing = "createCalcVar";
    EXPECT_EQ(messageOf<std::runtime_error>([&] { create(sine); }), "the add-on has failed");
    EXPECT_EQ(failure([&] { server.nodalVarQueryServer(0, 9); }),
              "Zone 0 does not exist for var 9.");
    EXPECT_TRUE(socket.sent().empty());
}

TEST_F(CalculatedVariable, IsAskedForItsRangeAtNodesFirst)
{
    addon.nodal.failing = "minMax";
    EXPECT_EQ(messageOf<std::runtime_error>([&] { create(sine); }), "the add-on has failed");
    EXPECT_EQ(addon.nodal.calls, std::vector<std::string>{"minMax"});
    EXPECT_TRUE(addon.cellCentered.calls.empty());
    EXPECT_NE(server.nodalVarQueryServer(0, 9), nullptr); // the servers stand already
    EXPECT_TRUE(socket.sent().empty());
}

class DuplicatedZone : public DataSetRegistration
{
protected:
    void SetUp() override
    {
        server.setFilePaths({FULL});
        server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, &addon.ordered, 0);
        server.registerZoneVarIDQueryServices(&addon.zoneVarID, 0);
        registerVar(addon, 0, 3);
        deliver({FieldDataType_Float});
        socket.takeSent();
        addon.zoneVarID.copy = &copy.zoneVarID;
        copy.zoneVarID.copy = &copyOfCopy.zoneVarID;
    }

    /// The client's duplication of a zone; gives what was answered.
    std::string duplicate(int zone)
    {
        socket.appendScript(text("duplicate"));
        server.zoneVarIDQueryServer(zone)->handleMethod();
        return socket.takeSent();
    }

    ZoneOfAddon copy;
    ZoneOfAddon copyOfCopy;
};

TEST_F(DuplicatedZone, HasTheNextNumber)
{
    EXPECT_EQ(duplicate(0), i32(1));
    EXPECT_EQ(duplicate(0), i32(2));
    EXPECT_EQ(addon.zoneVarID.calls, (std::vector<std::string>{"duplicate", "duplicate"}));
}

TEST_F(DuplicatedZone, HasServersOfItsOwnOverTheSameConnectivity)
{
    duplicate(0);
    EXPECT_NE(server.cellConnectivityQueryServer(1), server.cellConnectivityQueryServer(0));
    EXPECT_EQ(&server.cellConnectivityQueryServer(1)->queryInterface(), &addon.cells);
    EXPECT_TRUE(server.cellConnectivityQueryServer(1)->isOrdered());
    EXPECT_NE(server.nodeConnectivityQueryServer(1), server.nodeConnectivityQueryServer(0));
    EXPECT_EQ(&server.nodeConnectivityQueryServer(1)->queryInterface(), &addon.nodes);
    EXPECT_NE(server.orderedSubzoneQueryServer(1), server.orderedSubzoneQueryServer(0));
    EXPECT_EQ(&server.orderedSubzoneQueryServer(1)->queryInterface(), &addon.ordered);
    EXPECT_EQ(&server.zoneVarIDQueryServer(1)->queryInterface(), &copy.zoneVarID);
}

TEST_F(DuplicatedZone, HasTheVeryVariableServersOfItsSource)
{
    duplicate(0);
    EXPECT_NE(server.nodalVarQueryServer(1, 3), nullptr);
    EXPECT_EQ(server.nodalVarQueryServer(1, 3), server.nodalVarQueryServer(0, 3));
    EXPECT_EQ(server.cellCenteredVarQueryServer(1, 3), server.cellCenteredVarQueryServer(0, 3));
    EXPECT_EQ(server.varSubzoneQueryServer(1, 3), server.varSubzoneQueryServer(0, 3));
    EXPECT_EQ(server.nodalVarQueryServer(1, 8), nullptr);
    socket.appendScript(text("setup") + text("setup"));
    server.nodalVarQueryServer(0, 3)->handleMethod();
    server.nodalVarQueryServer(1, 3)->handleMethod();
    EXPECT_EQ(addon.nodal.calls, (std::vector<std::string>{"minMax", "setup", "setup"}));
}

TEST_F(DuplicatedZone, DoesNotPassToTheNextDataSet)
{
    addon.zoneVarID.meanwhile = [&] { SetUp(); };
    EXPECT_EQ(failure([&] { duplicate(0); }), LOADED_MEANWHILE);
    addon.zoneVarID.meanwhile = [] {};
    EXPECT_EQ(failure([&] { server.zoneVarIDQueryServer(1); }), "Zone 1 does not exist.");
    EXPECT_EQ(duplicate(0), i32(1));
}

TEST_F(DuplicatedZone, KeepsAVariableThatIsReplacedInItsSource)
{
    duplicate(0);
    duplicate(0);
    std::weak_ptr<void> const shared = server.nodalVarQueryServer(0, 3)->weak_from_this();
    for (int const zone : {0, 2, 1}) {
        EXPECT_FALSE(shared.expired()) << zone;
        EXPECT_EQ(server.nodalVarQueryServer(1, 3), shared.lock().get());
        registerVar(copy, zone, 3);
        EXPECT_TRUE(deliver({FieldDataType_Float}));
    }
    EXPECT_TRUE(shared.expired());
    socket.appendScript(text("setup") + text("setup") + text("setup"));
    for (int const zone : {0, 1, 2})
        server.nodalVarQueryServer(zone, 3)->handleMethod();
    EXPECT_EQ(copy.nodal.calls,
              (std::vector<std::string>{"minMax", "minMax", "minMax", "setup", "setup", "setup"}));
    EXPECT_EQ(addon.nodal.calls, std::vector<std::string>{"minMax"});
}

TEST_F(DuplicatedZone, SharesWithTheFirstSourceThoughItIsACopyOfACopy)
{
    duplicate(0);
    EXPECT_EQ(duplicate(1), i32(2));
    server.handleLoaderMetadataRequest();
    // The first zone shares with none. Its copy shares the variables with it, and the copy's copy
    // what the copy shares.
    EXPECT_EQ(socket.sent(), text("registerLoaderQueryService") + limits +
                                 vec({i32(-1), i32(0), i32(0)}) + repeated(9, -1) + repeated(9, 0) +
                                 repeated(9, 0) + u32(1) + u32(1) + i32(1) + i32(9) +
                                 vec({i32(0), i32(1)}) + vec({u32(0), u32(0), u32(0)}));
}

TEST_F(DuplicatedZone, OfAFiniteElementZoneHasNoOrderedServer)
{
    server.setFilePaths({FULL});
    server.registerZoneConnectivityQueryServices(&addon.cells, &addon.nodes, 0);
    EXPECT_EQ(server.createDuplicateZoneVarIDQueryService(0, &copy.zoneVarID), 1);
    EXPECT_FALSE(server.cellConnectivityQueryServer(1)->isOrdered());
    EXPECT_EQ(server.orderedSubzoneQueryServer(1), nullptr);
}

TEST_F(DuplicatedZone, NewVariableOfTheCopyUsesTheSourcesConnectivity)
{
    duplicate(0);
    EXPECT_EQ(server.registerCalcVarQueryServices(&copy.cellCentered, &copy.nodal, &copy.subzones,
                                                  FieldDataType_Float, 1),
              9);
    socket.appendScript(text("checkout") + vec({u64(0x20)}));
    server.nodalVarQueryServer(1, 9)->handleMethod();
    EXPECT_EQ(addon.nodes.calls, std::vector<std::string>{"size 20"});
}

TEST_F(DuplicatedZone, NewVariableOfTheCopyIsSharedWithNone)
{
    duplicate(0);
    server.registerCalcVarQueryServices(&copy.cellCentered, &copy.nodal, &copy.subzones,
                                        FieldDataType_Float, 1);
    server.handleLoaderMetadataRequest();
    std::string const start =
        text("registerLoaderQueryService") + limits + vec({i32(-1), i32(0)}) + repeated(10, -1) +
        vec({i32(0), i32(0), i32(0), i32(0), i32(0), i32(0), i32(0), i32(0), i32(0), i32(-1)});
    EXPECT_EQ(socket.sent().substr(0, start.size()), start);
}

TEST_F(DuplicatedZone, CannotBeOfNothing)
{
    addon.zoneVarID.copy = nullptr;
    EXPECT_EQ(failure([&] { duplicate(0); }), "Zone 0 was not duplicated.");
    EXPECT_EQ(failure([&] { server.createDuplicateZoneVarIDQueryService(5, &copy.zoneVarID); }),
              "Zone 5 does not exist.");
    EXPECT_TRUE(socket.sent().empty());
}

class ZoneMetadataRequest : public DataSetRegistration
{
protected:
    void SetUp() override { announcementOf({FULL, GRID, SOLUTION}); }

    std::string answerTo(std::string const& method, unsigned fileSet, unsigned file, int zone)
    {
        socket.appendScript(text(method) + u32(fileSet) + u32(file) + i32(zone));
        server.loaderServer()->handleMethod();
        EXPECT_TRUE(socket.allWasRead());
        return socket.takeSent();
    }
};

TEST_F(ZoneMetadataRequest, OfABrickZoneIsItsGoldenBytes)
{
    std::size_t const sendsBefore = socket.numSendCaches();
    std::string const answer = answerTo("zoneMetadata", 1, 1, 0);
    std::string const start = i32(4) + u8(1) + i64(5616) + i64(3875) +
                              i64(6)                                // a brick zone in subzones
                              + u32(1)                              // one partition:
                              + vec({i64(3875)}) + vec({i64(5616)}) // cells, nodes
                              + vec({u32(16)}) + vec({u32(22)})     // subzones of cells, of nodes
                              + i32(7);                             // variables with ranges
    EXPECT_EQ(answer.substr(0, start.size()), start);
    EXPECT_EQ(answer.size(), start.size() + 7 * 16);
    EXPECT_EQ(socket.numSendCaches(), sendsBefore + 1);
}

TEST_F(ZoneMetadataRequest, IsAnsweredWhateverItsName)
{
    EXPECT_EQ(answerTo("anything", 1, 1, 0), answerTo("zoneMetadata", 1, 1, 0));
}

TEST_F(ZoneMetadataRequest, TellsTheFilesOfASetApart)
{
    std::string const ofGrid = answerTo("zoneMetadata", 1, 0, 0);
    EXPECT_EQ(ofGrid.substr(89, 4), i32(3)); // the grid has three variables of its own
    EXPECT_NE(ofGrid, answerTo("zoneMetadata", 1, 1, 0));
}

TEST_F(ZoneMetadataRequest, ForWhatDoesNotExistIsAnError)
{
    EXPECT_EQ(failure([&] { answerTo("zoneMetadata", 2, 0, 0); }), "File set 2 does not exist.");
    EXPECT_EQ(failure([&] { answerTo("zoneMetadata", 1, 2, 0); }),
              "File 2 does not exist in file set 1.");
    EXPECT_EQ(failure([&] { answerTo("zoneMetadata", 0, 0, 1); }), "Zone 1 does not exist.");
    EXPECT_EQ(failure([&] { answerTo("zoneMetadata", 0, 0, -1); }), "Zone -1 does not exist.");
    EXPECT_TRUE(socket.sent().empty());
}

/// Registrations, their delivery, and a query of each kind. False: a flush failed.
bool converse(RegistrationSession& s)
{
    s.server.setFilePaths({FULL});
    s.addon.zoneVarID.copy = &s.addon.zoneVarID;
    s.server.registerZoneConnectivityQueryServices(&s.addon.cells, &s.addon.nodes, &s.addon.ordered,
                                                   0);
    s.server.registerZoneVarIDQueryServices(&s.addon.zoneVarID, 0);
    s.registerVar(s.addon, 0, 0);
    s.registerVar(s.addon, 0, 1);
    if (!s.cache.finishCachingCommands())
        return false;
    s.server.loaderServer()->handleMethod();
    s.server.nodalVarQueryServer(0, 1)->handleMethod();
    s.server.nodeConnectivityQueryServer(0)->handleMethod();
    s.server.orderedSubzoneQueryServer(0)->handleMethod();
    s.server.varSubzoneQueryServer(0, 0)->handleMethod();
    s.server.zoneVarIDQueryServer(0)->handleMethod();
    return true;
}

TEST(RegistrationConversation, EndsWhereverTheConnectionFails)
{
    std::string const script = i32(1) + i32(2) //
                               + text("zoneMetadata") + u32(0) + u32(0) + i32(0) +
                               text("checkout") + vec({u64(0x20)}) + text("checkout") +
                               vec({u64(0x20)}) + text("findIJKPlaneNodeSubzones") + i32(1) +
                               i64(2) + text("partitionMinMaxes") + text("duplicate");
    RegistrationSession whole(script);
    ASSERT_TRUE(converse(whole));
    ASSERT_TRUE(whole.socket.allWasRead());
    std::size_t const numOperations = whole.socket.numOperations();
    ASSERT_GT(numOperations, 20U);
    for (std::size_t n = 0; n < numOperations; ++n) {
        RegistrationSession failing(script);
        failing.socket.failAt(n);
        try {
            EXPECT_FALSE(converse(failing)) << "operation " << n;
        } catch (socketutil::SocketException const& error) {
            EXPECT_STREQ(error.what(), "failed on purpose");
        } catch (IOException const& error) {
            EXPECT_STREQ(error.what(), "failed on purpose");
        }
    }
}

}
}
