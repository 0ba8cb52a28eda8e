#pragma once

#include "addons/hdqfs/ZoneVariable.h"

#include "varnox/hdq/VarSubzoneQueryInterface.h"

namespace varnox::hdqfsloader {

/// Serves the ranges of a variable: pairs of the lower end of a range, then its upper end. It has
/// nothing of its own: it belongs to something that knows the variable.
class VarRanges : public hdq::VarSubzoneQueryInterface
{
public:
    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void findNodeSubzones() override {}
    void findCellSubzones() override {}
    void partitionMinMaxes(RawArray<double>& result) override;
    void cellSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override;
    void nodeSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override;

private:
    virtual ZoneVariable& variable() = 0;
};

}
