#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace varnox::dataserver {

/// Who is at the other end of a connection, as the system says: nothing that the client sends.
struct Peer
{
    std::string name; ///< for the log
    /// What counts as one source of connections: a user of this machine, an IPv4 address, or the
    /// first 64 bits of an IPv6 address, which one customer of a network has to himself.
    std::string source;
    std::optional<uid_t> user; ///< on a Unix socket
};

Peer peerOf(int connection);

}
