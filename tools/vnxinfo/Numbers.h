#pragma once

#include "addons/hdqfs/DataFile.h"

#include <optional>
#include <string>

namespace varnox::tools {

/// The index, from 0, of a zone or a variable that was named by its number, from 1, or by its name.
/// Nothing if a file has none such; throws std::runtime_error for a name that stands for several.
std::optional<std::uint32_t> zoneIndexOf(std::string const& wanted,
                                         hdqfsloader::DataFile const& file);
std::optional<std::uint32_t> varIndexOf(std::string const& wanted,
                                        hdqfsloader::DataFile const& file);

/// The same; throws std::runtime_error if there is none such.
std::uint32_t requiredZone(std::string const& wanted, hdqfsloader::DataFile const& file);
std::uint32_t requiredVar(std::string const& wanted, hdqfsloader::DataFile const& file);

}
