#pragma once

#include "addons/hdqfs/SubzoneLayout.h"
#include "addons/hdqfs/ValueReader.h"

#include <array>
#include <cstdint>
#include <vector>

namespace varnox::hdqfsloader {

/// Gathers boxes of items from an ordered partition, whose values stand brick after brick, into the
/// order of their indices, I fastest. Indices are those of the zone.
class BoxReader
{
public:
    using Box = SubzoneLayout::Box;

    /// The values and bricks of a partition that begins at origin. All but the origin must outlive
    /// the object.
    BoxReader(ValueReader& reader, ValueArray const& array, SubzoneLayout const& bricks,
              std::array<std::uint64_t, 3> const& origin);

    /// Fills the part of a box that the partition covers; out holds the whole box in the values' own
    /// type. Every value is read once.
    void read(Box const& box, unsigned char* out);

private:
    struct Target
    {
        Box box;
        unsigned char* out;
    };

    Box boxOfBrick(std::uint64_t subzone) const;
    void readRow(std::uint64_t firstSubzone, Target const& target);
    void readWholeRow(std::uint64_t firstSubzone, Target const& target);
    void readPartOfBrick(std::uint64_t subzone, Box const& brick, Box const& part,
                         Target const& target);
    void scatter(unsigned char const* values, Box const& from, Target const& target) const;

    ValueReader& m_reader;
    ValueArray const& m_array;
    SubzoneLayout const& m_bricks;
    std::array<std::uint64_t, 3> m_origin;
    std::size_t m_valueSize;
    std::vector<unsigned char> m_buffer;
};

}
