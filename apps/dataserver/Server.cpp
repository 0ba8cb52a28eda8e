#include "apps/dataserver/Server.h"

#include "apps/dataserver/AddressFile.h"
#include "apps/dataserver/Greeting.h"
#include "apps/dataserver/SharedFolders.h"

#include "socket/Token.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace varnox::dataserver {

using namespace std::chrono_literals;
using socketutil::Address;
using socketutil::Descriptor;
using socketutil::Listener;

namespace {

constexpr std::chrono::seconds GRACE{5};      // for running sessions, from the signal to end on
constexpr std::chrono::seconds LAST_GRACE{1}; // from a worker's SIGTERM to its SIGKILL
constexpr auto TRIAL_LIMIT = 60s;             // for an add-on to come up
constexpr char WRONG_USER[] = "this data server serves other users of this machine";
// A greeting makes way for another after that time only; agreeing about keys takes some of it.
constexpr auto GREETINGS_OWN = 500ms;
constexpr auto ENCRYPTED_GREETINGS_OWN = 2s;
constexpr auto ACCEPT_PAUSE = 200ms;
constexpr std::size_t MOST_WAITING = 256; // for a greeting
constexpr auto REPORT_PAUSE = 10s; // between log lines that somebody else could cause without end
constexpr char ONCE_IS_USED_UP[] = "the data server serves one session only, and that has begun";

/// Lets the system find out when a client's machine has vanished without a word.
void keepAlive(int connection)
{
    int const on = 1;
    int const idleSeconds = 60;
    int const intervalSeconds = 10;
    int const numProbes = 6;
    if (::setsockopt(connection, IPPROTO_TCP, TCP_KEEPIDLE, &idleSeconds, sizeof(idleSeconds)) != 0)
        return; // a Unix socket
    ::setsockopt(connection, IPPROTO_TCP, TCP_KEEPINTVL, &intervalSeconds, sizeof(intervalSeconds));
    ::setsockopt(connection, IPPROTO_TCP, TCP_KEEPCNT, &numProbes, sizeof(numProbes));
    ::setsockopt(connection, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
}

/// Closes all descriptors but the standard ones and these. Between fork and exec.
void closeAllBut(std::array<int, 3> kept)
{
    constexpr unsigned FIRST = STDERR_FILENO + 1;
    std::sort(kept.begin(), kept.end());
    unsigned next = FIRST;
    for (int const descriptor : kept) {
        if (descriptor < static_cast<int>(FIRST))
            continue; // none
        auto const number = static_cast<unsigned>(descriptor);
        if (number > next)
            ::close_range(next, number - 1, 0);
        next = number + 1;
    }
    ::close_range(next, ~0U, 0);
}

/// Becomes a worker. Runs between fork and exec: only what is allowed there.
[[noreturn]] void becomeWorker(char* const* arguments, char* const* environment, int readEnd,
                               int writeEnd, int control)
{
    constexpr int OUT_OF_THE_WAY = WorkerOrder::CONTROL + 1;
    constexpr int EXEC_FAILED = 127;
    // Nothing else of ours, or of whoever started us, reaches an add-on.
    std::array<int, 3> ends = {readEnd, writeEnd, control};
    closeAllBut(ends);
    for (int& end : ends)
        if (end >= 0)
            end = ::fcntl(end, F_DUPFD_CLOEXEC, OUT_OF_THE_WAY);
    int const null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::dup2(null, STDIN_FILENO);
    constexpr int PLACES[] = {WorkerOrder::READ_END, WorkerOrder::WRITE_END, WorkerOrder::CONTROL};
    for (std::size_t i = 0; i < ends.size(); ++i)
        if (ends[i] >= 0)
            ::dup2(ends[i], PLACES[i]);
    // A group of its own: Ctrl-C at a terminal is for the server, which lets sessions end.
    ::setpgid(0, 0);
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execve("/proc/self/exe", arguments, environment);
    ::_exit(EXEC_FAILED);
}

/// What of the environment is passed on: nothing that could hold a secret, or change what is
/// loaded, by accident.
bool isOrdinary(std::string const& name)
{
    constexpr char const* NAMES[] = {"PATH", "HOME", "USER",   "USERNAME", "LOGNAME",
                                     "LANG", "TZ",   "TMPDIR", "LANGUAGE", "LD_LIBRARY_PATH"};
    return name.starts_with("VNX_") || name.starts_with("LC_") || name.starts_with("OMP_") ||
           std::find(std::begin(NAMES), std::end(NAMES), name) != std::end(NAMES);
}

std::vector<std::string> environmentOf(std::vector<std::string> const& keptBesides)
{
    std::vector<std::string> result;
    for (char* const* entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        std::string const text = *entry;
        std::string const name = text.substr(0, text.find('='));
        if (isOrdinary(name) ||
            std::find(keptBesides.begin(), keptBesides.end(), name) != keptBesides.end())
            result.push_back(text);
    }
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& words)
{
    std::vector<char*> result;
    result.reserve(words.size() + 1);
    for (std::string& word : words)
        result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

/// A connection as two ends; without a write end where there is no descriptor for it.
Ends endsOf(Descriptor connection)
{
    Ends result;
    result.writeEnd.reset(::fcntl(connection.get(), F_DUPFD_CLOEXEC, 0));
    result.readEnd = std::move(connection);
    return result;
}

std::string describe(int status)
{
    if (WIFSIGNALED(status)) {
        int const number = WTERMSIG(status);
        return "was ended by signal " + std::to_string(number) + " (" + ::strsignal(number) + ")";
    }
    return "ended with exit status " + std::to_string(WEXITSTATUS(status));
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}

Server::Server(Options const& options) : m_options(options)
{
    std::signal(SIGPIPE, SIG_IGN);
    refuseToRunAsRoot();
    refuseToBeOpenToAll();
    if (m_options.allowedUsers.empty())
        m_options.allowedUsers.push_back(::geteuid());
    else
        m_checksInheritedPeer = true;
    ResourceLimits noDump;
    noDump.dumpsCore = m_options.limits.dumpsCore;
    applyLimits(noDump); // ours would hold the token
    if (m_options.addonPath.empty())
        m_options.addonPath = installedAddon();
    if (!m_options.tokenFile.empty())
        m_token = socketutil::readTokenFile(m_options.tokenFile);
    if (!m_options.tls.certificate.empty())
        socketutil::TlsConnection{m_options.tls}; // so that files that can't be used are told now
    m_options.sharedFolders = SharedFolders(m_options.sharedFolders).paths();
    if (!m_options.sharedFolders.empty() && fenceSupport() == Fence::NotSupported)
        spdlog::warn("this kernel can't hold a session to directories, so a link that is changed "
                     "while a file is opened can lead out of --root");
    if (m_options.source.kind != Source::Kind::Listening)
        m_options.servesOnce = true;
}

Server::~Server()
{
    signalWorkers(SIGKILL);
}

int Server::run()
{
    if (m_options.source.kind == Source::Kind::Listening) {
        tryAddon();
        if (!m_isStopping)
            startListening();
    } else {
        serveInherited();
    }
    while (!isDone())
        waitForEvents();
    return m_exitStatus;
}

void Server::refuseToRunAsRoot() const
{
    if (!m_options.allowsRoot && (::geteuid() == 0 || ::getuid() == 0))
        throw UsageError("Running as root is refused: clients and add-ons would reach every file "
                         "of this machine. Start the program as an ordinary user, or give "
                         "--allow-root, as in a container that has no other user.");
}

void Server::refuseToBeOpenToAll() const
{
    if (m_options.source.kind == Source::Kind::Listening && m_options.tokenFile.empty() &&
        !isLoopback(m_options.source.address))
        throw UsageError("Others than this machine could come in at " + m_options.source.text +
                         ", so a token is needed: give --token-file FILE, or listen on the "
                         "loopback, as tcp:127.0.0.1:PORT.");
}

/// In a process of its own: an add-on is never unloaded, and a bad one must not take us with it.
void Server::tryAddon()
{
    WorkerOrder order;
    order.task = WorkerTask::TryAddon;
    order.name = "trial";
    order.addonPath = m_options.addonPath;
    order.maxItemBytes = m_options.maxItemBytes;
    order.logLevel = m_options.logLevel;
    order.sharedFolders = m_options.sharedFolders;
    order.limits = m_options.limits;
    pid_t const trial = fork(order, nullptr, -1);
    if (trial < 0)
        throw std::runtime_error(std::string("Can't start a process: ") + std::strerror(errno) +
                                 ".");
    spdlog::debug("trying the add-on {}", m_options.addonPath);
    auto const limit = Clock::now() + TRIAL_LIMIT;
    int status = 0;
    while (::waitpid(trial, &status, WNOHANG) == 0) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now());
        pollfd waiting{m_signals.descriptor(), POLLIN, 0};
        bool const isOver = ::poll(&waiting, 1, std::max(0, static_cast<int>(left.count()))) == 0;
        bool isStopped = false;
        while (int const signal = m_signals.next())
            isStopped = isStopped || signal != SIGCHLD;
        if (isOver || isStopped) {
            ::kill(trial, SIGKILL);
            ::waitpid(trial, &status, 0);
            m_isStopping = isStopped;
            if (isStopped)
                return;
            throw std::runtime_error("The add-on " + m_options.addonPath +
                                     " did not come up within a minute; nothing is served.");
        }
    }
    if (status != 0)
        throw std::runtime_error("The add-on " + m_options.addonPath +
                                 " can't be used, so nothing is served: its trial " +
                                 describe(status) + (WIFSIGNALED(status) ? "." : ", see above."));
}

void Server::startListening()
{
    // Where others are asked in by name, the file can't keep them out: each connection is looked
    // at.
    constexpr mode_t EVERYONE = 0666;
    bool const isOwnersOnly =
        std::all_of(m_options.allowedUsers.begin(), m_options.allowedUsers.end(),
                    [](uid_t user) { return user == ::geteuid(); });
    m_listener = std::make_unique<Listener>(m_options.source.address,
                                            isOwnersOnly ? Listener::OWNER_ONLY : EVERYONE);
    Address const& bound = m_listener->boundAddress();
    if (m_token.empty() && !isLoopback(bound))
        throw std::runtime_error("The name service has changed its mind: " + m_options.source.text +
                                 " is no longer of this machine alone.");
    spdlog::info("listening on {}", textOf(bound));
    if (!m_options.addressFile.empty())
        writeAddressFile(m_options.addressFile, textOf(bound));
}

void Server::serveInherited()
{
    Ends ends = takeInheritedConnection(m_options.source);
    tryAddon();
    if (m_isStopping)
        return;
    if (!m_options.addressFile.empty())
        writeAddressFile(m_options.addressFile, m_options.source.text);
    bool const greets = m_options.source.kind == Source::Kind::StandardStreams;
    m_exitStatus = 1; // unless a session comes about
    Peer const peer = peerOf(ends.readEnd.get());
    if (m_checksInheritedPeer && peer.user && !mayComeIn(peer)) {
        spdlog::warn("{} is refused: it isn't among those of --allow-uid", peer.name);
        if (greets)
            tellRefusal(std::move(ends), WRONG_USER);
        return;
    }
    startWorker(std::move(ends), {m_options.source.text, "", {}}, greets);
}

bool Server::isDone() const
{
    return !m_listener && m_workers.empty() && m_refused.empty();
}

void Server::waitForEvents()
{
    std::vector<pollfd> waiting{{m_signals.descriptor(), POLLIN, 0}};
    bool const accepts = m_listener && !m_acceptAgainTime;
    waiting.push_back({accepts ? m_listener->descriptor() : -1, POLLIN, 0});
    for (Worker const& worker : m_workers)
        waiting.push_back({worker.control.get(), POLLIN, 0});
    for (Refused const& refused : m_refused)
        waiting.push_back({refused.ends.readEnd.get(), 0, 0}); // for its end, which is always told
    if (::poll(waiting.data(), waiting.size(), millisecondsToNextDeadline()) < 0)
        return;
    auto state = waiting.begin() + 2;
    for (Worker& worker : m_workers)
        if ((state++)->revents != 0)
            handleControl(worker);
    m_refused.remove_if([&](Refused const&) { return (state++)->revents != 0; });
    handleSignals();
    handleDeadlines();
    if (m_listener && waiting[1].revents != 0)
        acceptConnection();
    startGreetings();
}

int Server::millisecondsToNextDeadline() const
{
    std::optional<Clock::time_point> next = m_killTime;
    if (m_acceptAgainTime && (!next || *m_acceptAgainTime < *next))
        next = m_acceptAgainTime;
    std::optional<Clock::time_point> const place = timeOfPlaceForGreeting();
    if (!m_waiting.empty() && place && (!next || *place < *next))
        next = place;
    if (!m_refused.empty() && (!next || m_refused.front().until < *next))
        next = m_refused.front().until;
    if (!next)
        return -1;
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now()).count();
    return static_cast<int>(std::max(left, 0L));
}

