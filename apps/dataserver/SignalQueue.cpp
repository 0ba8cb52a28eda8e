#include "apps/dataserver/SignalQueue.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

#include <sys/signalfd.h>

namespace varnox::dataserver {

SignalQueue::SignalQueue()
{
    // Where SIGCHLD is ignored, and that is inherited, children leave no status.
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t signals;
    sigemptyset(&signals);
    for (int const number : {SIGTERM, SIGINT, SIGCHLD})
        sigaddset(&signals, number);
    struct sigaction hangUp = {};
    if (::sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN)
        sigaddset(&signals, SIGHUP);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_descriptor.reset(::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!m_descriptor.isOpen())
        throw std::runtime_error(std::string("Can't wait for signals: ") + std::strerror(errno));
}

int SignalQueue::next()
{
    signalfd_siginfo info = {};
    for (;;) {
        ssize_t const got = ::read(m_descriptor.get(), &info, sizeof(info));
        if (got == static_cast<ssize_t>(sizeof(info)))
            return static_cast<int>(info.ssi_signo);
        if (got >= 0 || errno != EINTR)
            return 0;
    }
}

}
