#pragma once

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
};

}
