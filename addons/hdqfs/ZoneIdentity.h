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
    /// The zone counts from 0 in the data set. Its cells and the store must outlive the object; the
    /// store is to own it.
    ZoneIdentity(QueryObjectStore& store, std::uint32_t zone,
                 hdq::CellConnectivityQueryInterface& cells);

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
    std::uint32_t m_zone;
    hdq::CellConnectivityQueryInterface& m_cells;
    std::map<long, ZoneVariable*> m_calculated; ///< By unique id.
};

}
