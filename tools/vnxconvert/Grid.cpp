#include "tools/vnxconvert/Grid.h"

#include "tools/vnxconvert/Numbers.h"

namespace varnox::convert {

std::size_t widthOf(NumberType type)
{
    return withNumber(type, [](auto number) { return sizeof(number); });
}

double numberAt(Column const& column, std::size_t index)
{
    return withNumber(column.type, [&](auto number) {
        using T = decltype(number);
        return static_cast<double>(
            static_cast<T const*>(column.first.get())[index * column.stride]);
    });
}

NumberType coordinateType(Grid const& grid, std::size_t axis)
{
    if (grid.points.kind == Points::Kind::Uniform)
        return NumberType::Double;
    return grid.points.columns[axis].type;
}

double coordinate(Grid const& grid, std::size_t node, std::size_t axis)
{
    Points const& points = grid.points;
    if (points.kind == Points::Kind::Explicit)
        return numberAt(points.columns[axis], node);
    std::array<std::size_t, 3> const at{node % grid.size[0], node / grid.size[0] % grid.size[1],
                                        node / grid.size[0] / grid.size[1]};
    if (points.kind == Points::Kind::Axes)
        return numberAt(points.columns[axis], at[axis]);
    // In this order, as the readers of such files compute it: the last bit counts.
    double sum = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        double const step = points.direction[3 * axis + i] * points.spacing[i];
        auto const index = static_cast<std::int64_t>(at[i]) + points.firstIndex[i];
        sum = i == 0 ? step * static_cast<double>(index) : sum + step * static_cast<double>(index);
    }
    return sum + points.origin[axis];
}

}
