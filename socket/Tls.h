#pragma once

#include "socket/Descriptor.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace varnox::socketutil {

/// Encryption could not be set up, or the other side isn't who it should be. The text is for a
/// person.
class TlsError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The files of a server, all in PEM form.
struct TlsServerFiles
{
    std::string certificate; ///< with those that lead from it to the authority behind it
    std::string key;         ///< others must not be able to read it
    std::string clientCa; ///< who signs the certificates that clients must show; empty: none must
};

struct TlsClientOptions
{
    std::string host;       ///< that was asked for; a name or a number
    bool checksName = true; ///< the certificate must be for the host
    std::string ca; ///< who signs certificates of servers; empty: those that the system trusts
    std::string certificate; ///< our own, if the server wants to see one
    std::string key;
};

/// One encrypted connection, of TLS 1.2 or newer. Its bytes are moved to and from a plain socket,
/// so that who serves or asks needs to know nothing of it.
class TlsConnection
{
public:
    /// Reads the files. Throws TlsError.
    explicit TlsConnection(TlsServerFiles const& files);
    explicit TlsConnection(TlsClientOptions const& options);
    TlsConnection(TlsConnection&&) noexcept;
    ~TlsConnection();

    /// Agrees with the other side of a connected stream about keys and names, and takes the stream
    /// over. Gives up when the time is over, or when the plain socket's other end is closed. Throws
    /// TlsError.
    void shakeHands(Descriptor connection, int plain, std::chrono::milliseconds limit);

    /// Moves bytes between the connection and the plain socket, which it takes over, until either
    /// side has closed and what it said has been passed on. Memory is that of two buffers. Gives
    /// what went wrong, or an empty text.
    std::string relay(Descriptor plain);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// A client's encrypted connection, with a thread that moves its bytes.
class TlsTunnel
{
public:
    /// Shakes hands. Throws TlsError.
    TlsTunnel(Descriptor connection, TlsClientOptions const& options,
              std::chrono::milliseconds limit);
    TlsTunnel(TlsTunnel const&) = delete;
    TlsTunnel& operator=(TlsTunnel const&) = delete;
    /// Finishes.
    ~TlsTunnel();

    /// The plain end, to be taken once.
    Descriptor takeStream() { return std::move(m_stream); }

    /// Waits until what was written to the stream has been passed on; the stream must be closed.
    /// Gives what went wrong, or an empty text.
    std::string finish();

private:
    Descriptor m_stream;
    std::string m_failure; ///< The thread's until it has ended.
    std::thread m_thread;
};

}
