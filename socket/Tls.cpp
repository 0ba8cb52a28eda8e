#include "socket/Tls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <optional>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace varnox::socketutil {

namespace {

using Clock = std::chrono::steady_clock;

/// To serve what a client sent before it left, and to take what a server sends before it ends.
constexpr std::chrono::seconds FAREWELL{1};
/// For the other side to take the last of what it was sent.
constexpr std::chrono::seconds LAST_WORDS{10};

/// What OpenSSL has to say, oldest first. What the system said is enough.
std::string reasons()
{
    std::string result;
    while (unsigned long const error = ::ERR_get_error()) {
        if (ERR_GET_LIB(error) == ERR_LIB_SYS) {
            ::ERR_clear_error();
            return std::strerror(ERR_GET_REASON(error));
        }
        char const* const reason = ::ERR_reason_error_string(error);
        std::array<char, 256> text{};
        ::ERR_error_string_n(error, text.data(), text.size());
        result +=
            (result.empty() ? "" : "; ") + std::string(reason != nullptr ? reason : text.data());
    }
    return result.empty() ? "no reason is known" : result;
}

[[noreturn]] void throwError(std::string const& what)
{
    throw TlsError(what + ": " + reasons() + ".");
}

bool isNumber(std::string const& host)
{
    in6_addr number;
    return ::inet_pton(AF_INET, host.c_str(), &number) == 1 ||
           ::inet_pton(AF_INET6, host.c_str(), &number) == 1;
}

void setNonBlocking(int descriptor)
{
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

/// The last record of an answer doesn't wait until the one before is acknowledged, which takes 40
/// ms. Without effect on what isn't TCP.
void sendAtOnce(int descriptor)
{
    int const on = 1;
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

/// Takes the place of a prompt at the terminal, at which a server would wait for ever.
int tellNoPassPhrase(char*, int, int, void* wasAsked)
{
    *static_cast<bool*>(wasAsked) = true;
    return -1;
}

void refuseOpenKey(std::string const& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        throw TlsError("The key " + path + " can't be read: " + std::strerror(errno) + ".");
    if ((status.st_mode & (S_IROTH | S_IWOTH | S_IWGRP)) != 0)
        throw TlsError("The key " + path + " is open to others; run: chmod 600 " + path);
}

/// Each worker of a server reads its files anew, which of a pipe would wait for ever.
void refusePipe(std::string const& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        throw TlsError(path + " is no ordinary file, and each session reads it anew; write what it "
                              "gives into a file.");
}

struct Buffer
{
    static constexpr std::size_t SIZE = std::size_t{64} * 1024;

    std::array<unsigned char, SIZE> bytes;
    std::size_t begin = 0;
    std::size_t end = 0;

    bool isEmpty() const { return begin == end; }
    std::size_t size() const { return end - begin; }
    std::size_t room() const { return SIZE - end; }
    void take(std::size_t count)
    {
        begin += count;
        if (begin == end)
            begin = end = 0;
    }
};

/// OpenSSL writes without a flag against SIGPIPE. This keeps the signal from this thread, as a
/// StreamSocket does for pipes; a thread that is started meanwhile keeps it from itself for good.
class SignalsHeldBack
{
public:
    explicit SignalsHeldBack(bool all)
    {
        sigset_t signals;
        if (all)
            sigfillset(&signals);
        else
            sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    }
    SignalsHeldBack(SignalsHeldBack const&) = delete;
    SignalsHeldBack& operator=(SignalsHeldBack const&) = delete;
    ~SignalsHeldBack()
    {
        timespec const now = {};
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        if (sigismember(&m_before, SIGPIPE) == 0)
            ::sigtimedwait(&pipe, nullptr, &now);
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

private:
    sigset_t m_before;
};

int millisecondsUntil(Clock::time_point time)
{
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
    return static_cast<int>(std::max<long>(left, 0));
}

}

class TlsConnection::Impl
{
public:
    explicit Impl(SSL_METHOD const* method) : context(::SSL_CTX_new(method), ::SSL_CTX_free)
    {
        if (!context || ::SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1)
            throwError("Can't set up TLS");
        ::SSL_CTX_set_options(context.get(),
                              SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_TICKET | SSL_OP_NO_COMPRESSION);
        ::SSL_CTX_set_num_tickets(context.get(),
                                  0); // nobody would know them at the next connection
        ::SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
        ::SSL_CTX_set_mode(context.get(),
                           SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    }

    void useCertificate(std::string const& certificate, std::string const& key) const
    {
        refuseOpenKey(key);
        bool wasAsked = false;
        ::SSL_CTX_set_default_passwd_cb(context.get(), tellNoPassPhrase);
        ::SSL_CTX_set_default_passwd_cb_userdata(context.get(), &wasAsked);
        if (::SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) != 1)
            throwError("The certificate " + certificate + " can't be used");
        bool const isUsable =
            ::SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM) == 1;
        ::SSL_CTX_set_default_passwd_cb(context.get(), nullptr);
        ::SSL_CTX_set_default_passwd_cb_userdata(context.get(), nullptr);
        if (wasAsked)
            throw TlsError("The key " + key +
                           " needs a pass phrase, and nobody is asked for one; make a key without: "
                           "(umask 077; openssl pkey -in " +
                           key + " -out NEWKEY)");
        if (!isUsable)
            throwError("The key " + key + " can't be used for the certificate " + certificate);
    }

    void trust(std::string const& authority) const
    {
        if (::SSL_CTX_load_verify_locations(context.get(), authority.c_str(), nullptr) != 1)
            throwError("The certificates of " + authority + " can't be used");
    }

    void makeSession()
    {
        session.reset(::SSL_new(context.get()));
        if (!session)
            throwError("Can't set up TLS");
    }

    void expectHost(std::string const& host, bool checksName) const
    {
        if (!isNumber(host))
            ::SSL_set_tlsext_host_name(session.get(), host.c_str());
        if (!checksName)
            return;
        X509_VERIFY_PARAM* const expected = ::SSL_get0_param(session.get());
        int const isSet = isNumber(host)
                              ? ::X509_VERIFY_PARAM_set1_ip_asc(expected, host.c_str())
                              : ::X509_VERIFY_PARAM_set1_host(expected, host.c_str(), host.size());
        if (isSet != 1)
            throwError("'" + host + "' is no name that can be checked");
    }

    void shakeHands(int plainEnd, Clock::time_point until)
    {
        for (;;) {
            ::ERR_clear_error();
            int const result =
                isServer ? ::SSL_accept(session.get()) : ::SSL_connect(session.get());
            if (result == 1)
                return;
            short const events = eventsFor(result);
            if (events == 0) {
                std::string const reason = handshakeFailure();
                hangUp();
                throw TlsError("TLS failed: " + reason);
            }
            pollfd waiting[] = {{network.get(), events, 0}, {plainEnd, 0, 0}};
            int const ready = ::poll(waiting, 2, millisecondsUntil(until));
            if (ready == 0)
                throw TlsError("TLS failed: the other side didn't finish its part in time.");
            if (ready > 0 && waiting[1].revents != 0)
                throw TlsError("TLS failed: the session has ended meanwhile.");
        }
    }

    std::string relay(int plainEnd)
    {
        plain = plainEnd;
        setNonBlocking(plain);
        while (moveBytes()) {
        }
        sayGoodbye();
        return failure;
    }

    std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> context;
    std::unique_ptr<SSL, void (*)(SSL*)> session{nullptr, ::SSL_free};
    Descriptor network;
    bool isServer = false;

private:
    /// What an operation that didn't come to its end waits for; 0 if it has failed.
    short eventsFor(int result) const
    {
        switch (::SSL_get_error(session.get(), result)) {
        case SSL_ERROR_WANT_READ:
            return POLLIN;
        case SSL_ERROR_WANT_WRITE:
            return POLLOUT;
        default:
            return 0;
        }
    }

    std::string handshakeFailure() const
    {
        int const system = errno;
        long const verified = ::SSL_get_verify_result(session.get());
        if (verified != X509_V_OK)
            return std::string("the certificate of the other side is refused: ") +
                   ::X509_verify_cert_error_string(verified) + ".";
        if (::ERR_peek_error() != 0)
            return reasons() + ".";
        return system != 0 ? std::string(std::strerror(system)) + "."
                           : "the other side closed the connection.";
    }

    /// False when there is nothing left to move.
    bool moveBytes()
    {
        bool hasMoved = false;
        if (!networkHasEnded && toPlain.room() > 0)
            hasMoved = readNetwork() || hasMoved;
        if (!toPlain.isEmpty())
            hasMoved = writePlain() || hasMoved;
        if (!plainHasEnded && toNetwork.room() > 0)
            hasMoved = readPlain() || hasMoved;
        if (!toNetwork.isEmpty())
            hasMoved = writeNetwork() || hasMoved;
        if (networkHasEnded && toPlain.isEmpty() && !plainWasTold) {
            ::shutdown(plain, SHUT_WR);
            plainWasTold = true;
            deadline = Clock::now() + FAREWELL;
        }
        if (plainHasEnded && (toNetwork.isEmpty() || networkHasFailed))
            return false;
        if (hasMoved) {
            if (plainHasEnded)
                deadline = Clock::now() + LAST_WORDS;
            return true;
        }
        return wait();
    }

    bool wait()
    {
        short networkEvents = 0;
        if (!networkHasEnded && toPlain.room() > 0)
            networkEvents = static_cast<short>(networkEvents | readEvents);
        if (!toNetwork.isEmpty())
            networkEvents = static_cast<short>(networkEvents | writeEvents);
        if (!otherSideLeft)
            networkEvents = static_cast<short>(networkEvents | POLLRDHUP);
        short plainEvents = 0;
        if (!toPlain.isEmpty())
            plainEvents = POLLOUT;
        if (!plainHasEnded && toNetwork.room() > 0)
            plainEvents = static_cast<short>(plainEvents | POLLIN);
        // Of an end that is asked nothing, its closing would be told again and again.
        pollfd waiting[] = {{networkEvents != 0 ? network.get() : -1, networkEvents, 0},
                            {plainEvents != 0 ? plain : -1, plainEvents, 0}};
        ::poll(waiting, 2, deadline ? millisecondsUntil(*deadline) : -1);
        if ((waiting[0].revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0 && !otherSideLeft) {
            otherSideLeft = true;
            if (!deadline)
                deadline = Clock::now() + FAREWELL;
        }
        return !deadline || Clock::now() < *deadline;
    }

    bool readNetwork()
    {
        ::ERR_clear_error();
        int const got = ::SSL_read(session.get(), toPlain.bytes.data() + toPlain.end,
                                   static_cast<int>(toPlain.room()));
        if (got > 0) {
            toPlain.end += static_cast<std::size_t>(got);
            return true;
        }
        readEvents = eventsFor(got);
        if (readEvents != 0)
            return false;
        networkHasEnded = true;
        if (::SSL_get_error(session.get(), got) != SSL_ERROR_ZERO_RETURN)
            fail();
        return true;
    }

    bool writeNetwork()
    {
        ::ERR_clear_error();
        int const written = ::SSL_write(session.get(), toNetwork.bytes.data() + toNetwork.begin,
                                        static_cast<int>(toNetwork.size()));
        if (written > 0) {
            toNetwork.take(static_cast<std::size_t>(written));
            return true;
        }
        writeEvents = eventsFor(written);
        if (writeEvents != 0)
            return false;
        fail();
        networkHasEnded = true;
        toNetwork.take(toNetwork.size());
        return true;
    }

    void fail()
    {
        networkHasFailed = true;
        // A side that hangs up without a word of TLS is no more than that.
        unsigned long const error = ::ERR_peek_error();
        if (failure.empty() && error != 0 &&
            ERR_GET_REASON(error) != SSL_R_UNEXPECTED_EOF_WHILE_READING)
            failure = reasons();
    }

    bool readPlain()
    {
        ssize_t const got =
            ::recv(plain, toNetwork.bytes.data() + toNetwork.end, toNetwork.room(), 0);
        if (got > 0)
            toNetwork.end += static_cast<std::size_t>(got);
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            plainHasEnded = true;
        return got > 0 || plainHasEnded;
    }

    bool writePlain()
    {
        ssize_t const sent =
            ::send(plain, toPlain.bytes.data() + toPlain.begin, toPlain.size(), MSG_NOSIGNAL);
        if (sent > 0)
            toPlain.take(static_cast<std::size_t>(sent));
        else if (errno != EAGAIN && errno != EINTR)
            toPlain.take(toPlain.size()); // nobody wants it any more
        else
            return false;
        return true;
    }

    void sayGoodbye()
    {
        ::ERR_clear_error();
        if (!networkHasFailed)
            ::SSL_shutdown(session.get());
        hangUp();
    }

    /// A connection that is closed while bytes lie unread is reset, and the last words would be
    /// lost with it: so what still comes is taken for a moment.
    void hangUp()
    {
        ::shutdown(network.get(), SHUT_WR);
        auto const until = Clock::now() + FAREWELL;
        for (;;) {
            ssize_t const got = ::recv(network.get(), toPlain.bytes.data(), Buffer::SIZE, 0);
            if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR))
                return;
            pollfd waiting{network.get(), POLLIN, 0};
            if (Clock::now() >= until || ::poll(&waiting, 1, millisecondsUntil(until)) == 0)
                return;
        }
    }

    int plain = -1;
    Buffer toPlain;
    Buffer toNetwork;
    short readEvents = POLLIN;
    short writeEvents = POLLOUT;
    bool networkHasEnded = false;
    bool networkHasFailed = false;
    bool otherSideLeft = false;
    bool plainHasEnded = false;
    bool plainWasTold = false;
    std::optional<Clock::time_point> deadline;
    std::string failure;
};

TlsConnection::TlsConnection(TlsServerFiles const& files)
    : m_impl(std::make_unique<Impl>(::TLS_server_method()))
{
    m_impl->isServer = true;
    for (std::string const& file : {files.certificate, files.key, files.clientCa})
        refusePipe(file);
    m_impl->useCertificate(files.certificate, files.key);
    if (!files.clientCa.empty()) {
        m_impl->trust(files.clientCa);
        STACK_OF(X509_NAME)* const names = ::SSL_load_client_CA_file(files.clientCa.c_str());
        if (names == nullptr)
            throwError("The certificates of " + files.clientCa + " can't be used");
        ::SSL_CTX_set_client_CA_list(m_impl->context.get(), names);
        ::SSL_CTX_set_verify(m_impl->context.get(),
                             SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
    }
    m_impl->makeSession();
}

TlsConnection::TlsConnection(TlsClientOptions const& options)
    : m_impl(std::make_unique<Impl>(::TLS_client_method()))
{
    ::SSL_CTX_set_verify(m_impl->context.get(), SSL_VERIFY_PEER, nullptr);
    if (!options.ca.empty())
        m_impl->trust(options.ca);
    else if (::SSL_CTX_set_default_verify_paths(m_impl->context.get()) != 1)
        throwError("The certificates that this system trusts can't be used");
    if (!options.certificate.empty())
        m_impl->useCertificate(options.certificate, options.key);
    m_impl->makeSession();
    m_impl->expectHost(options.host, options.checksName);
}

TlsConnection::TlsConnection(TlsConnection&&) noexcept = default;
TlsConnection::~TlsConnection() = default;

void TlsConnection::shakeHands(Descriptor connection, int plain, std::chrono::milliseconds limit)
{
    m_impl->network = std::move(connection);
    setNonBlocking(m_impl->network.get());
    sendAtOnce(m_impl->network.get());
    if (::SSL_set_fd(m_impl->session.get(), m_impl->network.get()) != 1)
        throwError("Can't set up TLS");
    m_impl->shakeHands(plain, Clock::now() + limit);
}

std::string TlsConnection::relay(Descriptor plain)
{
    return m_impl->relay(plain.get());
}

TlsTunnel::TlsTunnel(Descriptor connection, TlsClientOptions const& options,
                     std::chrono::milliseconds limit)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw TlsError(std::string("Can't make a socket: ") + std::strerror(errno) + ".");
    m_stream.reset(ends[0]);
    Descriptor plain(ends[1]);
    TlsConnection tls(options);
    {
        SignalsHeldBack const heldBack(false);
        tls.shakeHands(std::move(connection), plain.get(), limit);
    }
    SignalsHeldBack const heldBack(true);
    m_thread = std::thread([this, tls = std::move(tls), plain = std::move(plain)]() mutable {
        m_failure = tls.relay(std::move(plain));
    });
}

TlsTunnel::~TlsTunnel()
{
    finish();
}

std::string TlsTunnel::finish()
{
    m_stream.reset();
    if (m_thread.joinable())
        m_thread.join();
    return m_failure;
}

}
