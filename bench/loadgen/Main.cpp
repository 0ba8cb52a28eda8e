// Load on a data server: many clients at once with mixed work, some of which behave badly or are
// killed, as are workers; and one session with very many commands. Tells how long requests took,
// and finds what is lost: wrong or missing answers, crashes, memory, descriptors, processes and
// files.

#include "bench/loadgen/Connector.h"
#include "bench/loadgen/Crowd.h"
#include "bench/loadgen/Soak.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using namespace varnox::loadgen;
using namespace std::chrono_literals;

constexpr std::size_t MAX_FAULTS_SHOWN = 30;
constexpr std::size_t MANY_TRIES = 10;
constexpr auto TIME_TO_GET_QUIET = 15s;

struct Settings
{
    CrowdSettings crowd;
    VisitorSettings visitors;
    SoakSettings soak;
    std::string listen = "unix";
    std::string samples = VNX_LOAD_SAMPLES;
    std::vector<std::string> serverOptions;
    double maxGrowth = 1;
};

/// What is lost, each with a line of text.
using Faults = std::vector<std::string>;

std::vector<FileSet> makeFileSets(TestedServer const& server, std::string const& folder)
{
    std::vector<FileSet> result;
    for (auto const& paths : sampleFiles(folder)) {
        Connector connector(server.entrance());
        varnox::client::Engine engine(connector.connect().stream);
        engine.greet("");
        result.push_back(makeFileSet(engine, paths));
        engine.close();
    }
    return result;
}

