#include "addons/hdqfs/Loading.h"

#include "addons/hdqfs/BoxReader.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <vector>

namespace varnox::hdqfsloader {

using hdqio::ZoneMetadata;

namespace {

using Box = SubzoneLayout::Box;

/// Sends the values of one variable of one zone, piece after piece.
class ValueSender
{
public:
    ValueSender(DataSet& dataSet, DataSet::VariableInFile const& variable, FieldData_s* handle)
        : m_file(*variable.file), m_zone(variable.zone), m_var(variable.var), m_handle(handle),
          m_reader(dataSet.descriptors()),
          m_valueSize(valueSize(m_file.valueType(variable.zone, variable.var))),
          m_largestCount(LARGEST_PIECE / m_valueSize)
    {
    }

    void send()
    {
        ZoneMetadata const& zone = m_file.zone(m_zone);
        if (!zone.isHdqZone) {
            ValueArray const array = m_file.plainValues(m_zone, m_var);
            requireValues();
            sendRun(array, 0, array.numValues, 0);
            return;
        }
        requireValues();
        if (zone.isOrdered()) {
            sendBricks(zone);
        } else {
            sendSections(zone);
        }
    }

private:
    /// As many as will be read. The partitions of finite elements may have other cells than the zone.
    std::uint64_t numValues()
    {
        ZoneMetadata const& zone = m_file.zone(m_zone);
        if (!zone.isHdqZone || zone.isOrdered())
            return m_file.numValues(m_zone, m_var);
        Items const items = m_file.isNodal(m_zone, m_var) ? Items::Nodes : Items::Cells;
        std::uint64_t result = 0;
        for (std::uint32_t partition = 0; partition < zone.numPartitions; ++partition)
            result += m_file.layout(m_zone, partition, items).numItems();
        return result;
    }

    /// Partitions that lie on each other, or leave out a part of the zone, would let a small file
    /// fill the connection for ever.
    void requireValues()
    {
        std::uint64_t const count = numValues();
        if (!m_reader.canBeHeld({&m_file.path(), 0, count, m_var, m_file.valueType(m_zone, m_var),
                                 m_file.description().isAscii() != 0}))
            throw std::runtime_error(m_file.path() + " is too short for the " +
                                     std::to_string(count) + " values of variable " +
                                     std::to_string(m_var + 1) + " in zone " +
                                     std::to_string(m_zone + 1) + ".");
    }

    /// Values of an array, whose place among all values of the zone is target.
    void sendRun(ValueArray const& array, std::uint64_t first, std::uint64_t count,
                 std::uint64_t target)
    {
        for (std::uint64_t done = 0; done < count;) {
            std::uint64_t const piece = std::min<std::uint64_t>(count - done, m_largestCount);
            m_buffer.resize(static_cast<std::size_t>(piece) * m_valueSize);
            m_reader.readNative(array, first + done, piece, m_buffer.data());
            push(target + done, piece);
            done += piece;
        }
    }

    void push(std::uint64_t target, std::uint64_t count)
    {
        VnxUtilDataValueArraySetByRef(m_handle, static_cast<long>(target) + 1,
                                      static_cast<long>(count), m_buffer.data());
    }

    /// Finite elements: section after section, in each partition after partition.
    void sendSections(ZoneMetadata const& zone)
    {
        Items const items = m_file.isNodal(m_zone, m_var) ? Items::Nodes : Items::Cells;
        std::uint32_t const numSections =
            zone.numPartitions == 0 ? 0 : m_file.layout(m_zone, 0, items).numSections();
        std::uint64_t target = 0;
        for (std::uint32_t section = 0; section < numSections; ++section) {
            for (std::uint32_t partition = 0; partition < zone.numPartitions; ++partition) {
                SubzoneLayout const& layout = m_file.layout(m_zone, partition, items);
                std::uint64_t const count = layout.numItems(section);
                if (count == 0)
                    continue;
                ValueArray const array = m_file.values(m_zone, m_var, partition);
                sendRun(array, layout.run(section, 0).firstItem, count, target);
                target += count;
            }
        }
    }

