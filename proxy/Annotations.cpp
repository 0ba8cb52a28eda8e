// Texts, geometries, custom labels and auxiliary data. Nothing of them is kept here: each call
// becomes a command of its own.

#include "command/LoaderCommands.h"
#include "proxy/LocalObjects.h"
#include "proxy/VnxUtilProxyImpl.h"

#include <type_traits>

namespace varnox {

using namespace hdqremote;
using socketutil::WriteCache;

namespace {

// The type of an argument decides what travels for it. A char keeps its sign, whatever the
// processor makes of a plain one.

void addItem(WriteCache& command, int value)
{
    command.addInt32(value);
}

void addItem(WriteCache& command, long value)
{
    command.addInt64(value);
}

void addItem(WriteCache& command, double value)
{
    command.addDouble(value);
}

void addItem(WriteCache& command, char value)
{
    command.addUInt32(static_cast<std::uint32_t>(static_cast<signed char>(value)));
}

void addItem(WriteCache& command, char const* value)
{
    command.addString(value);
}

void addItem(WriteCache& command, std::vector<long> const& values)
{
    command.addInt64Vector(values);
}

void addItem(WriteCache& command, std::vector<std::string> const& values)
{
    command.addStringVector(values);
}

template <typename Enumeration>
requires std::is_enum_v<Enumeration>
void addItem(WriteCache& command, Enumeration value)
{
    command.addInt(value);
}

}

template <typename... Items>
void VnxUtilProxy::Impl::sendNow(std::string const& name, Items const&... items) const
{
    WriteCache command;
    command.addString(name);
    (addItem(command, items), ...);
    socket.sendCache(command);
}

template <typename... Items>
void VnxUtilProxy::Impl::sendSetter(std::string const& name, long id, Items const&... items) const
{
    WriteCache command;
    command.addString(name);
    command.addUInt64(static_cast<std::uint64_t>(id));
    (addItem(command, items), ...);
    socket.sendCache(command);
}

template <typename... Items>
long VnxUtilProxy::Impl::create(std::string const& name, Items const&... items)
{
    if (!commandCache.flushCachedCommands())
        return 0;
    sendNow(name, items...);
    return static_cast<long>(socket.receiveUInt64());
}

long VnxUtilProxy::VnxUtilTextCreate(CoordSys_e coordSys, double x, double y, Units_e heightUnits,
                                     double height, char const* text)
{
    return m_impl->create(VNXUTILTEXTCREATE, coordSys, x, y, heightUnits, height, text);
}

long VnxUtilProxy::VnxUtilGeomRectangleCreate(CoordSys_e coordSys, double x, double y, double width,
                                              double height)
{
    return m_impl->create(VNXUTILGEOMRECTANGLECREATE, coordSys, x, y, width, height);
}

long VnxUtilProxy::VnxUtilGeomEllipseCreate(CoordSys_e coordSys, double x, double y,
                                            double horizontalAxis, double verticalAxis)
{
    return m_impl->create(VNXUTILGEOMELLIPSECREATE, coordSys, x, y, horizontalAxis, verticalAxis);
}

long VnxUtilProxy::VnxUtilGeomSquareCreate(CoordSys_e coordSys, double x, double y, double size)
{
    return m_impl->create(VNXUTILGEOMSQUARECREATE, coordSys, x, y, size);
}

long VnxUtilProxy::VnxUtilGeomCircleCreate(CoordSys_e coordSys, double x, double y, double radius)
{
    return m_impl->create(VNXUTILGEOMCIRCLECREATE, coordSys, x, y, radius);
}

long VnxUtilProxy::VnxUtilGeom2DMPolyCreate(CoordSys_e coordSys, int numPolylines,
                                            long const* numPoints)
{
    return m_impl->create(VNXUTILGEOM2DMPOLYCREATE, coordSys, elements(numPoints, numPolylines));
}

long VnxUtilProxy::VnxUtilGeom3DMPolyCreate(int numPolylines, long const* numPoints)
{
    return m_impl->create(VNXUTILGEOM3DMPOLYCREATE, elements(numPoints, numPolylines));
}

#define SETTER(command, function, type, parameter)                                                 \
    void VnxUtilProxy::function(long id, type parameter)                                           \
    {                                                                                              \
        m_impl->sendSetter(command, id, parameter);                                                \
    }
#include "proxy/AnnotationSetters.def"

void VnxUtilProxy::VnxUtilGeomSetAnchorPos(long id, double x, double y, double z)
{
    m_impl->sendSetter(VNXUTILGEOMSETANCHORPOS, id, x, y, z);
}

void VnxUtilProxy::VnxUtilTextSetTypeface(long id, char const* family, char isBold, char isItalic)
{
    m_impl->sendSetter(VNXUTILTEXTSETTYPEFACE, id, family, isBold, isItalic);
}

char VnxUtilProxy::VnxUtilTextSetMacroFunctionCmd(long id, char const* command)
{
    m_impl->sendSetter(VNXUTILTEXTSETMACROFUNCTIONCMD, id, command);
    return static_cast<char>(m_impl->socket.receiveUInt32());
}

char VnxUtilProxy::VnxUtilGeomSetMacroFunctionCmd(long id, char const* command)
{
    m_impl->sendSetter(VNXUTILGEOMSETMACROFUNCTIONCMD, id, command);
    return static_cast<char>(m_impl->socket.receiveUInt32());
}

void VnxUtilProxy::VnxUtilGeom2DMPolySetPoint(long id, int polyline, long point, double x, double y)
{
    m_impl->sendSetter(VNXUTILGEOM2DMPOLYSETPOINT, id, polyline, point, x, y);
}

void VnxUtilProxy::VnxUtilGeom3DMPolySetPoint(long id, int polyline, long point, double x, double y,
                                              double z)
{
    m_impl->sendSetter(VNXUTILGEOM3DMPOLYSETPOINT, id, polyline, point, x, y, z);
}

char VnxUtilProxy::VnxUtilCustomLabelsAppend(StringList_s* labels)
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    m_impl->sendNow(VNXUTILCUSTOMLABELSAPPEND, labels->strings);
    return static_cast<char>(m_impl->socket.receiveUInt32());
}

char VnxUtilProxy::VnxUtilAuxDataSetItem(AuxData_s* ref, char const* name, long value,
                                         AuxDataType_e type, char retain)
{
    auto const found = m_impl->auxDataRefs.left.find(ref);
    if (found == m_impl->auxDataRefs.left.end())
        return 0; // no handle of this proxy
    AuxDataOwner const owner = found->second;
    CommandCache& commandCache = m_impl->commandCache;
    if (!commandCache.flushCachedCommandsIfNecessary())
        return 0;
    WriteCache command;
    command.addString(VNXUTILAUXDATASETITEM);
    command.addInt(owner.kind);
    command.addInt(owner.number);
    command.addString(name);
    command.addInt(type);
    command.addString(reinterpret_cast<char const*>(value));
    command.addInt(static_cast<signed char>(retain));
    if (commandCache.isCachingCommands()) {
        commandCache.appendCache(command);
        commandCache.addBooleanReceiveRoutine();
        return 1;
    }
    m_impl->socket.sendCache(command);
    return m_impl->socket.receiveUInt32() != 0;
}

}