/// Waits until the server has no worker left. False if some stay.
bool getsQuiet(TestedServer const& server)
{
    auto const limit = std::chrono::steady_clock::now() + TIME_TO_GET_QUIET;
    while (!childrenOf(server.process()).empty()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

double milliseconds(Histogram::Time time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

void printRow(char const* name, Histogram const& times)
{
    std::printf("| %s | %llu | %.3f | %.2f | %.1f |\n", name,
                static_cast<unsigned long long>(times.count()), milliseconds(times.quantile(0.5)),
                milliseconds(times.quantile(0.99)), milliseconds(times.max()));
}

void printTimes(Board const& board, double seconds)
{
    Board all(0);
    Histogram& sum = all.times(Kind::Load);
    std::printf("| Requests | number | p50 ms | p99 ms | max ms |\n|---|---|---|---|---|\n");
    for (std::size_t kind = 0; kind < NUM_KINDS; ++kind) {
        printRow(KIND_NAMES[kind], board.counts().times[kind]);
        sum.join(board.counts().times[kind]);
    }
    printRow("**all**", sum);
    std::printf("\nrequests per second: %.0f\n", static_cast<double>(sum.count()) / seconds);
}

double growth(std::uint64_t start, std::uint64_t end)
{
    return start == 0 ? 100 : 100 * (static_cast<double>(end) / static_cast<double>(start) - 1);
}

void checkGrowth(char const* whose, double percent, double max, Faults& faults)
{
    char text[200];
    std::snprintf(text, sizeof(text), "The memory of %s grew by %.2f %%.", whose, percent);
    if (percent >= max)
        faults.emplace_back(text);
}

void printKilobytes(char const* what, std::uint64_t start, std::uint64_t end)
{
    std::printf("%s: %llu kB at the start, %llu kB at the end, %+.2f %%\n", what,
                static_cast<unsigned long long>(start / 1024),
                static_cast<unsigned long long>(end / 1024), growth(start, end));
}

void checkDescriptors(char const* whose, std::size_t start, std::size_t end, Faults& faults)
{
    std::printf("descriptors of %s: %zu at the start, %zu at the end\n", whose, start, end);
    if (end > start)
        faults.push_back(std::string("There are more descriptors of ") + whose + ".");
}

/// Ends the server and looks at what remains.
void checkEnd(TestedServer& server, Faults& faults)
{
    int const status = server.stop();
    auto const left = server.whatIsLeft();
    std::printf("exit status of the server: %d\nleft behind: %zu\n", status, left.size());
    if (status != 0)
        faults.emplace_back("The server didn't end as it should.");
    for (std::string const& what : left)
        faults.push_back("There is left behind " + what + ".");
    faults.insert(faults.end(), server.crashes().begin(), server.crashes().end());
}

int concludeWith(Faults const& faults)
{
    std::printf("faults: %zu\n", faults.size());
    std::map<std::string, std::size_t> counts;
    for (std::string const& fault : faults)
        ++counts[fault];
    std::size_t left = MAX_FAULTS_SHOWN;
    for (auto const& [fault, count] : counts)
        if (left-- > 0)
            std::printf("  %zu times: %s\n", count, fault.c_str());
        else
            break;
    return faults.empty() ? 0 : 1;
}

void print(CrowdResult const& result, Board const& board)
{
    printTimes(board, result.seconds);
    std::printf("seconds: %.1f\nvisits: %zu\nsessions at once, on average: %.1f\n", result.seconds,
                result.visits, result.sessionsOnAverage);
    std::printf("killed: %zu clients, %zu workers\nended by a kill of their worker: %zu visits\n",
                result.clientsKilled, result.workersKilled, result.explained);
    std::printf("asked to come again, for there was no place: %llu\n",
                static_cast<unsigned long long>(board.counts().refusals));
    std::printf(
        "zombies: %zu at most, %zu for longer than 5 seconds and 100 turns of the listener\n",
        result.zombiesAtMost, result.zombiesThatStay);
    printKilobytes("memory of the listener under load", result.residentAtStart,
                   result.residentAtEnd);
    std::printf("descriptors of the listener under load: %zu at most\n", result.descriptorsAtMost);
}

int runCrowd(Settings const& settings)
{
    // Workers of clients that have left end a little later.
    TestedServer server(settings.listen, 4 * settings.crowd.numClients + 64,
                        settings.serverOptions);
    auto const fileSets = makeFileSets(server, settings.samples);
    Board board(settings.crowd.numClients);
    VisitorSettings visitors = settings.visitors;
    visitors.entrance = server.entrance();
    Faults faults;
    if (!getsQuiet(server))
        faults.emplace_back("Workers stay before the load.");
    std::uint64_t const quietBefore = residentBytes(server.process());
    std::size_t const descriptorsBefore = numDescriptors(server.process());
    CrowdResult const result = Crowd(settings.crowd, visitors, fileSets, board, server).run();
    if (!getsQuiet(server))
        faults.emplace_back("Workers or zombies stay when all clients have left.");
    print(result, board);
    printKilobytes("memory of the listener without clients", quietBefore,
                   residentBytes(server.process()));
    checkDescriptors("the listener", descriptorsBefore, numDescriptors(server.process()), faults);
    checkGrowth("the listener", growth(result.residentAtStart, result.residentAtEnd),
                settings.maxGrowth, faults);
    if (result.zombiesThatStay > 0)
        faults.emplace_back(
            "Zombies stayed for longer than 5 seconds, though the listener had its turns.");
    if (result.killsTried >= MANY_TRIES && (result.workersKilled == 0 || result.clientsKilled == 0))
        faults.emplace_back(
            "Nobody was killed: the server's log or its workers were not understood.");
    checkEnd(server, faults);
    faults.insert(faults.end(), result.faults.begin(), result.faults.end());
    return concludeWith(faults);
}

int runSoak(Settings const& settings)
{
    TestedServer server(settings.listen, 8, settings.serverOptions);
    auto const fileSets = makeFileSets(server, settings.samples);
    Board board(1);
    Faults faults;
    SoakResult const result = soak(settings.soak, fileSets, board, server);
    printTimes(board, result.seconds);
    std::printf("seconds: %.1f\n| commands | memory kB | descriptors |\n|---|---|---|\n",
                result.seconds);
    for (SoakLook const& look : result.looks)
        std::printf("| %llu | %llu | %zu |\n", static_cast<unsigned long long>(look.commands),
                    static_cast<unsigned long long>(look.resident / 1024), look.descriptors);
    SoakLook const& first = result.looks.front();
    SoakLook const& last = result.looks.back();
    printKilobytes("memory of the worker", first.resident, last.resident);
    checkGrowth("the worker", growth(first.resident, last.resident), settings.maxGrowth, faults);
    checkDescriptors("the worker", first.descriptors, last.descriptors, faults);
    if (!getsQuiet(server))
        faults.emplace_back("The worker stays when its client has left.");
    checkEnd(server, faults);
    return concludeWith(faults);
}

}

int main(int argc, char** argv)
{
    Settings settings;
    long seconds = settings.crowd.duration.count();
    long think = 0;
    CLI::App app("Puts load on a vnxdataserver that it starts, and finds what is lost.", "loadgen");
    app.require_subcommand(1);
    app.add_option("--listen", settings.listen,
                   "How clients come in: unix, tcp, or tls for tcp with TLS")
        ->check(CLI::IsMember({"unix", "tcp", "tls"}))
        ->capture_default_str();
    app.add_option("--samples", settings.samples, "The folder of the sample files");
    app.add_option("--server-option", settings.serverOptions, "Another argument for the server");
    app.add_option("--max-growth", settings.maxGrowth, "Growth of memory that is a fault, percent")
        ->capture_default_str();
    app.add_option("--seed", settings.crowd.seed, "Of all choices")->capture_default_str();
    CLI::App& crowd = *app.add_subcommand("crowd", "Many clients at once");
    crowd.add_option("--clients", settings.crowd.numClients, "At once")
        ->check(CLI::Range(1, 10'000))
        ->capture_default_str();
    crowd.add_option("--seconds", seconds, "How long")
        ->check(CLI::Range(1, 1'000'000))
        ->capture_default_str();
    crowd.add_option("--kills", settings.crowd.killsPerSecond, "Kills per second")
        ->capture_default_str();
    crowd.add_flag("--hide-kills", settings.crowd.hidesKills,
                   "Takes what kills explain for faults, to see that faults are seen");
    crowd.add_option("--think", think, "Milliseconds between two requests of a client, on average")
        ->check(CLI::Range(0, 1'000'000))
        ->capture_default_str();
    crowd.add_option("--requests", settings.visitors.maxTasks, "Of one visit, at most")
        ->check(CLI::Range(1, 1'000'000))
        ->capture_default_str();
    CLI::App& soak = *app.add_subcommand("soak", "One session with very many commands");
    soak.add_option("--commands", settings.soak.commands, "How many")
        ->check(CLI::Range(100UL, 1'000'000'000'000UL))
        ->capture_default_str();
    soak.add_option("--load-again", settings.soak.loadAgainAfter,
                    "Commands from a load to the next")
        ->check(CLI::Range(10UL, 1'000'000'000'000UL))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    settings.crowd.duration = std::chrono::seconds(seconds);
    settings.visitors.think = std::chrono::milliseconds(think);
    settings.soak.seed = settings.crowd.seed;
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // forked clients must not print what waits
    try {
        return crowd.parsed() ? runCrowd(settings) : runSoak(settings);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "loadgen: %s\n", error.what());
        return 1;
    }
}
