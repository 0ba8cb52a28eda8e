#pragma once

#include "tests/filedata/FileBuilder.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace varnox::hdqio::tests {

/// A file that claims much and holds little: all its zones are alike and have one header, and
/// variables are alike, too. Nothing has a name.
struct LyingFile
{
    std::uint64_t numZones = 1;
    std::uint64_t numVars = 1;
    char letter = 'O';
    std::uint64_t i = 1;
    std::uint64_t j = 1;
    std::uint64_t k = 1;
    std::uint8_t valueType = 1;
    std::vector<std::int32_t> shareConnectivity{}; ///< By zone; none without it.
    std::vector<std::int32_t> shareVar{};          ///< By zone, for all variables; none without it.
    /// Writes a zone header and what it leads to, and gives its location.
    std::function<std::uint64_t(FileBuilder&)> header = {};
    /// Writes more, such as groups, and gives tags of the data set header.
    std::function<std::vector<FileBuilder::Tag>(FileBuilder&)> groups = {};
    std::string version = "105BF";

    std::string contents() const;
};

/// A zone header whose variables all lie at one location.
std::uint64_t headerOfVariables(FileBuilder& file, std::uint64_t numVars, std::uint64_t loc,
                                std::vector<FileBuilder::Tag> more = {});

}
