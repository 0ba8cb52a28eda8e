#include "tools/vnxconvert/ZoneLayout.h"

#include "tools/vnxconvert/CellCutter.h"
#include "tools/vnxconvert/CellKinds.h"
#include "tools/vnxconvert/Partitioning.h"

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>

namespace varnox::convert {

using hdqfswriter::CellShape;
using hdqfswriter::Partition;
using hdqfswriter::ZoneType;

std::uint64_t ZoneLayout::numNodes() const
{
    if (type == ZoneType::Ordered)
        return grid->numNodes;
    std::uint64_t result = 0;
    for (Partition const& partition : partitions)
        result += partition.numNodes;
    return result;
}

std::uint64_t ZoneLayout::numCells() const
{
    std::uint64_t result = 1;
    if (type == ZoneType::Ordered) {
        for (std::uint64_t const size : grid->size)
            result *= std::max<std::uint64_t>(size, 2) - 1;
        return result;
    }
    result = 0;
    for (std::uint32_t s = 0; s < shapes.size(); ++s)
        result += firstCell(static_cast<std::uint32_t>(partitions.size()), s);
    return result;
}

std::uint64_t ZoneLayout::firstCell(std::uint32_t partition, std::uint32_t section) const
{
    std::uint64_t result = 0;
    for (std::uint32_t p = 0; p < partition; ++p)
        result += partitions[p].numCells[section];
    return result;
}

std::uint64_t ZoneLayout::firstNode(std::uint32_t partition) const
{
    std::uint64_t result = 0;
    for (std::uint32_t p = 0; p < partition; ++p)
        result += partitions[p].numNodes;
    return result;
}

bool ZoneLayout::hasValuesOf(Field const& field) const
{
    if (field.location == ValueLocation::Nodes)
        return field.values.count == grid->numNodes;
    if (type == ZoneType::Ordered)
        return field.values.count == numCells();
    // A file may have values at its volumes alone, which are then the first cells.
    return field.values.count >= endOfOrigins;
}

namespace {

constexpr unsigned MOST_DIMENSIONS = 3;
constexpr char const* SUFFIX_OF_DIMENSION[] = {"", "_lines", "_surface", ""};

/// Where cells of a kind go; NOWHERE if they are left out.
constexpr std::uint8_t NOWHERE = 0xFF;
using Places = std::array<std::uint8_t, 256>;

Places placesOfKinds()
{
    Places result{};
    for (std::size_t kind = 0; kind < result.size(); ++kind) {
        CellKind const& description = cellKind(static_cast<std::uint8_t>(kind));
        bool const hasPlace = description.treatment == Treatment::Kept ||
                              description.treatment == Treatment::Reordered ||
                              description.treatment == Treatment::Corners;
        result[kind] = hasPlace ? static_cast<std::uint8_t>(description.shape) : NOWHERE;
    }
    return result;
}

class Builder
{
public:
    Builder(std::shared_ptr<Grid const> const& grid, LayoutOptions const& options, Remarks& remarks)
        : m_grid(grid), m_options(options), m_remarks(remarks)
    {
    }

    std::vector<std::shared_ptr<ZoneLayout const>> build()
    {
        if (m_grid->isOrdered)
            return {orderedZone()};
        checkCells(*m_grid);
        CuttingRules const rules{m_options.cutPolyhedra};
        m_cells =
            needsCutting(m_grid->cells, rules) ? cutUp(*m_grid, rules, m_remarks) : m_grid->cells;
        if (m_cells.count == 0)
            m_remarks.add("'" + m_grid->name + "' has no cells and is left out.");
        count();
        tellAboutKinds();
        std::vector<std::shared_ptr<ZoneLayout const>> result;
        for (unsigned dimension = MOST_DIMENSIONS; dimension > 0; --dimension)
            if (auto zone = zoneOf(dimension))
                result.push_back(std::move(zone));
        return result;
    }

private:
    std::shared_ptr<ZoneLayout const> orderedZone()
    {
        std::uint64_t nodes = 1;
        for (std::uint64_t const size : m_grid->size)
            if (__builtin_mul_overflow(nodes, size, &nodes))
                nodes = 0;
        if (nodes == 0) {
            m_remarks.add("'" + m_grid->name + "' has no nodes and is left out.");
            return nullptr;
        }
        if (nodes != m_grid->numNodes)
            throw std::runtime_error("'" + m_grid->name + "' has other nodes than its size says.");
        auto zone = std::make_shared<ZoneLayout>();
        zone->name = m_grid->name;
        zone->grid = m_grid;
        if (m_options.partitionCells != 0)
            partitionOrdered(*zone, m_options.partitionCells, m_remarks);
        tellAboutBlankedCells();
        return zone;
    }

