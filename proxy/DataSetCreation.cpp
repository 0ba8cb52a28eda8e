// The calls with which an add-on builds the data set in the client's memory.

#include "command/LoaderCommands.h"
#include "proxy/ArgList.h"
#include "proxy/LocalObjects.h"
#include "proxy/VnxUtilProxyImpl.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace varnox {

using namespace hdqremote;
using socketutil::WriteCache;

char VnxUtilProxy::VnxUtilDataSetCreate(char const* title, StringList_s* varNames, char flag)
{
    m_impl->numVars = static_cast<std::int32_t>(varNames->strings.size());
    WriteCache command;
    command.addString(VNXUTILDATASETCREATE);
    command.addString(title);
    command.addStringVector(varNames->strings);
    command.addInt(static_cast<signed char>(flag));
    m_impl->socket.sendCache(command);
    m_impl->service();
    return m_impl->socket.receiveUInt32() != 0;
}

char VnxUtilProxy::VnxUtilDataSetCreateX(_ArgList_s* args)
{
    if (auto const* names = args->find<std::vector<std::string>>("VarNames"))
        m_impl->numVars = static_cast<std::int32_t>(names->size());
    WriteCache command;
    command.addString(VNXUTILDATASETCREATEX);
    addArgList(command, *args, m_impl->numVars);
    m_impl->socket.sendCache(command);
    m_impl->service();
    return m_impl->socket.receiveUInt32() != 0;
}

bool VnxUtilProxy::Impl::mayCacheZone(_ArgList_s const& args)
{
    auto const* const shared = args.find<long>("ConnectShareZone");
    ZoneRecord const* const record = shared != nullptr ? zoneRecord(*shared) : nullptr;
    return record == nullptr || record->faceNbrLoad == nullptr || record->faceNbrsLoaded;
}

void VnxUtilProxy::Impl::recordZone(_ArgList_s const& args)
{
    auto const* const given = args.find<long>("Zone");
    auto const numZones = static_cast<long>(zones.size());
    long const zone = given != nullptr ? *given : numZones + 1;
    if (zone < 1)
        throw std::out_of_range("Zone numbers count from 1; there is no zone " +
                                std::to_string(zone) + ".");
    if (zone - numZones > MAX_ZONE_GAP)
        throw std::length_error("Zone " + std::to_string(zone) + " is too far beyond the " +
                                std::to_string(numZones) + " zones of the data set.");
    if (zone > numZones)
        zones.resize(static_cast<std::size_t>(zone));

    ZoneRecord& record = *zoneRecord(zone);
    auto const* const mode = args.find<long>("FaceNeighborMode");
    record.faceNeighborMode = mode != nullptr ? static_cast<std::int32_t>(*mode) : 0;

    auto const count = static_cast<std::size_t>(std::max(numVars, 0));
    ZoneRecord const* const previous = zoneRecord(zone - 1);
    if (auto const* const types = args.find<int*>("VarDataType")) {
        if (*types == nullptr && count > 0)
            throw std::invalid_argument("VarDataType is null where one type for each variable is "
                                        "wanted.");
        record.varDataTypes.assign(*types, *types + count);
    } else if (previous != nullptr && !previous->varDataTypes.empty()) {
        record.varDataTypes = previous->varDataTypes;
    } else {
        record.varDataTypes.assign(count, FieldDataType_Float);
    }
    record.fieldData.resize(count);
}

char VnxUtilProxy::VnxUtilDataSetAddZoneX(_ArgList_s* args)
{
    bool const mayCache = m_impl->mayCacheZone(*args);
    m_impl->recordZone(*args);

    CommandCache& commandCache = m_impl->commandCache;
    // Deliberate: a zone that a failed flush drops is reported as added.
    // Test: DataSetCreation.ZoneBehindAFailedFlushIsDroppedAndReportedAsAdded
    if (mayCache) {
        bool const flushed = commandCache.flushCachedCommandsIfNecessary();
        if (!commandCache.isCachingCommands())
            commandCache.beginCachingCommands();
        if (!flushed)
            return 1;
    } else if (!commandCache.finishCachingCommands()) {
        return 1;
    }

    WriteCache command;
    command.addString(VNXUTILDATASETADDZONEX);
    addArgList(command, *args, m_impl->numVars);
    if (mayCache) {
        commandCache.appendCache(command);
        commandCache.addBooleanReentrantCommandServiceRoutine();
    } else {
        m_impl->socket.sendCache(command);
        m_impl->service();
        m_impl->socket.receiveUInt32();
        commandCache.beginCachingCommands();
    }
    return 1;
}

