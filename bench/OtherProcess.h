#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <utility>

#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::bench {

/// Keeps this process on one processor, if there is one of that number. A round trip costs several
/// times as much between two processors as on one, so what is compared must have the same places.
inline void stayOn(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    ::sched_setaffinity(0, sizeof(set), &set);
}

/// Runs a function in a process of its own, at the other end of a connected Unix socket. The function
/// gets its descriptor; the process ends when it returns. This process stays on the first processor,
/// the other ones on the second.
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
        stayOn(m_process == 0 ? 1 : 0);
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

/// Actions of one kind in a row, so that each kind finds the caches as it left them.
constexpr int ROW = 8;

/// Times rows of two actions by turns, and reports the second one's speed as a fraction of the first
/// one's.
inline void compare(benchmark::State& state, std::function<void()> const& floor,
                    std::function<void()> const& ours, char const* ratioName)
{
    double floorSeconds = 0;
    double ourSeconds = 0;
    for (auto _ : state) {
        floor();
        for (int i = 0; i < ROW; ++i)
            floorSeconds += secondsOf(floor);
        ours();
        double seconds = 0;
        for (int i = 0; i < ROW; ++i)
            seconds += secondsOf(ours);
        ourSeconds += seconds;
        state.SetIterationTime(seconds / ROW);
    }
    state.counters[ratioName] = floorSeconds / ourSeconds;
}

}
