#pragma once

#include "addons/hdqfs/OrderedGrid.h"

namespace varnox::hdqfsloader {

/// The uniform form of an item's address, and back. One that has the wanted form is given back as
/// it is. Throw std::out_of_range for an item that doesn't exist.
ItemAddress<long> orderedToUniform(OrderedGrid const& grid, ItemAddress<long> const& item,
                                   Items items);
ItemAddress<long> orderedToHdq(OrderedGrid const& grid, ItemAddress<long> const& item, Items items);

}
