#include "tools/vnxinfo/SubzoneValues.h"

#include <cstring>

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

namespace {

template <typename T>
void widen(std::vector<unsigned char> const& native, std::vector<double>& out)
{
    out.resize(native.size() / sizeof(T));
    for (std::size_t i = 0; i < out.size(); ++i) {
        T value{};
        std::memcpy(&value, native.data() + i * sizeof(T), sizeof(T));
        out[i] = static_cast<double>(value);
    }
}

}

std::vector<double> const& SubzoneValues::values(std::uint32_t var, std::uint32_t partition,
                                                 std::uint32_t section, std::uint32_t subzone)
{
    auto const type =
        static_cast<hdqfsloader::ValueType>(m_file.headers.fieldDataTypes[var][m_zone]);
    std::vector<unsigned char> const& kept =
        native({var, partition, section, subzone}, m_file.isNodal(m_zone, var), type);
    switch (type) {
    case hdqfsloader::ValueType::Float:
        widen<float>(kept, m_values);
        break;
    case hdqfsloader::ValueType::Double:
        widen<double>(kept, m_values);
        break;
    case hdqfsloader::ValueType::Int32:
        widen<std::int32_t>(kept, m_values);
        break;
    case hdqfsloader::ValueType::Int16:
        widen<std::int16_t>(kept, m_values);
        break;
    default:
        widen<std::uint8_t>(kept, m_values);
        break;
    }
    return m_values;
}

std::vector<unsigned char> const& SubzoneValues::native(Key const& key, bool isNodal,
                                                        hdqfsloader::ValueType type)
{
    auto const found = m_kept.find(key);
    if (found != m_kept.end())
        return found->second;
    if (m_keptBytes > MAX_KEPT_BYTES) {
        m_kept.clear();
        m_keptBytes = 0;
    }
    SubzoneLayout const& subzones = layout(key.partition, isNodal ? Items::Nodes : Items::Cells);
    SubzoneLayout::Run const run = subzones.run(key.section, key.subzone);
    std::vector<unsigned char> values(run.size * hdqfsloader::valueSize(type));
    m_reader.readNative(
        {&m_file.path,
         m_file.zones[m_zone].metadata.ptnMetadata[key.partition].varDataFileLocs[key.var],
         subzones.numItems(), key.var, type, m_file.isAscii()},
        run.firstItem, run.size, values.data());
    m_keptBytes += values.size() + BYTES_BESIDE_VALUES;
    return m_kept.emplace(key, std::move(values)).first->second;
}

}
