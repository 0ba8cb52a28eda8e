#pragma once

#include "socket/Tls.h"

#include <list>
#include <string>

namespace varnox::loadgen {

/// How clients come to a server.
struct Entrance
{
    std::string address;   ///< as the server writes it
    std::string authority; ///< of its certificate, a PEM file; empty: without TLS
};

/// Connections of one process. Must outlive those that it gave.
class Connector
{
public:
    explicit Connector(Entrance const& entrance) : m_entrance(entrance) {}

    struct Connection
    {
        int stream;       ///< the caller's
        std::string peer; ///< how the server names this client
    };
    /// Throws client::GreetingRefused if there is no place now, and what socketutil throws.
    Connection connect();

private:
    Entrance const& m_entrance;
    std::list<socketutil::TlsTunnel> m_tunnels;
};

}
