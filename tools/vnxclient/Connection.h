#pragma once

#include "client/Engine.h"
#include "client/ServerProcess.h"
#include "socket/Tls.h"
#include "tools/support/WrongUsage.h"

#include <memory>
#include <string>

namespace varnox::tools {

struct ConnectionOptions
{
    std::string address; ///< unix:, tcp:, tls: or ssh:; empty for a server of our own
    std::string tokenFile;
    socketutil::TlsClientOptions tls;
    std::string addon;       ///< for a server that we start, here or through ssh
    bool allowsRoot = false; ///< of a server that is started through ssh
};

/// A greeted session with a data server. While it lives, a signal that ends this process ends the
/// server that it has started as well.
class Connection
{
public:
    explicit Connection(ConnectionOptions const& options);
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;
    ~Connection();

    client::Engine& engine() { return *m_engine; }

    /// Ends the session and waits for a server of our own.
    void close();

private:
    void greetPlainly(std::string const& token, ConnectionOptions const& options);
    void greetByTls(std::string const& token, ConnectionOptions const& options);

    std::unique_ptr<client::ServerProcess> m_server;
    std::unique_ptr<socketutil::TlsTunnel> m_tunnel;
    std::unique_ptr<client::Engine> m_engine;
};

/// From now on SIGINT, SIGTERM and SIGHUP end this process at once, with the server that it has
/// started and the file that it is writing.
void installSignalHandlers();

}
