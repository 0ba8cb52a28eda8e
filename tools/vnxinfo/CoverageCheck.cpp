#include "tools/vnxinfo/CoverageCheck.h"

#include <algorithm>
#include <array>

namespace varnox::tools {

namespace {

bool isPadding(char c, bool isAscii)
{
    return c == '\0' || (isAscii && (c == ' ' || c == '\r' || c == '\n'));
}

/// Whether the bytes from begin up to end are padding.
bool isPadding(CheckedFile& file, std::uint64_t begin, std::uint64_t end)
{
    std::array<char, 65536> bytes;
    if (!file.reader.seekToFileLoc(begin))
        return false;
    while (begin < end) {
        std::size_t const part = std::min<std::uint64_t>(bytes.size(), end - begin);
        if (file.reader.fread(bytes.data(), 1, part) != part)
            return false;
        for (std::size_t i = 0; i < part; ++i)
            if (!isPadding(bytes[i], file.isAscii()))
                return false;
        begin += part;
    }
    return true;
}

void reportOverlap(CheckedFile& file, Extent const& first, Extent const& second)
{
    file.faults.add(second.place, second.begin,
                    "It lies on another block, which ends at " + std::to_string(first.end) + ": " +
                        textOf(first.place) + ".");
}

}

void checkCoverage(CheckedFile& file)
{
    std::vector<Extent> extents = file.reader.extents();
    file.reader.unwatch();
    std::stable_sort(extents.begin(), extents.end(),
                     [](Extent const& a, Extent const& b) { return a.begin < b.begin; });
    bool const wasSound = file.faults.isEmpty();
    extents.push_back({file.numBytes, file.numBytes, {"end of the file"}});
    Extent last{0, 0, {""}};
    for (Extent const& extent : extents) {
        if (extent.begin < last.end)
            reportOverlap(file, last, extent);
        else if (wasSound && extent.begin > last.end && !isPadding(file, last.end, extent.begin))
            file.faults.add({"bytes that belong to nothing"}, last.end,
                            std::to_string(extent.begin - last.end) + " of them, up to " +
                                std::to_string(extent.begin) + ".");
        if (extent.end > last.end)
            last = extent;
    }
}

}
