#pragma once

#include "bench/loadgen/Board.h"
#include "bench/loadgen/TestedServer.h"
#include "bench/loadgen/Visitor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <sys/types.h>

namespace varnox::loadgen {

struct CrowdSettings
{
    std::size_t numClients = 200;
    std::chrono::seconds duration{600};
    double killsPerSecond = 2;          ///< Of clients and of workers, by turns.
    bool hidesKills = false;            ///< Counts what kills explain as faults.
    std::chrono::seconds hangLimit{90}; ///< A request that takes longer is a fault.
    std::uint64_t seed = 1;
};

/// What became of a crowd.
struct CrowdResult
{
    double seconds = 0;
    std::size_t visits = 0;
    std::size_t killsTried = 0;
    std::size_t clientsKilled = 0;
    std::size_t workersKilled = 0;
    std::size_t explained = 0; ///< Visits that failed since their worker was killed.
    std::vector<std::string> faults;

    // Of the listener, when all clients have come, and before they leave.
    std::uint64_t residentAtStart = 0;
    std::uint64_t residentAtEnd = 0;
    std::size_t descriptorsAtMost = 0;
    double sessionsOnAverage = 0;
    std::size_t zombiesAtMost = 0;   ///< Of what one look a second saw.
    std::size_t zombiesThatStay = 0; ///< Though the listener had time and many turns.
};

/// Keeps as many clients at a server as are wanted, each in a process of its own, replaces those
/// that are done, and kills some of them and of the server's workers.
class Crowd
{
public:
    Crowd(CrowdSettings const& settings, VisitorSettings const& visitors,
          std::vector<FileSet> const& fileSets, Board& board, TestedServer& server);
    CrowdResult run();

private:
    using Clock = std::chrono::steady_clock;

    struct Client
    {
        pid_t process = 0; ///< 0 for none.
        bool isKilled = false;
    };

    /// Since when it has been seen, and how many turns the listener had had then.
    struct Zombie
    {
        Clock::time_point since;
        std::uint64_t turns;
    };

    void startVisit(std::size_t index);
    void reapClients();
    void judge(std::size_t index, int status);
    void killSomebody();
    bool killClient(std::size_t index);
    bool killWorker(std::size_t index);
    void lookAtServer(bool isComplete);
    void endHangingRequests();
    void letClientsFinish();

    CrowdSettings m_settings;
    VisitorSettings m_visitors;
    std::vector<FileSet> const& m_fileSets;
    Board& m_board;
    TestedServer& m_server;
    std::mt19937_64 m_random;
    std::vector<Client> m_clients;
    std::map<pid_t, Zombie> m_zombies; ///< Of the last look.
    std::uint64_t m_numVisits = 0;
    std::size_t m_numLooks = 0;
    std::size_t m_numSessionsSeen = 0;
    bool m_killsClientNext = false;
    CrowdResult m_result;
};

}
