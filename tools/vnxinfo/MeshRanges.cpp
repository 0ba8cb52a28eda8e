#include "tools/vnxinfo/MeshRanges.h"

#include "addons/hdqfs/DataFile.h"
#include "addons/hdqfs/DescriptorCache.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <functional>
#include <map>
#include <span>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace varnox::tools {

using hdqfsloader::Items;
using hdqfsloader::SubzoneLayout;
using hdqfsloader::ValueType;
using hdqio::CszConnectivity;
using hdqio::MinMax;
using hdqio::ZoneMetadata;

namespace {

/// Variables whose values are looked up together.
constexpr std::size_t MOST_TOGETHER = 64;
/// For values that cells refer to again and again: so much, and half of the file up to a limit.
constexpr std::size_t MIN_KEPT_BYTES = std::size_t{32} << 20;
constexpr std::size_t MAX_MORE_KEPT_BYTES = std::size_t{1} << 30;

struct Variable
{
    std::uint32_t zone;
    std::uint32_t var;

    auto operator<=>(Variable const&) const = default;
};

/// A range that isn't what its values are.
struct Difference
{
    Variable variable;
    Place place;
    MinMax told;
    MinMax real;
};

/// The nodes of a cell subzone, each once.
class NodesOfCells
{
public:
    void find(CszConnectivity const& record)
    {
        m_used.assign(record.numRefNszs, {});
        std::size_t const numCorners = std::size_t{record.numCells} * record.numCornersPerCell;
        for (std::size_t i = 0; i < numCorners; ++i) {
            unsigned const item = record.nszOffsets[i];
            m_used[record.refNszOffsets[i]][item / 64] |= std::uint64_t{1} << item % 64;
        }
        m_items.clear();
        m_ends.clear();
        for (auto const& words : m_used) {
            for (unsigned w = 0; w < words.size(); ++w)
                for (std::uint64_t bits = words[w]; bits != 0; bits &= bits - 1)
                    m_items.push_back(static_cast<std::uint8_t>(
                        64 * w + static_cast<unsigned>(std::countr_zero(bits))));
            m_ends.push_back(m_items.size());
        }
    }

    /// Those of the node subzone with this reference, ascending.
    std::span<std::uint8_t const> itemsOf(std::uint32_t reference) const
    {
        std::size_t const begin = reference == 0 ? 0 : m_ends[reference - 1];
        return std::span(m_items).subspan(begin, m_ends[reference] - begin);
    }

private:
    std::vector<std::array<std::uint64_t, 4>> m_used; ///< Kept for its memory alone.
    std::vector<std::uint8_t> m_items;                ///< One node subzone behind the other.
    std::vector<std::size_t> m_ends;
};

/// What the zones have in common.
class Mesh
{
public:
    Mesh(CheckedFile& checkedFile, ZoneMetadata const& cut) : file(checkedFile), metadata(cut)
    {
        m_firstNodeSubzones.reserve(cut.numPartitions + 1);
        m_firstNodeSubzones.push_back(0);
        for (std::uint32_t p = 0; p < cut.numPartitions; ++p)
            m_firstNodeSubzones.push_back(m_firstNodeSubzones.back() + cut.numNszsPerPtn[p]);
    }

    std::uint64_t numNodeSubzones() const { return m_firstNodeSubzones.back(); }
    /// The number of a node subzone among those of all partitions.
    std::uint64_t numberOf(ItemAddress<long>::SubzoneAddress const& nodes) const
    {
        return m_firstNodeSubzones[nodes.partition()] + nodes.subzoneOffset();
    }

    /// Reads the values of a subzone of variables of one type T that stand at the same items: those
    /// of an item beside each other.
    template <typename T>
    void read(std::vector<Variable> const& variables, Items items, std::uint32_t partition,
              std::uint32_t section, std::uint32_t subzone, std::vector<T>& out)
    {
        SubzoneLayout const layout = hdqfsloader::layoutOf(metadata, partition, items);
        SubzoneLayout::Run const run = layout.run(section, subzone);
        std::size_t const width = variables.size();
        out.resize(run.size * width);
        std::array<T, SubzoneLayout::ITEMS_PER_RUN> values;
        for (std::size_t i = 0; i < width; ++i) {
            auto const [zone, var] = variables[i];
            m_reader.readNative(
                {&file.path, file.zones[zone].metadata.ptnMetadata[partition].varDataFileLocs[var],
                 layout.numItems(), var,
                 static_cast<ValueType>(file.headers.fieldDataTypes[var][zone]), file.isAscii()},
                run.firstItem, run.size, values.data());
            for (std::uint64_t item = 0; item < run.size; ++item)
                out[item * width + i] = values[item];
        }
    }

