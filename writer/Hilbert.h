#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// How far along the Hilbert curve a cell of a grid of 2^21 cells a side lies. Neighbours on the
/// curve are neighbours in space.
std::uint64_t hilbertNumber(std::array<std::uint32_t, 3> cell);

/// Puts points in the order of the curve through the cube around them. Element i of the result is
/// the point, counted as given, that comes i-th. Points at one place keep their order; those
/// without a place in space, infinite or not-a-number, come where the curve begins.
std::vector<std::uint32_t> hilbertOrder(double const* positions, std::uint32_t numPoints);

}
