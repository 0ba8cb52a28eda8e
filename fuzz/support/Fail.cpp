#include "fuzz/support/Entry.h"

#include <cstdio>
#include <cstdlib>

namespace varnox::fuzz {

void fail(char const* what)
{
    std::fprintf(stderr, "The target failed: %s\n", what);
    std::abort();
}

}
