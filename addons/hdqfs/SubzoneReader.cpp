#include "addons/hdqfs/SubzoneReader.h"

namespace varnox::hdqfsloader {

std::vector<double> const& SubzoneReader::read(DataSet::VariableInFile const& variable, Items items,
                                               ItemAddress<long>::SubzoneAddress const& subzone)
{
    DataFile& file = *variable.file;
    SubzoneLayout::Run const run = file.layout(variable.zone, subzone.partition(), items)
                                       .run(subzone.section(), subzone.subzoneOffset());
    m_values.resize(run.size);
    m_reader.readDoubles(file.values(variable.zone, variable.var, subzone.partition()),
                         run.firstItem, run.size, m_values.data());
    return m_values;
}

}
