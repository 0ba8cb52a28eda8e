#include "addons/hdqfs/SubzoneOrder.h"

#include <algorithm>
#include <array>

namespace varnox::hdqfsloader {

namespace {

using Bricks = std::array<std::uint64_t, 3>;

/// Appends the bricks of a cube that lie inside the grid, as its first one does. Sides are powers
/// of four. Of a long thin grid most parts of a cube lie outside, and aren't looked at.
void appendCube(Bricks const& numBricks, Bricks const& first, std::uint64_t side,
                std::vector<std::uint32_t>& order)
{
    if (side == 1) {
        order.push_back(static_cast<std::uint32_t>(
            (first[2] * numBricks[1] + first[1]) * numBricks[0] + first[0]));
        return;
    }
    std::uint64_t const part = side / 4;
    Bricks end;
    for (std::size_t axis = 0; axis < 3; ++axis)
        end[axis] = std::min(first[axis] + side, numBricks[axis]);
    for (std::uint64_t k = first[2]; k < end[2]; k += part)
        for (std::uint64_t j = first[1]; j < end[1]; j += part)
            for (std::uint64_t i = first[0]; i < end[0]; i += part)
                appendCube(numBricks, {i, j, k}, part, order);
}

}

std::vector<std::uint32_t> subzoneOrder(SubzoneLayout const& layout)
{
    std::vector<std::uint32_t> order;
    if (!layout.isOrdered())
        return order;
    Bricks const numBricks{layout.axis(0).numBricks, layout.axis(1).numBricks,
                           layout.axis(2).numBricks};
    std::uint64_t side = 4;
    while (side < *std::max_element(numBricks.begin(), numBricks.end()))
        side *= 4;
    order.reserve(static_cast<std::size_t>(layout.numSubzones()));
    if (layout.numSubzones() != 0)
        appendCube(numBricks, {0, 0, 0}, side, order);
    return order;
}

}
