// One session of many random valid commands over all query services of the HDQFS loader: duplicates
// of duplicates, servers that zones share, calculated variables on calculated ones. What was
// answered once is answered so again, whichever zone it is asked of.

#include "client/Engine.h"
#include "client/EngineSocket.h"
#include "socket/StreamSocket.h"
#include "varnox/UniformAddress.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <set>

#include <csignal>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::client {
namespace {

constexpr int NUM_COMMANDS = 10'000;
constexpr std::size_t MAX_ZONES = 24;
constexpr std::size_t MAX_CALCULATED = 40;

[[noreturn]] void serve(int descriptor)
{
    ::alarm(300);
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        ::_exit(3);
    int status = 0;
    try {
        socketutil::StreamSocket socket(descriptor, descriptor);
        hdqremote::AddonProxy proxy(VNX_LIB_DIR "/vnxhdqfsloader.so", socket);
        proxy.serviceCommandsUntil("close data server");
    } catch (std::exception const& error) {
        std::fprintf(stderr, "The server ended: %s\n", error.what());
        status = 1;
    }
    ::_exit(status);
}

struct SessionCase
{
    char const* name;
    std::vector<char const*> files;
    unsigned seed;
};

void PrintTo(SessionCase const& test, std::ostream* out)
{
    *out << test.name;
}

/// A variable that can be asked for in a zone.
struct AskedVariable
{
    int number; ///< From 0.
    long id;
    FieldDataType_e type;
    ValueLocation_e location;
    int owner; ///< Zone and variable with the same number have the same values.
};

/// A zone that can be asked, and what the test knows of it. Numbers count from 0.
struct AskedZone
{
    int number;
    int connectivity; ///< The zone that it was duplicated from at first.
    bool isOrdered;
    std::array<std::int64_t, 3> nodes;
    ZoneShape shape;
    std::vector<AskedVariable> variables; ///< With servers of its own or of its source.
    std::vector<long> ids;                ///< Of all its variables, shared ones too.
    std::map<long, ValueLocation_e> locations;
};

class Session : public testing::TestWithParam<SessionCase>
{
protected:
    void SetUp() override
    {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        std::fflush(stdout);
        server = ::fork();
        if (server == 0) {
            ::close(ends[0]);
            serve(ends[1]);
        }
        ::close(ends[1]);
        // The engine loads; afterwards the test speaks for itself.
        socket = std::make_unique<EngineSocket>(::dup(ends[0]));
        engine = std::make_unique<Engine>(ends[0]);
        std::vector<std::string> paths;
        for (char const* const file : GetParam().files)
            paths.push_back(std::string(VNX_SOURCE_DIR "/examples/data/") + file + ".hdqfs");
        engine->load(paths);
        for (Zone const& zone : engine->dataSet().zones)
            if (zone.hasIdentityQueries)
                addZone(zone);
        numVars = static_cast<int>(engine->dataSet().variables.size());
        numZones = static_cast<int>(engine->dataSet().zones.size());
        ASSERT_FALSE(zones.empty());
    }

    void addZone(Zone const& zone)
    {
        AskedZone asked{zone.number - 1,
                        zone.number - 1,
                        zone.isOrdered(),
                        zone.size,
                        engine->shape(zone.number),
                        {},
                        {},
                        {}};
        for (Variable const& variable : engine->dataSet().variables) {
            ZoneVariable const& of = *DataSet::variable(zone, variable.number);
            asked.ids.push_back(variable.uniqueId);
            asked.locations[variable.uniqueId] = of.location;
            if (of.hasQueries)
                asked.variables.push_back({variable.number - 1, variable.uniqueId, of.type,
                                           of.location, zone.number - 1});
        }
        zones.push_back(asked);
    }

    std::uint64_t pick(std::uint64_t count) { return random() % count; }

    template <typename T>
    T const& oneOf(std::vector<T> const& all)
    {
        return all[pick(all.size())];
    }

    void send(char const* service, AskedZone const& zone, char const* method)
    {
        socket->sendString(service);
        socket->sendInt(zone.number);
        socket->sendString(method);
    }

    void send(char const* service, AskedZone const& zone, AskedVariable const& variable,
              char const* method)
    {
        socket->sendString(service);
        socket->sendInt(zone.number);
        socket->sendInt(variable.number);
        socket->sendString(method);
    }

