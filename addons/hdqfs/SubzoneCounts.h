#pragma once

#include "addons/hdqfs/DataSet.h"

#include "varnox/ItemAddress.h"

#include <cstddef>
#include <cstdint>

namespace varnox::hdqfsloader {

/// Items in a subzone. Throws std::out_of_range for one that doesn't exist.
std::uint16_t subzoneSize(DataSet::ZoneInFile const& grid,
                          ItemAddress<long>::SubzoneAddress const& subzone, Items items);

/// The subzones of a partition, of which a list is to be made though the file may hold nothing for them.
/// Throws std::runtime_error if they are more than 2^20 and more than a file of this size has values for:
/// the size of a zone without values may be anything.
std::size_t numListedSubzones(DataSet::ZoneInFile const& grid, std::uint32_t partition, Items items);

/// Subzones of a zone, over all partitions and sections.
long countSubzones(DataSet::ZoneInFile const& grid, Items items);

}
