#pragma once

#include "filedata/IODescription.h"
#include "filedata/Numbers.h"
#include "tools/vnxinfo/CheckedFile.h"

#include <limits>
#include <string>
#include <vector>

namespace varnox::tools {

/// Calls f with a value of the type's form in memory.
template <typename F>
auto withType(std::uint8_t type, F const& f)
{
    switch (type) {
    case FieldDataType_Float:
        return f(float{});
    case FieldDataType_Double:
        return f(double{});
    case FieldDataType_Int32:
        return f(std::int32_t{});
    case FieldDataType_Int16:
        return f(std::int16_t{});
    default:
        return f(std::uint8_t{});
    }
}

/// Ranges of subzones as the file has them, in their variable's type: there may be many.
class SubzoneRanges
{
public:
    SubzoneRanges() = default;
    SubzoneRanges(std::uint8_t type, std::vector<hdqio::MinMax> const& ranges);

    std::size_t size() const { return m_size; }
    /// Throws std::out_of_range.
    hdqio::MinMax operator[](std::size_t subzone) const;

private:
    std::uint8_t m_type = 0;
    std::size_t m_size = 0;
    std::vector<unsigned char> m_bytes;
};

/// The ranges of the subzones that a variable's values don't stand at: of the cell subzones of a
/// nodal variable, of the node subzones of another. They take the connectivity to check.
struct CrossRanges
{
    bool isRead = false;
    /// By section, of node subzones one, then by subzone.
    std::vector<SubzoneRanges> ranges;
};

/// The cross ranges of a zone by variable, then by partition.
using ZoneCrossRanges = std::vector<std::vector<CrossRanges>>;

/// Reads all values and ranges of an HDQ zone and holds every range to its values: those of
/// subzones of the variable's own kind, of partitions and of the zone.
ZoneCrossRanges checkHdqVariables(CheckedFile& file, std::uint32_t zone);
/// The same of a plain zone, which has the range of the zone alone.
void checkPlainVariables(CheckedFile& file, std::uint32_t zone);

/// The range of values that grows by one after the other; not-a-numbers don't take part.
class GrowingRange
{
public:
    void add(double value)
    {
        // Neither comparison holds for a value that is not a number.
        if (value < m_range.min)
            m_range.min = value;
        if (value > m_range.max)
            m_range.max = value;
    }
    void add(hdqio::MinMax const& range)
    {
        if (range.min > range.max)
            return; // of no value
        add(range.min);
        add(range.max);
    }
    hdqio::MinMax const& range() const { return m_range; }
    bool isEmpty() const { return m_range.min > m_range.max; }

private:
    hdqio::MinMax m_range{std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity()};
};

/// Whether two ranges are the same, also in that they hold nothing.
bool isSame(hdqio::MinMax const& a, hdqio::MinMax const& b);
std::string textOf(hdqio::MinMax const& range);

/// Reads ranges of a variable's type; none without a description in text.
bool readRanges(CheckedFile& file, std::uint8_t type, std::uint64_t count,
                hdqio::IODescription const& description, std::vector<hdqio::MinMax>& out);

}
