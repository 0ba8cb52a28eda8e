#include "socket/Address.h"
#include "socket/Tls.h"
#include "tests/dataserver/Program.h"
#include "tests/support/Certificates.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace varnox::tests {
namespace {

using namespace std::chrono_literals;
using socketutil::Descriptor;
using socketutil::TlsClientOptions;
using socketutil::TlsError;
using socketutil::TlsTunnel;
using Clock = std::chrono::steady_clock;

/// A client behind its tunnel.
struct EncryptedClient
{
    EncryptedClient(std::string const& address, TlsClientOptions const& options)
        : tunnel(connectTo(socketutil::parseAddress(address)), options, 10s)
    {
        int const stream = tunnel.takeStream().release();
        client = std::make_unique<Client>(stream, stream);
    }

    TlsTunnel tunnel;
    std::unique_ptr<Client> client;
};

class Encryption : public DataServer
{
protected:
    void SetUp() override
    {
        DataServer::SetUp();
        authority = makeCertificate(folder.string(), "authority", "authority.test");
        server = makeCertificate(folder.string(), "server", "127.0.0.1", &authority);
        options.host = "127.0.0.1";
        options.ca = authority.certificate;
    }

    std::unique_ptr<Program> listenEncrypted(Words arguments = {})
    {
        Words const tls = {"--tls-cert", server.certificate, "--tls-key", server.key};
        arguments.insert(arguments.end(), tls.begin(), tls.end());
        return listenAt("tcp:127.0.0.1:0", arguments);
    }

    /// The text with which shaking hands fails.
    std::string failureOf(TlsClientOptions const& with)
    {
        try {
            EncryptedClient const client(address, with);
        } catch (TlsError const& error) {
            return error.what();
        }
        return "nothing was thrown";
    }

