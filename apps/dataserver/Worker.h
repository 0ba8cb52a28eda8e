#pragma once

#include "apps/dataserver/ResourceLimits.h"
#include "socket/Tls.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include <sys/types.h>

namespace varnox::dataserver {

/// What a worker does: tries the add-on out, or serves one connection.
enum class WorkerTask { TryAddon, ServeGreeted, ServeUngreeted };

/// What the server tells a worker on its command line. The token is no part of it: command lines
/// can be read by everyone on the machine.
struct WorkerOrder
{
    /// The first argument of a worker. For the program's own use.
    static constexpr char OPTION[] = "--worker";

    /// Where a worker finds its descriptors.
    enum : int { READ_END = 3, WRITE_END = 4, CONTROL = 5 };

    WorkerTask task = WorkerTask::TryAddon;
    std::string name; ///< of the connection, for the log
    std::string addonPath;
    std::size_t maxItemBytes = 0;
    std::chrono::milliseconds greetingTimeout{};
    std::chrono::milliseconds idleTimeout{};
    std::string logLevel;
    std::vector<std::string> sharedFolders;
    ResourceLimits limits;
    socketutil::TlsServerFiles tls; ///< no certificate: no TLS
    pid_t server = 0;               ///< the process that the worker must not outlive

    /// The arguments behind the program's name, and back. parse throws std::invalid_argument.
    std::vector<std::string> arguments() const;
    static WorkerOrder parse(std::vector<std::string> const& arguments);
};

/// The words between a server and its worker, each a message on their control socket:
///   server  TOKEN + token       at once, when the worker has to greet
///   worker  MAY_I_SERVE         the greeting is in order
///   server  SERVE, or REFUSE + reason; the latter also while the greeting is under way
///   worker  SERVING             the client was told that it is accepted: a session has begun
/// Without a greeting there is only the last.
namespace control {
constexpr char TOKEN = 'T';
constexpr char MAY_I_SERVE = 'M';
constexpr char SERVE = 'S';
constexpr char REFUSE = 'R';
constexpr char SERVING = 'B';
constexpr std::size_t MAX_MESSAGE = 8192;

/// False: the other side is gone.
bool send(int socket, char word, std::string const& text = "");
/// The word in front, the text behind it; empty if the other side is gone. Waits.
std::string receive(int socket);
}

/// Runs a worker to its end and returns the exit status of the process.
int runWorker(WorkerOrder const& order);

}
