#pragma once

#include "addons/hdqfs/SubzoneLayout.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfsloader {

/// The subzones of a partition in an order in which each 64 that follow each other lie close
/// together in space, as do each 64 of these groups: bricks by cubes of 4 x 4 x 4. A tree of ranges
/// over them leaves out more than one over rows of bricks. Empty where the numbers themselves are
/// the order, as with finite elements.
std::vector<std::uint32_t> subzoneOrder(SubzoneLayout const& layout);

}
