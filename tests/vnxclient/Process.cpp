#include "tests/vnxclient/Process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::tests {

namespace {

struct Pipe
{
    int readEnd = -1;
    int writeEnd = -1;
};

Pipe makePipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    return {ends[0], ends[1]};
}

Pipe makeTerminal()
{
    Pipe result;
    if (::openpty(&result.readEnd, &result.writeEnd, nullptr, nullptr, nullptr) != 0)
        throw std::runtime_error("no terminal");
    ::fcntl(result.readEnd, F_SETFD, FD_CLOEXEC);
    ::fcntl(result.writeEnd, F_SETFD, FD_CLOEXEC);
    return result;
}

}

Process::Process(std::vector<std::string> const& arguments) : Process(arguments, Setup())
{
}

Process::Process(std::vector<std::string> const& arguments, Setup const& setup)
{
    Pipe const output = makePipe();
    Pipe const error = setup.errorIsTerminal ? makeTerminal() : makePipe();
    Pipe const lifeline = makePipe();
    std::vector<char*> pointers;
    for (std::string const& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    m_pid = ::fork();
    if (m_pid == 0) {
        ::alarm(60);
        ::dup2(output.writeEnd, 1);
        if (!setup.outputPath.empty())
            ::dup2(::open(setup.outputPath.c_str(), O_WRONLY), 1);
        ::dup2(error.writeEnd, 2);
        ::dup2(lifeline.writeEnd, 9);
        ::fcntl(9, F_SETFD, 0); // where it stood at 9 already
        for (auto const& [name, value] : setup.environment)
            ::setenv(name.c_str(), value.c_str(), 1);
        if (setup.folder.empty() || ::chdir(setup.folder.c_str()) == 0)
            ::execv(pointers[0], pointers.data());
        ::_exit(126);
    }
    ::close(output.writeEnd);
    ::close(error.writeEnd);
    ::close(lifeline.writeEnd);
    m_outputEnd = output.readEnd;
    m_errorEnd = error.readEnd;
    m_lifeline = lifeline.readEnd;
    if (setup.outputIsClosed) {
        ::close(m_outputEnd);
        m_outputEnd = -1;
    }
}

Process::~Process()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    for (int const end : {m_outputEnd, m_errorEnd, m_lifeline})
        if (end >= 0)
            ::close(end);
}

void Process::signal(int number) const
{
    ::kill(m_pid, number);
}

void Process::readToTheEnd()
{
    pollfd ends[] = {{m_outputEnd, POLLIN, 0}, {m_errorEnd, POLLIN, 0}};
    std::string* const texts[] = {&m_output, &m_error};
    while (ends[0].fd >= 0 || ends[1].fd >= 0) {
        if (::poll(ends, 2, -1) < 0 && errno != EINTR)
            return;
        for (int i = 0; i < 2; ++i) {
            if (ends[i].fd < 0 || ends[i].revents == 0)
                continue;
            char part[65536];
            ssize_t const got = ::read(ends[i].fd, part, sizeof(part));
            if (got > 0)
                texts[i]->append(part, static_cast<std::size_t>(got));
            else
                ends[i].fd = -1; // a terminal gives an error at its end
        }
    }
}

int Process::wait()
{
    readToTheEnd();
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool Process::isAllGone(std::chrono::milliseconds within) const
{
    pollfd end{m_lifeline, POLLIN, 0};
    return ::poll(&end, 1, static_cast<int>(within.count())) == 1 && (end.revents & POLLHUP) != 0;
}

}
