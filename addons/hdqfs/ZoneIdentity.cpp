#include "addons/hdqfs/ZoneIdentity.h"

#include "addons/hdqfs/NotServed.h"
#include "addons/hdqfs/QueryObjectStore.h"
#include "addons/hdqfs/SubzoneSearch.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace varnox::hdqfsloader {

ZoneIdentity::ZoneIdentity(QueryObjectStore& store, DataSet::ZoneInFile const& grid,
                           std::vector<ZoneVariable*> variables)
    : m_store(store), m_grid(grid), m_variables(std::move(variables))
{
}

hdq::ZoneVarIDQueryInterface* ZoneIdentity::duplicate()
{
    auto& result = m_store.add<ZoneIdentity>(m_store, m_grid, m_variables);
    result.m_calculated = m_calculated;
    return &result;
}

void ZoneIdentity::createCalcVar(long, int, int, std::shared_ptr<eqn::ExprInterface> const&,
                                 hdq::VarValueQueryInterface*&, hdq::VarValueQueryInterface*&,
                                 hdq::VarSubzoneQueryInterface*&)
{
    throwNotServed("calculated variables");
}

ZoneVariable* ZoneIdentity::find(long varID) const
{
    if (auto const var = m_store.ids.find(varID))
        return m_variables[*var];
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
    findSubzones(m_store.trees, m_grid, variablesOf(values, vars), values, Items::Cells, result);
}

void ZoneIdentity::findNodeSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                                    RawArray<SubzoneAddress>& result)
{
    findSubzones(m_store.trees, m_grid, variablesOf(values, vars), values, Items::Nodes, result);
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
