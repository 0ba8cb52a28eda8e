#pragma once

#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/ZoneVariable.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

#include <map>
#include <vector>

namespace varnox::hdqfsloader {

class QueryObjectStore;

/// An HDQ zone as a whole: its variables by their unique ids, searches by value, its duplicates and
/// its calculated variables.
class ZoneIdentity final : public hdq::ZoneVarIDQueryInterface
{
public:
    /// The zone's variables in the order of the data set, null for one that it can't serve.
    /// Variables, the zone's cells and store must outlive the object; the store is to own it.
    ZoneIdentity(QueryObjectStore& store, DataSet::ZoneInFile const& grid,
                 hdq::CellConnectivityQueryInterface& cells, std::vector<ZoneVariable*> variables);

    void destroy() override {}
    /// The duplicate has the variables that the zone has now, calculated ones included.
    hdq::ZoneVarIDQueryInterface* duplicate() override;
    /// The variable takes the place of a calculated one with its id, for what is made from then on.
    /// calcVarArg isn't looked at.
    void createCalcVar(long varID, int calcVarArg, int fieldDataType,
                       std::shared_ptr<eqn::ExprInterface> const& expression,
                       hdq::VarValueQueryInterface*& cellCentered,
                       hdq::VarValueQueryInterface*& nodal,
                       hdq::VarSubzoneQueryInterface*& subzones) override;
    bool varExists(long varID) override;
    void findCellSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                          RawArray<SubzoneAddress>& result) override;
    void findNodeSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                          RawArray<SubzoneAddress>& result) override;

    /// The variable of that unique id, or null.
    ZoneVariable* find(long varID) const;

private:
    /// The variables of a search. Throws std::invalid_argument if one is missing, or a value.
    std::vector<ZoneVariable*> variablesOf(RawArray<double> const& values,
                                           RawArray<long> const& vars) const;

    QueryObjectStore& m_store;
    DataSet::ZoneInFile m_grid;
    hdq::CellConnectivityQueryInterface& m_cells;
    std::vector<ZoneVariable*> m_variables;
    std::map<long, ZoneVariable*> m_calculated; ///< By unique id.
};

}
