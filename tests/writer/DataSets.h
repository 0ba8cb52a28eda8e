#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include <array>
#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter::tests {

/// Variables of all types, at nodes and at cells, in ascending width.
std::vector<ZoneVariable> variablesOfAllTypes();
std::vector<std::string> namesOf(std::size_t numVariables);

/// An ordered zone in boxes between the cuts along the axes; none for a whole.
Zone orderedZone(std::array<std::uint64_t, 3> const& size, std::vector<ZoneVariable> variables,
                 std::array<std::vector<std::uint64_t>, 3> const& cuts = {});

struct MeshSpec
{
    ZoneType type = ZoneType::Brick;
    std::array<std::uint64_t, 3> numBlocks{}; ///< Hexahedra along X, Y, Z before they are cut.
    std::uint32_t numPartitions = 1; ///< Slabs across X; cells at a border refer to the next.
    bool isInSubzones = true;
    std::uint32_t seed = 1;
    std::uint8_t gridOrder = 1; ///< Of a mixed zone; the further nodes of its cells are any.
};

/// Tetrahedra (six of each block), bricks, or, mixed, bricks in one section and tetrahedra in a
/// second one, of every other layer. Numbers of nodes and cells are shuffled.
Zone meshZone(MeshSpec const& spec, std::vector<ZoneVariable> variables);

/// Fills a variable of a zone with values that are the same for the same seed.
void fillValues(Zone const& zone, std::uint32_t variable, std::uint32_t seed);

}