    /// Ordered zones: the bricks of all partitions, put into the order of the zone, I fastest.
    void sendBricks(ZoneMetadata const& zone)
    {
        bool const isNodal = m_file.isNodal(m_zone, m_var);
        std::array<std::uint64_t, 3> size{};
        std::array<std::int64_t, 3> const nodes{zone.ijk.i, zone.ijk.j, zone.ijk.k};
        for (std::size_t axis = 0; axis < 3; ++axis)
            size[axis] =
                static_cast<std::uint64_t>(isNodal ? nodes[axis] : numCellsAlong(nodes[axis]));
        if (std::find(size.begin(), size.end(), 0U) != size.end())
            return; // a damaged file may have very many lines of nothing
        // Whole layers if one fits into a piece, else whole lines, else parts of a line.
        std::array<std::uint64_t, 3> step{std::min<std::uint64_t>(size[0], m_largestCount), 1, 1};
        if (size[0] <= m_largestCount)
            step[1] = std::min<std::uint64_t>(size[1], m_largestCount / size[0]);
        if (size[0] <= m_largestCount && step[1] == size[1])
            step[2] = std::min<std::uint64_t>(size[2], m_largestCount / (size[0] * size[1]));
        for (std::uint64_t k = 0; k < size[2]; k += step[2])
            for (std::uint64_t j = 0; j < size[1]; j += step[1])
                for (std::uint64_t i = 0; i < size[0]; i += step[0])
                    sendBox(zone,
                            {{i, j, k},
                             {std::min(size[0], i + step[0]), std::min(size[1], j + step[1]),
                              std::min(size[2], k + step[2])}},
                            (k * size[1] + j) * size[0] + i);
    }

    /// A box whose values stand together in the order of the zone.
    void sendBox(ZoneMetadata const& zone, Box const& box, std::uint64_t target)
    {
        Items const items = m_file.isNodal(m_zone, m_var) ? Items::Nodes : Items::Cells;
        m_buffer.assign(static_cast<std::size_t>(box.numItems()) * m_valueSize, 0);
        for (std::uint32_t partition = 0; partition < zone.numPartitions; ++partition) {
            auto const& low = zone.ptnMinIJK[partition];
            ValueArray const array = m_file.values(m_zone, m_var, partition);
            BoxReader reader(m_reader, array, m_file.layout(m_zone, partition, items),
                             {static_cast<std::uint64_t>(low.i), static_cast<std::uint64_t>(low.j),
                              static_cast<std::uint64_t>(low.k)});
            reader.read(box, m_buffer.data());
        }
        push(target, box.numItems());
    }

    DataFile& m_file;
    std::uint32_t m_zone;
    std::uint32_t m_var;
    FieldData_s* m_handle;
    ValueReader m_reader;
    std::size_t m_valueSize;
    std::size_t m_largestCount;
    std::vector<unsigned char> m_buffer;
};

/// A node number of a file, which counts from 0 in the binary form and from 1 in the text form, as
/// one that counts from 1.
int nodeNumber(std::uint32_t node, ValueArray const& map, std::uint64_t numNodes)
{
    std::uint64_t const number = std::uint64_t{node} + (map.isAscii ? 0 : 1);
    if (number < 1 || number > numNodes || number > std::numeric_limits<int>::max())
        throw std::runtime_error("The node map of zone " + std::to_string(map.index + 1) + " in " +
                                 *map.path + " names node " + std::to_string(number) +
                                 ", which the zone doesn't have.");
    return static_cast<int>(number);
}

}

void sendValues(DataSet& dataSet, std::uint32_t zone, std::uint32_t var, FieldData_s* handle)
{
    ValueSender(dataSet, dataSet.values(zone, var), handle).send();
}

void sendNodeMap(DataSet& dataSet, std::uint32_t zone, ElemToNodeMap* handle)
{
    DataSet::ZoneInFile const grid = dataSet.grid(zone);
    ZoneMetadata const& metadata = grid.file->zone(grid.zone);
    ValueArray const map = grid.file->nodeMap(grid.zone);
    auto const numNodes = static_cast<std::uint64_t>(metadata.ijk.i);
    ValueReader reader(dataSet.descriptors());
    std::vector<std::uint32_t> fromFile;
    std::vector<int> nodes;
    std::uint64_t first = 0;
    for (std::uint32_t section = 0; section < metadata.numSections; ++section) {
        std::uint64_t const count =
            static_cast<std::uint64_t>(metadata.numElemsPerSection[section]) *
            metadata.numNodesPerCellPerSection[section];
        for (std::uint64_t done = 0; done < count;) {
            std::uint64_t const piece =
                std::min<std::uint64_t>(count - done, LARGEST_PIECE / sizeof(int));
            fromFile.resize(static_cast<std::size_t>(piece));
            reader.readNative(map, first + done, piece, fromFile.data());
            nodes.clear();
            for (std::uint32_t const node : fromFile)
                nodes.push_back(nodeNumber(node, map, numNodes));
            auto const offset = static_cast<long>(done) + 1;
            if (metadata.isMixed())
                VnxUtilDataNodeSectionArraySetByRef(handle, static_cast<int>(section) + 1, offset,
                                                    static_cast<long>(piece), nodes.data());
            else
                VnxUtilDataNodeArraySetByRef(handle, offset, static_cast<long>(piece),
                                             nodes.data());
            done += piece;
        }
        first += count;
    }
}

}
