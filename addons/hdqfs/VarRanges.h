#pragma once

#include "addons/hdqfs/ZoneVariable.h"

#include "varnox/hdq/VarSubzoneQueryInterface.h"

namespace varnox::hdqfsloader {

/// Serves the ranges of a variable: pairs of the lower end of a range, then its upper end.
class VarRanges final : public hdq::VarSubzoneQueryInterface
{
public:
    /// The variable must outlive the object.
    explicit VarRanges(ZoneVariable& variable) : m_variable(variable) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void findNodeSubzones() override {}
    void findCellSubzones() override {}
    void partitionMinMaxes(RawArray<double>& result) override;
    void cellSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override;
    void nodeSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override;

private:
    ZoneVariable& m_variable;
};

}
