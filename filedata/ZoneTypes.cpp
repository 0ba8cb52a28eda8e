#include "filedata/ZoneTypes.h"

namespace varnox::hdqio {

ZoneType_e zoneTypeFromFileChar(char letter)
{
    switch (letter | 0x20) { // in lower case
    case 'o':
        return ZoneType_Ordered;
    case 'r':
        return ZoneType_FETriangle;
    case 'q':
        return ZoneType_FEQuad;
    case 't':
        return ZoneType_FETetra;
    case 'b':
        return ZoneType_FEBrick;
    case 'l':
        return ZoneType_FELineSeg;
    case 'g':
        return ZoneType_FEPolygon;
    case 'p':
        return ZoneType_FEPolyhedron;
    case 'm':
        return ZoneType_FEMixed;
    default:
        return ZoneType_Ordered;
    }
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
