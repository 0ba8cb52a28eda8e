#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace varnox::convert {

using hdqfswriter::CellShape;

/// Numbers of kinds that the code names.
constexpr std::uint8_t POLYLINE = 4;
constexpr std::uint8_t TRIANGLE = 5;
constexpr std::uint8_t TRIANGLE_STRIP = 6;
constexpr std::uint8_t POLYGON = 7;
constexpr std::uint8_t LINE = 3;
constexpr std::uint8_t QUADRILATERAL = 9;
constexpr std::uint8_t TETRAHEDRON = 10;
constexpr std::uint8_t HEXAHEDRON = 12;
constexpr std::uint8_t PRISM = 13;
constexpr std::uint8_t PYRAMID = 14;
constexpr std::uint8_t POLYHEDRON = 42;

enum class Treatment : std::uint8_t { Kept, Reordered, Corners, Cut, CutOnRequest, LeftOut };

struct CellKind
{
    char const* name = nullptr; ///< Null for a number that means nothing to us.
    Treatment treatment = Treatment::LeftOut;
    CellShape shape = CellShape::Line;
    std::uint8_t numCorners = 0; ///< 0: as many as the cell has nodes.
};

/// By its number.
CellKind const& cellKind(std::uint8_t number);

constexpr std::size_t NUM_SHAPES = 7;
constexpr std::array<std::uint8_t, NUM_SHAPES> CORNERS_OF_SHAPE{2, 3, 4, 4, 8, 5, 6};

/// Which node of a cell of this kind is a corner of its shape.
std::array<std::uint8_t, 8> const& cornersOf(std::uint8_t kind);

/// 1 for lines, 2 for surfaces, 3 for volumes.
unsigned dimensionOf(CellShape shape);

}
