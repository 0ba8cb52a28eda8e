#include "writer/ZoneWriter.h"

#include "filedata/PartitionHeader.h"
#include "filedata/TagList.h"
#include "filedata/ZoneHeader.h"
#include "writer/MeshPartitions.h"
#include "writer/OrderedPartitions.h"
#include "writer/PartitionOutput.h"
#include "writer/PlainZone.h"
#include "writer/SubzoneRanges.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace varnox::hdqfswriter {

namespace {

using Tag = BlockWriter::Tag;
using hdqio::MinMax;

constexpr std::uint32_t ZONE_MARKER = 0x02030405;
constexpr std::uint32_t PARTITION_MARKER = 0x15161718;
constexpr std::uint32_t FACE_NEIGHBOR_MARKER = 0x10111213;

void extend(MinMax& range, MinMax const& other)
{
    range.min = std::min(range.min, other.min);
    range.max = std::max(range.max, other.max);
}

MinMax joinedRange(std::vector<MinMax> const& ranges)
{
    constexpr double INF = std::numeric_limits<double>::infinity();
    MinMax result{INF, -INF};
    for (MinMax const& range : ranges)
        extend(result, range);
    return result;
}

template <typename T>
Range<T> fromMinMax(MinMax const& range)
{
    return range.min <= range.max ? Range<T>{static_cast<T>(range.min), static_cast<T>(range.max)}
                                  : emptyRange<T>();
}

/// A zone in subzones, of one kind of partitions.
class SubzonedZone
{
public:
    SubzonedZone(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex,
                 std::vector<ZoneRecord> const& records, PartitionOutput& partitions)
        : m_plan(plan), m_blocks(blocks), m_zoneIndex(zoneIndex), m_records(records),
          m_partitions(partitions), m_numPartitions(numPartitions(plan.zone(zoneIndex)))
    {
        m_record.partitionRanges.resize(plan.variables.size());
        m_label.zoneIndex = static_cast<std::int32_t>(zoneIndex);
    }

    /// Gives the tags of the zone's header.
    std::vector<Tag> write(ZoneRecord& record)
    {
        std::vector<Tag> tags;
        for (std::uint32_t p = 0; p < m_numPartitions; ++p) {
            m_partitions.begin(p);
            std::vector<Tag> const ofPartition = writePartition(p);
            if (m_numPartitions == 1)
                tags = ofPartition;
            else
                m_headerLocs.push_back(writePartitionHeader(p, ofPartition));
        }
        for (auto const& ranges : m_record.partitionRanges)
            m_record.ranges.push_back(joinedRange(ranges));
        if (m_numPartitions > 1)
            tags = writePartitionTables();
        record = std::move(m_record);
        return tags;
    }

private:
    hdqio::IODescription label(char const* name) const
    {
        hdqio::IODescription result = m_label;
        result.name = name;
        return result;
    }

    std::vector<Tag> writePartition(std::uint32_t partition)
    {
        m_label.partitionIndex =
            m_numPartitions == 1 ? hdqio::IODescription::UNSET_PARTITION : partition;
        std::vector<std::uint64_t> varLocs;
        for (std::uint32_t v = 0; v < m_plan.variables.size(); ++v) {
            VariableBlock const block = writeVariable(partition, v);
            varLocs.push_back(block.fileLoc);
            m_record.partitionRanges[v].push_back(block.range);
            if (m_plan.options.progress)
                m_plan.options.progress(m_blocks.loc());
        }
        std::vector<Tag> tags{{hdqio::NUM_CELL_SUBZONES_TAG, m_partitions.numCellSubzones()},
                              {hdqio::NUM_NODE_SUBZONES_TAG, m_partitions.numNodeSubzones()}};
        std::vector<Tag> const connectivity = m_partitions.writeConnectivity();
        tags.insert(tags.end(), connectivity.begin(), connectivity.end());
        tags.push_back({hdqio::VAR_FILE_LOCS_TAG,
                        m_blocks.array<std::uint64_t, true>(label("varFileLocs"), varLocs)});
        return tags;
    }

    VariableBlock writeVariable(std::uint32_t partition, std::uint32_t v)
    {
        ZoneVariable const& variable = m_plan.variable(m_zoneIndex, v);
        if (variable.isPassive)
            return {hdqio::ABSENT_FILE_LOC, {0, 0}};
        if (variable.sharedFrom != -1)
            return {hdqio::ABSENT_FILE_LOC, m_records[static_cast<std::size_t>(variable.sharedFrom)]
                                                .partitionRanges[v][partition]};
        return m_partitions.writeVariable(v, m_plan.variables[v]);
    }

    std::uint64_t writePartitionHeader(std::uint32_t partition, std::vector<Tag> const& tags)
    {
        std::uint64_t const start = m_blocks.marker({"partitionMarker*"}, PARTITION_MARKER);
        m_blocks.marker({"partitionNum*"}, partition + 1);
        m_blocks.tagList(tags);
        return start;
    }

