#include "addons/hdqfs/CellConnectivity.h"

#include "addons/hdqfs/SubzoneCounts.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace varnox::hdqfsloader {

namespace {

/// Sides of a cell: of a line its ends, of a surface its edges.
long numFacesOfShape(std::uint8_t shape)
{
    constexpr long NUM_FACES[] = {2, 3, 4, 4, 6, 5, 5};
    return shape < std::size(NUM_FACES) ? NUM_FACES[shape] : 0;
}

}

hdqio::ZoneMetadata const& CellConnectivity::zone()
{
    DataSet::ZoneInFile const& source = m_source.zone();
    return source.file->zone(source.zone);
}

void CellConnectivity::checkout(bool, RawArray<SubzoneAddress>& subzones)
{
    for (std::uint64_t i = 0; i < subzones.size; ++i)
        size(subzones.data[i]);
}

ItemNumbers const& CellConnectivity::numbers()
{
    if (!m_numbers)
        m_numbers.emplace(zone(), Items::Cells);
    return *m_numbers;
}

ItemAddress<long> CellConnectivity::toUniformAddress(ItemAddress<long> const& item)
{
    return numbers().toUniform(item);
}

ItemAddress<long> CellConnectivity::toHdqAddress(ItemAddress<long> const& item)
{
    return numbers().toHdq(item);
}

void CellConnectivity::referencedNodeSubzones(SubzoneAddress const& subzone,
                                              RawArray<SubzoneAddress>& result)
{
    auto const& subzones = m_reader.cells(m_source.zone(), subzone).referencedSubzones;
    resize(result, subzones.size());
    std::copy(subzones.begin(), subzones.end(), result.data);
}

long CellConnectivity::numSubzones()
{
    return countSubzones(m_source.own(), Items::Cells);
}

unsigned short CellConnectivity::size(SubzoneAddress const& subzone)
{
    return subzoneSize(m_source.own(), subzone, Items::Cells);
}

std::uint32_t CellConnectivity::sectionOf(ItemAddress<long> const& item)
{
    size(item.subzoneAddress());
    if (zone().numCornersPerSection.isNull())
        throw std::runtime_error("The cells of zone " + std::to_string(m_source.own().zone + 1) +
                                 " of " + m_source.own().file->path() + " have no fixed shape.");
    return item.subzoneAddress().section();
}

long CellConnectivity::cornerNodeCount(ItemAddress<long> const& item)
{
    return zone().numCornersPerSection[sectionOf(item)];
}

long CellConnectivity::nodeCount(ItemAddress<long> const& item)
{
    return zone().numNodesPerCellPerSection[sectionOf(item)];
}

long CellConnectivity::faceCount(ItemAddress<long> const& item)
{
    return numFacesOfShape(zone().cellShapePerSection[sectionOf(item)]);
}

SubzoneCells const& CellConnectivity::subzoneOf(ItemAddress<long> const& item)
{
    SubzoneCells const& cells = m_reader.cells(m_source.zone(), item.subzoneAddress());
    if (item.itemOffset() >= cells.numCells)
        throw std::out_of_range("There is no cell " + std::to_string(item.itemOffset()) +
                                " in a subzone of " + std::to_string(cells.numCells) + ".");
    return cells;
}

void CellConnectivity::firstNodes(ItemAddress<long> const& item, std::uint32_t SubzoneCells::*count,
                                  RawArray<ItemAddress<long>>& result)
{
    SubzoneCells const& cells = subzoneOf(item);
    resize(result, cells.*count);
    std::copy_n(cells.nodesOf(item.itemOffset()), cells.*count, result.data);
}

ItemAddress<long> CellConnectivity::node(ItemAddress<long> const& item,
                                         std::uint32_t SubzoneCells::*count, int index)
{
    SubzoneCells const& cells = subzoneOf(item);
    if (index < 0 || static_cast<std::uint32_t>(index) >= cells.*count)
        throw std::out_of_range("There is no node " + std::to_string(index) + " in a cell of " +
                                std::to_string(cells.*count) + ".");
    return cells.nodesOf(item.itemOffset())[index];
}

void CellConnectivity::cornerNodeAddresses(ItemAddress<long> const& item,
                                           RawArray<ItemAddress<long>>& result)
{
    firstNodes(item, &SubzoneCells::numCornersPerCell, result);
}

void CellConnectivity::nodeAddresses(ItemAddress<long> const& item,
                                     RawArray<ItemAddress<long>>& result)
{
    firstNodes(item, &SubzoneCells::numNodesPerCell, result);
}

ItemAddress<long> CellConnectivity::cornerNodeAddress(ItemAddress<long> const& item, int index)
{
    return node(item, &SubzoneCells::numCornersPerCell, index);
}

ItemAddress<long> CellConnectivity::nodeAddress(ItemAddress<long> const& item, int index)
{
    return node(item, &SubzoneCells::numNodesPerCell, index);
}

}
