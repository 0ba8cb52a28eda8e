#pragma once

#include "addons/hdqfs/DataSet.h"

#include "varnox/hdq/OrderedSubzoneQueryInterface.h"

namespace varnox::hdqfsloader {

/// The subzones of an ordered zone that a plane or a line of constant indices passes through.
class OrderedSubzones final : public hdq::OrderedSubzoneQueryInterface
{
public:
    explicit OrderedSubzones(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void findIJKPlaneCellSubzones(int plane, long index,
                                  RawArray<SubzoneAddress>& result) override;
    void findIJKLineCellSubzones(int line, long first, long second,
                                 RawArray<SubzoneAddress>& result) override;
    void findIJKPlaneNodeSubzones(int plane, long index,
                                  RawArray<SubzoneAddress>& result) override;
    void findIJKLineNodeSubzones(int line, long first, long second,
                                 RawArray<SubzoneAddress>& result) override;

private:
    DataSet::ZoneInFile m_grid;
};

}
