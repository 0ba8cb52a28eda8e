#include "socket/Address.h"

#include "varnox/socketutil/SocketException.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace varnox::socketutil {

namespace {

constexpr char UNIX_PREFIX[] = "unix:";
constexpr char TCP_PREFIX[] = "tcp:";

[[noreturn]] void throwWithReason(std::string const& what, int error)
{
    throw SocketException(what + ": " + std::strerror(error) + ".");
}

std::uint16_t parsePort(std::string const& digits, std::string const& text)
{
    std::uint16_t port = 0;
    char const* const end = digits.data() + digits.size();
    auto const [stop, error] = std::from_chars(digits.data(), end, port);
    if (digits.empty() || error != std::errc() || stop != end)
        throw std::invalid_argument("'" + text + "' needs a port from 0 to 65535 behind its host.");
    return port;
}

Address parseTcp(std::string const& text)
{
    std::string const rest = text.substr(sizeof(TCP_PREFIX) - 1);
    std::size_t const colon = rest.rfind(':');
    if (colon == std::string::npos)
        throw std::invalid_argument("'" + text + "' has no port; write tcp:HOST:PORT.");
    std::string host = rest.substr(0, colon);
    bool const isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (isBracketed)
        host = host.substr(1, host.size() - 2);
    if (host.empty() || host.find_first_of("[]") != std::string::npos ||
        host.find('\0') != std::string::npos)
        throw std::invalid_argument("'" + text + "' has no host; write tcp:HOST:PORT.");
    if (!isBracketed && host.find(':') != std::string::npos)
        throw std::invalid_argument("'" + text +
                                    "' needs brackets around its IPv6 host: tcp:[HOST]:PORT.");
    Address address;
    address.kind = Address::Kind::Tcp;
    address.host = host;
    address.port = parsePort(rest.substr(colon + 1), text);
    return address;
}

sockaddr_un unixAddress(std::string const& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        throw SocketException("The path of a Unix socket has at most " +
                              std::to_string(sizeof(address.sun_path) - 1) + " bytes, and '" +
                              path + "' has " + std::to_string(path.size()) +
                              "; choose a shorter one.");
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

sockaddr const* generic(sockaddr_un const& address)
{
    return reinterpret_cast<sockaddr const*>(&address);
}

Descriptor newSocket(int family, int flags)
{
    Descriptor result(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (!result.isOpen())
        throwWithReason("Can't make a socket", errno);
    return result;
}

using Resolved = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

/// All numbers of a host; at least one.
Resolved resolve(Address const& address, int flags)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | flags;
    addrinfo* found = nullptr;
    std::string const port = std::to_string(address.port);
    int const failure = ::getaddrinfo(address.host.c_str(), port.c_str(), &hints, &found);
    if (failure != 0)
        throw SocketException(
            "The host '" + address.host + "' is unknown: " +
            (failure == EAI_SYSTEM ? std::strerror(errno) : ::gai_strerror(failure)) + ".");
    return {found, ::freeaddrinfo};
}

bool isLoopbackNumber(sockaddr const* address)
{
    constexpr std::uint32_t LOOPBACK_NET = 127;
    if (address->sa_family == AF_INET) {
        in_addr number;
        std::memcpy(&number, &reinterpret_cast<sockaddr_in const*>(address)->sin_addr,
                    sizeof(number));
        return ntohl(number.s_addr) >> 24 == LOOPBACK_NET;
    }
    if (address->sa_family != AF_INET6)
        return false;
    in6_addr number;
    std::memcpy(&number, &reinterpret_cast<sockaddr_in6 const*>(address)->sin6_addr,
                sizeof(number));
    return IN6_IS_ADDR_LOOPBACK(&number) ||
           (IN6_IS_ADDR_V4MAPPED(&number) && number.s6_addr[12] == LOOPBACK_NET);
}

Address boundTcpAddress(int descriptor)
{
    sockaddr_storage bound = {};
    socklen_t size = sizeof(bound);
    if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&bound), &size) != 0)
        throwWithReason("Can't tell the address of a socket", errno);
    char host[NI_MAXHOST];
    char port[NI_MAXSERV];
    int const failure = ::getnameinfo(reinterpret_cast<sockaddr*>(&bound), size, host, sizeof(host),
                                      port, sizeof(port), NI_NUMERICHOST | NI_NUMERICSERV);
    if (failure != 0)
        throw SocketException(std::string("Can't tell the address of a socket: ") +
                              ::gai_strerror(failure) + ".");
    Address address;
    address.kind = Address::Kind::Tcp;
    address.host = host;
    address.port = parsePort(port, port);
    return address;
}

