#include "apps/dataserver/Peer.h"

#include "socket/Address.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace varnox::dataserver {

using socketutil::Address;

namespace {

Peer peerOnThisMachine(int connection)
{
    ucred credentials = {};
    socklen_t size = sizeof(credentials);
    if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        return {"a client that has left", "", {}};
    std::string const user = "user " + std::to_string(credentials.uid);
    return {"process " + std::to_string(credentials.pid) + " of " + user, user, credentials.uid};
}

std::string sourceOf(sockaddr_storage const& peer)
{
    constexpr std::size_t NETWORK_BYTES = 8;
    if (peer.ss_family == AF_INET) {
        auto const& address = reinterpret_cast<sockaddr_in const&>(peer).sin_addr;
        return {reinterpret_cast<char const*>(&address), sizeof(address)};
    }
    auto const& address = reinterpret_cast<sockaddr_in6 const&>(peer).sin6_addr;
    auto const* const bytes = reinterpret_cast<char const*>(&address);
    if (IN6_IS_ADDR_V4MAPPED(&address))
        return {bytes + sizeof(address) - sizeof(in_addr), sizeof(in_addr)};
    return {bytes, NETWORK_BYTES};
}

}

Peer peerOf(int connection)
{
    int domain = 0;
    socklen_t size = sizeof(domain);
    if (::getsockopt(connection, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX)
        return peerOnThisMachine(connection);
    sockaddr_storage peer = {};
    size = sizeof(peer);
    if (::getpeername(connection, reinterpret_cast<sockaddr*>(&peer), &size) != 0)
        return {"a client that has left", "", {}};
    char host[NI_MAXHOST];
    char port[NI_MAXSERV];
    if ((peer.ss_family != AF_INET && peer.ss_family != AF_INET6) ||
        ::getnameinfo(reinterpret_cast<sockaddr*>(&peer), size, host, sizeof(host), port,
                      sizeof(port), NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return {"a client of unknown address", "", {}};
    Address address;
    address.kind = Address::Kind::Tcp;
    address.host = host;
    address.port = static_cast<std::uint16_t>(std::stoi(port));
    return {textOf(address), sourceOf(peer), {}};
}

}
