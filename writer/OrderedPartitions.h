#pragma once

#include "filedata/SubzoneLayout.h"
#include "writer/FilePlan.h"
#include "writer/PartitionOutput.h"
#include "writer/Ranges.h"

#include <array>
#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// The bricks of an ordered partition, in the indices of the zone.
class Bricks
{
public:
    Bricks() = default;
    Bricks(Box const& items, hdqio::IJKSubzoneInfo const& info);

    std::uint64_t countAlong(std::size_t axis) const { return m_boundaries[axis].size() - 1; }
    std::uint64_t count() const { return countAlong(0) * countAlong(1) * countAlong(2); }
    Box brick(std::uint64_t i, std::uint64_t j, std::uint64_t k) const
    {
        auto const& at = m_boundaries;
        return {{at[0][i], at[1][j], at[2][k]}, {at[0][i + 1], at[1][j + 1], at[2][k + 1]}};
    }

private:
    /// Along each axis where bricks begin, and the end of the last one.
    std::array<std::vector<std::uint64_t>, 3> m_boundaries{{{0}, {0}, {0}}};
};

/// Partitions of an ordered zone. The cell above the last node of a partition belongs to it, and
/// ends at nodes of the next one: values of these are asked for, too.
class OrderedPartitions final : public PartitionOutput
{
public:
    OrderedPartitions(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex);

    void begin(std::uint32_t partition) override;
    std::uint64_t numNodeSubzones() const override { return m_nodeBricks.count(); }
    std::uint64_t numCellSubzones() const override { return m_cellBricks.count(); }
    VariableBlock writeVariable(std::uint32_t varIndex, std::uint32_t variable) override;
    std::vector<BlockWriter::Tag> writeConnectivity() override { return {}; }
    std::vector<BlockWriter::Tag> writePartitionSizes() override;

private:
    template <typename T>
    VariableBlock writeValues(std::uint32_t varIndex, std::uint32_t variable);
    std::uint64_t nodeNumber(std::array<std::uint64_t, 3> const& node) const;

    FilePlan const& m_plan;
    BlockWriter& m_blocks;
    std::size_t m_zoneIndex;
    Zone const& m_zone;
    Box m_nodes{};
    Box m_cells{};
    Bricks m_nodeBricks{};
    Bricks m_cellBricks{};
};

}
