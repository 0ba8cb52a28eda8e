#include "filedata/ZoneMetadata.h"

#include "filedata/ZoneTypes.h"

#include <algorithm>

namespace varnox::hdqio {

void ZoneMetadata::setZoneType(ZoneType_e type)
{
    zoneType = type;
    if (isMixed())
        return;
    numSections = 1;
    if (type < ZoneType_FETriangle || type > ZoneType_FELineSeg)
        return;
    std::uint8_t const shape = shapeOfZoneType(type);
    require(numElemsPerSection.alloc(1) && cellShapePerSection.alloc(1) &&
            gridOrderPerSection.alloc(1) && basisFuncPerSection.alloc(1) &&
            numCornersPerSection.alloc(1) && numNodesPerCellPerSection.alloc(1));
    numElemsPerSection[0] = ijk.j;
    cellShapePerSection[0] = shape;
    gridOrderPerSection[0] = 1;
    basisFuncPerSection[0] = 0;
    numCornersPerSection[0] = numCornersOfShape(shape);
    numNodesPerCellPerSection[0] = numCornersOfShape(shape);
}

void ZoneMetadata::setSectionMetrics(std::uint32_t count, RawArray<long const> const& numElems,
                                     RawArray<unsigned char const> const& cellShapes,
                                     RawArray<unsigned char const> const& gridOrders,
                                     RawArray<unsigned char const> const& basisFuncs)
{
    require(numElemsPerSection.alloc(count) && cellShapePerSection.alloc(count) &&
            gridOrderPerSection.alloc(count) && basisFuncPerSection.alloc(count) &&
            numCornersPerSection.alloc(count) && numNodesPerCellPerSection.alloc(count));
    numSections = count;
    for (std::uint32_t s = 0; s < count; ++s) {
        numElemsPerSection[s] = numElems.data[s];
        cellShapePerSection[s] = cellShapes.data[s];
        gridOrderPerSection[s] = gridOrders.data[s];
        basisFuncPerSection[s] = basisFuncs.data[s];
        numCornersPerSection[s] = numCornersOfShape(cellShapes.data[s]);
        numNodesPerCellPerSection[s] = numNodesOfShape(cellShapes.data[s], gridOrders.data[s]);
    }
}

void ZoneMetadata::insertPartitionBox(std::uint32_t partition)
{
    if (!ptnRTree)
        ptnRTree = std::make_unique<BoxTree>();
    IJK const& low = ptnMinIJK[partition];
    IJK const& high = ptnMaxIJK[partition];
    ptnRTree->insert({Box(Point(low.i, low.j, low.k), Point(high.i, high.j, high.k)), partition});
}

void ZoneMetadata::forgetZoneHeader()
{
    ptnRTree.reset();
    ijkPtnInfo.dealloc();
    numCellsPerSecPtn.dealloc();
    numNodesPerPtn.dealloc();
    firstCellPerSecPtn.dealloc();
    firstNodePerPtn.dealloc();
    ptnMinIJK.dealloc();
    ptnMaxIJK.dealloc();
    numCszsPerSecPtn.dealloc();
    numNszsPerPtn.dealloc();
    ptnFileNums.dealloc();
    ptnFileLocs.dealloc();
    varPtnMinMaxFileLocs.dealloc();
    varMinMaxTrees.dealloc();
    ptnMetadata.dealloc();
    classicVarFileLocs.dealloc();
}

void storeZoneMetadata(ZoneVarMetadata const& metadata, int zone, int zoneOffset,
                       ZoneMetadata& result)
{
    auto const z = static_cast<std::size_t>(zone);
    result.zone = zone;
    result.ijk.i = static_cast<std::int64_t>(metadata.iMaxOrNumNodes[z]);
    result.ijk.j = static_cast<std::int64_t>(metadata.jMaxOrNumCells[z]);
    result.ijk.k = static_cast<std::int64_t>(metadata.kMaxOrNumFaces[z]);
    result.ijk.ij =
        static_cast<std::int64_t>(metadata.iMaxOrNumNodes[z] * metadata.jMaxOrNumCells[z]);
    result.setZoneType(zoneTypeFromFileChar(metadata.zoneTypes[z]));
    result.numDimensions = metadata.numDimensions[z];
    result.isHdqZone = isHdqFileChar(metadata.zoneTypes[z]);
    result.zoneName = metadata.zoneNames[z];
    result.faceNbrMode = metadata.faceNbrModes[z];
    result.solutionTime = metadata.solutionTimes[z];
    result.strandID = metadata.strandIDs[z];
    result.parentZone =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(metadata.parentZones[z]) +
                                  static_cast<std::uint32_t>(zoneOffset));
    if (!result.isMixed())
        return;
    std::uint8_t const count = metadata.numSections[z];
    auto const view = [count](auto const* data) {
        return RawArray<std::remove_pointer_t<decltype(data)>>{nullptr, data, count, count};
    };
    result.setSectionMetrics(count, view(metadata.numElemsPerSection[z].data()),
                             view(metadata.cellShapePerSection[z].data()),
                             view(metadata.gridOrderPerSection[z].data()),
                             view(metadata.basisFuncPerSection[z].data()));
}

}
