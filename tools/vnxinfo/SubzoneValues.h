#pragma once

#include "addons/hdqfs/DataFile.h"
#include "addons/hdqfs/DescriptorCache.h"
#include "tools/vnxinfo/CheckedFile.h"

#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

namespace varnox::tools {

/// The values of single subzones of one HDQ zone, by positioned reads. Keeps as many of them as a
/// bounded memory holds, in their own type: what refers to nodes all over a zone asks for the same
/// ones again and again.
class SubzoneValues
{
public:
    SubzoneValues(CheckedFile const& file, std::uint32_t zone) : m_file(file), m_zone(zone) {}

    /// Throws std::runtime_error. Valid until the next call.
    std::vector<double> const& values(std::uint32_t var, std::uint32_t partition,
                                      std::uint32_t section, std::uint32_t subzone);
    hdqfsloader::SubzoneLayout const& layout(std::uint32_t partition, hdqfsloader::Items items);

private:
    static constexpr std::size_t MAX_KEPT_BYTES = std::size_t{32} << 20;
    static constexpr std::size_t BYTES_BESIDE_VALUES = 112; ///< What keeping a subzone takes.

    struct Key
    {
        std::uint32_t var;
        std::uint32_t partition;
        std::uint32_t section;
        std::uint32_t subzone;

        friend bool operator==(Key const&, Key const&) = default;
    };
    struct Hash
    {
        std::size_t operator()(Key const& key) const
        {
            constexpr std::uint64_t SPREAD = 0x9E3779B97F4A7C15;
            std::uint64_t result = (std::uint64_t{key.var} << 32 | key.subzone) * SPREAD;
            result ^= (std::uint64_t{key.partition} << 8 | key.section) + (result >> 29);
            return static_cast<std::size_t>(result * SPREAD);
        }
    };

    std::vector<unsigned char> const& native(Key const& key, bool isNodal,
                                             hdqfsloader::ValueType type);

    CheckedFile const& m_file;
    std::uint32_t m_zone;
    hdqfsloader::DescriptorCache m_descriptors;
    hdqfsloader::ValueReader m_reader{m_descriptors};
    std::map<std::pair<std::uint32_t, hdqfsloader::Items>, hdqfsloader::SubzoneLayout> m_layouts;
    std::unordered_map<Key, std::vector<unsigned char>, Hash> m_kept;
    std::size_t m_keptBytes = 0;
    std::vector<double> m_values; ///< Those given last.
};

}
