#pragma once

#include "writer/BlockWriter.h"
#include "writer/FilePlan.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// The first line and what stands behind it. Gives the place of the data set header's location,
/// which isn't known yet.
std::uint64_t writeFileStart(FilePlan const& plan, BlockWriter& blocks);

/// Writes the tables of all zones and variables, and the data set header. Gives its location.
std::uint64_t writeDataSetHeader(FilePlan const& plan, BlockWriter& blocks,
                                 std::vector<ZoneRecord> const& records);

}
