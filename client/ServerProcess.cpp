#include "client/ServerProcess.h"

#include "client/Errors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace varnox::client {

using socketutil::Descriptor;

namespace {

constexpr char SERVER_NAME[] = "vnxdataserver";
constexpr char ALLOW_ROOT[] = "--allow-root";
constexpr std::size_t LAST_WORDS_BYTES = 4096;

/// The number that a server of our own inherits its stream under.
constexpr int INHERITED_DESCRIPTOR = 3;

[[noreturn]] void throwSystemError(std::string const& what)
{
    throw Error(what + ": " + std::strerror(errno) + ".");
}

/// ssh hands its words to a shell on the other side.
std::string shellWord(std::string const& text)
{
    static constexpr char PLAIN[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./+:=@%-,";
    if (!text.empty() && text.find_first_not_of(PLAIN) == std::string::npos)
        return text;
    std::string result = "'";
    for (char const c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::string directoryOf(std::string const& path)
{
    return path.substr(0, path.find_last_of('/'));
}

bool isProgram(std::string const& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

std::string ownExecutable()
{
    std::array<char, 4096> path{};
    ssize_t const size = ::readlink("/proc/self/exe", path.data(), path.size() - 1);
    return size > 0 ? std::string(path.data(), static_cast<std::size_t>(size)) : std::string();
}

/// What the child does between fork and exec; nothing in here takes memory. Reports the failure of
/// exec through a pipe.
[[noreturn]] void becomeServer(char* const* arguments, pid_t parent, bool ownsGroup, int stream,
                               bool isStandardIO, int log, int failurePipe)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127);
    if (ownsGroup)
        ::setpgid(0, 0);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
        ::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    // Both are duplicated to high numbers first, so that neither stands where the other goes.
    int const highStream = ::fcntl(stream, F_DUPFD_CLOEXEC, 16);
    int const highLog = ::fcntl(log, F_DUPFD_CLOEXEC, 16);
    int const highPipe = ::fcntl(failurePipe, F_DUPFD_CLOEXEC, 16);
    bool isReady = highStream >= 0 && highLog >= 0 && highPipe >= 0 && ::dup2(highLog, 2) >= 0;
    if (isStandardIO) {
        isReady = isReady && ::dup2(highStream, 0) >= 0 && ::dup2(highStream, 1) >= 0;
    } else {
        int const nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        isReady = isReady && nothing >= 0 && ::dup2(nothing, 0) >= 0 && ::dup2(highLog, 1) >= 0 &&
                  ::dup2(highStream, INHERITED_DESCRIPTOR) >= 0;
    }
    if (isReady)
        ::execvp(arguments[0], arguments);
    int const error = errno;
    ssize_t const written = ::write(highPipe, &error, sizeof(error));
    ::_exit(written == sizeof(error) ? 127 : 126);
}

}

std::unique_ptr<ServerProcess> ServerProcess::startLocal(std::string const& program,
                                                         std::string const& addon)
{
    std::vector<std::string> arguments{program, "--listen",
                                       "fd:" + std::to_string(INHERITED_DESCRIPTOR)};
    if (!addon.empty())
        arguments.insert(arguments.end(), {"--addon", addon});
    if (::geteuid() == 0)
        arguments.emplace_back(ALLOW_ROOT);
    std::unique_ptr<ServerProcess> server(new ServerProcess);
    // A group of its own can be killed with all its workers. ssh stays in ours: it may have to ask
    // the terminal for a password.
    server->m_ownsGroup = true;
    server->start(std::move(arguments), Stream::Inherited);
    return server;
}

std::unique_ptr<ServerProcess> ServerProcess::startSsh(std::string const& host,
                                                       std::string const& addon, bool allowsRoot)
{
    if (host.empty() || host.front() == '-' || host.find_first_of(" \t\n") != std::string::npos)
        throw Error("'" + printable(host) +
                    "' is no host for ssh; write ssh:HOST or ssh:USER@HOST.");
    std::vector<std::string> arguments{"ssh", host, SERVER_NAME, "--listen", "stdio"};
    if (!addon.empty())
        arguments.insert(arguments.end(), {"--addon", shellWord(addon)});
    if (allowsRoot)
        arguments.emplace_back(ALLOW_ROOT);
    std::unique_ptr<ServerProcess> server(new ServerProcess);
    server->start(std::move(arguments), Stream::StandardIO);
    return server;
}

void ServerProcess::start(std::vector<std::string> arguments, Stream stream)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throwSystemError("Could not make a socket for the server");
    m_stream.reset(ends[0]);
    Descriptor const itsEnd(ends[1]);
    m_log.reset(::memfd_create("vnxclient-server-log", MFD_CLOEXEC));
    std::array<int, 2> pipe{};
    if (!m_log.isOpen() || ::pipe2(pipe.data(), O_CLOEXEC) != 0)
        throwSystemError("Could not prepare to start the server");
    Descriptor const failureReader(pipe[0]);
    Descriptor failureWriter(pipe[1]);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    pid_t const parent = ::getpid();
    pid_t const pid = ::fork();
    if (pid < 0)
        throwSystemError("Could not start the server");
    if (pid == 0)
        becomeServer(pointers.data(), parent, m_ownsGroup, itsEnd.get(),
                     stream == Stream::StandardIO, m_log.get(), failureWriter.get());
    m_pid = pid;
    if (m_ownsGroup)
        ::setpgid(pid, pid); // whoever of the two comes first; fails harmlessly after exec
    failureWriter.reset();
    int error = 0;
    ssize_t got = 0;
    while ((got = ::read(failureReader.get(), &error, sizeof(error))) < 0 && errno == EINTR) {
    }
    if (got == sizeof(error)) {
        errno = error;
        throwSystemError("Could not start '" + arguments.front() + "'");
    }
}

ServerProcess::~ServerProcess()
{
    if (m_pid < 0)
        return;
    ::kill(killTarget(), SIGKILL);
    while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool ServerProcess::waitFor(std::chrono::milliseconds timeout)
{
    auto const deadline = std::chrono::steady_clock::now() + timeout;
    while (m_pid >= 0) {
        pid_t const ended = ::waitpid(m_pid, nullptr, WNOHANG);
        if (ended == m_pid || (ended < 0 && errno == ECHILD)) {
            m_pid = -1;
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string ServerProcess::lastWords() const
{
    struct stat status = {};
    if (::fstat(m_log.get(), &status) != 0)
        return {};
    auto const size = static_cast<std::size_t>(status.st_size);
    std::string text(std::min(size, LAST_WORDS_BYTES), '\0');
    ssize_t const got =
        ::pread(m_log.get(), text.data(), text.size(), static_cast<off_t>(size - text.size()));
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

std::string findServerProgram()
{
    std::string const here = directoryOf(ownExecutable());
    for (std::string const& path :
         {here + "/" + SERVER_NAME, directoryOf(here) + "/bin/" + SERVER_NAME})
        if (isProgram(path))
            return path;
    char const* const path = std::getenv("PATH");
    std::string const folders = path != nullptr ? path : "";
    for (std::size_t begin = 0; begin <= folders.size();) {
        std::size_t const end = std::min(folders.find(':', begin), folders.size());
        std::string candidate = folders.substr(begin, end - begin) + "/" + SERVER_NAME;
        if (end > begin && isProgram(candidate))
            return candidate;
        begin = end + 1;
    }
    throw Error(std::string("No ") + SERVER_NAME + " was found beside this program (" + here +
                ") or in PATH. Build or install it, or name a running server with --connect.");
}

}
