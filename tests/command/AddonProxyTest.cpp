#include "varnox/hdqremote/AddonProxy.h"

#include "command/LoaderCommands.h"
#include "filedata/FileSetMetadata.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "tests/support/RecordingSocket.h"
#include "tests/support/Wire.h"
#include "varnox/hdqremote/DataSetRegistrationServer.h"
#include "varnox/hostapi/VnxMock.h"
#include "varnox/socketutil/WriteCache.h"

#include <boost/filesystem.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include <dlfcn.h>

namespace varnox::hdqremote {
namespace {

using socketutil::WriteCache;
using tests::cached;
using tests::RecordingSocket;

std::string addon(std::string const& name)
{
    return std::string(VNX_LIB_DIR) + "/" + name + ".so";
}

std::string sample(std::string const& name)
{
    return std::string(VNX_SOURCE_DIR) + "/examples/data/" + name;
}

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

TEST(AddonProxyConstruction, PrintsExactlyTwoLines)
{
    RecordingSocket socket;
    testing::internal::CaptureStdout();
    AddonProxy const proxy(addon("vnxscriptedaddon"), socket);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Attempting to load addon\nSuccess\n");
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST(AddonProxyConstruction, MissingAddonIsAnErrorWithTheLoadersReason)
{
    RecordingSocket socket;
    testing::internal::CaptureStdout();
    std::string const message =
        messageOf<AddonProxy::Error>([&] { AddonProxy("/nowhere/a.so", socket); });
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(message, "Unable to load library /nowhere/a.so (/nowhere/a.so: cannot open shared "
                       "object file: No such file or directory)");
}

TEST(AddonProxyConstruction, AddonWithoutEntryIsAnError)
{
    RecordingSocket socket;
    testing::internal::CaptureStdout();
    std::string const path = addon("vnxnoentryaddon");
    EXPECT_EQ(messageOf<AddonProxy::Error>([&] { AddonProxy(path, socket); }),
              "Function InitVnxAddOn113 not found in load library " + path);
    testing::internal::GetCapturedStdout();
}

TEST(AddonProxyConstruction, AddonWithoutLoaderShowsNoSuccess)
{
    RecordingSocket socket;
    testing::internal::CaptureStdout();
    EXPECT_EQ(messageOf<AddonProxy::Error>([&] { AddonProxy(addon("vnxnoloaderaddon"), socket); }),
              "Loader add-on did not register a loader callback.");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Attempting to load addon\n");
}

bool isMapped(std::string const& path)
{
    void* const library = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (library != nullptr)
        ::dlclose(library); // what the look took, and no more
    return library != nullptr;
}

TEST(AddonProxyConstruction, FailureLeavesTheAddonMappedAndNoInstance)
{
    RecordingSocket socket;
    testing::internal::CaptureStdout();
    EXPECT_THROW(AddonProxy(addon("vnxnoloaderaddon"), socket), AddonProxy::Error);
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(isMapped(addon("vnxnoloaderaddon")));
    EXPECT_EQ(VnxMock::GetInstance(), nullptr);
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST(AddonProxyConstruction, AddonStaysMappedBehindTheProxy)
{
    RecordingSocket socket;
    testing::internal::CaptureStdout();
    AddonProxy(addon("vnxscriptedaddon"), socket);
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(isMapped(addon("vnxscriptedaddon")));
}

/// A proxy over the scripted add-on, with helpers to play conversations.
class AddonProxySession : public testing::Test
{
protected:
    void SetUp() override
    {
        testing::internal::CaptureStdout();
        proxy = std::make_unique<AddonProxy>(addon("vnxscriptedaddon"), socket);
        testing::internal::GetCapturedStdout();
        folder = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
        boost::filesystem::create_directory(folder);
    }
    void TearDown() override { boost::filesystem::remove_all(folder); }

    /// A copy of a data file under a name that tells the scripted loader what to do.
    std::string fileNamed(std::string const& name,
                          std::string const& original = "tjunction_grid.hdqfs")
    {
        auto const path = folder / name;
        boost::filesystem::copy_file(sample(original), path);
        return path.string();
    }

    void script(std::function<void(WriteCache&)> const& add) { socket.appendScript(cached(add)); }

    std::string failureOfLoading(std::string const& paths)
    {
        script([&](WriteCache& c) {
            c.addString("load dataset");
            c.addString(paths);
        });
        return messageOf<AddonProxy::Error>(
            [&] { proxy->serviceCommandsUntil(CLOSE_DATA_SERVER); });
    }

    std::string finished(bool loaded)
    {
        return cached([&](WriteCache& c) {
            c.addString("command finished");
            c.addUInt32(loaded ? 1 : 0);
        });
    }

    std::string dialog(std::string const& text)
    {
        return cached([&](WriteCache& c) {
            c.addString("VnxUtilDialogErrMsg");
            c.addString(text);
        });
    }

    RecordingSocket socket;
    std::unique_ptr<AddonProxy> proxy;
    boost::filesystem::path folder;
};

TEST_F(AddonProxySession, ListsItsFileTypes)
{
    script([](WriteCache& c) {
        c.addString("list file types");
        c.addString("Close Data Server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    EXPECT_EQ(socket.sent(), cached([](WriteCache& c) {
                  c.addString("Scripted");
                  c.addString("hdqfs");
                  c.addString("command finished");
              }));
    EXPECT_EQ(socket.numSendCaches(), 1U);
}

TEST_F(AddonProxySession, ListsFilesInOneTransfer)
{
    script([&](WriteCache& c) {
        c.addString("list files");
        c.addString(folder.string() + "/./");
        c.addString("close data server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    EXPECT_EQ(socket.sent(), cached([&](WriteCache& c) {
                  c.addString(folder.string());
                  c.addInt(0);
                  c.addString("command finished");
              }));
    EXPECT_EQ(socket.numSendCaches(), 1U);
}

TEST_F(AddonProxySession, ListedFileIsItsGoldenBytes)
{
    std::string const path = fileNamed("a.hdqfs");
    boost::filesystem::permissions(path, static_cast<boost::filesystem::perms>(0644));
    boost::filesystem::last_write_time(path, 1'700'000'000);
    script([&](WriteCache& c) {
        c.addString("list files");
        c.addString(folder.string());
        c.addString("close data server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    EXPECT_EQ(socket.sent(), cached([&](WriteCache& c) {
                  c.addString(folder.string());
                  c.addInt(1);
                  c.addString(std::string("a.hdqfs\0\x01\xA4", 10));
                  c.addString("regular");
                  c.addUInt64(boost::filesystem::file_size(path));
                  c.addUInt64(1'700'000'000);
                  c.addString("command finished");
              }));
}

TEST_F(AddonProxySession, DirectoryThatMayNotBeSeenIsListedAsOneThatCannotBeRead)
{
    fileNamed("a.hdqfs");
    std::vector<std::string> asked;
    proxy->restrictPaths([&](std::string const& path) {
        asked.push_back(path);
        return false;
    });
    script([&](WriteCache& c) {
        c.addString("list files");
        c.addString(folder.string() + "/.");
        c.addString("close data server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    EXPECT_EQ(socket.sent(), cached([&](WriteCache& c) {
                  c.addString(folder.string());
                  c.addInt(0);
                  c.addString("command finished");
              }));
    EXPECT_EQ(asked, std::vector<std::string>{folder.string() + "/."});
}

TEST_F(AddonProxySession, LoadOfWhatMayNotBeSeenFailsBeforeTheLoaderIsCalled)
{
    std::string const seen = fileNamed("a.hdqfs");
    std::string const hidden = fileNamed("throws.hdqfs");
    proxy->restrictPaths([&](std::string const& path) { return path == seen; });
    std::string const reason = "'" + hidden +
                               "' can't be loaded: it is in none of the directories that this "
                               "data server shares.";
    EXPECT_EQ(failureOfLoading(seen + "\n" + hidden), reason);
    EXPECT_EQ(socket.sent(), dialog(reason) + finished(false));
}

TEST_F(AddonProxySession, LoadOfWhatMayBeSeenGoesOn)
{
    std::string const hidden = fileNamed("throws.hdqfs");
    proxy->restrictPaths([&](std::string const&) { return true; });
    EXPECT_EQ(failureOfLoading(hidden), "the loader has failed");
}

TEST_F(AddonProxySession, LongPathThatMayNotBeSeenIsCutInTheMessage)
{
    proxy->restrictPaths([](std::string const&) { return false; });
    EXPECT_EQ(failureOfLoading(std::string(100'000, 'x')),
              "'" + std::string(200, 'x') +
                  "...' can't be loaded: it is in none of the directories that this data server "
                  "shares.");
}

TEST_F(AddonProxySession, ServesAgainAfterAnEndCommand)
{
    for (int round = 0; round < 2; ++round) {
        script([](WriteCache& c) {
            c.addString("list file types");
            c.addString("close data server");
        });
        proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    }
    EXPECT_EQ(socket.numSendCaches(), 2U);
}

TEST_F(AddonProxySession, DestructionSendsNothing)
{
    std::size_t const before = socket.numOperations();
    proxy.reset();
    EXPECT_EQ(socket.numOperations(), before);
    EXPECT_EQ(VnxMock::GetInstance(), nullptr);
}

TEST_F(AddonProxySession, CommandInCapitalsIsUnrecognised)
{
    script([](WriteCache& c) { c.addString("LOAD DATASET"); });
    EXPECT_EQ(messageOf<AddonProxy::Error>([&] { proxy->serviceCommandsUntil("end"); }),
              "Unrecognized command received: LOAD DATASET");
    EXPECT_TRUE(socket.sent().empty());
}

TEST_F(AddonProxySession, EmptyCommandIsUnrecognised)
{
    script([](WriteCache& c) { c.addString(""); });
    EXPECT_EQ(messageOf<AddonProxy::Error>([&] { proxy->serviceCommandsUntil("end"); }),
              "Unrecognized command received: ");
}

TEST_F(AddonProxySession, FailureOfTheConnectionIsACommunicationError)
{
    EXPECT_EQ(
        messageOf<AddonProxy::CommunicationError>([&] { proxy->serviceCommandsUntil("end"); }),
        "the script has ended");
}

TEST_F(AddonProxySession, KnowsWhetherTheConnectionFailedBetweenCommands)
{
    EXPECT_TRUE(proxy->isBetweenCommands());
    script([](WriteCache& c) { c.addString("list file types"); });
    EXPECT_THROW(proxy->serviceCommandsUntil(CLOSE_DATA_SERVER), AddonProxy::CommunicationError);
    EXPECT_TRUE(proxy->isBetweenCommands());
    script([](WriteCache& c) { c.addString("NodeConnectivityQuery"); }); // and no zone
    EXPECT_THROW(proxy->serviceCommandsUntil(CLOSE_DATA_SERVER), AddonProxy::CommunicationError);
    EXPECT_FALSE(proxy->isBetweenCommands());
}

TEST_F(AddonProxySession, LoadsAndReportsSuccess)
{
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(fileNamed("succeeds.hdqfs"));
        c.addString("close data server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    EXPECT_EQ(socket.sent(), finished(true));
}

TEST_F(AddonProxySession, SinglePathGivesFourInstructions)
{
    std::string const path = fileNamed("tells.hdqfs");
    std::string const told = "STANDARDSYNTAX|1.0|FILENAME_FILE|" + path + "|";
    EXPECT_EQ(failureOfLoading(path), told);
    EXPECT_EQ(socket.sent(), dialog(told) + finished(false));
}

TEST_F(AddonProxySession, TwoPathsGiveSixInstructions)
{
    std::string const grid = fileNamed("grid.hdqfs");
    std::string const solution = fileNamed("tells.hdqfs", "tjunction_t00.hdqfs");
    EXPECT_EQ(failureOfLoading(grid + "\n" + solution),
              "STANDARDSYNTAX|1.0|FILELIST_DATAFILES|2|" + grid + "|" + solution + "|");
}

TEST_F(AddonProxySession, PathsAreNotNormalised)
{
    fileNamed("tells.hdqfs");
    std::string const path = folder.string() + "//./tells.hdqfs";
    EXPECT_EQ(failureOfLoading(path), "STANDARDSYNTAX|1.0|FILENAME_FILE|" + path + "|");
}

TEST_F(AddonProxySession, FailedReadOfThePathsIsToldWhereTheSocketStillWorks)
{
    script([](WriteCache& c) { c.addString("load dataset"); });
    socket.failAt(1);
    EXPECT_EQ(messageOf<AddonProxy::Error>([&] { proxy->serviceCommandsUntil("end"); }),
              "failed on purpose");
    EXPECT_EQ(socket.sent(), dialog("failed on purpose") + finished(false));
}

TEST_F(AddonProxySession, FailedSendOfTheResultReplacesTheErrorOfTheLoad)
{
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(fileNamed("fails.hdqfs"));
    });
    socket.failAt(2); // behind the two receives
    EXPECT_EQ(
        messageOf<AddonProxy::CommunicationError>([&] { proxy->serviceCommandsUntil("end"); }),
        "failed on purpose");
}

/// Stands in for the proxy while a data set is loaded: a host without memory for instructions.
class HostWithoutMemory : public VnxMock
{
public:
    explicit HostWithoutMemory(int numAppends) : m_numAppends(numAppends) {}
    StringList_s* VnxUtilStringListAlloc() override
    {
        return m_numAppends < 0 ? nullptr : reinterpret_cast<StringList_s*>(this);
    }
    char VnxUtilStringListAppendString(StringList_s*, char const*) override
    {
        ++numCalls;
        return numCalls <= m_numAppends ? 1 : 0;
    }
    void VnxUtilStringListDealloc(StringList_s** list) override
    {
        calls += *list == nullptr ? "dealloc of null;" : "dealloc;";
    }
    void VnxUtilDialogErrMsg(char const* text) override { calls += std::string(text) + ";"; }

    int numCalls = 0;
    std::string calls;

private:
    int m_numAppends; ///< Those that succeed; -1 if there is no list at all.
};

constexpr char NO_MEMORY[] = "Insufficient memory resources were available to load the data.";

TEST_F(AddonProxySession, InstructionsThatCannotBeAllocatedAreInsufficientMemory)
{
    HostWithoutMemory const host(-1);
    EXPECT_EQ(failureOfLoading("/a"), NO_MEMORY);
    EXPECT_EQ(host.calls, std::string(NO_MEMORY) + ";dealloc of null;");
    EXPECT_EQ(host.numCalls, 0);
    EXPECT_EQ(socket.sent(), finished(false));
}

TEST_F(AddonProxySession, FirstAppendThatFailsIsTheLastAndInsufficientMemory)
{
    for (int numAppends = 0; numAppends < 6; ++numAppends) {
        HostWithoutMemory const host(numAppends);
        EXPECT_EQ(failureOfLoading("/a\n/b"), NO_MEMORY);
        EXPECT_EQ(host.calls, std::string(NO_MEMORY) + ";dealloc;");
        EXPECT_EQ(host.numCalls, numAppends + 1);
    }
}

TEST_F(AddonProxySession, LoaderThatReturnsFalseGivesNoDialogAndAnEmptyError)
{
    EXPECT_EQ(failureOfLoading(fileNamed("fails.hdqfs")), "");
    EXPECT_EQ(socket.sent(), finished(false));
}

TEST_F(AddonProxySession, LoaderThatThrowsGivesItsTextToTheClientAndTheHost)
{
    EXPECT_EQ(failureOfLoading(fileNamed("throws.hdqfs")), "the loader has failed");
    EXPECT_EQ(socket.sent(), dialog("the loader has failed") + finished(false));
}

TEST_F(AddonProxySession, ExceptionWithoutATextCountsAsNoMessage)
{
    EXPECT_EQ(failureOfLoading(fileNamed("throwsNothing.hdqfs")), "");
    EXPECT_EQ(socket.sent(), finished(false));
}

TEST_F(AddonProxySession, WhatIsNoStandardExceptionPassesUnanswered)
{
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(fileNamed("throwsInt.hdqfs"));
    });
    EXPECT_THROW(proxy->serviceCommandsUntil("end"), int);
    EXPECT_TRUE(socket.sent().empty());
}

TEST_F(AddonProxySession, UnimplementedCallEndsTheLoadWithItsName)
{
    EXPECT_EQ(failureOfLoading(fileNamed("unimplemented.hdqfs"))
                  .rfind("Unimplemented method: VnxUtilZoneRename;", 0),
              0U);
}

TEST_F(AddonProxySession, EmptyPathFailsBeforeTheLoaderIsCalled)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(failureOfLoading(""), "Failed to open file for reading: ");
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(socket.sent(), dialog("Failed to open file for reading: ") + finished(false));
}

TEST_F(AddonProxySession, TrailingNewlineGivesAnEmptyLastPath)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(failureOfLoading(fileNamed("succeeds.hdqfs") + "\n"),
              "Failed to open file for reading: ");
    testing::internal::GetCapturedStderr();
}

TEST_F(AddonProxySession, LoneSolutionFileIsRefused)
{
    std::string const path = sample("tjunction_t00.hdqfs");
    EXPECT_EQ(failureOfLoading(path),
              "Expected a grid file but found a solution file: " + path +
                  "\n\nOne or more solution files must be preceded by a grid file.");
}

TEST_F(AddonProxySession, QueryForAnUnknownZoneIsAnError)
{
    script([](WriteCache& c) {
        c.addString("NodalVarQuery");
        c.addInt(3);
        c.addInt(0);
    });
    EXPECT_EQ(
        messageOf<DataSetRegistrationServer::Error>([&] { proxy->serviceCommandsUntil("end"); }),
        "Zone 3 does not exist.");
}

TEST_F(AddonProxySession, LoaderQueryBeforeAnyRegistrationIsAnError)
{
    script([](WriteCache& c) { c.addString("loaderQuery"); });
    EXPECT_EQ(
        messageOf<DataSetRegistrationServer::Error>([&] { proxy->serviceCommandsUntil("end"); }),
        "There is no query service for the loader.");
}

TEST_F(AddonProxySession, QueryForASlotWithoutAServerIsAnError)
{
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(fileNamed("succeeds.hdqfs"));
        c.addString("CellConnectivityQuery");
        c.addInt(0);
    });
    EXPECT_EQ(
        messageOf<DataSetRegistrationServer::Error>([&] { proxy->serviceCommandsUntil("end"); }),
        "There is no query service for the cells of zone 0.");
}

TEST_F(AddonProxySession, EveryQueryCommandReachesItsOwnService)
{
    struct QueryCase
    {
        char const* command;
        bool hasVariable;
        char const* service;
    };
    constexpr QueryCase QUERIES[] = {
        {"CellConnectivityQuery", false, "the cells of zone 0"},
        {"NodeConnectivityQuery", false, "the nodes of zone 0"},
        {"OrderedSubzoneQuery", false, "the ordered subzones of zone 0"},
        {"ZoneVarIDQuery", false, "the identity of zone 0"},
        {"NodalVarQuery", true, "the nodal values of variable 2 in zone 0"},
        {"CellCenteredVarQuery", true, "the cell-centred values of variable 2 in zone 0"},
        {"VarSubzoneQuery", true, "the subzone ranges of variable 2 in zone 0"},
    };
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(fileNamed("succeeds.hdqfs"));
    });
    EXPECT_THROW(proxy->serviceCommandsUntil("end"), AddonProxy::CommunicationError);
    for (QueryCase const& query : QUERIES) {
        script([&](WriteCache& c) {
            c.addString(query.command);
            c.addInt(0); // the zone goes ahead
            if (query.hasVariable)
                c.addInt(2);
        });
        EXPECT_EQ(messageOf<DataSetRegistrationServer::Error>(
                      [&] { proxy->serviceCommandsUntil("end"); }),
                  std::string("There is no query service for ") + query.service + ".");
        EXPECT_TRUE(socket.allWasRead()) << query.command;
    }
}

