#include "bench/loadgen/TestedServer.h"

#include "client/ServerProcess.h"
#include "socket/Descriptor.h"
#include "tests/support/Certificates.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::loadgen {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr auto TIME_TO_LISTEN = 60s;
constexpr auto TIME_TO_END = 30s;

std::string textOf(fs::path const& path, std::size_t from = 0)
{
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(from));
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What the program says of its options.
std::string helpOf(std::string const& program)
{
    std::string result;
    FILE* const output = ::popen(("'" + program + "' --help").c_str(), "r");
    if (output == nullptr)
        return result;
    std::array<char, 4096> text;
    while (std::size_t const got = std::fread(text.data(), 1, text.size(), output))
        result.append(text.data(), got);
    ::pclose(output);
    return result;
}

/// What lets in as many as shall come, where the program has it.
std::vector<std::string> roomFor(std::size_t maxSessions, std::string const& help)
{
    std::string const number = std::to_string(maxSessions);
    std::vector<std::string> result{"--max-sessions", number};
    if (help.find("--max-sessions-per-source") != std::string::npos)
        result.insert(result.end(), {"--max-sessions-per-source", number});
    if (help.find("--allow-root") != std::string::npos && ::geteuid() == 0)
        result.emplace_back("--allow-root");
    return result;
}

/// Workers have the name of their session among their arguments.
bool isWorkerOf(std::vector<std::string> const& arguments, std::string const& session)
{
    return std::find(arguments.begin(), arguments.end(), "name=" + session) != arguments.end();
}
}

TestedServer::TestedServer(std::string const& where, std::size_t maxSessions,
                           std::vector<std::string> const& options)
{
    std::string pattern = "/tmp/vnxloadgen.XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error(std::string("Can't make a folder: ") + std::strerror(errno) + ".");
    m_folder = pattern;
    fs::create_directory(place("work"));
    std::string const program = client::findServerProgram();
    std::vector<std::string> arguments{program, "--listen",
                                       where == "unix" ? "unix:" + place("socket").string()
                                                       : "tcp:127.0.0.1:0",
                                       "--address-file", place("address").string()};
    auto const room = roomFor(maxSessions, helpOf(program));
    arguments.insert(arguments.end(), room.begin(), room.end());
    if (where == "tls") {
        tests::Certificate const own =
            tests::makeCertificate(m_folder.string(), "server", "127.0.0.1");
        m_entrance.authority = own.certificate;
        arguments.insert(arguments.end(), {"--tls-cert", own.certificate, "--tls-key", own.key});
    }
    arguments.insert(arguments.end(), options.begin(), options.end());
    start(std::move(arguments));
    waitForAddress();
}

TestedServer::~TestedServer()
{
    if (!m_hasEnded) {
        ::kill(m_process, SIGKILL);
        reap(0);
    }
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

void TestedServer::start(std::vector<std::string> arguments)
{
    std::vector<char*> words;
    for (std::string& argument : arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    socketutil::Descriptor const log(
        ::open(place("log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    std::string const work = place("work").string();
    m_process = ::fork();
    if (m_process != 0)
        return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::setpgid(0, 0); // ^C is for this program, which then ends the server
    ::dup2(log.get(), STDOUT_FILENO);
    ::dup2(log.get(), STDERR_FILENO);
    ::setenv("TMPDIR", work.c_str(), 1);
    if (::chdir(work.c_str()) == 0)
        ::execv(words[0], words.data());
    ::_exit(127);
}

void TestedServer::waitForAddress()
{
    auto const limit = std::chrono::steady_clock::now() + TIME_TO_LISTEN;
    while (!fs::exists(place("address"))) {
        if (reap(WNOHANG) || std::chrono::steady_clock::now() > limit)
            throw std::runtime_error("The data server doesn't come to listen. It said:\n" +
                                     textOf(place("log")));
        std::this_thread::sleep_for(10ms);
    }
    std::string address = textOf(place("address"));
    address.erase(address.find_last_not_of('\n') + 1);
    m_entrance.address = address;
}

bool TestedServer::reap(int flags)
{
    if (!m_hasEnded && ::waitpid(m_process, &m_status, flags) == m_process)
        m_hasEnded = true;
    return m_hasEnded;
}

void TestedServer::readLog()
{
    std::string const text = textOf(place("log"), m_logRead);
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        readLine(text.substr(begin, end - begin));
    m_logRead += begin;
}

/// "... session 7: begins for PEER", and "... session 7: was ended by signal 11 (...) ...".
void TestedServer::readLine(std::string const& line)
{
    constexpr char BEGINS[] = ": begins for ";
    std::size_t const nameBegin = line.find("session ");
    std::size_t const nameEnd = line.find(':', nameBegin);
    if (nameBegin == std::string::npos || nameEnd == std::string::npos)
        return;
    std::string const name = line.substr(nameBegin, nameEnd - nameBegin);
    std::string const rest = line.substr(nameEnd);
    if (rest.starts_with(BEGINS)) {
        m_sessions[rest.substr(sizeof(BEGINS) - 1)] = name;
    } else if (rest.starts_with(": was ended by signal ") || rest.starts_with(": ended with")) {
        std::erase_if(m_sessions, [&](auto const& session) { return session.second == name; });
        if (rest.starts_with(": was") && m_killed.count(name) == 0)
            m_crashes.push_back(line);
    }
}

pid_t TestedServer::workerOf(std::string const& peer)
{
    readLog();
    auto const session = m_sessions.find(peer);
    if (session == m_sessions.end())
        return 0;
    for (ChildProcess const& child : childrenOf(m_process)) {
        auto const arguments = argumentsOf(child.process);
        if (isWorkerOf(arguments, session->second))
            return child.process;
    }
    return 0;
}

bool TestedServer::kill(std::string const& peer)
{
    pid_t const worker = workerOf(peer);
    if (worker == 0)
        return false;
    // A number may have gone to another process since it was looked up; the descriptor's can't.
    socketutil::Descriptor const handle(static_cast<int>(::syscall(SYS_pidfd_open, worker, 0)));
    std::string const name = m_sessions.at(peer);
    auto const arguments = argumentsOf(worker);
    if (!handle.isOpen() || !isWorkerOf(arguments, name))
        return false;
    m_killed.insert(name);
    return ::syscall(SYS_pidfd_send_signal, handle.get(), SIGKILL, nullptr, 0) == 0;
}

int TestedServer::stop()
{
    ::kill(m_process, SIGTERM);
    auto const limit = std::chrono::steady_clock::now() + TIME_TO_END;
    while (!reap(WNOHANG) && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(10ms);
    readLog();
    return m_hasEnded && WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
}

std::vector<std::string> TestedServer::whatIsLeft() const
{
    std::vector<std::string> result;
    for (auto const& entry : fs::recursive_directory_iterator(m_folder)) {
        fs::path const name = fs::relative(entry.path(), m_folder);
        // The address file belongs to who asked for it, as the log and a certificate do.
        if (name != "work" && name != "log" && name != "address" && name.stem() != "server")
            result.push_back("the file " + name.string());
    }
    for (pid_t const process : processesWithArgument("server=" + std::to_string(m_process)))
        if (auto const arguments = argumentsOf(process);
            !arguments.empty() && arguments.front() == "vnxdataserver")
            result.push_back("the process " + std::to_string(process));
    return result;
}

}