/// 0, or the reason as of errno. An interrupted attempt goes on in the background and is waited
/// for; that of a Unix socket has ended and is made again.
int connectOnce(int descriptor, sockaddr const* address, socklen_t size)
{
    int result = 0;
    while ((result = ::connect(descriptor, address, size)) != 0 && errno == EINTR &&
           address->sa_family == AF_UNIX) {
    }
    if (result == 0)
        return 0;
    if (errno != EINTR)
        return errno;
    pollfd waiting{descriptor, POLLOUT, 0};
    while (::poll(&waiting, 1, -1) < 0)
        if (errno != EINTR)
            return errno;
    int error = 0;
    socklen_t errorSize = sizeof(error);
    return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &errorSize) == 0 ? error : errno;
}

/// Held while a Unix socket is probed, replaced and opened, so that two servers that start at once
/// don't take one another's socket for a dead one. Best effort: some file systems have no locks,
/// and whoever may read the folder could keep the lock for ever.
Descriptor lockFolderOf(std::string const& path)
{
    constexpr std::chrono::seconds PATIENCE{2};
    constexpr std::chrono::milliseconds PAUSE{10};
    std::string const folder = std::filesystem::path(path).parent_path().string();
    Descriptor lock(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    auto const until = std::chrono::steady_clock::now() + PATIENCE;
    while (lock.isOpen() && ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 &&
           (errno == EINTR || errno == EWOULDBLOCK) && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(PAUSE);
    return lock;
}

/// Removes a Unix socket that no process listens on any more.
void removeStale(std::string const& path, sockaddr_un const& address)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0)
        return;
    if (!S_ISSOCK(status.st_mode))
        throw SocketException("Can't listen on unix:" + path +
                              ": there is already a file of that name, and no socket. Choose "
                              "another path or remove it.");
    Descriptor const probe = newSocket(AF_UNIX, SOCK_NONBLOCK);
    if (::connect(probe.get(), generic(address), sizeof(address)) == 0 || errno == EAGAIN)
        throw SocketException("Can't listen on unix:" + path +
                              ": another server is listening there. Choose another path or end "
                              "that server.");
    if (errno == ENOENT)
        return;
    if (errno != ECONNREFUSED)
        throwWithReason("Can't find out whether a server is listening on unix:" + path, errno);
    if (::unlink(path.c_str()) != 0 && errno != ENOENT)
        throwWithReason("Can't replace the socket that a dead server left at " + path, errno);
}

}

Address parseAddress(std::string const& text)
{
    if (text.starts_with(TCP_PREFIX))
        return parseTcp(text);
    if (!text.starts_with(UNIX_PREFIX))
        throw std::invalid_argument("'" + text +
                                    "' is no address; write unix:PATH or tcp:HOST:PORT.");
    Address address;
    address.path = text.substr(sizeof(UNIX_PREFIX) - 1);
    if (address.path.empty() || address.path.find('\0') != std::string::npos)
        throw std::invalid_argument("'" + text + "' has no path; write unix:PATH.");
    return address;
}

std::string textOf(Address const& address)
{
    if (address.kind == Address::Kind::Unix)
        return UNIX_PREFIX + address.path;
    bool const needsBrackets = address.host.find(':') != std::string::npos;
    return TCP_PREFIX + (needsBrackets ? "[" + address.host + "]" : address.host) + ":" +
           std::to_string(address.port);
}

