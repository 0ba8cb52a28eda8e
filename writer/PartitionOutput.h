#pragma once

#include "filedata/Numbers.h"
#include "writer/BlockWriter.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// A variable's block in a partition.
struct VariableBlock
{
    std::uint64_t fileLoc;
    hdqio::MinMax range; ///< Of the values in the partition; above its end if there are none.
};

/// Writes the partitions of a zone in subzones, one after the other: variables first, then
/// connectivity. Counts are those of the partition that was begun last.
class PartitionOutput
{
public:
    virtual ~PartitionOutput() = default;

    virtual void begin(std::uint32_t partition) = 0;
    virtual std::uint64_t numNodeSubzones() const = 0;
    virtual std::uint64_t numCellSubzones() const = 0;
    /// varIndex is the place in the file, variable that in the data set.
    virtual VariableBlock writeVariable(std::uint32_t varIndex, std::uint32_t variable) = 0;
    /// Gives the tags of the partition's header that lead to it.
    virtual std::vector<BlockWriter::Tag> writeConnectivity() = 0;
    /// The zone header's account of how the zone is cut into partitions.
    virtual std::vector<BlockWriter::Tag> writePartitionSizes() = 0;
};

}
