#include "tools/vnxinfo/Access.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace varnox::tools {

std::string whyNotOpened(std::string const& path)
{
    struct stat status = {};
    if (::access(path.c_str(), R_OK) != 0 || ::stat(path.c_str(), &status) != 0)
        return std::strerror(errno);
    return S_ISREG(status.st_mode) ? "" : "it is no ordinary file";
}

}
