#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <utility>

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::bench {

/// Runs a function in a process of its own, at the other end of a connected Unix socket. The function
/// gets its descriptor; the process ends when it returns.
class OtherProcess
{
public:
    explicit OtherProcess(std::function<void(int)> const& run)
    {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            throw std::runtime_error("no socket pair");
        m_process = ::fork();
        if (m_process < 0)
            throw std::runtime_error("no process");
        if (m_process == 0) {
            ::close(ends[0]);
            try {
                run(ends[1]);
            } catch (...) {
                ::_exit(1);
            }
            ::_exit(0);
        }
        ::close(ends[1]);
        m_descriptor = ends[0];
    }
    OtherProcess(OtherProcess const&) = delete;
    OtherProcess& operator=(OtherProcess const&) = delete;
    ~OtherProcess()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        ::waitpid(m_process, nullptr, 0);
    }

    /// This side's end, which then belongs to the caller.
    int takeDescriptor() { return std::exchange(m_descriptor, -1); }
    int descriptor() const { return m_descriptor; }

private:
    pid_t m_process = -1;
    int m_descriptor = -1;
};

inline double secondsOf(std::function<void()> const& action)
{
    auto const start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Times two actions by turns, and reports the second one's speed as a fraction of the first one's.
inline void compare(benchmark::State& state, std::function<void()> const& floor,
                    std::function<void()> const& ours, char const* ratioName)
{
    double floorSeconds = 0;
    double ourSeconds = 0;
    for (auto _ : state) {
        floorSeconds += secondsOf(floor);
        double const seconds = secondsOf(ours);
        ourSeconds += seconds;
        state.SetIterationTime(seconds);
    }
    state.counters[ratioName] = floorSeconds / ourSeconds;
}

}
