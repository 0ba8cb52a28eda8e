#include "tests/writer/DataSets.h"

#include "tests/writer/MemoryZone.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <random>

namespace varnox::hdqfswriter::tests {

namespace {

MemorySource& sourceOf(Zone const& zone)
{
    return static_cast<MemorySource&>(*zone.source);
}

template <typename T>
T anyValue(std::mt19937& random, ValueType type)
{
    if (type == ValueType::Bit)
        return static_cast<T>(random() % 2);
    if constexpr (std::is_floating_point_v<T>) {
        double const fraction = static_cast<double>(random()) / 4294967296.0 - 0.5;
        return static_cast<T>(fraction * (random() % 3 == 0 ? 1e9 : 1.0));
    } else if constexpr (std::is_same_v<T, std::int16_t>) {
        return static_cast<T>(static_cast<int>(random() % 65535) - 32767);
    } else {
        return static_cast<T>(random());
    }
}

void fillAll(Zone const& zone, std::uint32_t seed)
{
    for (std::uint32_t v = 0; v < zone.variables.size(); ++v)
        fillValues(zone, v, seed * 100 + v);
}

/// The tetrahedra of a block as corners of it, bit 0 for X, bit 1 for Y, bit 2 for Z.
constexpr unsigned TETRAHEDRA[6][4] = {{0, 1, 3, 7}, {0, 3, 2, 7}, {0, 2, 6, 7},
                                       {0, 6, 4, 7}, {0, 4, 5, 7}, {0, 5, 1, 7}};
constexpr unsigned HEXAHEDRON[8] = {0, 1, 3, 2, 4, 5, 7, 6};

class MeshMaker
{
public:
    MeshMaker(MeshSpec const& spec, Zone& zone)
        : m_spec(spec), m_zone(zone), m_source(sourceOf(zone)), m_random(spec.seed)
    {
    }

    void make()
    {
        placeNodes();
        std::size_t const numSections = sectionsOf(m_zone).size();
        m_source.mesh.assign(m_spec.numPartitions,
                             std::vector<std::vector<std::uint64_t>>(numSections));
        auto const& n = m_spec.numBlocks;
        std::vector<std::array<std::uint64_t, 3>> blocks;
        for (std::uint64_t z = 0; z < n[2]; ++z)
            for (std::uint64_t y = 0; y < n[1]; ++y)
                for (std::uint64_t x = 0; x < n[0]; ++x)
                    blocks.push_back({x, y, z});
        std::shuffle(blocks.begin(), blocks.end(), m_random);
        for (auto const& block : blocks)
            addCells(block);
        for (std::uint32_t p = 0; p < m_spec.numPartitions; ++p)
            for (std::uint32_t s = 0; s < numSections; ++s)
                m_zone.partitions[p].numCells.push_back(m_source.mesh[p][s].size() /
                                                        nodesPerCell(sectionsOf(m_zone)[s]));
    }

private:
    std::uint32_t partitionAt(std::uint64_t x) const
    {
        return static_cast<std::uint32_t>(x * m_spec.numPartitions / (m_spec.numBlocks[0] + 1));
    }

    void placeNodes()
    {
        auto const& n = m_spec.numBlocks;
        std::vector<std::vector<std::array<std::uint64_t, 3>>> nodes(m_spec.numPartitions);
        for (std::uint64_t z = 0; z <= n[2]; ++z)
            for (std::uint64_t y = 0; y <= n[1]; ++y)
                for (std::uint64_t x = 0; x <= n[0]; ++x)
                    nodes[partitionAt(x)].push_back({x, y, z});
        m_numbers.resize((n[0] + 1) * (n[1] + 1) * (n[2] + 1));
        m_source.places.resize(m_spec.numPartitions);
        std::uint64_t number = 0;
        for (std::uint32_t p = 0; p < m_spec.numPartitions; ++p) {
            std::shuffle(nodes[p].begin(), nodes[p].end(), m_random);
            m_zone.partitions.push_back({{}, nodes[p].size(), {}});
            for (auto const& [x, y, z] : nodes[p]) {
                m_numbers[indexOf(x, y, z)] = number++;
                for (std::uint64_t const along : {x, y, z})
                    m_source.places[p].push_back(static_cast<double>(along) * 0.25 - 1);
            }
        }
    }

    std::size_t indexOf(std::uint64_t x, std::uint64_t y, std::uint64_t z) const
    {
        return (z * (m_spec.numBlocks[1] + 1) + y) * (m_spec.numBlocks[0] + 1) + x;
    }

