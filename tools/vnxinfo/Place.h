#pragma once

#include <cstdint>
#include <string>

namespace varnox::tools {

/// What a part of a file belongs to. Indices count from 0; those that don't apply are -1.
struct Place
{
    char const* what;
    std::int64_t zone = -1;
    std::int64_t partition = -1;
    std::int64_t var = -1;
    std::int64_t section = -1;
    std::int64_t subzone = -1;

    bool isOfSameKind(Place const& other) const
    {
        return what == other.what && zone == other.zone && partition == other.partition &&
               var == other.var && section == other.section;
    }
};

/// For a person: zones, partitions, variables and sections count from 1, subzones from 0.
std::string textOf(Place const& place);

}
