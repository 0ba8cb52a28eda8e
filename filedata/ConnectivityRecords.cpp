#include "filedata/ConnectivityRecords.h"

#include "filedata/Messages.h"
#include "filedata/PackedNumbers.h"
#include "filedata/ValueInput.h"

namespace varnox::hdqio {

namespace {

constexpr std::uint32_t CORNERS_OF_AN_ORDERED_CELL = 8;

bool hasReferenceCounts(FileDescription const& description)
{
    return description.getFileVersion() >= FIRST_VERSION_WITH_FILE_TYPE;
}

bool isBitSet(LightweightVector<std::uint8_t> const& bits, std::uint32_t i)
{
    return (i >> 3) < bits.size() && (bits[i >> 3] >> (i & 7) & 1) != 0;
}

/// The partitions that a subzone refers to: those of its partition, or none but its own.
struct Partitions
{
    Partitions(bool refersToOthers, LightweightVector<std::uint32_t> const& all)
        : list(refersToOthers ? all : none),
          count(refersToOthers ? static_cast<std::uint32_t>(all.size()) : 0)
    {
    }

    LightweightVector<std::uint32_t> none;
    LightweightVector<std::uint32_t> const& list;
    std::uint32_t count;
};

char readReferences(FileReaderInterface& reader, FileDescription const& description,
                    ZoneType_e zoneType, Partitions const& partitions, std::uint32_t ownPartition,
                    std::uint16_t numRefs, bool withSections, SubzoneAddress* out, char const* name)
{
    std::uint32_t const version = description.getFileVersion();
    if (partitions.count < 5)
        return readCompressedRefSzAddressesForBitSize<2>(
            reader, version, zoneType, partitions.count, ownPartition, partitions.list, numRefs,
            withSections, out, name, "refPtn2BitOffsets");
    return readCompressedRefSzAddresses(reader, version, zoneType, partitions.count, ownPartition,
                                        partitions.list, numRefs, withSections, out, name);
}

template <int N>
char readReferenceNumbers(FileReaderInterface& reader, bool isHex, std::size_t count,
                          std::uint32_t numRefs, std::uint16_t* out, char const* name)
{
    using Element = PackedElement<N>;
    std::size_t const numElements = numPackedElements<N>(count);
    ShortLivedArray<Element> packed(numElements);
    if (packed.data() == nullptr)
        return errorMessage("Cannot allocate memory for %s data block.", name);
    if (!(isHex ? readValues<Element, true, 0>(reader, numElements, packed.data(), {name})
                : readValues<Element, false, 0>(reader, numElements, packed.data(), {name})))
        return 0;
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = packedNumber<N>(packed.data(), i);
        if (out[i] >= numRefs)
            return errorMessage("Bad value for %s.", name);
    }
    return 1;
}

/// In as few bits as the number of referenced subzones allows. Version 104 has no 2-bit form, and
/// decimal text.
char readReferenceNumbers(FileReaderInterface& reader, FileDescription const& description,
                          std::size_t count, std::uint32_t numRefs, std::uint16_t* out)
{
    bool const isHex = description.getFileVersion() >= FIRST_VERSION_WITH_FILE_TYPE;
    if (numRefs < 5 && isHex)
        return readReferenceNumbers<2>(reader, isHex, count, numRefs, out, "refNsz2BitOffsets");
    if (numRefs < 17)
        return readReferenceNumbers<4>(reader, isHex, count, numRefs, out, "refNsz4BitOffsets");
    if (numRefs < 257)
        return readReferenceNumbers<8>(reader, isHex, count, numRefs, out, "refNsz8BitOffsets");
    return readReferenceNumbers<16>(reader, isHex, count, numRefs, out, "refNsz16BitOffsets");
}

bool hasCellSubzone(ZoneMetadata const& zone, std::uint32_t partition, std::uint32_t section,
                    std::uint32_t subzone)
{
    return partition < zone.numPartitions && partition < zone.ptnMetadata.size() &&
           section < zone.numCszsPerSecPtn.size() && section < zone.numCellsPerSecPtn.size() &&
           subzone < zone.numCszsPerSecPtn[section][partition] &&
           (zone.isOrdered() ||
            (section < zone.numSections && !zone.numNodesPerCellPerSection.isNull()));
}

/// Sets result to the count of the partition's header. False if the header has none.
bool countReferences(LightweightVector<std::uint16_t> const& counts, std::uint32_t subzone,
                     std::uint16_t& result)
{
    if (subzone >= counts.size())
        return false;
    result = counts[subzone];
    return true;
}

std::uint32_t numCellsOf(ZoneMetadata const& zone, std::uint32_t partition, std::uint32_t section,
                         std::uint32_t subzone)
{
    if (subzone + 1 < zone.numCszsPerSecPtn[section][partition])
        return 256;
    return static_cast<std::uint32_t>((zone.numCellsPerSecPtn[section][partition] - 1) & 255) + 1;
}

}

