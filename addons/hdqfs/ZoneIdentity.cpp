#include "addons/hdqfs/ZoneIdentity.h"

#include "addons/hdqfs/CalcVariable.h"
#include "addons/hdqfs/QueryObjectStore.h"
#include "addons/hdqfs/SubzoneSearch.h"

#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

ZoneIdentity::ZoneIdentity(QueryObjectStore& store, std::uint32_t zone,
                           hdq::CellConnectivityQueryInterface& cells)
    : m_store(store), m_zone(zone), m_cells(cells)
{
}

hdq::ZoneVarIDQueryInterface* ZoneIdentity::duplicate()
{
    auto& result = m_store.add<ZoneIdentity>(m_store, m_zone, m_cells);
    result.m_calculated = m_calculated;
    return &result;
}

void ZoneIdentity::createCalcVar(long varID, int, int fieldDataType,
                                 std::shared_ptr<eqn::ExprInterface> const& expression,
                                 hdq::VarValueQueryInterface*& cellCentered,
                                 hdq::VarValueQueryInterface*& nodal,
                                 hdq::VarSubzoneQueryInterface*& subzones)
{
    if (m_store.ids.find(varID))
        throw std::invalid_argument(
            "The unique id " + std::to_string(varID) +
            " of a calculated variable is that of a variable of the files.");
    auto& variable = m_store.addVariable<CalcVariable>(
        CalcVariable::Place{m_store.dataSet.grid(m_zone), &m_cells, varID},
        CalcVarType(fieldDataType), expression, [this](long id) { return find(id); },
        m_store.calcVarLog);
    m_calculated[varID] = &variable;
    VariableQueries& queries = m_store.addQueries(variable);
    cellCentered = &queries.cellCentered();
    nodal = &queries.nodal();
    subzones = &queries.ranges();
}

ZoneVariable* ZoneIdentity::find(long varID) const
{
    if (auto const var = m_store.ids.find(varID))
        return m_store.variables.find(m_zone, static_cast<std::uint32_t>(*var));
    auto const found = m_calculated.find(varID);
    return found == m_calculated.end() ? nullptr : found->second;
}

bool ZoneIdentity::varExists(long varID)
{
    return find(varID) != nullptr;
}

void ZoneIdentity::findCellSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                                    RawArray<SubzoneAddress>& result)
{
    findSubzones(m_store.trees, m_store.dataSet.grid(m_zone), variablesOf(values, vars), values,
                 Items::Cells, result);
}

void ZoneIdentity::findNodeSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                                    RawArray<SubzoneAddress>& result)
{
    findSubzones(m_store.trees, m_store.dataSet.grid(m_zone), variablesOf(values, vars), values,
                 Items::Nodes, result);
}

std::vector<ZoneVariable*> ZoneIdentity::variablesOf(RawArray<double> const& values,
                                                     RawArray<long> const& vars) const
{
    if (values.size != vars.size)
        throw std::invalid_argument("A search names " + std::to_string(vars.size) +
                                    " variables and " + std::to_string(values.size) + " values.");
    std::vector<ZoneVariable*> result;
    for (std::uint64_t i = 0; i < vars.size; ++i) {
        result.push_back(find(vars.data[i]));
        if (result.back() == nullptr)
            throw std::invalid_argument("A search names the variable with the unique id " +
                                        std::to_string(vars.data[i]) +
                                        ", which the zone doesn't have.");
    }
    return result;
}

}
