#include "addons/hdqfs/SubzoneReader.h"

#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

std::vector<double> const& SubzoneReader::read(DataSet::VariableInFile const& variable, Items items,
                                               ItemAddress<long>::SubzoneAddress const& subzone)
{
    DataFile& file = *variable.file;
    SubzoneLayout const& layout = file.layout(variable.zone, subzone.partition(), items);
    if (subzone.section() >= layout.numSections() ||
        subzone.subzoneOffset() >= layout.numSubzones(subzone.section()))
        throw std::out_of_range(
            std::string("There is no ") + (items == Items::Nodes ? "node" : "cell") + " subzone " +
            std::to_string(subzone.subzoneOffset()) + " of section " +
            std::to_string(subzone.section()) + " in partition " +
            std::to_string(subzone.partition()) + " of " + file.zoneName(variable.zone) + ".");
    SubzoneLayout::Run const run = layout.run(subzone.section(), subzone.subzoneOffset());
    // The limits of ordered subzones are as large as a damaged header says.
    if (run.size > SubzoneLayout::ITEMS_PER_RUN)
        throw std::runtime_error("A subzone of " + file.zoneName(variable.zone) +
                                 " has more than 256 items.");
    m_values.resize(run.size);
    m_reader.readDoubles(file.values(variable.zone, variable.var, subzone.partition()),
                         run.firstItem, run.size, m_values.data());
    return m_values;
}

}
