#pragma once

#include "writer/ConnectivityOutput.h"
#include "writer/FilePlan.h"
#include "writer/PartitionOutput.h"
#include "writer/Ranges.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneMesh.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// Partitions of a finite-element zone of volumes. Subzones are runs of 256 items in their new
/// order.
class MeshPartitions final : public PartitionOutput
{
public:
    MeshPartitions(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex);

    void begin(std::uint32_t partition) override;
    std::uint64_t numNodeSubzones() const override;
    std::uint64_t numCellSubzones() const override;
    VariableBlock writeVariable(std::uint32_t varIndex, std::uint32_t variable) override;
    std::vector<BlockWriter::Tag> writeConnectivity() override;
    std::vector<BlockWriter::Tag> writePartitionSizes() override;

private:
    /// A node of another partition that a cell of this one has.
    struct ForeignNode
    {
        std::uint64_t node; ///< As the source counts them.
        std::uint32_t partition;
        std::uint32_t number; ///< In that partition, in its new order.
    };

    template <typename T>
    using RangesBySection = std::vector<std::vector<Range<T>>>;

    void takeCells();
    template <typename T>
    T const* valuesOf(std::uint32_t partition, std::uint32_t variable, Buffer<T>& buffer) const;
    template <typename T>
    VariableBlock writeValues(std::uint32_t varIndex, std::uint32_t variable);
    template <typename T>
    VariableBlock writeBlock(std::uint32_t varIndex, std::uint32_t variable,
                             std::vector<Range<T>> const& nodeRanges,
                             RangesBySection<T> const& cellRanges, Range<T> const& range,
                             T const* values, std::uint64_t count);
    template <typename T>
    void appendForeignNodeValues(std::uint32_t variable, std::vector<T>& values) const;
    template <typename T>
    RangesBySection<T> rangesOfCellsNodes(T const* values) const;
    template <typename T>
    std::vector<Range<T>> rangesOfNodesCells(std::uint32_t variable, T const* values) const;
    template <typename T>
    void extendByForeignCells(std::uint32_t variable, std::vector<Range<T>>& ranges) const;

    std::uint32_t newNumberOf(std::uint64_t ownNode) const;
    RecordForm recordForm() const;
    CellSubzoneRecord recordOf(std::uint32_t section, std::uint32_t subzone,
                               std::vector<std::uint32_t>& places) const;
    std::vector<std::vector<SubzoneReference>> cellsAtNodes() const;
    std::vector<BlockWriter::Tag> writeRecords();
    hdqio::IODescription label(char const* name) const;

    FilePlan const& m_plan;
    BlockWriter& m_blocks;
    std::size_t m_zoneIndex;
    Zone const& m_zone;
    ZoneMesh m_mesh;
    ZoneBorder m_border;

    std::uint32_t m_partition = 0;
    std::uint32_t m_numNodes = 0;
    PartitionOrder m_order;
    std::vector<std::uint32_t> m_newNodes; ///< The other way round; empty as that.
    std::vector<ForeignNode> m_foreign;    ///< Ascending, each once.
    /// By section, cell after cell in the new order: new numbers of own nodes, and behind them the
    /// foreign nodes.
    std::vector<std::vector<std::uint32_t>> m_cells;
};

}
