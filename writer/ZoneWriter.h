#pragma once

#include "writer/BlockWriter.h"
#include "writer/FilePlan.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// Writes a zone: its values and cells, and its header behind them. records are those of the zones
/// ahead of it.
ZoneRecord writeZone(FilePlan const& plan, BlockWriter& blocks, std::size_t zoneIndex,
                     std::vector<ZoneRecord> const& records);

}
