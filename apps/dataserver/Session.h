#pragma once

#include "apps/dataserver/SharedFolders.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace varnox::dataserver {

struct SessionSettings
{
    std::string addonPath;
    std::string name; ///< in the log
    std::size_t maxItemBytes;
    std::chrono::milliseconds idleTimeout; ///< 0: none
    SharedFolders sharedFolders;
};

/// Serves the commands of an accepted client over the two ends of its connection, which it closes.
/// The result is the exit status: 0 after the end command or when the client hung up between two
/// commands, else 1, with the text of what ended it in the log under the name.
int serveSession(SessionSettings const& settings, int readEnd, int writeEnd);

/// Brings the add-on up without a client. 0 if it can be used; else 1, with its reason in the log.
int tryAddon(std::string const& addonPath);

}
