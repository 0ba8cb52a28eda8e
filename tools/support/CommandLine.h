#pragma once

#include <CLI/CLI.hpp>

namespace varnox::tools {

/// Prints what a command line that doesn't go on has asked for, such as the help, or what is wrong
/// with it. True if nothing is wrong.
bool endOf(CLI::App const& app, CLI::ParseError const& error);

}
