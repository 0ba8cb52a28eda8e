#include "tests/filedata/MeshBuilder.h"

#include "tests/filedata/ConnectivityBuilder.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace varnox::hdqio::tests {

namespace {

using Tag = FileBuilder::Tag;

std::size_t runs(std::size_t items)
{
    return (items + 255) / 256;
}

/// Writes the records of one partition and the arrays that lead to them.
class PartitionBuilder
{
public:
    PartitionBuilder(FileBuilder& file, std::uint32_t version, bool isMixed,
                     std::vector<MeshPartition> const& mesh, std::uint32_t partition)
        : m_file(file), m_version(version), m_isMixed(isMixed), m_mesh(mesh), m_partition(partition)
    {
        for (std::uint32_t p = 0; p < mesh.size(); ++p)
            m_list.push_back(p);
        std::rotate(m_list.begin(), m_list.begin() + 1, m_list.end()); // places aren't numbers
    }

    std::vector<Tag> tags()
    {
        addCells();
        addNodes();
        if (m_mesh.size() > 1) {
            m_tags.push_back({1283, "numRefPartitions", m_list.size()});
            addArrays<std::uint32_t>(1284, "refPartitions", {m_list});
            addArrays<std::uint8_t, true>(1287, "cszInclPtnBitArray", m_cellBits);
            addArrays<std::uint8_t, true>(1288, "nszInclPtnBitArray", {m_nodeBits});
        }
        return m_tags;
    }

private:
    template <typename T, bool hex = false>
    void addArrays(std::uint16_t tag, char const* word, std::vector<std::vector<T>> const& arrays)
    {
        m_tags.push_back({tag, word, m_file.loc()});
        for (auto const& values : arrays)
            m_file.array<T, hex>(word, values);
    }

    std::uint16_t placeOf(std::uint32_t partition) const
    {
        return static_cast<std::uint16_t>(std::find(m_list.begin(), m_list.end(), partition) -
                                          m_list.begin());
    }

    /// Sets a subzone's bit if it refers to others; the length of its list of partitions.
    std::size_t setBit(std::vector<std::uint8_t>& bits, std::size_t subzone, bool refersToOthers)
    {
        bits.resize(std::max(bits.size(), subzone / 8 + 1));
        if (!refersToOthers)
            return 0;
        bits[subzone / 8] = static_cast<std::uint8_t>(bits[subzone / 8] | 1U << subzone % 8);
        return m_list.size();
    }

    std::uint64_t cellSubzone(std::size_t section, std::size_t subzone, std::uint16_t& count)
    {
        auto const& cells = m_mesh[m_partition].cells[section];
        std::vector<std::pair<std::uint32_t, std::uint32_t>> found;
        CellRecord record;
        bool refersToOthers = false;
        for (std::size_t c = subzone * 256; c < std::min(cells.size(), subzone * 256 + 256); ++c) {
            for (MeshNode const& node : cells[c]) {
                std::pair<std::uint32_t, std::uint32_t> const key{node.partition, node.node / 256};
                auto const place = std::find(found.begin(), found.end(), key);
                record.refNumbers.push_back(static_cast<std::uint16_t>(place - found.begin()));
                record.nszOffsets.push_back(static_cast<std::uint8_t>(node.node % 256));
                if (place == found.end())
                    found.push_back(key);
                refersToOthers = refersToOthers || node.partition != m_partition;
            }
        }
        for (auto const& [partition, number] : found)
            record.refs.push_back({number, placeOf(partition)});
        record.numPartitions = setBit(m_cellBits[section], subzone, refersToOthers);
        count = static_cast<std::uint16_t>(found.size());
        return cellRecord(m_file, m_version, record);
    }

    void addCells()
    {
        auto const& sections = m_mesh[m_partition].cells;
        std::vector<std::vector<std::uint64_t>> locs(sections.size());
        std::vector<std::vector<std::uint16_t>> counts(sections.size());
        m_cellBits.resize(sections.size());
        for (std::size_t s = 0; s < sections.size(); ++s) {
            for (std::size_t z = 0; z < runs(sections[s].size()); ++z) {
                counts[s].push_back(0);
                locs[s].push_back(cellSubzone(s, z, counts[s].back()));
            }
        }
        addArrays<std::uint64_t, true>(1281, "cszConnFileLocs", locs);
        if (m_version > 104)
            addArrays<std::uint16_t>(1285, "cszNumRefNszs", counts);
    }

