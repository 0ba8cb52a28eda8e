// The engine, the library and the HDQFS loader together: the cells of the samples, fetched subzone
// by subzone, are the mesh that they were made of.

#include "client/Coordinates.h"
#include "client/Engine.h"
#include "client/Errors.h"
#include "socket/StreamSocket.h"
#include "tests/support/Messages.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::client {
namespace {

using testing::HasSubstr;
using tests::messageOf;

std::string const DATA = VNX_SOURCE_DIR "/examples/data/";

[[noreturn]] void serve(int descriptor)
{
    ::alarm(300);
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        ::_exit(3);
    try {
        socketutil::StreamSocket socket(descriptor, descriptor);
        hdqremote::AddonProxy proxy(VNX_LIB_DIR "/vnxhdqfsloader.so", socket);
        proxy.serviceCommandsUntil("close data server");
    } catch (std::exception const&) {
        ::_exit(1);
    }
    ::_exit(0);
}

/// A session with the loader in a process of its own.
class Session
{
public:
    explicit Session(std::vector<std::string> const& names)
    {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw std::runtime_error("no socket pair");
        std::fflush(stdout);
        m_server = ::fork();
        if (m_server == 0) {
            ::close(ends[0]);
            serve(ends[1]);
        }
        ::close(ends[1]);
        m_engine = std::make_unique<Engine>(ends[0]);
        std::vector<std::string> paths;
        for (std::string const& name : names)
            paths.push_back(DATA + name + ".hdqfs");
        m_engine->load(paths);
    }
    ~Session()
    {
        m_engine.reset();
        int status = 0;
        ::waitpid(m_server, &status, 0);
    }

