#include "proxy/ArgList.h"

#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <locale>
#include <stdexcept>

namespace varnox {

namespace {

/// Writes a value behind its key.
class ArgListValueCacher : public boost::static_visitor<void>
{
public:
    ArgListValueCacher(socketutil::WriteCache& target, int count) : cache(target), numVars(count) {}

    void operator()(long value) const { cache.addInt64(value); }
    void operator()(int* values) const { cache.addIntVector(elements(values)); }
    void operator()(long* values) const { cache.addInt64Vector(elements(values)); }
    void operator()(double value) const { cache.addDouble(value); }
    void operator()(std::string const& value) const { cache.addString(value); }
    void operator()(std::vector<std::string> const& value) const { cache.addStringVector(value); }
    void operator()(unsigned long value) const { cache.addUInt64(value); }
    // Deliberate: the client knows by the key that no value follows.
    // Test: ArgList.FunctionTravelsAsItsKeyAlone
    void operator()(void (*)()) const {}

private:
    template <typename T>
    std::vector<T> elements(T const* values) const
    {
        if (values == nullptr && numVars > 0)
            throw std::invalid_argument("An array argument is null where one element for each "
                                        "variable is wanted.");
        return numVars > 0 ? std::vector<T>(values, values + numVars) : std::vector<T>();
    }

    socketutil::WriteCache& cache;
    int numVars;
};

}

std::string toUpper(std::string text)
{
    std::locale const locale;
    auto const& facet = std::use_facet<std::ctype<char>>(locale);
    facet.toupper(text.data(), text.data() + text.size());
    return text;
}

void addArgList(socketutil::WriteCache& cache, _ArgList_s const& list, int numVars)
{
    cache.addInt(static_cast<int>(list.values.size()));
    ArgListValueCacher const cacher(cache, numVars);
    for (auto const& [key, value] : list.values) {
        cache.addString(key);
        boost::apply_visitor(cacher, value);
    }
}

}
