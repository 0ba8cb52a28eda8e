#pragma once

#include <chrono>
#include <string>

namespace varnox::dataserver {

/// Leads the log to standard error: error, warn, info or debug.
void startLog(std::string const& level);

/// Text that came from outside, made fit for a line of the log: control characters are written out
/// and what is very long is cut.
std::string printable(std::string const& text);

/// "10 seconds", or "1500 milliseconds" where it has to be.
std::string seconds(std::chrono::milliseconds duration);

}
