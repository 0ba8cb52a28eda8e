#include "apps/dataserver/ClientWatch.h"

#include <spdlog/spdlog.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace varnox::dataserver {

namespace {

constexpr int FAREWELL_MILLISECONDS = 1000; // to serve what a client sent before it left
constexpr int ENDING_MILLISECONDS = 5000;   // from the end of a session to that of the process

bool isOfType(int descriptor, mode_t type)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == type;
}

bool isUnixSocket(int descriptor)
{
    int domain = 0;
    socklen_t size = sizeof(domain);
    return ::getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 &&
           domain == AF_UNIX;
}

/// Starts a thread that no signal is delivered to.
template <typename Function>
void startDetached(Function function)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread(function).detach();
    } catch (...) {
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}

ClientWatch& ClientWatch::start(int readEnd, int writeEnd, std::string const& name)
{
    // Never deleted: its thread runs until the process ends.
    static ClientWatch* const watch = new ClientWatch(readEnd, writeEnd, name);
    startDetached([] { watch->run(); });
    return *watch;
}

ClientWatch::ClientWatch(int readEnd, int writeEnd, std::string const& name)
    : m_name(name), m_sessionEnd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_sessionEnd.isOpen())
        throw std::runtime_error(std::string("Can't watch the client: ") + std::strerror(errno));
    // What isn't asked for, POLLHUP and POLLERR, is reported all the same.
    bool const tellsByWriting = isOfType(writeEnd, S_IFSOCK) || isOfType(writeEnd, S_IFIFO);
    bool const isTcp = isOfType(writeEnd, S_IFSOCK) && !isUnixSocket(writeEnd);
    m_watched = tellsByWriting ? writeEnd : readEnd;
    m_events = isTcp ? POLLRDHUP : 0;
    m_goneEvents = static_cast<short>(m_events | POLLHUP | POLLERR);
}

void ClientWatch::sessionEnds(int exitStatus)
{
    m_exitStatus = exitStatus;
    ::eventfd_write(m_sessionEnd.get(), 1);
}

void ClientWatch::run()
{
    waitForClientToGo();
    if (sessionEndsWithin(FAREWELL_MILLISECONDS)) {
        ::poll(nullptr, 0, ENDING_MILLISECONDS);
        ::_exit(m_exitStatus);
    }
    spdlog::error("{}: The client is gone in the middle of a command; the session ends with it.",
                  m_name);
    ::_exit(1);
}

void ClientWatch::waitForClientToGo()
{
    pollfd states[] = {{m_watched, m_events, 0}, {m_sessionEnd.get(), POLLIN, 0}};
    do {
        states[0].revents = 0;
        states[1].revents = 0;
        ::poll(states, 2, -1);
    } while ((states[0].revents & m_goneEvents) == 0 && states[1].revents == 0);
}

bool ClientWatch::sessionEndsWithin(int milliseconds) const
{
    pollfd ended{m_sessionEnd.get(), POLLIN, 0};
    return ::poll(&ended, 1, milliseconds) > 0;
}

}
