#include "varnox/hdqremote/DataSetRegistrationServer.h"

#include "command/CommandCache.h"
#include "command/LoaderCommands.h"
#include "filedata/DataFileHeader.h"
#include "filedata/FileSetMetadata.h"
#include "filedata/FileStreamReader.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "query/LoaderServer.h"
#include "query/ServerStore.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <initializer_list>

namespace varnox::hdqremote {

using hdqio::FileSetMetadata;
using socketutil::SocketInterface;
using socketutil::WriteCache;

namespace {

/// A zone or variable number this far beyond the data set is taken for a mistake of the add-on.
constexpr std::size_t MAX_GAP = 1'000'000;

/// Every zone gets a slot for every variable that any zone has. Beyond this many, all slots
/// together mustn't be more than a multiple of those that zones have already: a file of many zones
/// and one of many variables, each of them small, would cost memory out of proportion to both.
constexpr std::size_t FEW_SLOTS = 1'000'000;
constexpr std::size_t MAX_SLOTS_PER_SLOT = 32;

std::string zoneMessage(int zone)
{
    return "Zone " + std::to_string(zone) + " does not exist.";
}

/// The file type of a path.
DataFileType_e classify(std::string const& path)
{
    hdqio::FileStreamReader reader(path);
    if (!reader.open())
        throw DataSetRegistrationServer::Error("Failed to open file for reading: " + path);
    hdqio::FileDescription description;
    std::uint64_t byteOrderIndicator = 0;
    std::uint64_t dataSetHeaderFileLoc = 0;
    if (!hdqio::readDataFileHeader(reader, description, byteOrderIndicator, dataSetHeaderFileLoc))
        throw DataSetRegistrationServer::Error("Failed to read HDQFS header: " + path);
    return description.dataFileType();
}

/// A share inside a file set as one of the whole data set.
std::int32_t inDataSet(std::int32_t shared, std::int32_t firstZone)
{
    return shared == -1 ? -1
                        : static_cast<std::int32_t>(static_cast<std::uint32_t>(shared) +
                                                    static_cast<std::uint32_t>(firstZone));
}

}

class VNX_LOCAL DataSetRegistrationServer::Impl
{
public:
    using Number = ServerStore::Number;

    /// What was registered for a zone, by its numbers in the store.
    struct ZoneQueries
    {
        Number connectivity = 0;
        Number ordered = 0;
        Number identity = 0;
    };

    Impl(SocketInterface& connection, CommandCache& cache, DataSetRegistrationServer& owner)
        : socket(connection), commandCache(cache), store(connection, owner)
    {
    }

    void startAfresh()
    {
        ++numLoads;
        loaderServer.reset();
        zoneQueries.clear();
        varQueries.clear();
        store.clear();
        zoneFileSets.clear();
        zoneShareConnectivity.clear();
        varZoneShareVar.clear();
        numSlotsOfEveryZone = 0;
        fileSetFirstZones.clear();
        fileSets.clear();
    }

    void setFilePaths(std::vector<std::string> const& paths)
    {
        startAfresh();
        fileSetFirstZones.reserve(paths.size() + 1);
        fileSetFirstZones.push_back(0);
        fileSets.reserve(paths.size());
        if (paths.empty()) {
            ensureCapacityForZoneVarService(-1, -1);
            return;
        }
        std::int32_t maxVars = 0;
        std::size_t next = 0;
        while (next < paths.size())
            maxVars = std::max(maxVars, addFileSet(takeFileSet(paths, next)));
        ensureCapacityForZoneVarService(fileSetFirstZones.back() - 1, maxVars - 1);
    }

    /// The next path with the solution files that follow it.
    static std::vector<std::string> takeFileSet(std::vector<std::string> const& paths,
                                                std::size_t& next)
    {
        std::vector<std::string> set{paths[next]};
        if (classify(paths[next]) == DataFileType_Solution)
            throw Error("Expected a grid file but found a solution file: " + paths[next] +
                        "\n\nOne or more solution files must be preceded by a grid file.");
        for (++next; next < paths.size() && classify(paths[next]) == DataFileType_Solution; ++next)
            set.push_back(paths[next]);
        return set;
    }

