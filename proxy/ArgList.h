#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <boost/variant.hpp>

#include <map>
#include <string>
#include <vector>

namespace varnox::socketutil {
class WriteCache;
}

namespace varnox {

/// A value of an argument list. The order of the alternatives is that of the rules about them:
/// integer, int array, long array, real, string, strings, arbitrary parameter, function. Arrays
/// stay the caller's and are not counted.
using ArgValue = boost::variant<long, int*, long*, double, std::string, std::vector<std::string>,
                                unsigned long, void (*)()>;

/// The text in capitals, byte by byte, as the process's locale has it. Argument names match so.
std::string toUpper(std::string text);

/// The command form of an argument list: the number of entries, then each key with its value. An
/// array travels with numVars elements, whatever it really holds; a function travels as its key
/// alone. Throws std::invalid_argument for an array that is null where elements are wanted.
void addArgList(socketutil::WriteCache& cache, _ArgList_s const& list, int numVars);

}

/// Arguments by upper-cased name. Owned by the add-on.
struct _ArgList_s
{
    /// The value of a key, or null if it is absent. Throws boost::bad_get for another alternative.
    template <typename T>
    T const* find(char const* name) const
    {
        auto const found = values.find(varnox::toUpper(name));
        return found == values.end() ? nullptr : &boost::get<T>(found->second);
    }

    std::map<std::string, varnox::ArgValue> values;
};
