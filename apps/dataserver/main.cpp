// vnxdataserver: accepts connections and gives each a process with an AddonProxy of its own.

#include "apps/dataserver/Log.h"
#include "apps/dataserver/Options.h"
#include "apps/dataserver/Server.h"
#include "apps/dataserver/StandardDescriptors.h"
#include "apps/dataserver/Worker.h"

#include <spdlog/spdlog.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace varnox::dataserver {
namespace {

constexpr int FAILURE = 1;
constexpr int WRONG_USAGE = 2;

int reportWrongUsage(std::string const& text)
{
    std::cerr << text << "\nRun with --help for more information.\n";
    return WRONG_USAGE;
}

int runAsWorker(std::vector<std::string> const& arguments)
{
    WorkerOrder order;
    try {
        order = WorkerOrder::parse(arguments);
    } catch (std::exception const&) {
        return reportWrongUsage(std::string(WorkerOrder::OPTION) +
                                " is for the program's own use.");
    }
    return runWorker(order);
}

int run(int argc, char const* const* argv)
{
    std::vector<std::string> const arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (!arguments.empty() && arguments.front() == WorkerOrder::OPTION)
        return runAsWorker(arguments);
    fillStandardDescriptors();
    int exitStatus = 0;
    std::optional<Options> const options = parseOptions(argc, argv, exitStatus);
    if (!options)
        return exitStatus;
    startLog(options->logLevel);
    return Server(*options).run();
}

}
}

// NOLINTNEXTLINE(bugprone-exception-escape): without memory for its last words it may end so
int main(int argc, char** argv)
{
    using namespace varnox::dataserver;
    try {
        return run(argc, argv);
    } catch (UsageError const& error) {
        return reportWrongUsage(error.what());
    } catch (std::exception const& error) {
        spdlog::error("{}", error.what());
        return FAILURE;
    }
}
