#include "tests/faults/Scenarios.h"

#include "client/Errors.h"
#include "tests/faults/SampleFiles.h"

#include <algorithm>
#include <array>

namespace varnox::tests {

namespace {

using client::Axis;
using client::Engine;
using client::Range;
using client::SubzoneAddress;
using client::Values;
using client::Zone;

constexpr char const* LOADER = "vnxhdqfsloader";
constexpr char const* CALLS = "vnxenginetestaddon";
constexpr char const* SCRIPTED = "vnxscriptedaddon";

std::string file(std::string const& name)
{
    return SampleFiles::get().path(name, false);
}

std::string textFile(std::string const& name)
{
    return SampleFiles::get().path(name, true);
}

std::vector<std::string> series(bool isText)
{
    SampleFiles const& files = SampleFiles::get();
    return {files.path("grid", isText), files.path("step0", isText), files.path("step1", isText)};
}

void add(Digest& digest, Values const& values)
{
    digest.add(client::count(values)).addBytes(client::bytes(values), client::byteCount(values));
}

void add(Digest& digest, std::vector<SubzoneAddress> const& subzones)
{
    for (SubzoneAddress const subzone : subzones)
        digest.add(subzone.word());
}

void add(Digest& digest, std::vector<Range> const& ranges)
{
    for (Range const& range : ranges)
        digest.add(range.min).add(range.max);
}

std::string ofZone(char const* what, int zone)
{
    return std::string(what) + " of zone " + std::to_string(zone);
}

std::string ofVariable(char const* what, int zone, int var)
{
    return std::string(what) + " of variable " + std::to_string(var) + ", zone " +
           std::to_string(zone);
}

/// Calls f with zone and variable numbers of all that has subzones.
template <typename F>
void forEachVariable(Talk& talk, F&& f)
{
    for (Zone const& zone : talk.engine().dataSet().zones)
        for (std::size_t v = 0; v < zone.variables.size(); ++v)
            if (zone.variables[v].hasQueries)
                f(zone.number, static_cast<int>(v) + 1);
}

template <typename F>
void forEachZone(Talk& talk, F&& f)
{
    std::vector<int> numbers;
    for (Zone const& zone : talk.engine().dataSet().zones)
        if (zone.hasConnectivityQueries)
            numbers.push_back(zone.number);
    for (int const number : numbers)
        f(number);
}

void askShapes(Talk& talk)
{
    forEachZone(talk, [&](int zone) {
        talk.step(ofZone("shape", zone), [&](Digest& digest) {
            for (client::PartitionShape const& partition : talk.engine().shape(zone).partitions)
                digest.add(partition.numNodes)
                    .add(partition.numCells)
                    .add(partition.numNodeSubzones)
                    .add(partition.numCellSubzones);
        });
    });
}

void askValues(Talk& talk)
{
    forEachVariable(talk, [&](int zone, int var) {
        talk.step(ofVariable("subzone values", zone, var), [&](Digest& digest) {
            talk.engine().allSubzoneValues(
                zone, var, [&](SubzoneAddress, Values const& values) { add(digest, values); });
        });
    });
}

void askRanges(Talk& talk)
{
    forEachVariable(talk, [&](int zone, int var) {
        talk.step(ofVariable("ranges of partitions", zone, var),
                  [&](Digest& digest) { add(digest, talk.engine().partitionRanges(zone, var)); });
        talk.step(ofVariable("ranges of subzones", zone, var), [&](Digest& digest) {
            for (auto const kind : {ValueLocation_Nodal, ValueLocation_CellCentered})
                add(digest, talk.engine().subzoneRanges(zone, var, 0, kind));
        });
    });
}

void askCells(Talk& talk)
{
    forEachZone(talk, [&](int zone) {
        talk.step(ofZone("cells", zone), [&](Digest& digest) {
            talk.engine().allCells(zone, [&](client::CellSubzone const& cells) {
                digest.add(cells.numCells).add(cells.numNodesPerCell);
                for (client::NodeAddress const node : cells.nodes)
                    digest.add(node.word());
            });
        });
    });
}

void askNodes(Talk& talk)
{
    forEachZone(talk, [&](int zone) {
        talk.step(ofZone("subzones at the nodes", zone), [&](Digest& digest) {
            Engine& engine = talk.engine();
            auto const wanted = engine.subzonesOf(zone, ValueLocation_Nodal);
            for (client::NodeSubzone const& nodes : engine.nodeSubzones(zone, wanted)) {
                digest.add(nodes.numNodes);
                add(digest, nodes.cellSubzones);
            }
        });
    });
}

void search(Talk& talk, std::vector<client::WantedValue> const& wanted)
{
    forEachZone(talk, [&](int zone) {
        talk.step(ofZone("search by value", zone), [&](Digest& digest) {
            for (auto const kind : {ValueLocation_Nodal, ValueLocation_CellCentered})
                add(digest, talk.engine().subzonesThatMayHold(zone, wanted, kind));
        });
    });
}

void cutPlanes(Talk& talk)
{
    for (Axis const axis : {Axis::I, Axis::J, Axis::K})
        for (auto const kind : {ValueLocation_Nodal, ValueLocation_CellCentered})
            talk.step("plane and line", [&](Digest& digest) {
                add(digest, talk.engine().subzonesOfPlane(1, axis, 5, kind));
                add(digest, talk.engine().subzonesOfLine(1, axis, 2, 3, kind));
            });
}

/// Gives 0 if there is none.
int calculate(Talk& talk, int zone, std::string const& formula,
              FieldDataType_e type = FieldDataType_Double)
{
    int result = 0;
    talk.step("calculate " + formula, [&](Digest& digest) {
        int const numBefore = static_cast<int>(talk.engine().dataSet().variables.size());
        result = talk.engine().createCalcVar(zone, "c" + std::to_string(numBefore), formula, type);
        digest.add(result);
    });
    return result;
}

void calculateAndAsk(Talk& talk, std::vector<std::string> const& formulas)
{
    for (std::string const& formula : formulas) {
        int const var = calculate(talk, 1, formula);
        talk.step("values of " + formula, [&](Digest& digest) {
            talk.engine().allSubzoneValues(
                1, var, [&](SubzoneAddress, Values const& values) { add(digest, values); });
        });
        talk.step("ranges of " + formula, [&](Digest& digest) {
            for (auto const kind : {ValueLocation_Nodal, ValueLocation_CellCentered})
                add(digest, talk.engine().subzoneRanges(1, var, 0, kind));
        });
        search(talk, {{var, 0.25}});
    }
}

void loadOnDemand(Talk& talk)
{
    std::size_t const numZones = talk.engine().dataSet().zones.size();
    for (std::size_t z = 0; z < numZones; ++z) {
        std::size_t const numVars = talk.engine().dataSet().zones[z].variables.size();
        for (std::size_t v = 0; v < numVars; ++v) {
            int const zone = static_cast<int>(z) + 1;
            int const var = static_cast<int>(v) + 1;
            talk.step(ofVariable("values on demand", zone, var),
                      [&](Digest& digest) { add(digest, talk.engine().values(zone, var)); });
        }
    }
}

void loadFaceNeighbors(Talk& talk)
{
    for (Zone const& zone : talk.engine().dataSet().zones) {
        if (!zone.faceNeighbors.load)
            continue;
        talk.step(ofZone("face neighbours", zone.number), [&](Digest& digest) {
            for (auto const& piece : talk.engine().faceNeighbors(zone.number))
                digest.add(piece.first).add(piece.items).add(piece.zones);
        });
    }
}

/// Serves what a load of a node map, or of one thing that the client doesn't keep, sends back.
void serveLoad(Talk& talk, Digest& digest)
{
    client::EngineSocket& socket = talk.socket();
    std::string told;
    for (;;) {
        std::string const command = socket.receiveString(256);
        digest.add(command);
        if (command == "command finished") {
            if (socket.receiveUInt32() == 0)
                throw client::Error("The load failed: " + told);
            digest.add(told);
            return;
        }
        if (command == "VnxUtilDialogErrMsg") {
            told += socket.receiveString(4096);
            socket.sendString("command finished");
            continue;
        }
        if (command == "VnxUtilDataNodeSectionArraySetByRef")
            digest.add(socket.receiveInt32());
        digest.add(socket.receiveInt64()).add(socket.receiveInt64());
        if (command == "VnxUtilDataValueArraySetByRef")
            digest.add(socket.receiveVector<float>(100));
        else
            digest.add(socket.receiveVector<int>(100'000));
    }
}

void loadNodeMaps(Talk& talk)
{
    for (Zone const& zone : talk.engine().dataSet().zones)
        for (char const* const command : {"load node map", "unload node map"})
            talk.step(ofZone(command, zone.number), [&](Digest& digest) {
                talk.socket().sendString(command);
                talk.socket().sendInt32(zone.number);
                serveLoad(talk, digest);
            });
}

// Methods that the engine doesn't use.

void send(Talk& talk, char const* service, char const* method)
{
    talk.socket().sendString(service);
    talk.socket().sendInt(0);
    talk.socket().sendString(method);
}

void sendOfVariable(Talk& talk, char const* service, int var, char const* method)
{
    talk.socket().sendString(service);
    talk.socket().sendInt(0);
    talk.socket().sendInt(var);
    talk.socket().sendString(method);
}

void askMethods(Talk& talk, char const* service, std::vector<char const*> const& silent)
{
    talk.step("methods without an answer", [&](Digest& digest) {
        for (char const* const method : silent)
            send(talk, service, method);
        send(talk, service, "checkin");
        talk.socket().sendUInt64Vector({0, SubzoneAddress(0, 0, 1).word()});
        send(talk, service, "numSubzones");
        digest.add(talk.socket().receiveUInt64());
        send(talk, service, "subzoneSize");
        talk.socket().sendUInt64(0);
        digest.add(talk.socket().receiveUInt16());
    });
    talk.step("addresses", [&](Digest& digest) {
        ItemAddress<long> const item(SubzoneAddress(0, 0, 0), 3);
        send(talk, service, "toUniformAddress");
        talk.socket().sendUInt64(item.word());
        unsigned long const uniform = talk.socket().receiveUInt64();
        send(talk, service, "toHdqAddress");
        talk.socket().sendUInt64(uniform);
        digest.add(uniform).add(talk.socket().receiveUInt64());
    });
}

void askCellMethods(Talk& talk)
{
    constexpr char const* SERVICE = "CellConnectivityQuery";
    askMethods(talk, SERVICE,
               {"setup", "teardown", "destroy", "checkinAll", "copyToUniformNM",
                "updateInternalFaceNeighbors", "faceNeighbors", "setFaceNeighbors", "nonsense"});
    talk.step("one cell", [&](Digest& digest) {
        unsigned long const word = ItemAddress<long>(SubzoneAddress(0, 0, 0), 2).word();
        for (char const* const method : {"cornerNodeCount", "nodeCount", "faceCount"}) {
            send(talk, SERVICE, method);
            talk.socket().sendUInt64(word);
            digest.add(talk.socket().receiveUInt64());
        }
        for (char const* const method : {"cornerNodeAddresses", "nodeAddresses"}) {
            send(talk, SERVICE, method);
            talk.socket().sendUInt64(word);
            digest.add(talk.socket().receiveUInt64Vector());
        }
        for (char const* const method : {"cornerNodeAddress", "nodeAddress"}) {
            send(talk, SERVICE, method);
            talk.socket().sendUInt64(word);
            talk.socket().sendUInt32(1);
            digest.add(talk.socket().receiveUInt64());
        }
    });
    talk.step("its node subzones", [&](Digest& digest) {
        send(talk, SERVICE, "referencedNodeSubzones");
        talk.socket().sendUInt64(0);
        digest.add(talk.socket().receiveUInt64Vector());
    });
    talk.step("all checked out", [&](Digest& digest) {
        send(talk, SERVICE, "checkoutAll");
        talk.socket().sendUInt8(1);
        send(talk, SERVICE, "numSubzones");
        digest.add(talk.socket().receiveUInt64());
    });
}

void askNodeMethods(Talk& talk)
{
    constexpr char const* SERVICE = "NodeConnectivityQuery";
    askMethods(talk, SERVICE,
               {"setup", "teardown", "destroy", "checkoutAll", "checkinAll", "copyToUniformNM"});
    talk.step("cell subzones at the nodes", [&](Digest& digest) {
        send(talk, SERVICE, "referencedCellSubzones");
        talk.socket().sendUInt64(0);
        digest.add(talk.socket().receiveUInt64Vector());
    });
}

void askVariableMethods(Talk& talk)
{
    talk.step("methods of variables without an answer", [&](Digest& digest) {
        for (char const* const method :
             {"setup", "teardown", "destroy", "checkoutAll", "checkinAll", "copyToUniformFD",
              "fieldValue", "fieldValues", "nonsense"})
            sendOfVariable(talk, "NodalVarQuery", 0, method);
        sendOfVariable(talk, "NodalVarQuery", 0, "checkin");
        talk.socket().sendUInt64Vector({0});
        for (char const* const method :
             {"setup", "teardown", "destroy", "findNodeSubzones", "findCellSubzones"})
            sendOfVariable(talk, "VarSubzoneQuery", 0, method);
        for (char const* const method : {"destroy", "nonsense"})
            send(talk, "ZoneVarIDQuery", method);
        sendOfVariable(talk, "VarSubzoneQuery", 0, "partitionMinMaxes");
        digest.add(talk.socket().receiveDoubleVector());
    });
}

void askIdentity(Talk& talk)
{
    forEachVariable(talk, [&](int zone, int var) {
        talk.step(ofVariable("existence", zone, var),
                  [&](Digest& digest) { digest.add(talk.engine().hasVariable(zone, var)); });
    });
}

void duplicate(Talk& talk)
{
    int copy = 0;
    talk.step("duplicate", [&](Digest& digest) {
        copy = talk.engine().duplicateZone(1);
        digest.add(copy);
    });
    talk.step("duplicate of the duplicate",
              [&](Digest& digest) { digest.add(talk.engine().duplicateZone(copy)); });
    talk.step("values of the duplicate", [&](Digest& digest) {
        talk.engine().allSubzoneValues(
            copy, 4, [&](SubzoneAddress, Values const& values) { add(digest, values); });
    });
    talk.step("search in the duplicate", [&](Digest& digest) {
        add(digest, talk.engine().subzonesThatMayHold(copy, {{6, 0.1}}, ValueLocation_Nodal));
    });
    int const calculated = calculate(talk, copy, "{v6}*2+{v4}");
    talk.step("values calculated for the duplicate", [&](Digest& digest) {
        talk.engine().allSubzoneValues(
            copy, calculated, [&](SubzoneAddress, Values const& values) { add(digest, values); });
    });
}

void list(Talk& talk, std::string const& folder)
{
    talk.step("list files", [&](Digest& digest) {
        client::Listing listing = talk.engine().listFiles(folder);
        std::sort(listing.entries.begin(), listing.entries.end(),
                  [](auto const& a, auto const& b) { return a.name < b.name; });
        digest.add(listing.directory);
        for (client::FileEntry const& entry : listing.entries)
            digest.add(entry.name).add(entry.type).add(entry.size).add(entry.permissions);
    });
}

void send(Talk& talk, char const* command)
{
    talk.step(command, [&](Digest& digest) {
        talk.socket().sendString(command);
        digest.add(talk.socket().receiveUInt8());
    });
}

void useEveryCallback(Talk& talk)
{
    for (char const* const command :
         {"load field data", "unload field data", "clean up field data", "load node map",
          "unload node map", "clean up node map", "load face neighbors", "unload face neighbors",
          "clean up face neighbors"})
        talk.step(command, [&](Digest& digest) {
            talk.socket().sendString(command);
            talk.socket().sendInt32(1);
            if (std::string(command).find("field data") != std::string::npos)
                talk.socket().sendInt32(1);
            serveLoad(talk, digest);
        });
}

using Part = void (*)(Talk&);

/// Loads, then takes the parts in turn.
std::function<void(Talk&)> loading(std::vector<std::string> const& paths,
                                   std::vector<Part> const& parts = {})
{
    return [=](Talk& talk) {
        talk.load(paths);
        for (Part const part : parts)
            part(talk);
    };
}

void searchBoth(Talk& talk)
{
    search(talk, {});
    search(talk, {{4, 0.1}, {6, 0.25}});
    search(talk, {{5, 0.1}});
}

void calculateTwo(Talk& talk)
{
    calculateAndAsk(talk, {"sqrt(abs({v6}))+{v4}*3", "max({v5},{v3})-1.5"});
}

std::vector<Scenario> makeScenarios()
{
    SampleFiles const& files = SampleFiles::get();
    std::string const data = VNX_SOURCE_DIR "/examples/data/";
    return {
        // Browsing, and what is refused.
        {"ListFileTypes", LOADER,
         [](Talk& talk) {
             talk.step("list file types", [&](Digest& digest) {
                 auto const types = talk.engine().listFileTypes();
                 digest.add(types.loaderName).add(types.extensions);
             });
         }},
        {"ListFiles", LOADER, [](Talk& talk) { list(talk, SampleFiles::get().other("listing")); },
         true},
        {"ListNoFolder", LOADER, [](Talk& talk) { list(talk, SampleFiles::get().other("none")); },
         true},
        {"UnknownCommand", LOADER, [](Talk& talk) { send(talk, "do something"); }},
        {"QueryBeforeLoad", LOADER, [](Talk& talk) { send(talk, "loaderQuery"); }},
        {"MissingFile", LOADER, loading({files.other("none.hdqfs")})},
        {"CutFile", LOADER, loading({files.other("cut")})},
        {"EmptyFile", LOADER, loading({files.other("empty")})},
        {"ForeignFile", LOADER, loading({files.other("foreign")})},
        // Loads.
        {"LoadOrdered", LOADER, loading({file("box")}, {askShapes})},
        {"LoadOrderedText", LOADER, loading({textFile("box")}, {askShapes})},
        {"LoadPartitions", LOADER, loading({file("boxes")}, {askShapes})},
        {"LoadPartitionsText", LOADER, loading({textFile("boxes")}, {askShapes})},
        {"LoadMesh", LOADER, loading({file("mesh")}, {askShapes})},
        {"LoadMeshText", LOADER, loading({textFile("mesh")}, {askShapes})},
        {"LoadMixed", LOADER, loading({file("mixed")}, {askShapes})},
        {"LoadMixedText", LOADER, loading({textFile("mixed")}, {askShapes})},
        {"LoadShared", LOADER, loading({file("shared")}, {askShapes})},
        {"LoadSharedText", LOADER, loading({textFile("shared")}, {askShapes})},
        {"LoadAnnotated", LOADER, loading({file("annotated")}, {loadFaceNeighbors})},
        {"LoadAnnotatedText", LOADER, loading({textFile("annotated")}, {loadFaceNeighbors})},
        {"LoadSeries", LOADER, loading(series(false), {askShapes})},
        {"LoadSeriesText", LOADER, loading(series(true), {askShapes})},
        {"LoadSample", LOADER,
         loading({data + "tjunction_grid.hdqfs", data + "tjunction_t05.hdqfs"})},
        {"LoadTwice", LOADER,
         [](Talk& talk) {
             talk.load({file("box")});
             talk.load({file("mesh")});
             askShapes(talk);
         }},
        // Values.
        {"ValuesOrdered", LOADER, loading({file("box")}, {askValues})},
        {"ValuesOrderedText", LOADER, loading({textFile("box")}, {askValues})},
        {"ValuesPartitions", LOADER, loading({file("boxes")}, {askValues})},
        {"ValuesMesh", LOADER, loading({file("mesh")}, {askValues})},
        {"ValuesMeshText", LOADER, loading({textFile("mesh")}, {askValues})},
        {"ValuesMixed", LOADER, loading({file("mixed")}, {askValues})},
        {"ValuesShared", LOADER, loading({file("shared")}, {askValues})},
        {"ValuesSeries", LOADER, loading(series(false), {askValues})},
        {"ValuesSeriesText", LOADER, loading(series(true), {askValues})},
        {"VariableMethods", LOADER, loading({file("box")}, {askVariableMethods, askIdentity})},
        // Connectivity.
        {"CellsMesh", LOADER, loading({file("mesh")}, {askCells})},
        {"CellsMeshText", LOADER, loading({textFile("mesh")}, {askCells})},
        {"CellsMixed", LOADER, loading({file("mixed")}, {askCells, askCellMethods})},
        {"CellsPartitions", LOADER, loading({file("boxes")}, {askCells, askCellMethods})},
        {"CellMethodsMesh", LOADER, loading({file("mesh")}, {askCellMethods})},
        {"NodesMesh", LOADER, loading({file("mesh")}, {askNodes, askNodeMethods})},
        {"NodesMeshText", LOADER, loading({textFile("mesh")}, {askNodes, askNodeMethods})},
        {"NodesPartitions", LOADER, loading({file("boxes")}, {askNodes, askNodeMethods})},
        {"NodesMixed", LOADER, loading({file("mixed")}, {askNodes})},
        // Ranges and searches.
        {"RangesPartitions", LOADER, loading({file("boxes")}, {askRanges})},
        {"RangesMesh", LOADER, loading({file("mesh")}, {askRanges})},
        {"RangesMeshText", LOADER, loading({textFile("mesh")}, {askRanges})},
        {"SearchMesh", LOADER, loading({file("mesh")}, {searchBoth})},
        {"SearchMeshText", LOADER, loading({textFile("mesh")}, {searchBoth})},
        {"SearchPartitions", LOADER, loading({file("boxes")}, {searchBoth})},
        {"SearchMixed", LOADER, loading({file("mixed")}, {searchBoth})},
        {"PlanesAndLines", LOADER, loading({file("boxes")}, {cutPlanes})},
        {"PlanesAndLinesText", LOADER, loading({textFile("boxes")}, {cutPlanes})},
        // Calculated variables and duplicates.
        {"CalculateOrdered", LOADER, loading({file("box")}, {calculateTwo})},
        {"CalculateMesh", LOADER, loading({file("mesh")}, {calculateTwo})},
        {"CalculateMeshText", LOADER, loading({textFile("mesh")}, {calculateTwo})},
        {"Duplicate", LOADER, loading({file("mesh")}, {duplicate})},
        {"DuplicateOrdered", LOADER, loading({file("boxes")}, {duplicate})},
        // Loads on demand.
        {"OnDemandOrdered", LOADER, loading({file("boxes")}, {loadOnDemand})},
        {"OnDemandMesh", LOADER, loading({file("mesh")}, {loadOnDemand})},
        {"OnDemandMeshText", LOADER, loading({textFile("mesh")}, {loadOnDemand})},
        {"OnDemandPlain", LOADER, loading({file("plain")}, {loadOnDemand, loadNodeMaps})},
        {"OnDemandPlainText", LOADER, loading({textFile("plain")}, {loadOnDemand, loadNodeMaps})},
        {"OnDemandSeries", LOADER, loading(series(false), {loadOnDemand})},
        {"OnDemandShared", LOADER, loading({file("shared")}, {loadOnDemand})},
        // Other add-ons: forwarded calls, batches, commands within commands.
        {"ForwardedCalls", CALLS, loading({file("everything")})},
        {"NestedService", CALLS, loading({file("everything")}, {loadOnDemand, loadFaceNeighbors})},
        {"LoaderThrows", CALLS, loading({file("throws")})},
        {"LoaderFails", CALLS, loading({file("fails")})},
        {"Batch", SCRIPTED, loading({file("builds")})},
        {"EveryCallback", SCRIPTED, loading({file("registers")}, {useEveryCallback})},
        // All together.
        {"Tour", LOADER,
         loading({file("mesh")}, {askShapes, askValues, askCells, askNodes, askRanges, searchBoth,
                                  calculateTwo, duplicate, loadOnDemand})},
        {"TourOrdered", LOADER,
         loading({file("boxes")}, {askShapes, askValues, askCells, askNodes, askRanges, searchBoth,
                                   cutPlanes, calculateTwo, duplicate, loadOnDemand})},
    };
}

}

std::vector<Scenario> const& scenarios()
{
    static std::vector<Scenario> const result = makeScenarios();
    return result;
}

Scenario const& nextSession()
{
    static Scenario const result{
        "NextSession", LOADER, [](Talk& talk) {
            talk.load({file("mesh")});
            talk.step("values", [&](Digest& digest) {
                talk.engine().subzoneValues(
                    1, 4, {SubzoneAddress(1, 0, 0)},
                    [&](SubzoneAddress, Values const& values) { add(digest, values); });
            });
            calculate(talk, 1, "{v4}+1");
            search(talk, {{4, 0.1}});
        }};
    return result;
}

}
