#pragma once

#include "socket/Descriptor.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace varnox::client {

/// A data server, or an ssh that leads to one, which this process has started for itself and talks
/// to over a stream. It dies with the thread that started it, whatever ends that.
class ServerProcess
{
public:
    /// A server of our own for local files: one session over an inherited socket. The program is
    /// found by findServerProgram; an empty add-on is the server's own choice. Where we run as root
    /// the server may, too: it gains nothing by it.
    static std::unique_ptr<ServerProcess> startLocal(std::string const& program,
                                                     std::string const& addon);
    /// The system's ssh, which runs the server of another machine over its standard input and
    /// output. host is HOST or USER@HOST. allowsRoot for a server that is meant to run as root.
    static std::unique_ptr<ServerProcess>
    startSsh(std::string const& host, std::string const& addon, bool allowsRoot = false);

    ServerProcess(ServerProcess const&) = delete;
    ServerProcess& operator=(ServerProcess const&) = delete;
    /// Kills what still runs.
    ~ServerProcess();

    /// Our end of the stream, to be taken once.
    socketutil::Descriptor takeStream() { return std::move(m_stream); }

    /// For kill(2), also from a signal handler: a negative number names the process's group, and 0
    /// stands for a process that has ended.
    pid_t killTarget() const { return m_pid < 0 ? 0 : m_ownsGroup ? -m_pid : m_pid; }

    /// Waits for the process's end; false if it still runs then.
    bool waitFor(std::chrono::milliseconds timeout);

    /// The end of what it wrote to its standard error.
    std::string lastWords() const;

private:
    enum class Stream { Inherited, StandardIO };

    ServerProcess() = default;
    void start(std::vector<std::string> arguments, Stream stream);

    socketutil::Descriptor m_stream;
    socketutil::Descriptor m_log;
    pid_t m_pid = -1; ///< -1 once it has ended.
    bool m_ownsGroup = false;
};

/// vnxdataserver beside this program's executable or in ../bin from there, else in PATH. Throws
/// Error with what to do.
std::string findServerProgram();

}
