#include "apps/dataserver/StandardDescriptors.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/socket.h>

namespace varnox::dataserver {

using socketutil::Descriptor;

namespace {

constexpr int FIRST_FREE = 3;

Descriptor copyOf(int descriptor, std::string const& name)
{
    Descriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, FIRST_FREE));
    if (!copy.isOpen())
        throw std::runtime_error("Can't use " + name + ": " + std::strerror(errno) + ".");
    return copy;
}

void becomeNull(int descriptor, int flags)
{
    Descriptor null(::open("/dev/null", flags));
    if (null.get() == descriptor) {
        null.release(); // it was closed and the first that is free
        return;
    }
    if (!null.isOpen() || ::dup2(null.get(), descriptor) < 0)
        throw std::runtime_error(std::string("Can't open /dev/null: ") + std::strerror(errno));
}

/// Leads away what the connection lay on, if that is standard input or output.
void clear(int descriptor)
{
    if (descriptor == STDIN_FILENO)
        becomeNull(STDIN_FILENO, O_RDONLY);
    else if (descriptor == STDOUT_FILENO)
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
    else
        ::close(descriptor);
}

Ends takeStandardStreams()
{
    if (::isatty(STDIN_FILENO) != 0 || ::isatty(STDOUT_FILENO) != 0)
        throw UsageError(
            "--listen stdio speaks to a program and not to a terminal; a client starts "
            "it, as in: ssh host vnxdataserver --listen stdio");
    Ends ends{copyOf(STDIN_FILENO, "standard input"), copyOf(STDOUT_FILENO, "standard output")};
    clear(STDIN_FILENO);
    clear(STDOUT_FILENO);
    return ends;
}

Ends takeSocket(int descriptor)
{
    std::string const name = "fd:" + std::to_string(descriptor);
    int type = 0;
    socklen_t size = sizeof(type);
    if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) != 0)
        throw std::runtime_error("Can't use " + name + ": " + std::strerror(errno) +
                                 ". Pass a connected socket under this number.");
    sockaddr_storage peer = {};
    size = sizeof(peer);
    if (type != SOCK_STREAM ||
        ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0)
        throw std::runtime_error("Can't use " + name + ": it is no connected stream socket.");
    Ends ends{copyOf(descriptor, name), copyOf(descriptor, name)};
    clear(descriptor);
    return ends;
}

}

void fillStandardDescriptors()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (::fcntl(descriptor, F_GETFD) < 0)
            becomeNull(descriptor, O_RDWR);
}

Ends takeInheritedConnection(Source const& source)
{
    return source.kind == Source::Kind::StandardStreams ? takeStandardStreams()
                                                        : takeSocket(source.descriptor);
}

}
