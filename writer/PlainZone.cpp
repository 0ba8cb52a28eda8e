#include "writer/PlainZone.h"

#include "filedata/TagList.h"
#include "filedata/ZoneHeader.h"
#include "writer/SourceAnswers.h"
#include "writer/SubzoneRanges.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <stdexcept>

namespace varnox::hdqfswriter {

namespace {

using Tag = BlockWriter::Tag;

std::uint64_t numItemsOf(Zone const& zone, std::uint32_t variable)
{
    return zone.variables[variable].location == ValueLocation::Nodes ? numNodes(zone)
                                                                     : numCells(zone);
}

template <typename T>
T const* valuesOf(Zone const& zone, std::uint32_t variable, T* buffer)
{
    std::uint64_t const count = numItemsOf(zone, variable);
    if (!isOrdered(zone))
        return answered<T>(zone, "values", count, zone.source->values(0, variable, buffer));
    Box box{{0, 0, 0}, zone.size};
    if (zone.variables[variable].location == ValueLocation::Cells)
        box = cellsOf(box, zone.size);
    return answered<T>(zone, "values", count, zone.source->boxValues(box, variable, buffer));
}

template <typename T>
std::uint64_t writeValues(BlockWriter& blocks, Zone const& zone, std::uint32_t varIndex,
                          std::uint32_t variable, hdqio::MinMax& minMax)
{
    std::uint64_t const count = numItemsOf(zone, variable);
    Buffer<T> buffer(count);
    T const* const values = valuesOf(zone, variable, buffer.data());
    RangeOfLines<T> lines;
    lines.add(values, static_cast<std::size_t>(count));
    Range<T> const range = lines.take();
    checkBits(zone.variables[variable].type, range);
    checkText(blocks, range);
    minMax = toMinMax(range);
    return blocks.array<T>({"values", static_cast<std::int32_t>(varIndex)}, count, values);
}

/// The zone's nodes count from 0 in a binary file and from 1 in text.
std::uint64_t writeNodeMap(BlockWriter& blocks, Zone const& zone, std::size_t zoneIndex)
{
    std::vector<Section> const sections = sectionsOf(zone);
    std::uint64_t const nodes = numNodes(zone);
    std::vector<std::uint32_t> map;
    for (std::uint32_t s = 0; s < sections.size(); ++s) {
        std::uint64_t const count = zone.partitions[0].numCells[s] * nodesPerCell(sections[s]);
        Buffer<std::uint64_t> buffer(count);
        auto const* const cells =
            answered<std::uint64_t>(zone, "cells", count, zone.source->cells(0, s, buffer.data()));
        for (std::uint64_t i = 0; i < count; ++i) {
            if (cells[i] >= nodes)
                throw std::runtime_error("Cannot write zone " + std::to_string(zoneIndex + 1) +
                                         ", '" + zone.name + "': a cell has node " +
                                         std::to_string(cells[i] + 1) + " of " +
                                         std::to_string(nodes) + ".");
            map.push_back(static_cast<std::uint32_t>(cells[i]));
        }
    }
    hdqio::IODescription label;
    label.name = "nodeMap";
    label.zoneIndex = static_cast<std::int32_t>(zoneIndex);
    return blocks.array<std::uint32_t, false, 1>(label, map);
}

}

std::vector<Tag> writePlainZone(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex,
                                std::vector<ZoneRecord> const& records, ZoneRecord& record)
{
    Zone const& zone = plan.zone(zoneIndex);
    std::vector<std::uint64_t> varLocs;
    for (std::uint32_t v = 0; v < plan.variables.size(); ++v) {
        ZoneVariable const& variable = plan.variable(zoneIndex, v);
        hdqio::MinMax range{0, 0};
        std::uint64_t fileLoc = hdqio::ABSENT_FILE_LOC;
        if (variable.sharedFrom != -1)
            range = records[static_cast<std::size_t>(variable.sharedFrom)].ranges[v];
        else if (!variable.isPassive)
            fileLoc = withType(variable.type, [&](auto value) {
                return writeValues<decltype(value)>(blocks, zone, v, plan.variables[v], range);
            });
        varLocs.push_back(fileLoc);
        record.ranges.push_back(range);
        record.partitionRanges.push_back({range});
        if (plan.options.progress)
            plan.options.progress(blocks.loc());
    }
    hdqio::IODescription label;
    label.name = "varFileLocs";
    label.zoneIndex = static_cast<std::int32_t>(zoneIndex);
    std::vector<Tag> tags{
        {hdqio::VAR_FILE_LOCS_TAG, blocks.array<std::uint64_t, true>(label, varLocs)}};
    if (plan.hasConnectivity(zoneIndex))
        tags.push_back({hdqio::NODE_MAP_FILE_LOC_TAG, writeNodeMap(blocks, zone, zoneIndex)});
    return tags;
}

}
