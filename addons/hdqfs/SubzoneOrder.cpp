#include "addons/hdqfs/SubzoneOrder.h"

#include <algorithm>
#include <array>

namespace varnox::hdqfsloader {

namespace {

using Bricks = std::array<std::uint64_t, 3>;

/// Appends the bricks of a cube, of which some may lie outside the grid. Sides are powers of four.
void appendCube(Bricks const& numBricks, Bricks const& first, std::uint64_t side,
                std::vector<std::uint32_t>& order)
{
    if (first[0] >= numBricks[0] || first[1] >= numBricks[1] || first[2] >= numBricks[2])
        return;
    if (side == 1) {
        order.push_back(static_cast<std::uint32_t>(
            (first[2] * numBricks[1] + first[1]) * numBricks[0] + first[0]));
        return;
    }
    std::uint64_t const part = side / 4;
    for (std::uint64_t k = 0; k < 4; ++k)
        for (std::uint64_t j = 0; j < 4; ++j)
            for (std::uint64_t i = 0; i < 4; ++i)
                appendCube(numBricks,
                           {first[0] + i * part, first[1] + j * part, first[2] + k * part}, part,
                           order);
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
    appendCube(numBricks, {0, 0, 0}, side, order);
    return order;
}

}
