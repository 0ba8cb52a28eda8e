#include "addons/hdqfs/VarRanges.h"

namespace varnox::hdqfsloader {

using hdqio::MinMax;

namespace {

void appendRanges(RawArray<double>& out, std::vector<MinMax> const& ranges)
{
    reserve(out, out.size + 2 * ranges.size());
    for (MinMax const& range : ranges) {
        append(out, range.min);
        append(out, range.max);
    }
}

}

void VarRanges::partitionMinMaxes(RawArray<double>& result)
{
    appendRanges(result, variable().partitionRanges());
}

void VarRanges::cellSubzoneMinMaxes(unsigned int partition, RawArray<double>& result)
{
    appendRanges(result, variable().subzoneRanges(partition, Items::Cells));
}

void VarRanges::nodeSubzoneMinMaxes(unsigned int partition, RawArray<double>& result)
{
    appendRanges(result, variable().subzoneRanges(partition, Items::Nodes));
}

}
