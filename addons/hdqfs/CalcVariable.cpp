#include "addons/hdqfs/CalcVariable.h"

#include "addons/hdqfs/CalcVarBounds.h"
#include "addons/hdqfs/SubzoneCounts.h"

#include "expressions/BoundEvaluator.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

using hdqio::MinMax;

CalcVariable::CalcVariable(Place const& place, CalcVarType type,
                           std::shared_ptr<eqn::ExprInterface> const& formula, Find const& find,
                           eqn::WarningLogInterface& log)
    : m_place(place), m_type(type), m_evaluator(formula), m_log(log)
{
    for (unsigned long const id : m_evaluator.program().varIDs()) {
        ZoneVariable* const variable = find(static_cast<long>(id));
        if (variable == nullptr)
            throw std::invalid_argument("A formula names the variable with the unique id " +
                                        std::to_string(static_cast<long>(id)) +
                                        ", which the zone doesn't have.");
        addDependencies(*variable);
        m_inputs.emplace_back(*variable, *m_place.cells);
        if (variable->items() == Items::Cells)
            m_items = Items::Cells;
    }
    m_range = boundOfZone();
}

void CalcVariable::addDependencies(ZoneVariable const& variable)
{
    auto const* const calculated = dynamic_cast<CalcVariable const*>(&variable);
    if (calculated == nullptr)
        return;
    m_dependencies.insert(calculated);
    m_dependencies.insert(calculated->m_dependencies.begin(), calculated->m_dependencies.end());
    // They are computed within each other, on the stack.
    if (m_dependencies.size() > MAX_DEPENDENCIES)
        throw std::invalid_argument("A formula rests on more than " +
                                    std::to_string(MAX_DEPENDENCIES) + " calculated variables.");
}

std::string CalcVariable::description() const
{
    return "The calculated variable with the unique id " + std::to_string(m_place.varID);
}

std::vector<double> const& CalcVariable::values(SubzoneAddress const& subzone)
{
    if (!m_hasValues || m_subzone != subzone)
        compute(subzone);
    return m_values;
}

void CalcVariable::compute(SubzoneAddress const& subzone)
{
    m_hasValues = false;
    std::size_t const count = subzoneSize(m_place.grid, subzone, m_items);
    std::vector<std::vector<double>> inputs;
    std::vector<double const*> pointers;
    for (CalcVarInput const& input : m_inputs) {
        inputs.push_back(input.values(subzone, m_items, count));
        pointers.push_back(inputs.back().data());
    }
    m_values.resize(count);
    log(m_evaluator.evaluate(pointers, count, m_values.data()), subzone);
    m_type.narrow(m_values.data(), count);
    m_subzone = subzone;
    m_hasValues = true;
}

void CalcVariable::log(eqn::EvaluationReport const& report, SubzoneAddress const& subzone)
{
    if ((report.numUndefined == 0 && report.numClamped == 0) ||
        !m_logged.insert(subzone.word()).second)
        return;
    std::string const where = description() + ", subzone " +
                              std::to_string(subzone.subzoneOffset()) + " of section " +
                              std::to_string(subzone.section()) + " in partition " +
                              std::to_string(subzone.partition()) + ", counted from 0: ";
    std::string text;
    if (report.numUndefined != 0)
        text = std::to_string(report.numUndefined) + " of " + std::to_string(m_values.size()) +
               " points have no value. " + report.whyUndefined;
    if (report.numClamped != 0)
        text += (text.empty() ? "" : " ") + report.firstClamping + ", and " +
                std::to_string(report.numClamped - 1) + " more.";
    m_log.logWarning(where + text);
}

std::vector<MinMax> CalcVariable::partitionRanges()
{
    std::uint32_t const numPartitions = m_place.grid.file->zone(m_place.grid.zone).numPartitions;
    return CalcVarBounds(*this).ofPartitions(std::max<std::uint32_t>(numPartitions, 1));
}

std::vector<MinMax> CalcVariable::subzoneRanges(std::uint32_t partition, Items subzones)
{
    return CalcVarBounds(*this).ofSubzones(partition, subzones,
                                           numListedSubzones(m_place.grid, partition, subzones));
}

MinMax CalcVariable::boundOfZone() const
{
    std::vector<Interval> ranges;
    for (CalcVarInput const& input : m_inputs)
        ranges.push_back({input.range().min, input.range().max});
    Interval const bound = m_type.narrowed(eqn::BoundEvaluator(program()).evaluate(ranges));
    return {bound.lower, bound.upper};
}

}
