#include "tests/vnxconvert/FileMesh.h"

#include "tests/writer/DataSetFromFile.h"

#include <array>
#include <cstring>

namespace varnox::convert::tests {

using hdqfswriter::DataSet;
using hdqfswriter::ValueLocation;
using hdqfswriter::ValueType;
using hdqfswriter::Zone;
using hdqfswriter::ZoneVariable;

namespace {

template <typename T>
void append(std::vector<double>& result, void const* values, std::size_t count)
{
    auto const* const first = static_cast<T const*>(values);
    result.insert(result.end(), first, first + count);
}

void append(std::vector<double>& result, ValueType type, void const* values, std::size_t count)
{
    switch (type) {
    case ValueType::Float:
        return append<float>(result, values, count);
    case ValueType::Double:
        return append<double>(result, values, count);
    case ValueType::Int32:
        return append<std::int32_t>(result, values, count);
    case ValueType::Int16:
        return append<std::int16_t>(result, values, count);
    default:
        return append<std::uint8_t>(result, values, count);
    }
}

std::uint64_t numCellsOf(hdqfswriter::Partition const& partition)
{
    std::uint64_t result = 0;
    for (std::uint64_t const count : partition.numCells)
        result += count;
    return result;
}

std::vector<double> valuesOf(Zone const& zone, std::uint32_t variable)
{
    ZoneVariable const& description = zone.variables[variable];
    std::vector<double> result;
    bool const atNodes = description.location == ValueLocation::Nodes;
    if (zone.type == hdqfswriter::ZoneType::Ordered) {
        hdqfswriter::Box box;
        for (std::size_t axis = 0; axis < 3; ++axis)
            box.end[axis] = atNodes || zone.size[axis] < 2 ? zone.size[axis] : zone.size[axis] - 1;
        std::vector<double> buffer(box.numItems());
        append(result, description.type, zone.source->boxValues(box, variable, buffer.data()),
               box.numItems());
        return result;
    }
    for (std::uint32_t p = 0; p < zone.partitions.size(); ++p) {
        std::size_t const count =
            atNodes ? zone.partitions[p].numNodes : numCellsOf(zone.partitions[p]);
        std::vector<double> buffer(count);
        append(result, description.type, zone.source->values(p, variable, buffer.data()), count);
    }
    return result;
}

std::size_t numCorners(Zone const& zone, std::size_t section)
{
    static constexpr std::array<std::size_t, 7> OF_SHAPE{2, 3, 4, 4, 8, 5, 6};
    static constexpr std::array<std::size_t, 6> OF_TYPE{0, 3, 4, 4, 8, 2};
    return zone.sections.empty() ? OF_TYPE[static_cast<std::size_t>(zone.type)]
                                 : OF_SHAPE[static_cast<std::size_t>(zone.sections[section].shape)];
}

/// Cells partition by partition, as their values stand.
void takeCells(Mesh& mesh, Zone const& zone)
{
    for (std::uint32_t p = 0; p < zone.partitions.size(); ++p)
        for (std::uint32_t s = 0; s < zone.partitions[p].numCells.size(); ++s) {
            std::size_t const size = numCorners(zone, s);
            std::size_t const count = zone.partitions[p].numCells[s];
            std::vector<std::uint64_t> buffer(count * size);
            std::uint64_t const* nodes = zone.source->cells(p, s, buffer.data());
            for (std::size_t c = 0; c < count; ++c, nodes += size)
                mesh.cells.emplace_back(nodes, nodes + size);
        }
}

}

FileContents::FileContents(std::vector<std::string> const& paths)
{
    std::shared_ptr<hdqfsloader::DataFile> grid;
    for (std::string const& path : paths) {
        auto const file = std::make_shared<hdqfsloader::DataFile>(path);
        dataSets.push_back(hdqfswriter::tests::dataSetFromFile(file, grid));
        if (grid == nullptr)
            grid = file;
    }
}

Mesh FileContents::mesh(std::size_t zoneIndex) const
{
    Mesh result;
    result.isOrdered = zone(zoneIndex).type == hdqfswriter::ZoneType::Ordered;
    if (result.isOrdered)
        result.size.assign(zone(zoneIndex).size.begin(), zone(zoneIndex).size.end());
    for (DataSet const& dataSet : dataSets) {
        Zone const& one = dataSet.zones[zoneIndex];
        for (std::uint32_t v = 0; v < one.variables.size(); ++v) {
            if (one.variables[v].isPassive)
                continue;
            std::string const& name = dataSet.variableNames[v];
            bool const atNodes = one.variables[v].location == ValueLocation::Nodes;
            (atNodes ? result.atNodes : result.atCells)[name] = valuesOf(one, v);
            result.types[name] = static_cast<FieldDataType_e>(one.variables[v].type);
        }
    }
    if (!result.isOrdered)
        takeCells(result, zone(zoneIndex));
    return result;
}

}
