#pragma once

#include "addons/hdqfs/ZoneVariable.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"

#include <cstddef>
#include <vector>

namespace varnox::hdqfsloader {

/// A variable as a calculated one takes it in: at the nodes or cells at which that one has its
/// values. Values at nodes are taken to cells: each cell gets the mean of its corners'. The other
/// way there is none.
class CalcVarInput
{
public:
    using SubzoneAddress = ZoneVariable::SubzoneAddress;

    /// Variable and cells, which are those of the zone, must outlive the object.
    CalcVarInput(ZoneVariable& variable, hdq::CellConnectivityQueryInterface& cells)
        : m_variable(&variable), m_cells(&cells), m_range(variable.safeRange())
    {
    }

    Items items() const { return m_variable->items(); }

    /// The values of a subzone of numItems nodes or cells.
    std::vector<double> values(SubzoneAddress const& subzone, Items where,
                               std::size_t numItems) const;

    /// Of the values in the zone, wherever they are taken in: no value lies outside it, whatever
    /// digits the header of a text file has of the range.
    hdqio::MinMax range() const { return m_range; }
    ZoneVariable& variable() const { return *m_variable; }

private:
    std::vector<double> meansOfCorners(SubzoneAddress const& subzone, std::size_t numCells) const;

    ZoneVariable* m_variable;
    hdq::CellConnectivityQueryInterface* m_cells;
    hdqio::MinMax m_range;
};

}
