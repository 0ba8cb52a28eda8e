#pragma once

#include "client/Engine.h"

#include <functional>
#include <string>

namespace varnox::fuzz {

/// All that the two sides of a conversation said.
struct HeldConversation
{
    std::string client;
    std::string server;
};

/// Lets a client talk with a server that has an add-on.
HeldConversation held(std::string const& addon, std::function<void(client::Engine&)> const& talk);

}