    SubzoneAddress someSubzone(AskedZone const& zone, ValueLocation_e kind)
    {
        for (;;) {
            auto const partition = static_cast<std::uint32_t>(pick(zone.shape.partitions.size()));
            auto const section = static_cast<std::uint32_t>(
                pick(kind == ValueLocation_Nodal
                         ? 1
                         : zone.shape.partitions[partition].numCellSubzones.size()));
            std::uint32_t const count = zone.shape.numSubzones(kind, partition, section);
            if (count != 0)
                return {partition, section, static_cast<std::uint32_t>(pick(count))};
        }
    }

    std::vector<unsigned long> someSubzones(AskedZone const& zone, ValueLocation_e kind)
    {
        std::vector<unsigned long> words(pick(6));
        for (unsigned long& word : words)
            word = someSubzone(zone, kind).word();
        return words;
    }

    std::uint16_t sizeOf(AskedZone const& zone, ValueLocation_e kind, SubzoneAddress subzone)
    {
        send(serviceOf(kind), zone, "subzoneSize");
        socket->sendUInt64(subzone.word());
        std::uint16_t const size = socket->receiveUInt16();
        remember("size" + std::to_string(kind), zone.connectivity, subzone.word(), size);
        return size;
    }

    ItemAddress<long> someItem(AskedZone const& zone, ValueLocation_e kind)
    {
        for (;;) {
            SubzoneAddress const subzone = someSubzone(zone, kind);
            std::uint16_t const size = sizeOf(zone, kind, subzone);
            if (size != 0)
                return {subzone, static_cast<std::uint8_t>(pick(size))};
        }
    }

    static char const* serviceOf(ValueLocation_e kind)
    {
        return kind == ValueLocation_Nodal ? "NodeConnectivityQuery" : "CellConnectivityQuery";
    }

    static std::string bytesOf(std::uint64_t value)
    {
        return std::string(reinterpret_cast<char const*>(&value), sizeof(value));
    }
    template <typename T>
    static std::string bytesOf(std::vector<T> const& values)
    {
        return std::string(reinterpret_cast<char const*>(values.data()), values.size() * sizeof(T));
    }

    /// What is answered a second time is what was answered before.
    template <typename T>
    void remember(std::string const& what, int zone, std::uint64_t word, T const& answer)
    {
        std::string const bytes = bytesOf(answer);
        auto const [known, isNew] = answers.try_emplace({what, zone, word}, bytes);
        numRepeated += !isNew;
        ASSERT_EQ(known->second, bytes) << what << " of zone " << zone << ", " << word;
    }

    void checkSubzones(AskedZone const& zone, ValueLocation_e kind,
                       std::vector<unsigned long> const& words)
    {
        for (std::size_t i = 0; i < words.size(); ++i) {
            SubzoneAddress const address(words[i]);
            ASSERT_LT(address.subzoneOffset(),
                      zone.shape.numSubzones(kind, address.partition(), address.section()));
            ASSERT_TRUE(i == 0 || SubzoneAddress(words[i - 1]) < address);
        }
    }

public: // One command each.
    void askCells();
    void askNodes();
    void askOrdered();
    void askValues();
    void askRanges();
    void askIdentity();
    void askShape();
    void duplicate();
    void calculate();

protected:
    template <typename T>
    void receiveValues(AskedVariable const& variable, unsigned long subzone);

