#include "writer/OrderedPartitions.h"

#include "filedata/ZoneHeader.h"
#include "writer/SourceAnswers.h"
#include "writer/SubzoneRanges.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <algorithm>
#include <cstring>

namespace varnox::hdqfswriter {

namespace {

Box whole(Zone const& zone)
{
    return {{0, 0, 0}, zone.size};
}

Box nodesOf(Zone const& zone, std::uint32_t partition)
{
    return zone.partitions.empty() ? whole(zone) : zone.partitions[partition].nodes;
}

hdqio::IJK sizeOf(Box const& box)
{
    auto const along = [&](std::size_t axis) {
        return static_cast<std::int64_t>(box.extent(axis));
    };
    return {along(0), along(1), along(2), along(0) * along(1)};
}

Bricks bricksOf(Box const& items, Options const& options, std::uint32_t partition, bool isPartition)
{
    auto const& limit = options.subzoneSize;
    return Bricks(items, hdqio::IJKSubzoneInfo(
                             sizeOf(items),
                             {limit[0], limit[1], limit[2], std::int64_t{limit[0]} * limit[1]},
                             partition, isPartition));
}

/// The nodes of a box of cells.
Box nodesOfCells(Box cells, std::array<std::uint64_t, 3> const& zoneSize)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (cells.extent(axis) != 0)
            cells.end[axis] = std::min(cells.end[axis] + 1, zoneSize[axis]);
    return cells;
}

/// The cells at a box of nodes.
Box cellsAtNodes(Box nodes, std::array<std::uint64_t, 3> const& zoneSize)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (nodes.extent(axis) == 0)
            continue;
        nodes.begin[axis] -= nodes.begin[axis] != 0;
        nodes.end[axis] = std::min(nodes.end[axis], numCellsAlong(zoneSize[axis]));
    }
    return nodes;
}

/// What holds both; the first may be empty.
Box around(Box const& a, Box const& b)
{
    if (a.numItems() == 0)
        return b;
    if (b.numItems() == 0)
        return a;
    Box result{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.begin[axis] = std::min(a.begin[axis], b.begin[axis]);
        result.end[axis] = std::max(a.end[axis], b.end[axis]);
    }
    return result;
}

/// Values of a box, I fastest.
template <typename T>
struct BoxOfValues
{
    Box box;
    T const* values;

    T const* line(std::uint64_t i, std::uint64_t j, std::uint64_t k) const
    {
        return values + ((k - box.begin[2]) * box.extent(1) + j - box.begin[1]) * box.extent(0) +
               i - box.begin[0];
    }

    template <typename F>
    void eachLine(Box const& part, F&& f) const
    {
        auto const length = static_cast<std::size_t>(part.extent(0));
        if (length == 0)
            return;
        for (std::uint64_t k = part.begin[2]; k < part.end[2]; ++k)
            for (std::uint64_t j = part.begin[1]; j < part.end[1]; ++j)
                f(line(part.begin[0], j, k), length);
    }
};

/// The ranges of the values in a box for each brick, a row of bricks at a time: lines are gathered
/// over their whole length, which the compiler turns into vector instructions, and cut then.
template <typename T, typename BoxOfBrick>
class BrickRanges
{
public:
    BrickRanges(Bricks const& bricks, BoxOfValues<T> const& values, BoxOfBrick const& boxOfBrick)
        : m_bricks(bricks), m_values(values), m_boxOfBrick(boxOfBrick),
          m_ranges(static_cast<std::size_t>(bricks.count()), emptyRange<T>()),
          m_low(static_cast<std::size_t>(values.box.extent(0))), m_high(m_low.size())
    {
    }

    /// Nothing where there is no such row.
    void addRow(std::uint64_t j, std::uint64_t k)
    {
        if (j >= m_bricks.countAlong(1) || k >= m_bricks.countAlong(2))
            return;
        std::uint64_t const first = m_values.box.begin[0];
        std::fill(m_low.begin(), m_low.end(), emptyRange<T>().first);
        std::fill(m_high.begin(), m_high.end(), emptyRange<T>().second);
        Box row = m_boxOfBrick(m_bricks.brick(0, j, k));
        row.begin[0] = first;
        row.end[0] = m_values.box.end[0];
        m_values.eachLine(row, [&](T const* line, std::size_t) {
            extendEach(m_low.data(), m_high.data(), line, m_low.size());
        });
        Range<T>* range = &m_ranges[(k * m_bricks.countAlong(1) + j) * m_bricks.countAlong(0)];
        for (std::uint64_t i = 0; i < m_bricks.countAlong(0); ++i, ++range) {
            Box const box = m_boxOfBrick(m_bricks.brick(i, j, k));
            for (std::uint64_t at = box.begin[0] - first; at < box.end[0] - first; ++at)
                extend(*range, Range<T>{m_low[at], m_high[at]});
        }
    }

