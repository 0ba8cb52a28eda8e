#include "addons/hdqfs/FileVariable.h"

namespace varnox::hdqfsloader {

using hdqio::MinMax;

std::string FileVariable::description() const
{
    return "Variable " + std::to_string(m_place.var + 1) + " in " + m_place.file->path();
}

Items FileVariable::items() const
{
    return m_place.file->isNodal(m_place.zone, m_place.var) ? Items::Nodes : Items::Cells;
}

MinMax FileVariable::range() const
{
    return m_place.file->headers().zoneMinMaxes[m_place.var][m_place.zone];
}

std::vector<double> const& FileVariable::values(SubzoneAddress const& subzone)
{
    return m_reader.read(m_place, items(), subzone);
}

std::vector<MinMax> FileVariable::partitionRanges()
{
    return m_place.file->partitionRanges(m_place.zone, m_place.var);
}

std::vector<MinMax> FileVariable::subzoneRanges(std::uint32_t partition, Items items)
{
    return m_place.file->subzoneRanges(m_place.zone, m_place.var, partition, items);
}

}
