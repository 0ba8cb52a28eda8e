#pragma once

#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/RangeTrees.h"

#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

#include <vector>

namespace varnox::hdqfsloader {

/// Appends the subzones of a zone in which every value lies in the range of its variable, in the
/// order of their addresses: partitions are looked at first, then the subzones of those that
/// remain. Without variables these are all subzones; not-a-number lies in no range. values: one for
/// each variable.
void findSubzones(RangeTrees& trees, DataSet::ZoneInFile const& grid,
                  std::vector<ZoneVariable*> const& variables, RawArray<double> const& values,
                  Items items, RawArray<ItemAddress<long>::SubzoneAddress>& result);

}
