#include "bench/loadgen/Soak.h"

#include "bench/loadgen/Connector.h"
#include "bench/loadgen/Fault.h"
#include "bench/loadgen/Visitor.h"

#include <chrono>
#include <thread>

namespace varnox::loadgen {

using namespace std::chrono_literals;

namespace {

pid_t waitForWorkerOf(TestedServer& server, std::string const& peer)
{
    for (int i = 0; i < 1000; ++i) {
        if (pid_t const worker = server.workerOf(peer); worker != 0)
            return worker;
        std::this_thread::sleep_for(10ms);
    }
    throw Fault("The server's log doesn't name the session of " + peer + ".");
}

/// With TLS the server's child encrypts, and the add-on runs in a child of that.
SoakLook lookAt(pid_t worker, std::uint64_t commands)
{
    SoakLook result{commands, residentBytes(worker), numDescriptors(worker)};
    for (ChildProcess const& child : childrenOf(worker)) {
        result.resident += residentBytes(child.process);
        result.descriptors += numDescriptors(child.process);
    }
    return result;
}

}

SoakResult soak(SoakSettings const& settings, std::vector<FileSet> const& fileSets, Board& board,
                TestedServer& server)
{
    std::mt19937_64 random(settings.seed);
    Stopwatch stopwatch(board, board.slots().front());
    Connector connector(server.entrance());
    auto const [stream, peer] = connector.connect();
    client::Engine engine(stream);
    engine.greet("");
    pid_t const worker = waitForWorkerOf(server, peer);
    Visit visit{engine, {}};

    SoakResult result;
    auto const start = std::chrono::steady_clock::now();
    for (std::uint64_t done = 0; done < settings.commands;) {
        for (FileSet const& fileSet : fileSets) {
            runLoad(fileSet, visit, stopwatch);
            for (std::uint64_t i = 1; i < settings.loadAgainAfter; ++i)
                runTask(chooseTask(fileSet, random), visit, stopwatch);
            done += settings.loadAgainAfter;
        }
        result.looks.push_back(lookAt(worker, done));
    }
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    engine.close();
    return result;
}

}