    void tellAboutBlankedCells()
    {
        std::size_t numHidden = 0;
        if (m_grid->hiddenCells)
            for (std::size_t c = 0; c < m_grid->hiddenCells->count; ++c)
                numHidden += numberAt(*m_grid->hiddenCells, c) != 0;
        if (numHidden != 0)
            m_remarks.add("'" + m_grid->name + "': " + counted(numHidden, "blanked cell") +
                          " stay, as ordered zones have no holes.");
    }

    bool isHidden(std::size_t cell) const
    {
        if (!m_grid->hiddenCells)
            return false;
        std::size_t const origin = m_cells.origins.empty() ? cell : m_cells.origins[cell];
        return origin < m_grid->hiddenCells->count && numberAt(*m_grid->hiddenCells, origin) != 0;
    }

    void count()
    {
        bool const hides = m_grid->hiddenCells.has_value();
        for (std::size_t c = 0; c < m_cells.count; ++c)
            if (hides && isHidden(c))
                ++m_numHidden;
            else
                ++m_numOfKind[m_cells.kinds.get()[c]];
        for (std::size_t kind = 0; kind < m_numOfKind.size(); ++kind)
            if (m_numOfKind[kind] != 0 && m_places[kind] != NOWHERE)
                m_numOfShape[m_places[kind]] += m_numOfKind[kind];
    }

    void tellAboutKinds()
    {
        std::string const where = "'" + m_grid->name + "': ";
        if (m_numHidden != 0)
            m_remarks.add(where + counted(m_numHidden, "cell") +
                          " left out that stand in another piece as well or are blanked.");
        for (std::size_t number = 0; number < m_numOfKind.size(); ++number)
            if (m_numOfKind[number] != 0)
                tellAboutKind(where, number, cellKind(static_cast<std::uint8_t>(number)));
    }

    void tellAboutKind(std::string const& where, std::size_t number, CellKind const& kind)
    {
        std::string const name =
            kind.name != nullptr ? kind.name : "cell of type " + std::to_string(number);
        std::string const cells = counted(m_numOfKind[number], name);
        if (kind.treatment == Treatment::Corners)
            m_remarks.add(where + cells + " reduced to their corners.");
        else if (kind.treatment == Treatment::CutOnRequest)
            m_remarks.add(where + cells +
                          " left out, as they have no place; --polyhedra cut cuts them.");
        else if (kind.treatment == Treatment::LeftOut)
            m_remarks.add(where + cells + " left out, as they have no place.");
    }

    std::uint64_t numOfDimension(unsigned dimension) const
    {
        std::uint64_t result = 0;
        for (std::size_t shape = 0; shape < NUM_SHAPES; ++shape)
            if (dimensionOf(static_cast<CellShape>(shape)) == dimension)
                result += m_numOfShape[shape];
        return result;
    }

    static ZoneType typeOf(std::vector<CellShape> const& shapes)
    {
        if (shapes.size() > 1)
            return ZoneType::Mixed;
        switch (shapes.front()) {
        case CellShape::Line:
            return ZoneType::LineSegment;
        case CellShape::Triangle:
            return ZoneType::Triangle;
        case CellShape::Quadrilateral:
            return ZoneType::Quadrilateral;
        case CellShape::Tetrahedron:
            return ZoneType::Tetrahedron;
        case CellShape::Hexahedron:
            return ZoneType::Brick;
        default:
            return ZoneType::Mixed;
        }
    }

    std::string nameOf(unsigned dimension) const
    {
        bool isAlone = true;
        for (unsigned other = 1; other <= MOST_DIMENSIONS; ++other)
            isAlone = isAlone && (other == dimension || numOfDimension(other) == 0);
        return m_grid->name + (isAlone ? "" : SUFFIX_OF_DIMENSION[dimension]);
    }

    std::shared_ptr<ZoneLayout const> zoneOf(unsigned dimension)
    {
        if (numOfDimension(dimension) == 0)
            return nullptr;
        auto zone = std::make_shared<ZoneLayout>();
        zone->name = nameOf(dimension);
        zone->grid = m_grid;
        zone->cells = m_cells;
        for (std::size_t shape = 0; shape < NUM_SHAPES; ++shape)
            if (m_numOfShape[shape] != 0 && dimensionOf(static_cast<CellShape>(shape)) == dimension)
                zone->shapes.push_back(static_cast<CellShape>(shape));
        zone->type = typeOf(zone->shapes);
        zone->isInSubzones = dimension == 3;
        takeCells(*zone);
        zone->partitions.resize(1);
        for (CellShape const shape : zone->shapes)
            zone->partitions[0].numCells.push_back(m_numOfShape[static_cast<std::size_t>(shape)]);
        zone->partitions[0].numNodes = m_grid->numNodes;
        if (!isVerbatim(*zone))
            takeUsedNodes(*zone);
        std::uint64_t const most = m_options.partitionCells;
        if (zone->isInSubzones && most != 0 && zone->numCells() > most)
            partitionCells(*zone, most, m_options.keepOrder);
        zone->isWrittenAsIs = areWrittenAsIs(*zone);
        zone->endOfOrigins = endOfOrigins(*zone);
        return zone;
    }