TEST_F(AddonProxySession, EveryQueryCommandIsAnsweredByItsOwnObject)
{
    namespace wire = tests::wire;
    std::string const path = fileNamed("serves.hdqfs");
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(path);
        c.addInt32(2);                   // the variable is of doubles
        c.addString("command finished"); // VnxUtilDataLoadFinishX
        c.addInt(0);
        c.addString("close data server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    ASSERT_TRUE(socket.allWasRead());

    hdqio::FileSetMetadata files({path});
    std::string const zone = cached([&](WriteCache& c) {
        hdqlib::ZoneMetadataSerializer(files.zoneMetadata(0, 0)).addToCache(c);
    });
    std::string const first = wire::i32(0);
    std::string const last = wire::i32(2);
    std::string const subzone = wire::vec({wire::u64(0)});
    struct QueryCase
    {
        char const* command;
        std::string place;
        char const* method;
        std::string arguments;
        std::string answer;
    };
    QueryCase const queries[] = {
        {"CellConnectivityQuery", first, "numSubzones", "", wire::u64(11)},
        {"NodeConnectivityQuery", first, "numSubzones", "", wire::u64(12)},
        {"OrderedSubzoneQuery", first, "findIJKPlaneCellSubzones", wire::i32(1) + wire::i64(2),
         wire::vec({wire::u64(13 << 8)})},
        {"ZoneVarIDQuery", first, "varExists", wire::u64(5), wire::u8(1)},
        {"NodalVarQuery", first + last, "checkout", subzone,
         wire::vec({wire::f64(100), wire::f64(101)})},
        {"CellCenteredVarQuery", first + last, "checkout", subzone, wire::vec({wire::f64(200)})},
        {"VarSubzoneQuery", first + last, "partitionMinMaxes", "",
         wire::vec({wire::f64(-1), wire::f64(1)})},
        {"loaderQuery", "", "zoneMetadata", wire::u32(0) + wire::u32(0) + wire::i32(0), zone},
    };
    for (QueryCase const& query : queries) {
        socket.takeSent();
        socket.appendScript(wire::text(query.command) + query.place + wire::text(query.method) +
                            query.arguments + wire::text("close data server"));
        proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
        EXPECT_EQ(socket.sent(), query.answer) << query.command;
        EXPECT_TRUE(socket.allWasRead()) << query.command;
    }
}

TEST_F(AddonProxySession, EveryCommandOfLoadOnDemandReachesItsOwnCallback)
{
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(fileNamed("registers.hdqfs"));
        c.addString("command finished"); // VnxUtilDataSetCreate
        c.addUInt32(1);
        c.addString("command finished"); // VnxUtilDataSetAddZoneX
        c.addUInt32(1);
        c.addUInt32(1);                  // VnxUtilDataValueCustomLOD
        c.addString("command finished"); // VnxUtilDataNodeCustomLOD
        c.addUInt32(1);
        c.addString("command finished"); // VnxUtilDataFaceNbrCustomLOD
        c.addUInt32(1);
        c.addString("command finished"); // VnxUtilDataLoadFinishX
        c.addInt(0);
        c.addString("close data server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    ASSERT_TRUE(socket.allWasRead());
    for (std::string const what : {"field data", "node map", "face neighbors"})
        for (std::string const action : {"load", "unload", "clean up"}) {
            socket.takeSent();
            script([&](WriteCache& c) {
                c.addString(action + " " + what);
                c.addInt32(1);
                if (what == "field data")
                    c.addInt32(1);
                c.addString("close data server");
            });
            proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
            std::string const call = dialog(what + ": " + action);
            EXPECT_EQ(socket.sent().substr(0, call.size()), call);
            EXPECT_TRUE(socket.allWasRead());
        }
}

/// The client's answers while the scripted loader builds its data set.
void answerBuilding(WriteCache& c)
{
    c.addString("command finished"); // VnxUtilDataSetCreate
    c.addUInt32(1);
    c.addString("command finished"); // VnxUtilDataSetAddZoneX, at the flush
    c.addUInt32(1);
    c.addUInt32(1);                 // VnxUtilDataValueCustomLOD
    c.addString("load field data"); // while VnxUtilDataLoadFinishX is served
    c.addInt32(1);
    c.addInt32(1);
    c.addString("command finished");
    c.addInt(1);
    c.addInt64Vector({11, 12});
}

std::string buildingBytes()
{
    return cached([](WriteCache& c) {
        c.addString("VnxUtilDataLoadStart");
        c.addString("VnxUtilDataSetCreate");
        c.addString("title");
        c.addStringVector({"p"});
        c.addInt(1);
        c.addString("VnxUtilDataSetAddZoneX");
        c.addInt(1);
        c.addString("NAME");
        c.addString("inlet");
        c.addString("VnxUtilDataValueCustomLOD");
        c.addInt32(1);
        c.addInt32(1);
        c.addUInt32(1);
        for (int absent = 0; absent < 4; ++absent)
            c.addUInt32(0);
        c.addString("VnxUtilDataLoadFinishX");
        c.addInt(0);
        c.addString("VnxUtilDataValueArraySetByRef");
        c.addInt64(1);
        c.addInt64(2);
        c.addFloatVector({1.5F, -2.0F});
        c.addString("command finished");
        c.addUInt32(1);
    });
}

TEST_F(AddonProxySession, WholeLoadWithANestedRequestIsItsGoldenBytes)
{
    script([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(fileNamed("builds.hdqfs"));
        answerBuilding(c);
        c.addString("load field data"); // a zone beyond the range gets false
        c.addInt32(9);
        c.addInt32(1);
        c.addString("close data server");
    });
    proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
    EXPECT_EQ(socket.sent(), buildingBytes() + finished(true) + finished(false));
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(AddonProxySession, CommandsWithinCommandsAreBounded)
{
    std::string const path = fileNamed("builds.hdqfs");
    auto const loadWithinLoads = [&](int depth) {
        socket.takeSent();
        script([&](WriteCache& c) {
            for (int i = 0; i < depth; ++i) {
                c.addString("load dataset"); // while VnxUtilDataLoadFinishX is served
                c.addString(path);
                c.addString("command finished");
                c.addUInt32(1);
                if (i == 0) {
                    c.addString(
                        "command finished"); // of the zone, which isn't batched further down
                    c.addUInt32(1);
                    c.addUInt32(1);
                }
            }
            c.addString("list file types");
        });
        return messageOf<std::exception>([&] { proxy->serviceCommandsUntil(CLOSE_DATA_SERVER); });
    };
    EXPECT_EQ(loadWithinLoads(200), "Too many commands were sent while others were under way; at "
                                    "most 100 can be.");
}

TEST_F(AddonProxySession, EveryFailingOperationOfALoadEndsInAnException)
{
    std::string const path = fileNamed("builds.hdqfs");
    std::string const conversation = cached([&](WriteCache& c) {
        c.addString("load dataset");
        c.addString(path);
        answerBuilding(c);
        c.addString("close data server");
    });
    std::size_t numOperations = 0;
    {
        socket.appendScript(conversation);
        proxy->serviceCommandsUntil(CLOSE_DATA_SERVER);
        numOperations = socket.numOperations();
    }
    ASSERT_GT(numOperations, 20U);
    for (std::size_t n = 0; n < numOperations; ++n) {
        proxy.reset(); // one at a time in a process
        RecordingSocket failing(conversation);
        testing::internal::CaptureStdout();
        AddonProxy session(addon("vnxscriptedaddon"), failing);
        failing.failAt(n);
        EXPECT_ANY_THROW(session.serviceCommandsUntil(CLOSE_DATA_SERVER)) << "operation " << n;
        testing::internal::GetCapturedStdout();
    }
}

}
}
