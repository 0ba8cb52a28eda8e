#pragma once

#include "filedata/Numbers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace varnox::hdqfswriter {

/// A range of values in their own type, as files hold it. NaN is in none.
template <typename T>
using Range = hdqio::ValuePair<T>;

/// The range of nothing, which starts above its end.
template <typename T>
constexpr Range<T> emptyRange()
{
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_floating_point_v<T>)
        return {Limits::infinity(), -Limits::infinity()};
    else
        return {Limits::max(), Limits::lowest()};
}

template <typename T>
bool isEmpty(Range<T> const& range)
{
    return !(range.first <= range.second);
}

template <typename T>
void extend(Range<T>& range, T value)
{
    if (value < range.first)
        range.first = value;
    if (value > range.second)
        range.second = value;
}

template <typename T>
void extend(Range<T>& range, Range<T> const& other)
{
    if (!isEmpty(other)) {
        extend(range, other.first);
        extend(range, other.second);
    }
}

/// Extends the range of each place of a line by the value there.
template <typename T>
void extendEach(T* __restrict low, T* __restrict high, T const* __restrict values,
                std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        low[i] = values[i] < low[i] ? values[i] : low[i];
        high[i] = values[i] > high[i] ? values[i] : high[i];
    }
}

/// Gathers the range of many lines of values. Column by column, which the compiler turns into
/// vector instructions: a single running minimum would wait for itself at every value.
template <typename T>
class RangeOfLines
{
public:
    void add(T const* values, std::size_t count)
    {
        while (count != 0) {
            std::size_t const step = std::min(count, COLUMNS);
            m_used = std::max(m_used, step);
            extendEach(m_low.data(), m_high.data(), values, step);
            values += step;
            count -= step;
        }
    }

    /// What has been gathered, and starts afresh.
    Range<T> take()
    {
        Range<T> result = emptyRange<T>();
        for (std::size_t i = 0; i < m_used; ++i) {
            extend(result, Range<T>{m_low[i], m_high[i]});
            m_low[i] = emptyRange<T>().first;
            m_high[i] = emptyRange<T>().second;
        }
        m_used = 0;
        return result;
    }

    RangeOfLines()
    {
        m_low.fill(emptyRange<T>().first);
        m_high.fill(emptyRange<T>().second);
    }

private:
    static constexpr std::size_t COLUMNS = 64;

    std::array<T, COLUMNS> m_low;
    std::array<T, COLUMNS> m_high;
    std::size_t m_used = 0;
};

}
