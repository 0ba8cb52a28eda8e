#include "writer/MeshPartitions.h"

#include "filedata/PartitionHeader.h"
#include "filedata/TagList.h"
#include "filedata/ZoneHeader.h"
#include "writer/SourceAnswers.h"
#include "writer/SubzoneRanges.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace varnox::hdqfswriter {

namespace {

using Tag = BlockWriter::Tag;

constexpr std::uint32_t ITEMS = 256;
constexpr std::size_t MOST_REFERENCES = 0xFFFF;
constexpr std::size_t MOST_REF_PARTITIONS = 0x10000;
constexpr std::uint32_t NOWHERE = 0xFFFFFFFF;

std::uint32_t numRuns(std::uint32_t items)
{
    return items / ITEMS + (items % ITEMS != 0);
}

template <typename T>
std::vector<Range<T>> rangesOfRuns(T const* values, std::uint32_t count)
{
    std::vector<Range<T>> result;
    RangeOfLines<T> lines;
    for (std::uint32_t first = 0; first < count; first += ITEMS) {
        lines.add(values + first, std::min(ITEMS, count - first));
        result.push_back(lines.take());
        if (count - first <= ITEMS)
            break;
    }
    return result;
}

/// Values of the source in the new order.
template <typename T>
void appendInOrder(T const* given, std::vector<std::uint32_t> const& order, std::uint32_t count,
                   std::vector<T>& result)
{
    if (order.empty()) {
        result.insert(result.end(), given, given + count);
        return;
    }
    for (std::uint32_t const item : order)
        result.push_back(given[item]);
}

}

MeshPartitions::MeshPartitions(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex)
    : m_plan(plan), m_blocks(blocks), m_zoneIndex(zoneIndex), m_zone(plan.zone(zoneIndex)),
      m_mesh(plan, zoneIndex), m_border(m_mesh)
{
}

std::uint64_t MeshPartitions::numNodeSubzones() const
{
    return numRuns(m_numNodes);
}

std::uint64_t MeshPartitions::numCellSubzones() const
{
    std::uint64_t result = 0;
    for (std::uint32_t s = 0; s < m_mesh.numSections(); ++s)
        result += numRuns(m_mesh.numCells(m_partition, s));
    return result;
}

void MeshPartitions::begin(std::uint32_t partition)
{
    m_partition = partition;
    m_numNodes = static_cast<std::uint32_t>(m_zone.partitions[partition].numNodes);
    m_order = m_mesh.orderOf(partition);
    m_newNodes = inverse(m_order.nodes);
    takeCells();
}

std::uint32_t MeshPartitions::newNumberOf(std::uint64_t ownNode) const
{
    auto const number = static_cast<std::uint32_t>(ownNode - m_mesh.firstNode(m_partition));
    return m_newNodes.empty() ? number : m_newNodes[number];
}

void MeshPartitions::takeCells()
{
    std::uint64_t const first = m_mesh.firstNode(m_partition);
    std::uint64_t const end = m_mesh.endNode(m_partition);
    auto const isOwn = [&](std::uint64_t node) { return node >= first && node < end; };

    std::vector<std::uint64_t> foreign;
    bool const mayBeForeign = m_zone.partitions.size() > 1;
    for (std::uint32_t s = 0; mayBeForeign && s < m_mesh.numSections(); ++s) {
        std::uint64_t const* const nodes = m_mesh.cells(m_partition, s);
        std::size_t const count =
            std::size_t{m_mesh.numCells(m_partition, s)} * m_mesh.nodesPerCell(s);
        std::copy_if(nodes, nodes + count, std::back_inserter(foreign),
                     [&](std::uint64_t node) { return !isOwn(node); });
    }
    std::sort(foreign.begin(), foreign.end());
    foreign.erase(std::unique(foreign.begin(), foreign.end()), foreign.end());
    m_foreign.clear();
    for (std::uint64_t const node : foreign)
        m_foreign.push_back({node, m_mesh.partitionOf(node), m_border.newNumberOf(node)});
    if (foreign.size() > std::numeric_limits<std::uint32_t>::max() - m_numNodes)
        throw std::runtime_error("A partition has more nodes than can be numbered.");

    m_cells.assign(m_mesh.numSections(), {});
    for (std::uint32_t s = 0; s < m_mesh.numSections(); ++s) {
        std::uint64_t const* const nodes = m_mesh.cells(m_partition, s);
        std::uint32_t const size = m_mesh.nodesPerCell(s);
        std::uint32_t const count = m_mesh.numCells(m_partition, s);
        std::vector<std::uint32_t> const& order = m_order.cells[s];
        m_cells[s].reserve(std::size_t{count} * size);
        for (std::uint32_t c = 0; c < count; ++c) {
            std::uint64_t const* const cell =
                nodes + std::size_t{order.empty() ? c : order[c]} * size;
            for (std::uint32_t n = 0; n < size; ++n) {
                if (isOwn(cell[n])) {
                    m_cells[s].push_back(newNumberOf(cell[n]));
                    continue;
                }
                auto const place = std::lower_bound(foreign.begin(), foreign.end(), cell[n]);
                if (place == foreign.end() || *place != cell[n])
                    throw std::runtime_error("A source gives other cells than before.");
                m_cells[s].push_back(m_numNodes +
                                     static_cast<std::uint32_t>(place - foreign.begin()));
            }
        }
    }
}

