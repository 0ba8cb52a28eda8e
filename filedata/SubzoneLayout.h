#pragma once

#include "filedata/Numbers.h"

#include <boost/unordered_map.hpp>

#include <array>
#include <cstdint>
#include <vector>

namespace varnox::hdqio {

/// How the items, cells or nodes, of an ordered block are cut into bricks: how many along each
/// axis, and by how much the grid of bricks is shifted. The arrays hold I, J, K and the product of
/// I and J.
struct IJKSubzoneInfo
{
    IJKSubzoneInfo() = default;
    /// The limits are taken as 16 bits, none of which may be 0.
    IJKSubzoneInfo(IJK const& dims, IJK const& maxSubzoneDims, std::uint32_t partition,
                   bool isPartition);

    IJK dims{};
    IJK reducedDims{}; ///< max(n, 1) - 1 on each axis.
    IJK maxSubzoneDims{};
    std::uint32_t partition = 0;
    std::array<std::uint64_t, 4> numSubzones{};
    std::array<std::uint64_t, 4> subzoneOffset{};
    std::uint32_t totalSubzones = 0;
};

/// The cell and node views of one partition of an ordered zone. The flags and containers are made
/// and copied here and belong to whoever serves the zone.
struct IJKZoneInfo
{
    IJKSubzoneInfo cells;
    IJKSubzoneInfo nodes;
    char flags[3] = {1, 1, 1};
    boost::unordered_map<std::uint32_t, std::vector<MinMax>> minMaxes;
    std::vector<std::uint32_t> nodeSubzones;
};

}
