#include "client/ArgList.h"

#include "client/EngineSocket.h"
#include "client/Errors.h"

#include <algorithm>

namespace varnox::client {

namespace {

constexpr std::size_t MAX_KEY_BYTES = 4096;

}

ArgKeys::ArgKeys()
    : m_types{
#define ARG_KEY(key, type) {key, ArgType::type},
#include "client/ArgKeys.def"
      }
{
}

void ArgKeys::add(std::string const& key, ArgType type)
{
    std::string upper = key;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    m_types[upper] = type;
}

ArgType const* ArgKeys::find(std::string const& key) const
{
    auto const found = m_types.find(key);
    return found == m_types.end() ? nullptr : &found->second;
}

// Wire form of an argument list:
//   int      number of entries, in ascending order of their keys
//   each:    string key, upper-cased; the value by its type, which isn't told: int64, int32 vector,
//            int64 vector, double, string, string vector, uint64, or nothing for a function

ArgList::ArgList(EngineSocket& socket, ArgKeys const& keys)
{
    int const count = socket.receiveInt();
    if (count < 0)
        throw ProtocolViolation("The server sent an argument list with " + std::to_string(count) +
                                " entries.");
    for (int i = 0; i < count; ++i) {
        std::string const key = socket.receiveString(MAX_KEY_BYTES);
        ArgType const* const type = keys.find(key);
        if (type == nullptr)
            throw ProtocolViolation("The loader used the key '" + printable(key) +
                                    "', which this client doesn't know; a newer client may.");
        if (!m_values.emplace(key, receiveValue(socket, *type)).second)
            throw ProtocolViolation("The server sent the key '" + printable(key) +
                                    "' twice in one argument list.");
    }
}

ArgList::Value ArgList::receiveValue(EngineSocket& socket, ArgType type)
{
    switch (type) {
    case ArgType::Integer:
        return socket.receiveInt64();
    case ArgType::IntArray:
        return socket.receiveIntVector();
    case ArgType::Int64Array:
        return socket.receiveInt64Vector();
    case ArgType::Double:
        return socket.receiveDouble();
    case ArgType::String:
        return socket.receiveString();
    case ArgType::StringList:
        return socket.receiveStringVector();
    case ArgType::Word:
        return socket.receiveUInt64();
    case ArgType::Function:
        break;
    }
    return std::monostate();
}

template <typename T>
T const* ArgList::find(std::string const& key) const
{
    auto const found = m_values.find(key);
    return found == m_values.end() ? nullptr : std::get_if<T>(&found->second);
}

std::int64_t ArgList::integer(std::string const& key, std::int64_t otherwise) const
{
    auto const* const value = find<std::int64_t>(key);
    return value != nullptr ? *value : otherwise;
}

double ArgList::number(std::string const& key, double otherwise) const
{
    auto const* const value = find<double>(key);
    return value != nullptr ? *value : otherwise;
}

std::string ArgList::text(std::string const& key) const
{
    auto const* const value = find<std::string>(key);
    return value != nullptr ? *value : std::string();
}

std::vector<int> const* ArgList::ints(std::string const& key) const
{
    return find<std::vector<int>>(key);
}

std::vector<std::string> const* ArgList::texts(std::string const& key) const
{
    return find<std::vector<std::string>>(key);
}

}
