#include "addons/hdqfs/CalcVarBounds.h"

#include "addons/hdqfs/CalcVariable.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace varnox::hdqfsloader {

using hdqio::MinMax;

CalcVarBounds::CalcVarBounds(CalcVariable const& variable)
{
    add(variable);
}

std::size_t CalcVarBounds::add(CalcVariable const& variable)
{
    std::vector<std::size_t> inputs;
    for (CalcVarInput const& input : variable.inputs())
        inputs.push_back(placeOf(input.variable()));
    std::size_t const place = m_ranges.size();
    m_ranges.emplace_back();
    m_calculated.push_back(
        {&variable, std::move(inputs), place, eqn::BoundEvaluator(variable.program())});
    return place;
}

std::size_t CalcVarBounds::placeOf(ZoneVariable& variable)
{
    auto const found = m_places.find(&variable);
    if (found != m_places.end())
        return found->second;
    std::size_t place = m_ranges.size();
    if (auto const* const calculated = dynamic_cast<CalcVariable const*>(&variable)) {
        place = add(*calculated);
    } else {
        m_ranges.emplace_back();
        m_stored.push_back({&variable, place});
    }
    m_places.emplace(&variable, place);
    return place;
}

std::vector<MinMax> CalcVarBounds::ofPartitions(std::size_t numPartitions)
{
    // A cell at the border of a partition has nodes in the next one.
    return evaluate(numPartitions, /*reachesOut*/ true,
                    [](ZoneVariable& variable) { return variable.partitionRanges(); });
}

std::vector<MinMax> CalcVarBounds::ofSubzones(std::uint32_t partition, Items subzones,
                                              std::size_t numSubzones)
{
    // Cells around a subzone of nodes have nodes in other subzones.
    return evaluate(numSubzones, subzones == Items::Nodes, [&](ZoneVariable& variable) {
        return variable.subzoneRanges(partition, subzones);
    });
}

std::vector<MinMax> CalcVarBounds::evaluate(std::size_t count, bool reachesOut,
                                            RangesOf const& rangesOf)
{
    std::vector<std::vector<MinMax>> stored;
    for (Stored const& each : m_stored) {
        stored.push_back(rangesOf(*each.variable));
        if (stored.back().size() != count)
            throw std::runtime_error(m_calculated.back().variable->description() + " rests on " +
                                     each.variable->description() + ", which has " +
                                     std::to_string(stored.back().size()) + " ranges instead of " +
                                     std::to_string(count) + ".");
    }
    std::vector<MinMax> result;
    result.reserve(count);
    for (std::size_t entry = 0; entry < count; ++entry) {
        for (std::size_t i = 0; i < stored.size(); ++i)
            m_ranges[m_stored[i].place] = {stored[i][entry].min, stored[i][entry].max};
        for (Calculated& calculated : m_calculated)
            m_ranges[calculated.place] = bound(calculated, reachesOut);
        Interval const& last = m_ranges[m_calculated.back().place];
        result.push_back({last.lower, last.upper});
    }
    return result;
}

Interval CalcVarBounds::bound(Calculated& calculated, bool reachesOut)
{
    CalcVariable const& variable = *calculated.variable;
    m_inputs.clear();
    for (std::size_t i = 0; i < calculated.inputs.size(); ++i) {
        CalcVarInput const& input = variable.inputs()[i];
        MinMax const whole = input.range();
        bool const isTakenToCells = input.items() != variable.items();
        m_inputs.push_back(isTakenToCells && reachesOut ? Interval{whole.min, whole.max}
                                                        : m_ranges[calculated.inputs[i]]);
    }
    return variable.type().narrowed(calculated.evaluator.evaluate(m_inputs));
}

}
