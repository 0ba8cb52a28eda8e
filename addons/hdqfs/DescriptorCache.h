#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>

namespace varnox::hdqfsloader {

/// Positioned reads from any number of files through a bounded number of descriptors. A file stays
/// open between reads until others push it out, the longest unused first. Failures are
/// std::runtime_error with the path and the reason.
class DescriptorCache
{
public:
    static constexpr std::size_t DEFAULT_MAX_OPEN = 64;

    explicit DescriptorCache(std::size_t maxOpen = DEFAULT_MAX_OPEN);
    DescriptorCache(DescriptorCache const&) = delete;
    DescriptorCache& operator=(DescriptorCache const&) = delete;
    ~DescriptorCache();

    /// Reads exactly byteCount bytes at fileLoc. A file that ends before is an error.
    void read(std::string const& path, std::uint64_t fileLoc, void* out, std::size_t byteCount);

    /// Bytes of the file.
    std::uint64_t size(std::string const& path);

    std::size_t numOpen() const { return m_open.size(); }

private:
    struct OpenFile
    {
        std::string path;
        int descriptor;
    };

    int descriptorOf(std::string const& path);

    std::size_t m_maxOpen;
    std::list<OpenFile> m_open; ///< The last used first.
    std::unordered_map<std::string, std::list<OpenFile>::iterator> m_byPath;
};

}
