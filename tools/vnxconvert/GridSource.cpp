#include "tools/vnxconvert/GridSource.h"

#include "tools/vnxconvert/CellKinds.h"
#include "tools/vnxconvert/Numbers.h"

#include <stdexcept>

namespace varnox::convert {

using hdqfswriter::Box;
using hdqfswriter::ValueType;

namespace {

/// Calls f with a number of the type in which values are written.
template <typename F>
void withValue(ValueType type, F&& f)
{
    switch (type) {
    case ValueType::Float:
        return f(float{});
    case ValueType::Double:
        return f(double{});
    case ValueType::Int32:
        return f(std::int32_t{});
    case ValueType::Int16:
        return f(std::int16_t{});
    case ValueType::Byte:
    case ValueType::Bit:
        break;
    }
    f(std::uint8_t{});
}

/// Whether numbers lie in memory as they are written.
bool isWrittenAsIs(Column const& column, ValueType type)
{
    if (column.stride != 1)
        return false;
    switch (column.type) {
    case NumberType::Float:
        return type == ValueType::Float;
    case NumberType::Double:
        return type == ValueType::Double;
    case NumberType::Int32:
        return type == ValueType::Int32;
    case NumberType::Int16:
        return type == ValueType::Int16;
    case NumberType::UInt8:
        return type == ValueType::Byte;
    case NumberType::Bit:
        return type == ValueType::Bit;
    default:
        return false;
    }
}

/// Copies count numbers of a column, the i-th from the place that placeOf(i) names.
template <typename F>
void copy(Column const& column, ValueType type, std::size_t count, void* out, F&& placeOf)
{
    withNumber(column.type, [&](auto number) {
        auto const* const from = static_cast<decltype(number) const*>(column.first.get());
        withValue(type, [&](auto value) {
            auto* const to = static_cast<decltype(value)*>(out);
            for (std::size_t i = 0; i < count; ++i)
                // NOLINTNEXTLINE(bugprone-signed-char-misuse): a column of bytes holds numbers
                to[i] = static_cast<decltype(value)>(from[placeOf(i) * column.stride]);
        });
    });
}

/// Coordinates that aren't a column of a number for each node.
template <typename F>
void copyComputed(Grid const& grid, std::size_t axis, ValueType type, std::size_t count, void* out,
                  F&& placeOf)
{
    withValue(type, [&](auto value) {
        auto* const to = static_cast<decltype(value)*>(out);
        for (std::size_t i = 0; i < count; ++i)
            to[i] = static_cast<decltype(value)>(coordinate(grid, placeOf(i), axis));
    });
}

}

GridSource::GridSource(Frames& frames, std::size_t frameIndex, std::size_t zoneIndex,
                       std::vector<Variable> variables, Precision precision)
    : m_frames(frames), m_frameIndex(frameIndex), m_zoneIndex(zoneIndex),
      m_variables(std::move(variables)), m_precision(precision)
{
}

ZoneLayout const& GridSource::zone()
{
    auto const frame = m_frames.at(m_frameIndex);
    if (m_zoneIndex >= frame->zones.size())
        throw std::runtime_error("A file has changed while it was read.");
    return *frame->zones[m_zoneIndex];
}

void const* GridSource::values(std::uint32_t partition, std::uint32_t variable, void* buffer)
{
    ZoneLayout const& zone = this->zone();
    Variable const& wanted = m_variables[variable];
    if (wanted.axis != Variable::NO_AXIS || wanted.location == ValueLocation::Nodes) {
        std::size_t const count = zone.partitions[partition].numNodes;
        std::size_t const first = zone.firstNode(partition);
        Field const* const field = fieldOf(zone, wanted);
        Column const& column =
            field != nullptr ? field->values
                             : zone.grid->points.columns[static_cast<std::size_t>(wanted.axis)];
        ValueType const type = valueTypeOf(column.type, m_precision);
        if (zone.nodes.empty() && isWrittenAsIs(column, type))
            return column.first.get();
        if (zone.nodes.empty())
            copy(column, type, count, buffer, [](std::size_t i) { return i; });
        else
            copy(column, type, count, buffer,
                 [from = zone.nodes.data() + first](std::size_t i) { return from[i]; });
        return buffer;
    }
    Column const& column = fieldOf(zone, wanted)->values;
    ValueType const type = valueTypeOf(column.type, m_precision);
    std::vector<std::uint32_t> const& origins = zone.cells.origins;
    auto* out = static_cast<unsigned char*>(buffer);
    for (std::uint32_t s = 0; s < zone.shapes.size(); ++s) {
        std::size_t const count = zone.partitions[partition].numCells[s];
        std::size_t const first = zone.firstCell(partition, s);
        std::uint32_t const* const numbers =
            zone.cellNumbers[s].empty() ? nullptr : zone.cellNumbers[s].data() + first;
        if (numbers == nullptr && origins.empty() && isWrittenAsIs(column, type))
            return column.first.get();
        copy(column, type, count, out, [&](std::size_t i) -> std::size_t {
            std::size_t const cell = numbers == nullptr ? i : numbers[i];
            return origins.empty() ? cell : origins[cell];
        });
        withValue(type, [&](auto value) { out += count * sizeof(value); });
    }
    return buffer;
}

void const* GridSource::boxValues(Box const& box, std::uint32_t variable, void* buffer)
{
    ZoneLayout const& zone = this->zone();
    Grid const& grid = *zone.grid;
    Variable const& wanted = m_variables[variable];
    Field const* const field = fieldOf(zone, wanted);
    bool const isAxis = wanted.axis != Variable::NO_AXIS;
    auto const axis = static_cast<std::size_t>(wanted.axis);
    std::array<std::uint64_t, 3> along = grid.size;
    if (!isAxis && wanted.location == ValueLocation::Cells)
        for (std::uint64_t& size : along)
            size = size < 2 ? 1 : size - 1;
    std::size_t const row = box.extent(0);
    auto const placeOf = [&](std::size_t i) -> std::size_t {
        std::size_t const j = i / row % box.extent(1);
        std::size_t const k = i / row / box.extent(1);
        return ((box.begin[2] + k) * along[1] + box.begin[1] + j) * along[0] + box.begin[0] +
               i % row;
    };
    if (isAxis && grid.points.kind != Points::Kind::Explicit) {
        copyComputed(grid, axis, valueTypeOf(coordinateType(grid, axis), m_precision),
                     box.numItems(), buffer, placeOf);
        return buffer;
    }
    Column const& column = isAxis ? grid.points.columns[axis] : field->values;
    ValueType const type = valueTypeOf(column.type, m_precision);
    bool const isWhole = box.numItems() == along[0] * along[1] * along[2];
    if (isWhole && isWrittenAsIs(column, type))
        return column.first.get();
    if (isWhole)
        copy(column, type, box.numItems(), buffer, [](std::size_t i) { return i; });
    else
        copy(column, type, box.numItems(), buffer, placeOf);
    return buffer;
}

std::uint64_t const* GridSource::cells(std::uint32_t partition, std::uint32_t section,
                                       std::uint64_t* buffer)
{
    ZoneLayout const& zone = this->zone();
    Cells const& cells = zone.cells;
    std::size_t const first = zone.firstCell(partition, section);
    std::size_t const count = zone.partitions[partition].numCells[section];
    std::size_t const numCorners = CORNERS_OF_SHAPE[static_cast<std::size_t>(zone.shapes[section])];
    std::vector<std::uint32_t> const& numbers = zone.cellNumbers[section];
    if (zone.isWrittenAsIs)
        return reinterpret_cast<std::uint64_t const*>(cells.nodes.get());
    std::uint64_t* out = buffer;
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t const cell = numbers.empty() ? i : numbers[first + i];
        std::int64_t const* const nodes = cells.nodes.get() + cells.offsets.get()[cell];
        std::array<std::uint8_t, 8> const& corners = cornersOf(cells.kinds.get()[cell]);
        for (std::size_t n = 0; n < numCorners; ++n) {
            auto const node = static_cast<std::size_t>(nodes[corners[n]]);
            *out++ = zone.nodes.empty() ? node : zone.zoneNodes[node];
        }
    }
    return buffer;
}

double const* GridSource::positions(std::uint32_t partition, double* buffer)
{
    ZoneLayout const& zone = this->zone();
    std::size_t const count = zone.partitions[partition].numNodes;
    std::size_t const first = zone.firstNode(partition);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        Column const& column = zone.grid->points.columns[axis];
        withNumber(column.type, [&](auto number) {
            auto const* const from = static_cast<decltype(number) const*>(column.first.get());
            for (std::size_t n = 0; n < count; ++n) {
                std::size_t const node = zone.nodes.empty() ? n : zone.nodes[first + n];
                buffer[3 * n + axis] = static_cast<double>(from[node * column.stride]);
            }
        });
    }
    return buffer;
}

}
