#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

namespace varnox::hdqfswriter::tests {

/// A zone's data in memory. Of an ordered zone all values are at partition 0.
class MemorySource final : public ZoneSource
{
public:
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::vector<unsigned char>>
        bytes;                                                 ///< By partition and variable.
    std::vector<std::vector<std::vector<std::uint64_t>>> mesh; ///< By partition, then section.
    std::vector<std::vector<double>> places;                   ///< By partition.
    std::vector<std::int32_t> neighbors;
    std::array<std::uint64_t, 3> size{}; ///< Of an ordered zone, nodes.
    std::vector<ZoneVariable> variables;

    template <typename T>
    void set(std::uint32_t partition, std::uint32_t variable, std::vector<T> const& values)
    {
        auto const* const first = reinterpret_cast<unsigned char const*>(values.data());
        bytes[{partition, variable}].assign(first, first + values.size() * sizeof(T));
    }

    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        // From memory of its own in every other partition, so that both ways are gone.
        auto const& source = bytes.at({partition, variable});
        if (partition % 2 != 0 || source.empty())
            return source.data();
        std::memcpy(buffer, source.data(), source.size());
        return buffer;
    }

    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        std::array<std::uint64_t, 3> along = size;
        if (variables[variable].location == ValueLocation::Cells)
            for (std::uint64_t& n : along)
                n = n < 2 ? 1 : n - 1;
        auto const& source = bytes.at({0, variable});
        std::size_t const width = source.size() / (along[0] * along[1] * along[2]);
        auto* out = static_cast<unsigned char*>(buffer);
        for (std::uint64_t k = box.begin[2]; k < box.end[2]; ++k)
            for (std::uint64_t j = box.begin[1]; j < box.end[1]; ++j) {
                std::size_t const first = ((k * along[1] + j) * along[0] + box.begin[0]) * width;
                std::size_t const length = box.extent(0) * width;
                std::memcpy(out, source.data() + first, length);
                out += length;
            }
        return buffer;
    }

    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                               std::uint64_t*) override
    {
        return mesh.at(partition).at(section).data();
    }

    double const* positions(std::uint32_t partition, double*) override
    {
        return places.empty() ? nullptr : places.at(partition).data();
    }

    std::vector<std::int32_t> faceNeighbors() override { return neighbors; }
};

}