int VnxUtilProxy::VnxUtilDataSetGetNumVars()
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    WriteCache command;
    command.addString(VNXUTILDATASETGETNUMVARS);
    m_impl->socket.sendCache(command);
    return m_impl->socket.receiveInt32();
}

int VnxUtilProxy::VnxUtilDataSetGetNumZones()
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    WriteCache command;
    command.addString(VNXUTILDATASETGETNUMZONES);
    m_impl->socket.sendCache(command);
    return m_impl->socket.receiveInt32();
}

void VnxUtilProxy::VnxUtilDataSetGetUniqueIDsForZones(int const* zoneList, int count, long* ids)
{
    if (!m_impl->commandCache.flushCachedCommands())
        return;
    std::vector<int> const zones(zoneList, zoneList + std::max(count, 0));
    WriteCache command;
    command.addString(VNXUTILDATASETGETUNIQUEIDSFORZONES);
    command.addInt32Vector(zones);
    command.addInt32(count);
    m_impl->socket.sendCache(command);
    std::vector<long> const received = m_impl->socket.receiveInt64Vector();
    // Deliberate: the number of results is the client's, and the caller's arrays must hold them.
    // Test: DataSetCreation.UniqueIDsAreAsManyAsTheClientSends
    for (std::size_t i = 0; i < received.size(); ++i) {
        m_impl->zoneUniqueIds[zoneList[i]] = received[i];
        ids[i] = received[i];
    }
}

long VnxUtilProxy::VnxUtilVarGetUniqueID(int var)
{
    // Deliberate: no flush, unlike its neighbours. Test:
    // DataSetCreation.VarUniqueIDOvertakesTheBatch
    WriteCache command;
    command.addString(VNXUTILVARGETUNIQUEID);
    command.addInt32(var);
    m_impl->socket.sendCache(command);
    return static_cast<long>(m_impl->socket.receiveUInt64());
}

char VnxUtilProxy::VnxUtilVarGetName(int var, char** name)
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    WriteCache command;
    command.addString(VNXUTILVARGETNAME);
    command.addInt32(var);
    m_impl->socket.sendCache(command);
    if (m_impl->socket.receiveUInt32() == 0)
        return 0;
    std::string const received = m_impl->socket.receiveString();
    *name = VnxUtilStringAlloc(static_cast<long>(received.size()), "Var Name");
    if (*name == nullptr)
        return 0;
    std::memcpy(*name, received.c_str(), received.size() + 1);
    return 1;
}

char VnxUtilProxy::VnxUtilZoneGetNumSections(long first, int second, int* numSections)
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    WriteCache command;
    command.addString(VNXUTILZONEGETNUMSECTIONS);
    command.addInt64(first);
    command.addInt32(second);
    m_impl->socket.sendCache(command);
    if (m_impl->socket.receiveUInt32() == 0)
        return 0;
    *numSections = m_impl->socket.receiveInt32();
    return 1;
}

void VnxUtilProxy::VnxUtilDataConnectShare(int first, int second)
{
    WriteCache command;
    command.addString(VNXUTILDATACONNECTSHARE);
    command.addInt(first);
    command.addInt(second);
    m_impl->commandCache.appendCache(command);
    m_impl->commandCache.addVoidReentrantCommandServiceRoutine();
}

void VnxUtilProxy::VnxUtilDataValueShare(int first, int second, int third)
{
    WriteCache command;
    command.addString(VNXUTILDATAVALUESHARE);
    command.addInt(first);
    command.addInt(second);
    command.addInt(third);
    m_impl->commandCache.appendCache(command);
    m_impl->commandCache.addVoidReentrantCommandServiceRoutine();
}

void VnxUtilProxy::VnxUtilDataValueSetMinMaxByZoneVar(int zone, int var, double min, double max)
{
    WriteCache command;
    command.addString(VNXUTILDATAVALUESETMINMAXBYZONEVAR);
    command.addInt(zone);
    command.addInt(var);
    command.addDouble(min);
    command.addDouble(max);
    m_impl->commandCache.appendCache(command);
}

long VnxUtilProxy::VnxUtilDataFaceNbrGetZoneUniqueIDByRef(FaceNeighbor_s* handle)
{
    // Deliberate: the handle counts from one and the ids are kept as they were asked for, so that
    // this finds an id asked for with a zone that counts from zero. Test:
    // DataSetCreation.ZoneUniqueIDIsFoundUnderTheHandleMinusOne
    auto const zone = static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(handle) - 1);
    auto const found = m_impl->zoneUniqueIds.find(zone);
    return found == m_impl->zoneUniqueIds.end() ? 0 : found->second;
}

}