VariableBlock MeshPartitions::writeVariable(std::uint32_t varIndex, std::uint32_t variable)
{
    return withType(m_zone.variables[variable].type,
                    [&](auto value) { return writeValues<decltype(value)>(varIndex, variable); });
}

/// The buffer has as many elements as there are values.
template <typename T>
T const* MeshPartitions::valuesOf(std::uint32_t partition, std::uint32_t variable,
                                  Buffer<T>& buffer) const
{
    return answered<T>(m_zone, "values", buffer.size(),
                       m_zone.source->values(partition, variable, buffer.data()));
}

template <typename T>
VariableBlock MeshPartitions::writeValues(std::uint32_t varIndex, std::uint32_t variable)
{
    Partition const& partition = m_zone.partitions[m_partition];
    bool const isNodal = m_zone.variables[variable].location == ValueLocation::Nodes;
    std::uint64_t const count = isNodal ? partition.numNodes : numCells(partition);
    Buffer<T> buffer(count);
    auto const* given = valuesOf<T>(m_partition, variable, buffer);
    std::vector<T> values;
    if (isNodal) {
        if (!m_order.nodes.empty() || !m_foreign.empty()) {
            values.reserve(static_cast<std::size_t>(count) + m_foreign.size());
            appendInOrder(given, m_order.nodes, m_numNodes, values);
            appendForeignNodeValues(variable, values);
            given = values.data();
        }
        auto const nodeRanges = rangesOfRuns(given, m_numNodes);
        return writeBlock<T>(varIndex, variable, nodeRanges, rangesOfCellsNodes(given),
                             joined(nodeRanges), given, count);
    }
    // The source is asked again below, for cells of other partitions.
    values.reserve(static_cast<std::size_t>(count));
    RangesBySection<T> cellRanges;
    Range<T> range = emptyRange<T>();
    for (std::uint32_t s = 0; s < m_mesh.numSections(); ++s) {
        std::uint32_t const inSection = m_mesh.numCells(m_partition, s);
        std::size_t const first = values.size();
        appendInOrder(given + first, m_order.cells[s], inSection, values);
        cellRanges.push_back(rangesOfRuns(values.data() + first, inSection));
        extend(range, joined(cellRanges.back()));
    }
    return writeBlock<T>(varIndex, variable, rangesOfNodesCells(variable, values.data()),
                         cellRanges, range, values.data(), count);
}

// A variable's block:
//   pairs  ranges of the node subzones
//   pairs  ranges of the cell subzones, section after section
//   values subzone after subzone, section after section

template <typename T>
VariableBlock MeshPartitions::writeBlock(std::uint32_t varIndex, std::uint32_t variable,
                                         std::vector<Range<T>> const& nodeRanges,
                                         RangesBySection<T> const& cellRanges,
                                         Range<T> const& range, T const* values,
                                         std::uint64_t count)
{
    checkBits(m_zone.variables[variable].type, range);
    auto const index = static_cast<std::int32_t>(varIndex);
    std::uint64_t const start = m_blocks.loc();
    writeRanges(m_blocks, {"nszMinMaxes", index}, nodeRanges);
    for (auto const& ranges : cellRanges)
        writeRanges(m_blocks, {"cszMinMaxes", index}, ranges);
    m_blocks.array<T>({"values", index}, count, values);
    return {start, toMinMax(range)};
}

template <typename T>
void MeshPartitions::appendForeignNodeValues(std::uint32_t variable, std::vector<T>& values) const
{
    // In the order of partitions: each is asked for once.
    for (std::size_t i = 0; i < m_foreign.size();) {
        std::uint32_t const partition = m_foreign[i].partition;
        Buffer<T> buffer(m_zone.partitions[partition].numNodes);
        auto const* const given = valuesOf<T>(partition, variable, buffer);
        for (; i < m_foreign.size() && m_foreign[i].partition == partition; ++i)
            values.push_back(given[m_foreign[i].node - m_mesh.firstNode(partition)]);
    }
}