    pid_t server = -1;
    std::unique_ptr<EngineSocket> socket;
    std::unique_ptr<Engine> engine;
    std::mt19937_64 random{GetParam().seed};
    std::vector<AskedZone> zones;
    int numVars = 0;
    int numZones = 0;
    std::size_t numCalculated = 0;
    std::size_t numRepeated = 0;
    std::map<std::tuple<std::string, int, std::uint64_t>, std::string> answers;
};

void Session::askCells()
{
    AskedZone const& zone = oneOf(zones);
    constexpr auto KIND = ValueLocation_CellCentered;
    constexpr char const* SERVICE = "CellConnectivityQuery";
    switch (pick(16)) {
    case 0:
        for (char const* const method :
             {"setup", "teardown", "destroy", "checkinAll", "copyToUniformNM",
              "updateInternalFaceNeighbors", "faceNeighbors", "setFaceNeighbors", "nonsense"})
            send(SERVICE, zone, method);
        return;
    case 1:
        send(SERVICE, zone, "checkoutAll");
        socket->sendUInt8(static_cast<std::uint8_t>(pick(2)));
        return;
    case 2: {
        send(SERVICE, zone, "checkin");
        socket->sendUInt64Vector(someSubzones(zone, KIND));
        return;
    }
    case 3:
    case 4: {
        auto const words = someSubzones(zone, KIND);
        send(SERVICE, zone, "checkout");
        socket->sendUInt8(static_cast<std::uint8_t>(pick(2)));
        socket->sendUInt64Vector(words);
        for (std::size_t i = 0; !zone.isOrdered && i < words.size(); ++i) {
            std::uint64_t const size = socket->receiveUInt16();
            std::uint64_t const corners = socket->receiveUInt8();
            std::uint64_t const nodes = socket->receiveUInt8();
            std::uint64_t const faces = socket->receiveUInt8();
            auto const referenced = socket->receiveUInt64Vector();
            auto const subzones = socket->receiveUInt16Vector();
            auto const items = socket->receiveUInt8Vector();
            ASSERT_LE(corners, nodes);
            ASSERT_EQ(subzones.size(), size * nodes);
            ASSERT_EQ(items.size(), size * nodes);
            checkSubzones(zone, ValueLocation_Nodal, referenced);
            for (unsigned const index : subzones)
                ASSERT_LT(index, referenced.size());
            remember("faces", zone.connectivity, words[i], faces);
            remember("cell references", zone.connectivity, words[i], referenced);
            remember("cell nodes", zone.connectivity, words[i], subzones);
            remember("cell items", zone.connectivity, words[i], items);
        }
        return;
    }
    case 5:
    case 6: {
        ItemAddress<long> const item = someItem(zone, KIND);
        send(SERVICE, zone, "toUniformAddress");
        socket->sendUInt64(item.word());
        ItemAddress<long> const uniform(socket->receiveUInt64());
        ASSERT_TRUE(isUniformAddress(uniform));
        send(SERVICE, zone, "toHdqAddress");
        socket->sendUInt64(uniform.word());
        ASSERT_EQ(socket->receiveUInt64(), item.word());
        return;
    }
    case 7: {
        SubzoneAddress const subzone = someSubzone(zone, KIND);
        send(SERVICE, zone, "referencedNodeSubzones");
        socket->sendUInt64(subzone.word());
        auto const found = socket->receiveUInt64Vector();
        checkSubzones(zone, ValueLocation_Nodal, found);
        remember("cell references", zone.connectivity, subzone.word(), found);
        return;
    }
    case 8:
        send(SERVICE, zone, "numSubzones");
        ASSERT_EQ(socket->receiveUInt64(), zone.shape.numCellSubzones());
        return;
    default: {
        ItemAddress<long> const item = someItem(zone, KIND);
        std::map<std::string, std::uint64_t> counts;
        for (char const* const method : {"cornerNodeCount", "nodeCount", "faceCount"}) {
            send(SERVICE, zone, method);
            socket->sendUInt64(item.word());
            counts[method] = socket->receiveUInt64();
        }
        for (bool const isCorners : {true, false}) {
            send(SERVICE, zone, isCorners ? "cornerNodeAddresses" : "nodeAddresses");
            socket->sendUInt64(item.word());
            auto const nodes = socket->receiveUInt64Vector();
            ASSERT_EQ(nodes.size(), counts[isCorners ? "cornerNodeCount" : "nodeCount"]);
            remember(isCorners ? "corners" : "nodes", zone.connectivity, item.word(), nodes);
            std::uint64_t const index = pick(nodes.size());
            send(SERVICE, zone, isCorners ? "cornerNodeAddress" : "nodeAddress");
            socket->sendUInt64(item.word());
            socket->sendUInt32(static_cast<std::uint32_t>(index));
            ASSERT_EQ(socket->receiveUInt64(), nodes[index]);
        }
    }
    }
}

void Session::askNodes()
{
    AskedZone const& zone = oneOf(zones);
    constexpr auto KIND = ValueLocation_Nodal;
    constexpr char const* SERVICE = "NodeConnectivityQuery";
    switch (pick(6)) {
    case 0:
        for (char const* const method :
             {"setup", "teardown", "destroy", "checkoutAll", "checkinAll", "copyToUniformNM"})
            send(SERVICE, zone, method);
        return;
    case 1:
        send(SERVICE, zone, "checkin");
        socket->sendUInt64Vector(someSubzones(zone, KIND));
        return;
    case 2: {
        auto const words = someSubzones(zone, KIND);
        send(SERVICE, zone, "checkout");
        socket->sendUInt64Vector(words);
        for (unsigned long const word : words) {
            remember("size1", zone.connectivity, word, std::uint64_t{socket->receiveUInt16()});
            remember("node references", zone.connectivity, word, socket->receiveUInt64Vector());
        }
        return;
    }
    case 3: {
        SubzoneAddress const subzone = someSubzone(zone, KIND);
        send(SERVICE, zone, "referencedCellSubzones");
        socket->sendUInt64(subzone.word());
        remember("node references", zone.connectivity, subzone.word(),
                 socket->receiveUInt64Vector());
        return;
    }
    case 4:
        send(SERVICE, zone, "numSubzones");
        ASSERT_EQ(socket->receiveUInt64(), zone.shape.numNodeSubzones());
        return;
    default: {
        ItemAddress<long> const item = someItem(zone, KIND);
        send(SERVICE, zone, "toUniformAddress");
        socket->sendUInt64(item.word());
        ItemAddress<long> const uniform(socket->receiveUInt64());
        send(SERVICE, zone, "toHdqAddress");
        socket->sendUInt64(uniform.word());
        ASSERT_EQ(socket->receiveUInt64(), item.word());
    }
    }
}

void Session::askOrdered()
{
    AskedZone const& zone = oneOf(zones);
    if (!zone.isOrdered)
        return askNodes();
    constexpr char const* SERVICE = "OrderedSubzoneQuery";
    auto const kind = pick(2) == 0 ? ValueLocation_Nodal : ValueLocation_CellCentered;
    bool const isNodal = kind == ValueLocation_Nodal;
    auto const axis = static_cast<std::int32_t>(pick(3));
    auto const index = [&] { return static_cast<std::int64_t>(pick(45)) - 2; };
    std::int64_t const first = index();
    std::int64_t const second = index();
    switch (pick(4)) {
    case 0:
        for (char const* const method : {"setup", "teardown", "destroy", "nonsense"})
            send(SERVICE, zone, method);
        return;
    case 1:
        send(SERVICE, zone, isNodal ? "findIJKPlaneNodeSubzones" : "findIJKPlaneCellSubzones");
        socket->sendInt32(axis);
        socket->sendInt64(first);
        break;
    default:
        send(SERVICE, zone, isNodal ? "findIJKLineNodeSubzones" : "findIJKLineCellSubzones");
        socket->sendInt32(axis);
        if (isNodal) {
            socket->sendInt64(first);
            socket->sendInt64(second);
        } else {
            socket->sendInt(static_cast<int>(first));
            socket->sendInt(static_cast<int>(second));
        }
    }
    checkSubzones(zone, kind, socket->receiveUInt64Vector());
}

template <typename T>
void Session::receiveValues(AskedVariable const& variable, unsigned long subzone)
{
    remember("values of " + std::to_string(variable.number), variable.owner, subzone,
             socket->receiveVector<T>(256));
}

void Session::askValues()
{
    AskedZone const& zone = oneOf(zones);
    if (zone.variables.empty())
        return askNodes();
    AskedVariable const& variable = oneOf(zone.variables);
    char const* const service =
        variable.location == ValueLocation_Nodal ? "NodalVarQuery" : "CellCenteredVarQuery";
    switch (pick(5)) {
    case 0:
        for (char const* const method :
             {"setup", "teardown", "destroy", "checkoutAll", "checkinAll", "copyToUniformFD",
              "fieldValue", "fieldValues", "nonsense"})
            send(service, zone, variable, method);
        return;
    case 1:
        send(service, zone, variable, "checkin");
        socket->sendUInt64Vector(someSubzones(zone, variable.location));
        return;
    default: {
        auto const words = someSubzones(zone, variable.location);
        send(service, zone, variable, "checkout");
        socket->sendUInt64Vector(words);
        for (unsigned long const word : words)
            withElementOf(variable.type,
                          [&](auto element) { receiveValues<decltype(element)>(variable, word); });
    }
    }
}

void Session::askRanges()
{
    AskedZone const& zone = oneOf(zones);
    if (zone.variables.empty())
        return askNodes();
    AskedVariable const& variable = oneOf(zone.variables);
    constexpr char const* SERVICE = "VarSubzoneQuery";
    std::string const name = std::to_string(variable.number);
    switch (pick(4)) {
    case 0:
        for (char const* const method :
             {"setup", "teardown", "destroy", "findNodeSubzones", "findCellSubzones"})
            send(SERVICE, zone, variable, method);
        return;
    case 1: {
        send(SERVICE, zone, variable, "partitionMinMaxes");
        auto const ranges = socket->receiveDoubleVector();
        ASSERT_EQ(ranges.size(), 2 * zone.shape.partitions.size());
        remember("partitions of " + name, variable.owner, 0, ranges);
        return;
    }
    default: {
        auto const kind = pick(2) == 0 ? ValueLocation_Nodal : ValueLocation_CellCentered;
        auto const partition = static_cast<std::uint32_t>(pick(zone.shape.partitions.size()));
        send(SERVICE, zone, variable,
             kind == ValueLocation_Nodal ? "nodeSubzoneMinMaxes" : "cellSubzoneMinMaxes");
        socket->sendUInt32(partition);
        auto const ranges = socket->receiveDoubleVector();
        ASSERT_EQ(ranges.size(), 2 * zone.shape.partitions[partition].numSubzones(kind));
        remember("ranges of " + name + " " + std::to_string(kind), variable.owner, partition,
                 ranges);
    }
    }
}

void Session::askIdentity()
{
    AskedZone const& zone = oneOf(zones);
    constexpr char const* SERVICE = "ZoneVarIDQuery";
    switch (pick(6)) {
    case 0:
        send(SERVICE, zone, "destroy");
        send(SERVICE, zone, "nonsense");
        return;
    case 1: {
        bool const exists = pick(2) == 0;
        send(SERVICE, zone, "varExists");
        socket->sendUInt64(static_cast<unsigned long>(exists ? oneOf(zone.ids) : 999'999'999));
        ASSERT_EQ(socket->receiveUInt8() != 0, exists);
        return;
    }
    default: {
        auto const kind = pick(2) == 0 ? ValueLocation_Nodal : ValueLocation_CellCentered;
        std::vector<double> values(pick(4));
        std::vector<unsigned long> ids(values.size());
        for (std::size_t i = 0; i < ids.size(); ++i) {
            ids[i] = static_cast<unsigned long>(oneOf(zone.ids));
            values[i] = std::uniform_real_distribution<double>(-1, 2)(random);
        }
        send(SERVICE, zone, kind == ValueLocation_Nodal ? "findNodeSubzones" : "findCellSubzones");
        socket->sendDoubleVector(values);
        socket->sendUInt64Vector(ids);
        auto const found = socket->receiveUInt64Vector();
        checkSubzones(zone, kind, found);
        if (ids.empty()) {
            ASSERT_EQ(found.size(), zone.shape.numSubzones(kind));
        }
    }
    }
}

void Session::askShape()
{
    LoaderAnnouncement const& announced = *engine->announcement();
    auto const set = static_cast<std::uint32_t>(pick(announced.fileSets.size()));
    AskedZone const& zone = zones.front();
    socket->sendString("loaderQuery");
    socket->sendString("zoneMetadata");
    socket->sendUInt32(set);
    socket->sendUInt32(static_cast<std::uint32_t>(pick(announced.fileSets[set].numFiles)));
    socket->sendInt32(0);
    socket->receiveInt32(); // type
    socket->receiveBool();
    for (int i = 0; i < 3; ++i)
        socket->receiveInt64();
    std::uint32_t const numPartitions = socket->receiveUInt32();
    ASSERT_EQ(numPartitions, zone.shape.partitions.size());
    socket->receiveInt64Vector();
    socket->receiveInt64Vector();
    for (std::uint32_t i = 0; zone.isOrdered && i < 6 * numPartitions; ++i)
        socket->receiveUInt32();
    socket->receiveUInt32Vector();
    socket->receiveUInt32Vector();
    std::int32_t const numRanges = socket->receiveInt32();
    for (std::uint32_t i = 0; i < 2 * numPartitions * static_cast<std::uint32_t>(numRanges); ++i)
        socket->receiveDouble();
}

void Session::duplicate()
{
    if (zones.size() >= MAX_ZONES)
        return askIdentity();
    AskedZone copy = oneOf(zones);
    send("ZoneVarIDQuery", copy, "duplicate");
    copy.number = socket->receiveInt();
    ASSERT_EQ(copy.number, numZones);
    ++numZones;
    zones.push_back(copy);
}

/// first * 2 + second, of any variables of the zone.
void Session::calculate()
{
    if (numCalculated >= MAX_CALCULATED)
        return askIdentity();
    AskedZone& zone = zones[pick(zones.size())];
    long const first = oneOf(zone.ids);
    long const second = oneOf(zone.ids);
    constexpr FieldDataType_e TYPES[] = {FieldDataType_Float, FieldDataType_Double,
                                         FieldDataType_Int32, FieldDataType_Int16,
                                         FieldDataType_Byte};
    bool const isAtCells = zone.locations[first] == ValueLocation_CellCentered ||
                           zone.locations[second] == ValueLocation_CellCentered;
    AskedVariable const made{numVars, 1'000'000 + long{numVars}, TYPES[pick(5)],
                             isAtCells ? ValueLocation_CellCentered : ValueLocation_Nodal,
                             zone.number};
    send("ZoneVarIDQuery", zone, "createCalcVar");
    socket->sendUInt64(static_cast<unsigned long>(made.id));
    socket->sendInt32(static_cast<std::int32_t>(pick(3)));
    socket->sendInt32(made.type);
    socket->sendUInt64(pick(100)); // the expression's id
    socket->sendUInt8(10);
    socket->sendUInt64(static_cast<unsigned long>(first));
    socket->sendUInt8(1);
    socket->sendDouble(2);
    socket->sendUInt8(3);
    socket->sendUInt8(10);
    socket->sendUInt64(static_cast<unsigned long>(second));
    socket->sendUInt8(0);
    socket->sendUInt8(255);
    ASSERT_EQ(socket->receiveInt(), made.number);
    double const nodalMin = socket->receiveDouble();
    double const nodalMax = socket->receiveDouble();
    ASSERT_LE(nodalMin, nodalMax);
    ASSERT_EQ(socket->receiveDouble(), nodalMin);
    ASSERT_EQ(socket->receiveDouble(), nodalMax);
    zone.variables.push_back(made);
    zone.ids.push_back(made.id);
    zone.locations[made.id] = made.location;
    ++numVars;
    ++numCalculated;
}

TEST_P(Session, OfManyRandomCommandsIsAnsweredToTheEnd)
{
    std::cout << "seed " << GetParam().seed << "\n";
    using Command = void (Session::*)();
    // A row as often as it should come.
    constexpr Command COMMANDS[] = {
        &Session::askCells,  &Session::askCells,    &Session::askNodes,    &Session::askNodes,
        &Session::askValues, &Session::askValues,   &Session::askValues,   &Session::askRanges,
        &Session::askRanges, &Session::askIdentity, &Session::askIdentity, &Session::askOrdered,
        &Session::askShape,  &Session::duplicate,   &Session::calculate};
    for (int n = 0; n < NUM_COMMANDS; ++n) {
        (this->*COMMANDS[pick(std::size(COMMANDS))])();
        ASSERT_FALSE(HasFatalFailure()) << "seed " << GetParam().seed << ", command " << n;
    }
    EXPECT_EQ(zones.size(), MAX_ZONES);
    EXPECT_EQ(numCalculated, MAX_CALCULATED);
    EXPECT_GT(numRepeated, 1000U);

    socket->sendString("close data server");
    socket->flush();
    int status = -1;
    ::waitpid(server, &status, 0);
    EXPECT_EQ(status, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Samples, Session,
    testing::Values(SessionCase{"FiniteElements",
                                {"tjunction_grid", "tjunction_t00", "tjunction_t05",
                                 "tjunction_t10"},
                                20261},
                    SessionCase{"Ordered", {"tankbox_partitions"}, 20262},
                    SessionCase{"Text", {"tjunction_ascii_grid", "tjunction_ascii_t05"}, 20263}),
    [](auto const& test) { return std::string(test.param.name); });

}
}
