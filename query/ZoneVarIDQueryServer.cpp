#include "query/ZoneVarIDQueryServer.h"

#include "command/LoaderCommands.h"
#include "expressions/ExpressionSerializer.h"
#include "query/Arrays.h"
#include "query/MethodTable.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"
#include "varnox/hdqremote/DataSetRegistrationServer.h"
#include "varnox/socketutil/WriteCache.h"

#include <functional>
#include <string>

namespace varnox::hdqremote {

using socketutil::SocketInterface;
using socketutil::WriteCache;

namespace {

void addMinMax(WriteCache& cache, hdq::VarValueQueryInterface& values)
{
    double min = 0;
    double max = 0;
    values.minMax(min, max);
    cache.addDouble(min);
    cache.addDouble(max);
}

}

class ZoneVarIDQueryServer::Impl
{
public:
    Impl(hdq::ZoneVarIDQueryInterface& iface, int zoneIndex, SocketInterface& connection,
         DataSetRegistrationServer& server)
        : queryInterface(iface), zone(zoneIndex), socket(connection),
          registrationServer(server), methods{{DUPLICATE_ZONE, &Impl::duplicate},
                                              {CREATE_CALC_VAR, &Impl::createCalcVar},
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
        std::uint64_t const dataSet = registrationServer.numLoads();
        hdq::ZoneVarIDQueryInterface* const copy = queryInterface.duplicate();
        requireSame(dataSet);
        socket.sendInt(registrationServer.createDuplicateZoneVarIDQueryService(zone, copy));
    }

    // Request of "createCalcVar":
    //   uint64      varID          of the new variable
    //   int32       calcVarArg     the add-on's
    //   int32       fieldDataType
    //   expression
    // Answer:
    //   int         variable number, from 0
    //   2 double    nodal minimum and maximum
    //   2 double    cell-centred minimum and maximum
    void createCalcVar()
    {
        auto const varID = static_cast<long>(socket.receiveUInt64());
        std::int32_t const calcVarArg = socket.receiveInt32();
        std::int32_t const fieldDataType = socket.receiveInt32();
        auto const received = hdqlib::ExpressionSerializer::deserialize(socket);

        hdq::VarValueQueryInterface* cellCentered = nullptr;
        hdq::VarValueQueryInterface* nodal = nullptr;
        hdq::VarSubzoneQueryInterface* subzones = nullptr;
        std::uint64_t const dataSet = registrationServer.numLoads();
        queryInterface.createCalcVar(varID, calcVarArg, fieldDataType, received.expression(),
                                     cellCentered, nodal, subzones);
        requireSame(dataSet);
        if (cellCentered == nullptr || nodal == nullptr || subzones == nullptr)
            throw DataSetRegistrationServer::Error(
                "The add-on made no query objects for a calculated variable of zone " +
                std::to_string(zone) + ".");
        int const var = registrationServer.registerCalcVarQueryServices(
            cellCentered, nodal, subzones, static_cast<FieldDataType_e>(fieldDataType), zone);

        WriteCache cache;
        cache.addInt(var);
        addMinMax(cache, *nodal);
        addMinMax(cache, *cellCentered);
        socket.sendCache(cache);
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

    /// What the add-on made belongs to the data set that it was asked for. The client may have
    /// loaded another one meanwhile.
    void requireSame(std::uint64_t dataSet) const
    {
        if (registrationServer.numLoads() != dataSet)
            throw DataSetRegistrationServer::Error(
                "Another data set was loaded while the add-on answered for zone " +
                std::to_string(zone) + ".");
    }

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
    auto const kept = weak_from_this().lock(); // the add-on may have it replaced meanwhile
    dispatch(*m_impl, m_impl->methods, m_impl->socket);
}

hdq::ZoneVarIDQueryInterface& ZoneVarIDQueryServer::queryInterface() const
{
    return m_impl->queryInterface;
}

}