    std::uint64_t nodeSubzone(std::uint32_t subzone, std::uint16_t& count)
    {
        std::set<std::tuple<std::uint32_t, std::uint8_t, std::uint32_t>> found;
        for (std::uint32_t p = 0; p < m_mesh.size(); ++p)
            for (std::size_t s = 0; s < m_mesh[p].cells.size(); ++s)
                for (std::size_t c = 0; c < m_mesh[p].cells[s].size(); ++c)
                    for (MeshNode const& node : m_mesh[p].cells[s][c])
                        if (node.partition == m_partition && node.node / 256 == subzone)
                            found.emplace(p, static_cast<std::uint8_t>(s),
                                          static_cast<std::uint32_t>(c / 256));
        NodeRecord record;
        record.withSections = m_isMixed && m_version > 105;
        bool refersToOthers = false;
        for (auto const& [partition, section, number] : found) {
            record.refs.push_back({number, placeOf(partition), section});
            refersToOthers = refersToOthers || partition != m_partition;
        }
        record.numPartitions = setBit(m_nodeBits, subzone, refersToOthers);
        count = static_cast<std::uint16_t>(found.size());
        return nodeRecord(m_file, m_version, record);
    }

    void addNodes()
    {
        std::vector<std::uint64_t> locs;
        std::vector<std::uint16_t> counts;
        for (std::uint32_t z = 0; z < runs(m_mesh[m_partition].numNodes); ++z) {
            counts.push_back(0);
            locs.push_back(nodeSubzone(z, counts.back()));
        }
        addArrays<std::uint64_t, true>(1280, "nszConnFileLocs", {locs});
        if (m_version > 104)
            addArrays<std::uint16_t>(1286, "nszNumRefCszs", {counts});
    }

    FileBuilder& m_file;
    std::uint32_t m_version;
    bool m_isMixed;
    std::vector<MeshPartition> const& m_mesh;
    std::uint32_t m_partition;
    std::vector<std::uint32_t> m_list; ///< Of all partitions.
    std::vector<std::vector<std::uint8_t>> m_cellBits;
    std::vector<std::uint8_t> m_nodeBits;
    std::vector<Tag> m_tags;
};

template <typename T>
std::vector<Tag> countTags(FileBuilder& file, std::vector<MeshPartition> const& mesh)
{
    std::vector<Tag> tags{{1795, "partitionNumCells", file.loc()}};
    for (std::size_t s = 0; s < mesh[0].cells.size(); ++s) {
        std::vector<T> counts;
        for (MeshPartition const& partition : mesh)
            counts.push_back(static_cast<T>(partition.cells[s].size()));
        file.array<T>("partitionNumCells", counts);
    }
    std::vector<T> nodes;
    for (MeshPartition const& partition : mesh)
        nodes.push_back(static_cast<T>(partition.numNodes));
    tags.push_back({1796, "partitionNumNodes", file.array<T>("partitionNumNodes", nodes)});
    return tags;
}

/// Partition headers, for files of no more than one variable, and the tags that lead to them.
std::vector<Tag> partitionedTags(FileBuilder& file, std::uint32_t version, bool isMixed,
                                 std::vector<MeshPartition> const& mesh)
{
    std::vector<std::uint64_t> locs;
    for (std::uint32_t p = 0; p < mesh.size(); ++p) {
        std::vector<Tag> tags = PartitionBuilder(file, version, isMixed, mesh, p).tags();
        tags.push_back(
            {1536, "varFileLocs", file.array<std::uint64_t, true>("varFileLocs", {ALL_ONES})});
        locs.push_back(file.marker("partitionMarker*", 0x15161718));
        file.marker("partitionNum*", p + 1);
        file.tagList(tags);
    }
    std::vector<Tag> result =
        version < 232 ? countTags<std::uint32_t>(file, mesh) : countTags<std::int64_t>(file, mesh);
    result.push_back({1793, "partitionFileNums",
                      file.array<std::uint32_t>("partitionFileNums",
                                                std::vector<std::uint32_t>(mesh.size(), 0))});
    result.push_back(
        {1794, "partitionFileLocs", file.array<std::uint64_t, true>("partitionFileLocs", locs)});
    result.push_back({1797, "partitionMinMaxes", 1 << 20});
    return result;
}

}

ZoneSpec meshZone(char letter, std::uint32_t version, std::vector<MeshPartition> const& mesh,
                  std::vector<SectionSpec> sections)
{
    ZoneSpec zone;
    zone.letter = letter;
    zone.i = 0;
    zone.j = 0;
    zone.k = 0;
    for (MeshPartition const& partition : mesh) {
        zone.i += partition.numNodes;
        for (std::size_t s = 0; s < partition.cells.size(); ++s) {
            zone.j += partition.cells[s].size();
            if (s < sections.size())
                sections[s].numElems += static_cast<std::int64_t>(partition.cells[s].size());
        }
    }
    zone.sections = sections;
    if (mesh.size() > 1)
        zone.partitions.resize(mesh.size());
    bool const isMixed = letter == 'M';
    zone.makeMesh = [=](FileBuilder& file) {
        return mesh.size() == 1 ? PartitionBuilder(file, version, isMixed, mesh, 0).tags()
                                : partitionedTags(file, version, isMixed, mesh);
    };
    return zone;
}

}
