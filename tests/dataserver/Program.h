#pragma once

#include "socket/Descriptor.h"
#include "socket/StreamSocket.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace varnox::tests {

/// What a program is started with besides its arguments.
struct Surroundings
{
    /// Pairs of a descriptor here and its number there; 0 and 1 are /dev/null otherwise.
    std::vector<std::pair<int, int>> descriptors;
    /// As under nohup.
    bool ignoresHangUp = false;
    /// Nothing can be written into files, its log included, as on a full disk.
    bool hasNoSpace = false;
    /// Adds --allow-root where the tests run as root.
    bool allowsRoot = true;
};

/// A running vnxdataserver. Killed in the end, if it is still there.
class Program
{
public:
    /// Its standard error goes to a file.
    Program(std::vector<std::string> const& arguments, std::filesystem::path const& logFile,
            Surroundings const& surroundings = {});
    Program(Program const&) = delete;
    Program& operator=(Program const&) = delete;
    ~Program();

    pid_t process() const { return m_process; }
    void send(int signal) const;
    bool isRunning();
    /// The exit status; -n for an end by signal n. Fails the test if that takes too long.
    int wait();
    std::string log() const;
    bool logHolds(std::string const& text) const;

private:
    bool reap(int flags);

    pid_t m_process = -1;
    bool m_hasEnded = false;
    int m_status = 0;
    std::filesystem::path m_logFile;
};

/// What a server answers to a greeting.
struct Answer
{
    int accepted;
    std::string reason;

    bool operator==(Answer const&) const = default;
};

inline void PrintTo(Answer const& answer, std::ostream* out)
{
    *out << answer.accepted << " '" << answer.reason << "'";
}

/// A client of the server, which speaks as it is told.
class Client
{
public:
    explicit Client(std::string const& address);
    /// Over TCP from this address of our own.
    Client(std::string const& address, std::string const& source);
    Client(int readEnd, int writeEnd);

    Answer greet(std::string const& first = "VNXDATASERVER 1", std::string const& token = "");
    Answer receiveAnswer();
    socketutil::StreamSocket& socket() { return *m_socket; }
    /// Asks for the file types and reads the answer; whether a session works.
    void expectToBeServed();
    void load(std::filesystem::path const& path);
    void close() { m_socket.reset(); }
    /// Waits until the server closes the connection. False if anything else comes.
    bool seesEnd();

private:
    std::unique_ptr<socketutil::StreamSocket> m_socket;
};

/// True as soon as the condition is; false if it isn't within half a minute.
bool eventually(std::function<bool()> const& condition);
/// Whether a process is there, and not just waiting for its parent to ask.
bool isAlive(pid_t process);
std::string contents(std::filesystem::path const& file);
std::string addon(std::string const& name);

/// A folder of its own, and what starts servers and clients in it.
class DataServer : public testing::Test
{
protected:
    using Words = std::vector<std::string>;

    void SetUp() override;
    void TearDown() override;

    /// Starts a program with the behaving add-on and some arguments.
    std::unique_ptr<Program> start(Words arguments, Surroundings const& surroundings = {});
    /// Starts one that listens, waits until it does, and keeps its address.
    std::unique_ptr<Program> listenAt(std::string const& where, Words arguments = {},
                                      Surroundings const& surroundings = {});
    /// On a Unix socket.
    std::unique_ptr<Program> listen(Words arguments = {}, Surroundings const& surroundings = {});
    /// The end of a program that doesn't come to serve.
    int statusOf(Words const& arguments, Surroundings const& surroundings = {});
    std::string lastLog() const;
    /// A data file whose name tells the add-on how to behave.
    std::filesystem::path fileNamed(std::string const& name);
    /// Loads such a file and waits until the add-on has begun; the numbers that it reports are its
    /// process's and those of the descriptors.
    std::vector<int> beginLoad(Client& client, std::string const& name);

    std::filesystem::path folder;
    std::filesystem::path socketPath;
    std::string address;
    int numLogs = 0;
};

}