void Server::handleSignals()
{
    bool haveChildrenEnded = false;
    while (int const signal = m_signals.next()) {
        if (signal == SIGCHLD)
            haveChildrenEnded = true;
        else
            stop(signal);
    }
    if (haveChildrenEnded)
        reapWorkers();
}

void Server::handleDeadlines()
{
    auto const now = Clock::now();
    if (m_acceptAgainTime && now >= *m_acceptAgainTime)
        m_acceptAgainTime.reset();
    m_refused.remove_if([&](Refused const& refused) { return now >= refused.until; });
    if (!m_killTime || now < *m_killTime)
        return;
    if (!m_wereWorkersAsked) {
        spdlog::warn("ending {} sessions that are still running", m_workers.size());
        signalWorkers(SIGTERM);
        m_wereWorkersAsked = true;
        m_killTime = now + LAST_GRACE;
    } else {
        signalWorkers(SIGKILL);
        m_killTime.reset();
    }
}

void Server::acceptConnection()
{
    Descriptor connection(::accept4(m_listener->descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection.isOpen()) {
        pauseAccepting(errno);
        return;
    }
    keepAlive(connection.get());
    Peer const peer = peerOf(connection.get());
    bool const isOfThisMachine = m_options.source.address.kind == Address::Kind::Unix;
    if (isOfThisMachine && !mayComeIn(peer)) {
        spdlog::warn("{} is refused: it isn't among those of --allow-uid", peer.name);
        tellRefusal(endsOf(std::move(connection)), WRONG_USER);
        return;
    }
    // Taken even if there is no place yet: who comes from elsewhere isn't to stand in the system's
    // queue behind all connections of one that floods us.
    m_waiting.push_back({std::move(connection), peer});
    if (m_waiting.size() > MOST_WAITING)
        refuseOneThatWaits();
}

void Server::startGreetings()
{
    if (m_onceIsUsedUp)
        refuseAllThatWait(ONCE_IS_USED_UP);
    while (!m_waiting.empty() && !m_acceptAgainTime && !timeOfPlaceForGreeting()) {
        auto const next = nextToGreet();
        Ends ends;
        ends.writeEnd.reset(::fcntl(next->connection.get(), F_DUPFD_CLOEXEC, 0));
        if (!ends.writeEnd.isOpen()) {
            pauseAccepting(errno);
            return;
        }
        ends.readEnd = std::move(next->connection);
        Peer const peer = next->peer;
        m_waiting.erase(next);
        if (numIn(Worker::State::Greeting) >= m_options.maxGreetings)
            makeWayForGreeting();
        startWorker(std::move(ends), peer, true);
    }
}

/// The first of the source that has the fewest greetings under way.
std::list<Server::Waiting>::iterator Server::nextToGreet()
{
    std::map<std::string, std::size_t> counts;
    for (Worker const& worker : m_workers)
        if (worker.state == Worker::State::Greeting)
            ++counts[worker.peer.source];
    return std::min_element(m_waiting.begin(), m_waiting.end(),
                            [&](Waiting const& a, Waiting const& b) {
                                return counts[a.peer.source] < counts[b.peer.source];
                            });
}

/// The last of the source that has the most.
void Server::refuseOneThatWaits()
{
    std::map<std::string, std::size_t> counts;
    for (Waiting const& waiting : m_waiting)
        ++counts[waiting.peer.source];
    auto const last = std::max_element(m_waiting.rbegin(), m_waiting.rend(),
                                       [&](Waiting const& a, Waiting const& b) {
                                           return counts[a.peer.source] < counts[b.peer.source];
                                       });
    auto const now = Clock::now();
    if (!m_lastCrowdReport || now - *m_lastCrowdReport >= REPORT_PAUSE) {
        m_lastCrowdReport = now;
        spdlog::warn("{} and maybe others are refused: {} connections wait to be greeted",
                     last->peer.name, MOST_WAITING);
    }
    tellRefusal(endsOf(std::move(last->connection)),
                "too many connections wait to be greeted; try again later");
    m_waiting.erase(std::next(last).base());
}

void Server::refuseAllThatWait(std::string const& reason)
{
    for (Waiting& waiting : m_waiting)
        tellRefusal(endsOf(std::move(waiting.connection)), reason);
    m_waiting.clear();
}

/// A connection that failed before it was taken is none of our trouble. Anything else, as a lack of
/// descriptors, would be met again at once and without end, so it is given time to pass.
void Server::pauseAccepting(int error)
{
    constexpr int PASSING[] = {EAGAIN, EINTR,     ECONNABORTED, EPROTO,      ENETDOWN,
                               ENONET, EHOSTDOWN, EHOSTUNREACH, ENETUNREACH, EOPNOTSUPP};
    if (std::find(std::begin(PASSING), std::end(PASSING), error) != std::end(PASSING))
        return;
    auto const now = Clock::now();
    m_acceptAgainTime = now + ACCEPT_PAUSE;
    if (m_lastPauseReport && now - *m_lastPauseReport < REPORT_PAUSE)
        return;
    m_lastPauseReport = now;
    spdlog::error("can't take a connection: {}; trying again, see 'ulimit -n' if this goes on",
                  std::strerror(error));
}

bool Server::mayComeIn(Peer const& peer) const
{
    return peer.user && std::find(m_options.allowedUsers.begin(), m_options.allowedUsers.end(),
                                  *peer.user) != m_options.allowedUsers.end();
}

/// In the form of a greeting's answer, though there was no greeting.
void Server::tellRefusal(Ends ends, std::string const& reason)
{
    constexpr std::chrono::seconds MOMENT{1};
    constexpr std::size_t ENOUGH = 64;
    constexpr char TLS_ALERT[] = "\x15\x03\x03\x00\x02\x02\x50"; // fatal, internal error
    std::string const answer = m_options.tls.certificate.empty()
                                   ? greetingAnswer(false, reason)
                                   : std::string(TLS_ALERT, sizeof(TLS_ALERT) - 1);
    ssize_t const sent =
        ::send(ends.writeEnd.get(), answer.data(), answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    bool const isPipe = sent < 0 && errno == ENOTSOCK; // and fresh, with room for all of it
    if (isPipe && ::write(ends.writeEnd.get(), answer.data(), answer.size()) < 0)
        return;
    ::shutdown(ends.writeEnd.get(), SHUT_WR);
    if (m_refused.size() >= ENOUGH)
        m_refused.pop_front();
    m_refused.push_back({std::move(ends), Clock::now() + MOMENT});
}

void Server::startWorker(Ends ends, Peer const& peer, bool greets)
{
    Worker worker;
    worker.name = "session " + std::to_string(++m_numConnections);
    worker.peer = peer;
    worker.start = Clock::now();
    WorkerOrder order;
    order.task = greets ? WorkerTask::ServeGreeted : WorkerTask::ServeUngreeted;
    order.name = worker.name;
    order.addonPath = m_options.addonPath;
    order.maxItemBytes = m_options.maxItemBytes;
    order.greetingTimeout = m_options.greetingTimeout;
    order.idleTimeout = m_options.idleTimeout;
    order.logLevel = m_options.logLevel;
    order.sharedFolders = m_options.sharedFolders;
    order.limits = m_options.limits;
    order.tls = m_options.tls;

    int control[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, control) != 0) {
        refuseWithoutWorker(std::move(ends), peer, std::strerror(errno));
        return;
    }
    worker.control.reset(control[0]);
    Descriptor const workersControl(control[1]);
    worker.process = fork(order, &ends, workersControl.get());
    if (worker.process < 0) {
        refuseWithoutWorker(std::move(ends), peer, std::strerror(errno));
        return;
    }
    spdlog::debug("{}: {} has connected", worker.name, peer.name);
    if (greets)
        control::send(worker.control.get(), control::TOKEN, m_token);
    else
        worker.state = Worker::State::Admitted;
    m_workers.push_back(std::move(worker));
}

pid_t Server::fork(WorkerOrder const& order, Ends const* ends, int control)
{
    WorkerOrder complete = order;
    complete.server = ::getpid();
    std::vector<std::string> words = complete.arguments();
    words.insert(words.begin(), "vnxdataserver");
    std::vector<std::string> variables = environmentOf(m_options.keptVariables);
    std::vector<char*> const arguments = pointersTo(words);
    std::vector<char*> const environment = pointersTo(variables);
    int const readEnd = ends != nullptr ? ends->readEnd.get() : -1;
    int const writeEnd = ends != nullptr ? ends->writeEnd.get() : -1;
    pid_t const process = ::fork();
    if (process == 0)
        becomeWorker(arguments.data(), environment.data(), readEnd, writeEnd, control);
    return process;
}

void Server::refuseWithoutWorker(Ends ends, Peer const& peer, std::string const& reason)
{
    spdlog::error("{} is refused, for no process can be started for it: {}", peer.name, reason);
    if (m_options.source.kind != Source::Kind::InheritedSocket)
        tellRefusal(std::move(ends), "the data server can't start a process for the session (" +
                                         reason + "); try again later");
}

/// Whoever connects and says nothing can't keep others out: of the source that has the most
/// greetings the oldest is refused. So a source that floods us meets itself.
Server::Worker const* Server::greetingToDrop() const
{
    std::map<std::string, std::size_t> counts;
    for (Worker const& worker : m_workers)
        if (worker.state == Worker::State::Greeting)
            ++counts[worker.peer.source];
    Worker const* result = nullptr; // in the list the oldest come first
    for (Worker const& worker : m_workers)
        if (worker.state == Worker::State::Greeting &&
            (result == nullptr || counts[worker.peer.source] > counts[result->peer.source]))
            result = &worker;
    return result;
}

/// Nothing if there is one, or one can be made. Many clients that come at once wait for one
/// another; nobody is dropped who was given no time.
std::optional<Server::Clock::time_point> Server::timeOfPlaceForGreeting() const
{
    if (numIn(Worker::State::Greeting) < m_options.maxGreetings)
        return std::nullopt;
    Clock::time_point const time =
        greetingToDrop()->start +
        (m_options.tls.certificate.empty() ? GREETINGS_OWN : ENCRYPTED_GREETINGS_OWN);
    return Clock::now() < time ? std::optional(time) : std::nullopt;
}

void Server::makeWayForGreeting()
{
    Worker const* const chosen = greetingToDrop();
    auto const oldest = std::find_if(m_workers.begin(), m_workers.end(),
                                     [&](Worker const& worker) { return &worker == chosen; });
    if (oldest == m_workers.end())
        return;
    spdlog::warn("{}: {} is dropped in its greeting, for others are waiting", oldest->name,
                 oldest->peer.name);
    // Who came first of those that were told is given no more time to read it.
    if (numIn(Worker::State::Dropped) >= m_options.maxGreetings) {
        auto const first =
            std::find_if(m_workers.begin(), m_workers.end(), [](Worker const& worker) {
                return worker.state == Worker::State::Dropped && !worker.isKilled;
            });
        if (first != m_workers.end()) {
            ::kill(first->process, SIGKILL);
            first->isKilled = true;
        }
    }
    oldest->state = Worker::State::Dropped;
    control::send(oldest->control.get(), control::REFUSE,
                  "the data server has " + std::to_string(m_options.maxGreetings) +
                      " greetings under way, which is its limit, and others are waiting; try again "
                      "later");
}

void Server::handleControl(Worker& worker)
{
    std::string const message = control::receive(worker.control.get());
    if (message.empty()) {
        worker.control.reset();
    } else if (message.front() == control::SERVING) {
        sessionBegins(worker);
    } else if (message.front() == control::MAY_I_SERVE && worker.state == Worker::State::Greeting) {
        std::string const reason = reasonToRefuse(worker);
        if (reason.empty())
            worker.state = Worker::State::Admitted;
        control::send(worker.control.get(), reason.empty() ? control::SERVE : control::REFUSE,
                      reason);
    }
}

std::string Server::reasonToRefuse(Worker const& newcomer) const
{
    std::size_t const numSessions = numIn(Worker::State::Admitted) + numIn(Worker::State::Serving);
    if (m_isStopping)
        return "the data server is ending";
    if (m_options.servesOnce && (m_onceIsUsedUp || numSessions > 0))
        return ONCE_IS_USED_UP;
    if (numSessions >= m_options.maxSessions)
        return "the data server already has " + std::to_string(numSessions) +
               (numSessions == 1 ? " session" : " sessions") +
               ", which is its limit; try again "
               "later";
    auto const numOfSource = static_cast<std::size_t>(
        std::count_if(m_workers.begin(), m_workers.end(), [&](Worker const& worker) {
            return worker.peer.source == newcomer.peer.source &&
                   (worker.state == Worker::State::Admitted ||
                    worker.state == Worker::State::Serving);
        }));
    if (m_options.maxSessionsPerSource > 0 && numOfSource >= m_options.maxSessionsPerSource)
        return "the data server already has " + std::to_string(numOfSource) +
               (numOfSource == 1 ? " session" : " sessions") +
               " of this user or address, which is its limit for one; try again later";
    return "";
}

void Server::sessionBegins(Worker& worker)
{
    worker.state = Worker::State::Serving;
    worker.control.reset();
    spdlog::info("{}: begins for {}", worker.name, worker.peer.name);
    if (m_options.servesOnce) {
        m_onceIsUsedUp = true;
        m_listener.reset();
    }
}

void Server::reapWorkers()
{
    int status = 0;
    while (pid_t const process = ::waitpid(-1, &status, WNOHANG)) {
        if (process < 0)
            return;
        auto const worker = std::find_if(m_workers.begin(), m_workers.end(),
                                         [&](Worker const& w) { return w.process == process; });
        if (worker == m_workers.end())
            continue;
        // Its last words come before its end.
        pollfd said{worker->control.get(), POLLIN, 0};
        while (worker->control.isOpen() && ::poll(&said, 1, 0) > 0)
            handleControl(*worker);
        workerEnded(*worker, status);
        m_workers.erase(worker);
    }
}

void Server::workerEnded(Worker& worker, int status)
{
    bool const wasSession = worker.state == Worker::State::Serving;
    bool const wasOrderly = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (wasSession)
        spdlog::log(wasOrderly ? spdlog::level::info : spdlog::level::warn,
                    "{}: {} after {:.3f} s with {}", worker.name, describe(status),
                    secondsSince(worker.start), worker.peer.name);
    else
        spdlog::info("{}: did not begin with {}", worker.name, worker.peer.name);
    if (!wasSession || !m_options.servesOnce)
        return;
    m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
    for (Worker const& other : m_workers)
        if (other.process != worker.process)
            ::kill(other.process, SIGKILL); // still greeting, for nothing
}

void Server::stop(int signal)
{
    m_listener.reset();
    m_waiting.clear();
    m_refused.clear();
    for (Worker const& worker : m_workers)
        if (worker.state == Worker::State::Greeting || worker.state == Worker::State::Dropped ||
            m_isStopping)
            ::kill(worker.process, SIGKILL);
    if (m_isStopping)
        return; // asked a second time: no more patience
    m_isStopping = true;
    std::size_t const numSessions = numIn(Worker::State::Admitted) + numIn(Worker::State::Serving);
    spdlog::info("{}: no longer listening; {} running", ::strsignal(signal),
                 numSessions == 1 ? "1 session is" : std::to_string(numSessions) + " sessions are");
    m_killTime = Clock::now() + GRACE;
}

void Server::signalWorkers(int signal)
{
    for (Worker const& worker : m_workers)
        ::kill(worker.process, signal);
}

std::size_t Server::numIn(Worker::State state) const
{
    return static_cast<std::size_t>(
        std::count_if(m_workers.begin(), m_workers.end(),
                      [&](Worker const& worker) { return worker.state == state; }));
}

}