// Connectivity of a cell subzone:
//   uint16               numRefNodeSubzones  version 104 alone
//   referenced subzones  refNodeSubzones     as many as that, or as the partition's header says
//   uint8[] or uint16[]  refNszNBitOffsets   of each corner of each cell: its subzone's place in
//   the
//                                            list, in 2, 4, 8 or 16 bits
//   uint8[]              nszOffsets          of each corner its node in that subzone

char readCszConnectivity(FileReaderInterface& reader, FileDescription const& description,
                         ZoneMetadata const& zone, std::uint32_t partition, std::uint32_t section,
                         std::uint32_t subzone, CszConnectivity& result)
{
    std::uint16_t numRefs = 0;
    bool const hasRecord =
        hasCellSubzone(zone, partition, section, subzone) &&
        (!hasReferenceCounts(description) ||
         (section < zone.ptnMetadata[partition].cszNumRefNszs.size() &&
          countReferences(zone.ptnMetadata[partition].cszNumRefNszs[section], subzone, numRefs)));
    if (!hasRecord)
        return errorMessage("Partition %lu of zone %d has no connectivity for subzone %lu of the "
                            "cells of section %lu.",
                            std::uint64_t{partition} + 1, zone.zone + 1, std::uint64_t{subzone} + 1,
                            std::uint64_t{section} + 1);
    PartitionMetadata const& header = zone.ptnMetadata[partition];
    bool const refersToOthers = section < header.cszInclPtnBitArray.size() &&
                                isBitSet(header.cszInclPtnBitArray[section], subzone);
    Partitions const partitions(refersToOthers, header.refPartitions);

    result.numCells = numCellsOf(zone, partition, section, subzone);
    result.numCornersPerCell =
        zone.isOrdered() ? CORNERS_OF_AN_ORDERED_CELL : zone.numNodesPerCellPerSection[section];
    std::uint64_t const numCorners = std::uint64_t{result.numCells} * result.numCornersPerCell;
    if (!hasReferenceCounts(description) &&
        !readValue<std::uint16_t, false>(reader, numRefs, {"numRefNodeSubzones"}))
        return 0;
    if (numRefs == 0 || numRefs > numCorners)
        return errorMessage("Bad value for %s.", "numRefNodeSubzones");
    result.numRefNszs = numRefs;
    if (!fileCanHold(reader, numCorners, 1) || !result.nszOffsets.alloc(numCorners) ||
        !result.refNszOffsets.alloc(numCorners) || !result.refNszs.alloc(numRefs))
        return errorMessage(
            "Cannot allocate memory for cell connectivity (%lu entries, %lu ref subzones).",
            numCorners, std::uint64_t{numRefs});
    return readReferences(reader, description, zone.zoneType, partitions, partition, numRefs, false,
                          result.refNszs.data(), "refNodeSubzones") &&
           readReferenceNumbers(reader, description, static_cast<std::size_t>(numCorners), numRefs,
                                result.refNszOffsets.data()) &&
           readValues<std::uint8_t, false, 0>(reader, numCorners, result.nszOffsets.data(),
                                              {"nszOffsets"});
}

// Connectivity of a node subzone:
//   uint16               numRefCellSubzones  version 104 alone
//   referenced subzones  refCellSubzones     as many as that, or as the partition's header says

char readNszConnectivity(FileReaderInterface& reader, FileDescription const& description,
                         ZoneMetadata const& zone, std::uint32_t partition, std::uint32_t subzone,
                         LightweightVector<std::uint32_t> const& refPartitions,
                         std::uint16_t numRefs, NszConnectivity& result)
{
    if (!hasReferenceCounts(description) &&
        !readValue<std::uint16_t, false>(reader, numRefs, {"numRefCellSubzones"}))
        return 0;
    bool const isInUse = !result.refCszs.isNull();
    result.refCszs.dealloc();
    result.numRefCszs = 0;
    if (numRefs == 0)
        return 1;
    if (isInUse || !result.refCszs.alloc(numRefs))
        return errorMessage("Cannot allocate memory for node connectivity referenced cell subzones "
                            "(%lu subzones).",
                            std::uint64_t{numRefs});
    result.numRefCszs = numRefs;
    bool const refersToOthers = partition < zone.ptnMetadata.size() &&
                                isBitSet(zone.ptnMetadata[partition].nszInclPtnBitArray, subzone);
    return readReferences(reader, description, zone.zoneType,
                          Partitions(refersToOthers, refPartitions), partition, numRefs, true,
                          result.refCszs.data(), "refCellSubzones");
}

}