    void addCells(std::array<std::uint64_t, 3> const& block)
    {
        auto& sections = m_source.mesh[partitionAt(block[0])];
        bool const isMixed = m_zone.type == ZoneType::Mixed;
        bool const isCut = m_zone.type == ZoneType::Tetrahedron || (isMixed && block[2] % 2 != 0);
        if (!isCut) {
            addCell(sections[0], block, HEXAHEDRON, 8);
            return;
        }
        for (auto const& corners : TETRAHEDRA)
            addCell(sections[isMixed ? 1 : 0], block, corners, 4);
    }

    void addCell(std::vector<std::uint64_t>& nodes, std::array<std::uint64_t, 3> const& block,
                 unsigned const* corners, unsigned numCorners)
    {
        for (unsigned c = 0; c < numCorners; ++c)
            nodes.push_back(
                m_numbers[indexOf(block[0] + (corners[c] & 1), block[1] + (corners[c] >> 1 & 1),
                                  block[2] + (corners[c] >> 2))]);
        if (m_zone.type != ZoneType::Mixed)
            return;
        Section const& section = m_zone.sections[numCorners == 8 ? 0 : 1];
        for (unsigned c = numCorners; c < nodesPerCell(section); ++c)
            nodes.push_back(m_random() % m_numbers.size());
    }

    MeshSpec const& m_spec;
    Zone& m_zone;
    MemorySource& m_source;
    std::mt19937 m_random;
    std::vector<std::uint64_t> m_numbers; ///< By place.
};

}

std::vector<ZoneVariable> variablesOfAllTypes()
{
    std::vector<ZoneVariable> result;
    for (ValueType const type : {ValueType::Byte, ValueType::Bit, ValueType::Int16,
                                 ValueType::Int32, ValueType::Float, ValueType::Double})
        for (ValueLocation const location : {ValueLocation::Nodes, ValueLocation::Cells})
            result.push_back({type, location, false, -1});
    return result;
}

std::vector<std::string> namesOf(std::size_t numVariables)
{
    std::vector<std::string> result;
    for (std::size_t v = 0; v < numVariables; ++v)
        result.push_back("variable " + std::to_string(v + 1));
    return result;
}

void fillValues(Zone const& zone, std::uint32_t variable, std::uint32_t seed)
{
    std::mt19937 random(seed);
    ValueType const type = zone.variables[variable].type;
    bool const isNodal = zone.variables[variable].location == ValueLocation::Nodes;
    std::uint32_t const partitions = isOrdered(zone) ? 1 : numPartitions(zone);
    withType(type, [&](auto value) {
        using T = decltype(value);
        for (std::uint32_t p = 0; p < partitions; ++p) {
            std::uint64_t count = isNodal ? numNodes(zone) : numCells(zone);
            if (!isOrdered(zone))
                count = isNodal ? zone.partitions[p].numNodes : numCells(zone.partitions[p]);
            std::vector<T> values(static_cast<std::size_t>(count));
            for (T& each : values)
                each = anyValue<T>(random, type);
            sourceOf(zone).set(p, variable, values);
        }
    });
}

Zone orderedZone(std::array<std::uint64_t, 3> const& size, std::vector<ZoneVariable> variables,
                 std::array<std::vector<std::uint64_t>, 3> const& cuts)
{
    Zone zone;
    zone.name = "ordered";
    zone.size = size;
    zone.variables = std::move(variables);
    auto source = std::make_shared<MemorySource>();
    source->size = size;
    source->variables = zone.variables;
    zone.source = source;
    auto bounds = cuts;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        bounds[axis].insert(bounds[axis].begin(), 0);
        bounds[axis].push_back(size[axis]);
    }
    for (std::size_t k = 1; k < bounds[2].size(); ++k)
        for (std::size_t j = 1; j < bounds[1].size(); ++j)
            for (std::size_t i = 1; i < bounds[0].size(); ++i)
                zone.partitions.push_back({{{bounds[0][i - 1], bounds[1][j - 1], bounds[2][k - 1]},
                                            {bounds[0][i], bounds[1][j], bounds[2][k]}},
                                           0,
                                           {}});
    if (zone.partitions.size() == 1)
        zone.partitions.clear();
    fillAll(zone, 1);
    return zone;
}

Zone meshZone(MeshSpec const& spec, std::vector<ZoneVariable> variables)
{
    Zone zone;
    zone.name = "mesh";
    zone.type = spec.type;
    zone.isInSubzones = spec.isInSubzones;
    zone.variables = std::move(variables);
    if (spec.type == ZoneType::Mixed)
        zone.sections = {{CellShape::Hexahedron, spec.gridOrder, 0},
                         {CellShape::Tetrahedron, 1, 2}};
    zone.source = std::make_shared<MemorySource>();
    MeshMaker(spec, zone).make();
    fillAll(zone, spec.seed);
    return zone;
}

}
