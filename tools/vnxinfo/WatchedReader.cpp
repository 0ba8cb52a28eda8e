#include "tools/vnxinfo/WatchedReader.h"

namespace varnox::tools {

void WatchedReader::keep()
{
    if (!m_isWatching)
        return;
    std::uint64_t const end = m_file.fileLoc();
    if (end <= m_begin)
        return;
    m_numWatched += end - m_begin;
    bool const adjoins = !m_extents.empty() && m_extents.back().end == m_begin &&
                         m_extents.back().place.isOfSameKind(m_place);
    if (adjoins)
        m_extents.back().end = end;
    else
        m_extents.push_back({m_begin, end, m_place});
    m_begin = end;
}

void WatchedReader::watch(Place const& place)
{
    keep();
    m_place = place;
    m_isWatching = true;
    restart();
}

void WatchedReader::unwatch()
{
    keep();
    m_isWatching = false;
}

char WatchedReader::seekToFileStart()
{
    keep();
    char const result = m_file.seekToFileStart();
    restart();
    return result;
}

char WatchedReader::seekToFileLoc(std::uint64_t loc)
{
    keep();
    char const result = m_file.seekToFileLoc(loc);
    restart();
    return result;
}

char WatchedReader::seekToFileEnd()
{
    keep();
    char const result = m_file.seekToFileEnd();
    restart();
    return result;
}

}
