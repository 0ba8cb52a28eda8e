#include "tools/support/ProgressBar.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace varnox::tools {

namespace {

constexpr std::chrono::milliseconds PATIENCE{500};
constexpr std::chrono::milliseconds BETWEEN_DRAWINGS{100};
constexpr std::size_t WIDTH = 40;

}

ProgressBar::ProgressBar() : m_isWatched(::isatty(2) == 1), m_nextDrawing(Clock::now() + PATIENCE)
{
}

void ProgressBar::update(char const* action, std::uint64_t done, std::uint64_t total)
{
    if (!m_isWatched || Clock::now() < m_nextDrawing)
        return;
    m_nextDrawing = Clock::now() + BETWEEN_DRAWINGS;
    m_isDrawn = true;
    if (total == 0) {
        std::fprintf(stderr, "\r%s: %lu\033[K", action, done);
    } else {
        double const part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
        auto const filled = static_cast<std::size_t>(part * static_cast<double>(WIDTH));
        std::string const bar = std::string(filled, '#') + std::string(WIDTH - filled, '.');
        std::fprintf(stderr, "\r%s [%s] %3d %%\033[K", action, bar.c_str(),
                     static_cast<int>(part * 100));
    }
    std::fflush(stderr);
}

void ProgressBar::clear()
{
    if (m_isDrawn)
        std::fputs("\r\033[K", stderr);
    m_isDrawn = false;
}

}
