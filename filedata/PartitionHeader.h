#pragma once

#include "filedata/FileDescription.h"
#include "filedata/FileReaderInterface.h"
#include "filedata/TagList.h"
#include "filedata/ZoneHeader.h"
#include "filedata/ZoneMetadata.h"

#include <cstdint>

namespace varnox::hdqio {

/// Where the blocks of the variables begin in a partition, and inside each its cell subzone ranges
/// and its values. Throws std::bad_alloc.
char readVarLocations(FileReaderInterface& reader, FileDescription const& description,
                      TagMap const& tags, int varOffset, int numVars, ZoneMetadata const& zone,
                      PartitionMetadata& result, int zoneIndex, std::uint32_t partition,
                      VarZoneTypes const& fieldDataTypes);

/// Reads the header of a partition, at which the stream stands: in the file ptnFileNums[partition]
/// at ptnFileLocs[partition].
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
