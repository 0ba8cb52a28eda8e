#pragma once

#include "bench/loadgen/Board.h"
#include "bench/loadgen/TestedServer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace varnox::loadgen {

struct SoakSettings
{
    std::uint64_t commands = 1'000'000;    ///< At least; the round that reaches it is finished.
    std::uint64_t loadAgainAfter = 10'000; ///< Commands.
    std::uint64_t seed = 1;
};

/// What one look at the worker saw.
struct SoakLook
{
    std::uint64_t commands;
    std::uint64_t resident; ///< Bytes.
    std::size_t descriptors;
};

struct SoakResult
{
    double seconds = 0;
    /// One after each round through the file sets, so that the worker is in the same state each
    /// time.
    std::vector<SoakLook> looks;
};

/// One session that asks on and on, and loads one file set after the other. Throws what goes wrong.
SoakResult soak(SoakSettings const& settings, std::vector<FileSet> const& fileSets, Board& board,
                TestedServer& server);

}