    std::size_t endOfOrigins(ZoneLayout const& zone) const
    {
        std::vector<std::uint32_t> const& origins = m_cells.origins;
        std::size_t end = 0;
        for (auto const& numbers : zone.cellNumbers) {
            for (std::uint32_t const cell : numbers)
                end = std::max<std::size_t>(end, (origins.empty() ? cell : origins[cell]) + 1ULL);
            if (numbers.empty())
                end = origins.empty() ? m_cells.count : origins.back() + 1ULL;
        }
        return end;
    }

    bool areWrittenAsIs(ZoneLayout const& zone) const
    {
        if (zone.shapes.size() != 1 || !zone.nodes.empty() || !zone.cellNumbers[0].empty())
            return false;
        std::size_t const numCorners = CORNERS_OF_SHAPE[static_cast<std::size_t>(zone.shapes[0])];
        for (std::size_t kind = 0; kind < m_numOfKind.size(); ++kind)
            if (m_numOfKind[kind] != 0 &&
                cellKind(static_cast<std::uint8_t>(kind)).treatment != Treatment::Kept)
                return false;
        // No cell has fewer nodes than corners, so that none has more either.
        auto const numEntries = static_cast<std::size_t>(m_cells.offsets.get()[m_cells.count]);
        return numEntries == numCorners * m_cells.count;
    }

    /// All of the grid's cells with all of their nodes. Then nodes stay that no cell has.
    bool isVerbatim(ZoneLayout const& zone) const
    {
        for (std::size_t kind = 0; kind < m_numOfKind.size(); ++kind)
            if (m_numOfKind[kind] != 0 &&
                cellKind(static_cast<std::uint8_t>(kind)).treatment == Treatment::Corners)
                return false;
        return zone.numCells() == m_cells.count;
    }

    void takeCells(ZoneLayout& zone) const
    {
        zone.cellNumbers.resize(zone.shapes.size());
        if (zone.shapes.size() == 1 &&
            m_numOfShape[static_cast<std::size_t>(zone.shapes[0])] == m_cells.count)
            return;
        std::array<std::uint8_t, 256> sectionOfKind{};
        sectionOfKind.fill(NOWHERE);
        for (std::size_t s = 0; s < zone.shapes.size(); ++s) {
            auto const shape = static_cast<std::uint8_t>(zone.shapes[s]);
            zone.cellNumbers[s].reserve(m_numOfShape[shape]);
            for (std::size_t kind = 0; kind < sectionOfKind.size(); ++kind)
                if (m_places[kind] == shape)
                    sectionOfKind[kind] = static_cast<std::uint8_t>(s);
        }
        for (std::size_t c = 0; c < m_cells.count; ++c) {
            std::uint8_t const section = sectionOfKind[m_cells.kinds.get()[c]];
            if (section != NOWHERE && !isHidden(c))
                zone.cellNumbers[section].push_back(static_cast<std::uint32_t>(c));
        }
    }

    static void takeUsedNodes(ZoneLayout& zone)
    {
        std::vector<bool> isUsed(zone.grid->numNodes);
        forEachCell(zone, [&](std::uint32_t, std::int64_t const* nodes, std::uint8_t kind) {
            for (std::size_t n = 0; n < cellKind(kind).numCorners; ++n)
                isUsed[static_cast<std::size_t>(nodes[n])] = true;
        });
        zone.zoneNodes.resize(zone.grid->numNodes);
        for (std::uint32_t node = 0; node < isUsed.size(); ++node)
            if (isUsed[node]) {
                zone.zoneNodes[node] = static_cast<std::uint32_t>(zone.nodes.size());
                zone.nodes.push_back(node);
            }
        zone.partitions[0].numNodes = zone.nodes.size();
    }

    std::shared_ptr<Grid const> m_grid;
    LayoutOptions const& m_options;
    Remarks& m_remarks;
    Places const m_places = placesOfKinds();
    Cells m_cells;
    std::uint64_t m_numHidden = 0;
    std::array<std::uint64_t, 256> m_numOfKind{};
    std::array<std::uint64_t, NUM_SHAPES> m_numOfShape{};
};

}

std::vector<std::shared_ptr<ZoneLayout const>>
layOut(std::shared_ptr<Grid const> const& grid, LayoutOptions const& options, Remarks& remarks)
{
    for (std::string const& remark : grid->remarks)
        remarks.add("'" + grid->name + "': " + remark);
    auto zones = Builder(grid, options, remarks).build();
    std::erase(zones, nullptr);
    return zones;
}

}
