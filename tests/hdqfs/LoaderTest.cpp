// The loader as a host sees it: whole conversations through the add-on.

#include "tests/hdqfs/Samples.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/hdqremote/AddonProxy.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

namespace varnox::hdqfsloader {
namespace {

using hdqremote::AddonProxy;
using socketutil::WriteCache;
using tests::sample;
using tests::TemporaryFile;
using varnox::tests::cached;
using varnox::tests::RecordingSocket;

void addFinished(WriteCache& c, bool result)
{
    c.addString("command finished");
    c.addUInt32(result ? 1 : 0);
}

std::string finished(bool result)
{
    return cached([&](WriteCache& c) { addFinished(c, result); });
}

std::string dialog(std::string const& text)
{
    return cached([&](WriteCache& c) {
        c.addString("VnxUtilDialogErrMsg");
        c.addString(text);
    });
}

/// What a client answers while a data set loads: its variables, its zones, each with so many
/// variables that have values, then the types of all registered variables.
void addLoad(WriteCache& c, std::string const& paths, std::uint64_t numVars,
             std::vector<int> const& loadableVars, std::vector<int> const& registeredTypes)
{
    c.addString("load dataset");
    c.addString(paths);
    addFinished(c, true); // data set
    for (std::uint64_t v = 0; v < numVars; ++v)
        c.addUInt64(1000 + v); // unique id
    for (int const numLoadable : loadableVars) {
        addFinished(c, true); // zone
        for (int v = 0; v < numLoadable; ++v)
            c.addUInt32(1); // load on demand
    }
    for (int const type : registeredTypes)
        c.addInt32(type);
    c.addString("command finished");
    c.addInt(1);
    c.addInt64Vector({});
}

class Loader : public testing::Test
{
protected:
    void SetUp() override
    {
        testing::internal::CaptureStdout();
        proxy = std::make_unique<AddonProxy>(VNX_LIB_DIR "/vnxhdqfsloader.so", socket);
        testing::internal::GetCapturedStdout();
    }

    void play(std::function<void(WriteCache&)> const& add)
    {
        socket.appendScript(cached([&](WriteCache& c) {
            add(c);
            c.addString("close data server");
        }));
        proxy->serviceCommandsUntil("close data server");
        EXPECT_TRUE(socket.allWasRead());
    }

