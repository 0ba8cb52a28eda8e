#pragma once

#include "client/Engine.h"

#include <chrono>

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
    void update(client::Progress const& progress);
    /// Wipes the bar from its line.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool m_isWatched;
    bool m_isDrawn = false;
    Clock::time_point m_nextDrawing;
};

}