    /// Returns the number of variables of the set's zones: 0 if it has none.
    std::int32_t addFileSet(std::vector<std::string> const& paths)
    {
        auto set = std::make_unique<FileSetMetadata>(paths);
        auto const fileSetIndex = static_cast<std::uint32_t>(fileSets.size());
        std::int32_t const first = fileSetFirstZones.back();
        std::int32_t const numVars = set->numFileSetVars();
        std::int64_t const totalZones = std::int64_t{first} + set->numFileSetZones();
        if (totalZones >= 0x7FFFFFFF)
            throw Error("The data set has more zones than there can be.");
        zoneFileSets.resize(static_cast<std::size_t>(totalZones));
        zoneShareConnectivity.resize(static_cast<std::size_t>(totalZones));
        varZoneShareVar.resize(static_cast<std::size_t>(totalZones));
        for (std::int32_t z = 0; z < set->numFileSetZones(); ++z) {
            auto const inSet = static_cast<std::size_t>(z);
            auto const zone = static_cast<std::size_t>(first) + inSet;
            zoneFileSets[zone] = fileSetIndex;
            zoneShareConnectivity[zone] = inDataSet(set->zoneShareConnectivity()[inSet], first);
            varZoneShareVar[zone].resize(static_cast<std::size_t>(numVars));
            for (std::size_t v = 0; v < static_cast<std::size_t>(numVars); ++v)
                varZoneShareVar[zone][v] = inDataSet(set->varZoneShareVar()[v][inSet], first);
        }
        fileSets.push_back(std::move(set));
        fileSetFirstZones.push_back(static_cast<std::int32_t>(totalZones));
        return totalZones > first ? numVars : 0;
    }

    void ensureCapacityForZoneService(int zone)
    {
        auto const wanted = static_cast<std::size_t>(std::int64_t{zone} + 1);
        if (zoneQueries.size() >= wanted)
            return;
        if (wanted > std::max(zoneFileSets.size(), zoneQueries.size()) + MAX_GAP)
            throw Error(zoneMessage(zone));
        numSlotsOfEveryZone = 0; // the new ones have none
        zoneQueries.resize(wanted);
        zoneFileSets.resize(wanted, 0);
        zoneShareConnectivity.resize(wanted, -1);
        varZoneShareVar.resize(wanted);
        varQueries.resize(wanted);
    }

    /// Gives every zone of the data set a slot for the variable, so that variables are numbered
    /// alike.
    void ensureCapacityForZoneVarService(int zone, int var)
    {
        ensureCapacityForZoneService(zone);
        auto const wanted = static_cast<std::size_t>(std::int64_t{var} + 1);
        if (wanted <= numSlotsOfEveryZone)
            return;
        checkSlots(wanted);
        for (std::size_t z = 0; z < varQueries.size(); ++z) {
            if (varQueries[z].size() >= wanted)
                continue;
            varZoneShareVar[z].resize(wanted, -1);
            varQueries[z].resize(wanted);
        }
        numSlotsOfEveryZone = wanted;
    }

    void checkSlots(std::size_t wanted) const
    {
        std::size_t widest = 0;
        std::size_t total = 0;
        for (auto const& shares : varZoneShareVar) {
            widest = std::max(widest, shares.size());
            total += shares.size();
        }
        if (wanted > widest + MAX_GAP)
            throw Error("Variable " + std::to_string(wanted - 1) + " does not exist.");
        std::size_t const slots = wanted * varQueries.size();
        if (slots > FEW_SLOTS && slots / MAX_SLOTS_PER_SLOT > total)
            throw Error("The data set would have " + std::to_string(wanted) +
                        " variables for each of " + std::to_string(varQueries.size()) +
                        " zones, of which most have far fewer.");
    }

