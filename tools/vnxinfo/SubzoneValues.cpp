#include "tools/vnxinfo/SubzoneValues.h"

namespace varnox::tools {

using hdqfsloader::Items;
using hdqfsloader::SubzoneLayout;

SubzoneLayout const& SubzoneValues::layout(std::uint32_t partition, Items items)
{
    auto const found = m_layouts.find({partition, items});
    if (found != m_layouts.end())
        return found->second;
    return m_layouts
        .emplace(std::pair{partition, items},
                 hdqfsloader::layoutOf(m_file.zones[m_zone].metadata, partition, items))
        .first->second;
}

std::vector<double> const& SubzoneValues::values(std::uint32_t var, std::uint32_t partition,
                                                 std::uint32_t section, std::uint32_t subzone)
{
    std::tuple const key{var, partition, section, subzone};
    auto const found = m_kept.find(key);
    if (found != m_kept.end())
        return found->second;
    if (m_kept.size() >= MAX_KEPT)
        m_kept.clear();
    bool const isNodal = m_file.isNodal(m_zone, var);
    SubzoneLayout const& subzones = layout(partition, isNodal ? Items::Nodes : Items::Cells);
    SubzoneLayout::Run const run = subzones.run(section, subzone);
    std::vector<double> values(run.size);
    m_reader.readDoubles(
        {&m_file.path, m_file.zones[m_zone].metadata.ptnMetadata[partition].varDataFileLocs[var],
         subzones.numItems(), var,
         static_cast<hdqfsloader::ValueType>(m_file.headers.fieldDataTypes[var][m_zone]),
         m_file.isAscii()},
        run.firstItem, run.size, values.data());
    return m_kept.emplace(key, std::move(values)).first->second;
}

}
