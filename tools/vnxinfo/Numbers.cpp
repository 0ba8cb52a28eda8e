#include "tools/vnxinfo/Numbers.h"

#include "tools/support/Output.h"

#include <stdexcept>

namespace varnox::tools {

namespace {

using Names = hdqio::LightweightVector<std::string>;

std::optional<std::uint32_t> indexOf(std::string const& wanted, Names const& names,
                                     char const* kind, std::string const& path)
{
    bool const isNumber = !wanted.empty() && wanted.size() < 10 &&
                          wanted.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber) {
        unsigned long const number = std::stoul(wanted);
        if (number == 0 || number > names.size())
            return {};
        return static_cast<std::uint32_t>(number - 1);
    }
    std::optional<std::uint32_t> found;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] != wanted)
            continue;
        if (found)
            throw std::runtime_error("There are several of the " + std::string(kind) + " '" +
                                     shown(wanted) + "' in " + path + ", the first with number " +
                                     std::to_string(*found + 1) + "; name it by its number.");
        found = static_cast<std::uint32_t>(i);
    }
    return found;
}

std::uint32_t required(std::optional<std::uint32_t> index, std::string const& wanted,
                       char const* kind, Names const& names, std::string const& path)
{
    constexpr std::size_t MAX_NAMES = 12;
    if (index)
        return *index;
    std::string text =
        "There is no " + std::string(kind) + " '" + shown(wanted) + "' in " + path + ". It has:";
    for (std::size_t i = 0; i < names.size() && i < MAX_NAMES; ++i)
        text += "\n  " + std::to_string(i + 1) + " '" + shown(names[i]) + "'";
    if (names.size() > MAX_NAMES)
        text += "\n  and " + std::to_string(names.size() - MAX_NAMES) + " more";
    throw std::runtime_error(text);
}

}

std::optional<std::uint32_t> zoneIndexOf(std::string const& wanted,
                                         hdqfsloader::DataFile const& file)
{
    return indexOf(wanted, file.headers().zoneNames, "zones", file.path());
}

std::optional<std::uint32_t> varIndexOf(std::string const& wanted,
                                        hdqfsloader::DataFile const& file)
{
    return indexOf(wanted, file.headers().varNames, "variables", file.path());
}

std::uint32_t requiredZone(std::string const& wanted, hdqfsloader::DataFile const& file)
{
    return required(zoneIndexOf(wanted, file), wanted, "zone", file.headers().zoneNames,
                    file.path());
}

std::uint32_t requiredVar(std::string const& wanted, hdqfsloader::DataFile const& file)
{
    return required(varIndexOf(wanted, file), wanted, "variable", file.headers().varNames,
                    file.path());
}

}
