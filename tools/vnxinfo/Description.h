#pragma once

#include "addons/hdqfs/DataFile.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace varnox::tools {

using Json = nlohmann::ordered_json;

/// All that the headers of a file say, zone by zone, or of one zone alone, then with the blocks of
/// its partitions. A zone whose header can't be read has an "error" in its place.
Json describe(hdqfsloader::DataFile& file, std::optional<std::uint32_t> onlyZone);

/// The same piece by piece, for a file of many zones, whose description takes far more memory than
/// the file: what stands ahead of the zones, each zone, and what stands behind them.
Json describeStart(hdqfsloader::DataFile const& file);
Json describeZone(hdqfsloader::DataFile& file, std::uint32_t zone, bool withBlocks);
Json describeGroups(hdqfsloader::DataFile const& file);

/// A number as JSON has it: one that isn't finite as its name.
Json jsonOf(double number);

/// As text. Of a string of the file, bytes that are no UTF-8 become the replacement character.
std::string serialized(Json const& json, int indent = -1);

/// Whether an "error" stands anywhere in a description.
bool tellsOfDamage(Json const& description);

}