    CheckedFile& file;
    ZoneMetadata const& metadata;

private:
    std::vector<std::uint64_t> m_firstNodeSubzones; ///< By partition, and behind the last.
    hdqfsloader::DescriptorCache m_descriptors;
    hdqfsloader::ValueReader m_reader{m_descriptors};
};

/// Ranges that grow, of several variables.
template <typename T>
class Ranges
{
public:
    static constexpr T NOTHING_BELOW = std::numeric_limits<T>::has_infinity
                                           ? std::numeric_limits<T>::infinity()
                                           : std::numeric_limits<T>::max();
    static constexpr T NOTHING_ABOVE = std::numeric_limits<T>::has_infinity
                                           ? -std::numeric_limits<T>::infinity()
                                           : std::numeric_limits<T>::lowest();

    void reset(std::size_t count)
    {
        m_low.assign(count, NOTHING_BELOW);
        m_high.assign(count, NOTHING_ABOVE);
    }

    /// Adds a value to each of some ranges; what is not a number changes none.
    void add(std::size_t first, T const* values, std::size_t count)
    {
        T* const low = m_low.data() + first;
        T* const high = m_high.data() + first;
        for (std::size_t i = 0; i < count; ++i)
            low[i] = values[i] < low[i] ? values[i] : low[i];
        for (std::size_t i = 0; i < count; ++i)
            high[i] = values[i] > high[i] ? values[i] : high[i];
    }

    /// Of no value, the bounds lie the wrong way round.
    MinMax operator[](std::size_t i) const
    {
        if (m_low[i] > m_high[i])
            return GrowingRange().range();
        return {static_cast<double>(m_low[i]), static_cast<double>(m_high[i])};
    }

private:
    std::vector<T> m_low;
    std::vector<T> m_high;
};

/// Variables of one type whose values stand at the same items. Where they are kept together, those
/// of an item stand beside each other.
class Group
{
public:
    virtual ~Group() = default;
    virtual void take(CheckedCells const& cells, NodesOfCells const& nodes,
                      std::vector<Difference>& differences) = 0;
    /// Tells of the variable with this number in the group.
    virtual void finish(std::size_t index, std::function<void(Difference const&)> const& tell) = 0;
};

template <typename T>
class NodalGroup final : public Group
{
public:
    NodalGroup(Mesh& mesh, std::vector<Variable> variables,
               std::vector<ZoneCrossRanges> const& cross, std::size_t maxKeptBytes)
        : m_mesh(mesh), m_variables(std::move(variables)), m_cross(cross),
          m_maxKeptBytes(maxKeptBytes)
    {
    }

    void take(CheckedCells const& cells, NodesOfCells const& nodes,
              std::vector<Difference>& differences) override
    {
        std::size_t const width = m_variables.size();
        m_ranges.reset(width);
        for (std::uint32_t r = 0; r < cells.record.numRefNszs; ++r) {
            std::vector<T> const& values = valuesOf(cells.record.refNszs[r]);
            auto const items = nodes.itemsOf(r);
            if (!items.empty() && (items.back() + std::size_t{1}) * width > values.size())
                throw std::out_of_range("A cell has a node without a value.");
            for (std::uint8_t const item : items)
                m_ranges.add(0, values.data() + item * width, width);
        }
        for (std::size_t i = 0; i < width; ++i) {
            auto const [zone, var] = m_variables[i];
            MinMax const told =
                m_cross[zone][var][cells.partition].ranges.at(cells.section)[cells.subzone];
            if (!isSame(told, m_ranges[i]))
                differences.push_back(
                    {m_variables[i],
                     {"range of a cell subzone", zone, cells.partition, var,
                      m_mesh.metadata.isMixed() ? std::int64_t{cells.section} : -1, cells.subzone},
                     told,
                     m_ranges[i]});
        }
    }

    void finish(std::size_t, std::function<void(Difference const&)> const&) override {}

private:
    static constexpr std::size_t BYTES_BESIDE_VALUES = 96; ///< What keeping a subzone takes.

