// The engine against the library itself, in a process of its own, with an add-on behind it.

#include "client/Engine.h"
#include "client/Errors.h"
#include "socket/StreamSocket.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <csignal>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::client {
namespace {

using testing::HasSubstr;

/// Serves one session over the descriptor and ends the process.
[[noreturn]] void serve(int descriptor, std::string const& addon)
{
    ::alarm(60);
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        ::_exit(3);
    try {
        socketutil::StreamSocket socket(descriptor, descriptor);
        hdqremote::AddonProxy proxy(addon, socket);
        proxy.serviceCommandsUntil("close data server");
    } catch (std::exception const&) {
        ::_exit(1);
    }
    ::_exit(0);
}

class EngineWithAddon : public testing::Test
{
protected:
    void SetUp() override
    {
        folder =
            std::filesystem::temp_directory_path() / ("vnxclienttest" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        std::fflush(stdout);
        server = ::fork();
        if (server == 0) {
            ::close(ends[0]);
            serve(ends[1], std::string(VNX_LIB_DIR) + "/vnxenginetestaddon.so");
        }
        ::close(ends[1]);
        engine = std::make_unique<Engine>(ends[0]);
    }

    void TearDown() override
    {
        engine.reset();
        if (server > 0)
            exitStatus();
        std::filesystem::remove_all(folder);
    }

    int exitStatus()
    {
        int status = 0;
        ::waitpid(server, &status, 0);
        server = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// A data file under a name that tells the add-on what to do.
    std::string fileNamed(std::string const& name)
    {
        auto const path = folder / name;
        std::filesystem::copy_file(std::string(VNX_SOURCE_DIR) +
                                       "/examples/data/tjunction_grid.hdqfs",
                                   path, std::filesystem::copy_options::overwrite_existing);
        return path.string();
    }

    std::filesystem::path folder;
    pid_t server = -1;
    std::unique_ptr<Engine> engine;
};

TEST_F(EngineWithAddon, AnswersEveryCallOfTheHostApi)
{
    DataSet const& dataSet = engine->load({fileNamed("everything.hdqfs")});
    EXPECT_EQ(dataSet.title, "everything");
    EXPECT_EQ(dataSet.messages, std::vector<std::string>{"shall it go on?"});
    ASSERT_EQ(dataSet.zones.size(), 3U);
    EXPECT_EQ(dataSet.zones[0].name, "first");
    EXPECT_EQ(dataSet.zones[1].solutionTime, 1.25);
    EXPECT_EQ(dataSet.zones[1].strand, 4);
    EXPECT_EQ(dataSet.zones[1].connectShareZone, 1);
    EXPECT_EQ(dataSet.zones[1].variables[0].shareZone, 1);
    EXPECT_EQ(dataSet.zones[2].connectShareZone, 2);
    EXPECT_EQ(dataSet.zones[2].variables[1].shareZone, 1);
    EXPECT_EQ(dataSet.zones[2].variables[1].type, FieldDataType_Double);
    EXPECT_TRUE(dataSet.zones[0].nodeMap.load);
    EXPECT_TRUE(dataSet.zones[1].faceNeighbors.load);
    EXPECT_EQ(dataSet.zones[1].variables[2].range->min, 3);
    EXPECT_EQ(dataSet.zones[1].variables[2].range->max, 200);
    EXPECT_EQ(dataSet.solutionTimes(), (std::vector<double>{0, 1.25}));
    engine->close();
    EXPECT_EQ(exitStatus(), 0);
}

TEST_F(EngineWithAddon, KeepsTextsAndGeometries)
{
    DataSet const& dataSet = engine->load({fileNamed("everything.hdqfs")});
    ASSERT_EQ(dataSet.texts.size(), 2U);
    EXPECT_FALSE(dataSet.texts[0].color);
    Text const& text = dataSet.texts[1];
    EXPECT_EQ(text.text, "inlet");
    EXPECT_EQ(text.coordSys, 1);
    EXPECT_EQ(text.x, 0.5);
    EXPECT_EQ(text.boxMargin, 4.5);
    EXPECT_EQ(text.clipping, 8);
    EXPECT_EQ(text.zoneOrMap, 2);
    EXPECT_EQ(text.attached, true);
    EXPECT_TRUE(text.typeface->isBold);
    EXPECT_EQ(text.macroCommand, "redraw");

    ASSERT_EQ(dataSet.geometries.size(), 6U);
    EXPECT_EQ(dataSet.geometries[0].shape, Shape::Rectangle);
    EXPECT_EQ(dataSet.geometries[1].sizes, std::vector<double>{3});
    EXPECT_EQ(dataSet.geometries[2].sizes, (std::vector<double>{3, 4}));
    Geometry const& circle = dataSet.geometries[3];
    EXPECT_EQ(circle.anchor, (Point{4, 5, 6}));
    EXPECT_EQ(circle.positionCoordSys, 6);
    EXPECT_EQ(circle.filled, false);
    EXPECT_EQ(circle.ellipsePoints, 72);
    EXPECT_EQ(circle.arrowheadAngle, 10.5);
    EXPECT_EQ(circle.macroCommand, "pick");
    EXPECT_EQ(dataSet.geometries[4].polylines,
              (std::vector<std::vector<Point>>{{{0.5, 1.5, 0}}, {{4.5, 5.5, 0}, {2.5, 3.5, 0}}}));
    EXPECT_EQ(dataSet.geometries[5].polylines, (std::vector<std::vector<Point>>{{{1, 2, 3}}}));
}

TEST_F(EngineWithAddon, KeepsLabelsAndAuxData)
{
    DataSet const& dataSet = engine->load({fileNamed("everything.hdqfs")});
    EXPECT_EQ(dataSet.labelSets, (std::vector<LabelSet>{{"low", "high"}}));
    std::string listed;
    for (AuxData const& item : dataSet.auxData)
        listed += nameOf(item.owner) + " " + std::to_string(item.number) + " " + item.name + "=" +
                  item.value + "\n";
    EXPECT_EQ(listed, "data set 0 Solver=v 1\nzone 2 Part=wall\nvariable 4 Unit=m/s\n");
}

TEST_F(EngineWithAddon, LoadsFaceNeighborsOnDemand)
{
    engine->load({fileNamed("everything.hdqfs")});
    for (int round = 0; round < 2; ++round) {
        std::vector<FaceNeighbors> const neighbors = engine->faceNeighbors(2);
        ASSERT_EQ(neighbors.size(), 2U);
        EXPECT_EQ(neighbors[0].first, 7);
        EXPECT_EQ(neighbors[0].second, 2);
        EXPECT_EQ(neighbors[0].third, 1);
        EXPECT_EQ(neighbors[0].items, (std::vector<int>{3, 5}));
        EXPECT_EQ(neighbors[0].zones, (std::vector<long>{1, 3}));
        EXPECT_EQ(neighbors[1].first, 8);
        EXPECT_TRUE(neighbors[1].items.empty());
    }
    try {
        engine->faceNeighbors(1);
        FAIL() << "nothing was thrown";
    } catch (Error const& error) {
        EXPECT_STREQ(error.what(), "The loader has no face neighbours of zone 1.");
    }
    engine->close();
    EXPECT_EQ(exitStatus(), 0);
}

template <typename T>
std::vector<T> numbersFrom(int first, int count)
{
    std::vector<T> result;
    for (int i = 0; i < count; ++i)
        result.push_back(static_cast<T>(first + i));
    return result;
}

TEST_F(EngineWithAddon, LoadsVariablesOfEveryTypeOnDemand)
{
    engine->load({fileNamed("everything.hdqfs")});
    EXPECT_EQ(std::get<std::vector<float>>(engine->values(1, 1)), numbersFrom<float>(101, 12));
    EXPECT_EQ(std::get<std::vector<double>>(engine->values(2, 2)), numbersFrom<double>(201, 2));
    EXPECT_EQ(std::get<std::vector<std::int32_t>>(engine->values(2, 3)),
              numbersFrom<std::int32_t>(201, 12));
    EXPECT_EQ(std::get<std::vector<std::int16_t>>(engine->values(1, 4)),
              numbersFrom<std::int16_t>(101, 12));
    EXPECT_EQ(std::get<std::vector<std::uint8_t>>(engine->values(1, 5)),
              std::vector<std::uint8_t>(12, 0))
        << "passive";
    EXPECT_EQ(std::get<std::vector<float>>(engine->values(2, 1)), numbersFrom<float>(101, 12))
        << "shared";
}

TEST_F(EngineWithAddon, FailureOfOneVariableLeavesTheOthers)
{
    engine->load({fileNamed("everything.hdqfs")});
    try {
        engine->values(2, 4);
        FAIL() << "nothing was thrown";
    } catch (Error const& error) {
        EXPECT_STREQ(error.what(),
                     "The loader could not load the variable 4 'short' of zone 2: the "
                     "second zone's shorts are damaged");
    }
    EXPECT_EQ(count(engine->values(2, 3)), 12U);
}

TEST_F(EngineWithAddon, LongBatchesDontLockUp)
{
    DataSet const& dataSet = engine->load({fileNamed("many.hdqfs")});
    EXPECT_EQ(dataSet.zones.size(), 3000U);
    EXPECT_TRUE(dataSet.zones.back().variables[4].onDemand.load);
}

TEST_F(EngineWithAddon, LoaderThatThrowsGivesItsText)
{
    try {
        engine->load({fileNamed("throws.hdqfs")});
        FAIL() << "nothing was thrown";
    } catch (LoadFailed const& error) {
        EXPECT_THAT(error.what(), HasSubstr("throws.hdqfs: the loader lost its way"));
    }
    EXPECT_EQ(exitStatus(), 1);
}

TEST_F(EngineWithAddon, ServerThatDiesInALoadIsALostConnection)
{
    EXPECT_THROW(engine->load({fileNamed("dies.hdqfs")}), ConnectionLost);
    EXPECT_EQ(exitStatus(), 9);
    EXPECT_THROW(engine->listFileTypes(), ConnectionLost);
}

TEST_F(EngineWithAddon, BrowsesTheServersFiles)
{
    fileNamed("a.hdqfs");
    EXPECT_EQ(engine->listFileTypes().loaderName, "Engine test");
    Listing const listing = engine->listFiles(folder.string());
    EXPECT_EQ(listing.directory, folder.string());
    ASSERT_EQ(listing.entries.size(), 1U);
    EXPECT_EQ(listing.entries[0].name, "a.hdqfs");
    EXPECT_EQ(listing.entries[0].type, "regular");
    EXPECT_EQ(listing.entries[0].size, std::filesystem::file_size(folder / "a.hdqfs"));
}

}
}
