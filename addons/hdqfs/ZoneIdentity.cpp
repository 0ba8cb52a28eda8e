#include "addons/hdqfs/ZoneIdentity.h"

#include "addons/hdqfs/NotServed.h"
#include "addons/hdqfs/QueryObjectStore.h"

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

void ZoneIdentity::findCellSubzones(RawArray<double> const&, RawArray<long> const&,
                                    RawArray<SubzoneAddress>&)
{
    throwNotServed("searches by value");
}

void ZoneIdentity::findNodeSubzones(RawArray<double> const&, RawArray<long> const&,
                                    RawArray<SubzoneAddress>&)
{
    throwNotServed("searches by value");
}

}