    std::vector<Range<T>> const& ranges() const { return m_ranges; }

private:
    Bricks const& m_bricks;
    BoxOfValues<T> const& m_values;
    BoxOfBrick const& m_boxOfBrick;
    std::vector<Range<T>> m_ranges;
    std::vector<T> m_low;
    std::vector<T> m_high;
};

/// For the few values of a line in a brick, where a call would cost more than the copy.
template <typename T>
void copyShort(T const* from, T* to, std::size_t count)
{
    constexpr std::size_t STEP = 4;
    for (; count >= STEP; count -= STEP, from += STEP, to += STEP)
        std::memcpy(to, from, STEP * sizeof(T));
    for (; count != 0; --count)
        *to++ = *from++;
}

/// Writes the values brick after brick, a row of bricks at a time.
template <typename T>
class BrickValues
{
public:
    BrickValues(BlockWriter& blocks, Bricks const& bricks, BoxOfValues<T> const& values,
                std::uint64_t numItems)
        : m_blocks(blocks), m_bricks(bricks), m_values(values),
          m_pieceSize(blocks.isAscii() ? static_cast<std::size_t>(numItems) : PIECE),
          m_piece(m_pieceSize + LARGEST_BRICK), m_next(m_piece.data())
    {
    }

    /// Nothing where there is no such row.
    void addRow(std::uint64_t j, std::uint64_t k)
    {
        if (j >= m_bricks.countAlong(1) || k >= m_bricks.countAlong(2))
            return;
        for (std::uint64_t i = 0; i < m_bricks.countAlong(0); ++i) {
            m_values.eachLine(m_bricks.brick(i, j, k), [&](T const* line, std::size_t size) {
                copyShort(line, m_next, size);
                m_next += size;
            });
            if (!m_blocks.isAscii() && numReady() >= m_pieceSize)
                writePiece();
        }
    }

    void finish(hdqio::IODescription const& label)
    {
        if (m_blocks.isAscii())
            m_blocks.array<T>(label, numReady(), m_piece.data());
        else
            writePiece();
    }

private:
    // A binary array is its bytes, which can go out piece by piece; text is laid out at once.
    static constexpr std::size_t PIECE = (std::size_t{1} << 20) / sizeof(T);
    static constexpr std::size_t LARGEST_BRICK = 256;

    std::size_t numReady() { return static_cast<std::size_t>(m_next - m_piece.data()); }
    void writePiece()
    {
        m_blocks.raw(m_piece.data(), numReady() * sizeof(T));
        m_next = m_piece.data();
    }

    BlockWriter& m_blocks;
    Bricks const& m_bricks;
    BoxOfValues<T> const& m_values;
    std::size_t m_pieceSize;
    Buffer<T> m_piece;
    T* m_next;
};

/// The rows of bricks that nodes and cells have, one behind the other.
template <typename F>
void eachRow(Bricks const& a, Bricks const& b, F const& f)
{
    for (std::uint64_t k = 0; k < std::max(a.countAlong(2), b.countAlong(2)); ++k)
        for (std::uint64_t j = 0; j < std::max(a.countAlong(1), b.countAlong(1)); ++j)
            f(j, k);
}

}

// Index i of the items lies in brick (i + shift) / limit: the first brick is short by the shift,
// and where an axis is shorter than its shift a brick holds nothing.
Bricks::Bricks(Box const& items, hdqio::IJKSubzoneInfo const& info)
{
    std::array<std::int64_t, 3> const limits{info.maxSubzoneDims.i, info.maxSubzoneDims.j,
                                             info.maxSubzoneDims.k};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_boundaries[axis].clear();
        for (std::uint64_t brick = 0; brick <= info.numSubzones[axis]; ++brick) {
            std::uint64_t const shifted = brick * static_cast<std::uint64_t>(limits[axis]);
            std::uint64_t const shift = info.subzoneOffset[axis];
            std::uint64_t const inside = shifted > shift ? shifted - shift : 0;
            m_boundaries[axis].push_back(items.begin[axis] + std::min(inside, items.extent(axis)));
        }
    }
}

OrderedPartitions::OrderedPartitions(FilePlan const& plan, BlockWriter& blocks,
                                     std::size_t zoneIndex)
    : m_plan(plan), m_blocks(blocks), m_zoneIndex(zoneIndex), m_zone(plan.zone(zoneIndex))
{
}

void OrderedPartitions::begin(std::uint32_t partition)
{
    bool const isPartition = numPartitions(m_zone) > 1;
    m_nodes = nodesOf(m_zone, partition);
    m_cells = cellsOf(m_nodes, m_zone.size);
    m_nodeBricks = bricksOf(m_nodes, m_plan.options, partition, isPartition);
    m_cellBricks = bricksOf(m_cells, m_plan.options, partition, isPartition);
}

