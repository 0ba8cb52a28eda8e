#include "tools/vnxinfo/MeshCheck.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace varnox::tools {

using hdqio::CszConnectivity;
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

void requireNodes(ZoneMetadata const& zone, SubzoneAddress const& nodes, std::uint32_t count)
{
    std::uint32_t const size = numNodesOf(zone, nodes);
    if (size == 0)
        throw std::runtime_error("The connectivity refers to the nodes of " + subzoneText(nodes) +
                                 ", which doesn't exist.");
    if (count > size)
        throw std::runtime_error("The connectivity refers to node " + std::to_string(count - 1) +
                                 " of " + subzoneText(nodes) + ", which has " +
                                 std::to_string(size) + ".");
}

}
