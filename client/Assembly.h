#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace varnox::client {

/// Puts an array together from the pieces in which a loader pushes it, in any order; what comes
/// later counts. Memory grows with the pieces that have arrived, whatever size was announced.
/// Element is float, double, long or a fixed-width integer.
template <typename Element>
class Assembly
{
public:
    /// total: elements of the whole array.
    explicit Assembly(std::int64_t total) : m_total(total) {}

    /// False if the piece doesn't lie in the array, or if far more has come than the array can
    /// hold.
    bool add(std::int64_t offset, std::vector<Element> piece);

    /// Elements from the first on without a gap.
    std::int64_t complete() const { return static_cast<std::int64_t>(m_front.size()); }
    bool isComplete() const { return complete() == m_total; }
    std::vector<Element> take() { return std::move(m_front); }

private:
    void write(std::int64_t offset, std::vector<Element> const& piece);

    std::int64_t m_total;
    std::vector<Element> m_front;
    std::multimap<std::int64_t, std::vector<Element>> m_ahead; // pieces behind a gap, by offset
    std::int64_t m_numAhead = 0;
};

extern template class Assembly<float>;
extern template class Assembly<double>;
extern template class Assembly<std::int64_t>;
extern template class Assembly<std::int32_t>;
extern template class Assembly<std::int16_t>;
extern template class Assembly<std::uint8_t>;

}
