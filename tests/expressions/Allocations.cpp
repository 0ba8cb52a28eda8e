#include "tests/expressions/Allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

std::atomic<long> count = 0;
std::atomic<bool> isShort = false;

}

void* operator new(std::size_t size)
{
    void* const block = isShort ? nullptr : std::malloc(size != 0 ? size : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    ++count;
    return block;
}

void operator delete(void* block) noexcept
{
    if (block == nullptr)
        return;
    --count;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

namespace varnox::tests {

long numAllocations()
{
    return count;
}

NoMemory::NoMemory()
{
    isShort = true;
}

NoMemory::~NoMemory()
{
    isShort = false;
}

ExpectedLoss::ExpectedLoss()
{
#ifdef __SANITIZE_ADDRESS__
    __lsan_disable();
#endif
}

ExpectedLoss::~ExpectedLoss()
{
#ifdef __SANITIZE_ADDRESS__
    __lsan_enable();
#endif
}

}
