#pragma once

#include "addons/hdqfs/DataSet.h"

#include "varnox/ItemAddress.h"

#include <cstdint>

namespace varnox::hdqfsloader {

/// Items in a subzone. Throws std::out_of_range for one that doesn't exist.
std::uint16_t subzoneSize(DataSet::ZoneInFile const& grid,
                          ItemAddress<long>::SubzoneAddress const& subzone, Items items);

/// Subzones of a zone, over all partitions and sections.
long countSubzones(DataSet::ZoneInFile const& grid, Items items);

}
