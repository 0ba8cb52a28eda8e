#include "writer/Hilbert.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace varnox::hdqfswriter {

namespace {

constexpr unsigned BITS = 21;
constexpr double CELLS = 1U << BITS;

struct Cube
{
    std::array<double, 3> low;
    double size;
};

Cube cubeAround(double const* positions, std::size_t numPoints)
{
    constexpr double INF = std::numeric_limits<double>::infinity();
    std::array<double, 3> low{INF, INF, INF};
    std::array<double, 3> high{-INF, -INF, -INF};
    for (std::size_t i = 0; i < 3 * numPoints; ++i) {
        if (!std::isfinite(positions[i]))
            continue;
        low[i % 3] = std::min(low[i % 3], positions[i]);
        high[i % 3] = std::max(high[i % 3], positions[i]);
    }
    // One size for all axes: compact in space is not compact in a stretched cube.
    double size = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (high[axis] > low[axis])
            size = std::max(size, high[axis] - low[axis]);
    return {low, size};
}

std::uint32_t cellAlong(double position, double low, double size)
{
    double const place = (position - low) / size * CELLS;
    // Not-a-number is at neither side.
    if (!(place > 0))
        return 0;
    return place < CELLS - 1 ? static_cast<std::uint32_t>(place) : (1U << BITS) - 1;
}

/// The bits of three numbers in turn, those of the first ahead.
std::uint64_t interleaved(std::array<std::uint32_t, 3> const& numbers)
{
    std::uint64_t result = 0;
    for (unsigned bit = BITS; bit-- > 0;)
        for (std::uint32_t const number : numbers)
            result = result << 1 | (number >> bit & 1);
    return result;
}

}

std::uint64_t hilbertNumber(std::array<std::uint32_t, 3> cell)
{
    // From the coarsest cube down: each part of the curve is that of its cube, turned and mirrored.
    for (std::uint32_t side = 1U << (BITS - 1); side > 1; side >>= 1) {
        std::uint32_t const below = side - 1;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (cell[axis] & side) {
                cell[0] ^= below;
            } else {
                std::uint32_t const swapped = (cell[0] ^ cell[axis]) & below;
                cell[0] ^= swapped;
                cell[axis] ^= swapped;
            }
        }
    }
    cell[1] ^= cell[0];
    cell[2] ^= cell[1];
    std::uint32_t turned = 0;
    for (std::uint32_t side = 1U << (BITS - 1); side > 1; side >>= 1)
        if (cell[2] & side)
            turned ^= side - 1;
    for (std::uint32_t& along : cell)
        along ^= turned;
    return interleaved(cell);
}

std::vector<std::uint32_t> hilbertOrder(double const* positions, std::uint32_t numPoints)
{
    struct Place
    {
        std::uint64_t onCurve;
        std::uint32_t point;
    };
    Cube const cube = cubeAround(positions, numPoints);
    std::vector<Place> places(numPoints);
    for (std::uint32_t p = 0; p < numPoints; ++p) {
        double const* const position = positions + std::size_t{3} * p;
        std::array<std::uint32_t, 3> cell{};
        for (std::size_t axis = 0; axis < 3 && cube.size > 0; ++axis)
            cell[axis] = cellAlong(position[axis], cube.low[axis], cube.size);
        places[p] = {hilbertNumber(cell), p};
    }
    std::sort(places.begin(), places.end(), [](Place const& a, Place const& b) {
        return a.onCurve != b.onCurve ? a.onCurve < b.onCurve : a.point < b.point;
    });
    std::vector<std::uint32_t> result(numPoints);
    std::transform(places.begin(), places.end(), result.begin(),
                   [](Place const& place) { return place.point; });
    return result;
}

}
