#pragma once

#include <cstddef>
#include <cstdint>

/// Operations of the system that fail on demand. The test program stands in for operator new, for
/// malloc, calloc and realloc as this project's libraries call them, and for the C library's
/// functions on files and sockets; everything else passes through.
namespace varnox::tests {

enum class FaultKind {
    Allocation,       ///< There is no memory.
    FileError,        ///< Opening, reading, seeking and asking for the status of a file fail.
    FileEnd,          ///< A read finds the end: the file has shrunk.
    FileShort,        ///< A read gives fewer bytes than wanted.
    FileInterrupt,    ///< A signal interrupts opening or reading.
    ReceiveReset,     ///< The connection is reset.
    ReceiveEnd,       ///< The other side has closed it.
    ReceiveShort,     ///< One byte arrives.
    ReceiveInterrupt, ///< A signal interrupts the wait.
    SendReset,
    SendShort, ///< Half of the bytes are taken.
    SendInterrupt
};

bool isInterrupt(FaultKind kind);
/// True for what a reader or a writer goes on after: nothing is lost.
bool isHarmless(FaultKind kind);
char const* nameOf(FaultKind kind);

/// The n-th operation that the kind concerns fails, counted from 1, and those behind it too if the
/// fault lasts; of interruptions every other one. None fails with an n of 0.
struct Fault
{
    FaultKind kind = FaultKind::Allocation;
    std::uint64_t n = 0;
    bool lasts = false;
};

/// While one lives, operations of its thread are counted and fail as planned. One at a time.
class FaultInjection
{
public:
    /// connection: the descriptor whose operations are those of a socket.
    FaultInjection(Fault const& fault, int connection);
    FaultInjection(FaultInjection const&) = delete;
    FaultInjection& operator=(FaultInjection const&) = delete;
    ~FaultInjection();

    /// Nothing fails any more, and nothing is counted.
    void end();
    /// Of the fault's kind.
    std::uint64_t numOperations() const { return m_numOperations; }
    std::uint64_t numInjected() const { return m_numInjected; }

    /// Counts an operation. True if it shall fail.
    bool hits(FaultKind kind);
    int connection() const { return m_connection; }

private:
    Fault m_fault;
    int m_connection;
    std::uint64_t m_numOperations = 0;
    std::uint64_t m_numInjected = 0;
};

/// Blocks that this thread has taken with operator new less those that it has given back.
long numLiveBlocks();
/// Descriptors that the process has open, streams among them.
int numOpenDescriptors();

}
