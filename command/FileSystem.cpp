#include "command/FileSystem.h"

#include <algorithm>
#include <cstdlib>

#include <sys/stat.h>

namespace varnox::filesystem {

namespace {

std::string environmentValue(char const* name)
{
    char const* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

}

std::FILE* fileOpen(std::string const& path, std::string const& mode)
{
    return std::fopen(path.c_str(), mode.c_str());
}

std::FILE* fileReopen(std::string const& path, std::string const& mode, std::FILE* file)
{
    return std::freopen(path.c_str(), mode.c_str(), file);
}

int fileRename(std::string const& from, std::string const& to)
{
    return std::rename(from.c_str(), to.c_str());
}

int fileRemove(std::string const& path)
{
    return std::remove(path.c_str());
}

bool fileSize(char const* path, unsigned long& size)
{
    struct stat status = {};
    if (::stat(path, &status) != 0)
        return false;
    size = static_cast<unsigned long>(status.st_size);
    return true;
}

bool fileSize(std::string const& path, unsigned long& size)
{
    return fileSize(path.c_str(), size);
}

std::string homeDirectory()
{
    std::string home = environmentValue("HOME");
    if (!home.empty())
        return home;
    std::string user = environmentValue("USERNAME");
    if (user.empty())
        user = environmentValue("USER");
    return user.empty() ? "" : "/home/" + user;
}

void convertPathDelimitersForOS(std::string& path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
}

}
