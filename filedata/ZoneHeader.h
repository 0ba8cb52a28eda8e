#pragma once

#include "filedata/FileDescription.h"
#include "filedata/FileReaderInterface.h"
#include "filedata/TagList.h"
#include "filedata/ZoneMetadata.h"

namespace varnox::hdqio {

enum ZoneHeaderTag : std::uint16_t {
#define TAG(number, constant, name) constant = number,
#include "filedata/ZoneHeaderTags.def"
};

using VarZoneMinMaxes = LightweightVector<LightweightVector<MinMax>>;
using VarZoneTypes = LightweightVector<LightweightVector<std::uint8_t>>;

/// Reads the markers and the tag list of a zone header, at which the stream stands.
char readZoneHeaderTags(FileReaderInterface& reader, int zone, TagMap& tags);

/// Completes a zone from its header, at which the stream stands: how it is cut into partitions and
/// subzones, and where its blocks begin. On failure the arrays of the record are free, so that a
/// later request can try again.
char readZoneHeaders(FileReaderInterface& reader, FileDescription const& description,
                     int zoneOffset, int zone, int varOffset, int numVars,
                     VarZoneMinMaxes const& zoneMinMaxes, VarZoneTypes const& fieldDataTypes,
                     ZoneMetadata& result);

/// Where the blocks of the variables begin in a partition, and inside each its cell subzone ranges
/// and its values.
char readVarLocations(FileReaderInterface& reader, FileDescription const& description,
                      TagMap const& tags, int varOffset, int numVars, ZoneMetadata const& zone,
                      PartitionMetadata& result, int zoneIndex, std::uint32_t partition,
                      VarZoneTypes const& fieldDataTypes);

/// Reads the header of a partition, at which the stream stands.
char readPartitionHeader(FileReaderInterface& reader, FileDescription const& description, int zone,
                         int varOffset, int numVars, std::uint32_t partition,
                         ZoneMetadata const& metadata, VarZoneTypes const& fieldDataTypes,
                         PartitionMetadata& result);

/// Bytes of an array of pairs in the type of a variable. A type above 6 counts nothing.
std::uint64_t minMaxArraySizeInFile(std::uint8_t fieldDataType, std::uint64_t count, bool isAscii);

constexpr std::uint64_t numBytesForNumBits(std::uint64_t numBits)
{
    return (numBits + 7) >> 3;
}

}
