#pragma once

#include "apps/dataserver/Options.h"
#include "apps/dataserver/Peer.h"
#include "apps/dataserver/SignalQueue.h"
#include "apps/dataserver/StandardDescriptors.h"
#include "apps/dataserver/Worker.h"
#include "socket/Address.h"
#include "socket/Descriptor.h"

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include <sys/types.h>

namespace varnox::dataserver {

/// The process that owns the listening socket and the workers. It reads nothing that a client
/// sends: each connection goes to a worker, which greets the client and asks here for a place.
class Server
{
public:
    /// Throws UsageError for options that can't go together.
    explicit Server(Options const& options);
    Server(Server const&) = delete;
    Server& operator=(Server const&) = delete;
    ~Server();

    /// Serves until there is nothing left to serve; the result is the program's exit status. Throws
    /// std::exception if it can't start.
    int run();

private:
    using Clock = std::chrono::steady_clock;

    /// A connection for whose greeting there was no place yet.
    struct Waiting
    {
        socketutil::Descriptor connection;
        Peer peer;
    };

    /// A connection and the worker that it was given to.
    struct Worker
    {
        enum class State { Greeting, Dropped, Admitted, Serving };

        std::string name; ///< "session 7"
        Peer peer;
        pid_t process = -1;
        socketutil::Descriptor control; ///< until the session has begun
        State state = State::Greeting;
        bool isKilled = false; ///< of those that are dropped
        Clock::time_point start;
    };

    /// A connection that was answered without a worker and is left open for a moment: closing it
    /// at once could throw away the answer.
    struct Refused
    {
        Ends ends;
        Clock::time_point until;
    };

    void refuseToRunAsRoot() const;
    void refuseToBeOpenToAll() const;
    void tryAddon();
    void startListening();
    void serveInherited();

    bool isDone() const;
    void waitForEvents();
    int millisecondsToNextDeadline() const;
    void handleSignals();
    void handleDeadlines();

    void acceptConnection();
    void pauseAccepting(int error);
    void startGreetings();
    std::list<Waiting>::iterator nextToGreet();
    void refuseOneThatWaits();
    void refuseAllThatWait(std::string const& reason);
    bool mayComeIn(Peer const& peer) const;
    void tellRefusal(Ends ends, std::string const& reason);
    void startWorker(Ends ends, Peer const& peer, bool greets);
    pid_t fork(WorkerOrder const& order, Ends const* ends, int control);
    void refuseWithoutWorker(Ends ends, Peer const& peer, std::string const& reason);
    Worker const* greetingToDrop() const;
    std::optional<Clock::time_point> timeOfPlaceForGreeting() const;
    void makeWayForGreeting();

    void handleControl(Worker& worker);
    std::string reasonToRefuse(Worker const& newcomer) const;
    void sessionBegins(Worker& worker);
    void reapWorkers();
    void workerEnded(Worker& worker, int status);

    void stop(int signal);
    void signalWorkers(int signal);
    std::size_t numIn(Worker::State state) const;

    Options m_options;
    std::string m_token;
    SignalQueue m_signals;
    std::unique_ptr<socketutil::Listener> m_listener;
    std::list<Waiting> m_waiting;
    std::list<Worker> m_workers;
    std::list<Refused> m_refused;
    unsigned long m_numConnections = 0;
    int m_exitStatus = 0;
    bool m_checksInheritedPeer = false;
    bool m_onceIsUsedUp = false;
    bool m_isStopping = false;
    bool m_wereWorkersAsked = false;
    std::optional<Clock::time_point> m_killTime;
    std::optional<Clock::time_point> m_acceptAgainTime;
    std::optional<Clock::time_point> m_lastPauseReport;
    std::optional<Clock::time_point> m_lastCrowdReport;
};

}
