#include "tools/vnxinfo/MeshCheck.h"

#include "tools/vnxinfo/SubzoneValues.h"

#include <algorithm>
#include <bitset>
#include <optional>
#include <stdexcept>

namespace varnox::tools {

using hdqio::CszConnectivity;
using hdqio::MinMax;
using hdqio::PartitionMetadata;
using hdqio::ZoneMetadata;
using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

namespace {

constexpr std::uint32_t SUBZONE_ITEMS = 256;

std::string subzoneText(SubzoneAddress const& address)
{
    return "subzone " + std::to_string(address.subzoneOffset()) + " of section " +
           std::to_string(address.section() + 1) + " in partition " +
           std::to_string(address.partition() + 1);
}

/// Nodes in a node subzone; 0 for one that doesn't exist.
std::uint32_t numNodesOf(ZoneMetadata const& zone, SubzoneAddress const& address)
{
    std::uint32_t const p = address.partition();
    if (p >= zone.numPartitions || address.section() != 0 ||
        address.subzoneOffset() >= zone.numNszsPerPtn[p])
        return 0;
    if (address.subzoneOffset() + 1 < zone.numNszsPerPtn[p])
        return SUBZONE_ITEMS;
    return static_cast<std::uint32_t>((zone.numNodesPerPtn[p] - 1) & 255) + 1;
}

bool hasCellSubzone(ZoneMetadata const& zone, SubzoneAddress const& address)
{
    return address.partition() < zone.numPartitions &&
           address.section() < zone.numCszsPerSecPtn.size() &&
           address.subzoneOffset() < zone.numCszsPerSecPtn[address.section()][address.partition()];
}

/// Calls f(partition, section, subzone, location) for all cell subzones.
template <typename F>
void forEachCellSubzone(ZoneMetadata const& zone, F const& f)
{
    for (std::uint32_t p = 0; p < zone.numPartitions; ++p) {
        auto const& locs = zone.ptnMetadata[p].cszConnFileLocs;
        for (std::uint32_t s = 0; s < locs.size(); ++s)
            for (std::uint32_t n = 0; n < locs[s].size(); ++n)
                f(p, s, n, locs[s][n]);
    }
}

bool readCells(CheckedFile& file, ZoneMetadata const& zone, std::uint64_t loc, CheckedCells& cells)
{
    return file.reader.seekToFileLoc(loc) &&
           hdqio::readCszConnectivity(file.reader, file.description, zone, cells.partition,
                                      cells.section, cells.subzone, cells.record);
}

/// By partition and node subzone, the cell subzones that touch it.
using Touching = std::vector<std::vector<std::vector<SubzoneAddress>>>;

class Connectivity
{
public:
    Connectivity(CheckedFile& file, std::uint32_t z)
        : m_file(file), m_zone(file.zones[z].metadata), m_zoneIndex(z),
          m_touching(m_zone.numPartitions)
    {
        for (std::uint32_t p = 0; p < m_zone.numPartitions; ++p)
            m_touching[p].resize(m_zone.ptnMetadata[p].nszConnFileLocs.size());
    }

    void checkCells(CellsSink const& sink)
    {
        forEachCellSubzone(m_zone, [&](std::uint32_t p, std::uint32_t s, std::uint32_t n,
                                       std::uint64_t loc) {
            Place const place{"connectivity of a cell subzone",
                              m_zoneIndex,
                              p,
                              -1,
                              m_zone.isMixed() ? std::int64_t{s} : -1,
                              n};
            if (!isLocation(loc)) {
                m_file.faults.add(place, "It has no location.");
                return;
            }
            CheckedCells cells{p, s, n, {}};
            if (!m_file.attempt(place, loc, [&] { return readCells(m_file, m_zone, loc, cells); }))
                return;
            if (!checkReferences(place, loc, cells))
                return;
            sink(cells);
        });
    }

