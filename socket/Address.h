#pragma once

#include "socket/Descriptor.h"

#include <cstdint>
#include <string>

#include <sys/types.h>

namespace varnox::socketutil {

/// Where a data server listens and a client connects: `unix:PATH` or `tcp:HOST:PORT`, with a host
/// that is an IPv6 number in brackets.
struct Address
{
    enum class Kind { Unix, Tcp };

    Kind kind = Kind::Unix;
    std::string path;       ///< of a Unix socket
    std::string host;       ///< name or number, without brackets
    std::uint16_t port = 0; ///< 0 asks for a free one where it is listened on
};

/// Throws std::invalid_argument with a text for the person who wrote the address.
Address parseAddress(std::string const& text);

/// The form that parseAddress reads.
std::string textOf(Address const& address);

/// True if nobody on another machine can reach it: a Unix socket, or a host of which every number
/// is one of the loopback. Asks the name service; throws SocketException if that knows no such
/// host.
bool isLoopback(Address const& address);

/// Connects, trying each number of the host in turn, and waits as long as the system does. Not
/// inherited by programs that the process starts. Throws SocketException.
Descriptor connectTo(Address const& address);

/// An open listening socket. A Unix socket lies in the file system as long as the
/// object lives; one that a dead server left is replaced.
class Listener
{
public:
    static constexpr mode_t OWNER_ONLY = 0600;

    /// mode is that of a Unix socket's file. Throws SocketException: the address is in use, may not
    /// be used, or isn't of this machine.
    explicit Listener(Address const& address, mode_t mode = OWNER_ONLY);
    Listener(Listener const&) = delete;
    Listener& operator=(Listener const&) = delete;
    ~Listener();

    /// Doesn't block in accept.
    int descriptor() const { return m_descriptor.get(); }
    /// What it really listens on: the number for a host's name, and the port that was free.
    Address const& boundAddress() const { return m_boundAddress; }
    /// Refuses from now on. Removes the file of a Unix socket, if it is still this one.
    void close();

private:
    void listenOnUnix(std::string const& path, mode_t mode);
    void listenOnTcp(Address const& address);

    Descriptor m_descriptor;
    Address m_boundAddress;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

}
