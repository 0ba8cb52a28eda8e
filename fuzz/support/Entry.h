#pragma once

#include <cstddef>
#include <cstdint>

/// What a fuzz target defines: takes one input and returns 0. It must not touch the input's bytes,
/// and an input that it doesn't like is no failure: only a crash, a trap or a leak is.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace varnox::fuzz {

/// Ends the process with a message: what the target found must not be.
[[noreturn]] void fail(char const* what);

/// Fails unless the claim holds.
inline void expect(bool claim, char const* what)
{
    if (!claim)
        fail(what);
}

}