    void checkNodes()
    {
        for (std::uint32_t p = 0; p < m_zone.numPartitions; ++p) {
            auto const& locs = m_zone.ptnMetadata[p].nszConnFileLocs;
            for (std::uint32_t n = 0; n < locs.size(); ++n)
                checkNodeSubzone(p, n, locs[n]);
        }
    }

private:
    bool checkReferences(Place const& place, std::uint64_t loc, CheckedCells const& cells)
    {
        CszConnectivity const& record = cells.record;
        std::vector<std::uint32_t> sizes(record.numRefNszs);
        std::vector<bool> isUsed(record.numRefNszs);
        std::vector<SubzoneAddress> seen;
        for (std::uint32_t r = 0; r < record.numRefNszs; ++r) {
            sizes[r] = numNodesOf(m_zone, record.refNszs[r]);
            seen.push_back(record.refNszs[r]);
            if (sizes[r] == 0) {
                m_file.faults.add(place, loc,
                                  "It refers to the nodes of " + subzoneText(record.refNszs[r]) +
                                      ", which doesn't exist.");
                return false;
            }
        }
        std::sort(seen.begin(), seen.end());
        if (std::adjacent_find(seen.begin(), seen.end()) != seen.end())
            m_file.faults.add(place, loc, "It lists a node subzone twice.");
        std::size_t const numCorners = std::size_t{record.numCells} * record.numCornersPerCell;
        for (std::size_t i = 0; i < numCorners; ++i) {
            std::uint16_t const reference = record.refNszOffsets[i];
            isUsed[reference] = true;
            if (record.nszOffsets[i] >= sizes[reference]) {
                m_file.faults.add(place, loc,
                                  "It refers to node " + std::to_string(record.nszOffsets[i]) +
                                      " of " + subzoneText(record.refNszs[reference]) +
                                      ", which has " + std::to_string(sizes[reference]) + ".");
                return false;
            }
        }
        SubzoneAddress const own(cells.partition, cells.section, cells.subzone);
        for (std::uint32_t r = 0; r < record.numRefNszs; ++r) {
            if (!isUsed[r])
                m_file.faults.add(place, loc,
                                  "It lists " + subzoneText(record.refNszs[r]) +
                                      ", whose nodes none of its cells has.");
            else
                noteTouch(record.refNszs[r], own);
        }
        return true;
    }

    void noteTouch(SubzoneAddress const& nodes, SubzoneAddress const& cells)
    {
        auto& ofPartition = m_touching[nodes.partition()];
        if (nodes.subzoneOffset() < ofPartition.size())
            ofPartition[nodes.subzoneOffset()].push_back(cells);
    }

    void checkNodeSubzone(std::uint32_t p, std::uint32_t n, std::uint64_t loc)
    {
        Place const place{"connectivity of a node subzone", m_zoneIndex, p, -1, -1, n};
        if (!isLocation(loc)) {
            m_file.faults.add(place, "It has no location.");
            return;
        }
        PartitionMetadata const& header = m_zone.ptnMetadata[p];
        hdqio::NszConnectivity record;
        std::uint16_t const numRefs =
            n < header.nszNumRefCszs.size() ? header.nszNumRefCszs[n] : std::uint16_t{0};
        if (!m_file.attempt(place, loc, [&] {
                return m_file.reader.seekToFileLoc(loc) &&
                       hdqio::readNszConnectivity(m_file.reader, m_file.description, m_zone, p, n,
                                                  header.refPartitions, numRefs, record);
            }))
            return;
        std::vector<SubzoneAddress> told;
        for (std::uint32_t r = 0; r < record.numRefCszs; ++r) {
            if (!hasCellSubzone(m_zone, record.refCszs[r]))
                m_file.faults.add(place, loc,
                                  "It refers to the cells of " + subzoneText(record.refCszs[r]) +
                                      ", which doesn't exist.");
            told.push_back(record.refCszs[r]);
        }
        std::vector<SubzoneAddress>& real = m_touching[p][n];
        std::sort(real.begin(), real.end());
        std::sort(told.begin(), told.end());
        if (told != real)
            m_file.faults.add(place, loc,
                              "It lists " + std::to_string(told.size()) +
                                  " cell subzones, and the cells of " +
                                  std::to_string(real.size()) + " have its nodes" +
                                  (told.size() == real.size() ? ", other ones." : "."));
    }

