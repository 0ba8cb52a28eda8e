#pragma once

#include <string>

namespace varnox::tools {

/// Why a file can't be opened, without a full stop; empty if it can.
std::string whyNotOpened(std::string const& path);

}
