#pragma once

#include <cstddef>

namespace varnox::hdqio::tests {

/// Counts what is allocated while one lives, with malloc, calloc or realloc of the file layer or
/// with operator new. The test program is linked with vnx_count_allocations() of CMake.
class AllocationMeter
{
public:
    AllocationMeter();
    AllocationMeter(AllocationMeter const&) = delete;
    AllocationMeter& operator=(AllocationMeter const&) = delete;
    ~AllocationMeter();

    /// The most bytes in use at once.
    std::size_t peak() const;
};

/// While one lives, the n-th allocation, counted from 1, finds no memory; the others do.
class AllocationFault
{
public:
    explicit AllocationFault(std::size_t n);
    AllocationFault(AllocationFault const&) = delete;
    AllocationFault& operator=(AllocationFault const&) = delete;
    ~AllocationFault();

    /// False: there were fewer allocations.
    bool hasStruck() const;
};

}
