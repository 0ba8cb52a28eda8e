#include "bench/loadgen/Connector.h"

#include "client/Errors.h"
#include "socket/Address.h"

#include <chrono>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varnox::loadgen {

namespace {

constexpr std::chrono::seconds HANDSHAKE_TIMEOUT{120};

std::string peerNameOf(int connection)
{
    sockaddr_storage own = {};
    socklen_t size = sizeof(own);
    ::getsockname(connection, reinterpret_cast<sockaddr*>(&own), &size);
    if (own.ss_family == AF_INET)
        return "tcp:127.0.0.1:" +
               std::to_string(ntohs(reinterpret_cast<sockaddr_in const&>(own).sin_port));
    return "process " + std::to_string(::getpid()) + " of user " + std::to_string(::geteuid());
}

/// A listener without a place can only say so in the form of an alert.
bool saysBusy(socketutil::TlsError const& error)
{
    return std::string(error.what()).find("alert internal error") != std::string::npos;
}

}

Connector::Connection Connector::connect()
{
    socketutil::Descriptor connection =
        socketutil::connectTo(socketutil::parseAddress(m_entrance.address));
    std::string const peer = peerNameOf(connection.get());
    if (m_entrance.authority.empty())
        return {connection.release(), peer};
    socketutil::TlsClientOptions options;
    options.host = "127.0.0.1";
    options.ca = m_entrance.authority;
    try {
        m_tunnels.emplace_back(std::move(connection), options, HANDSHAKE_TIMEOUT);
    } catch (socketutil::TlsError const& error) {
        if (saysBusy(error))
            throw client::GreetingRefused("An alert of TLS: try again later.");
        throw;
    }
    return {m_tunnels.back().takeStream().release(), peer};
}

}
