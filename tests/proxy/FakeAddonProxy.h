#pragma once

#include "varnox/hdqremote/AddonProxy.h"

#include <functional>
#include <memory>
#include <string>

namespace varnox::tests {

/// An AddonProxy without an add-on. It stands in for the real one, which would bring up an add-on
/// and a proxy of its own: what arrives inside a service goes to the handler.
std::unique_ptr<hdqremote::AddonProxy>
fakeAddonProxy(socketutil::SocketInterface& socket,
               std::function<void(std::string const&)> const& handler);

}
