#pragma once

#include "filedata/FileReaderInterface.h"
#include "filedata/IODescription.h"
#include "filedata/LightweightVector.h"
#include "filedata/TagList.h"
#include "filedata/ValueInput.h"
#include "filedata/ZoneHeader.h"
#include "filedata/ZoneMetadata.h"

#include <cstdint>
#include <functional>

/// The arrays that the tags of zone headers and partition headers lead to. Tags and arrays bear the
/// same names.
namespace varnox::hdqio {

/// The labels of a zone's arrays, and of a partition's.
struct HeaderPlace
{
    int zone;
    std::uint32_t partition = IODescription::UNSET_PARTITION;

    IODescription description(char const* name) const
    {
        IODescription result{name, IODescription::UNSET_INDEX, zone, partition};
        result.orBareName = true;
        return result;
    }
    std::uint64_t zoneNumber() const { return static_cast<std::uint64_t>(zone) + 1; }
};

TagNames const& zoneTagNames();
TagNames const& partitionTagNames();

/// Whether a tag leads to an array. Reports one that is missing, 0 or marked absent.
char checkArrayHeaderTag(std::uint16_t tag, TagMap const& tags, char const* name,
                         HeaderPlace const& place);
char seekToArray(FileReaderInterface& reader, TagMap const& tags, ZoneHeaderTag tag,
                 HeaderPlace const& place);

bool isAbsent(TagMap const& tags, ZoneHeaderTag tag);       ///< Not there, or all ones.
bool isMarkedAbsent(TagMap const& tags, ZoneHeaderTag tag); ///< All ones.

/// Sections as far as cells are counted by them.
inline std::uint32_t numSectionsOf(ZoneMetadata const& zone)
{
    return zone.isMixed() ? zone.numSections : 1;
}

template <typename T, bool hex, typename Vector>
char readHeaderTagArray(FileReaderInterface& reader, TagMap const& tags, ZoneHeaderTag tag,
                        std::uint64_t count, Vector& out, HeaderPlace const& place)
{
    return seekToArray(reader, tags, tag, place) &&
           readValueArray<T, hex, 0>(reader, 0, count, out,
                                     place.description(zoneTagNames().at(tag)));
}

/// Cell subzones of a partition by section.
using SectionCounts = LightweightVector<PlainDataVector<std::uint32_t>>;

inline std::uint64_t asMany(std::uint64_t count)
{
    return count;
}

/// One array per section that has cell subzones in the partition, following each other.
template <typename T, bool hex>
char readSecPtnHeaderTagArrays(FileReaderInterface& reader, TagMap const& tags, ZoneHeaderTag tag,
                               std::uint32_t partition, SectionCounts const& counts,
                               LightweightVector<LightweightVector<T>>& out,
                               HeaderPlace const& place,
                               std::function<std::uint64_t(std::uint64_t)> const& arrayLength)
{
    if (!seekToArray(reader, tags, tag, place))
        return 0;
    require(out.alloc(counts.size()));
    for (std::size_t s = 0; s < counts.size(); ++s)
        if (counts[s][partition] != 0 &&
            !readValueArray<T, hex, 0>(reader, 0, arrayLength(counts[s][partition]), out[s],
                                       place.description(zoneTagNames().at(tag))))
            return 0;
    return 1;
}

}