bool isLoopback(Address const& address)
{
    if (address.kind == Address::Kind::Unix)
        return true;
    Resolved const numbers = resolve(address, 0);
    for (addrinfo const* number = numbers.get(); number != nullptr; number = number->ai_next)
        if (!isLoopbackNumber(number->ai_addr))
            return false;
    return true;
}

Descriptor connectTo(Address const& address)
{
    std::string const what = "Can't connect to " + textOf(address);
    if (address.kind == Address::Kind::Unix) {
        sockaddr_un const target = unixAddress(address.path);
        Descriptor result = newSocket(AF_UNIX, 0);
        if (int const error = connectOnce(result.get(), generic(target), sizeof(target)))
            throwWithReason(what, error);
        return result;
    }
    Resolved const numbers = resolve(address, 0);
    int error = 0;
    for (addrinfo const* number = numbers.get(); number != nullptr; number = number->ai_next) {
        Descriptor result(::socket(number->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
        error = result.isOpen() ? connectOnce(result.get(), number->ai_addr, number->ai_addrlen)
                                : errno;
        if (error == 0)
            return result;
    }
    throwWithReason(what, error);
}

Listener::Listener(Address const& address, mode_t mode)
{
    if (address.kind == Address::Kind::Unix)
        listenOnUnix(address.path, mode);
    else
        listenOnTcp(address);
}

Listener::~Listener()
{
    close();
}

void Listener::close()
{
    if (!m_descriptor.isOpen())
        return;
    struct stat status = {};
    if (m_boundAddress.kind == Address::Kind::Unix &&
        ::lstat(m_boundAddress.path.c_str(), &status) == 0 && status.st_dev == m_device &&
        status.st_ino == m_inode)
        ::unlink(m_boundAddress.path.c_str());
    m_descriptor.reset();
}

void Listener::listenOnUnix(std::string const& path, mode_t mode)
{
    std::string const what = "Can't listen on unix:" + path;
    sockaddr_un const address = unixAddress(path);
    Descriptor const lock = lockFolderOf(path);
    removeStale(path, address);
    Descriptor result = newSocket(AF_UNIX, SOCK_NONBLOCK);
    // The file takes the mode of the socket, so that there is no moment at which others may come
    // in.
    mode_t const mask = ::umask(0);
    bool const isBound = ::fchmod(result.get(), mode) == 0 &&
                         ::bind(result.get(), generic(address), sizeof(address)) == 0;
    int const bindError = errno;
    ::umask(mask);
    if (!isBound)
        throwWithReason(what, bindError);
    struct stat status = {};
    if (::listen(result.get(), SOMAXCONN) != 0 || ::lstat(path.c_str(), &status) != 0) {
        int const error = errno;
        ::unlink(path.c_str());
        throwWithReason(what, error);
    }
    m_device = status.st_dev;
    m_inode = status.st_ino;
    m_boundAddress.path = path;
    m_descriptor = std::move(result);
}

void Listener::listenOnTcp(Address const& address)
{
    Resolved const numbers = resolve(address, AI_PASSIVE);
    int error = 0;
    for (addrinfo const* number = numbers.get(); number != nullptr; number = number->ai_next) {
        Descriptor result(
            ::socket(number->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (!result.isOpen()) {
            error = errno;
            continue;
        }
        int const on = 1; // a port that a server has just left can be taken at once
        ::setsockopt(result.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        if (::bind(result.get(), number->ai_addr, number->ai_addrlen) == 0 &&
            ::listen(result.get(), SOMAXCONN) == 0) {
            m_boundAddress = boundTcpAddress(result.get());
            m_descriptor = std::move(result);
            return;
        }
        error = errno;
    }
    if (error == EADDRINUSE)
        throw SocketException("Can't listen on " + textOf(address) +
                              ": the port is in use. Choose another one, or port 0 for any that "
                              "is free.");
    throwWithReason("Can't listen on " + textOf(address), error);
}

}
