#include "tools/support/StandardDescriptors.h"

#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace varnox::tools {

void occupyStandardDescriptors()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0)
            continue;
        // The wrong way round, so that its use fails as if it were closed. The first that is free
        // is this one.
        int const direction = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (::open("/dev/null", direction) != descriptor)
            std::abort();
    }
}

}
