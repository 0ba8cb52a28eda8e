#pragma once

#include "varnox/ItemAddress.h"
#include "varnox/hostapi/VnxTypes.h"

#include <cstddef>
#include <span>
#include <vector>

namespace varnox::client {

/// Names a node of a zone, or a cell.
using NodeAddress = ItemAddress<long>;

/// The cells of one cell subzone, all of the same shape. Nodes may lie in any partition.
struct CellSubzone
{
    ItemAddress<long>::SubzoneAddress address;
    FECellShape_e shape = FECellShape_Line;
    std::size_t numCells = 0;
    std::size_t numCornersPerCell = 0;
    std::size_t numNodesPerCell = 0;
    std::size_t numFacesPerCell = 0;
    std::vector<NodeAddress> nodes; ///< Cell by cell.
    /// The node subzones of all these nodes, each once, in the order of partition and number.
    std::vector<ItemAddress<long>::SubzoneAddress> nodeSubzones;

    /// Its nodes, the corners first. Cells count from 0.
    std::span<NodeAddress const> nodesOf(std::size_t cell) const
    {
        return {nodes.data() + cell * numNodesPerCell, numNodesPerCell};
    }
    std::span<NodeAddress const> cornersOf(std::size_t cell) const
    {
        return nodesOf(cell).first(numCornersPerCell);
    }
};

/// What is around the nodes of one node subzone.
struct NodeSubzone
{
    ItemAddress<long>::SubzoneAddress address;
    std::size_t numNodes = 0;
    std::vector<ItemAddress<long>::SubzoneAddress> cellSubzones; ///< In the loader's order.
};

}
