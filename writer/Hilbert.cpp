#include "writer/Hilbert.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

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

/// The bits of a number with two zeros ahead of each.
std::uint64_t spread(std::uint64_t number)
{
    number &= (std::uint64_t{1} << BITS) - 1;
    number = (number | number << 32) & 0x001F00000000FFFF;
    number = (number | number << 16) & 0x001F0000FF0000FF;
    number = (number | number << 8) & 0x100F00F00F00F00F;
    number = (number | number << 4) & 0x10C30C30C30C30C3;
    return (number | number << 2) & 0x1249249249249249;
}

/// How the curve runs through a cube: that of the whole grid, turned and mirrored.
struct Turn
{
    std::array<unsigned, 3> axes{0, 1, 2}; ///< Which axis of the grid takes the place of each.
    std::array<unsigned, 3> isMirrored{};  ///< By place.
    unsigned isBackwards = 0;
};

/// The octant of a cube in which a bit of each axis leads comes as the number-th; below is how the
/// curve runs through it.
struct Step
{
    unsigned number;
    Turn below;
};

constexpr Step stepInto(Turn const& turn, unsigned octant)
{
    std::array<unsigned, 3> bits{};
    for (unsigned place = 0; place < 3; ++place)
        bits[place] = (octant >> (2 - turn.axes[place]) & 1) ^ turn.isMirrored[place];
    Step result{0, turn};
    Turn& below = result.below;
    for (unsigned place = 0; place < 3; ++place) {
        if (bits[place] != 0) {
            below.isMirrored[0] ^= 1;
            continue;
        }
        std::swap(below.axes[0], below.axes[place]);
        std::swap(below.isMirrored[0], below.isMirrored[place]);
    }
    unsigned bit = 0;
    for (unsigned place = 0; place < 3; ++place) {
        bit ^= bits[place];
        result.number = result.number << 1 | (bit ^ turn.isBackwards);
    }
    below.isBackwards ^= bit;
    return result;
}

constexpr unsigned NUM_TURNS = 6 * 8 * 2;

constexpr unsigned numberOf(Turn const& turn)
{
    unsigned const order = turn.axes[0] * 2 + (turn.axes[1] > turn.axes[2] ? 1U : 0U);
    return ((order * 2 + turn.isMirrored[0]) * 2 + turn.isMirrored[1]) * 4 +
           turn.isMirrored[2] * 2 + turn.isBackwards;
}

constexpr Turn turnOf(unsigned number)
{
    Turn result;
    result.isBackwards = number & 1;
    for (unsigned place = 0; place < 3; ++place)
        result.isMirrored[place] = number >> (3 - place) & 1;
    unsigned const first = number >> 5;
    unsigned const low = first == 0 ? 1 : 0;
    unsigned const high = first == 2 ? 1 : 2;
    bool const isSwapped = (number >> 4 & 1) != 0;
    result.axes = {first, isSwapped ? high : low, isSwapped ? low : high};
    return result;
}

constexpr bool areTurnsNumbered()
{
    for (unsigned number = 0; number < NUM_TURNS; ++number)
        if (numberOf(turnOf(number)) != number)
            return false;
    return true;
}
static_assert(areTurnsNumbered());

/// One step: by turn and three bits, the number of the turn below and three bits of the place on the
/// curve.
using SingleStepTable = std::array<std::array<std::uint16_t, 8>, NUM_TURNS>;

constexpr SingleStepTable makeSingleSteps()
{
    SingleStepTable result{};
    for (unsigned turn = 0; turn < NUM_TURNS; ++turn)
        for (unsigned octant = 0; octant < 8; ++octant) {
            Step const step = stepInto(turnOf(turn), octant);
            result[turn][octant] =
                static_cast<std::uint16_t>(numberOf(step.below) << 3 | step.number);
        }
    return result;
}

/// Two steps at once: the same with six bits.
constexpr unsigned BITS_OF_STEPS = 6;
using StepTable = std::array<std::array<std::uint16_t, 1U << BITS_OF_STEPS>, NUM_TURNS>;

/// Made of single steps, as compilers end a constant of more than a million operations.
constexpr StepTable makeSteps()
{
    SingleStepTable const singles = makeSingleSteps();
    StepTable result{};
    for (unsigned turn = 0; turn < NUM_TURNS; ++turn)
        for (unsigned octants = 0; octants < 1U << BITS_OF_STEPS; ++octants) {
            unsigned const first = singles[turn][octants >> 3];
            unsigned const second = singles[first >> 3][octants & 7];
            result[turn][octants] = static_cast<std::uint16_t>(
                (second >> 3) << BITS_OF_STEPS | (first & 7) << 3 | (second & 7));
        }
    return result;
}

constexpr StepTable STEPS = makeSteps();
static_assert(BITS % 2 == 1, "a single step, then two at once");

}

std::uint64_t hilbertNumber(std::array<std::uint32_t, 3> cell)
{
    std::uint64_t const bits = spread(cell[0]) << 2 | spread(cell[1]) << 1 | spread(cell[2]);
    Step const first = stepInto(Turn{}, static_cast<unsigned>(bits >> (3 * (BITS - 1))));
    std::uint64_t result = first.number;
    unsigned turn = numberOf(first.below);
    for (unsigned left = 3 * (BITS - 1); left != 0;) {
        left -= BITS_OF_STEPS;
        std::uint16_t const steps = STEPS[turn][bits >> left & ((1U << BITS_OF_STEPS) - 1)];
        result = result << BITS_OF_STEPS | (steps & ((1U << BITS_OF_STEPS) - 1));
        turn = steps >> BITS_OF_STEPS;
    }
    return result;
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
