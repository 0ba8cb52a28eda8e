#pragma once

#include "bench/loadgen/Board.h"
#include "bench/loadgen/Connector.h"
#include "bench/loadgen/Work.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace varnox::loadgen {

/// Times requests of one kind, and shows meanwhile that one is under way.
class Stopwatch
{
public:
    Stopwatch(Board& board, Slot& slot) : m_board(board), m_slot(slot) {}

    /// What is thrown is no request that has been answered.
    template <typename F>
    auto time(Kind kind, F&& request)
    {
        auto const start = std::chrono::steady_clock::now();
        m_slot.requestStart = start.time_since_epoch().count();
        auto const result = request();
        m_slot.requestStart = 0;
        m_board.times(kind).add(std::chrono::steady_clock::now() - start);
        return result;
    }

private:
    Board& m_board;
    Slot& m_slot;
};

/// A task of the mix. Values by subzone are the most frequent.
struct Choice
{
    Kind kind;
    Task const& task;
};
Choice chooseTask(FileSet const& fileSet, std::mt19937_64& random);

/// Runs a task. Throws Fault if its answer isn't what it was in quiet.
void runTask(Choice const& choice, Visit& visit, Stopwatch& stopwatch);
void runLoad(FileSet const& fileSet, Visit& visit, Stopwatch& stopwatch);

struct VisitorSettings
{
    Entrance entrance;
    std::size_t maxTasks = 1000;        ///< In one session; a random number up to this.
    std::chrono::milliseconds think{0}; ///< On average, between two requests.
    unsigned badVisitsIn = 12;          ///< One of so many visits is a bad one.
};

/// One visit of a client, in a process of its own. Leaves its outcome in the slot.
void runVisitor(VisitorSettings const& settings, std::vector<FileSet> const& fileSets, Board& board,
                Slot& slot, std::uint64_t seed);

}
