#pragma once

#include "tools/vnxconvert/Grid.h"
#include "tools/vnxconvert/Remarks.h"
#include "varnox/hdqfswriter/DataSet.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace varnox::convert {

struct LayoutOptions
{
    bool cutPolyhedra = false;
    std::uint64_t partitionCells = 0; ///< Most cells of a partition; 0 for one partition.
    bool keepOrder = false;           ///< Partitions take cells in the order of the file.
};

/// A zone of the output and where its nodes and cells come from. Nodes of finite-element zones
/// count through the partitions, cells of a section likewise.
struct ZoneLayout
{
    std::string name;
    std::shared_ptr<Grid const> grid;
    hdqfswriter::ZoneType type = hdqfswriter::ZoneType::Ordered;
    bool isInSubzones = true;
    std::vector<hdqfswriter::CellShape> shapes; ///< By section, of a finite-element zone.
    std::vector<hdqfswriter::Partition> partitions;

    Cells cells; ///< Those of the grid, or what has been cut out of them.
    /// By node of the zone the grid's; empty if these are all of the grid's nodes in their order.
    std::vector<std::uint32_t> nodes;
    std::vector<std::uint32_t> zoneNodes; ///< The other way round; 0 for nodes of other zones.
    /// By section, by cell the number in cells; empty if these are all cells in their order.
    std::vector<std::vector<std::uint32_t>> cellNumbers;

    /// The one section's cells lie in memory as they are written.
    bool isWrittenAsIs = false;
    /// Behind the last entry of the columns at cells that the zone's cells need.
    std::size_t endOfOrigins = 0;

    std::uint64_t numNodes() const;
    std::uint64_t numCells() const;
    /// Cells in front of a partition in a section.
    std::uint64_t firstCell(std::uint32_t partition, std::uint32_t section) const;
    std::uint64_t firstNode(std::uint32_t partition) const;
    /// Whether a field has a value for each of the zone's nodes or cells.
    bool hasValuesOf(Field const& field) const;
};

/// The zones of a grid: one of an ordered grid; of another one those of its volumes, of its
/// surfaces and of its lines. What has no place in them is told. Throws std::runtime_error for a
/// grid that contradicts itself.
std::vector<std::shared_ptr<ZoneLayout const>>
layOut(std::shared_ptr<Grid const> const& grid, LayoutOptions const& options, Remarks& remarks);

}
