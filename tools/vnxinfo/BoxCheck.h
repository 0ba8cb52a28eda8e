#pragma once

#include "tools/vnxinfo/CheckedFile.h"
#include "tools/vnxinfo/VarCheck.h"

namespace varnox::tools {

/// Holds the cross ranges of an ordered zone to the values: a cell has the nodes at its corners.
void checkOrderedRanges(CheckedFile& file, std::uint32_t zone, ZoneCrossRanges const& cross);

}
