#pragma once

#include "varnox/socketutil/SocketInterface.h"

#include <boost/unordered_map.hpp>

#include <string>

namespace varnox::hdqremote {

/// What a query server can do: method string to member function.
template <typename Server>
using MethodTable = boost::unordered_map<std::string, void (Server::*)()>;

/// Receives a method string and runs its handler. An unknown method is dropped without a word, and
/// nothing more is read.
template <typename Server>
void dispatch(Server& server, MethodTable<Server> const& methods,
              socketutil::SocketInterface& socket)
{
    auto const method = methods.find(socket.receiveString());
    if (method != methods.end())
        (server.*method->second)();
}

}