template <typename T>
MeshPartitions::RangesBySection<T> MeshPartitions::rangesOfCellsNodes(T const* values) const
{
    RangesBySection<T> result;
    std::vector<T> gathered;
    RangeOfLines<T> lines;
    for (std::uint32_t s = 0; s < m_mesh.numSections(); ++s) {
        std::vector<Range<T>> ranges;
        std::size_t const perSubzone = std::size_t{ITEMS} * m_mesh.nodesPerCell(s);
        gathered.resize(perSubzone);
        for (std::size_t first = 0; first < m_cells[s].size(); first += perSubzone) {
            std::size_t const count = std::min(perSubzone, m_cells[s].size() - first);
            for (std::size_t i = 0; i < count; ++i)
                gathered[i] = values[m_cells[s][first + i]];
            lines.add(gathered.data(), count);
            ranges.push_back(lines.take());
        }
        result.push_back(std::move(ranges));
    }
    return result;
}

template <typename T>
std::vector<Range<T>> MeshPartitions::rangesOfNodesCells(std::uint32_t variable,
                                                         T const* values) const
{
    std::vector<Range<T>> result(numRuns(m_numNodes), emptyRange<T>());
    for (std::uint32_t s = 0; s < m_mesh.numSections(); ++s) {
        std::uint32_t const* nodes = m_cells[s].data();
        for (std::uint32_t c = 0; c < m_mesh.numCells(m_partition, s); ++c, ++values)
            for (std::uint32_t n = 0; n < m_mesh.nodesPerCell(s); ++n, ++nodes)
                if (*nodes < m_numNodes)
                    extend(result[*nodes / ITEMS], *values);
    }
    extendByForeignCells(variable, result);
    return result;
}

/// By the values of cells of other partitions at this one's nodes.
template <typename T>
void MeshPartitions::extendByForeignCells(std::uint32_t variable,
                                          std::vector<Range<T>>& ranges) const
{
    auto const [begin, end] = m_border.referencesTo(m_mesh, m_partition);
    std::vector<ZoneBorder::Reference> references(begin, end);
    std::stable_sort(references.begin(), references.end(),
                     [](ZoneBorder::Reference const& a, ZoneBorder::Reference const& b) {
                         return a.partition < b.partition;
                     });
    for (std::size_t i = 0; i < references.size();) {
        std::uint32_t const partition = references[i].partition;
        Partition const& other = m_zone.partitions[partition];
        Buffer<T> buffer(numCells(other));
        auto const* const given = valuesOf<T>(partition, variable, buffer);
        for (; i < references.size() && references[i].partition == partition; ++i) {
            std::uint64_t cell = references[i].sourceCell;
            for (std::uint32_t s = 0; s < references[i].section; ++s)
                cell += other.numCells[s];
            extend(ranges[newNumberOf(references[i].node) / ITEMS], given[cell]);
        }
    }
}

hdqio::IODescription MeshPartitions::label(char const* name) const
{
    hdqio::IODescription result;
    result.name = name;
    result.zoneIndex = static_cast<std::int32_t>(m_zoneIndex);
    if (m_zone.partitions.size() > 1)
        result.partitionIndex = m_partition;
    return result;
}

RecordForm MeshPartitions::recordForm() const
{
    RecordForm result{m_plan.version, m_zone.type == ZoneType::Mixed, m_partition, {}};
    for (ForeignNode const& node : m_foreign)
        result.refPartitions.push_back(node.partition);
    auto const [begin, end] = m_border.referencesTo(m_mesh, m_partition);
    for (ZoneBorder::Reference const* reference = begin; reference != end; ++reference)
        result.refPartitions.push_back(reference->partition);
    auto& list = result.refPartitions;
    if (!list.empty())
        list.push_back(m_partition);
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    if (list.size() > MOST_REF_PARTITIONS)
        throw std::runtime_error("Cannot write " + nameOf(m_plan.dataSet, m_zoneIndex) +
                                 ": a partition refers to more than 65536 partitions.");
    return result;
}

