#pragma once

#include "addons/hdqfs/ZoneVariable.h"

#include "expressions/BoundEvaluator.h"
#include "varnox/Interval.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

namespace varnox::hdqfsloader {

class CalcVariable;

/// Ranges of a calculated variable from those of the stored ones on which it rests, directly and
/// through others. Goes entry by entry and bounds each of the others once for it: a formula may
/// meet them on many ways, and the ranges of all subzones are too many to be kept for each.
class CalcVarBounds
{
public:
    /// The variable must outlive the object.
    explicit CalcVarBounds(CalcVariable const& variable);

    /// One for each partition.
    std::vector<hdqio::MinMax> ofPartitions(std::size_t numPartitions);
    /// One for each subzone of one kind of a partition.
    std::vector<hdqio::MinMax> ofSubzones(std::uint32_t partition, Items subzones,
                                          std::size_t numSubzones);

private:
    struct Calculated
    {
        CalcVariable const* variable;
        std::vector<std::size_t> inputs; ///< Their places.
        std::size_t place;
        eqn::BoundEvaluator evaluator;
    };
    struct Stored
    {
        ZoneVariable* variable;
        std::size_t place;
    };
    using RangesOf = std::function<std::vector<hdqio::MinMax>(ZoneVariable&)>;

    std::size_t add(CalcVariable const& variable);
    std::size_t placeOf(ZoneVariable& variable);
    /// reachesOut: values that are taken from nodes to cells may come from beyond the entry.
    std::vector<hdqio::MinMax> evaluate(std::size_t count, bool reachesOut,
                                        RangesOf const& rangesOf);
    Interval bound(Calculated& calculated, bool reachesOut);

    std::unordered_map<ZoneVariable const*, std::size_t> m_places;
    std::vector<Stored> m_stored;
    std::vector<Calculated> m_calculated; ///< Each behind those on which it rests.
    std::vector<Interval> m_ranges;       ///< Of one entry, by place.
    std::vector<Interval> m_inputs;
};

}
