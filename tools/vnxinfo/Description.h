#pragma once

#include "addons/hdqfs/DataFile.h"
#include "tools/vnxinfo/Report.h"

#include <cstdint>
#include <optional>
#include <string>

namespace varnox::tools {

/// All that the headers of a file say, zone by zone, or of one zone alone, then with the blocks of
/// its partitions. A zone whose header can't be read has an "error" in its place, and one of which
/// a partition can't be read has it behind those that can.
void describe(hdqfsloader::DataFile& file, std::optional<std::uint32_t> onlyZone, Report& out);
/// The same as a whole.
Json describe(hdqfsloader::DataFile& file, std::optional<std::uint32_t> onlyZone);

/// A number as JSON has it: one that isn't finite as its name.
Json jsonOf(double number);

/// As text. Of a string of the file, bytes that are no UTF-8 become the replacement character.
std::string serialized(Json const& json, int indent = -1);

}
