#include "tests/filedata/AllocationMeter.h"

#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {

bool isCounting = false;
std::size_t inUse = 0;
std::size_t mostInUse = 0;
std::size_t allocationsToFault = 0; // the last of them fails; 0 if none does

void countTaken(void* block)
{
    if (!isCounting || block == nullptr)
        return;
    inUse += malloc_usable_size(block);
    if (inUse > mostInUse)
        mostInUse = inUse;
}

void countGivenBack(std::size_t size)
{
    if (isCounting)
        inUse -= size < inUse ? size : inUse; // some blocks are older than the meter
}

/// Whether it is the turn of the allocation that shall fail.
bool fails()
{
    return allocationsToFault > 0 && --allocationsToFault == 0;
}

}

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
// Shown, since the linker also puts them in the place of what a shared library asks for.
[[gnu::visibility("default")]] void* __wrap_malloc(std::size_t size);
[[gnu::visibility("default")]] void* __wrap_calloc(std::size_t count, std::size_t size);
[[gnu::visibility("default")]] void* __wrap_realloc(void* block, std::size_t size);
[[gnu::visibility("default")]] void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size)
{
    if (fails())
        return nullptr;
    void* const block = __real_malloc(size);
    countTaken(block);
    return block;
}

// Not in the code, but a compiler makes it of a malloc whose memory is filled with zeros.
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    if (fails())
        return nullptr;
    void* const block = __real_calloc(count, size);
    countTaken(block);
    return block;
}

void* __wrap_realloc(void* block, std::size_t size)
{
    if (fails())
        return nullptr;
    std::size_t const before = block == nullptr ? 0 : malloc_usable_size(block);
    void* const result = __real_realloc(block, size);
    if (result != nullptr || size == 0) {
        countGivenBack(before);
        countTaken(result);
    }
    return result;
}

void __wrap_free(void* block)
{
    if (block != nullptr)
        countGivenBack(malloc_usable_size(block));
    __real_free(block);
}
}

void* operator new(std::size_t size)
{
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept
{
    return std::malloc(size == 0 ? 1 : size);
}

// Arrays too: a sanitizer's operators for them are its own.
void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, std::nothrow_t const& nothrow) noexcept
{
    return operator new(size, nothrow);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::nothrow_t const&) noexcept
{
    std::free(block);
}

void operator delete[](void* block) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::nothrow_t const&) noexcept
{
    std::free(block);
}

namespace varnox::hdqio::tests {

AllocationMeter::AllocationMeter()
{
    inUse = 0;
    mostInUse = 0;
    isCounting = true;
}

AllocationMeter::~AllocationMeter()
{
    isCounting = false;
}

std::size_t AllocationMeter::peak() const
{
    return mostInUse;
}

AllocationFault::AllocationFault(std::size_t n)
{
    allocationsToFault = n;
}

AllocationFault::~AllocationFault()
{
    allocationsToFault = 0;
}

bool AllocationFault::hasStruck() const
{
    return allocationsToFault == 0;
}

}
