#include "addons/hdqfs/FileVariables.h"

namespace varnox::hdqfsloader {

FileVariables::FileVariables(DataSet& dataSet)
    : m_dataSet(dataSet), m_reader(dataSet.descriptors()),
      m_numbers(std::size_t{dataSet.numZones()} * dataSet.numVars())
{
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone) {
        if (!dataSet.isHdqZone(zone))
            continue;
        for (std::uint32_t var = 0; var < dataSet.numVars(); ++var) {
            if (!dataSet.variable(zone, var).hasValues())
                continue;
            m_stored.emplace_back(m_reader, dataSet.values(zone, var));
            m_numbers[indexOf(zone, var)] = static_cast<std::uint32_t>(m_stored.size());
        }
    }
}

FileVariables::Stored* FileVariables::stored(std::uint32_t zone, std::uint32_t var)
{
    std::uint32_t const number = m_numbers[indexOf(zone, var)];
    return number == 0 ? nullptr : &m_stored[number - 1];
}

VariableQueries* FileVariables::queries(std::uint32_t zone, std::uint32_t var)
{
    return stored(zone, var);
}

ZoneVariable* FileVariables::find(std::uint32_t zone, std::uint32_t var)
{
    DataSet::Variable const description = m_dataSet.variable(zone, var);
    if (description.isPassive)
        return &m_passive
                    .try_emplace(indexOf(zone, var), m_dataSet.grid(zone), var,
                                 description.isNodal ? Items::Nodes : Items::Cells)
                    .first->second;
    return stored(description.sharedFrom == -1 ? zone
                                               : static_cast<std::uint32_t>(description.sharedFrom),
                  var);
}

}
