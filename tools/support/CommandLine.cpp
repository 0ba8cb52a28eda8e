#include "tools/support/CommandLine.h"

#include "tools/support/Output.h"

#include <iostream>

namespace varnox::tools {

namespace {

/// A misspelt command or option leaves what is required unsaid as well, and is what to tell of.
bool isAboutWhatIsMissing(CLI::ParseError const& error)
{
    return dynamic_cast<CLI::RequiredError const*>(&error) != nullptr;
}

std::string inOrder(std::vector<std::string> const& words)
{
    std::string result;
    for (std::string const& word : words)
        result += ' ' + shown(word);
    return result;
}

}

bool endOf(CLI::App const& app, CLI::ParseError const& error)
{
    std::vector<std::string> const unexpected = app.remaining(true);
    if (!isAboutWhatIsMissing(error) || unexpected.empty())
        return app.exit(error, std::cout, std::cerr) == 0;
    std::cerr << "This was not expected:" << inOrder(unexpected)
              << "\nRun with --help for more information.\n";
    return false;
}

}
