#include "addons/hdqfs/FileVariable.h"

namespace varnox::hdqfsloader {

using hdqio::MinMax;

FileVariable::FileVariable(SubzoneReader& reader, DataSet::VariableInFile const& place,
                           MinMax const& range)
    : m_reader(reader), m_place(place), m_range(range),
      m_items(place.file->isNodal(place.zone, place.var) ? Items::Nodes : Items::Cells)
{
}

std::string FileVariable::description() const
{
    return "Variable " + std::to_string(m_place.var + 1) + " in " + m_place.file->path();
}

std::vector<double> const& FileVariable::values(SubzoneAddress const& subzone)
{
    return m_reader.read(m_place, m_items, subzone);
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
