#pragma once

#include <string>

namespace varnox::dataserver {

/// Leads the log to standard error: error, warn, info or debug.
void startLog(std::string const& level);

/// Text that came from outside, made fit for a line of the log: control characters are written out
/// and what is very long is cut.
std::string printable(std::string const& text);

}
