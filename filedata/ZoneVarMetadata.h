#pragma once

#include "filedata/AltVnxUtil.h"
#include "filedata/LightweightVector.h"
#include "filedata/Numbers.h"
#include "filedata/PlainDataVector.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::hdqio {

/// What the data set header of one file says of its zones and variables. Indices count from 0.
struct ZoneVarMetadata
{
    ZoneVarMetadata() = default;
    /// Of the enabled zones of a set and of the variables of a set, behind the host API. A sharing
    /// zone ahead of the set's first is kept only on demand; it is then negative, as all zone
    /// numbers here count from that first zone. Throws std::bad_alloc.
    ZoneVarMetadata(AltVnxUtil& host, ItemSetIterator& zones, ItemSetIterator& vars,
                    bool keepEarlierSharingZones);

    /// Takes every array for these counts, all zero. False if one is in use or memory is short.
    /// sectionCounts has one entry per zone.
    bool alloc(std::uint64_t zoneCount, std::uint64_t varCount,
               std::vector<std::uint8_t> const& sectionCounts);
    /// Copies the variable names and the zones of another table, its first one to firstZone. False
    /// if memory is short or there is no room for them.
    bool assign(ZoneVarMetadata const& other, std::uint64_t firstZone);

    /// The dimensions of a zone, from its type letter and its size or first section.
    std::uint32_t dimensionsOf(std::size_t zone) const;

    std::uint64_t numZones = 0;
    std::uint64_t numVars = 0;
    LightweightVector<std::string> zoneNames;
    LightweightVector<char> zoneTypes; ///< A letter; in capitals the zone is cut into subzones.
    PlainDataVector<std::uint8_t> faceNbrModes;
    PlainDataVector<double> solutionTimes;
    PlainDataVector<std::uint32_t> strandIDs;
    PlainDataVector<std::int32_t> parentZones;
    PlainDataVector<std::uint64_t> iMaxOrNumNodes;
    PlainDataVector<std::uint64_t> jMaxOrNumCells;
    PlainDataVector<std::uint64_t> kMaxOrNumFaces;
    PlainDataVector<std::int32_t> shareConnectivity; ///< -1 shares with none.
    LightweightVector<std::string> varNames;
    LightweightVector<LightweightVector<MinMax>>
        zoneMinMaxes; ///< By variable, then zone, as those below.
    LightweightVector<PlainDataVector<std::uint8_t>> valueLocations;
    LightweightVector<LightweightVector<std::uint8_t>> fieldDataTypes;
    LightweightVector<PlainDataVector<std::uint8_t>> passive;
    LightweightVector<PlainDataVector<std::int32_t>> shareVar; ///< -1 shares with none.
    PlainDataVector<std::uint8_t> numSections;
    LightweightVector<PlainDataVector<std::int64_t>>
        numElemsPerSection; ///< By zone, as those below.
    LightweightVector<LightweightVector<std::uint8_t>> cellShapePerSection;
    LightweightVector<LightweightVector<std::uint8_t>> gridOrderPerSection;
    LightweightVector<LightweightVector<std::uint8_t>> basisFuncPerSection;
    PlainDataVector<std::uint32_t> numDimensions;

private:
    void assignZone(ZoneVarMetadata const& other, std::size_t from, std::size_t to);
};

}
