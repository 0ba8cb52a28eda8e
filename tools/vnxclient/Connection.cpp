#include "tools/vnxclient/Connection.h"

#include "client/Errors.h"
#include "socket/Address.h"
#include "socket/Token.h"
#include "tools/support/UnfinishedFile.h"
#include "varnox/socketutil/SocketException.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <stdexcept>

#include <unistd.h>

namespace varnox::tools {

using client::Engine;
using client::ServerProcess;
using socketutil::Descriptor;

namespace {

constexpr char SSH_PREFIX[] = "ssh:";
constexpr char UNIX_PREFIX[] = "unix:";
constexpr char TLS_PREFIX[] = "tls:";
constexpr char TCP_PREFIX[] = "tcp:";

/// A server that has lost its session has this long to write why.
constexpr std::chrono::milliseconds TIME_FOR_LAST_WORDS{500};
/// A server that has been told to end has this long to do so.
constexpr std::chrono::milliseconds TIME_TO_END{2000};

// What the signal handler needs.
std::atomic<pid_t> serverToKill{0};
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler takes no lock");

extern "C" void endWithServer(int signal)
{
    if (pid_t const server = serverToKill; server != 0)
        ::kill(server, SIGKILL);
    removeUnfinishedFile();
    ::signal(signal, SIG_DFL);
    ::raise(signal); // taken when this handler returns
}

/// Keeps those signals away between the start of a server and its entry for the handler.
class SignalsHeldBack
{
public:
    SignalsHeldBack()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (int const signal : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&signals, signal);
        ::sigprocmask(SIG_BLOCK, &signals, &m_before);
    }
    SignalsHeldBack(SignalsHeldBack const&) = delete;
    SignalsHeldBack& operator=(SignalsHeldBack const&) = delete;
    ~SignalsHeldBack() { ::sigprocmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before;
};

bool startsWith(std::string const& address, char const* prefix)
{
    return address.rfind(prefix, 0) == 0;
}

/// Words about an address as its user wrote it, to whom the two are not the same.
std::string withTls(std::string text)
{
    for (std::size_t at = 0; (at = text.find(TCP_PREFIX, at)) != std::string::npos; ++at)
        text.replace(at, sizeof(TCP_PREFIX) - 1, TLS_PREFIX);
    return text;
}

/// isTls says how texts call an address of the kind tcp:.
Descriptor connectTo(std::string const& address, bool isTls = false)
{
    auto const worded = [isTls](char const* text) {
        return isTls ? withTls(text) : std::string(text);
    };
    try {
        return socketutil::connectTo(socketutil::parseAddress(address));
    } catch (std::invalid_argument const& error) {
        throw WrongUsage(worded(error.what()));
    } catch (socketutil::SocketException const& error) {
        throw client::ConnectionLost(worded(error.what()) +
                                     "\nIs the server running, and is this its address? It says so "
                                     "in its log when it starts.");
    }
}

bool isSsh(std::string const& address)
{
    return startsWith(address, SSH_PREFIX);
}

bool isTls(std::string const& address)
{
    return startsWith(address, TLS_PREFIX);
}

/// What may help where TLS ended as it does if the first bytes weren't understood.
std::string adviceAbout(std::string const& failure, std::string const& plainAddress)
{
    for (char const* const words : {"Connection reset", "unexpected eof", "wrong version number"})
        if (failure.find(words) != std::string::npos)
            return "\nIf the server doesn't speak TLS, its address is " + plainAddress + ".";
    return {};
}

std::unique_ptr<socketutil::TlsTunnel> connectByTls(ConnectionOptions const& options)
{
    std::string const address = TCP_PREFIX + options.address.substr(sizeof(TLS_PREFIX) - 1);
    Descriptor connection = connectTo(address, true);
    socketutil::TlsClientOptions tls = options.tls;
    tls.host = socketutil::parseAddress(address).host;
    try {
        return std::make_unique<socketutil::TlsTunnel>(std::move(connection), tls,
                                                       Engine::GREETING_TIMEOUT);
    } catch (socketutil::TlsError const& error) {
        throw client::ConnectionLost("Can't connect to " + options.address + ": " + error.what() +
                                     adviceAbout(error.what(), address));
    }
}

/// What the handshake of our side can't know: the server may look at our certificate after it.
std::string reasonOfTls(std::string const& reason, ConnectionOptions const& options)
{
    std::string const text = "Can't connect to " + options.address + ": TLS failed: " + reason;
    return options.tls.certificate.empty() && reason.find("certificate required") < reason.size()
               ? text + ".\nThe server wants to see a certificate: give one with --tls-cert and "
                        "--tls-key."
               : text + ".";
}

void checkUsage(ConnectionOptions const& options)
{
    bool isKnown = options.address.empty();
    for (char const* const prefix : {UNIX_PREFIX, TCP_PREFIX, TLS_PREFIX, SSH_PREFIX})
        isKnown = isKnown || startsWith(options.address, prefix);
    if (!isKnown)
        throw WrongUsage("'" + options.address +
                         "' is no address; write unix:PATH, tcp:HOST:PORT, tls:HOST:PORT or "
                         "ssh:[USER@]HOST.");
    bool const startsServer = options.address.empty() || isSsh(options.address);
    if (!options.addon.empty() && !startsServer)
        throw WrongUsage("--addon is for a server that is started here or through ssh; one that is "
                         "running has its add-on already.");
    bool const hasTlsOptions = !options.tls.ca.empty() || !options.tls.certificate.empty() ||
                               !options.tls.key.empty() || !options.tls.checksName;
    if (hasTlsOptions && !isTls(options.address))
        throw WrongUsage("The options of TLS are for a server that is named with --connect "
                         "tls:HOST:PORT.");
    if (options.tls.certificate.empty() != options.tls.key.empty())
        throw WrongUsage("--tls-cert and --tls-key go together.");
    if (options.allowsRoot && !isSsh(options.address))
        throw WrongUsage("--allow-root is for a server that is started through ssh.");
    if (!options.tokenFile.empty() && options.address.empty())
        throw WrongUsage("--token-file is for a server that is named with --connect.");
}

std::unique_ptr<ServerProcess> startServer(ConnectionOptions const& options)
{
    return options.address.empty()
               ? ServerProcess::startLocal(client::findServerProgram(), options.addon)
               : ServerProcess::startSsh(options.address.substr(sizeof(SSH_PREFIX) - 1),
                                         options.addon, options.allowsRoot);
}

}

void installSignalHandlers()
{
    struct sigaction action = {};
    action.sa_handler = endWithServer;
    sigemptyset(&action.sa_mask);
    // What whoever started us wants ignored stays so, as by nohup.
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

Connection::Connection(ConnectionOptions const& options)
{
    checkUsage(options);
    std::string const token =
        options.tokenFile.empty() ? std::string() : socketutil::readTokenFile(options.tokenFile);
    Descriptor stream;
    if (options.address.empty() || isSsh(options.address)) {
        SignalsHeldBack const heldBack;
        m_server = startServer(options);
        serverToKill = m_server->killTarget();
        stream = m_server->takeStream();
    } else if (isTls(options.address)) {
        m_tunnel = connectByTls(options);
        stream = m_tunnel->takeStream();
    } else {
        stream = connectTo(options.address);
    }
    m_engine = std::make_unique<Engine>(stream.release());
    if (m_server != nullptr)
        m_engine->setServerLog([server = m_server.get()] {
            server->waitFor(TIME_FOR_LAST_WORDS);
            return server->lastWords();
        });
    bool const isInherited = options.address.empty();
    if (isInherited)
        return;
    if (isSsh(options.address)) // somebody may have to find a password first
        m_engine->greet(token, std::chrono::minutes(5));
    else if (m_tunnel != nullptr)
        greetByTls(token, options);
    else
        greetPlainly(token, options);
}

void Connection::greetPlainly(std::string const& token, ConnectionOptions const& options)
{
    try {
        m_engine->greet(token);
    } catch (client::ConnectionLost const& error) {
        if (!startsWith(options.address, TCP_PREFIX))
            throw;
        throw client::ConnectionLost(std::string(error.what()) +
                                     "\nIf it speaks TLS, its address is " + TLS_PREFIX +
                                     options.address.substr(sizeof(TCP_PREFIX) - 1) + ".");
    }
}

void Connection::greetByTls(std::string const& token, ConnectionOptions const& options)
{
    try {
        m_engine->greet(token);
    } catch (client::ConnectionLost const&) {
        m_engine.reset();
        std::string const reason = m_tunnel->finish();
        if (reason.empty())
            throw;
        throw client::ConnectionLost(reasonOfTls(reason, options));
    }
}

Connection::~Connection()
{
    SignalsHeldBack const heldBack;
    serverToKill = 0;
    m_engine.reset(); // hangs up, which ends the session
    m_tunnel.reset(); // passes that on
    m_server.reset(); // kills what is left
}

void Connection::close()
{
    m_engine->close();
    m_engine.reset();
    m_tunnel.reset();
    if (m_server != nullptr)
        m_server->waitFor(TIME_TO_END);
}

}
