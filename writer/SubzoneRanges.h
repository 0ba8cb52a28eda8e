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

/// Writes the ranges of subzones or partitions.
template <typename T>
void writeRanges(BlockWriter& blocks, hdqio::IODescription const& label,
                 std::vector<Range<T>> ranges)
{
    if constexpr (std::is_same_v<T, std::int16_t>) {
        // The range of nothing ends there, too, but needn't.
        for (Range<T>& range : ranges) {
            checkText(blocks, range);
            if (isEmpty(range))
                range.second = std::numeric_limits<std::int16_t>::lowest() + 1;
        }
    }
    blocks.array<Range<T>>(label, ranges);
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
