// Load on demand: the registration of callbacks, the client's requests, and the bulk data that a
// callback pushes.

#include "command/LoaderCommands.h"
#include "proxy/LocalObjects.h"
#include "proxy/VnxUtilProxyImpl.h"

#include <algorithm>

namespace varnox {

using namespace hdqremote;
using socketutil::WriteCache;

namespace {

template <typename Callback>
void addPresence(WriteCache& command, Callback* callback)
{
    command.addUInt32(callback != nullptr ? 1 : 0);
}

/// The handle of a node map or of face neighbours is the zone number itself.
template <typename Handle>
Handle* handleOf(int zone)
{
    return reinterpret_cast<Handle*>(static_cast<std::intptr_t>(zone));
}

}

ZoneRecord* VnxUtilProxy::Impl::zoneRecord(long zone)
{
    bool const exists = zone >= 1 && static_cast<unsigned long>(zone) <= zones.size();
    return exists ? &zones[static_cast<std::size_t>(zone - 1)] : nullptr;
}

FieldDataCallbacks* VnxUtilProxy::Impl::fieldDataCallbacks(long zone, long var)
{
    ZoneRecord* const record = zoneRecord(zone);
    bool const exists = record != nullptr && var >= 1 &&
                        static_cast<unsigned long>(var) <= record->fieldData.size();
    return exists ? &record->fieldData[static_cast<std::size_t>(var - 1)] : nullptr;
}

std::uint32_t VnxUtilProxy::Impl::placeOf(FieldDataFunctions const& functions)
{
    auto const known = std::find(fieldDataFunctions.begin(), fieldDataFunctions.end(), functions);
    auto const place = static_cast<std::uint32_t>(known - fieldDataFunctions.begin());
    if (known == fieldDataFunctions.end())
        fieldDataFunctions.push_back(functions);
    return place;
}

void VnxUtilProxy::Impl::finishCommand() const
{
    socket.sendString(COMMAND_FINISHED);
}

void VnxUtilProxy::Impl::finishCommand(bool result) const
{
    socket.sendString(COMMAND_FINISHED);
    socket.sendUInt32(result ? 1 : 0);
}

char VnxUtilProxy::VnxUtilDataValueCustomLOD(int zone, int var, char (*load)(FieldData_s*),
                                             char (*unload)(FieldData_s*),
                                             void (*cleanUp)(FieldData_s*),
                                             double (*getValue)(FieldData_s*, long),
                                             void (*setValue)(FieldData_s*, long, double),
                                             long clientData)
{
    FieldDataCallbacks* const callbacks = m_impl->fieldDataCallbacks(zone, var);
    if (callbacks == nullptr)
        return 0;
    try {
        *callbacks = {clientData, m_impl->placeOf({load, unload, cleanUp, getValue, setValue})};
        WriteCache command;
        command.addString(VNXUTILDATAVALUECUSTOMLOD);
        command.addInt32(zone);
        command.addInt32(var);
        addPresence(command, load);
        addPresence(command, unload);
        addPresence(command, cleanUp);
        addPresence(command, getValue);
        addPresence(command, setValue);
        m_impl->commandCache.appendCache(command);
        m_impl->commandCache.addBooleanReceiveRoutine();
    } catch (...) {
        return 0;
    }
    return 1;
}

char VnxUtilProxy::VnxUtilDataNodeCustomLOD(int zone, char (*load)(ElemToNodeMap*),
                                            char (*unload)(ElemToNodeMap*),
                                            void (*cleanUp)(ElemToNodeMap*), long clientData)
{
    ZoneRecord* const record = m_impl->zoneRecord(zone);
    if (record == nullptr)
        return 0;
    record->nodeMapLoad = load;
    record->nodeMapUnload = unload;
    record->nodeMapCleanUp = cleanUp;
    record->nodeMapClientData = clientData;
    try {
        WriteCache command;
        command.addString(VNXUTILDATANODECUSTOMLOD);
        command.addInt32(zone);
        addPresence(command, load);
        addPresence(command, unload);
        addPresence(command, cleanUp);
        m_impl->commandCache.appendCache(command);
        m_impl->commandCache.addBooleanReentrantCommandServiceRoutine();
    } catch (...) {
        return 0;
    }
    return 1;
}

char VnxUtilProxy::VnxUtilDataFaceNbrCustomLOD(int zone, char flag, char (*load)(FaceNeighbor_s*),
                                               char (*unload)(FaceNeighbor_s*),
                                               void (*cleanUp)(FaceNeighbor_s*), long clientData)
{
    ZoneRecord* const record = m_impl->zoneRecord(zone);
    if (record == nullptr)
        return 0;
    record->faceNbrLoad = load;
    record->faceNbrUnload = unload;
    record->faceNbrCleanUp = cleanUp;
    record->faceNbrClientData = clientData;
    record->faceNbrsLoaded = false;
    try {
        WriteCache command;
        command.addString(VNXUTILDATAFACENBRCUSTOMLOD);
        command.addInt32(zone);
        command.addUInt32(flag != 0 ? 1 : 0);
        addPresence(command, load);
        addPresence(command, unload);
        addPresence(command, cleanUp);
        m_impl->commandCache.appendCache(command);
        m_impl->commandCache.addBooleanReentrantCommandServiceRoutine();
    } catch (...) {
        return 0;
    }
    return 1;
}

long VnxUtilProxy::VnxUtilDataValueGetClientData(FieldData_s* handle)
{
    FieldDataCallbacks const* const callbacks =
        handle != nullptr ? m_impl->fieldDataCallbacks(handle->zone, handle->var) : nullptr;
    return callbacks != nullptr ? callbacks->clientData : 0;
}

FieldDataType_e VnxUtilProxy::VnxUtilDataValueGetRefType(FieldData_s* handle)
{
    ZoneRecord const* const record = handle != nullptr ? m_impl->zoneRecord(handle->zone) : nullptr;
    bool const isKnown = record != nullptr && handle->var >= 1 &&
                         static_cast<std::size_t>(handle->var) <= record->varDataTypes.size();
    return static_cast<FieldDataType_e>(
        isKnown ? record->varDataTypes[static_cast<std::size_t>(handle->var - 1)] : 0);
}

long VnxUtilProxy::VnxUtilDataNodeGetClientData(ElemToNodeMap* handle)
{
    ZoneRecord const* const record = m_impl->recordOfHandle(handle);
    return record != nullptr ? record->nodeMapClientData : 0;
}

long VnxUtilProxy::VnxUtilDataFaceNbrGetClientData(FaceNeighbor_s* handle)
{
    ZoneRecord const* const record = m_impl->recordOfHandle(handle);
    return record != nullptr ? record->faceNbrClientData : 0;
}

FaceNeighborMode_e VnxUtilProxy::VnxUtilDataFaceNbrGetModeByRef(FaceNeighbor_s* handle)
{
    ZoneRecord const* const record = m_impl->recordOfHandle(handle);
    return static_cast<FaceNeighborMode_e>(record != nullptr ? record->faceNeighborMode : 0);
}

FaceNeighborMode_e VnxUtilProxy::VnxUtilDataFaceNbrGetModeByZone(int zone)
{
    return VnxUtilDataFaceNbrGetModeByRef(handleOf<FaceNeighbor_s>(zone));
}

void VnxUtilProxy::VnxUtilDataValueArraySetByRef(FieldData_s* handle, long offset, long count,
                                                 void const* values)
{
    WriteCache command;
    command.addString(VNXUTILDATAVALUEARRAYSETBYREF);
    command.addInt64(offset);
    command.addInt64(count);
    switch (static_cast<int>(VnxUtilDataValueGetRefType(handle))) {
    case FieldDataType_Float:
        command.addFloatVector(elements(static_cast<float const*>(values), count));
        break;
    case FieldDataType_Double:
        command.addDoubleVector(elements(static_cast<double const*>(values), count));
        break;
    case FieldDataType_Int32:
        command.addInt32Vector(elements(static_cast<int const*>(values), count));
        break;
    case FieldDataType_Int16:
        command.addInt16Vector(elements(static_cast<short const*>(values), count));
        break;
    case FieldDataType_Byte:
        command.addUInt8Vector(elements(static_cast<unsigned char const*>(values), count));
        break;
    default:
        // Deliberate: the command is dropped without a report.
        // Test: LoadOnDemand.ArrayOfAnUnknownTypeSendsNothing
        return;
    }
    m_impl->socket.sendCache(command);
}

void VnxUtilProxy::VnxUtilDataValueSetByRef(FieldData_s* handle, long offset, double value)
{
    // Deliberate: the double's bytes go out as the variable's type, which is right for doubles
    // alone. Test: LoadOnDemand.SingleValueIsNotConverted
    VnxUtilDataValueArraySetByRef(handle, offset, 1, &value);
}

void VnxUtilProxy::VnxUtilDataNodeArraySetByRef(ElemToNodeMap*, long offset, long count,
                                                int const* nodes)
{
    WriteCache command;
    command.addString(VNXUTILDATANODEARRAYSETBYREF);
    command.addInt64(offset);
    command.addInt64(count);
    command.addInt32Vector(elements(nodes, count));
    m_impl->socket.sendCache(command);
}

void VnxUtilProxy::VnxUtilDataNodeSectionArraySetByRef(ElemToNodeMap*, int section, long offset,
                                                       long count, int const* nodes)
{
    WriteCache command;
    command.addString(VNXUTILDATANODESECTIONARRAYSETBYREF);
    command.addInt32(section);
    command.addInt64(offset);
    command.addInt64(count);
    command.addInt32Vector(elements(nodes, count));
    m_impl->socket.sendCache(command);
}

void VnxUtilProxy::VnxUtilDataNodeSectionArraySetByRef64(ElemToNodeMap*, int section, long offset,
                                                         long count, long const* nodes)
{
    WriteCache command;
    command.addString(VNXUTILDATANODESECTIONARRAYSETBYREF64);
    command.addInt32(section);
    command.addInt64(offset);
    command.addInt64(count);
    command.addInt64Vector(elements(nodes, count));
    m_impl->socket.sendCache(command);
}

char VnxUtilProxy::VnxUtilDataFaceNbrAssignByRef(FaceNeighbor_s*, long first, int second,
                                                 char third, int count, int const* items,
                                                 long const* zones)
{
    WriteCache command;
    command.addString(VNXUTILDATAFACENBRASSIGNBYREF);
    command.addInt64(first);
    command.addInt32(second);
    command.addUInt8(static_cast<unsigned char>(third));
    command.addInt32(count);
    command.addInt32Vector(elements(items, count));
    if (zones != nullptr)
        command.addInt64Vector(elements(zones, count));
    m_impl->socket.sendCache(command);
    return static_cast<char>(m_impl->socket.receiveUInt32());
}

namespace {

// No reference into the zones is held while a callback runs: it may add zones.

/// Receives a zone and a variable, and calls one of the variable's callbacks; one that doesn't
/// exist gives 0.
template <typename Impl, typename Result>
Result callForVariable(Impl& impl, Result (*FieldDataFunctions::*callback)(FieldData_s*))
{
    FieldData_s handle{};
    handle.zone = impl.socket.receiveInt32();
    handle.var = impl.socket.receiveInt32();
    FieldDataCallbacks const* const callbacks = impl.fieldDataCallbacks(handle.zone, handle.var);
    auto* const function =
        callbacks != nullptr ? impl.fieldDataFunctions[callbacks->functions].*callback : nullptr;
    return function != nullptr ? function(&handle) : Result();
}

/// The same for a callback of a zone whose number was received.
template <typename Impl, typename Result, typename Handle>
Result callForZone(Impl& impl, int zone, Result (*ZoneRecord::*callback)(Handle*))
{
    ZoneRecord const* const record = impl.zoneRecord(zone);
    auto* const function = record != nullptr ? record->*callback : nullptr;
    return function != nullptr ? function(handleOf<Handle>(zone)) : Result();
}

}

void VnxUtilProxy::handleLoadFieldData() const
{
    m_impl->finishCommand(callForVariable(*m_impl, &FieldDataFunctions::load) != 0);
}

void VnxUtilProxy::handleUnloadFieldData() const
{
    m_impl->finishCommand(callForVariable(*m_impl, &FieldDataFunctions::unload) != 0);
}

void VnxUtilProxy::handleCleanUpFieldData() const
{
    callForVariable(*m_impl, &FieldDataFunctions::cleanUp);
    m_impl->finishCommand();
}

void VnxUtilProxy::handleLoadNodeMap() const
{
    int const zone = m_impl->socket.receiveInt32();
    m_impl->finishCommand(callForZone(*m_impl, zone, &ZoneRecord::nodeMapLoad) != 0);
}

void VnxUtilProxy::handleUnloadNodeMap() const
{
    int const zone = m_impl->socket.receiveInt32();
    m_impl->finishCommand(callForZone(*m_impl, zone, &ZoneRecord::nodeMapUnload) != 0);
}

void VnxUtilProxy::handleCleanUpNodeMap() const
{
    int const zone = m_impl->socket.receiveInt32();
    callForZone(*m_impl, zone, &ZoneRecord::nodeMapCleanUp);
    m_impl->finishCommand();
}

void VnxUtilProxy::handleLoadFaceNeighbors() const
{
    int const zone = m_impl->socket.receiveInt32();
    char const result = callForZone(*m_impl, zone, &ZoneRecord::faceNbrLoad);
    m_impl->finishCommand(result != 0);
    // Deliberate: exactly 1 counts here, anything but 0 in the reply.
    // Test: LoadOnDemand.LoadResultOfTwoIsTrueForTheClientAndNotLoadedHere
    if (ZoneRecord* const after = m_impl->zoneRecord(zone))
        after->faceNbrsLoaded = result == 1;
}

void VnxUtilProxy::handleUnloadFaceNeighbors() const
{
    int const zone = m_impl->socket.receiveInt32();
    char const result = callForZone(*m_impl, zone, &ZoneRecord::faceNbrUnload);
    m_impl->finishCommand(result != 0);
    if (ZoneRecord* const after = m_impl->zoneRecord(zone))
        after->faceNbrsLoaded = result != 1; // a refused unload counts as still loaded
}

void VnxUtilProxy::handleCleanUpFaceNeighbors() const
{
    int const zone = m_impl->socket.receiveInt32();
    callForZone(*m_impl, zone, &ZoneRecord::faceNbrCleanUp);
    m_impl->finishCommand();
    if (ZoneRecord* const after = m_impl->zoneRecord(zone))
        after->faceNbrsLoaded = false;
}

}