/// places has one entry for each own node subzone, all NOWHERE, which is how it is left.
CellSubzoneRecord MeshPartitions::recordOf(std::uint32_t section, std::uint32_t subzone,
                                           std::vector<std::uint32_t>& places) const
{
    std::size_t const perSubzone = std::size_t{ITEMS} * m_mesh.nodesPerCell(section);
    std::size_t const first = subzone * perSubzone;
    std::size_t const count = std::min(perSubzone, m_cells[section].size() - first);
    std::uint32_t const* const nodes = m_cells[section].data() + first;

    CellSubzoneRecord result;
    auto& list = result.nodeSubzones;
    for (std::size_t i = 0; i < count; ++i) {
        if (nodes[i] >= m_numNodes) {
            ForeignNode const& node = m_foreign[nodes[i] - m_numNodes];
            list.push_back({node.partition, 0, node.number / ITEMS});
        } else if (places[nodes[i] / ITEMS] == NOWHERE) {
            places[nodes[i] / ITEMS] = 0;
            list.push_back({m_partition, 0, nodes[i] / ITEMS});
        }
    }
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    if (list.size() > MOST_REFERENCES)
        throw std::runtime_error("Cannot write " + nameOf(m_plan.dataSet, m_zoneIndex) +
                                 ": a subzone of cells refers to more than 65535 subzones.");
    for (std::uint32_t r = 0; r < list.size(); ++r)
        if (list[r].partition == m_partition)
            places[list[r].subzone] = r;

    result.numbers.reserve(count);
    result.offsets.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t number = nodes[i];
        std::uint32_t place = NOWHERE;
        if (number >= m_numNodes) {
            ForeignNode const& node = m_foreign[number - m_numNodes];
            number = node.number;
            SubzoneReference const wanted{node.partition, 0, number / ITEMS};
            place = static_cast<std::uint32_t>(std::lower_bound(list.begin(), list.end(), wanted) -
                                               list.begin());
        } else {
            place = places[number / ITEMS];
        }
        result.numbers.push_back(static_cast<std::uint16_t>(place));
        result.offsets.push_back(static_cast<std::uint8_t>(number % ITEMS));
    }
    for (SubzoneReference const& reference : list)
        if (reference.partition == m_partition)
            places[reference.subzone] = NOWHERE;
    return result;
}

/// Of each node subzone the cell subzones that have its nodes, in any partition.
std::vector<std::vector<SubzoneReference>> MeshPartitions::cellsAtNodes() const
{
    std::vector<std::vector<SubzoneReference>> result(numRuns(m_numNodes));
    for (std::uint32_t s = 0; s < m_mesh.numSections(); ++s) {
        std::size_t const perSubzone = std::size_t{ITEMS} * m_mesh.nodesPerCell(s);
        for (std::size_t i = 0; i < m_cells[s].size(); ++i) {
            if (m_cells[s][i] >= m_numNodes)
                continue;
            SubzoneReference const here{m_partition, s, static_cast<std::uint32_t>(i / perSubzone)};
            auto& list = result[m_cells[s][i] / ITEMS];
            if (list.empty() || !(list.back() == here))
                list.push_back(here);
        }
    }
    auto const [begin, end] = m_border.referencesTo(m_mesh, m_partition);
    for (ZoneBorder::Reference const* reference = begin; reference != end; ++reference)
        result[newNumberOf(reference->node) / ITEMS].push_back(
            {reference->partition, reference->section, reference->cell / ITEMS});
    for (auto& list : result) {
        std::sort(list.begin(), list.end());
        list.erase(std::unique(list.begin(), list.end()), list.end());
        if (list.size() > MOST_REFERENCES)
            throw std::runtime_error("Cannot write " + nameOf(m_plan.dataSet, m_zoneIndex) +
                                     ": the nodes of a subzone are in cells of more than 65535 "
                                     "subzones.");
    }
    return result;
}

std::vector<Tag> MeshPartitions::writeConnectivity()
{
    if (m_plan.hasConnectivity(m_zoneIndex))
        return writeRecords();
    if (m_plan.isSolution())
        return {};
    std::vector<Tag> tags;
    for (std::uint16_t const tag : {hdqio::NSZ_CONN_FILE_LOCS_TAG, hdqio::CSZ_CONN_FILE_LOCS_TAG,
                                    hdqio::CSZ_NUM_REF_NSZS_TAG, hdqio::NSZ_NUM_REF_CSZS_TAG})
        tags.push_back({tag, hdqio::ABSENT_FILE_LOC});
    if (m_zone.type == ZoneType::Mixed && m_zone.partitions.size() == 1)
        tags.push_back({hdqio::PARTITION_NUM_CELLS_TAG, hdqio::ABSENT_FILE_LOC});
    return tags;
}

namespace {

/// What a partition's header says of the records of one kind of subzone in one section.
struct RecordTable
{
    std::vector<std::uint64_t> fileLocs;
    std::vector<std::uint16_t> numReferences;
    std::vector<std::uint8_t> bits; ///< One for each subzone: it refers to other partitions.

