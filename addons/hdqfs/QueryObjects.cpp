#include "addons/hdqfs/QueryObjects.h"

#include "addons/hdqfs/CellConnectivity.h"
#include "addons/hdqfs/FileVariable.h"
#include "addons/hdqfs/NodeConnectivity.h"
#include "addons/hdqfs/OrderedCellConnectivity.h"
#include "addons/hdqfs/OrderedNodeConnectivity.h"
#include "addons/hdqfs/OrderedSubzones.h"
#include "addons/hdqfs/PassiveVariable.h"
#include "addons/hdqfs/ZoneIdentity.h"

#include <utility>

namespace varnox::hdqfsloader {

QueryObjects::QueryObjects(DataSet& dataSet, std::vector<long> const& variableIds)
    : m_store(dataSet, variableIds)
{
}

void QueryObjects::registerAll(hdq::DataSetRegistrationInterface& registration)
{
    DataSet& dataSet = m_store.dataSet;
    makeVariables();
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone)
        if (dataSet.zone(zone).isHdq)
            registerZone(registration, zone);
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone) {
        for (std::uint32_t var = 0; var < m_stored[zone].size(); ++var) {
            if (m_stored[zone][var] == nullptr)
                continue;
            VariableQueries& queries = m_store.addQueries(*m_stored[zone][var]);
            registration.registerVarQueryServices(&queries.cellCentered, &queries.nodal,
                                                  &queries.ranges, static_cast<int>(zone),
                                                  static_cast<int>(var));
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
            cells, &m_store.add<OrderedNodeConnectivity>(grid),
            &m_store.add<OrderedSubzones>(grid), index);
    } else {
        cells = &m_store.add<CellConnectivity>(m_store.connectivity, source);
        registration.registerZoneConnectivityQueryServices(
            cells, &m_store.add<NodeConnectivity>(m_store.connectivity, source), index);
    }

    std::vector<ZoneVariable*> variables;
    for (std::uint32_t var = 0; var < dataSet.numVars(); ++var)
        variables.push_back(variable(zone, var));
    registration.registerZoneVarIDQueryServices(
        &m_store.add<ZoneIdentity>(m_store, grid, *cells, std::move(variables)), index);
}

void QueryObjects::makeVariables()
{
    DataSet& dataSet = m_store.dataSet;
    m_stored.resize(dataSet.numZones());
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone) {
        if (!dataSet.zone(zone).isHdq)
            continue;
        m_stored[zone].resize(dataSet.numVars());
        for (std::uint32_t var = 0; var < dataSet.numVars(); ++var) {
            DataSet::Variable const description = dataSet.variable(zone, var);
            if (description.hasValues())
                m_stored[zone][var] = &m_store.addVariable<FileVariable>(
                    m_store.reader, dataSet.values(zone, var), description.range);
        }
    }
}

ZoneVariable* QueryObjects::variable(std::uint32_t zone, std::uint32_t var)
{
    DataSet& dataSet = m_store.dataSet;
    DataSet::Variable const description = dataSet.variable(zone, var);
    if (description.isPassive)
        return &m_store.addVariable<PassiveVariable>(
            dataSet.grid(zone), var, description.isNodal ? Items::Nodes : Items::Cells);
    std::vector<ZoneVariable*> const& source =
        m_stored[description.sharedFrom == -1 ? zone
                                              : static_cast<std::uint32_t>(description.sharedFrom)];
    return source.empty() ? nullptr : source[var];
}

}