VariableBlock OrderedPartitions::writeVariable(std::uint32_t varIndex, std::uint32_t variable)
{
    return withType(m_zone.variables[variable].type,
                    [&](auto value) { return writeValues<decltype(value)>(varIndex, variable); });
}

// A variable's block:
//   pairs  ranges of the node subzones
//   pairs  ranges of the cell subzones
//   values subzone after subzone

template <typename T>
VariableBlock OrderedPartitions::writeValues(std::uint32_t varIndex, std::uint32_t variable)
{
    bool const isNodal = m_zone.variables[variable].location == ValueLocation::Nodes;
    auto const own = [](Box const& box) { return box; };
    auto const neighbors = [&](Box const& box) {
        return isNodal ? nodesOfCells(box, m_zone.size) : cellsAtNodes(box, m_zone.size);
    };
    Box const& items = isNodal ? m_nodes : m_cells;
    Box const needed = around(items, neighbors(isNodal ? m_cells : m_nodes));
    Buffer<T> buffer(needed.numItems());
    auto const* const given = answered<T>(
        m_zone, "values", buffer.size(), m_zone.source->boxValues(needed, variable, buffer.data()));
    BoxOfValues<T> const values{needed, given};

    Bricks const& ownBricks = isNodal ? m_nodeBricks : m_cellBricks;
    Bricks const& otherBricks = isNodal ? m_cellBricks : m_nodeBricks;
    BrickRanges ownRanges(ownBricks, values, own);
    BrickRanges otherRanges(otherBricks, values, neighbors);
    BrickValues<T> ordered(m_blocks, ownBricks, values, items.numItems());
    auto const& nodeRanges = isNodal ? ownRanges.ranges() : otherRanges.ranges();
    auto const& cellRanges = isNodal ? otherRanges.ranges() : ownRanges.ranges();
    auto const index = static_cast<std::int32_t>(varIndex);
    hdqio::IODescription const label{"values", index};
    std::uint64_t const start = m_blocks.loc();
    if (m_blocks.isAscii()) {
        eachRow(ownBricks, otherBricks, [&](std::uint64_t j, std::uint64_t k) {
            ownRanges.addRow(j, k);
            otherRanges.addRow(j, k);
        });
        writeRanges(m_blocks, {"nszMinMaxes", index}, nodeRanges);
        writeRanges(m_blocks, {"cszMinMaxes", index}, cellRanges);
        eachRow(ownBricks, otherBricks,
                [&](std::uint64_t j, std::uint64_t k) { ordered.addRow(j, k); });
        ordered.finish(label);
    } else {
        // All that is done with a row is done while it is in the cache; the ranges ahead of the
        // values follow when they are known.
        std::uint64_t const numRanges = nodeRanges.size() + cellRanges.size();
        m_blocks.padTo(start + numRanges * sizeof(Range<T>));
        eachRow(ownBricks, otherBricks, [&](std::uint64_t j, std::uint64_t k) {
            ownRanges.addRow(j, k);
            otherRanges.addRow(j, k);
            ordered.addRow(j, k);
        });
        ordered.finish(label);
        overwriteRanges(m_blocks, start, nodeRanges);
        overwriteRanges(m_blocks, start + nodeRanges.size() * sizeof(Range<T>), cellRanges);
    }
    Range<T> const range = joined(ownRanges.ranges());
    checkBits(m_zone.variables[variable].type, range);
    return {start, toMinMax(range)};
}

std::uint64_t OrderedPartitions::nodeNumber(std::array<std::uint64_t, 3> const& node) const
{
    return (node[2] * m_zone.size[1] + node[1]) * m_zone.size[0] + node[0];
}

std::vector<BlockWriter::Tag> OrderedPartitions::writePartitionSizes()
{
    std::vector<std::uint64_t> first;
    std::vector<std::uint64_t> last;
    for (Partition const& partition : m_zone.partitions) {
        std::array<std::uint64_t, 3> end = partition.nodes.end;
        for (std::uint64_t& index : end)
            --index;
        first.push_back(nodeNumber(partition.nodes.begin));
        last.push_back(nodeNumber(end));
    }
    auto const zone = static_cast<std::int32_t>(m_zoneIndex);
    hdqio::IODescription label;
    label.zoneIndex = zone;
    label.name = "partitionMinNodeNumbers";
    std::uint64_t const firstLoc = m_blocks.array(label, first);
    label.name = "partitionMaxNodeNumbers";
    std::uint64_t const lastLoc = m_blocks.array(label, last);
    return {{hdqio::PARTITION_MIN_NODE_NUMBERS_TAG, firstLoc},
            {hdqio::PARTITION_MAX_NODE_NUMBERS_TAG, lastLoc}};
}

}
