#pragma once

namespace varnox::tests {

/// Blocks of memory that the program has taken with new and not given back.
long numAllocations();

/// While one lives, new finds no memory.
class NoMemory
{
public:
    NoMemory();
    NoMemory(NoMemory const&) = delete;
    NoMemory& operator=(NoMemory const&) = delete;
    ~NoMemory();
};

/// While it lives, what is lost isn't reported at the program's end by a sanitizer.
class ExpectedLoss
{
public:
    ExpectedLoss();
    ExpectedLoss(ExpectedLoss const&) = delete;
    ExpectedLoss& operator=(ExpectedLoss const&) = delete;
    ~ExpectedLoss();
};

}
