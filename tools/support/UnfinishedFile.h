#pragma once

#include <string>

namespace varnox::tools {

/// The file to remove when a signal ends this process; empty for none.
void setUnfinishedFile(std::string const& path);

/// Removes it, if there is one. For signal handlers.
void removeUnfinishedFile();

}
