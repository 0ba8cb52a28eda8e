#include "bench/loadgen/Visitor.h"

#include "bench/loadgen/BadVisits.h"
#include "bench/loadgen/Fault.h"
#include "client/Errors.h"

#include <exception>
#include <optional>
#include <thread>

namespace varnox::loadgen {

namespace {

constexpr std::chrono::seconds GREETING_TIMEOUT{120};
constexpr unsigned POLITE_IN_TEN = 7; // the others just hang up

struct Share
{
    Kind kind;
    unsigned percent;
};
constexpr Share SHARES[] = {
    {Kind::Values, 42},   {Kind::Cells, 14},      {Kind::Searches, 13}, {Kind::Ranges, 8},
    {Kind::CalcVars, 10}, {Kind::WholeValues, 5}, {Kind::Info, 4},      {Kind::Browse, 4},
};

Kind chooseKind(std::mt19937_64& random)
{
    auto left = static_cast<unsigned>(random() % 100);
    for (Share const& share : SHARES) {
        if (left < share.percent)
            return share.kind;
        left -= share.percent;
    }
    throw std::logic_error("the shares are less than 100 percent");
}

class Visitor
{
public:
    Visitor(VisitorSettings const& settings, std::vector<FileSet> const& fileSets, Board& board,
            Slot& slot, std::uint64_t seed)
        : m_settings(settings), m_fileSets(fileSets), m_board(board), m_slot(slot),
          m_stopwatch(board, slot), m_random(seed), m_connector(settings.entrance)
    {
    }

    void run()
    {
        FileSet const& fileSet = m_fileSets[m_random() % m_fileSets.size()];
        if (m_random() % m_settings.badVisitsIn == 0)
            comeBadly(fileSet);
        else
            comeProperly(fileSet);
    }

private:
    int connect()
    {
        m_slot.hasPeer = false;
        Connector::Connection const connection = m_connector.connect();
        copyText(connection.peer, m_slot.peer);
        m_slot.hasPeer = true;
        return connection.stream;
    }

    /// Tries again as long as the server asks for that.
    template <typename F>
    void withPlace(F&& visit)
    {
        for (;;) {
            try {
                return visit();
            } catch (client::GreetingRefused const& refusal) {
                if (std::string(refusal.what()).find("try again") == std::string::npos)
                    throw;
                ++m_board.counts().refusals;
                std::this_thread::sleep_for(std::chrono::milliseconds(50 + m_random() % 200));
            }
        }
    }

    void comeBadly(FileSet const& fileSet)
    {
        BadVisit const visit{[this] { return connect(); }, fileSet};
        withPlace([&] {
            m_stopwatch.time(Kind::BadRequests, [&] {
                runBadVisit(visit, m_random);
                return 0;
            });
        });
    }

    void comeProperly(FileSet const& fileSet)
    {
        std::optional<client::Engine> engine;
        withPlace([&] {
            m_stopwatch.time(Kind::Connect, [&] {
                engine.emplace(connect());
                engine->greet("", GREETING_TIMEOUT);
                return 0;
            });
        });
        Visit visit{*engine, {}};
        runLoad(fileSet, visit, m_stopwatch);
        for (std::size_t left = 1 + m_random() % m_settings.maxTasks;
             left > 0 && !m_board.counts().isOver; --left) {
            runTask(chooseTask(fileSet, m_random), visit, m_stopwatch);
            think();
        }
        if (m_random() % 10 < POLITE_IN_TEN)
            engine->close();
    }

    void think()
    {
        if (m_settings.think.count() == 0)
            return;
        double const seconds = std::chrono::duration<double>(m_settings.think).count();
        std::this_thread::sleep_for(std::chrono::duration<double>(
            std::exponential_distribution<double>(1 / seconds)(m_random)));
    }

    VisitorSettings const& m_settings;
    std::vector<FileSet> const& m_fileSets;
    Board& m_board;
    Slot& m_slot;
    Stopwatch m_stopwatch;
    std::mt19937_64 m_random;
    Connector m_connector;
};

}

Choice chooseTask(FileSet const& fileSet, std::mt19937_64& random)
{
    Kind const kind = chooseKind(random);
    auto const& tasks = fileSet.tasks[static_cast<std::size_t>(kind)];
    return {kind, tasks[random() % tasks.size()]};
}

void runTask(Choice const& choice, Visit& visit, Stopwatch& stopwatch)
{
    std::uint64_t const answer =
        stopwatch.time(choice.kind, [&] { return choice.task.run(visit); });
    if (answer != choice.task.answer)
        throw Fault(std::string("An answer of the kind '") +
                    KIND_NAMES[static_cast<std::size_t>(choice.kind)] +
                    "' is another than in quiet.");
}

void runLoad(FileSet const& fileSet, Visit& visit, Stopwatch& stopwatch)
{
    visit.calcVars.clear();
    std::uint64_t const answer =
        stopwatch.time(Kind::Load, [&] { return load(visit.engine, fileSet.paths); });
    if (answer != fileSet.loadAnswer)
        throw Fault("A load of " + fileSet.paths.front() + " built something else than in quiet.");
}

void runVisitor(VisitorSettings const& settings, std::vector<FileSet> const& fileSets, Board& board,
                Slot& slot, std::uint64_t seed)
{
    try {
        Visitor(settings, fileSets, board, slot, seed).run();
        slot.outcome = Slot::Fine;
    } catch (std::exception const& error) {
        copyText(error.what(), slot.text);
        slot.outcome = Slot::Faulty;
    }
}

}