    std::vector<T> const& valuesOf(ItemAddress<long>::SubzoneAddress const& nodes)
    {
        std::uint64_t const number = m_mesh.numberOf(nodes);
        auto const found = m_kept.find(number);
        if (found != m_kept.end())
            return found->second;
        if (m_keptBytes > m_maxKeptBytes) {
            m_kept.clear();
            m_keptBytes = 0;
        }
        std::vector<T> values;
        m_mesh.read(m_variables, Items::Nodes, nodes.partition(), 0, nodes.subzoneOffset(), values);
        m_keptBytes += values.size() * sizeof(T) + BYTES_BESIDE_VALUES;
        return m_kept.emplace(number, std::move(values)).first->second;
    }

    Mesh& m_mesh;
    std::vector<Variable> m_variables;
    std::vector<ZoneCrossRanges> const& m_cross;
    std::size_t m_maxKeptBytes;
    std::unordered_map<std::uint64_t, std::vector<T>> m_kept; ///< By the number of node subzones.
    std::size_t m_keptBytes = 0;
    Ranges<T> m_ranges;
};

template <typename T>
class CellCentredGroup final : public Group
{
public:
    CellCentredGroup(Mesh& mesh, std::vector<Variable> variables,
                     std::vector<ZoneCrossRanges> const& cross)
        : m_mesh(mesh), m_variables(std::move(variables)), m_cross(cross),
          m_haveCells(mesh.numNodeSubzones())
    {
        m_ofNodes.reset(mesh.numNodeSubzones() * m_variables.size());
    }

    void take(CheckedCells const& cells, NodesOfCells const&, std::vector<Difference>&) override
    {
        CszConnectivity const& record = cells.record;
        std::size_t const width = m_variables.size();
        m_mesh.read(m_variables, Items::Cells, cells.partition, cells.section, cells.subzone,
                    m_values);
        if (record.numCells * width > m_values.size())
            throw std::out_of_range("A cell subzone has more cells than values.");
        m_lastCells.assign(record.numRefNszs, 0);
        for (std::uint32_t c = 0; c < record.numCells; ++c)
            for (std::uint32_t k = 0; k < record.numCornersPerCell; ++k) {
                std::uint16_t const reference =
                    record.refNszOffsets[std::size_t{c} * record.numCornersPerCell + k];
                if (std::exchange(m_lastCells[reference], c + 1) == c + 1)
                    continue;
                std::uint64_t const nodes = m_mesh.numberOf(record.refNszs[reference]);
                m_haveCells[nodes] = true;
                m_ofNodes.add(nodes * width, m_values.data() + c * width, width);
            }
    }

    void finish(std::size_t index, std::function<void(Difference const&)> const& tell) override
    {
        auto const [zone, var] = m_variables[index];
        std::uint64_t nodes = 0;
        for (std::uint32_t p = 0; p < m_mesh.metadata.numPartitions; ++p)
            for (std::uint32_t n = 0; n < m_mesh.metadata.numNszsPerPtn[p]; ++n, ++nodes) {
                MinMax const real = m_ofNodes[nodes * m_variables.size() + index];
                // What stands for the nodes of no cell means nothing.
                if (!m_haveCells[nodes] || real.min > real.max)
                    continue;
                MinMax const told = m_cross[zone][var][p].ranges.at(0)[n];
                if (!isSame(told, real))
                    tell({m_variables[index],
                          {"range of a node subzone", zone, p, var, -1, n},
                          told,
                          real});
            }
    }

private:
    Mesh& m_mesh;
    std::vector<Variable> m_variables;
    std::vector<ZoneCrossRanges> const& m_cross;
    Ranges<T> m_ofNodes; ///< By the number of node subzones, then variable.
    std::vector<bool> m_haveCells;
    std::vector<T> m_values;
    std::vector<std::uint32_t> m_lastCells; ///< By reference, the last cell that has it, from 1.
};

/// A variable of which all partitions have been read.
bool isComplete(std::vector<CrossRanges> const& ofVariable)
{
    return std::all_of(ofVariable.begin(), ofVariable.end(),
                       [](CrossRanges const& ranges) { return ranges.isRead; });
}

}