    CheckedFile& m_file;
    ZoneMetadata const& m_zone;
    std::uint32_t m_zoneIndex;
    Touching m_touching;
};

}

bool hasConnectivity(CheckedFile const& file, std::uint32_t z)
{
    CheckedZone const& zone = file.zones[z];
    if (!zone.isRead || !zone.metadata.isHdqZone || zone.metadata.isOrdered())
        return false;
    for (std::uint32_t p = 0; p < zone.metadata.numPartitions; ++p)
        if (!zone.isPartitionRead[p] || (zone.metadata.ptnMetadata[p].cszConnFileLocs.isNull() &&
                                         zone.metadata.numNodesPerPtn[p] != 0))
            return false;
    return true;
}

bool checkConnectivity(CheckedFile& file, std::uint32_t z, CellsSink const& sink)
{
    std::uint64_t const before = file.faults.count();
    Connectivity connectivity(file, z);
    connectivity.checkCells(sink);
    // What can't be read of the cells would be missed at every node.
    if (file.faults.count() == before)
        connectivity.checkNodes();
    return file.faults.count() == before;
}

bool walkConnectivity(CheckedFile& file, std::uint32_t z, CellsSink const& sink)
{
    ZoneMetadata const& zone = file.zones[z].metadata;
    bool succeeded = true;
    file.reader.unwatch();
    forEachCellSubzone(zone,
                       [&](std::uint32_t p, std::uint32_t s, std::uint32_t n, std::uint64_t loc) {
                           CheckedCells cells{p, s, n, {}};
                           succeeded = succeeded && readCells(file, zone, loc, cells);
                           if (succeeded)
                               sink(cells);
                       });
    return succeeded;
}

struct MeshRanges::Impl
{
    Impl(CheckedFile& checkedFile, std::uint32_t zone, ZoneCrossRanges const& crossRanges)
        : file(checkedFile), zoneIndex(zone), metadata(checkedFile.zones[zone].metadata),
          cross(crossRanges), values(checkedFile, zone), nodeRanges(crossRanges.size())
    {
        for (std::uint32_t v = 0; v < cross.size(); ++v)
            if (isComplete(v) && !file.isNodal(zone, v)) {
                nodeRanges[v].resize(metadata.numPartitions);
                for (std::uint32_t p = 0; p < metadata.numPartitions; ++p)
                    nodeRanges[v][p].resize(metadata.numNszsPerPtn[p]);
            }
    }

    /// A variable of which all partitions have been read.
    bool isComplete(std::uint32_t v) const
    {
        return std::all_of(cross[v].begin(), cross[v].end(),
                           [](CrossRanges const& ranges) { return ranges.isRead; });
    }

    void checkRange(Place place, std::uint32_t v, MinMax const& told, MinMax const& real)
    {
        place.zone = zoneIndex;
        place.var = v;
        if (!isSame(told, real))
            file.faults.add(place, "It is told as " + textOf(told) + ", and the values are " +
                                       textOf(real) + ".");
    }

    /// Which nodes a cell subzone has, for all variables.
    void findNodes(CszConnectivity const& record)
    {
        isUsed.assign(record.numRefNszs, {});
        std::size_t const numCorners = std::size_t{record.numCells} * record.numCornersPerCell;
        for (std::size_t i = 0; i < numCorners; ++i)
            isUsed[record.refNszOffsets[i]].set(record.nszOffsets[i]);
        nodeItems.clear();
        ends.clear();
        for (auto const& ofSubzone : isUsed) {
            for (std::uint32_t item = 0; item < SUBZONE_ITEMS; ++item)
                if (ofSubzone[item])
                    nodeItems.push_back(static_cast<std::uint8_t>(item));
            ends.push_back(nodeItems.size());
        }
    }

