#include "addons/hdqfs/DescriptorCache.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace varnox::hdqfsloader {

DescriptorCache::DescriptorCache(std::size_t maxOpen) : m_maxOpen(maxOpen == 0 ? 1 : maxOpen)
{
}

DescriptorCache::~DescriptorCache()
{
    for (OpenFile const& file : m_open)
        ::close(file.descriptor);
}

int DescriptorCache::descriptorOf(std::string const& path)
{
    auto const known = m_byPath.find(path);
    if (known != m_byPath.end()) {
        m_open.splice(m_open.begin(), m_open, known->second);
        return known->second->descriptor;
    }
    if (m_open.size() >= m_maxOpen) {
        ::close(m_open.back().descriptor);
        m_byPath.erase(m_open.back().path);
        m_open.pop_back();
    }
    // What needs memory comes before what would be lost without it.
    std::list<OpenFile> added;
    added.push_front({path, -1});
    auto const place = m_byPath.emplace(path, added.begin()).first;
    int const descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        int const error = errno;
        m_byPath.erase(place);
        throw std::runtime_error("Cannot open " + path + ": " + std::strerror(error) + ".");
    }
    added.front().descriptor = descriptor;
    m_open.splice(m_open.begin(), added);
    return descriptor;
}

std::uint64_t DescriptorCache::size(std::string const& path)
{
    struct stat status = {};
    if (::fstat(descriptorOf(path), &status) != 0)
        throw std::runtime_error("Cannot read " + path + ": " + std::strerror(errno) + ".");
    return static_cast<std::uint64_t>(status.st_size);
}

void DescriptorCache::read(std::string const& path, std::uint64_t fileLoc, void* out,
                           std::size_t byteCount)
{
    if (byteCount == 0)
        return;
    int const descriptor = descriptorOf(path);
    auto const largest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    if (fileLoc > largest || byteCount > largest - fileLoc)
        throw std::runtime_error("Cannot read " + path + ": the location " +
                                 std::to_string(fileLoc) + " lies beyond the end of the file.");
    auto* target = static_cast<char*>(out);
    while (byteCount > 0) {
        ssize_t const got = ::pread(descriptor, target, byteCount, static_cast<off_t>(fileLoc));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw std::runtime_error("Cannot read " + path + ": " + std::strerror(errno) + ".");
        if (got == 0)
            throw std::runtime_error("Cannot read " + path + ": the file ends at " +
                                     std::to_string(fileLoc) + ", " + std::to_string(byteCount) +
                                     " bytes too early. It may be damaged or still being written.");
        target += got;
        fileLoc += static_cast<std::uint64_t>(got);
        byteCount -= static_cast<std::size_t>(got);
    }
}

}