    RecordingSocket socket;
    std::unique_ptr<AddonProxy> proxy;
};

void addNumber(WriteCache& c, char const* key, long value)
{
    c.addString(key);
    c.addInt64(value);
}

TEST_F(Loader, LoadOfAGridFileIsItsGoldenBytes)
{
    play([](WriteCache& c) { addLoad(c, sample("tjunction_grid"), 3, {3}, {1, 1, 1}); });
    std::string const expected = cached([](WriteCache& c) {
        c.addString("VnxUtilDataLoadStart");
        c.addString("VnxUtilDataSetCreateX");
        c.addInt(2);
        c.addString("TITLE");
        c.addString("T-junction, turbulent, transient");
        c.addString("VARNAMES");
        c.addStringVector({"X", "Y", "Z"});
        for (std::int32_t number = 1; number <= 3; ++number) {
            c.addString("VnxUtilVarGetUniqueID");
            c.addInt32(number);
        }
        c.addString("VnxUtilDataSetAddZoneX");
        c.addInt(16); // in the order of the keys
        addNumber(c, "CONNECTSHAREZONE", 0);
        addNumber(c, "FACENEIGHBORMODE", 0);
        addNumber(c, "IMAX", 5616);
        addNumber(c, "ISHDQ", 1);
        c.addString("ISPASSIVEVAR");
        c.addIntVector({0, 0, 0});
        addNumber(c, "JMAX", 3875);
        addNumber(c, "KMAX", 6);
        c.addString("NAME");
        c.addString("internal");
        addNumber(c, "PARENTZONE", 0);
        c.addString("SHAREVARFROMZONE");
        c.addIntVector({0, 0, 0});
        c.addString("SOLUTIONTIME");
        c.addDouble(0);
        addNumber(c, "STRANDID", 0);
        c.addString("VALUELOCATION");
        c.addIntVector({1, 1, 1});
        c.addString("VARDATATYPE");
        c.addIntVector({1, 1, 1});
        addNumber(c, "ZONE", 1);
        addNumber(c, "ZONETYPE", 4);
    });
    EXPECT_EQ(socket.sent().substr(0, expected.size()), expected);

    std::string const registered = cached([](WriteCache& c) {
        c.addString("registerLoaderQueryService");
        c.addUInt32(256);
        c.addUInt32(6);
        c.addUInt32(6);
        c.addUInt32(6);
        c.addInt32Vector({-1});
        c.addInt32Vector({-1, -1, -1});
        c.addUInt32(1);
        c.addUInt32(1);
        c.addInt32(1);
        c.addInt32(3);
        c.addInt32Vector({0, 1});
        c.addUInt32Vector({0});
        c.addString("registerFEConnectivityQueryServices");
        c.addInt(0);
        c.addString("registerZoneVarIDQueryServices");
        c.addInt(0);
        c.addString("registerVarQueryServices");
        c.addInt(0);
        c.addInt(0);
    });
    EXPECT_NE(socket.sent().find(registered), std::string::npos);

    std::string const end = cached([](WriteCache& c) {
        c.addString("VnxUtilDataLoadFinishX");
        c.addInt(0);
        addFinished(c, true);
    });
    EXPECT_EQ(socket.sent().substr(socket.sent().size() - end.size()), end);
}

TEST_F(Loader, ValuesOfAReplacedDataSetAreAFalseWithAMessage)
{
    std::string const series =
        sample("tjunction_grid") + "\n" + sample("tjunction_t00") + "\n" + sample("tjunction_t05");
    play([&](WriteCache& c) {
        std::vector<int> types(17, 1);
        addLoad(c, series, 10, {10, 7}, types);
        addLoad(c, sample("tjunction_grid"), 3, {3}, {1, 1, 1});
    });
    socket.takeSent();
    play([](WriteCache& c) {
        c.addString("load field data"); // the second zone is one of the series alone
        c.addInt32(2);
        c.addInt32(7);
    });
    EXPECT_EQ(socket.sent(),
              dialog("The data set that these values belong to was replaced by another.") +
                  finished(false));
}

TEST_F(Loader, DamagedValuesAreAFalseWithAMessageAndTheSessionGoesOn)
{
    std::ifstream const original(sample("tjunction_t05"), std::ios::binary);
    std::ostringstream contents;
    contents << original.rdbuf();
    TemporaryFile const cut(contents.str().substr(0, contents.str().size() - 1000));
    play([&](WriteCache& c) {
        addLoad(c, sample("tjunction_grid") + "\n" + cut.path(), 10, {10}, std::vector<int>(10, 1));
    });
    socket.takeSent();
    play([](WriteCache& c) {
        c.addString("load field data");
        c.addInt32(1);
        c.addInt32(10);
    });
    std::string const sent = socket.takeSent();
    EXPECT_NE(sent.find("VnxUtilDialogErrMsg"), std::string::npos);
    EXPECT_NE(sent.find(cut.path()), std::string::npos);
    EXPECT_EQ(sent.substr(sent.size() - finished(false).size()), finished(false));
    play([](WriteCache& c) {
        c.addString("load field data");
        c.addInt32(1);
        c.addInt32(1);
    });
    EXPECT_EQ(socket.sent().substr(socket.sent().size() - finished(true).size()), finished(true));
}

TEST_F(Loader, RefusedDataSetEndsTheLoadWithAFalse)
{
    socket.appendScript(cached([](WriteCache& c) {
        c.addString("load dataset");
        c.addString(sample("tjunction_grid"));
        addFinished(c, false);
        c.addString("command finished");
        c.addInt(1);
        c.addInt64Vector({});
    }));
    EXPECT_THROW(proxy->serviceCommandsUntil("close data server"), AddonProxy::Error);
    std::string const& sent = socket.sent();
    EXPECT_EQ(sent.find("VnxUtilDataSetAddZoneX"), std::string::npos);
    EXPECT_EQ(sent.substr(sent.size() - finished(false).size()), finished(false));
}

TEST_F(Loader, LoadWithinALoadIsRefusedAndEndsBoth)
{
    // While the data set is created, and while a zone is added.
    for (bool const isCreated : {false, true}) {
        socket.takeSent();
        socket.appendScript(cached([&](WriteCache& c) {
            c.addString("load dataset");
            c.addString(sample("tjunction_grid"));
            if (isCreated) {
                addFinished(c, true);
                for (std::uint64_t v = 0; v < 3; ++v)
                    c.addUInt64(v); // unique ids
            }
            c.addString("load dataset");
            c.addString(sample("tankbox_partitions"));
        }));
        EXPECT_THROW(proxy->serviceCommandsUntil("close data server"), AddonProxy::Error);
        EXPECT_TRUE(socket.allWasRead());
        std::string const refusal =
            dialog("A data set can't be loaded while another one is being loaded.") +
            finished(false);
        std::string const& sent = socket.sent();
        ASSERT_GT(sent.size(), 2 * refusal.size());
        EXPECT_EQ(sent.substr(sent.size() - 2 * refusal.size()), refusal + refusal);
        EXPECT_EQ(sent.find("VnxUtilDataLoadStart"), sent.rfind("VnxUtilDataLoadStart"));
    }
    // The refusal isn't what keeps later loads out.
    socket.takeSent();
    play([](WriteCache& c) { addLoad(c, sample("tjunction_grid"), 3, {3}, {1, 1, 1}); });
    EXPECT_EQ(socket.sent().substr(socket.sent().size() - finished(true).size()), finished(true));
}

TEST_F(Loader, FilesThatDontBelongTogetherAreNamedBeforeTheLoadStarts)
{
    socket.appendScript(cached([](WriteCache& c) {
        c.addString("load dataset");
        c.addString(sample("tjunction_grid") + "\n" + sample("tankbox_partitions"));
    }));
    EXPECT_THROW(proxy->serviceCommandsUntil("close data server"), AddonProxy::Error);
    EXPECT_EQ(socket.sent().find("VnxUtilDataLoadStart"), std::string::npos);
    EXPECT_NE(socket.sent().find("The files can't be loaded together"), std::string::npos);
}

}
}
