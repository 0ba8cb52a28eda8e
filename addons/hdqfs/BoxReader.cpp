#include "addons/hdqfs/BoxReader.h"

#include <cstring>

namespace varnox::hdqfsloader {

namespace {

using Box = SubzoneLayout::Box;

bool coversAlong(std::size_t axis, Box const& a, Box const& b)
{
    return a.begin[axis] <= b.begin[axis] && b.end[axis] <= a.end[axis];
}

}

BoxReader::BoxReader(ValueReader& reader, ValueArray const& array, SubzoneLayout const& bricks,
                     std::array<std::uint64_t, 3> const& origin)
    : m_reader(reader), m_array(array), m_bricks(bricks), m_origin(origin),
      m_valueSize(valueSize(array.type))
{
}

Box BoxReader::boxOfBrick(std::uint64_t subzone) const
{
    Box result = m_bricks.brick(subzone);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.begin[axis] += m_origin[axis];
        result.end[axis] += m_origin[axis];
    }
    return result;
}

void BoxReader::read(Box const& box, unsigned char* out)
{
    Target const target{box, out};
    Box const whole{m_origin,
                    {m_origin[0] + m_bricks.axis(0).size, m_origin[1] + m_bricks.axis(1).size,
                     m_origin[2] + m_bricks.axis(2).size}};
    Box const part = whole.intersection(box);
    if (part.numItems() == 0)
        return;
    auto const brickOf = [&](std::size_t axis, std::uint64_t index) {
        return (index - m_origin[axis] + m_bricks.axis(axis).shift) / m_bricks.axis(axis).limit;
    };
    for (std::uint64_t k = brickOf(2, part.begin[2]); k <= brickOf(2, part.end[2] - 1); ++k)
        for (std::uint64_t j = brickOf(1, part.begin[1]); j <= brickOf(1, part.end[1] - 1); ++j)
            readRow((k * m_bricks.axis(1).numBricks + j) * m_bricks.axis(0).numBricks, target);
}

void BoxReader::readRow(std::uint64_t firstSubzone, Target const& target)
{
    std::uint64_t const numBricks = m_bricks.axis(0).numBricks;
    Box row = boxOfBrick(firstSubzone);
    row.end[0] = boxOfBrick(firstSubzone + numBricks - 1).end[0];
    if (row.intersection(target.box).numItems() == 0)
        return;
    if (coversAlong(0, target.box, row) && coversAlong(1, target.box, row) &&
        coversAlong(2, target.box, row)) {
        readWholeRow(firstSubzone, target);
        return;
    }
    for (std::uint64_t subzone = firstSubzone; subzone < firstSubzone + numBricks; ++subzone) {
        Box const brick = boxOfBrick(subzone);
        Box const part = brick.intersection(target.box);
        if (part.numItems() != 0)
            readPartOfBrick(subzone, brick, part, target);
    }
}

void BoxReader::readWholeRow(std::uint64_t firstSubzone, Target const& target)
{
    // The bricks of a row follow each other in the file.
    std::uint64_t const last = firstSubzone + m_bricks.axis(0).numBricks - 1;
    SubzoneLayout::Run const end = m_bricks.run(0, last);
    std::uint64_t const firstItem = m_bricks.run(0, firstSubzone).firstItem;
    std::uint64_t const numItems = end.firstItem + end.size - firstItem;
    m_buffer.resize(static_cast<std::size_t>(numItems) * m_valueSize);
    m_reader.readNative(m_array, firstItem, numItems, m_buffer.data());
    unsigned char const* values = m_buffer.data();
    for (std::uint64_t subzone = firstSubzone; subzone <= last; ++subzone) {
        Box const brick = boxOfBrick(subzone);
        scatter(values, brick, target);
        values += brick.numItems() * m_valueSize;
    }
}

void BoxReader::readPartOfBrick(std::uint64_t subzone, Box const& brick, Box const& part,
                                Target const& target)
{
    // Of a part, what stands together in the brick is read at once: layers, else rows, else lines.
    Box piece = part;
    bool const wholeLines = coversAlong(0, part, brick);
    bool const wholeLayers = wholeLines && coversAlong(1, part, brick);
    std::uint64_t const stepK = wholeLayers ? part.extent(2) : 1;
    std::uint64_t const stepJ = wholeLines ? part.extent(1) : 1;
    std::uint64_t const firstItem = m_bricks.run(0, subzone).firstItem;
    for (std::uint64_t k = part.begin[2]; k < part.end[2]; k += stepK) {
        for (std::uint64_t j = part.begin[1]; j < part.end[1]; j += stepJ) {
            piece.begin[2] = k;
            piece.end[2] = k + stepK;
            piece.begin[1] = j;
            piece.end[1] = j + stepJ;
            std::uint64_t const inBrick =
                ((k - brick.begin[2]) * brick.extent(1) + j - brick.begin[1]) * brick.extent(0) +
                piece.begin[0] - brick.begin[0];
            m_buffer.resize(static_cast<std::size_t>(piece.numItems()) * m_valueSize);
            m_reader.readNative(m_array, firstItem + inBrick, piece.numItems(), m_buffer.data());
            scatter(m_buffer.data(), piece, target);
        }
    }
}

void BoxReader::scatter(unsigned char const* values, Box const& from, Target const& target) const
{
    std::size_t const lineSize = static_cast<std::size_t>(from.extent(0)) * m_valueSize;
    for (std::uint64_t k = from.begin[2]; k < from.end[2]; ++k) {
        for (std::uint64_t j = from.begin[1]; j < from.end[1]; ++j) {
            std::uint64_t const item =
                ((k - target.box.begin[2]) * target.box.extent(1) + j - target.box.begin[1]) *
                    target.box.extent(0) +
                from.begin[0] - target.box.begin[0];
            std::memcpy(target.out + item * m_valueSize, values, lineSize);
            values += lineSize;
        }
    }
}

}
