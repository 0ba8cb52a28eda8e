#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>

namespace varnox::hdqio {

/// The zone type of a file's letter, whatever its case. An unknown letter gives 0, ordered.
ZoneType_e zoneTypeFromFileChar(char letter);

/// The small letter of a zone type, of a zone that isn't cut up. An unknown type gives that of 0.
char fileCharOfZoneType(ZoneType_e type);

/// A letter in capitals marks a zone that has been cut into subzones.
bool isHdqFileChar(char letter);

/// Corners of a cell of a shape; 0 for an unknown one.
std::uint32_t numCornersOfShape(std::uint8_t shape);

/// Nodes of a cell of a shape with polynomials of an order; 0 for an unknown shape.
std::uint32_t numNodesOfShape(std::uint8_t shape, std::uint8_t order);

/// The shape of all cells of a finite-element zone of types 1 to 5.
std::uint8_t shapeOfZoneType(ZoneType_e type);

}
