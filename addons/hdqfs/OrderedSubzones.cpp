#include "addons/hdqfs/OrderedSubzones.h"

#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

namespace {

std::size_t axisOf(int code, char const* what)
{
    if (code < 0 || code > 2)
        throw std::invalid_argument(std::string("There is no ") + what + " " +
                                    std::to_string(code) + ": 0, 1 and 2 stand for I, J and K.");
    return static_cast<std::size_t>(code);
}

/// Keeps of a box what has this index on an axis. False for an index outside.
bool cut(OrderedGrid::Box& box, std::size_t axis, long index)
{
    if (index < 0 || static_cast<std::uint64_t>(index) >= box.end[axis])
        return false;
    box.begin[axis] = static_cast<std::uint64_t>(index);
    box.end[axis] = box.begin[axis] + 1;
    return true;
}

}

void OrderedSubzones::findPlane(int plane, long index, Items items,
                                RawArray<SubzoneAddress>& result) const
{
    OrderedGrid::Box box{{0, 0, 0}, m_grid.size(items)};
    if (cut(box, axisOf(plane, "plane"), index))
        m_grid.appendSubzones(box, items, result);
}

void OrderedSubzones::findLine(int line, long first, long second, Items items,
                               RawArray<SubzoneAddress>& result) const
{
    std::size_t const along = axisOf(line, "line");
    OrderedGrid::Box box{{0, 0, 0}, m_grid.size(items)};
    if (cut(box, along == 0 ? 1 : 0, first) && cut(box, along == 2 ? 1 : 2, second))
        m_grid.appendSubzones(box, items, result);
}

void OrderedSubzones::findIJKPlaneCellSubzones(int plane, long index,
                                               RawArray<SubzoneAddress>& result)
{
    findPlane(plane, index, Items::Cells, result);
}

void OrderedSubzones::findIJKLineCellSubzones(int line, long first, long second,
                                              RawArray<SubzoneAddress>& result)
{
    findLine(line, first, second, Items::Cells, result);
}

void OrderedSubzones::findIJKPlaneNodeSubzones(int plane, long index,
                                               RawArray<SubzoneAddress>& result)
{
    findPlane(plane, index, Items::Nodes, result);
}

void OrderedSubzones::findIJKLineNodeSubzones(int line, long first, long second,
                                              RawArray<SubzoneAddress>& result)
{
    findLine(line, first, second, Items::Nodes, result);
}

}
