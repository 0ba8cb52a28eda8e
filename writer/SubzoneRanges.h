#pragma once

#include "writer/BlockWriter.h"
#include "writer/PartitionOutput.h"
#include "writer/Ranges.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace varnox::hdqfswriter {

/// The text form can't hold the least 16-bit number.
template <typename T>
void checkText(BlockWriter const& blocks, Range<T> const& range)
{
    if constexpr (std::is_same_v<T, std::int16_t>)
        if (blocks.isAscii() && !isEmpty(range) &&
            range.first == std::numeric_limits<std::int16_t>::lowest())
            throw std::runtime_error("The text form can't hold the 16-bit value -32768.");
}

/// The ranges in the form that files have.
template <typename T>
std::vector<Range<T>> inFile(BlockWriter const& blocks, std::vector<Range<T>> ranges)
{
    if constexpr (std::is_same_v<T, std::int16_t>) {
        // The range of nothing ends there, too, but needn't.
        for (Range<T>& range : ranges) {
            checkText(blocks, range);
            if (isEmpty(range))
                range.second = std::numeric_limits<std::int16_t>::lowest() + 1;
        }
    }
    return ranges;
}

/// Writes the ranges of subzones or partitions.
template <typename T>
void writeRanges(BlockWriter& blocks, hdqio::IODescription const& label,
                 std::vector<Range<T>> const& ranges)
{
    blocks.array<Range<T>>(label, inFile(blocks, ranges));
}

/// The same, in a binary file, to a place that was kept free for them.
template <typename T>
void overwriteRanges(BlockWriter& blocks, std::uint64_t fileLoc,
                     std::vector<Range<T>> const& ranges)
{
    static_assert(sizeof(Range<T>) == 2 * sizeof(T), "a range lies in memory as in the file");
    std::vector<Range<T>> const bytes = inFile(blocks, ranges);
    blocks.overwrite(fileLoc, bytes.data(), bytes.size() * sizeof(Range<T>));
}

template <typename T>
Range<T> joined(std::vector<Range<T>> const& ranges)
{
    Range<T> result = emptyRange<T>();
    for (Range<T> const& range : ranges)
        extend(result, range);
    return result;
}

/// A bit is 0 or 1.
template <typename T>
void checkBits(ValueType type, Range<T> const& range)
{
    if (type == ValueType::Bit && !isEmpty(range) && range.second > 1)
        throw std::runtime_error("A bit can't have the value " +
                                 std::to_string(static_cast<int>(range.second)) + ".");
}

template <typename T>
hdqio::MinMax toMinMax(Range<T> const& range)
{
    constexpr double INF = std::numeric_limits<double>::infinity();
    if (isEmpty(range))
        return {INF, -INF};
    return {static_cast<double>(range.first), static_cast<double>(range.second)};
}

}
