#include "addons/hdqfs/SubzoneCounts.h"

namespace varnox::hdqfsloader {

std::uint16_t subzoneSize(DataSet::ZoneInFile const& grid,
                          ItemAddress<long>::SubzoneAddress const& subzone, Items items)
{
    return static_cast<std::uint16_t>(grid.file->layout(grid.zone, subzone.partition(), items)
                                          .run(subzone.section(), subzone.subzoneOffset())
                                          .size);
}

long countSubzones(DataSet::ZoneInFile const& grid, Items items)
{
    std::uint64_t total = 0;
    std::uint32_t const numPartitions = grid.file->zone(grid.zone).numPartitions;
    for (std::uint32_t partition = 0; partition < numPartitions; ++partition)
        total += grid.file->layout(grid.zone, partition, items).numSubzones();
    return static_cast<long>(total);
}

}