    std::vector<Tag> writePartitionTables()
    {
        m_label.partitionIndex = hdqio::IODescription::UNSET_PARTITION;
        std::vector<std::uint32_t> const files(m_numPartitions, 0);
        std::vector<Tag> tags{{hdqio::NUM_PARTITIONS_TAG, m_numPartitions}};
        tags.push_back(
            {hdqio::PARTITION_FILE_NUMS_TAG, m_blocks.array(label("partitionFileNums"), files)});
        tags.push_back(
            {hdqio::PARTITION_FILE_LOCS_TAG,
             m_blocks.array<std::uint64_t, true>(label("partitionFileLocs"), m_headerLocs)});
        std::vector<Tag> const sizes = m_partitions.writePartitionSizes();
        tags.insert(tags.end(), sizes.begin(), sizes.end());
        tags.push_back({hdqio::VAR_PARTITION_MIN_MAX_TAG, writePartitionRanges()});
        return tags;
    }

    // Readers expect a variable's array behind that of the variable before at the size of its own:
    // where a wider type begins there is a gap.
    std::uint64_t writePartitionRanges()
    {
        std::uint64_t const start = m_blocks.loc();
        std::uint64_t expected = start;
        for (std::uint32_t v = 0; v < m_plan.variables.size(); ++v) {
            ValueType const type = m_plan.variable(m_zoneIndex, v).type;
            if (v != 0)
                expected += hdqio::minMaxArraySizeInFile(static_cast<std::uint8_t>(type),
                                                         m_numPartitions, m_blocks.isAscii());
            m_blocks.padTo(expected);
            withType(type, [&](auto value) { writeRangesAs<decltype(value)>(v); });
        }
        return start;
    }

    template <typename T>
    void writeRangesAs(std::uint32_t v)
    {
        std::vector<Range<T>> ranges;
        for (MinMax const& range : m_record.partitionRanges[v])
            ranges.push_back(fromMinMax<T>(range));
        writeRanges(m_blocks, {"partitionMinMaxes", static_cast<std::int32_t>(v)}, ranges);
    }

    FilePlan const& m_plan;
    BlockWriter& m_blocks;
    std::size_t m_zoneIndex;
    std::vector<ZoneRecord> const& m_records;
    PartitionOutput& m_partitions;
    std::uint32_t m_numPartitions;
    hdqio::IODescription m_label;
    ZoneRecord m_record;
    std::vector<std::uint64_t> m_headerLocs;
};

std::vector<Tag> writeSubzoned(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex,
                               std::vector<ZoneRecord> const& records, ZoneRecord& record)
{
    std::unique_ptr<PartitionOutput> partitions;
    if (isOrdered(plan.zone(zoneIndex)))
        partitions = std::make_unique<OrderedPartitions>(plan, blocks, zoneIndex);
    else
        partitions = std::make_unique<MeshPartitions>(plan, blocks, zoneIndex);
    return SubzonedZone(plan, blocks, zoneIndex, records, *partitions).write(record);
}

// User's face neighbours:
//   in text    userFaceNeighborMarker* and zoneNum*
//   uint64     userFaceNeighborCount
//   int32[]    UserFaceNeighbors

void writeFaceNeighbors(BlockWriter& blocks, Zone const& zone, std::size_t zoneIndex,
                        std::vector<Tag>& tags)
{
    std::vector<std::int32_t> const neighbors = zone.source->faceNeighbors();
    if (neighbors.empty())
        return;
    tags.push_back({hdqio::USER_FACE_NBR_FILE_LOC_TAG,
                    blocks.marker({"userFaceNeighborMarker*"}, FACE_NEIGHBOR_MARKER)});
    blocks.marker({"zoneNum*"}, static_cast<std::uint32_t>(zoneIndex) + 1);
    blocks.value<std::uint64_t>({"userFaceNeighborCount"}, neighbors.size());
    blocks.array({"UserFaceNeighbors"}, neighbors);
}

}

ZoneRecord writeZone(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex,
                     std::vector<ZoneRecord> const& records)
{
    Zone const& zone = plan.zone(zoneIndex);
    ZoneRecord record;
    std::vector<Tag> tags = zone.isInSubzones
                                ? writeSubzoned(plan, blocks, zoneIndex, records, record)
                                : writePlainZone(plan, blocks, zoneIndex, records, record);
    writeFaceNeighbors(blocks, zone, zoneIndex, tags);
    record.headerFileLoc = blocks.marker({"zoneMarker*"}, ZONE_MARKER);
    blocks.marker({"zoneNum*"}, static_cast<std::uint32_t>(zoneIndex) + 1);
    blocks.tagList(tags);
    return record;
}

}
