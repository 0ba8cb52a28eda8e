#pragma once

#include "bench/loadgen/Connector.h"
#include "bench/loadgen/Processes.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

namespace varnox::loadgen {

/// A data server that is put under load, in a folder of its own, which is removed in the end. Its
/// log says which session is whose, and how each one ended.
class TestedServer
{
public:
    /// where: "unix", "tcp", or "tls" for tcp with TLS. Throws std::runtime_error if it doesn't
    /// come to listen.
    TestedServer(std::string const& where, std::size_t maxSessions,
                 std::vector<std::string> const& options);
    TestedServer(TestedServer const&) = delete;
    TestedServer& operator=(TestedServer const&) = delete;
    ~TestedServer();

    pid_t process() const { return m_process; }
    Entrance const& entrance() const { return m_entrance; }

    /// Reads what has joined the log. Call it often.
    void readLog();
    /// The worker that serves a client, as the log names that; 0 if there is none.
    pid_t workerOf(std::string const& peer);
    /// Kills that worker, and remembers it. False if it is gone.
    bool kill(std::string const& peer);
    /// Ends of workers by a signal that nobody here sent, as the log tells them.
    std::vector<std::string> const& crashes() const { return m_crashes; }

    /// Asks it to end, and waits. The exit status; -1 if it had to be killed.
    int stop();
    /// After stop: files in its folder that should be gone, and processes that it has left.
    std::vector<std::string> whatIsLeft() const;

private:
    std::filesystem::path place(char const* name) const { return m_folder / name; }
    void start(std::vector<std::string> arguments);
    void waitForAddress();
    bool reap(int flags);
    void readLine(std::string const& line);

    std::filesystem::path m_folder;
    pid_t m_process = -1;
    bool m_hasEnded = false;
    int m_status = 0;
    Entrance m_entrance;
    std::size_t m_logRead = 0;
    std::map<std::string, std::string> m_sessions; ///< names by peer
    std::set<std::string> m_killed;                ///< names
    std::vector<std::string> m_crashes;
};

}
