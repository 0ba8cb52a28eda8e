// libFuzzer's hook for targets whose inputs are files.

#include "fuzz/support/ByteSweep.h"
#include "fuzz/support/FileMutator.h"

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
    std::string file(reinterpret_cast<char const*>(data), size);
    varnox::fuzz::FileMutator(seed, LLVMFuzzerMutate).mutate(file, maxSize);
    std::memcpy(data, file.data(), std::min(file.size(), maxSize));
    return std::min(file.size(), maxSize);
}
}
