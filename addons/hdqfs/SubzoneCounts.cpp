#include "addons/hdqfs/SubzoneCounts.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

std::uint16_t subzoneSize(DataSet::ZoneInFile const& grid,
                          ItemAddress<long>::SubzoneAddress const& subzone, Items items)
{
    return static_cast<std::uint16_t>(grid.file->layout(grid.zone, subzone.partition(), items)
                                          .run(subzone.section(), subzone.subzoneOffset())
                                          .size);
}

std::size_t numListedSubzones(DataSet::ZoneInFile const& grid, std::uint32_t partition, Items items)
{
    // The values of a full subzone take at least 32 bytes, if they are bits.
    constexpr std::uint64_t SMALLEST_SUBZONE = 32;
    constexpr std::uint64_t ALWAYS_ALLOWED = std::uint64_t{1} << 20;
    std::uint64_t const count = grid.file->layout(grid.zone, partition, items).numSubzones();
    if (count > ALWAYS_ALLOWED &&
        count > std::filesystem::file_size(grid.file->path()) / SMALLEST_SUBZONE)
        throw std::runtime_error("Zone " + std::to_string(grid.zone + 1) + " has " +
                                 std::to_string(count) +
                                 " subzones in a partition, far more than the file has values for.");
    return static_cast<std::size_t>(count);
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
