#include "addons/hdqfs/CalcVarInput.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

namespace {

constexpr std::size_t MAX_CORNERS = 8;

/// The mean lies between the least and the largest, whatever rounding does.
double meanOf(double const* values, std::size_t count)
{
    double sum = 0;
    double least = values[0];
    double largest = values[0];
    for (std::size_t i = 0; i < count; ++i) {
        sum += values[i];
        least = std::min(least, values[i]);
        largest = std::max(largest, values[i]);
    }
    double const mean = sum / static_cast<double>(count);
    return std::isnan(mean) ? mean : std::clamp(mean, least, largest);
}

}

std::vector<double> CalcVarInput::values(SubzoneAddress const& subzone, Items where,
                                         std::size_t numItems) const
{
    if (items() != where)
        return meansOfCorners(subzone, numItems);
    std::vector<double> const& stored = m_variable->values(subzone);
    if (stored.size() != numItems)
        throw std::runtime_error(m_variable->description() + " has " +
                                 std::to_string(stored.size()) + " values in a subzone of " +
                                 std::to_string(numItems) + ".");
    return stored;
}

std::vector<double> CalcVarInput::meansOfCorners(SubzoneAddress const& subzone,
                                                 std::size_t numCells) const
{
    std::map<SubzoneAddress, std::vector<double>> nodeSubzones;
    std::vector<double> result(numCells);
    for (std::size_t cell = 0; cell < numCells; ++cell) {
        ItemAddress<long> addresses[MAX_CORNERS];
        RawArray<ItemAddress<long>> corners{nullptr, addresses, MAX_CORNERS, 0};
        m_cells->cornerNodeAddresses(ItemAddress<long>(subzone, static_cast<std::uint8_t>(cell)),
                                     corners);
        if (corners.size == 0)
            throw std::runtime_error("A cell without nodes can't have a mean of " +
                                     m_variable->description() + ".");
        double values[MAX_CORNERS];
        for (std::size_t i = 0; i < corners.size; ++i) {
            SubzoneAddress const ofNode = addresses[i].subzoneAddress();
            auto place = nodeSubzones.find(ofNode);
            if (place == nodeSubzones.end())
                place = nodeSubzones.emplace(ofNode, m_variable->values(ofNode)).first;
            if (addresses[i].itemOffset() >= place->second.size())
                throw std::runtime_error("A cell has a node that " + m_variable->description() +
                                         " has no value at.");
            values[i] = place->second[addresses[i].itemOffset()];
        }
        result[cell] = meanOf(values, static_cast<std::size_t>(corners.size));
    }
    return result;
}

}