    void checkZone(int zone) const
    {
        if (zone < 0)
            throw Error(zoneMessage(zone));
    }

    FileSetMetadata const& firstFileSet() const
    {
        if (fileSets.empty())
            throw Error("Nothing can be registered before a data set has been loaded.");
        return *fileSets.front();
    }

    /// The zone, which exists, or the one whose connectivity it shares.
    std::size_t connectivityZone(int zone) const
    {
        std::int32_t const shared = zoneShareConnectivity[static_cast<std::size_t>(zone)];
        auto const result = static_cast<std::size_t>(shared == -1 ? zone : shared);
        if (result >= zoneQueries.size() || zoneQueries[result].connectivity == 0)
            throw Error("The connectivity of zone " + std::to_string(zone) +
                        " must be registered before its variables.");
        return result;
    }

    void registerVarQueryServers(hdq::VarValueQueryInterface* cellCentered,
                                 hdq::VarValueQueryInterface* nodal,
                                 hdq::VarSubzoneQueryInterface* subzones, FieldDataType_e type,
                                 int zone, int var)
    {
        std::uint16_t const maxSize = firstFileSet().subzoneMaxSize();
        ensureCapacityForZoneVarService(zone, var);
        std::size_t const source = connectivityZone(zone);
        auto const z = static_cast<std::size_t>(zone);
        auto const v = static_cast<std::size_t>(var);
        ServerStore::Connectivity const& connectivity =
            store.connectivity(zoneQueries[source].connectivity);
        varQueries[z][v] =
            store.putVariable(varQueries[z][v], {cellCentered, nodal, subzones},
                              {connectivity.cells, connectivity.nodes, zone, maxSize}, type);
        varZoneShareVar[z][v] = -1;
    }

    /// Reads the client's answer to a variable's announcement: only it tells the type. The client
    /// may have loaded another data set before it answers, which has variables of its own.
    bool registerVarQueryServices(hdq::VarValueQueryInterface* cellCentered,
                                  hdq::VarValueQueryInterface* nodal,
                                  hdq::VarSubzoneQueryInterface* subzones, int zone, int var,
                                  std::uint64_t load)
    {
        auto const type = static_cast<FieldDataType_e>(socket.receiveInt32());
        if (load == numLoads)
            registerVarQueryServers(cellCentered, nodal, subzones, type, zone, var);
        return true;
    }

    ZoneQueries const& queriesOf(int zone) const
    {
        if (static_cast<std::size_t>(zone) >= zoneQueries.size())
            throw Error(zoneMessage(zone));
        return zoneQueries[static_cast<std::size_t>(zone)];
    }

    Number queriesOf(int zone, int var) const
    {
        if (static_cast<std::size_t>(zone) >= varQueries.size())
            throw Error(zoneMessage(zone));
        std::vector<Number> const& ofZone = varQueries[static_cast<std::size_t>(zone)];
        if (static_cast<std::size_t>(var) >= ofZone.size())
            throw Error("Zone " + std::to_string(zone) + " does not exist for var " +
                        std::to_string(var) + ".");
        return ofZone[static_cast<std::size_t>(var)];
    }

