#pragma once

#include "writer/FilePlan.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace varnox::hdqfswriter {

/// Which item of the source gets which number in its partition: element i is the one that becomes
/// number i. Empty where all keep their own.
struct PartitionOrder
{
    std::vector<std::uint32_t> nodes;
    std::vector<std::vector<std::uint32_t>> cells; ///< By section.
};

/// The cells of a finite-element zone as its source gives them, or as that of the zone does whose
/// connectivity it shares; and the order that they and the nodes are put in.
class ZoneMesh
{
public:
    ZoneMesh(FilePlan const& plan, std::size_t zoneIndex);

    Zone const& zone() const { return m_zone; }
    std::uint64_t firstNode(std::uint32_t partition) const { return m_firstNode[partition]; }
    std::uint64_t endNode(std::uint32_t partition) const { return m_firstNode[partition + 1]; }
    std::uint32_t partitionOf(std::uint64_t node) const;
    std::uint32_t nodesPerCell(std::uint32_t section) const { return m_nodesPerCell[section]; }
    std::uint32_t numSections() const { return static_cast<std::uint32_t>(m_nodesPerCell.size()); }
    std::uint32_t numCells(std::uint32_t partition, std::uint32_t section) const
    {
        return static_cast<std::uint32_t>(m_zone.partitions[partition].numCells[section]);
    }

    /// Nodes counted through the zone, cell after cell; valid until the next call. Throws for a
    /// node that doesn't exist.
    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section);

    /// The same whenever it is asked for.
    PartitionOrder orderOf(std::uint32_t partition);

private:
    std::vector<double> centersOf(std::uint32_t partition, std::uint32_t section,
                                  double const* positions);

    ItemOrder m_order;
    Zone const& m_zone;
    ZoneSource& m_source;
    std::string m_name;
    std::vector<std::uint64_t> m_firstNode; ///< By partition, and the end of the last one.
    std::vector<std::uint32_t> m_nodesPerCell;
    std::vector<std::uint64_t> m_buffer;
};

/// What the partitions of a zone refer to in each other.
class ZoneBorder
{
public:
    /// A cell that has a node of another partition. Cells are numbers in partition and section.
    struct Reference
    {
        std::uint64_t node; ///< As the source counts them through the zone.
        std::uint32_t partition;
        std::uint32_t section;
        std::uint32_t sourceCell;
        std::uint32_t cell; ///< The new number.
    };

    /// Goes through all partitions, of which there may be one.
    explicit ZoneBorder(ZoneMesh& mesh);

    /// The new number in its partition of a node that another partition refers to.
    std::uint32_t newNumberOf(std::uint64_t node) const;
    /// The references to the nodes of a partition, in ascending order of the nodes.
    std::pair<Reference const*, Reference const*> referencesTo(ZoneMesh const& mesh,
                                                               std::uint32_t partition) const;

private:
    void collect(ZoneMesh& mesh, std::uint32_t partition);
    void renumber(ZoneMesh& mesh);

    std::vector<Reference> m_references;
    std::vector<std::uint64_t> m_nodes;      ///< Ascending, each once.
    std::vector<std::uint32_t> m_newNumbers; ///< Of these.
};

/// By the number of the source the new one; the other way round of an order.
std::vector<std::uint32_t> inverse(std::vector<std::uint32_t> const& order);

}
