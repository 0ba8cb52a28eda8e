#include "tools/vnxinfo/ZoneCheck.h"

#include "addons/hdqfs/DataFile.h"
#include "filedata/DataSetGroups.h"
#include "filedata/HeaderArrays.h"
#include "filedata/PartitionHeader.h"
#include "filedata/ValueInput.h"
#include "filedata/ZoneHeader.h"
#include "tools/vnxinfo/HeaderCheck.h"

#include <algorithm>
#include <array>
#include <limits>
#include <set>

namespace varnox::tools {

using hdqio::PartitionMetadata;
using hdqio::ZoneMetadata;

namespace {

constexpr std::uint64_t NODES_AT_ONCE = 16384;

/// What two optional tags say of the number of subzones, against the number itself.
void checkSubzoneCounts(CheckedFile& file, Place const& place, hdqio::TagMap const& tags,
                        std::uint64_t cellSubzones, std::uint64_t nodeSubzones)
{
    bool const hasCells = tags.contains(hdqio::NUM_CELL_SUBZONES_TAG);
    bool const hasNodes = tags.contains(hdqio::NUM_NODE_SUBZONES_TAG);
    if (hasCells != hasNodes)
        file.faults.add(place, "It counts either the cell subzones or the node subzones alone.");
    if (hasCells && tags.at(hdqio::NUM_CELL_SUBZONES_TAG) != cellSubzones)
        file.faults.add(place, "It claims " +
                                   std::to_string(tags.at(hdqio::NUM_CELL_SUBZONES_TAG)) +
                                   " cell subzones and has " + std::to_string(cellSubzones) + ".");
    if (hasNodes && tags.at(hdqio::NUM_NODE_SUBZONES_TAG) != nodeSubzones)
        file.faults.add(place, "It claims " +
                                   std::to_string(tags.at(hdqio::NUM_NODE_SUBZONES_TAG)) +
                                   " node subzones and has " + std::to_string(nodeSubzones) + ".");
}

std::uint64_t numCellSubzones(ZoneMetadata const& zone, std::uint32_t partition)
{
    std::uint64_t result = 0;
    for (auto const& section : zone.numCszsPerSecPtn)
        result += section[partition];
    return result;
}

/// A tag list again, for the data that stand in it.
hdqio::TagMap tagsAt(CheckedFile& file, std::uint64_t fileLoc, TagOwner owner, std::uint32_t number)
{
    hdqio::TagMap result;
    file.attempt({"tag list"}, fileLoc, [&] {
        file.reader.unwatch();
        for (RawTag const& tag : readRawTags(file.reader.file(), fileLoc, owner, number))
            result[tag.number] = tag.value;
        return true;
    });
    return result;
}

/// Whether the file's limits hold for what the zone is cut into.
void checkSubzoneSizes(CheckedFile& file, Place const& place, ZoneMetadata const& zone)
{
    if (zone.isOrdered())
        return;
    std::int64_t const limit = file.description.getMaxFESubzoneSize();
    std::int64_t largest = 0;
    for (std::uint32_t p = 0; p < zone.numPartitions; ++p) {
        largest = std::max(largest, zone.numNodesPerPtn[p]);
        for (auto const& cells : zone.numCellsPerSecPtn)
            largest = std::max(largest, cells[p]);
    }
    if (std::min<std::int64_t>(largest, hdqfsloader::SubzoneLayout::ITEMS_PER_RUN) > limit)
        file.faults.add(place, "Its subzones have more items than the file's limit of " +
                                   std::to_string(limit) + ".");
}

/// The cells and nodes of the partitions of a zone of finite elements, against the zone's.
void checkPartitionCounts(CheckedFile& file, Place const& place, ZoneMetadata const& zone)
{
    if (zone.isOrdered())
        return;
    std::int64_t cells = 0;
    for (std::size_t s = 0; s < zone.numCellsPerSecPtn.size(); ++s) {
        std::int64_t ofSection = 0;
        for (std::uint32_t p = 0; p < zone.numPartitions; ++p)
            ofSection += zone.numCellsPerSecPtn[s][p];
        cells += ofSection;
        if (zone.isMixed() && !zone.numElemsPerSection.isNull() &&
            ofSection != zone.numElemsPerSection[s])
            file.faults.add(place, "The partitions have " + std::to_string(ofSection) +
                                       " cells of section " + std::to_string(s + 1) +
                                       ", the zone " + std::to_string(zone.numElemsPerSection[s]) +
                                       ".");
    }
    if (cells != zone.ijk.j)
        file.faults.add(place, "The partitions have " + std::to_string(cells) +
                                   " cells, the zone " + std::to_string(zone.ijk.j) + ".");
}

void checkReferredPartitions(CheckedFile& file, Place const& place, ZoneMetadata const& zone,
                             PartitionMetadata const& header)
{
    std::set<std::uint32_t> seen;
    for (std::uint32_t const p : header.refPartitions) {
        if (p >= zone.numPartitions)
            file.faults.add(place, "It refers to partition index " + std::to_string(p) + " of " +
                                       std::to_string(zone.numPartitions) + ".");
        if (!seen.insert(p).second)
            file.faults.add(place, "It refers to partition index " + std::to_string(p) + " twice.");
    }
}

bool takeFromBudget(CheckedFile& file, Place const& place, std::uint64_t loc,
                    std::uint64_t byteCount)
{
    return file.attempt(place, loc, [&] {
        file.reader.unwatch();
        return file.headerBudget.take(file.reader, byteCount);
    });
}

void readPartition(CheckedFile& file, std::uint32_t z, std::uint32_t p)
{
    ZoneMetadata& zone = file.zones[z].metadata;
    Place const place{"partition header", z, p};
    std::uint64_t const loc = zone.ptnFileLocs[p];
    if (zone.ptnFileNums[p] != 0) {
        file.faults.add(place, "It lies in file " + std::to_string(zone.ptnFileNums[p]) +
                                   ", and partitions in other files aren't supported.");
        return;
    }
    if (!isLocation(loc)) {
        file.faults.add(place, "The partition has no header.");
        return;
    }
    if (!file.attempt(place, loc, [&] { return file.headerBudget.requireMore(file.path); }))
        return;
    PartitionMetadata header;
    bool const isRead = file.attempt(place, loc, [&] {
        return file.reader.seekToFileLoc(loc) &&
               hdqio::readPartitionHeader(file.reader, file.description, static_cast<int>(z), 0,
                                          static_cast<int>(file.numVars()), p, zone,
                                          file.headers.fieldDataTypes, header);
    });
    if (!takeFromBudget(file, place, loc, hdqio::bytesInFile(header)))
        return;
    checkTagList(file, place, loc, TagOwner::Partition, p + 1);
    if (!isRead)
        return;
    checkReferredPartitions(file, place, zone, header);
    checkSubzoneCounts(file, place, tagsAt(file, loc, TagOwner::Partition, p + 1),
                       numCellSubzones(zone, p), zone.numNszsPerPtn[p]);
    zone.ptnMetadata[p] = std::move(header);
    file.zones[z].isPartitionRead[p] = true;
}

void checkHdqHeader(CheckedFile& file, std::uint32_t z, std::uint64_t loc)
{
    CheckedZone& checked = file.zones[z];
    ZoneMetadata const& zone = checked.metadata;
    Place const place{"zone header", z};
    checkSubzoneSizes(file, place, zone);
    checkPartitionCounts(file, place, zone);
    checked.isPartitionRead.assign(zone.numPartitions, zone.numPartitions == 1);
    if (zone.numPartitions == 1) {
        checkSubzoneCounts(file, place, tagsAt(file, loc, TagOwner::Zone, z + 1),
                           numCellSubzones(zone, 0), zone.numNszsPerPtn[0]);
        return;
    }
    for (std::uint32_t p = 0; p < zone.numPartitions; ++p)
        readPartition(file, z, p);
}

}

void checkZoneHeader(CheckedFile& file, std::uint32_t z)
{
    CheckedZone& checked = file.zones[z];
    Place const place{"zone header", z};
    std::uint64_t const loc = file.zoneHeaderFileLocs[z];
    auto const index = static_cast<int>(z);
    if (!file.attempt(place, loc, [&] { return file.headerBudget.requireMore(file.path); }))
        return;
    checked.isRead = file.attempt(place, loc, [&] {
        hdqio::storeZoneMetadata(file.headers, index, 0, checked.metadata);
        checked.metadata.wantsNodeTable = false;
        return file.reader.seekToFileLoc(loc) &&
               hdqio::readZoneHeaders(file.reader, file.description, 0, index, 0,
                                      static_cast<int>(file.numVars()), file.headers.zoneMinMaxes,
                                      file.headers.fieldDataTypes, checked.metadata);
    });
    checked.metadata.varMinMaxTrees.dealloc(); // of one entry each, which the data set header has
    if (!takeFromBudget(file, place, loc, hdqio::bytesInFile(checked.metadata))) {
        checked.isRead = false;
        return;
    }
    checkTagList(file, place, loc, TagOwner::Zone, z + 1);
    if (checked.isRead && checked.metadata.isHdqZone)
        checkHdqHeader(file, z, loc);
}

void checkNodeMap(CheckedFile& file, std::uint32_t z)
{
    ZoneMetadata const& zone = file.zones[z].metadata;
    bool const isMapped = !zone.isOrdered() && zone.zoneType != ZoneType_FEPolygon &&
                          zone.zoneType != ZoneType_FEPolyhedron;
    Place const place{"node map", z};
    if (zone.nodeMapFileLoc <= 0) {
        if (isMapped && !zone.isHdqZone && zone.ijk.j != 0 &&
            file.description.dataFileType() != DataFileType_Solution &&
            file.headers.shareConnectivity[z] == -1)
            file.faults.add(place, "The zone has none and shares none.");
        return;
    }
    auto const loc = static_cast<std::uint64_t>(zone.nodeMapFileLoc);
    if (!isMapped) {
        file.faults.add(place, loc, "A zone of this type has no node map.");
        return;
    }
    file.attempt(place, loc, [&] {
        std::array<std::uint32_t, NODES_AT_ONCE> nodes;
        std::uint64_t bad = 0;
        hdqio::IODescription description{"nodeMap", hdqio::IODescription::UNSET_INDEX,
                                         static_cast<std::int32_t>(z)};
        if (!file.reader.seekToFileLoc(loc))
            return false;
        for (std::uint32_t s = 0; s < zone.numSections; ++s) {
            std::uint64_t left = hdqfsloader::itemCount(
                zone.numElemsPerSection[s], zone.numNodesPerCellPerSection[s], 1, file.path);
            while (left > 0) {
                std::uint64_t const part = std::min<std::uint64_t>(left, nodes.size());
                if (!hdqio::readValues<std::uint32_t, false, 1>(file.reader, part, nodes.data(),
                                                                description))
                    throw std::runtime_error("The file ends inside it, or a number can't be read.");
                description = {};
                for (std::uint64_t i = 0; i < part; ++i)
                    bad += nodes[i] >= static_cast<std::uint64_t>(zone.ijk.i);
                left -= part;
            }
        }
        if (bad != 0)
            file.faults.add(place, loc,
                            std::to_string(bad) + " of its numbers are none of the " +
                                std::to_string(zone.ijk.i) + " nodes.");
        return true;
    });
}

void checkFaceNeighbors(CheckedFile& file, std::uint32_t z)
{
    std::int64_t const loc = file.zones[z].metadata.userFaceNbrFileLoc;
    if (loc <= 0)
        return;
    file.attempt({"face neighbours", z}, static_cast<std::uint64_t>(loc), [&] {
        std::uint64_t count = 0;
        hdqio::LightweightVector<int> neighbors;
        return file.reader.seekToFileLoc(static_cast<std::uint64_t>(loc)) &&
               hdqio::readFaceNeighbors(file.reader, static_cast<int>(z), count, neighbors);
    });
}

}
