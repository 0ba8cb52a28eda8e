#include "tools/vnxinfo/Names.h"

#include <array>

namespace varnox::tools {

namespace {

template <std::size_t N>
std::string nameIn(std::array<char const*, N> const& names, std::size_t number)
{
    return number < N ? names[number] : "unknown (" + std::to_string(number) + ")";
}

}

std::string zoneTypeName(ZoneType_e type)
{
    static constexpr std::array<char const*, 9> names{"ordered",     "triangle",   "quadrilateral",
                                                      "tetrahedron", "brick",      "line segment",
                                                      "polygon",     "polyhedron", "mixed"};
    return nameIn(names, static_cast<std::size_t>(type));
}

std::string shapeName(std::uint8_t shape)
{
    static constexpr std::array<char const*, 7> names{
        "line", "triangle", "quadrilateral", "tetrahedron", "hexahedron", "pyramid", "prism"};
    return nameIn(names, shape);
}

std::string valueTypeName(std::uint8_t fieldDataType)
{
    static constexpr std::array<char const*, 6> names{"float", "double", "int32",
                                                      "int16", "byte",   "bit"};
    return nameIn(names, fieldDataType == 0 ? names.size() : fieldDataType - 1U);
}

std::string fileTypeName(DataFileType_e type)
{
    static constexpr std::array<char const*, 3> names{"full", "grid", "solution"};
    return nameIn(names, static_cast<std::size_t>(type));
}

}
