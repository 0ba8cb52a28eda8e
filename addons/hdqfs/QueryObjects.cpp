#include "addons/hdqfs/QueryObjects.h"

#include "addons/hdqfs/CellConnectivity.h"
#include "addons/hdqfs/NodeConnectivity.h"
#include "addons/hdqfs/OrderedCellConnectivity.h"
#include "addons/hdqfs/OrderedNodeConnectivity.h"
#include "addons/hdqfs/OrderedSubzones.h"
#include "addons/hdqfs/ZoneIdentity.h"
#include "varnox/hostapi/VnxUtil.h"

namespace varnox::hdqfsloader {

namespace {

/// The host gathers what is registered until it is asked for something. What it gathers for a
/// variable is larger than what is kept of it, so it is asked from time to time.
constexpr std::uint64_t REGISTERED_AT_ONCE = 4096;

}

QueryObjects::QueryObjects(DataSet& dataSet, std::vector<long> const& variableIds)
    : m_store(dataSet, variableIds)
{
}

void QueryObjects::registerAll(hdq::DataSetRegistrationInterface& registration)
{
    DataSet& dataSet = m_store.dataSet;
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone)
        if (dataSet.isHdqZone(zone))
            registerZone(registration, zone);
    std::uint64_t numRegistered = 0;
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone) {
        for (std::uint32_t var = 0; var < dataSet.numVars(); ++var) {
            VariableQueries* const queries = m_store.variables.queries(zone, var);
            if (queries == nullptr)
                continue;
            registration.registerVarQueryServices(&queries->cellCentered(), &queries->nodal(),
                                                  &queries->ranges(), static_cast<int>(zone),
                                                  static_cast<int>(var));
            if (++numRegistered % REGISTERED_AT_ONCE == 0)
                VnxUtilDataSetGetNumVars();
        }
    }
}

void QueryObjects::registerZone(hdq::DataSetRegistrationInterface& registration, std::uint32_t zone)
{
    DataSet& dataSet = m_store.dataSet;
    DataSet::ZoneInFile const grid = dataSet.grid(zone);
    auto const index = static_cast<int>(zone);
    ConnectivitySource const source(grid, dataSet.connectivity(zone));
    hdq::CellConnectivityQueryInterface* cells = nullptr;
    if (dataSet.zone(zone).type == ZoneType_Ordered) {
        cells = &m_store.add<OrderedCellConnectivity>(grid);
        registration.registerZoneConnectivityQueryServices(
            cells, &m_store.add<OrderedNodeConnectivity>(grid), &m_store.add<OrderedSubzones>(grid),
            index);
    } else {
        cells = &m_store.add<CellConnectivity>(m_store.connectivity, source);
        registration.registerZoneConnectivityQueryServices(
            cells, &m_store.add<NodeConnectivity>(m_store.connectivity, source), index);
    }
    registration.registerZoneVarIDQueryServices(&m_store.add<ZoneIdentity>(m_store, zone, *cells),
                                                index);
}

}
