#pragma once

#include "addons/hdqfs/CalcVarInput.h"
#include "addons/hdqfs/CalcVarType.h"
#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/ZoneVariable.h"

#include "expressions/ArrayEvaluator.h"
#include "varnox/eqn/WarningLogInterface.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

namespace varnox::hdqfsloader {

/// A variable that is computed from others, a subzone at a time, when it is asked for. It has its
/// values at cells if one of the others has, and otherwise at nodes. What is out of the ordinary is
/// logged once for a subzone.
class CalcVariable final : public ZoneVariable
{
public:
    /// Calculated variables on which a calculated variable may rest, directly and through others.
    static constexpr std::size_t MAX_DEPENDENCIES = 1000;

    /// What it is made for: a zone, and the id that the host gives it.
    struct Place
    {
        DataSet::ZoneInFile grid;
        hdq::CellConnectivityQueryInterface* cells; ///< Of the zone.
        long varID;
    };

    using Find = std::function<ZoneVariable*(long varID)>;

    /// find gives a variable of the zone by its id, or null. Variables found, cells and log must
    /// outlive the object. Throws std::invalid_argument for a formula that can't be evaluated or
    /// names a variable that isn't there.
    CalcVariable(Place const& place, CalcVarType type,
                 std::shared_ptr<eqn::ExprInterface> const& formula, Find const& find,
                 eqn::WarningLogInterface& log);

    std::string description() const override;
    Items items() const override { return m_items; }
    hdqio::MinMax range() const override { return m_range; }
    std::vector<double> const& values(SubzoneAddress const& subzone) override;
    std::vector<hdqio::MinMax> partitionRanges() override;
    std::vector<hdqio::MinMax> subzoneRanges(std::uint32_t partition, Items subzones) override;

    eqn::Program const& program() const { return m_evaluator.program(); }
    /// In the order of the program's variables.
    std::vector<CalcVarInput> const& inputs() const { return m_inputs; }
    CalcVarType const& type() const { return m_type; }

private:
    void addDependencies(ZoneVariable const& variable);
    void compute(SubzoneAddress const& subzone);
    void log(eqn::EvaluationReport const& report, SubzoneAddress const& subzone);
    hdqio::MinMax boundOfZone() const;

    Place m_place;
    CalcVarType m_type;
    eqn::ArrayEvaluator m_evaluator;
    std::vector<CalcVarInput> m_inputs;
    std::unordered_set<CalcVariable const*> m_dependencies;
    eqn::WarningLogInterface& m_log;
    Items m_items = Items::Nodes;
    hdqio::MinMax m_range{};

    // The subzone computed last. A formula may meet this variable on many ways through others:
    // without this, each of them would compute it anew.
    bool m_hasValues = false;
    SubzoneAddress m_subzone{};
    std::vector<double> m_values;
    std::unordered_set<std::uint64_t> m_logged; ///< Words of subzones.
};

}
