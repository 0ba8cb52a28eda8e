#include "filedata/ZoneTypes.h"

#include <cstddef>
#include <cstring>

namespace varnox::hdqio {

namespace {

/// The letter of each type.
constexpr char LETTERS[] = "orqtblgpm";

}

ZoneType_e zoneTypeFromFileChar(char letter)
{
    bool const isCapital = letter >= 'A' && letter <= 'Z';
    char const* const found = std::strchr(LETTERS, isCapital ? letter - 'A' + 'a' : letter);
    return found == nullptr || *found == '\0' ? ZoneType_Ordered
                                              : static_cast<ZoneType_e>(found - LETTERS);
}

char fileCharOfZoneType(ZoneType_e type)
{
    auto const number = static_cast<std::size_t>(type);
    return number < sizeof(LETTERS) - 1 ? LETTERS[number] : LETTERS[ZoneType_Ordered];
}

bool isHdqFileChar(char letter)
{
    return letter >= 'A' && letter <= 'Z';
}

std::uint32_t numCornersOfShape(std::uint8_t shape)
{
    constexpr std::uint32_t CORNERS[] = {2, 3, 4, 4, 8, 5, 6};
    return shape < sizeof(CORNERS) / sizeof(CORNERS[0]) ? CORNERS[shape] : 0;
}

std::uint32_t numNodesOfShape(std::uint8_t shape, std::uint8_t order)
{
    std::uint32_t const p = order;
    switch (shape) {
    case FECellShape_Line:
        return p + 1;
    case FECellShape_Triangle:
        return p == 1 ? 3 : (p + 2) * (p + 1) / 2;
    case FECellShape_Quadrilateral:
        return (p + 1) * (p + 1);
    case FECellShape_Tetrahedron:
        return p == 1 ? 4 : (p + 3) * (p + 2) * (p + 1) / 6;
    case FECellShape_Hexahedron:
        return (p + 1) * (p + 1) * (p + 1);
    case FECellShape_Pyramid:
        return p == 1 ? 5 : (2 * p + 3) * (p + 2) * (p + 1) / 6;
    case FECellShape_Prism:
        return p == 1 ? 6 : (p + 1) * (p + 1) * (p + 2) / 2;
    default:
        return 0;
    }
}

std::uint8_t shapeOfZoneType(ZoneType_e type)
{
    switch (static_cast<int>(type)) {
    case ZoneType_FETriangle:
        return FECellShape_Triangle;
    case ZoneType_FEQuad:
        return FECellShape_Quadrilateral;
    case ZoneType_FETetra:
        return FECellShape_Tetrahedron;
    case ZoneType_FEBrick:
        return FECellShape_Hexahedron;
    default:
        return FECellShape_Line;
    }
}

}
