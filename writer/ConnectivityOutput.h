#pragma once

#include "writer/BlockWriter.h"

#include <cstdint>
#include <vector>

/// The connectivity records of subzones, in as few bits as the number of references allows.
namespace varnox::hdqfswriter {

struct SubzoneReference
{
    std::uint32_t partition;
    std::uint32_t section; ///< 0 for nodes.
    std::uint32_t subzone;

    bool operator==(SubzoneReference const& other) const
    {
        return partition == other.partition && section == other.section && subzone == other.subzone;
    }
    bool operator<(SubzoneReference const& other) const
    {
        if (partition != other.partition)
            return partition < other.partition;
        return section != other.section ? section < other.section : subzone < other.subzone;
    }
};

/// The form that all records of a partition share.
struct RecordForm
{
    std::uint32_t version;
    bool isMixedZone;
    std::uint32_t ownPartition;
    std::vector<std::uint32_t> refPartitions; ///< Ascending; empty if there are no others.
};

/// Whether any reference leads to another partition.
bool refersToOthers(RecordForm const& form, std::vector<SubzoneReference> const& references);

struct CellSubzoneRecord
{
    std::vector<SubzoneReference> nodeSubzones;
    std::vector<std::uint16_t> numbers; ///< Of each node of each cell, its place in that list.
    std::vector<std::uint8_t> offsets;  ///< And its number in that subzone.
};

/// Gives the location of the record.
std::uint64_t writeCellSubzone(BlockWriter& blocks, RecordForm const& form,
                               CellSubzoneRecord const& record);
std::uint64_t writeNodeSubzone(BlockWriter& blocks, RecordForm const& form,
                               std::vector<SubzoneReference> const& cellSubzones);

}
