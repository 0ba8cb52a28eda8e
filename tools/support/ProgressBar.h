#pragma once

#include <chrono>
#include <cstdint>

namespace varnox::tools {

/// A bar on standard error, for work that takes long while somebody looks at a terminal.
class ProgressBar
{
public:
    ProgressBar();
    ProgressBar(ProgressBar const&) = delete;
    ProgressBar& operator=(ProgressBar const&) = delete;
    ~ProgressBar() { clear(); }

    /// False if there is no terminal, and nothing will ever be drawn.
    bool isWatched() const { return m_isWatched; }
    /// How far an action has come; total is 0 where nobody knows.
    void update(char const* action, std::uint64_t done, std::uint64_t total);
    /// Wipes the bar from its line.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool m_isWatched;
    bool m_isDrawn = false;
    Clock::time_point m_nextDrawing;
};

}
