#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace varnox::client {

class EngineSocket;

/// What stands behind a key of an argument list. A function leaves nothing on the wire but its key.
enum class ArgType { Integer, IntArray, Int64Array, Double, String, StringList, Word, Function };

/// The types of the keys that are known, upper-cased. Starts with those of ArgKeys.def.
class ArgKeys
{
public:
    ArgKeys();
    /// For loaders with keys of their own. The key is taken in upper case.
    void add(std::string const& key, ArgType type);
    /// Null for a key that isn't known.
    ArgType const* find(std::string const& key) const;

private:
    std::map<std::string, ArgType> m_types;
};

/// An argument list as it came from the server. Keys are in upper case.
class ArgList
{
public:
    /// Reads one. Throws ProtocolViolation for an unknown key, because nothing tells how long its
    /// value is, and SocketException.
    ArgList(EngineSocket& socket, ArgKeys const& keys);

    bool has(std::string const& key) const { return m_values.contains(key); }
    /// The value, or the default if the key is absent. Each is for keys of its type only.
    std::int64_t integer(std::string const& key, std::int64_t otherwise) const;
    double number(std::string const& key, double otherwise) const;
    std::string text(std::string const& key) const;
    /// Null if the key is absent.
    std::vector<int> const* ints(std::string const& key) const;
    std::vector<std::string> const* texts(std::string const& key) const;

private:
    using Value = std::variant<std::monostate, std::int64_t, std::uint64_t, double, std::string,
                               std::vector<int>, std::vector<long>, std::vector<std::string>>;

    static Value receiveValue(EngineSocket& socket, ArgType type);
    template <typename T>
    T const* find(std::string const& key) const;

    std::map<std::string, Value> m_values;
};

}
