#pragma once

#include "filedata/FileReaderInterface.h"
#include "filedata/LightweightVector.h"
#include "varnox/ItemAddress.h"
#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>

namespace varnox::hdqio {

using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

/// Reads a list of numRefs referenced subzones, which name their partitions by numbers of N bits,
/// 2, 4, 8 or 16, into the numRefPartitions partitions of a list. With none of these every subzone
/// lies in ownPartition. Sections, of the cell subzones of a mixed zone alone, are read only
/// withSections. name and offsetsName are the words of the subzones and of the numbers of
/// partitions. A number beyond the list is reported.
template <int N>
char readCompressedRefSzAddressesForBitSize(FileReaderInterface& reader, std::uint32_t fileVersion,
                                            ZoneType_e zoneType, std::uint32_t numRefPartitions,
                                            std::uint32_t ownPartition,
                                            LightweightVector<std::uint32_t> const& refPartitions,
                                            std::uint16_t numRefs, bool withSections,
                                            SubzoneAddress* out, char const* name,
                                            char const* offsetsName);

/// The same in 4, 8 or 16 bits, as the number of partitions wants it.
char readCompressedRefSzAddresses(FileReaderInterface& reader, std::uint32_t fileVersion,
                                  ZoneType_e zoneType, std::uint32_t numRefPartitions,
                                  std::uint32_t ownPartition,
                                  LightweightVector<std::uint32_t> const& refPartitions,
                                  std::uint16_t numRefs, bool withSections, SubzoneAddress* out,
                                  char const* name);

}
