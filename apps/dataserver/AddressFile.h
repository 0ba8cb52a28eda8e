#pragma once

#include <string>

namespace varnox::dataserver {

/// Writes a line to a file in one step: a reader sees all of it or what was there before. A device,
/// a link or what else is no ordinary file isn't replaced. Throws std::runtime_error.
void writeAddressFile(std::string const& path, std::string const& address);

}
