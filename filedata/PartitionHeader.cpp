#include "filedata/PartitionHeader.h"

#include "filedata/HeaderArrays.h"
#include "filedata/HeaderBudget.h"
#include "filedata/Messages.h"
#include "filedata/ValueFormats.h"
#include "filedata/ValueInput.h"

#include <algorithm>
#include <exception>
#include <limits>

namespace varnox::hdqio {

namespace {

constexpr std::uint32_t PARTITION_MARKER = 0x15161718;

template <typename T>
std::uint64_t pairArraySize(std::uint64_t count, bool isAscii)
{
    return arraySizeInFile<ValuePair<T>, false>(count, isAscii);
}

/// The counts of references. Up to version 104 they stand in the records themselves, and a header
/// that has none is complete.
char readReferenceCounts(FileReaderInterface& reader, FileDescription const& description,
                         TagMap const& tags, HeaderPlace const& place, ZoneMetadata const& zone,
                         PartitionMetadata& result)
{
    if (description.getFileVersion() < FIRST_VERSION_WITH_FILE_TYPE &&
        isAbsent(tags, CSZ_NUM_REF_NSZS_TAG) && isAbsent(tags, NSZ_NUM_REF_CSZS_TAG))
        return 1;
    return readSecPtnHeaderTagArrays<std::uint16_t, false>(reader, tags, CSZ_NUM_REF_NSZS_TAG,
                                                           place.partition, zone.numCszsPerSecPtn,
                                                           result.cszNumRefNszs, place, asMany) &&
           readHeaderTagArray<std::uint16_t, false>(reader, tags, NSZ_NUM_REF_CSZS_TAG,
                                                    zone.numNszsPerPtn[place.partition],
                                                    result.nszNumRefCszs, place);
}

/// One bit per subzone: it refers to other partitions.
char readBitArrays(FileReaderInterface& reader, TagMap const& tags, HeaderPlace const& place,
                   ZoneMetadata const& zone, PartitionMetadata& result)
{
    return readSecPtnHeaderTagArrays<std::uint8_t, true>(
               reader, tags, CSZ_INCL_PTN_BIT_ARRAY_TAG, place.partition, zone.numCszsPerSecPtn,
               result.cszInclPtnBitArray, place, numBytesForNumBits) &&
           readHeaderTagArray<std::uint8_t, true>(
               reader, tags, NSZ_INCL_PTN_BIT_ARRAY_TAG,
               numBytesForNumBits(zone.numNszsPerPtn[place.partition]), result.nszInclPtnBitArray,
               place);
}

char readConnectivityLocations(FileReaderInterface& reader, TagMap const& tags,
                               HeaderPlace const& place, ZoneMetadata const& zone,
                               PartitionMetadata& result)
{
    return readSecPtnHeaderTagArrays<std::uint64_t, true>(reader, tags, CSZ_CONN_FILE_LOCS_TAG,
                                                          place.partition, zone.numCszsPerSecPtn,
                                                          result.cszConnFileLocs, place, asMany) &&
           readHeaderTagArray<std::uint64_t, true>(reader, tags, NSZ_CONN_FILE_LOCS_TAG,
                                                   zone.numNszsPerPtn[place.partition],
                                                   result.nszConnFileLocs, place);
}

}

std::uint64_t minMaxArraySizeInFile(std::uint8_t fieldDataType, std::uint64_t count, bool isAscii)
{
    switch (fieldDataType) {
    case FieldDataType_Float:
        return pairArraySize<float>(count, isAscii);
    case FieldDataType_Double:
        return pairArraySize<double>(count, isAscii);
    case FieldDataType_Int32:
        return pairArraySize<std::int32_t>(count, isAscii);
    case FieldDataType_Int16:
        return pairArraySize<std::int16_t>(count, isAscii);
    case FieldDataType_Byte:
    case FieldDataType_Bit:
        return pairArraySize<std::uint8_t>(count, isAscii);
    default:
        return 0;
    }
}

char readVarLocations(FileReaderInterface& reader, FileDescription const& description,
                      TagMap const& tags, int varOffset, int numVars, ZoneMetadata const& zone,
                      PartitionMetadata& result, int zoneIndex, std::uint32_t partition,
                      VarZoneTypes const& fieldDataTypes)
{
    bool const isAscii = description.isAscii() == 1;
    HeaderPlace const place{zoneIndex,
                            zone.numPartitions == 1 ? IODescription::UNSET_PARTITION : partition};
    auto const count = static_cast<std::uint64_t>(numVars);
    if (!readHeaderTagArray<std::uint64_t, true>(reader, tags, VAR_FILE_LOCS_TAG, count,
                                                 result.varFileLocs, place))
        return 0;
    require(result.varCszMinMaxFileLocs.alloc(count) && result.varDataFileLocs.alloc(count));
    // A mixed zone that is no volume is partitioned in one section.
    std::size_t const numSections =
        std::min<std::size_t>(numSectionsOf(zone), zone.numCszsPerSecPtn.size());
    for (std::size_t v = 0; v < count; ++v) {
        std::uint64_t const start = result.varFileLocs[v];
        result.varCszMinMaxFileLocs[v] = ABSENT_FILE_LOC;
        result.varDataFileLocs[v] = ABSENT_FILE_LOC;
        if (start == ABSENT_FILE_LOC)
            continue;
        std::uint8_t const type = fieldDataTypes[static_cast<std::size_t>(varOffset) + v]
                                                [static_cast<std::size_t>(zoneIndex)];
        std::uint64_t loc =
            start + minMaxArraySizeInFile(type, zone.numNszsPerPtn[partition], isAscii);
        result.varCszMinMaxFileLocs[v] = loc;
        for (std::size_t s = 0; s < numSections; ++s)
            loc += minMaxArraySizeInFile(type, zone.numCszsPerSecPtn[s][partition], isAscii);
        result.varDataFileLocs[v] = loc;
    }
    return 1;
}

// Partition header:
//   ASCII only: the markers "partitionMarker*" and "partitionNum*"
//   a tag list, whose tags lead to
//     uint64[]  cszConnFileLocs     by section, per cell subzone; connectivity of volumes alone,
//     uint64[]  nszConnFileLocs     per node subzone              as is all but the variables
//     uint64[]  varFileLocs         per variable
//     uint32[]  refPartitions       numRefPartitions, which is a datum itself
//     uint16[]  cszNumRefNszs       by section, per cell subzone
//     uint16[]  nszNumRefCszs       per node subzone
//     uint8[]   cszInclPtnBitArray  by section, a bit per cell subzone
//     uint8[]   nszInclPtnBitArray  a bit per node subzone

namespace {

char readPartitionArrays(FileReaderInterface& reader, FileDescription const& description,
                         TagMap const& tags, HeaderPlace const& place, int varOffset, int numVars,
                         ZoneMetadata const& zone, VarZoneTypes const& fieldDataTypes,
                         PartitionMetadata& result)
{
    bool const hasConnectivity = !zone.isOrdered() &&
                                 description.dataFileType() != DataFileType_Solution &&
                                 !isAbsent(tags, NSZ_CONN_FILE_LOCS_TAG);
    if (hasConnectivity && !readConnectivityLocations(reader, tags, place, zone, result))
        return 0;
    if (!readVarLocations(reader, description, tags, varOffset, numVars, zone, result, place.zone,
                          place.partition, fieldDataTypes))
        return 0;
    if (!zone.isOrdered() && result.numRefPartitions != 0 &&
        !readHeaderTagArray<std::uint32_t, false>(
            reader, tags, REF_PARTITIONS_TAG, result.numRefPartitions, result.refPartitions, place))
        return 0;
    return !hasConnectivity ||
           (readReferenceCounts(reader, description, tags, place, zone, result) &&
            readBitArrays(reader, tags, place, zone, result));
}

}

char readPartitionHeader(FileReaderInterface& reader, FileDescription const& description, int zone,
                         int varOffset, int numVars, std::uint32_t partition,
                         ZoneMetadata const& metadata, VarZoneTypes const& fieldDataTypes,
                         PartitionMetadata& result)
{
    if (reader.isAscii() &&
        (!readAndVerifyValue<std::uint32_t, false>(reader, PARTITION_MARKER,
                                                   {"partitionMarker*"}) ||
         !readAndVerifyValue<std::uint32_t, false>(reader, partition + 1, {"partitionNum*"})))
        return 0;
    HeaderPlace const place{zone, partition};
    char wasRead = 0;
    try {
        TagMap tags;
        std::uint64_t const start = reader.fileLoc();
        bool const haveTags = readTagList(reader, partitionTagNames(), tags);
        result.tagListBytes = bytesSince(reader, start);
        if (!haveTags)
            return 0;
        std::uint64_t const numRefPartitions = valueOrZero(tags, NUM_REF_PARTITIONS_TAG);
        if (numRefPartitions > std::numeric_limits<std::uint32_t>::max())
            return errorMessage("Partition %lu of zone %lu refers to %lu partitions, more than "
                                "there can be.",
                                std::uint64_t{partition} + 1, place.zoneNumber(), numRefPartitions);
        result.numRefPartitions = static_cast<std::uint32_t>(numRefPartitions);
        wasRead = readPartitionArrays(reader, description, tags, place, varOffset, numVars,
                                      metadata, fieldDataTypes, result);
    } catch (std::exception const&) {
        errorMessage("Out-of-memory error while reading the header of partition %lu of zone %lu.",
                     std::uint64_t{partition} + 1, place.zoneNumber());
    }
    if (!wasRead)
        result.nszConnFileLocs.dealloc();
    return wasRead;
}

}
