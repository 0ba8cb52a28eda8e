#pragma once

#include "varnox/socketutil/SocketInterface.h"

#include <boost/unordered_map.hpp>

#include <initializer_list>
#include <string>

namespace varnox::hdqremote {

/// What a query server can do: method string to member function. There are servers for each
/// variable of each zone, so those of a type share one map, which is made with the first of them.
template <typename Server>
class MethodTable
{
public:
    using Method = void (Server::*)();
    struct Entry
    {
        std::string const& name;
        Method method;
    };

    /// The same list for all servers of the type.
    MethodTable(std::initializer_list<Entry> entries) : m_methods(shared(entries)) {}

    /// Null for an unknown one.
    Method find(std::string const& name) const
    {
        auto const found = m_methods.find(name);
        return found == m_methods.end() ? nullptr : found->second;
    }

private:
    using Methods = boost::unordered_map<std::string, Method>;

    static Methods const& shared(std::initializer_list<Entry> entries)
    {
        static Methods const methods = [&] {
            Methods result;
            for (Entry const& entry : entries)
                result.emplace(entry.name, entry.method);
            return result;
        }();
        return methods;
    }

    Methods const& m_methods;
};

/// Receives a method string and runs its handler. An unknown method is dropped without a word, and
/// nothing more is read.
template <typename Server>
void dispatch(Server& server, MethodTable<Server> const& methods,
              socketutil::SocketInterface& socket)
{
    if (auto const method = methods.find(socket.receiveString()))
        (server.*method)();
}

}
