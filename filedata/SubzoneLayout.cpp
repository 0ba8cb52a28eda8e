#include "filedata/SubzoneLayout.h"

#include <algorithm>

namespace varnox::hdqio {

namespace {

std::int64_t reduced(std::int64_t n)
{
    return std::max<std::int64_t>(n, 1) - 1;
}

}

IJKSubzoneInfo::IJKSubzoneInfo(IJK const& blockDims, IJK const& limits,
                               std::uint32_t partitionIndex, bool isPartition)
    : dims(blockDims), reducedDims{reduced(dims.i), reduced(dims.j), reduced(dims.k),
                                   reduced(dims.i) * reduced(dims.j)},
      maxSubzoneDims(limits), partition(partitionIndex)
{
    std::array<std::int64_t, 3> const sizes{dims.i, dims.j, dims.k};
    std::array<std::int64_t, 3> const maxSizes{limits.i, limits.j, limits.k};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        auto const size = static_cast<std::uint64_t>(sizes[axis]);
        std::uint64_t const limit = static_cast<std::uint16_t>(maxSizes[axis]);
        std::uint64_t const rest = size % limit;
        // Deliberate: a whole zone that its limit divides gets a subzone more, shifted by half of
        // it. Test: IJKSubzoneInfo.WholeZoneThatItsLimitDividesGetsOneSubzoneMore
        numSubzones[axis] = isPartition ? (size + limit - 1) / limit : size / limit + 1;
        subzoneOffset[axis] =
            isPartition && rest == 0 ? 0 : static_cast<std::uint16_t>((limit - rest) / 2);
    }
    numSubzones[3] = numSubzones[0] * numSubzones[1];
    subzoneOffset[3] = subzoneOffset[0] * subzoneOffset[1];
    totalSubzones = static_cast<std::uint32_t>(numSubzones[2] * numSubzones[3]);
}

}