    Engine& operator*() { return *m_engine; }
    Engine* operator->() { return m_engine.get(); }

private:
    pid_t m_server;
    std::unique_ptr<Engine> m_engine;
};

using Point = std::array<double, 3>;

/// Calls f with the coordinates of each cell's nodes.
void forEachCell(Engine& engine, int zone, std::function<void(std::vector<Point> const&)> const& f)
{
    Coordinates coordinates(engine, zone, coordinateVariables(engine.dataSet()).value());
    engine.allCells(zone, [&](CellSubzone const& subzone) {
        coordinates.fetch(subzone.nodeSubzones);
        for (std::size_t c = 0; c < subzone.numCells; ++c) {
            std::vector<Point> points;
            for (NodeAddress const node : subzone.nodesOf(c))
                points.push_back(coordinates.of(node));
            f(points);
        }
    });
}

/// As mesh_digest.py has it.
std::uint64_t hashOf(std::vector<Point> const& cell)
{
    std::uint64_t hash = 0xCBF29CE484222325;
    for (Point const& point : cell) {
        for (double const coordinate : point) {
            auto const number = static_cast<float>(coordinate);
            unsigned char bytes[sizeof(number)];
            std::memcpy(bytes, &number, sizeof(number));
            for (unsigned char const byte : bytes)
                hash = (hash ^ byte) * 0x100000001B3;
        }
    }
    return hash;
}

TEST(LoaderCells, AreTheMeshThatTheSolverWrote)
{
    // Printed by mesh_digest.py for the solver's own output, which this file was made of.
    constexpr std::uint64_t DIGEST_OF_THE_SOURCE = 0xa2e5b156f816fac3;
    Session session({"tjunction_grid", "tjunction_t00", "tjunction_t05"});
    for (int const zone : {1, 2}) {
        std::size_t numCells = 0;
        std::uint64_t digest = 0;
        forEachCell(*session, zone, [&](std::vector<Point> const& cell) {
            ++numCells;
            digest += hashOf(cell);
        });
        EXPECT_EQ(numCells, 3875U);
        EXPECT_EQ(digest, DIGEST_OF_THE_SOURCE);
    }
    session->close();
}

TEST(LoaderCells, OfAnOrderedZoneAreTheBoxesOfItsLattice)
{
    Session session({"tankbox_partitions"});
    constexpr double ORIGIN = 5e-7;
    constexpr std::array<double, 3> STEPS{0.025641, 0.03124997, 0.04};
    constexpr int CORNERS[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                   {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    std::set<std::array<long, 3>> found;
    forEachCell(*session, 1, [&](std::vector<Point> const& cell) {
        ASSERT_EQ(cell.size(), 8U);
        std::array<long, 3> first{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            first[axis] = std::lround((cell[0][axis] - ORIGIN) / STEPS[axis]);
        for (std::size_t corner = 0; corner < 8; ++corner)
            for (std::size_t axis = 0; axis < 3; ++axis)
                EXPECT_NEAR(cell[corner][axis],
                            ORIGIN + static_cast<double>(first[axis] + CORNERS[corner][axis]) *
                                         STEPS[axis],
                            1e-6);
        found.insert(first);
    });
    EXPECT_EQ(found.size(), 39U * 32 * 25);
    EXPECT_EQ(*found.begin(), (std::array<long, 3>{0, 0, 0}));
    EXPECT_EQ(*found.rbegin(), (std::array<long, 3>{38, 31, 24}));
    session->close();
}

TEST(LoaderCells, NodesKnowTheCellSubzonesAroundThem)
{
    for (std::string const name :
         {"tjunction_grid", "tjunction_ascii_grid", "tankbox_partitions"}) {
        Session session({name});
        std::map<std::uint64_t, std::set<std::uint64_t>> expected;
        session->allCells(1, [&](CellSubzone const& cells) {
            for (SubzoneAddress const& nodes : cells.nodeSubzones)
                expected[nodes.word()].insert(cells.address.word());
        });
        auto const all = session->subzonesOf(1, ValueLocation_Nodal);
        auto const subzones = session->nodeSubzones(1, all);
        ASSERT_EQ(subzones.size(), all.size());
        std::size_t numNodes = 0;
        for (NodeSubzone const& subzone : subzones) {
            numNodes += subzone.numNodes;
            std::set<std::uint64_t> cells;
            for (SubzoneAddress const& address : subzone.cellSubzones)
                cells.insert(address.word());
            EXPECT_EQ(cells, expected[subzone.address.word()]) << name;
        }
        EXPECT_EQ(numNodes, name == "tankbox_partitions" ? 40U * 33 * 26 : 5616U);
        session->close();
    }
}

TEST(LoaderCells, SinkMayAskForMore)
{
    Session session({"tjunction_grid", "tjunction_t05"});
    std::size_t numValues = 0;
    session->cells(1, {SubzoneAddress(0, 0, 3), SubzoneAddress(0, 0, 1)},
                   [&](CellSubzone const& cells) {
                       session->subzoneValues(1, 4, cells.nodeSubzones,
                                              [&](SubzoneAddress, Values const& values) {
                                                  numValues += count(values);
                                              });
                   });
    EXPECT_GT(numValues, 512U);
    session->close();
}

TEST(LoaderCells, CornersAreTheFirstNodesInTheOrderAskedFor)
{
    Session session({"tjunction_grid"});
    std::vector<SubzoneAddress> const wanted{SubzoneAddress(0, 0, 15), SubzoneAddress(0, 0, 0),
                                             SubzoneAddress(0, 0, 15)};
    std::vector<SubzoneAddress> order;
    session->cells(1, wanted, [&](CellSubzone const& cells) {
        order.push_back(cells.address);
        EXPECT_EQ(cells.shape, FECellShape_Hexahedron);
        EXPECT_EQ(cells.numCells, cells.address.subzoneOffset() == 15 ? 35U : 256U);
        EXPECT_EQ(cells.numFacesPerCell, 6U);
        EXPECT_EQ(cells.cornersOf(34).size(), 8U);
        EXPECT_EQ(cells.cornersOf(34).data(), cells.nodesOf(34).data());
    });
    EXPECT_EQ(order, wanted);
    session->close();
}

TEST(LoaderCells, SubzonesAndZonesThatDontExistAreErrorsAndTheSessionGoesOn)
{
    Session session({"tjunction_grid"});
    auto const noSink = [](CellSubzone const&) { FAIL(); };
    EXPECT_THAT(messageOf<Error>([&] { session->cells(1, {SubzoneAddress(0, 0, 16)}, noSink); }),
                HasSubstr("There is no cell subzone 16 in zone 1"));
    EXPECT_THAT(messageOf<Error>([&] { session->cells(1, {SubzoneAddress(1, 0, 0)}, noSink); }),
                HasSubstr("There is no cell subzone 1/0 in zone 1"));
    EXPECT_THAT(messageOf<Error>([&] { session->allCells(2, noSink); }),
                HasSubstr("There is no zone 2"));
    EXPECT_THAT(messageOf<Error>([&] { session->nodeSubzones(1, {SubzoneAddress(0, 0, 22)}); }),
                HasSubstr("There is no node subzone 22 in zone 1"));
    session->close();
}

TEST(LoaderCells, CoordinatesMustStandAtNodes)
{
    Session session({"tjunction_grid", "tjunction_t05"});
    EXPECT_EQ(coordinateVariables(session->dataSet()), (CoordinateVariables{1, 2, 3}));
    int pCell = 0;
    for (Variable const& variable : session->dataSet().variables)
        if (variable.name == "p_cell")
            pCell = variable.number;
    EXPECT_EQ(messageOf<Error>([&] {
                  Coordinates(*session, 1, {1, 2, pCell});
              }),
              "Variable " + std::to_string(pCell) +
                  " can't be a coordinate: its values stand at the cells of zone 1.");
    EXPECT_NE(messageOf<Error>([&] {
                  Coordinates(*session, 1, {1, 2, 77});
              }),
              "nothing was thrown");
    Coordinates coordinates(*session, 1, {1, 2, 3});
    EXPECT_EQ(messageOf<Error>([&] { coordinates.of(NodeAddress(SubzoneAddress(0, 0, 0), 0)); }),
              "The node subzone 0 of zone 1 has no node 0.");
    session->close();
}

}
}
