#pragma once

#include <functional>
#include <string>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdqremote {

/// The command loop: hands every command up to endCommand to the handler. Commands go on as they
/// came, while endCommand is matched without regard to case. What the socket or the handler throws
/// comes through; an empty handler is a std::bad_function_call.
void serviceCommandsUntil(std::string const& endCommand, socketutil::SocketInterface& socket,
                          std::function<void(std::string const&)> const& handler);

}
