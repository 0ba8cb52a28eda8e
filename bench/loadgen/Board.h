#pragma once

#include "bench/loadgen/Histogram.h"
#include "bench/loadgen/Work.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>
#include <span>
#include <string>

#include <sys/mman.h>

namespace varnox::loadgen {

// What clients and the program that started them share. It outlives a client that is killed.

/// One client after the other has it.
struct Slot
{
    enum Outcome : int { None, Fine, Faulty };

    std::atomic<std::int64_t> requestStart; ///< Of the steady clock; 0 between two requests.
    std::atomic<bool> hasPeer;              ///< From then on peer is whole.
    std::atomic<bool> isWorkerKilled;       ///< Set before its worker is killed.
    std::atomic<int> outcome;
    std::array<char, 80> peer;  ///< How the server names the client.
    std::array<char, 600> text; ///< Of the fault.

    void clear()
    {
        requestStart = 0;
        hasPeer = false;
        isWorkerKilled = false;
        outcome = None;
    }
};

template <std::size_t N>
void copyText(std::string const& from, std::array<char, N>& to)
{
    std::snprintf(to.data(), to.size(), "%s", from.c_str());
}

/// Memory that this process shares with those that it forks, all zeros in the beginning.
class Board
{
public:
    struct Counts
    {
        std::array<Histogram, NUM_KINDS> times;
        std::atomic<std::uint64_t> refusals; ///< Greetings for which there was no place at once.
        std::atomic<bool> isOver;            ///< Clients finish what they are at, and leave.
    };

    explicit Board(std::size_t numSlots)
        : m_numSlots(numSlots), m_memory(::mmap(nullptr, byteCount(), PROT_READ | PROT_WRITE,
                                                MAP_SHARED | MAP_ANONYMOUS, -1, 0))
    {
        if (m_memory == MAP_FAILED)
            throw std::bad_alloc();
    }
    Board(Board const&) = delete;
    Board& operator=(Board const&) = delete;
    ~Board() { ::munmap(m_memory, byteCount()); }

    Counts& counts() const { return *static_cast<Counts*>(m_memory); }
    Histogram& times(Kind kind) const { return counts().times[static_cast<std::size_t>(kind)]; }
    std::span<Slot> slots() const
    {
        return {reinterpret_cast<Slot*>(static_cast<char*>(m_memory) + sizeof(Counts)), m_numSlots};
    }

private:
    std::size_t byteCount() const { return sizeof(Counts) + m_numSlots * sizeof(Slot); }

    std::size_t m_numSlots;
    void* m_memory;
};

static_assert(sizeof(Board::Counts) % alignof(Slot) == 0, "slots stand behind the counts");

}
