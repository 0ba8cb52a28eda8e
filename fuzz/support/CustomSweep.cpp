// libFuzzer's hook for targets whose inputs are changed by libFuzzer alone, but in a sweep.

#include "fuzz/support/ByteSweep.h"

extern "C" {
std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);
std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned seed);

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned)
{
    std::size_t const swept = varnox::fuzz::sweepStep(data, maxSize);
    return swept != 0 ? swept : LLVMFuzzerMutate(data, size, maxSize);
}
}
