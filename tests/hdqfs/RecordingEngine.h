#pragma once

#include "varnox/hostapi/VnxMock.h"

#include <map>
#include <string>
#include <vector>

namespace varnox::hdqfsloader::tests {

/// A host that keeps what a loader hands over. Functions that are not overridden here fail the call.
class RecordingEngine : public VnxMock
{
public:
    struct Piece
    {
        long offset;
        long count;
    };

    /// Bytes of one value of those handed over.
    std::size_t valueSize = 4;
    std::vector<Piece> pieces;
    std::string bytes; ///< In the order of the values in the zone.
    std::map<int, std::vector<int>> nodes; ///< By section; 0 for zones without sections.

    template <typename T>
    std::vector<T> values() const
    {
        std::vector<T> result(bytes.size() / sizeof(T));
        __builtin_memcpy(result.data(), bytes.data(), result.size() * sizeof(T));
        return result;
    }

    void VnxUtilDataValueArraySetByRef(FieldData_s*, long offset, long count,
                                       void const* data) override
    {
        pieces.push_back({offset, count});
        auto const first = static_cast<std::size_t>(offset - 1) * valueSize;
        auto const size = static_cast<std::size_t>(count) * valueSize;
        if (bytes.size() < first + size)
            bytes.resize(first + size);
        bytes.replace(first, size, static_cast<char const*>(data), size);
    }

    void VnxUtilDataNodeArraySetByRef(ElemToNodeMap*, long offset, long count,
                                      int const* map) override
    {
        append(0, offset, count, map);
    }

    void VnxUtilDataNodeSectionArraySetByRef(ElemToNodeMap*, int section, long offset, long count,
                                             int const* map) override
    {
        append(section, offset, count, map);
    }

private:
    void append(int section, long offset, long count, int const* map)
    {
        std::vector<int>& ofSection = nodes[section];
        ofSection.resize(static_cast<std::size_t>(offset - 1));
        ofSection.insert(ofSection.end(), map, map + count);
    }
};

}
