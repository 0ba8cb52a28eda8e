#include "addons/hdqfs/OrderedAddresses.h"

#include "varnox/UniformAddress.h"

namespace varnox::hdqfsloader {

ItemAddress<long> orderedToUniform(OrderedGrid const& grid, ItemAddress<long> const& item,
                                   Items items)
{
    if (isUniformAddress(item))
        return item;
    return uniformAddress(grid.numberOf(grid.indicesOf(item, items), items));
}

ItemAddress<long> orderedToHdq(OrderedGrid const& grid, ItemAddress<long> const& item, Items items)
{
    if (!isUniformAddress(item))
        return item;
    return grid.addressOf(grid.indicesOf(itemNumberOf(item), items), items);
}

}
