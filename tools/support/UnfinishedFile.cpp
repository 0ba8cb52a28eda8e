#include "tools/support/UnfinishedFile.h"

#include <array>
#include <atomic>
#include <cstring>

#include <unistd.h>

namespace varnox::tools {

namespace {

std::array<char, 4096> unfinishedFile{};
std::atomic<bool> hasUnfinishedFile{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler takes no lock");

}

void setUnfinishedFile(std::string const& path)
{
    hasUnfinishedFile = false;
    if (path.empty() || path.size() >= unfinishedFile.size())
        return;
    std::memcpy(unfinishedFile.data(), path.c_str(), path.size() + 1);
    hasUnfinishedFile = true;
}

void removeUnfinishedFile()
{
    if (hasUnfinishedFile)
        ::unlink(unfinishedFile.data());
}

}
