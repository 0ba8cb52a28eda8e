#pragma once

#include "client/Cells.h"
#include "client/Engine.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace varnox::client {

/// Numbers of the variables that hold the coordinates of nodes, X first.
using CoordinateVariables = std::array<int, 3>;

/// The variables named X, Y and Z, in letters of either case; none if one of them is missing.
std::optional<CoordinateVariables> coordinateVariables(DataSet const& dataSet);

/// The coordinates of a zone's nodes, fetched by node subzone. The subzones last used are kept, a
/// bounded number of them.
class Coordinates
{
public:
    static constexpr std::size_t MAX_KEPT = 4096;

    /// The engine must outlive the object. Throws Error if the variables aren't nodal ones of the
    /// zone. A passive one is 0.
    Coordinates(Engine& engine, int zone, CoordinateVariables const& variables);

    /// Fetches what isn't there yet, in one piece for each variable.
    void fetch(std::vector<SubzoneAddress> const& nodeSubzones);
    /// Of a node whose subzone was fetched last, or is still there.
    std::array<double, 3> of(NodeAddress node) const;

private:
    using Points = std::vector<std::array<double, 3>>;

    void fetch(std::vector<SubzoneAddress> const& nodeSubzones, std::size_t axis);

    Engine& m_engine;
    int m_zone;
    CoordinateVariables m_variables;
    std::size_t m_numPassive = 0;
    std::map<SubzoneAddress, Points> m_points;
};

}
