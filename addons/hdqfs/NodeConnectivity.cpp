#include "addons/hdqfs/NodeConnectivity.h"

#include "addons/hdqfs/SubzoneCounts.h"

#include <algorithm>

namespace varnox::hdqfsloader {

void NodeConnectivity::checkout(RawArray<SubzoneAddress>& subzones)
{
    for (std::uint64_t i = 0; i < subzones.size; ++i)
        size(subzones.data[i]);
}

ItemNumbers const& NodeConnectivity::numbers()
{
    if (!m_numbers)
        m_numbers.emplace(m_source.own().file->zone(m_source.own().zone), Items::Nodes);
    return *m_numbers;
}

ItemAddress<long> NodeConnectivity::toUniformAddress(ItemAddress<long> const& item)
{
    return numbers().toUniform(item);
}

ItemAddress<long> NodeConnectivity::toHdqAddress(ItemAddress<long> const& item)
{
    return numbers().toHdq(item);
}

void NodeConnectivity::referencedCellSubzones(SubzoneAddress const& subzone,
                                              RawArray<SubzoneAddress>& result)
{
    auto const subzones = m_reader.cellSubzones(m_source.zone(), subzone);
    resize(result, subzones.size());
    std::copy(subzones.begin(), subzones.end(), result.data);
}

long NodeConnectivity::numSubzones()
{
    return countSubzones(m_source.own(), Items::Nodes);
}

unsigned short NodeConnectivity::size(SubzoneAddress const& subzone)
{
    return subzoneSize(m_source.own(), subzone, Items::Nodes);
}

}
