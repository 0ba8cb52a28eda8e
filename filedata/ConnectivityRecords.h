#pragma once

#include "filedata/CompressedReferences.h"
#include "filedata/FileDescription.h"
#include "filedata/FileReaderInterface.h"
#include "filedata/PlainDataVector.h"
#include "filedata/ZoneMetadata.h"

#include <cstdint>

namespace varnox::hdqio {

/// The nodes of the cells of one cell subzone. Corner k of cell c stands at c * numCornersPerCell +
/// k: the node nszOffsets[i] of the node subzone refNszs[refNszOffsets[i]].
struct CszConnectivity
{
    std::uint32_t numCells = 0;
    std::uint32_t numCornersPerCell = 0; ///< All nodes of a cell, where its order has more.
    std::uint32_t numRefNszs = 0;
    PlainDataVector<std::uint8_t> nszOffsets;
    PlainDataVector<std::uint16_t> refNszOffsets; ///< Below numRefNszs.
    PlainDataVector<SubzoneAddress> refNszs;
};

/// The cell subzones that touch the nodes of one node subzone.
struct NszConnectivity
{
    PlainDataVector<SubzoneAddress> refCszs;
    std::uint32_t numRefCszs = 0;
};

/// Reads the connectivity of a cell subzone, at whose record the stream stands:
/// cszConnFileLocs[section][subzone]. The metadata of the partition must have been read into the
/// zone, and the result must be unused. Whether the referenced subzones exist isn't looked at.
char readCszConnectivity(FileReaderInterface& reader, FileDescription const& description,
                         ZoneMetadata const& zone, std::uint32_t partition, std::uint32_t section,
                         std::uint32_t subzone, CszConnectivity& result);

/// Reads the connectivity of a node subzone, at whose record the stream stands:
/// nszConnFileLocs[subzone]. refPartitions are those of the partition's header, and numRefs is
/// nszNumRefCszs[subzone], which version 104 doesn't look at.
char readNszConnectivity(FileReaderInterface& reader, FileDescription const& description,
                         ZoneMetadata const& zone, std::uint32_t partition, std::uint32_t subzone,
                         LightweightVector<std::uint32_t> const& refPartitions,
                         std::uint16_t numRefs, NszConnectivity& result);

}
