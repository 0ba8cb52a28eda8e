#pragma once

#include "addons/hdqfs/OrderedGrid.h"

#include "varnox/hdq/OrderedSubzoneQueryInterface.h"

namespace varnox::hdqfsloader {

/// The subzones of an ordered zone that a plane or a line of constant indices passes through.
/// Planes: 0, 1, 2 of constant I, J, K. Lines: 0, 1, 2 along I, J, K; the two numbers are the
/// line's constant indices in the order I, J, K. Indices are those of the nodes or cells that are
/// looked for, from 0; outside the zone there are none. Another plane or line is a
/// std::invalid_argument.
class OrderedSubzones final : public hdq::OrderedSubzoneQueryInterface
{
public:
    explicit OrderedSubzones(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void findIJKPlaneCellSubzones(int plane, long index, RawArray<SubzoneAddress>& result) override;
    void findIJKLineCellSubzones(int line, long first, long second,
                                 RawArray<SubzoneAddress>& result) override;
    void findIJKPlaneNodeSubzones(int plane, long index, RawArray<SubzoneAddress>& result) override;
    void findIJKLineNodeSubzones(int line, long first, long second,
                                 RawArray<SubzoneAddress>& result) override;

private:
    void findPlane(int plane, long index, Items items, RawArray<SubzoneAddress>& result) const;
    void findLine(int line, long first, long second, Items items,
                  RawArray<SubzoneAddress>& result) const;

    OrderedGrid m_grid;
};

}
