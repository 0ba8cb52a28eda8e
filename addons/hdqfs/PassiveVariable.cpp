#include "addons/hdqfs/PassiveVariable.h"

#include "addons/hdqfs/SubzoneCounts.h"

namespace varnox::hdqfsloader {

using hdqio::MinMax;

std::string PassiveVariable::description() const
{
    return "Passive variable " + std::to_string(m_var + 1);
}

std::vector<double> const& PassiveVariable::values(SubzoneAddress const& subzone)
{
    m_zeros.assign(subzoneSize(m_grid, subzone, m_items), 0);
    return m_zeros;
}

std::vector<MinMax> PassiveVariable::partitionRanges()
{
    return std::vector<MinMax>(m_grid.file->zone(m_grid.zone).numPartitions, MinMax{0, 0});
}

std::vector<MinMax> PassiveVariable::subzoneRanges(std::uint32_t partition, Items items)
{
    return std::vector<MinMax>(numListedSubzones(m_grid, partition, items), MinMax{0, 0});
}

}