    SocketInterface& socket;
    CommandCache& commandCache;
    ServerStore store;
    std::vector<ZoneQueries> zoneQueries;
    std::vector<std::vector<Number>> varQueries; ///< By zone, then variable: numbers in the store.
    std::vector<std::uint32_t> zoneFileSets;
    std::vector<std::int32_t> zoneShareConnectivity;
    std::vector<std::vector<std::int32_t>> varZoneShareVar;
    std::vector<std::int32_t> fileSetFirstZones;
    std::vector<std::unique_ptr<FileSetMetadata>> fileSets;
    std::unique_ptr<LoaderServer> loaderServer;
    /// At least; saves looking at all zones for each variable.
    std::size_t numSlotsOfEveryZone = 0;
    std::uint64_t numLoads = 0; ///< The number of the present one.
};

DataSetRegistrationServer::Error::Error(std::string const& message) : ExceptionBase(message, false)
{
}

DataSetRegistrationServer::Error::~Error() = default;

DataSetRegistrationServer::DataSetRegistrationServer(SocketInterface& socket,
                                                     CommandCache& commandCache)
    : m_impl(std::make_unique<Impl>(socket, commandCache, *this))
{
}

DataSetRegistrationServer::~DataSetRegistrationServer() = default;

namespace {

/// The first registration of a load sequence announces the data set.
void ensureLoaderServer(std::unique_ptr<LoaderServer>& loaderServer,
                        DataSetRegistrationServer& registrationServer)
{
    if (loaderServer == nullptr)
        loaderServer = std::make_unique<LoaderServer>(registrationServer);
}

/// A zone's place in the tables. The announcement delivers what was batched before; if the client
/// loads another data set in the course of it, the tables are those of that one.
template <typename Impl>
void prepareZone(Impl& impl, DataSetRegistrationServer& registrationServer, int zone)
{
    impl.checkZone(zone);
    impl.ensureCapacityForZoneService(zone);
    ensureLoaderServer(impl.loaderServer, registrationServer);
    impl.ensureCapacityForZoneService(zone);
}

/// What an add-on hands over for a zone.
void requireObjects(int zone, std::initializer_list<void const*> objects)
{
    for (void const* const object : objects)
        if (object == nullptr)
            throw DataSetRegistrationServer::Error("A query object of zone " +
                                                   std::to_string(zone) + " is missing.");
}

void announceZone(CommandCache& commandCache, std::string const& command, int zone)
{
    WriteCache cache;
    cache.addString(command);
    cache.addInt(zone);
    commandCache.appendCache(cache);
}

}

void DataSetRegistrationServer::registerZoneConnectivityQueryServices(
    hdq::CellConnectivityQueryInterface* cell, hdq::NodeConnectivityQueryInterface* node, int zone)
{
    requireObjects(zone, {cell, node});
    prepareZone(*m_impl, *this, zone);
    auto& connectivity = m_impl->zoneQueries[static_cast<std::size_t>(zone)].connectivity;
    connectivity = m_impl->store.putConnectivity(connectivity, {cell, node, zone, false});
    announceZone(m_impl->commandCache, REGISTER_FE_CONNECTIVITY_QUERY_SERVICES, zone);
}

void DataSetRegistrationServer::registerZoneConnectivityQueryServices(
    hdq::CellConnectivityQueryInterface* cell, hdq::NodeConnectivityQueryInterface* node,
    hdq::OrderedSubzoneQueryInterface* ordered, int zone)
{
    requireObjects(zone, {cell, node, ordered});
    prepareZone(*m_impl, *this, zone);
    auto& queries = m_impl->zoneQueries[static_cast<std::size_t>(zone)];
    queries.connectivity =
        m_impl->store.putConnectivity(queries.connectivity, {cell, node, zone, true});
    queries.ordered = m_impl->store.putOrdered(queries.ordered, *ordered);
    announceZone(m_impl->commandCache, REGISTER_ORDERED_CONNECTIVITY_QUERY_SERVICES, zone);
}

void DataSetRegistrationServer::registerZoneVarIDQueryServices(
    hdq::ZoneVarIDQueryInterface* zoneVarID, int zone)
{
    requireObjects(zone, {zoneVarID});
    prepareZone(*m_impl, *this, zone);
    auto& identity = m_impl->zoneQueries[static_cast<std::size_t>(zone)].identity;
    identity = m_impl->store.putIdentity(identity, *zoneVarID, zone);
    announceZone(m_impl->commandCache, REGISTER_ZONE_VARID_QUERY_SERVICES, zone);
}

void DataSetRegistrationServer::registerVarQueryServices(hdq::VarValueQueryInterface* cellCentered,
                                                         hdq::VarValueQueryInterface* nodal,
                                                         hdq::VarSubzoneQueryInterface* subzones,
                                                         int zone, int var)
{
    requireObjects(zone, {cellCentered, nodal, subzones});
    m_impl->checkZone(zone);
    if (var < 0)
        throw Error("Zone " + std::to_string(zone) + " does not exist for var " +
                    std::to_string(var) + ".");
    ensureLoaderServer(m_impl->loaderServer, *this);
    double ranges[4] = {};
    nodal->minMax(ranges[0], ranges[1]);
    cellCentered->minMax(ranges[2], ranges[3]);
    WriteCache cache;
    cache.addString(REGISTER_VAR_QUERY_SERVICES);
    cache.addInt(zone);
    cache.addInt(var);
    for (double const value : ranges)
        cache.addDouble(value);
    std::function<bool()> routine = [impl = m_impl.get(), cellCentered, nodal, subzones, zone, var,
                                     load = m_impl->numLoads] {
        return impl->registerVarQueryServices(cellCentered, nodal, subzones, zone, var, load);
    };
    m_impl->commandCache.appendCache(cache);
    m_impl->commandCache.addReceiveRoutine(std::move(routine));
}

void DataSetRegistrationServer::setFilePaths(std::vector<std::string> const& paths)
{
    m_impl->setFilePaths(paths);
}

std::uint64_t DataSetRegistrationServer::numLoads() const
{
    return m_impl->numLoads;
}

int DataSetRegistrationServer::registerCalcVarQueryServices(
    hdq::VarValueQueryInterface* cellCentered, hdq::VarValueQueryInterface* nodal,
    hdq::VarSubzoneQueryInterface* subzones, FieldDataType_e fieldDataType, int zone)
{
    auto const& queries = m_impl->varQueries;
    if (static_cast<std::size_t>(zone) >= queries.size())
        throw Error(zoneMessage(zone));
    auto const var = static_cast<int>(queries[static_cast<std::size_t>(zone)].size());
    m_impl->registerVarQueryServers(cellCentered, nodal, subzones, fieldDataType, zone, var);
    return var;
}

int DataSetRegistrationServer::createDuplicateZoneVarIDQueryService(
    int zone, hdq::ZoneVarIDQueryInterface* zoneVarID)
{
    Impl& impl = *m_impl;
    if (static_cast<std::size_t>(zone) >= impl.zoneQueries.size())
        throw Error(zoneMessage(zone));
    if (zoneVarID == nullptr)
        throw Error("Zone " + std::to_string(zone) + " was not duplicated.");
    auto const source = static_cast<std::size_t>(zone);
    std::size_t const copy = impl.zoneQueries.size();
    auto const newZone = static_cast<int>(copy);
    std::size_t const numVars = impl.varQueries[source].size();
    std::size_t const connectivity = impl.connectivityZone(zone);
    impl.ensureCapacityForZoneVarService(newZone, static_cast<int>(numVars) - 1);

    Impl::ZoneQueries const shared = impl.zoneQueries[connectivity];
    Impl::ZoneQueries& queries = impl.zoneQueries[copy];
    ServerStore::Connectivity objects = impl.store.connectivity(shared.connectivity);
    objects.zone = newZone;
    queries.connectivity = impl.store.putConnectivity(0, objects);
    if (shared.ordered != 0)
        queries.ordered = impl.store.putOrdered(0, impl.store.ordered(shared.ordered));
    queries.identity = impl.store.putIdentity(0, *zoneVarID, newZone);
    impl.zoneShareConnectivity[copy] = static_cast<std::int32_t>(connectivity);
    for (std::size_t v = 0; v < numVars; ++v) {
        std::int32_t const sharedVar = impl.varZoneShareVar[source][v];
        impl.varZoneShareVar[copy][v] = sharedVar != -1 ? sharedVar : zone;
        impl.store.shareVariable(impl.varQueries[source][v]);
        impl.varQueries[copy][v] = impl.varQueries[source][v];
    }
    return newZone;
}

LoaderServer* DataSetRegistrationServer::loaderServer()
{
    return m_impl->loaderServer.get();
}

CellConnectivityQueryServer* DataSetRegistrationServer::cellConnectivityQueryServer(int zone)
{
    return m_impl->store.cellServer(m_impl->queriesOf(zone).connectivity);
}

NodeConnectivityQueryServer* DataSetRegistrationServer::nodeConnectivityQueryServer(int zone)
{
    return m_impl->store.nodeServer(m_impl->queriesOf(zone).connectivity);
}

OrderedSubzoneQueryServer* DataSetRegistrationServer::orderedSubzoneQueryServer(int zone)
{
    return m_impl->store.orderedServer(m_impl->queriesOf(zone).ordered);
}

ZoneVarIDQueryServer* DataSetRegistrationServer::zoneVarIDQueryServer(int zone)
{
    return m_impl->store.identityServer(m_impl->queriesOf(zone).identity);
}

VarValueQueryServer* DataSetRegistrationServer::nodalVarQueryServer(int zone, int var)
{
    return m_impl->store.nodalServer(m_impl->queriesOf(zone, var));
}

VarValueQueryServer* DataSetRegistrationServer::cellCenteredVarQueryServer(int zone, int var)
{
    return m_impl->store.cellCenteredServer(m_impl->queriesOf(zone, var));
}

VarSubzoneQueryServer* DataSetRegistrationServer::varSubzoneQueryServer(int zone, int var)
{
    return m_impl->store.subzoneServer(m_impl->queriesOf(zone, var));
}

void DataSetRegistrationServer::handleLoaderMetadataRequest()
{
    m_impl->firstFileSet();
    if (m_impl->commandCache.isCachingCommands())
        m_impl->commandCache.flushCachedCommands(); // what was batched before arrives first
    // Not from before the flush: the client may have loaded another data set in it.
    FileSetMetadata const& first = m_impl->firstFileSet();
    hdqio::IJK const limit = first.subzoneMaxIJK();
    WriteCache cache;
    cache.addString(REGISTER_LOADER_QUERY_SERVICE);
    cache.addUInt32(first.subzoneMaxSize());
    cache.addUInt32(static_cast<std::uint32_t>(limit.i));
    cache.addUInt32(static_cast<std::uint32_t>(limit.j));
    cache.addUInt32(static_cast<std::uint32_t>(limit.k));
    cache.addInt32Vector(m_impl->zoneShareConnectivity);
    for (std::vector<std::int32_t> const& shares : m_impl->varZoneShareVar)
        cache.addInt32Vector(shares);
    cache.addUInt32(static_cast<std::uint32_t>(m_impl->fileSets.size()));
    for (auto const& set : m_impl->fileSets) {
        cache.addUInt32(set->numFilesInFileSet());
        cache.addInt32(set->numGridOrFullFileZones());
        cache.addInt32(set->numGridOrFullFileVars());
    }
    cache.addInt32Vector(m_impl->fileSetFirstZones);
    cache.addUInt32Vector(m_impl->zoneFileSets);
    m_impl->socket.sendCache(cache);
}

void DataSetRegistrationServer::handleZoneMetadataRequest()
{
    m_impl->socket.receiveString(); // there is one request only, whatever its name
    std::uint32_t const fileSet = m_impl->socket.receiveUInt32();
    std::uint32_t const file = m_impl->socket.receiveUInt32();
    std::int32_t const zone = m_impl->socket.receiveInt32();
    if (fileSet >= m_impl->fileSets.size())
        throw Error("File set " + std::to_string(fileSet) + " does not exist.");
    FileSetMetadata& set = *m_impl->fileSets[fileSet];
    if (file >= set.numFilesInFileSet())
        throw Error("File " + std::to_string(file) + " does not exist in file set " +
                    std::to_string(fileSet) + ".");
    if (zone < 0 || zone >= set.numGridOrFullFileZones())
        throw Error(zoneMessage(zone));
    WriteCache cache;
    hdqlib::ZoneMetadataSerializer(set.zoneMetadata(file, zone)).addToCache(cache);
    m_impl->socket.sendCache(cache);
}

}
