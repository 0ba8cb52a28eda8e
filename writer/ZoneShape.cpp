#include "writer/ZoneShape.h"

#include "filedata/ZoneTypes.h"

#include <algorithm>

namespace varnox::hdqfswriter {

bool isOrdered(Zone const& zone)
{
    return zone.type == ZoneType::Ordered;
}

bool isVolume(Zone const& zone)
{
    if (zone.type == ZoneType::Mixed)
        return !zone.sections.empty() && zone.sections.front().shape >= CellShape::Tetrahedron;
    return zone.type == ZoneType::Tetrahedron || zone.type == ZoneType::Brick;
}

bool hasCellsOfAnyShape(Zone const& zone)
{
    return zone.type == ZoneType::Polygon || zone.type == ZoneType::Polyhedron;
}

std::vector<Section> sectionsOf(Zone const& zone)
{
    if (zone.type == ZoneType::Mixed)
        return zone.sections;
    if (isOrdered(zone) || hasCellsOfAnyShape(zone))
        return {Section{}};
    auto const shape = hdqio::shapeOfZoneType(static_cast<ZoneType_e>(zone.type));
    return {Section{static_cast<CellShape>(shape)}};
}

std::uint32_t nodesPerCell(Section const& section)
{
    return hdqio::numNodesOfShape(static_cast<std::uint8_t>(section.shape), section.gridOrder);
}

std::uint32_t numPartitions(Zone const& zone)
{
    return std::max<std::uint32_t>(1, static_cast<std::uint32_t>(zone.partitions.size()));
}

std::uint64_t numNodes(Zone const& zone)
{
    if (isOrdered(zone))
        return zone.size[0] * zone.size[1] * zone.size[2];
    std::uint64_t result = 0;
    for (Partition const& partition : zone.partitions)
        result += partition.numNodes;
    return result;
}

std::uint64_t numCells(Partition const& partition)
{
    std::uint64_t result = 0;
    for (std::uint64_t const count : partition.numCells)
        result += count;
    return result;
}

std::uint64_t numCells(Zone const& zone)
{
    if (isOrdered(zone))
        return numCellsAlong(zone.size[0]) * numCellsAlong(zone.size[1]) *
               numCellsAlong(zone.size[2]);
    std::uint64_t result = 0;
    for (Partition const& partition : zone.partitions)
        result += numCells(partition);
    return result;
}

std::uint64_t numCellsAlong(std::uint64_t nodes)
{
    return std::max<std::uint64_t>(nodes, 2) - 1;
}

Box cellsOf(Box const& nodes, std::array<std::uint64_t, 3> const& zoneSize)
{
    Box result = nodes;
    for (std::size_t axis = 0; axis < 3; ++axis)
        result.end[axis] = std::min(nodes.end[axis], numCellsAlong(zoneSize[axis]));
    return result;
}

std::string nameOf(DataSet const& dataSet, std::size_t zoneIndex)
{
    return "zone " + std::to_string(zoneIndex + 1) + ", '" + dataSet.zones[zoneIndex].name + "'";
}

}
