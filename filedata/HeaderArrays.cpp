#include "filedata/HeaderArrays.h"

#include "filedata/Messages.h"

namespace varnox::hdqio {

TagNames const& zoneTagNames()
{
    static TagNames const names{
#define TAG(number, constant, name) {number, name},
#include "filedata/ZoneHeaderTags.def"
    };
    return names;
}

TagNames const& partitionTagNames()
{
    static TagNames const names = [] {
        TagNames result;
        for (ZoneHeaderTag const tag :
             {CSZ_CONN_FILE_LOCS_TAG, NSZ_CONN_FILE_LOCS_TAG, NUM_REF_PARTITIONS_TAG,
              REF_PARTITIONS_TAG, CSZ_NUM_REF_NSZS_TAG, NSZ_NUM_REF_CSZS_TAG,
              CSZ_INCL_PTN_BIT_ARRAY_TAG, NSZ_INCL_PTN_BIT_ARRAY_TAG, VAR_FILE_LOCS_TAG,
              NUM_CELL_SUBZONES_TAG, NUM_NODE_SUBZONES_TAG})
            result[tag] = zoneTagNames().at(tag);
        return result;
    }();
    return names;
}

char checkArrayHeaderTag(std::uint16_t tag, TagMap const& tags, char const* name,
                         HeaderPlace const& place)
{
    bool const isPartition = place.partition != IODescription::UNSET_PARTITION;
    std::uint64_t const partitionNumber = std::uint64_t{place.partition} + 1;
    auto const found = tags.find(tag);
    if (found == tags.end())
        return isPartition ? errorMessage(
                                 "Missing partition header tag '%s' for partition %lu of zone %lu.",
                                 name, partitionNumber, place.zoneNumber())
                           : errorMessage("Missing zone header tag '%s' for zone %lu.", name,
                                          place.zoneNumber());
    if (found->second == 0 || found->second == ABSENT_FILE_LOC)
        return isPartition
                   ? errorMessage("Invalid value for partition header tag '%s' for partition "
                                  "%lu of zone %lu.",
                                  name, partitionNumber, place.zoneNumber())
                   : errorMessage("Invalid value for zone header tag '%s' for zone %lu", name,
                                  place.zoneNumber());
    return 1;
}

char seekToArray(FileReaderInterface& reader, TagMap const& tags, ZoneHeaderTag tag,
                 HeaderPlace const& place)
{
    return checkArrayHeaderTag(tag, tags, zoneTagNames().at(tag), place) &&
           reader.seekToFileLoc(tags.at(tag));
}

bool isAbsent(TagMap const& tags, ZoneHeaderTag tag)
{
    auto const found = tags.find(tag);
    return found == tags.end() || found->second == ABSENT_FILE_LOC;
}

bool isMarkedAbsent(TagMap const& tags, ZoneHeaderTag tag)
{
    auto const found = tags.find(tag);
    return found != tags.end() && found->second == ABSENT_FILE_LOC;
}

}