    void add(std::uint64_t fileLoc, RecordForm const& form,
             std::vector<SubzoneReference> const& references)
    {
        std::size_t const subzone = fileLocs.size();
        fileLocs.push_back(fileLoc);
        numReferences.push_back(static_cast<std::uint16_t>(references.size()));
        if (subzone % 8 == 0)
            bits.push_back(0);
        if (refersToOthers(form, references))
            bits.back() = static_cast<std::uint8_t>(bits.back() | 1U << subzone % 8);
    }
};

}

std::vector<Tag> MeshPartitions::writeRecords()
{
    RecordForm const form = recordForm();
    std::vector<RecordTable> cells(m_mesh.numSections());
    std::vector<std::uint32_t> places(numRuns(m_numNodes), NOWHERE);
    for (std::uint32_t s = 0; s < m_mesh.numSections(); ++s) {
        for (std::uint32_t c = 0; c < numRuns(m_mesh.numCells(m_partition, s)); ++c) {
            CellSubzoneRecord const record = recordOf(s, c, places);
            cells[s].add(writeCellSubzone(m_blocks, form, record), form, record.nodeSubzones);
        }
    }
    RecordTable nodes;
    for (auto const& references : cellsAtNodes())
        nodes.add(writeNodeSubzone(m_blocks, form, references), form, references);

    std::vector<Tag> tags;
    tags.push_back({hdqio::CSZ_CONN_FILE_LOCS_TAG, m_blocks.loc()});
    for (RecordTable const& table : cells)
        m_blocks.array<std::uint64_t, true>(label("cszConnFileLocs"), table.fileLocs);
    tags.push_back({hdqio::NSZ_CONN_FILE_LOCS_TAG,
                    m_blocks.array<std::uint64_t, true>(label("nszConnFileLocs"), nodes.fileLocs)});
    bool const isPartitioned = m_zone.partitions.size() != 1;
    // Up to version 104 nobody looks for the counts in the header of a zone.
    if (isPartitioned || form.version >= hdqio::FIRST_VERSION_WITH_FILE_TYPE) {
        tags.push_back({hdqio::CSZ_NUM_REF_NSZS_TAG, m_blocks.loc()});
        for (RecordTable const& table : cells)
            m_blocks.array(label("cszNumRefNszs"), table.numReferences);
        tags.push_back({hdqio::NSZ_NUM_REF_CSZS_TAG,
                        m_blocks.array(label("nszNumRefCszs"), nodes.numReferences)});
    }
    if (!isPartitioned)
        return tags;

    tags.push_back({hdqio::NUM_REF_PARTITIONS_TAG, form.refPartitions.size()});
    if (!form.refPartitions.empty())
        tags.push_back({hdqio::REF_PARTITIONS_TAG,
                        m_blocks.array(label("refPartitions"), form.refPartitions)});
    tags.push_back({hdqio::CSZ_INCL_PTN_BIT_ARRAY_TAG, m_blocks.loc()});
    for (RecordTable const& table : cells)
        m_blocks.array<std::uint8_t, true>(label("cszInclPtnBitArray"), table.bits);
    tags.push_back({hdqio::NSZ_INCL_PTN_BIT_ARRAY_TAG,
                    m_blocks.array<std::uint8_t, true>(label("nszInclPtnBitArray"), nodes.bits)});
    return tags;
}

std::vector<Tag> MeshPartitions::writePartitionSizes()
{
    auto const write = [&](char const* name, std::vector<std::int64_t> const& counts) {
        hdqio::IODescription description;
        description.name = name;
        description.zoneIndex = static_cast<std::int32_t>(m_zoneIndex);
        if (m_plan.version >= hdqio::FIRST_VERSION_WITH_64_BIT_COUNTS)
            return m_blocks.array(description, counts);
        return m_blocks.array(description,
                              std::vector<std::uint32_t>(counts.begin(), counts.end()));
    };
    std::uint64_t const cellsLoc = m_blocks.loc();
    std::vector<std::int64_t> counts(m_zone.partitions.size());
    for (std::size_t s = 0; s < m_mesh.numSections(); ++s) {
        for (std::size_t p = 0; p < counts.size(); ++p)
            counts[p] = static_cast<std::int64_t>(m_zone.partitions[p].numCells[s]);
        write("partitionNumCells", counts);
    }
    for (std::size_t p = 0; p < counts.size(); ++p)
        counts[p] = static_cast<std::int64_t>(m_zone.partitions[p].numNodes);
    return {{hdqio::PARTITION_NUM_CELLS_TAG, cellsLoc},
            {hdqio::PARTITION_NUM_NODES_TAG, write("partitionNumNodes", counts)}};
}

}
