#pragma once

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include <unistd.h>

namespace varnox::hdqfsloader::tests {

/// A file with the given contents, gone at the end of the test.
class TemporaryFile
{
public:
    explicit TemporaryFile(std::string_view contents)
    {
        char const* const folder = std::getenv("TMPDIR");
        m_path = std::string(folder != nullptr ? folder : "/tmp") + "/vnxtestXXXXXX";
        int const descriptor = ::mkstemp(m_path.data());
        if (descriptor < 0)
            throw std::runtime_error("no temporary file");
        bool const written = ::write(descriptor, contents.data(), contents.size()) ==
                             static_cast<ssize_t>(contents.size());
        ::close(descriptor);
        if (!written)
            throw std::runtime_error("temporary file not written");
    }
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile() { std::remove(m_path.c_str()); }

    std::string const& path() const { return m_path; }

private:
    std::string m_path;
};

}
