#include "tools/vnxconvert/CellKinds.h"

namespace varnox::convert {

namespace {

constexpr std::size_t NUM_KINDS = 256;

constexpr std::array<CellKind, NUM_KINDS> makeKinds()
{
    std::array<CellKind, NUM_KINDS> result{};
#define KIND(number, name, treatment, shape, corners)                                              \
    result[number] = {name, Treatment::treatment, CellShape::shape, corners};
#include "tools/vnxconvert/CellKinds.def"
    return result;
}

constexpr std::array<CellKind, NUM_KINDS> KINDS = makeKinds();
static_assert(KINDS[TETRAHEDRON].numCorners == 4 && KINDS[HEXAHEDRON].numCorners == 8 &&
              KINDS[PYRAMID].numCorners == 5 && KINDS[PRISM].numCorners == 6);

constexpr std::array<std::uint8_t, 8> IN_ORDER{0, 1, 2, 3, 4, 5, 6, 7};
/// Pixels and voxels count along their axes, and not around.
constexpr std::array<std::uint8_t, 8> AROUND{0, 1, 3, 2, 4, 5, 7, 6};

}

CellKind const& cellKind(std::uint8_t number)
{
    return KINDS[number];
}

std::array<std::uint8_t, 8> const& cornersOf(std::uint8_t kind)
{
    return KINDS[kind].treatment == Treatment::Reordered ? AROUND : IN_ORDER;
}

unsigned dimensionOf(CellShape shape)
{
    if (shape == CellShape::Line)
        return 1;
    return shape <= CellShape::Quadrilateral ? 2 : 3;
}

}
