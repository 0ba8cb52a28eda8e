#pragma once

#include "addons/hdqfs/DataFile.h"
#include "tools/support/Output.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace varnox::tools {

/// A variable of a zone. Both count from 0.
struct ValuesOf
{
    std::uint32_t zone;
    std::uint32_t var;
};

/// Writes the values in the order in which the file has them, a line each, or as JSON with their
/// partitions. Those of a shared variable are read where they are shared from.
void writeValues(hdqfsloader::DataFile& file, ValuesOf const& wanted, bool asJson, Output& output);

/// Writes how many values lie in each of so many equal parts of their range, over one zone or all
/// that have the variable.
void writeHistogram(hdqfsloader::DataFile& file, std::uint32_t var,
                    std::optional<std::uint32_t> onlyZone, std::size_t numBins, bool asJson,
                    Output& output);

}
