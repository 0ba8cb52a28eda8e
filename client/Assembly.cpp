#include "client/Assembly.h"

#include <algorithm>
#include <utility>

namespace varnox::client {

namespace {

/// Pieces behind a gap may repeat each other, but not without end.
constexpr std::int64_t MAX_REPEATS = 2;

}

template <typename Element>
bool Assembly<Element>::add(std::int64_t offset, std::vector<Element> piece)
{
    auto const size = static_cast<std::int64_t>(piece.size());
    if (offset < 0 || size > m_total || offset > m_total - size)
        return false;
    if (size == 0)
        return true;
    if (offset > complete()) {
        m_numAhead += size;
        m_ahead.emplace(offset, std::move(piece));
        return m_numAhead / MAX_REPEATS <= m_total;
    }
    write(offset, piece);
    while (!m_ahead.empty() && m_ahead.begin()->first <= complete()) {
        m_numAhead -= static_cast<std::int64_t>(m_ahead.begin()->second.size());
        write(m_ahead.begin()->first, m_ahead.begin()->second);
        m_ahead.erase(m_ahead.begin());
    }
    return true;
}

template <typename Element>
void Assembly<Element>::write(std::int64_t offset, std::vector<Element> const& piece)
{
    auto const begin = static_cast<std::size_t>(offset);
    std::size_t const overlap = std::min(piece.size(), m_front.size() - begin);
    auto const middle = piece.begin() + static_cast<std::ptrdiff_t>(overlap);
    std::copy(piece.begin(), middle, m_front.begin() + offset);
    m_front.insert(m_front.end(), middle, piece.end());
}

template class Assembly<float>;
template class Assembly<double>;
template class Assembly<std::int64_t>;
template class Assembly<std::int32_t>;
template class Assembly<std::int16_t>;
template class Assembly<std::uint8_t>;

}
