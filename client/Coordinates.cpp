#include "client/Coordinates.h"

#include "client/Errors.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace varnox::client {

std::optional<CoordinateVariables> coordinateVariables(DataSet const& dataSet)
{
    CoordinateVariables result{};
    for (Variable const& variable : dataSet.variables) {
        if (variable.name.size() != 1)
            continue;
        int const axis = std::toupper(static_cast<unsigned char>(variable.name.front())) - 'X';
        if (axis >= 0 && axis < 3 && result[static_cast<std::size_t>(axis)] == 0)
            result[static_cast<std::size_t>(axis)] = variable.number;
    }
    bool const isComplete = std::find(result.begin(), result.end(), 0) == result.end();
    return isComplete ? std::optional(result) : std::nullopt;
}

Coordinates::Coordinates(Engine& engine, int zone, CoordinateVariables const& variables)
    : m_engine(engine), m_zone(zone), m_variables(variables)
{
    for (int const var : variables) {
        engine.hasSubzoneValues(zone, var); // complains about one that doesn't exist
        ZoneVariable const& variable = *DataSet::variable(*engine.dataSet().zone(zone), var);
        if (variable.location != ValueLocation_Nodal)
            throw Error("Variable " + std::to_string(var) +
                        " can't be a coordinate: its values stand at the cells of zone " +
                        std::to_string(zone) + ".");
        m_numPassive += variable.isPassive;
    }
}

void Coordinates::fetch(std::vector<SubzoneAddress> const& nodeSubzones)
{
    if (m_points.size() > MAX_KEPT)
        m_points.clear();
    std::vector<SubzoneAddress> missing;
    for (SubzoneAddress const& subzone : nodeSubzones)
        if (!m_points.contains(subzone))
            missing.push_back(subzone);
    if (missing.empty())
        return;
    for (std::size_t axis = 0; axis < 3; ++axis)
        fetch(missing, axis);
}

void Coordinates::fetch(std::vector<SubzoneAddress> const& nodeSubzones, std::size_t axis)
{
    Zone const& zone = *m_engine.dataSet().zone(m_zone);
    if (DataSet::variable(zone, m_variables[axis])->isPassive)
        return;
    m_engine.subzoneValues(m_zone, m_variables[axis], nodeSubzones,
                           [&](SubzoneAddress subzone, Values const& values) {
                               Points& points = m_points[subzone];
                               points.resize(std::max(points.size(), count(values)));
                               std::visit(
                                   [&](auto const& vector) {
                                       for (std::size_t i = 0; i < vector.size(); ++i)
                                           points[i][axis] = static_cast<double>(vector[i]);
                                   },
                                   values);
                           });
}

std::array<double, 3> Coordinates::of(NodeAddress node) const
{
    if (m_numPassive == m_variables.size())
        return {};
    auto const found = m_points.find(node.subzoneAddress());
    if (found == m_points.end() || node.itemOffset() >= found->second.size())
        throw Error("The node subzone " + textOf(node.subzoneAddress()) + " of zone " +
                    std::to_string(m_zone) + " has no node " + std::to_string(node.itemOffset()) +
                    ".");
    return found->second[node.itemOffset()];
}

}
