#include "query/ZoneVarIDQueryServer.h"

#include "command/LoaderCommands.h"
#include "query/Arrays.h"
#include "query/MethodTable.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"
#include "varnox/hdqremote/DataSetRegistrationServer.h"

#include <functional>

namespace varnox::hdqremote {

using socketutil::SocketInterface;

class ZoneVarIDQueryServer::Impl
{
public:
    Impl(hdq::ZoneVarIDQueryInterface& iface, int zoneIndex, SocketInterface& connection,
         DataSetRegistrationServer& server)
        : queryInterface(iface), zone(zoneIndex), socket(connection),
          registrationServer(server), methods{{DUPLICATE_ZONE, &Impl::duplicate},
                                              {VAR_EXISTS, &Impl::varExists},
                                              {FIND_CELL_SUBZONES, &Impl::findCellSubzones},
                                              {FIND_NODE_SUBZONES, &Impl::findNodeSubzones},
                                              {DESTROY, &Impl::destroy}}
    {
    }

    using Search = std::function<void(RawArray<double> const&, RawArray<long> const&,
                                      RawArray<SubzoneAddress>&)>;

    void duplicate()
    {
        hdq::ZoneVarIDQueryInterface* const copy = queryInterface.duplicate();
        socket.sendInt(registrationServer.createDuplicateZoneVarIDQueryService(zone, copy));
    }

    void varExists()
    {
        auto const varID = static_cast<long>(socket.receiveUInt64());
        socket.sendUInt8(static_cast<std::uint8_t>(queryInterface.varExists(varID)));
    }

    void findCellSubzones()
    {
        find([this](auto const& values, auto const& vars, auto& result) {
            queryInterface.findCellSubzones(values, vars, result);
        });
    }

    void findNodeSubzones()
    {
        find([this](auto const& values, auto const& vars, auto& result) {
            queryInterface.findNodeSubzones(values, vars, result);
        });
    }

    void find(Search const& search)
    {
        std::vector<double> values =
            withIOException([this] { return socket.receiveDoubleVector(); });
        std::vector<unsigned long> const received =
            withIOException([this] { return socket.receiveUInt64Vector(); });
        std::vector<long> vars(received.begin(), received.end());
        OwnedArray<SubzoneAddress> result;
        search(viewOf(values), viewOf(vars), result.view());
        hdqlib::send64BitTypeRawArray(socket, result.view());
    }

    void destroy() { queryInterface.destroy(); }

    hdq::ZoneVarIDQueryInterface& queryInterface;
    int zone;
    SocketInterface& socket;
    DataSetRegistrationServer& registrationServer;
    MethodTable<Impl> methods;
};

ZoneVarIDQueryServer::ZoneVarIDQueryServer(hdq::ZoneVarIDQueryInterface& queryInterface, int zone,
                                           SocketInterface& socket,
                                           DataSetRegistrationServer& registrationServer)
    : m_impl(std::make_unique<Impl>(queryInterface, zone, socket, registrationServer))
{
}

ZoneVarIDQueryServer::~ZoneVarIDQueryServer() = default;

void ZoneVarIDQueryServer::handleMethod()
{
    dispatch(*m_impl, m_impl->methods, m_impl->socket);
}

hdq::ZoneVarIDQueryInterface& ZoneVarIDQueryServer::queryInterface() const
{
    return m_impl->queryInterface;
}

}
