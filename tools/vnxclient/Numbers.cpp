#include "tools/vnxclient/Numbers.h"

#include "client/Errors.h"
#include "tools/support/Output.h"

#include <vector>

namespace varnox::tools {

namespace {

constexpr std::size_t MAX_NAMES_IN_MESSAGE = 12;

/// The number of what was named by number or by name. Items have a number and a name.
template <typename Item>
int numberOf(std::string const& wanted, std::vector<Item> const& items, char const* kind)
{
    bool const isNumber =
        wanted.size() < 10 && wanted.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber && !wanted.empty())
        return std::stoi(wanted);
    std::vector<int> found;
    std::string names;
    for (Item const& item : items) {
        if (item.name == wanted)
            found.push_back(item.number);
        if (static_cast<std::size_t>(item.number) <= MAX_NAMES_IN_MESSAGE)
            names += "\n  " + std::to_string(item.number) + " '" + shown(item.name) + "'";
    }
    if (items.size() > MAX_NAMES_IN_MESSAGE)
        names += "\n  and " + std::to_string(items.size() - MAX_NAMES_IN_MESSAGE) + " more";
    if (found.empty())
        throw client::Error("There is no " + std::string(kind) + " '" + shown(wanted) +
                            "'. The data set has:" + names);
    if (found.size() > 1)
        throw client::Error("There are " + std::to_string(found.size()) + " of the " + kind + " '" +
                            shown(wanted) + "', the first two with the numbers " +
                            std::to_string(found[0]) + " and " + std::to_string(found[1]) +
                            "; name it by its number.");
    return found.front();
}

}

int zoneNumberOf(std::string const& wanted, client::DataSet const& dataSet)
{
    return numberOf(wanted, dataSet.zones, "zone");
}

int variableNumberOf(std::string const& wanted, client::DataSet const& dataSet)
{
    return numberOf(wanted, dataSet.variables, "variable");
}

}