struct MeshRanges::Impl
{
    Impl(CheckedFile& file, std::vector<std::uint32_t> const& zones,
         std::vector<ZoneCrossRanges> const& cross)
        : mesh(file, file.zones[zones.front()].metadata)
    {
        using Kind = std::pair<bool, std::uint8_t>; // at nodes, type
        std::map<Kind, std::vector<Variable>> byKind;
        std::size_t bytesOfRows = 0;
        for (std::uint32_t const z : zones)
            for (std::uint32_t v = 0; v < cross[z].size(); ++v) {
                if (!isComplete(cross[z][v]))
                    continue;
                std::uint8_t const type = file.headers.fieldDataTypes[v][z];
                byKind[{file.isNodal(z, v), type}].push_back({z, v});
                bytesOfRows += hdqfsloader::valueSize(static_cast<ValueType>(type));
            }
        std::size_t const more = std::min<std::uint64_t>(file.numBytes / 2, MAX_MORE_KEPT_BYTES);
        std::size_t const keptForAByte =
            (MIN_KEPT_BYTES + more) / std::max<std::size_t>(bytesOfRows, 1);
        for (auto const& entry : byKind) {
            auto const [isNodal, type] = entry.first;
            std::span const variables(entry.second);
            for (std::size_t first = 0; first < variables.size(); first += MOST_TOGETHER)
                addGroup(variables.subspan(first).first(
                             std::min(MOST_TOGETHER, variables.size() - first)),
                         isNodal, type, cross, keptForAByte);
        }
        std::sort(places.begin(), places.end());
    }

    void addGroup(std::span<Variable const> variables, bool isNodal, std::uint8_t type,
                  std::vector<ZoneCrossRanges> const& cross, std::size_t keptForAByte)
    {
        for (std::size_t i = 0; i < variables.size(); ++i)
            places.push_back({variables[i], groups.size(), i});
        std::vector<Variable> together(variables.begin(), variables.end());
        withType(type, [&]<typename T>(T) {
            if (isNodal)
                groups.push_back(std::make_unique<NodalGroup<T>>(
                    mesh, std::move(together), cross, keptForAByte * variables.size() * sizeof(T)));
            else
                groups.push_back(
                    std::make_unique<CellCentredGroup<T>>(mesh, std::move(together), cross));
        });
    }

    void tell(Difference const& difference)
    {
        mesh.file.faults.add(difference.place, "It is told as " + textOf(difference.told) +
                                                   ", and the values are " +
                                                   textOf(difference.real) + ".");
    }

    /// Where a variable is found.
    struct Located
    {
        Variable variable;
        std::size_t group;
        std::size_t index;

        auto operator<=>(Located const&) const = default;
    };

    Mesh mesh;
    std::vector<std::unique_ptr<Group>> groups;
    std::vector<Located> places; ///< In the order of zones, then variables.
    NodesOfCells nodes;
    std::vector<Difference> differences;
};

MeshRanges::MeshRanges(CheckedFile& file, std::vector<std::uint32_t> const& zones,
                       std::vector<ZoneCrossRanges> const& cross)
    : m_impl(std::make_unique<Impl>(file, zones, cross))
{
}

MeshRanges::~MeshRanges() = default;

void MeshRanges::take(CheckedCells const& cells)
{
    if (m_impl->groups.empty())
        return;
    m_impl->nodes.find(cells.record);
    for (std::uint32_t r = 0; r < cells.record.numRefNszs; ++r) {
        auto const items = m_impl->nodes.itemsOf(r);
        requireNodes(m_impl->mesh.metadata, cells.record.refNszs[r],
                     items.empty() ? 1 : items.back() + 1U);
    }
    m_impl->differences.clear();
    for (auto const& group : m_impl->groups)
        group->take(cells, m_impl->nodes, m_impl->differences);
    std::stable_sort(
        m_impl->differences.begin(), m_impl->differences.end(),
        [](Difference const& a, Difference const& b) { return a.variable < b.variable; });
    for (Difference const& difference : m_impl->differences)
        m_impl->tell(difference);
}

void MeshRanges::finish()
{
    for (Impl::Located const& place : m_impl->places)
        m_impl->groups[place.group]->finish(
            place.index, [this](Difference const& difference) { m_impl->tell(difference); });
}

bool hasCrossRanges(ZoneCrossRanges const& cross)
{
    return std::any_of(cross.begin(), cross.end(), isComplete);
}

}
