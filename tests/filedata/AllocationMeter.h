#pragma once

#include <cstddef>

namespace varnox::hdqio::tests {

/// Counts what is allocated while one lives, with malloc of the file layer or with operator new.
/// The test program is linked with --wrap=malloc and --wrap=free.
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

}
