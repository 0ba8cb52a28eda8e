#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace varnox::loadgen {

/// Times, counted in buckets that are at most 1/32 of their value wide. Lives in memory that
/// processes share and add to at the same time; all zeros are a histogram without a time.
class Histogram
{
public:
    using Time = std::chrono::nanoseconds;

    void add(Time time);
    void join(Histogram const& other);

    std::uint64_t count() const;
    /// The upper end of the bucket of the time below which this part of all times lies.
    Time quantile(double part) const;
    Time max() const { return Time(m_max.load(std::memory_order_relaxed)); }

private:
    static constexpr unsigned BITS = 5; // behind the first one, which are kept
    static constexpr std::size_t NUM_BUCKETS = (64 - BITS + 1) << BITS;

    static std::size_t bucketOf(std::uint64_t value);
    static std::uint64_t endOf(std::size_t bucket);
    void raiseMax(std::int64_t value);

    std::array<std::atomic<std::uint64_t>, NUM_BUCKETS> m_counts;
    std::atomic<std::int64_t> m_max;
};

}
