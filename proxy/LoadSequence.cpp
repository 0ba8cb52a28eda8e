// The proxy itself, the registration of a loader, and the calls that frame a load.

#include "command/LoaderCommands.h"
#include "proxy/ArgList.h"
#include "proxy/LocalObjects.h"
#include "proxy/VnxUtilProxyImpl.h"

namespace varnox {

using namespace hdqremote;
using socketutil::WriteCache;

VnxUtilProxy::VnxUtilProxy(socketutil::SocketInterface& socket,
                           hdq::DataSetRegistrationInterface& registration, AddonProxy& addonProxy,
                           CommandCache& commandCache)
    : m_impl(std::make_unique<Impl>(socket, registration, addonProxy, commandCache))
{
}

VnxUtilProxy::~VnxUtilProxy() = default;

VnxLoaderCallback VnxUtilProxy::loaderCallback() const
{
    return m_impl->loaderCallback;
}

unsigned long VnxUtilProxy::loaderClientData() const
{
    return m_impl->loaderClientData;
}

std::string VnxUtilProxy::loaderName() const
{
    return m_impl->loaderName;
}

std::string VnxUtilProxy::fileExtensions() const
{
    return m_impl->fileExtensions;
}

void VnxUtilProxy::Impl::service() const
{
    addonProxy.serviceCommandsUntil(COMMAND_FINISHED);
}

char VnxUtilProxy::VnxUtilImportAddLoaderX(_ArgList_s* args)
{
    if (auto const* callback = args->find<void (*)()>("LoaderCallback"))
        m_impl->loaderCallback = reinterpret_cast<VnxLoaderCallback>(*callback);
    if (auto const* clientData = args->find<unsigned long>("ClientData"))
        m_impl->loaderClientData = *clientData;
    if (auto const* name = args->find<std::string>("LoaderName"))
        m_impl->loaderName = *name;
    if (auto const* extensions = args->find<std::string>("FileNameExtensions"))
        m_impl->fileExtensions = *extensions;
    return 1;
}

hdq::DataSetRegistrationInterface* VnxUtilProxy::VnxUtilDataSetGetHDQRegistration()
{
    return &m_impl->registration;
}

void VnxUtilProxy::VnxUtilFECellTypeGetNumNodes(FECellShape_e shape, int order,
                                                FECellBasisFunction_e, int* numCorners,
                                                int* numNodes)
{
    auto const p = static_cast<std::uint32_t>(order);
    struct Counts
    {
        std::uint32_t corners;
        std::uint32_t nodes;
    };
    auto const counts = [&]() -> Counts {
        switch (static_cast<int>(shape)) {
        case FECellShape_Line:
            return {2, p + 1};
        case FECellShape_Triangle:
            return {3, p == 1 ? 3 : (p + 1) * (p + 2) / 2};
        case FECellShape_Quadrilateral:
            return {4, (p + 1) * (p + 1)};
        case FECellShape_Tetrahedron:
            return {4, p == 1 ? 4 : (p + 1) * (p + 2) * (p + 3) / 6};
        case FECellShape_Hexahedron:
            return {8, (p + 1) * (p + 1) * (p + 1)};
        case FECellShape_Pyramid:
            return {5, p == 1 ? 5 : (p + 1) * (p + 2) * (2 * p + 3) / 6};
        case FECellShape_Prism:
            return {6, p == 1 ? 6 : (p + 1) * (p + 1) * (p + 2) / 2};
        default:
            return {0, 0};
        }
    }();
    *numCorners = static_cast<int>(counts.corners);
    *numNodes = static_cast<int>(counts.nodes);
}

void VnxUtilProxy::VnxUtilDataLoadStart()
{
    m_impl->socket.sendString(VNXUTILDATALOADSTART);
}

char VnxUtilProxy::VnxUtilDataLoadFinishX(_ArgList_s* args, long* ids)
{
    m_impl->commandCache.finishCachingCommands(); // the client answers this command in any case
    WriteCache command;
    command.addString(VNXUTILDATALOADFINISHX);
    addArgList(command, *args, m_impl->numVars);
    m_impl->socket.sendCache(command);
    m_impl->service();
    if (m_impl->socket.receiveInt() == 0)
        return 0;
    std::vector<long> const received = m_impl->socket.receiveInt64Vector();
    for (std::size_t i = 0; ids != nullptr && i < received.size(); ++i)
        ids[i] = received[i];
    return 1;
}

char VnxUtilProxy::VnxUtilImportSetLoaderInstr(char const*, StringList_s*)
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    // Deliberate: neither argument is sent. Test:
    // LoadSequence.LoaderInstructionsTravelAsTheNameAlone
    m_impl->socket.sendString(VNXUTILIMPORTSETLOADERINSTR);
    m_impl->service();
    return m_impl->socket.receiveUInt32() != 0;
}

void VnxUtilProxy::VnxUtilStateChanged(StateChange_e change, long param)
{
    if (change != StateChange_Announced)
        return;
    std::vector<int> numbers;
    auto const* const set = reinterpret_cast<Set_s const*>(param);
    for (long const member : set->members)
        numbers.push_back(static_cast<int>(member));
    WriteCache command;
    command.addString(VNXUTILSTATECHANGED);
    command.addInt(change);
    command.addIntVector(numbers);
    m_impl->socket.sendCache(command);
    m_impl->service();
}

void VnxUtilProxy::VnxUtilDialogErrMsg(char const* text)
{
    if (!m_impl->commandCache.flushCachedCommands())
        return;
    WriteCache command;
    command.addString(VNXUTILDIALOGERRMSG);
    command.addString(text);
    m_impl->socket.sendCache(command);
}

char VnxUtilProxy::VnxUtilDialogMessageBox(char const* text, MessageBoxType_e type)
{
    WriteCache command;
    command.addString(VNXUTILDIALOGMESSAGEBOX);
    command.addString(text);
    command.addInt(type);
    m_impl->socket.sendCache(command);
    return m_impl->socket.receiveUInt32() != 0;
}

long VnxUtilProxy::VnxUtilDataSetGetUniqueID()
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    m_impl->socket.sendString(VNXUTILDATASETGETUNIQUEID);
    return m_impl->socket.receiveInt64();
}

long VnxUtilProxy::VnxUtilGetNextUniqueID()
{
    if (!m_impl->commandCache.flushCachedCommands())
        return 0;
    m_impl->socket.sendString(VNXUTILGETNEXTUNIQUEID);
    return static_cast<long>(m_impl->socket.receiveUInt64());
}

}
