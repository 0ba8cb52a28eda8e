#pragma once

#include "varnox/Export.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

#include <memory>

namespace varnox::eqn {
class ExprInterface;
}

namespace varnox::hdq {

class VarSubzoneQueryInterface;
class VarValueQueryInterface;

/// One zone as a whole: which variables it has, which subzones may hold given values, its
/// duplicate, and new variables computed from others. Implemented by the add-on, which owns its
/// objects; the library only calls them and never deletes one. The order of the operations is
/// binding: the two sides are compiled apart.
class VNX_EXPORT ZoneVarIDQueryInterface
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    virtual void destroy() = 0;
    /// A new object for the duplicated zone.
    virtual ZoneVarIDQueryInterface* duplicate() = 0;
    /// Makes the three query objects of a new variable. The add-on may keep the expression.
    virtual void createCalcVar(long varID, int calcVarArg, int fieldDataType,
                               std::shared_ptr<eqn::ExprInterface> const& expression,
                               VarValueQueryInterface*& cellCentered,
                               VarValueQueryInterface*& nodal,
                               VarSubzoneQueryInterface*& subzones) = 0;
    virtual bool varExists(long varID) = 0;
    virtual void findCellSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                                  RawArray<SubzoneAddress>& result) = 0;
    virtual void findNodeSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                                  RawArray<SubzoneAddress>& result) = 0;
    virtual ~ZoneVarIDQueryInterface();
};

}
