#include "tools/vnxinfo/Place.h"

namespace varnox::tools {

std::string textOf(Place const& place)
{
    std::string result = place.what;
    auto const add = [&](char const* name, std::int64_t number) {
        result += std::string(", ") + name + " " + std::to_string(number);
    };
    if (place.zone >= 0)
        add("zone", place.zone + 1);
    if (place.partition >= 0)
        add("partition", place.partition + 1);
    if (place.var >= 0)
        add("variable", place.var + 1);
    if (place.section >= 0)
        add("section", place.section + 1);
    if (place.subzone >= 0)
        add("subzone", place.subzone);
    return result;
}

}
