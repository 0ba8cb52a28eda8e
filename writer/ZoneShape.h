#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include "filedata/FileDescription.h"
#include "filedata/Numbers.h"
#include "varnox/hdqfswriter/FileWriter.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What follows from the description of a zone, before any of its data is asked for.
namespace varnox::hdqfswriter {

bool isOrdered(Zone const& zone);
/// Tetrahedra, bricks, and mixed zones whose first section is of volumes.
bool isVolume(Zone const& zone);
/// Polygons and polyhedra, whose cells have no place in a file.
bool hasCellsOfAnyShape(Zone const& zone);

/// A mixed zone has its own, another finite-element zone the one of its type.
std::vector<Section> sectionsOf(Zone const& zone);
std::uint32_t nodesPerCell(Section const& section);
std::uint32_t numPartitions(Zone const& zone);

/// Of a finite-element zone over all partitions; of an ordered zone from its size.
std::uint64_t numNodes(Zone const& zone);
std::uint64_t numCells(Zone const& zone);
std::uint64_t numCells(Partition const& partition);

/// Cells along an axis of an ordered zone: one at least.
std::uint64_t numCellsAlong(std::uint64_t nodes);
/// The cells of a box of nodes: each belongs to the box of its first node.
Box cellsOf(Box const& nodes, std::array<std::uint64_t, 3> const& zoneSize);

/// "zone 3, 'name'", for messages.
std::string nameOf(DataSet const& dataSet, std::size_t zoneIndex);

}
