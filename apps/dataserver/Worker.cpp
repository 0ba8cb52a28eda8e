#include "apps/dataserver/Worker.h"

#include "apps/dataserver/Greeting.h"
#include "apps/dataserver/Log.h"
#include "apps/dataserver/Session.h"
#include "apps/dataserver/SharedFolders.h"
#include "socket/Descriptor.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <stdexcept>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::dataserver {

using socketutil::Descriptor;

namespace control {

bool send(int socket, char word, std::string const& text)
{
    std::string const message = word + text;
    for (;;) {
        if (::send(socket, message.data(), message.size(), MSG_NOSIGNAL) >= 0)
            return true;
        if (errno != EINTR)
            return false;
    }
}

std::string receive(int socket)
{
    std::string message(MAX_MESSAGE, '\0');
    for (;;) {
        ssize_t const got = ::recv(socket, message.data(), message.size(), 0);
        if (got >= 0) {
            message.resize(static_cast<std::size_t>(got));
            return message;
        }
        if (errno != EINTR)
            return "";
    }
}

}

namespace {

constexpr int NO_SESSION = 1; // the exit status of a worker that has refused its client

/// A worker ends with its server, however that ends.
void follow(pid_t server)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != server)
        ::_exit(NO_SESSION); // it was gone before the line above
}

[[noreturn]] void throwServerGone()
{
    throw GreetingBroken("the server has ended");
}

/// Greets the client and asks the server whether there is a place for it. False: no session.
bool greet(WorkerOrder const& order, int serverSocket)
{
    Greeting greeting(WorkerOrder::READ_END, WorkerOrder::WRITE_END, serverSocket,
                      order.greetingTimeout);
    try {
        std::string token = control::receive(serverSocket);
        if (token.empty())
            throwServerGone();
        bool const isFinished = greeting.receive(token.substr(1));
        ::explicit_bzero(token.data(), token.size());
        if (isFinished && !control::send(serverSocket, control::MAY_I_SERVE))
            throwServerGone();
        std::string const reply = control::receive(serverSocket);
        if (reply.empty())
            throwServerGone();
        if (reply.front() == control::REFUSE)
            throw GreetingRefused(reply.substr(1));
        greeting.accept();
        return true;
    } catch (GreetingRefused const& refusal) {
        spdlog::warn("{}: refused: {}", order.name, printable(refusal.what()));
        greeting.refuse(refusal.what());
    } catch (GreetingBroken const& failure) {
        spdlog::warn("{}: refused without an answer: {}", order.name, failure.what());
    }
    return false;
}

[[noreturn]] void endAs(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        std::signal(WTERMSIG(status), SIG_DFL);
        ::raise(WTERMSIG(status));
    }
    ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : NO_SESSION);
}

/// Encrypts for the child until either side has closed, then ends as the child does. No code of an
/// add-on ever runs in a process that holds the key.
[[noreturn]] void encryptFor(pid_t child, Descriptor plain, WorkerOrder const& order)
{
    try {
        Descriptor connection(WorkerOrder::READ_END);
        ::close(WorkerOrder::WRITE_END);
        ::close(WorkerOrder::CONTROL);
        socketutil::TlsConnection tls(order.tls);
        tls.shakeHands(std::move(connection), plain.get(), order.greetingTimeout);
        std::string const failure = tls.relay(std::move(plain));
        if (!failure.empty())
            spdlog::warn("{}: TLS failed: {}", order.name, printable(failure));
    } catch (std::exception const& error) {
        spdlog::warn("{}: {}", order.name, printable(error.what()));
    }
    plain.reset(); // NOLINT(bugprone-use-after-move): still open if the handshake failed
    endAs(child);
}

/// Returns in a child that has a plain socket in the place of the connection.
void splitIntoTlsAndSession(WorkerOrder const& order)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error(std::string("Can't make a socket: ") + std::strerror(errno) + ".");
    Descriptor sessionsEnd(ends[0]);
    Descriptor encryptersEnd(ends[1]);
    pid_t const encrypter = ::getpid();
    pid_t const child = ::fork();
    if (child < 0)
        throw std::runtime_error(std::string("Can't start a process: ") + std::strerror(errno) +
                                 ".");
    if (child > 0) {
        sessionsEnd.reset();
        encryptFor(child, std::move(encryptersEnd), order);
    }
    follow(encrypter);
    for (int const end : {WorkerOrder::READ_END, WorkerOrder::WRITE_END})
        ::dup3(sessionsEnd.get(), end, O_CLOEXEC);
}

