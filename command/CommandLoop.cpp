#include "command/CommandLoop.h"

#include "varnox/socketutil/SocketInterface.h"

#include <boost/algorithm/string/predicate.hpp>

namespace varnox::hdqremote {

void serviceCommandsUntil(std::string const& endCommand, socketutil::SocketInterface& socket,
                          std::function<void(std::string const&)> const& handler)
{
    for (;;) {
        std::string const command = socket.receiveString();
        // Deliberate: the end of a loop is recognised in any case of letters, a command proper only
        // in its own. Test: CommandLoop.EndCommandIsMatchedWithoutRegardToCase
        if (boost::iequals(command, endCommand))
            return;
        handler(command);
    }
}

}
