#pragma once

#include "client/Engine.h"

namespace varnox::fuzz {

/// What a client asks for first. Further is what it asks behind a load as well, of which recorded
/// conversations know nothing.
enum class Opening { Greeting, Browsing, Loading, Further };

/// Asks a server of everything that a client can ask of it, a little of each kind, and gives up
/// when the session has ended. The path is that of the file to load.
void converse(client::Engine& engine, Opening opening, std::string const& path);

/// The same, but what ends the session is thrown.
void converseToTheEnd(client::Engine& engine, Opening opening, std::string const& path);

}
