#pragma once

#include "filedata/LightweightVector.h"
#include "filedata/MinMaxTree.h"
#include "filedata/Numbers.h"
#include "filedata/PlainDataVector.h"
#include "filedata/SubzoneLayout.h"
#include "filedata/ZoneVarMetadata.h"
#include "varnox/RawArray.h"
#include "varnox/hostapi/VnxTypes.h"

#include <boost/geometry/core/cs.hpp>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace varnox::hdqio {

/// Where the blocks of one partition begin. A zone that isn't partitioned has one of these, filled
/// from the zone header. Locations are absolute, all ones for an absent block.
struct PartitionMetadata
{
    LightweightVector<LightweightVector<std::uint64_t>> cszConnFileLocs; ///< By section.
    LightweightVector<std::uint64_t> nszConnFileLocs;
    std::uint32_t numRefPartitions = 0;
    LightweightVector<std::uint32_t> refPartitions;
    LightweightVector<LightweightVector<std::uint16_t>> cszNumRefNszs; ///< By section.
    LightweightVector<std::uint16_t> nszNumRefCszs;
    LightweightVector<LightweightVector<std::uint8_t>> cszInclPtnBitArray; ///< By section.
    LightweightVector<std::uint8_t> nszInclPtnBitArray;
    LightweightVector<std::uint64_t> varFileLocs; ///< By variable, as the two derived ones below.
    LightweightVector<std::uint64_t> varCszMinMaxFileLocs;
    LightweightVector<std::uint64_t> varDataFileLocs;
    std::uint64_t tagListBytes = 0; ///< What the header's tag list takes of the file.
};

/// Everything that a query about one zone needs to know before it touches bulk data. Stored from
/// the data set header when a file is opened, completed from the zone header on first request.
struct ZoneMetadata
{
    using Point = boost::geometry::model::point<long, 3, boost::geometry::cs::cartesian>;
    using Box = boost::geometry::model::box<Point>;
    using BoxTree = boost::geometry::index::rtree<std::pair<Box, std::uint32_t>,
                                                  boost::geometry::index::quadratic<8, 2>>;
    static constexpr std::int64_t UNSET_SIZE = 0x7FFFFFFFFFFFFFFF;

    /// Applies a type. Types 1 to 5 get their one section; throws std::bad_alloc if there are
    /// sections.
    void setZoneType(ZoneType_e type);
    /// The sections of a mixed zone. Throws std::bad_alloc like setZoneType.
    void setSectionMetrics(std::uint32_t numSections, RawArray<long const> const& numElems,
                           RawArray<unsigned char const> const& cellShapes,
                           RawArray<unsigned char const> const& gridOrders,
                           RawArray<unsigned char const> const& basisFuncs);
    /// Sections as far as cells of partitions are counted: at least the one of a zone that has no
    /// tables.
    bool isMixed() const { return zoneType == ZoneType_FEMixed; }
    bool isOrdered() const { return zoneType == ZoneType_Ordered; }
    void insertPartitionBox(std::uint32_t partition);
    /// Frees what a zone header gave, so that it can be read again.
    void forgetZoneHeader();

    std::int32_t zone = -1;
    ZoneType_e zoneType = static_cast<ZoneType_e>(255);
    std::uint32_t numDimensions = 0xFFFFFFFF;
    char isHdqZone = 0;
    IJK ijk{UNSET_SIZE, UNSET_SIZE, UNSET_SIZE,
            0}; ///< Nodes, cells and faces of a finite-element zone.
    std::string zoneName;
    std::uint8_t faceNbrMode = 0;
    double solutionTime = 0;
    std::uint32_t strandID = 0xFFFFFFFF;
    std::int32_t parentZone = -1;
    std::uint32_t numPartitions = 0;
    std::unique_ptr<BoxTree> ptnRTree; ///< The partitions of an ordered zone by their boxes.
    LightweightVector<IJKZoneInfo> ijkPtnInfo;
    std::uint32_t numSections = 0;
    PlainDataVector<std::int64_t> numElemsPerSection;
    PlainDataVector<std::uint8_t> cellShapePerSection;
    PlainDataVector<std::uint8_t> gridOrderPerSection;
    PlainDataVector<std::uint8_t> basisFuncPerSection;
    PlainDataVector<std::uint32_t> numCornersPerSection;
    PlainDataVector<std::uint32_t> numNodesPerCellPerSection;
    LightweightVector<PlainDataVector<std::int64_t>>
        numCellsPerSecPtn; ///< Set: the header is read.
    PlainDataVector<std::int64_t> numNodesPerPtn;
    LightweightVector<PlainDataVector<std::int64_t>> firstCellPerSecPtn;
    PlainDataVector<std::int64_t> firstNodePerPtn;
    PlainDataVector<IJK> ptnMinIJK;
    PlainDataVector<IJK> ptnMaxIJK;
    LightweightVector<PlainDataVector<std::uint32_t>> numCszsPerSecPtn;
    PlainDataVector<std::uint32_t> numNszsPerPtn;
    PlainDataVector<std::uint32_t> ptnFileNums;
    PlainDataVector<std::uint64_t> ptnFileLocs;
    PlainDataVector<std::uint64_t> varPtnMinMaxFileLocs;
    LightweightVector<MinMaxTree> varMinMaxTrees;
    LightweightVector<PartitionMetadata> ptnMetadata;
    PlainDataVector<std::uint64_t> classicVarFileLocs;
    std::int64_t nodeMapFileLoc = -1;
    std::int64_t userFaceNbrFileLoc = -1;
    std::uint64_t tagListBytes = 0; ///< What the header's tag list takes of the file.
    /// Whether the header gives an ordered zone in one piece its node table, of 4 bytes for each
    /// node. Who doesn't need it says so before the header is read. A zone of far more nodes than
    /// its file has bytes gets none.
    bool wantsNodeTable = true;
};

/// Copies a zone's entries of the data set header. zoneOffset is added to the parent zone, also to
/// one that is -1.
void storeZoneMetadata(ZoneVarMetadata const& metadata, int zone, int zoneOffset,
                       ZoneMetadata& result);

}