    void takeNodal(std::uint32_t v, CheckedCells const& cells)
    {
        CszConnectivity const& record = cells.record;
        GrowingRange real;
        std::size_t i = 0;
        for (std::uint32_t r = 0; r < record.numRefNszs; ++r) {
            std::vector<double> const& at = values.values(v, record.refNszs[r].partition(), 0,
                                                          record.refNszs[r].subzoneOffset());
            for (; i < ends[r]; ++i)
                real.add(at.at(nodeItems[i]));
        }
        checkRange({"range of a cell subzone", -1, cells.partition, -1,
                    metadata.isMixed() ? std::int64_t{cells.section} : -1, cells.subzone},
                   v, cross[v][cells.partition].ranges.at(cells.section).at(cells.subzone),
                   real.range());
    }

    void takeCellCentred(std::uint32_t v, CheckedCells const& cells)
    {
        CszConnectivity const& record = cells.record;
        std::vector<double> const& at =
            values.values(v, cells.partition, cells.section, cells.subzone);
        for (std::size_t c = 0; c < record.numCells; ++c)
            for (std::size_t k = 0; k < record.numCornersPerCell; ++k) {
                SubzoneAddress const& nodes =
                    record.refNszs[record.refNszOffsets[c * record.numCornersPerCell + k]];
                nodeRanges[v][nodes.partition()].at(nodes.subzoneOffset()).add(at.at(c));
            }
    }

    CheckedFile& file;
    std::uint32_t zoneIndex;
    ZoneMetadata const& metadata;
    ZoneCrossRanges const& cross;
    SubzoneValues values;
    /// Of cell-centred variables, by partition, then node subzone.
    std::vector<std::vector<std::vector<GrowingRange>>> nodeRanges;
    /// The nodes of the present cell subzone, each once: their items, one node subzone behind the
    /// other, and where those of each end.
    std::vector<std::uint8_t> nodeItems;
    std::vector<std::size_t> ends;
    std::vector<std::bitset<SUBZONE_ITEMS>> isUsed; ///< Kept for its memory alone.
};

MeshRanges::MeshRanges(CheckedFile& file, std::uint32_t zone, ZoneCrossRanges const& cross)
    : m_impl(std::make_unique<Impl>(file, zone, cross))
{
}

MeshRanges::~MeshRanges() = default;

bool MeshRanges::isEmpty() const
{
    for (std::uint32_t v = 0; v < m_impl->cross.size(); ++v)
        if (m_impl->isComplete(v))
            return false;
    return true;
}

void MeshRanges::take(CheckedCells const& cells)
{
    for (std::uint32_t r = 0; r < cells.record.numRefNszs; ++r)
        if (numNodesOf(m_impl->metadata, cells.record.refNszs[r]) == 0)
            throw std::runtime_error("The connectivity refers to the nodes of " +
                                     subzoneText(cells.record.refNszs[r]) +
                                     ", which doesn't exist.");
    m_impl->findNodes(cells.record);
    for (std::uint32_t v = 0; v < m_impl->cross.size(); ++v) {
        if (!m_impl->isComplete(v))
            continue;
        if (m_impl->file.isNodal(m_impl->zoneIndex, v))
            m_impl->takeNodal(v, cells);
        else
            m_impl->takeCellCentred(v, cells);
    }
}

void MeshRanges::finish()
{
    for (std::uint32_t v = 0; v < m_impl->nodeRanges.size(); ++v)
        for (std::uint32_t p = 0; p < m_impl->nodeRanges[v].size(); ++p)
            for (std::size_t n = 0; n < m_impl->nodeRanges[v][p].size(); ++n) {
                // What stands for the nodes of no cell means nothing.
                GrowingRange const& real = m_impl->nodeRanges[v][p][n];
                if (!real.isEmpty())
                    m_impl->checkRange(
                        {"range of a node subzone", -1, p, -1, -1, static_cast<std::int64_t>(n)}, v,
                        m_impl->cross[v][p].ranges.at(0).at(n), real.range());
            }
}

}