    Certificate authority;
    Certificate server;
    TlsClientOptions options;
};

TEST_F(Encryption, SessionIsLikeAnyOther)
{
    auto const program = listenEncrypted({"--once"});
    EncryptedClient client(address, options);
    EXPECT_EQ(client.client->greet(), (Answer{1, ""}));
    client.client->expectToBeServed();
    client.client->socket().sendString("close data server");
    EXPECT_TRUE(client.client->seesEnd());
    client.client->close();
    EXPECT_EQ(program->wait(), 0) << program->log();
    EXPECT_TRUE(program->logHolds("session 1: The client closed the session.")) << program->log();
    EXPECT_TRUE(program->logHolds("session 1: begins for tcp:127.0.0.1:"));
}

TEST_F(Encryption, LargeAnswersCrossWhole)
{
    auto const program = listenEncrypted();
    EncryptedClient client(address, options);
    client.client->greet();
    client.client->load(fileNamed("floods.hdqfs"));
    EXPECT_EQ(client.client->socket().receiveString(), "VnxUtilDialogErrMsg");
    EXPECT_EQ(client.client->socket().receiveString(), std::string(64 << 20, 'x'));
    client.client->close();
}

TEST_F(Encryption, NothingWaitsForAnAcknowledgement)
{
    auto const program = listenEncrypted();
    socketutil::Descriptor connection = connectTo(socketutil::parseAddress(address));
    socketutil::Descriptor const same(::fcntl(connection.get(), F_DUPFD_CLOEXEC, 0));
    TlsTunnel tunnel(std::move(connection), options, 10s);
    int isOn = 0;
    socklen_t size = sizeof(isOn);
    ASSERT_EQ(::getsockopt(same.get(), IPPROTO_TCP, TCP_NODELAY, &isOn, &size), 0);
    EXPECT_NE(isOn, 0);
    tunnel.takeStream();
}

TEST_F(Encryption, LastWordsOfAClientThatLeavesAreRead)
{
    auto const program = listenEncrypted({"--once"});
    {
        EncryptedClient client(address, options);
        client.client->greet();
        client.client->socket().sendString("close data server");
        client.client->close();
    }
    EXPECT_EQ(program->wait(), 0);
    EXPECT_TRUE(program->logHolds("The client closed the session.")) << program->log();
}

TEST_F(Encryption, RefusalsAreTold)
{
    std::string const path = (folder / "token").string();
    std::ofstream(path) << "open sesame\n";
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    auto const program = listenEncrypted({"--token-file", path});
    EncryptedClient client(address, options);
    EXPECT_EQ(client.client->greet("VNXDATASERVER 1", "wrong"),
              (Answer{0, "the token is wrong; give the client the server's token file"}));
    EXPECT_TRUE(client.client->seesEnd());
    client.client->close();
    EncryptedClient next(address, options);
    EXPECT_EQ(next.client->greet("VNXDATASERVER 1", "open sesame"), (Answer{1, ""}));
    next.client->close();
}

TEST_F(Encryption, NameOfTheServerIsChecked)
{
    auto const program = listenEncrypted();
    TlsClientOptions other = options;
    other.host = "elsewhere.test";
    EXPECT_EQ(failureOf(other),
              "TLS failed: the certificate of the other side is refused: hostname "
              "mismatch.");
    other.host = "127.0.0.2";
    EXPECT_EQ(failureOf(other), "TLS failed: the certificate of the other side is refused: IP "
                                "address mismatch.");
    other.checksName = false;
    EncryptedClient client(address, other);
    EXPECT_EQ(client.client->greet(), (Answer{1, ""}));
    client.client->close();
}

TEST_F(Encryption, SignatureOfTheServersCertificateIsChecked)
{
    auto const program = listenEncrypted();
    TlsClientOptions other = options;
    other.checksName = false; // doesn't help
    other.ca = makeCertificate(folder.string(), "other", "127.0.0.1").certificate;
    EXPECT_EQ(failureOf(other), "TLS failed: the certificate of the other side is refused: unable "
                                "to get local issuer certificate.");
    other.ca.clear(); // those that the system trusts
    EXPECT_EQ(failureOf(other), "TLS failed: the certificate of the other side is refused: unable "
                                "to get local issuer certificate.");
    EXPECT_TRUE(eventually([&] { return program->logHolds("TLS failed: "); }));
    EncryptedClient client(address, options); // and the server goes on
    EXPECT_EQ(client.client->greet(), (Answer{1, ""}));
    client.client->close();
}

TEST_F(Encryption, ExpiredCertificateIsRefused)
{
    server = makeCertificate(folder.string(), "old", "127.0.0.1", &authority, -1);
    auto const program = listenEncrypted();
    EXPECT_EQ(failureOf(options), "TLS failed: the certificate of the other side is refused: "
                                  "certificate has expired.");
}

TEST_F(Encryption, ClientsMustShowACertificateWhereOneIsWanted)
{
    auto const program = listenEncrypted({"--tls-client-ca", authority.certificate, "--once"});
    for (bool const showsForeign : {false, true}) {
        TlsClientOptions other = options;
        if (showsForeign) {
            Certificate const foreign = makeCertificate(folder.string(), "foreign", "me.test");
            other.certificate = foreign.certificate;
            other.key = foreign.key;
        }
        // The server's word on it comes after our own part of the handshake.
        EncryptedClient client(address, other);
        // It comes through what is on its way.
        client.client->socket().sendString(std::string(100'000, 'x'));
        EXPECT_TRUE(client.client->seesEnd());
        client.client->close();
        EXPECT_EQ(client.tunnel.finish(),
                  showsForeign ? "tlsv1 alert unknown ca" : "tlsv13 alert certificate required");
    }
    EXPECT_TRUE(program->logHolds("peer did not return a certificate")) << program->log();
    Certificate const mine = makeCertificate(folder.string(), "mine", "me.test", &authority);
    options.certificate = mine.certificate;
    options.key = mine.key;
    EncryptedClient client(address, options);
    EXPECT_EQ(client.client->greet(), (Answer{1, ""}));
    client.client->socket().sendString("close data server");
    client.client->close();
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(Encryption, ClientWithoutItIsNotServed)
{
    auto const program = listenEncrypted({"--once"});
    Client plain(address);
    plain.socket().sendString("VNXDATASERVER 1");
    plain.socket().sendString("");
    EXPECT_ANY_THROW({
        EXPECT_NE(plain.socket().receiveUInt8(), 1);
        plain.socket().receiveString();
    });
    EXPECT_TRUE(eventually([&] { return program->logHolds("session 1: did not begin with"); }))
        << program->log();
    EXPECT_TRUE(program->isRunning());
}

TEST_F(Encryption, SilentClientIsGivenUpAndMakesWay)
{
    auto const program =
        listenEncrypted({"--greeting-timeout", "1", "--max-greetings", "1", "--once"});
    Client first(address);
    Client second(address); // the first is told to go, and can't be told in words
    EXPECT_TRUE(first.seesEnd());
    auto const start = Clock::now();
    EXPECT_TRUE(second.seesEnd());
    EXPECT_LT(Clock::now() - start, 5s);
    EncryptedClient client(address, options);
    EXPECT_EQ(client.client->greet(), (Answer{1, ""}));
    client.client->close();
}

TEST_F(Encryption, ClientThatStopsReadingIsIdleAfterTheTimeout)
{
    auto const program = listenEncrypted({"--once", "--idle-timeout", "1"});
    EncryptedClient client(address, options);
    client.client->greet();
    pid_t const worker = beginLoad(*client.client, "floods.hdqfs").front();
    EXPECT_TRUE(eventually([&] { return !isAlive(worker); }));
    EXPECT_TRUE(program->logHolds("The client neither sent nor took anything for 1 seconds"));
    client.client->close();
    EXPECT_EQ(program->wait(), 1);
}

TEST_F(Encryption, ClientThatIsGoneInTheMiddleOfALoadEndsTheWorker)
{
    auto const program = listenEncrypted({"--once"});
    EncryptedClient client(address, options);
    client.client->greet();
    pid_t const worker = beginLoad(*client.client, "spins.hdqfs").front();
    client.client->close();
    EXPECT_EQ(program->wait(), 1);
    EXPECT_FALSE(isAlive(worker));
}

TEST_F(Encryption, CrashAndKillLeaveNothingBehind)
{
    auto const program = listenEncrypted();
    {
        EncryptedClient client(address, options);
        client.client->greet();
        client.client->load(fileNamed("aborts.hdqfs"));
        EXPECT_TRUE(client.client->seesEnd());
        client.client->close();
    }
    EXPECT_TRUE(eventually([&] {
        return program->logHolds("session 1: was ended by signal 6 (Aborted) after ");
    })) << program->log();
    EncryptedClient client(address, options);
    client.client->greet();
    pid_t const worker = beginLoad(*client.client, "spins.hdqfs").front();
    program->send(SIGKILL);
    EXPECT_EQ(program->wait(), -SIGKILL);
    EXPECT_TRUE(eventually([&] { return !isAlive(worker); }));
    client.client->close();
}

TEST_F(Encryption, AddonRunsInAProcessWithoutKeyOrConnection)
{
    auto const program = listenEncrypted();
    EncryptedClient client(address, options);
    client.client->greet();
    pid_t const worker = beginLoad(*client.client, "spins.hdqfs").front();
    std::string const process = "/proc/" + std::to_string(worker);
    std::ifstream status(process + "/status");
    pid_t parent = 0;
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("PPid:"))
            parent = std::stoi(line.substr(5));
    EXPECT_NE(parent, program->process()); // between them is the one that encrypts
    for (auto const& entry : std::filesystem::directory_iterator(process + "/fd")) {
        struct stat end = {};
        ASSERT_EQ(::stat(entry.path().c_str(), &end), 0);
        std::ifstream table("/proc/net/tcp");
        std::string const inode = " " + std::to_string(end.st_ino) + " ";
        bool const isTcp =
            std::string(std::istreambuf_iterator<char>(table), {}).find(inode) != std::string::npos;
        EXPECT_FALSE(S_ISSOCK(end.st_mode) && isTcp);
    }
    client.client->close();
}

TEST_F(Encryption, FilesThatCannotBeUsedAreSaidAtTheStart)
{
    std::string const where = "tcp:127.0.0.1:0";
    std::string const missing = (folder / "missing").string();
    std::string const pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    Certificate const other = makeCertificate(folder.string(), "other", "127.0.0.1");
    struct
    {
        Words arguments;
        int status;
        std::string said;
    } const cases[] = {
        {{"--tls-cert", server.certificate}, 2, "TLS needs both --tls-cert and --tls-key."},
        {{"--tls-client-ca", server.certificate}, 2, "TLS needs both"},
        {{"--tls-cert", missing, "--tls-key", server.key},
         1,
         missing + " can't be used: No such file or directory.\n"},
        {{"--tls-cert", server.certificate, "--tls-key", missing}, 1, "can't be read: "},
        {{"--tls-cert", server.certificate, "--tls-key", other.key}, 1, ": key values mismatch."},
        {{"--tls-cert", server.certificate, "--tls-key", server.key, "--tls-client-ca", missing},
         1,
         "can't be used: "},
        {{"--tls-cert", pipe, "--tls-key", server.key}, 1, pipe + " is no ordinary file, and"},
        {{"--tls-cert", server.certificate, "--tls-key", pipe}, 1, pipe + " is no ordinary file"},
        {{"--tls-cert", server.certificate, "--tls-key", server.key, "--tls-client-ca", pipe},
         1,
         pipe + " is no ordinary file"},
    };
    for (auto const& [arguments, status, said] : cases) {
        Words words = {"--listen", where};
        words.insert(words.end(), arguments.begin(), arguments.end());
        EXPECT_EQ(statusOf(words), status);
        EXPECT_NE(lastLog().find(said), std::string::npos) << lastLog();
    }
    std::string const locked = lockedKey(server);
    EXPECT_EQ(statusOf({"--listen", where, "--tls-cert", server.certificate, "--tls-key", locked}),
              1);
    EXPECT_NE(lastLog().find("The key " + locked + " needs a pass phrase, and nobody is asked"),
              std::string::npos)
        << lastLog();
    ASSERT_EQ(::chmod(server.key.c_str(), 0644), 0);
    EXPECT_EQ(
        statusOf({"--listen", where, "--tls-cert", server.certificate, "--tls-key", server.key}),
        1);
    EXPECT_NE(lastLog().find("is open to others; run: chmod 600"), std::string::npos);
    EXPECT_EQ(
        statusOf({"--listen", "stdio", "--tls-cert", server.certificate, "--tls-key", server.key}),
        2);
}

}
}
