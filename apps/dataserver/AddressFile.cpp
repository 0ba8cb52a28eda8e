#include "apps/dataserver/AddressFile.h"

#include "socket/Descriptor.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace varnox::dataserver {

namespace {

bool writeAll(int descriptor, std::string const& text)
{
    std::size_t written = 0;
    while (written < text.size()) {
        ssize_t const count = ::write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0)
            written += static_cast<std::size_t>(count);
    }
    return true;
}

}

void writeAddressFile(std::string const& path, std::string const& address)
{
    constexpr mode_t READABLE = 0644;
    struct stat existing = {};
    if (::lstat(path.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode))
        throw std::runtime_error("Can't write the address file " + path +
                                 ": there is something of that name that is no ordinary file, and "
                                 "it isn't replaced. Choose another name or remove it.");
    std::string const beside = path + "." + std::to_string(::getpid()) + ".tmp";
    ::unlink(beside.c_str()); // of a dead process with the same number
    socketutil::Descriptor file(
        ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, READABLE));
    bool const isWritten = file.isOpen() && writeAll(file.get(), address + "\n");
    int error = errno;
    file.reset();
    if (isWritten) {
        if (::rename(beside.c_str(), path.c_str()) == 0)
            return;
        error = errno;
    }
    ::unlink(beside.c_str());
    std::string const reason = std::strerror(error);
    throw std::runtime_error("Can't write the address file " + path + ": " + reason + ".");
}

}
