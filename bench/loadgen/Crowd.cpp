#include "bench/loadgen/Crowd.h"

#include "bench/loadgen/Processes.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::loadgen {

using namespace std::chrono_literals;

namespace {

constexpr auto STEP = 5ms;
constexpr auto LOOK = 1s;
constexpr auto LONGEST_ARRIVAL = 10s;
// Hundreds of processes may want the processor before the listener has a turn.
constexpr auto LONGEST_ZOMBIE = 5s;
constexpr std::uint64_t MOST_TURNS = 100;

}

Crowd::Crowd(CrowdSettings const& settings, VisitorSettings const& visitors,
             std::vector<FileSet> const& fileSets, Board& board, TestedServer& server)
    : m_settings(settings), m_visitors(visitors), m_fileSets(fileSets), m_board(board),
      m_server(server), m_random(settings.seed), m_clients(settings.numClients)
{
}

CrowdResult Crowd::run()
{
    auto const start = Clock::now();
    auto const end = start + m_settings.duration;
    auto const arrived = start + std::min<Clock::duration>(LONGEST_ARRIVAL, (end - start) / 4);
    auto nextLook = start + LOOK;
    std::exponential_distribution<double> pauses(std::max(m_settings.killsPerSecond, 1e-9));
    auto const pause = [&] {
        return std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(std::min(pauses(m_random), 1e6)));
    };
    auto nextKill = arrived + pause();
    for (std::size_t i = 0; i < m_clients.size(); ++i)
        startVisit(i);
    for (auto now = start; now < end; now = Clock::now()) {
        reapClients();
        for (std::size_t i = 0; i < m_clients.size(); ++i)
            if (m_clients[i].process == 0)
                startVisit(i);
        if (now >= nextLook) {
            lookAtServer(now >= arrived);
            endHangingRequests();
            nextLook = now + LOOK;
        }
        if (now >= nextKill) {
            killSomebody();
            nextKill = now + pause();
        }
        std::this_thread::sleep_for(STEP);
    }
    m_board.counts().isOver = true;
    letClientsFinish();
    m_result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    m_result.visits = m_numVisits;
    m_result.sessionsOnAverage = static_cast<double>(m_numSessionsSeen) /
                                 static_cast<double>(std::max<std::size_t>(m_numLooks, 1));
    return m_result;
}

void Crowd::startVisit(std::size_t index)
{
    std::uint64_t const seed = m_settings.seed * 1'000'003 + ++m_numVisits;
    Slot& slot = m_board.slots()[index];
    slot.clear();
    pid_t const parent = ::getpid();
    pid_t const process = ::fork();
    if (process < 0)
        throw std::runtime_error("Can't start a client: there are too many processes.");
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(1);
        runVisitor(m_visitors, m_fileSets, m_board, slot, seed);
        ::_exit(0);
    }
    m_clients[index] = {process, false};
}

void Crowd::reapClients()
{
    for (std::size_t i = 0; i < m_clients.size(); ++i) {
        int status = 0;
        if (m_clients[i].process != 0 && ::waitpid(m_clients[i].process, &status, WNOHANG) > 0) {
            judge(i, status);
            m_clients[i].process = 0;
        }
    }
}

void Crowd::judge(std::size_t index, int status)
{
    Slot const& slot = m_board.slots()[index];
    if (WIFSIGNALED(status)) {
        if (!m_clients[index].isKilled)
            m_result.faults.push_back("A client was ended by signal " +
                                      std::to_string(WTERMSIG(status)) + ".");
        return;
    }
    if (slot.outcome == Slot::Fine)
        return;
    if (slot.isWorkerKilled && !m_settings.hidesKills)
        ++m_result.explained;
    else
        m_result.faults.push_back(slot.outcome == Slot::Faulty ? slot.text.data()
                                                               : "A client ended by itself.");
}

void Crowd::killSomebody()
{
    std::size_t const index = m_random() % m_clients.size();
    if (m_clients[index].process == 0 || m_clients[index].isKilled)
        return;
    ++m_result.killsTried;
    bool const wasKilled = m_killsClientNext ? killClient(index) : killWorker(index);
    if (wasKilled)
        m_killsClientNext = !m_killsClientNext;
}

bool Crowd::killClient(std::size_t index)
{
    m_clients[index].isKilled = true;
    ::kill(m_clients[index].process, SIGKILL);
    ++m_result.clientsKilled;
    return true;
}

/// False if it isn't in a session.
bool Crowd::killWorker(std::size_t index)
{
    Slot& slot = m_board.slots()[index];
    if (!slot.hasPeer)
        return false;
    std::string const peer = slot.peer.data();
    if (m_server.workerOf(peer) == 0)
        return false;
    slot.isWorkerKilled = true;
    if (!m_server.kill(peer))
        return false;
    ++m_result.workersKilled;
    return true;
}

void Crowd::lookAtServer(bool isComplete)
{
    m_server.readLog();
    std::map<pid_t, Zombie> zombies;
    std::uint64_t const turns = numTurns(m_server.process());
    std::size_t numWorkers = 0;
    auto const now = Clock::now();
    for (ChildProcess const& child : childrenOf(m_server.process())) {
        if (!child.isZombie) {
            ++numWorkers;
            continue;
        }
        auto const known = m_zombies.find(child.process);
        Zombie const zombie = known == m_zombies.end() ? Zombie{now, turns} : known->second;
        zombies.emplace(child.process, zombie);
        if (now - zombie.since > LONGEST_ZOMBIE && turns - zombie.turns > MOST_TURNS)
            ++m_result.zombiesThatStay;
    }
    m_result.zombiesAtMost = std::max(m_result.zombiesAtMost, zombies.size());
    m_zombies = std::move(zombies);
    m_result.descriptorsAtMost =
        std::max(m_result.descriptorsAtMost, numDescriptors(m_server.process()));
    if (!isComplete)
        return;
    m_result.residentAtEnd = residentBytes(m_server.process());
    if (m_result.residentAtStart == 0)
        m_result.residentAtStart = m_result.residentAtEnd;
    ++m_numLooks;
    m_numSessionsSeen += numWorkers;
}

void Crowd::endHangingRequests()
{
    std::int64_t const now = Clock::now().time_since_epoch().count();
    for (std::size_t i = 0; i < m_clients.size(); ++i) {
        std::int64_t const start = m_board.slots()[i].requestStart;
        if (m_clients[i].process == 0 || m_clients[i].isKilled || start == 0 ||
            Clock::duration(now - start) < m_settings.hangLimit)
            continue;
        m_result.faults.push_back("A client waits for an answer since " +
                                  std::to_string(m_settings.hangLimit.count()) + " seconds.");
        m_clients[i].isKilled = true;
        ::kill(m_clients[i].process, SIGKILL);
    }
}

void Crowd::letClientsFinish()
{
    auto const isThere = [](Client const& client) { return client.process != 0; };
    while (std::any_of(m_clients.begin(), m_clients.end(), isThere)) {
        reapClients();
        endHangingRequests();
        std::this_thread::sleep_for(STEP);
    }
}

}
