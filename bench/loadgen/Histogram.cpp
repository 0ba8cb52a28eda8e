#include "bench/loadgen/Histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace varnox::loadgen {

static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "processes share it");

std::size_t Histogram::bucketOf(std::uint64_t value)
{
    if (value < (1U << BITS))
        return value;
    auto const shift = static_cast<unsigned>(std::bit_width(value)) - 1 - BITS;
    return (std::size_t{shift} << BITS) + static_cast<std::size_t>(value >> shift);
}

std::uint64_t Histogram::endOf(std::size_t bucket)
{
    if (bucket < (1U << BITS))
        return bucket;
    std::size_t const shift = (bucket >> BITS) - 1;
    std::uint64_t const first = bucket - (shift << BITS);
    return ((first + 1) << shift) - 1;
}

void Histogram::raiseMax(std::int64_t value)
{
    std::int64_t known = m_max.load(std::memory_order_relaxed);
    while (value > known && !m_max.compare_exchange_weak(known, value, std::memory_order_relaxed)) {
    }
}

void Histogram::add(Time time)
{
    std::int64_t const value = std::max<std::int64_t>(time.count(), 0);
    m_counts[bucketOf(static_cast<std::uint64_t>(value))].fetch_add(1, std::memory_order_relaxed);
    raiseMax(value);
}

void Histogram::join(Histogram const& other)
{
    for (std::size_t i = 0; i < NUM_BUCKETS; ++i)
        m_counts[i].fetch_add(other.m_counts[i].load(std::memory_order_relaxed),
                              std::memory_order_relaxed);
    raiseMax(other.max().count());
}

std::uint64_t Histogram::count() const
{
    std::uint64_t result = 0;
    for (auto const& bucket : m_counts)
        result += bucket.load(std::memory_order_relaxed);
    return result;
}

Histogram::Time Histogram::quantile(double part) const
{
    auto const wanted = static_cast<std::uint64_t>(std::ceil(part * static_cast<double>(count())));
    std::uint64_t below = 0;
    for (std::size_t i = 0; i < NUM_BUCKETS; ++i) {
        below += m_counts[i].load(std::memory_order_relaxed);
        if (below >= wanted && below > 0)
            return std::min(Time(static_cast<std::int64_t>(endOf(i))), max());
    }
    return max();
}

}
