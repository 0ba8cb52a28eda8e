// libFuzzer's hook for targets whose inputs are conversations: every other change is one of its
// own.

#include "fuzz/support/ByteSweep.h"
#include "fuzz/support/StreamMutator.h"

#include <algorithm>
#include <cstring>

extern "C" {
std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);
std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned seed);

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned seed)
{
    if (std::size_t const swept = varnox::fuzz::sweepStep(data, maxSize); swept != 0)
        return swept;
    if (size == 0 || seed % 2 == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::string stream(reinterpret_cast<char const*>(data), size);
    varnox::fuzz::StreamMutator(seed).mutate(stream);
    std::size_t const result = std::min(stream.size(), maxSize);
    std::memcpy(data, stream.data(), result);
    return result;
}
}
