#pragma once

#include "addons/hdqfs/DataFile.h"
#include "addons/hdqfs/DescriptorCache.h"
#include "tools/vnxinfo/CheckedFile.h"

#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

namespace varnox::tools {

/// The values of single subzones of one HDQ zone, by positioned reads. Keeps a bounded number of
/// them.
class SubzoneValues
{
public:
    SubzoneValues(CheckedFile const& file, std::uint32_t zone) : m_file(file), m_zone(zone) {}

    /// Throws std::runtime_error. Valid until the next call.
    std::vector<double> const& values(std::uint32_t var, std::uint32_t partition,
                                      std::uint32_t section, std::uint32_t subzone);
    hdqfsloader::SubzoneLayout const& layout(std::uint32_t partition, hdqfsloader::Items items);

private:
    static constexpr std::size_t MAX_KEPT = 16384;

    CheckedFile const& m_file;
    std::uint32_t m_zone;
    hdqfsloader::DescriptorCache m_descriptors;
    hdqfsloader::ValueReader m_reader{m_descriptors};
    std::map<std::pair<std::uint32_t, hdqfsloader::Items>, hdqfsloader::SubzoneLayout> m_layouts;
    std::map<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>,
             std::vector<double>>
        m_kept;
};

}