int serve(WorkerOrder const& order)
{
    Descriptor serverSocket(WorkerOrder::CONTROL);
    if (order.task == WorkerTask::ServeGreeted && !greet(order, serverSocket.get())) {
        ::close(WorkerOrder::READ_END);
        ::close(WorkerOrder::WRITE_END);
        return NO_SESSION;
    }
    control::send(serverSocket.get(), control::SERVING);
    serverSocket.reset();
    return serveSession({order.addonPath, order.name, order.maxItemBytes, order.idleTimeout,
                         SharedFolders(order.sharedFolders)},
                        WorkerOrder::READ_END, WorkerOrder::WRITE_END);
}

}

std::vector<std::string> WorkerOrder::arguments() const
{
    std::vector<std::string> result = {
        OPTION,
        "task=" + std::to_string(static_cast<int>(task)),
        "name=" + name,
        "addon=" + addonPath,
        "max-item-bytes=" + std::to_string(maxItemBytes),
        "greeting-timeout=" + std::to_string(greetingTimeout.count()),
        "idle-timeout=" + std::to_string(idleTimeout.count()),
        "max-memory=" + std::to_string(limits.maxMemory),
        "max-open-files=" + std::to_string(limits.maxOpenFiles),
        "max-time=" + std::to_string(limits.maxSeconds),
        "core-dumps=" + std::to_string(limits.dumpsCore ? 1 : 0),
        "tls-cert=" + tls.certificate,
        "tls-key=" + tls.key,
        "tls-client-ca=" + tls.clientCa,
        "log-level=" + logLevel,
        "server=" + std::to_string(server),
    };
    for (std::string const& folder : sharedFolders)
        result.push_back("root=" + folder);
    return result;
}

WorkerOrder WorkerOrder::parse(std::vector<std::string> const& arguments)
{
    WorkerOrder order;
    std::map<std::string, std::string> said;
    for (std::string const& argument : arguments) {
        std::size_t const end = std::min(argument.find('='), argument.size() - 1);
        std::string const key = argument.substr(0, end);
        if (key == "root")
            order.sharedFolders.push_back(argument.substr(end + 1));
        else
            said[key] = argument.substr(end + 1);
    }
    order.task = static_cast<WorkerTask>(std::stoi(said["task"]));
    order.name = said["name"];
    order.addonPath = said["addon"];
    order.maxItemBytes = std::stoul(said["max-item-bytes"]);
    order.greetingTimeout = std::chrono::milliseconds(std::stol(said["greeting-timeout"]));
    order.idleTimeout = std::chrono::milliseconds(std::stol(said["idle-timeout"]));
    order.limits.maxMemory = std::stoul(said["max-memory"]);
    order.limits.maxOpenFiles = std::stoul(said["max-open-files"]);
    order.limits.maxSeconds = std::stoul(said["max-time"]);
    order.limits.dumpsCore = said["core-dumps"] == "1";
    order.tls = {said["tls-cert"], said["tls-key"], said["tls-client-ca"]};
    order.logLevel = said["log-level"];
    order.server = std::stoi(said["server"]);
    return order;
}

int runWorker(WorkerOrder const& order)
{
    follow(order.server);
    ::prctl(PR_SET_NAME, "vnxdataserver");
    std::signal(SIGPIPE, SIG_IGN); // a log that nobody reads any more ends no session
    for (int const end : {WorkerOrder::READ_END, WorkerOrder::WRITE_END, WorkerOrder::CONTROL})
        ::fcntl(end, F_SETFD, FD_CLOEXEC); // what an add-on starts doesn't hold the connection open
    startLog(order.logLevel);
    if (!order.tls.certificate.empty() && order.task != WorkerTask::TryAddon)
        splitIntoTlsAndSession(order);
    // The trial too, so that an add-on that needs more is found at the start.
    applyLimits(order.limits);
    fenceReading(SharedFolders(order.sharedFolders), order.addonPath);
    return order.task == WorkerTask::TryAddon ? tryAddon(order.addonPath) : serve(order);
}

}
