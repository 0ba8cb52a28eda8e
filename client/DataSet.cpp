#include "client/DataSet.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace varnox::client {

namespace {

std::int64_t cellsAlong(std::int64_t nodes)
{
    return std::max<std::int64_t>(nodes, 2) - 1;
}

bool hasProduct(std::int64_t a, std::int64_t b, std::int64_t c)
{
    std::int64_t product = 0;
    return !__builtin_mul_overflow(a, b, &product) && !__builtin_mul_overflow(product, c, &product);
}

}

std::int64_t Zone::numNodes() const
{
    return isOrdered() ? size[0] * size[1] * size[2] : size[0];
}

std::int64_t Zone::numCells() const
{
    return isOrdered() ? cellsAlong(size[0]) * cellsAlong(size[1]) * cellsAlong(size[2]) : size[1];
}

std::int64_t Zone::numItems(ValueLocation_e location) const
{
    return location == ValueLocation_Nodal ? numNodes() : numCells();
}

bool Zone::hasValidSize() const
{
    if (std::any_of(size.begin(), size.end(), [](std::int64_t n) { return n < 0; }))
        return false;
    return !isOrdered() ||
           (hasProduct(size[0], size[1], size[2]) &&
            hasProduct(cellsAlong(size[0]), cellsAlong(size[1]), cellsAlong(size[2])));
}

Zone const* DataSet::zone(std::int64_t number) const
{
    bool const exists = number >= 1 && static_cast<std::uint64_t>(number) <= zones.size();
    return exists ? &zones[static_cast<std::size_t>(number - 1)] : nullptr;
}

Zone* DataSet::zone(std::int64_t number)
{
    return const_cast<Zone*>(std::as_const(*this).zone(number));
}

ZoneVariable const* DataSet::variable(Zone const& zone, std::int64_t number)
{
    bool const exists = number >= 1 && static_cast<std::uint64_t>(number) <= zone.variables.size();
    return exists ? &zone.variables[static_cast<std::size_t>(number - 1)] : nullptr;
}

std::vector<double> DataSet::solutionTimes() const
{
    std::vector<double> times;
    for (Zone const& zone : zones)
        if (zone.isAdded && !std::isnan(zone.solutionTime))
            times.push_back(zone.solutionTime);
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

std::string nameOf(ZoneType_e type)
{
    static constexpr char const* NAMES[] = {"ordered",    "triangles", "quadrilaterals",
                                            "tetrahedra", "bricks",    "line segments",
                                            "polygons",   "polyhedra", "mixed"};
    auto const index = static_cast<std::size_t>(type);
    return index < std::size(NAMES) ? NAMES[index] : "type " + std::to_string(type);
}

std::string nameOf(FieldDataType_e type)
{
    static constexpr char const* NAMES[] = {"none",  "float", "double", "int32",
                                            "int16", "byte",  "bit"};
    auto const index = static_cast<std::size_t>(type);
    return index < std::size(NAMES) ? NAMES[index] : "type " + std::to_string(type);
}

std::string nameOf(ValueLocation_e location)
{
    return location == ValueLocation_Nodal ? "nodal" : "cell-centred";
}

std::string nameOf(FECellShape_e shape)
{
    static constexpr char const* NAMES[] = {
        "line", "triangle", "quadrilateral", "tetrahedron", "hexahedron", "pyramid", "prism"};
    auto const index = static_cast<std::size_t>(shape);
    return index < std::size(NAMES) ? NAMES[index] : "shape " + std::to_string(shape);
}

}
