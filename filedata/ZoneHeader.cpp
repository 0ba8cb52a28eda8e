#include "filedata/ZoneHeader.h"

#include "filedata/HeaderArrays.h"
#include "filedata/HeaderBudget.h"
#include "filedata/Messages.h"
#include "filedata/PartitionHeader.h"
#include "filedata/ValueFormats.h"
#include "filedata/ValueInput.h"

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <new>
#include <utility>

namespace varnox::hdqio {

namespace {

constexpr std::uint32_t ZONE_MARKER = 0x02030405;
/// Items of a finite-element subzone: a constant of the format, not the file's limit.
constexpr std::int64_t SUBZONE_ITEMS = 256;
/// More than addresses can name.
constexpr std::int64_t MOST_NODES = std::int64_t{MinMaxTree::MAX_ENTRIES} * SUBZONE_ITEMS;

/// Subzones of 256 that hold a number of items; false if there are more than an address can name.
bool numRunsOf(std::int64_t items, std::uint32_t& result)
{
    if (items < 0)
        return false;
    std::int64_t const runs = items / SUBZONE_ITEMS + (items % SUBZONE_ITEMS != 0);
    result = static_cast<std::uint32_t>(runs);
    return runs <= MinMaxTree::MAX_ENTRIES;
}

bool isVolumeZone(ZoneMetadata const& zone)
{
    bool const hasVolumeType =
        zone.zoneType == ZoneType_FETetra || zone.zoneType == ZoneType_FEBrick || zone.isMixed();
    return hasVolumeType && zone.numDimensions == 3;
}

void allocPerSection(ZoneMetadata& zone, std::uint32_t numSections, std::uint32_t numPartitions)
{
    require(zone.numCellsPerSecPtn.alloc(numSections) &&
            zone.firstCellPerSecPtn.alloc(numSections) && zone.numCszsPerSecPtn.alloc(numSections));
    for (std::uint32_t s = 0; s < numSections; ++s)
        require(zone.numCellsPerSecPtn[s].alloc(numPartitions) &&
                zone.firstCellPerSecPtn[s].alloc(numPartitions) &&
                zone.numCszsPerSecPtn[s].alloc(numPartitions));
}

std::int64_t numCellsAlong(std::int64_t nodes)
{
    return std::max<std::int64_t>(nodes, 2) - 1;
}

/// The product of three sizes, or -1 if it doesn't fit.
std::int64_t productOf(std::int64_t a, std::int64_t b, std::int64_t c)
{
    std::int64_t result = 0;
    return a < 0 || b < 0 || c < 0 || __builtin_mul_overflow(a, b, &result) ||
                   __builtin_mul_overflow(result, c, &result)
               ? -1
               : result;
}

/// Whether subzone addresses can name all subzones of a block of items.
bool canBeNamed(IJKSubzoneInfo const& info)
{
    return info.numSubzones[2] <= MinMaxTree::MAX_ENTRIES &&
           info.numSubzones[3] <= MinMaxTree::MAX_ENTRIES &&
           info.numSubzones[2] * info.numSubzones[3] <= MinMaxTree::MAX_ENTRIES;
}

char refuseItemCount(HeaderPlace const& place)
{
    return errorMessage("Zone %lu has more nodes or cells than subzones can hold.",
                        place.zoneNumber());
}

/// Nodes and cells along the axes multiplied, or -1. An axis of no nodes still has cells.
std::int64_t numItemsOf(IJK const& nodes)
{
    auto const along = [](std::int64_t n) { return n == 0 ? std::int64_t{1} : n; };
    return productOf(along(nodes.i), along(nodes.j), along(nodes.k));
}

/// An ordered zone in one piece may have no values in its file, and any number of nodes. Who asks
/// for its subzones is sent a list of them, though, for which the file has to be long enough.
char refuseOrderedSize(IJK const& nodes, std::uint64_t fileSize, HeaderPlace const& place)
{
    std::int64_t const items = numItemsOf(nodes);
    if (items >= 0 && static_cast<std::uint64_t>(items) <= fileSize)
        return refuseItemCount(place);
    return errorMessage("The file is too short for the %ld x %ld x %ld nodes of zone %lu.", nodes.i,
                        nodes.j, nodes.k, place.zoneNumber());
}

char cutOrderedZone(FileReaderInterface& reader, FileDescription const& description,
                    HeaderPlace const& place, ZoneMetadata& zone)
{
    constexpr std::uint64_t FEW_SUBZONES = std::uint64_t{1} << 20;
    constexpr std::uint64_t FEW_NODES = std::uint64_t{1} << 20;
    std::uint64_t const fileSize = reader.seekToFileStart() ? bytesLeft(reader) : 0;
    IJK const& n = zone.ijk;
    std::int64_t const items = numItemsOf(n);
    if (items < 0 || items > MOST_NODES)
        return refuseOrderedSize(n, fileSize, place);
    IJK const cells{numCellsAlong(n.i), numCellsAlong(n.j), numCellsAlong(n.k),
                    numCellsAlong(n.i) * numCellsAlong(n.j)};
    zone.numNodesPerPtn[0] = n.k * n.ij;
    zone.firstNodePerPtn[0] = 0;
    zone.numCellsPerSecPtn[0][0] = cells.k * cells.ij;
    zone.firstCellPerSecPtn[0][0] = 0;
    require(zone.ijkPtnInfo.alloc(1));
    IJKZoneInfo& info = zone.ijkPtnInfo[0];
    info.cells = IJKSubzoneInfo(cells, description.getMaxIJKSubzoneSize(), 0, false);
    info.nodes = IJKSubzoneInfo(n, description.getMaxIJKSubzoneSize(), 0, false);
    if (!canBeNamed(info.cells) || !canBeNamed(info.nodes) ||
        info.cells.totalSubzones > std::max(fileSize, FEW_SUBZONES) ||
        info.nodes.totalSubzones > std::max(fileSize, FEW_SUBZONES))
        return refuseOrderedSize(n, fileSize, place);
    // The table has an entry of 4 bytes for every node, which a file that holds any value of the
    // zone also pays for.
    auto const numNodes = static_cast<std::size_t>(n.k * n.ij);
    if (zone.wantsNodeTable && numNodes <= std::max(fileSize, FEW_NODES))
        info.nodeSubzones.assign(numNodes, 0xFFFFFFF);
    zone.ptnMinIJK[0] = {0, 0, 0, 0};
    zone.ptnMaxIJK[0] = {n.i - 1, n.j - 1, n.k - 1, (n.i - 1) * (n.j - 1)};
    zone.numCszsPerSecPtn[0][0] = info.cells.totalSubzones;
    zone.numNszsPerPtn[0] = info.nodes.totalSubzones;
    return 1;
}

char cutFiniteElementZone(FileDescription const& description, HeaderPlace const& place,
                          ZoneMetadata& zone)
{
    zone.numNodesPerPtn[0] = zone.ijk.i;
    zone.firstNodePerPtn[0] = 0;
    if (!numRunsOf(zone.ijk.i, zone.numNszsPerPtn[0]))
        return refuseItemCount(place);
    bool const bySection =
        zone.isMixed() && description.getFileVersion() >= FIRST_VERSION_WITH_SECTIONS;
    for (std::uint32_t s = 0; s < numSectionsOf(zone); ++s) {
        std::int64_t const cells = bySection ? zone.numElemsPerSection[s] : s == 0 ? zone.ijk.j : 0;
        zone.numCellsPerSecPtn[s][0] = cells;
        if (!numRunsOf(cells, zone.numCszsPerSecPtn[s][0]))
            return refuseItemCount(place);
        // Deliberate: the section's own count is added and not its predecessor's.
        // Test: ZoneHeader.FirstCellOfASectionAddsItsOwnCount
        zone.firstCellPerSecPtn[s][0] = s == 0 ? 0 : cells + zone.firstCellPerSecPtn[s - 1][0];
    }
    return 1;
}

void growTrees(ZoneMetadata& zone, int zoneOffset, int zoneIndex, int varOffset, int numVars,
               VarZoneMinMaxes const& zoneMinMaxes)
{
    require(zone.varMinMaxTrees.alloc(static_cast<std::uint64_t>(numVars)));
    for (int v = 0; v < numVars; ++v) {
        MinMaxTree& tree = zone.varMinMaxTrees[static_cast<std::size_t>(v)];
        require(tree.alloc(1));
        tree.levels[0][0] = zoneMinMaxes[static_cast<std::size_t>(varOffset + v)]
                                        [static_cast<std::size_t>(zoneOffset + zoneIndex)];
        tree.populateTree(1);
    }
}

/// The locations of connectivity records, or the agreement of all tags that there are none.
char readConnectivityLocations(FileReaderInterface& reader, FileDescription const& description,
                               TagMap const& tags, HeaderPlace const& place,
                               ZoneMetadata const& zone, PartitionMetadata& result)
{
    std::uint32_t const version = description.getFileVersion();
    if (isAbsent(tags, NSZ_CONN_FILE_LOCS_TAG)) {
        bool const agreed = isMarkedAbsent(tags, NSZ_CONN_FILE_LOCS_TAG) &&
                            isMarkedAbsent(tags, CSZ_CONN_FILE_LOCS_TAG) &&
                            (!zone.isMixed() || version < FIRST_VERSION_WITH_SECTIONS ||
                             isMarkedAbsent(tags, PARTITION_NUM_CELLS_TAG)) &&
                            (version < FIRST_VERSION_WITH_FILE_TYPE ||
                             (isMarkedAbsent(tags, CSZ_NUM_REF_NSZS_TAG) &&
                              isMarkedAbsent(tags, NSZ_NUM_REF_CSZS_TAG)));
        return agreed || errorMessage("Connectivity integrity error while reading HDQ zone %lu "
                                      "header.",
                                      place.zoneNumber());
    }
    if (!readSecPtnHeaderTagArrays<std::uint64_t, true>(reader, tags, CSZ_CONN_FILE_LOCS_TAG, 0,
                                                        zone.numCszsPerSecPtn,
                                                        result.cszConnFileLocs, place, asMany) ||
        !readHeaderTagArray<std::uint64_t, true>(reader, tags, NSZ_CONN_FILE_LOCS_TAG,
                                                 zone.numNszsPerPtn[0], result.nszConnFileLocs,
                                                 place))
        return 0;
    if (version < FIRST_VERSION_WITH_FILE_TYPE)
        return 1;
    return readSecPtnHeaderTagArrays<std::uint16_t, false>(reader, tags, CSZ_NUM_REF_NSZS_TAG, 0,
                                                           zone.numCszsPerSecPtn,
                                                           result.cszNumRefNszs, place, asMany) &&
           readHeaderTagArray<std::uint16_t, false>(reader, tags, NSZ_NUM_REF_CSZS_TAG,
                                                    zone.numNszsPerPtn[0], result.nszNumRefCszs,
                                                    place);
}

struct ZoneInFile
{
    FileDescription const& description;
    int zoneOffset;
    HeaderPlace place;
    int varOffset;
    int numVars;
    VarZoneMinMaxes const& zoneMinMaxes;
    VarZoneTypes const& fieldDataTypes;

    std::uint8_t typeOf(int v) const
    {
        return fieldDataTypes[static_cast<std::size_t>(varOffset + v)]
                             [static_cast<std::size_t>(zoneOffset + place.zone)];
    }
};

char readNonPartitioned(FileReaderInterface& reader, TagMap const& tags, ZoneInFile const& in,
                        ZoneMetadata& zone)
{
    require(zone.numNodesPerPtn.alloc(1) && zone.firstNodePerPtn.alloc(1) &&
            zone.numNszsPerPtn.alloc(1));
    if (zone.isOrdered())
        require(zone.ptnMinIJK.alloc(1) && zone.ptnMaxIJK.alloc(1));
    allocPerSection(zone, zone.isOrdered() ? 1 : numSectionsOf(zone), 1);
    if (!(zone.isOrdered() ? cutOrderedZone(reader, in.description, in.place, zone)
                           : cutFiniteElementZone(in.description, in.place, zone)))
        return 0;
    growTrees(zone, in.zoneOffset, in.place.zone, in.varOffset, in.numVars, in.zoneMinMaxes);
    require(zone.ptnMetadata.alloc(1));
    require(readVarLocations(reader, in.description, tags, in.varOffset, in.numVars, zone,
                             zone.ptnMetadata[0], in.place.zone, 0, in.fieldDataTypes));
    if (!isVolumeZone(zone) || in.description.dataFileType() == DataFileType_Solution)
        return 1;
    return readConnectivityLocations(reader, in.description, tags, in.place, zone,
                                     zone.ptnMetadata[0]);
}

char readHDQNonPartitionedZoneHeaderArrays(FileReaderInterface& reader, TagMap const& tags,
                                           ZoneInFile const& in, ZoneMetadata& zone)
{
    char result = 0;
    try {
        result = readNonPartitioned(reader, tags, in, zone);
    } catch (std::bad_alloc const&) {
        errorMessage("Out-of-memory error while reading HDQ zone %lu header.",
                     in.place.zoneNumber());
    } catch (std::exception const&) {
        errorMessage("Unrecoverable error while reading HDQ zone %lu header.",
                     in.place.zoneNumber());
    }
    if (!result)
        zone.forgetZoneHeader();
    return result;
}

/// What a partition takes where its zone is described to a client. A section without counts is
/// described by zeros.
std::uint64_t describedBytesOfPartition(ZoneMetadata const& zone, std::uint64_t numVars)
{
    constexpr std::uint64_t COUNT_BYTES = sizeof(std::int64_t) + sizeof(std::uint32_t);
    constexpr std::uint64_t CORNER_BYTES = 3 * sizeof(std::uint32_t);
    return (numSectionsOf(zone) + 1) * COUNT_BYTES + (zone.isOrdered() ? 2 * CORNER_BYTES : 0) +
           numVars * sizeof(MinMax);
}

/// What a partition takes of memory, before its own header is read.
std::uint64_t memoryOfPartition(ZoneMetadata const& zone, std::uint64_t numVars)
{
    constexpr std::uint64_t SECTION_BYTES = 2 * sizeof(std::int64_t) + sizeof(std::uint32_t);
    constexpr std::uint64_t TREE_BYTES = 2 * sizeof(std::pair<ZoneMetadata::Box, std::uint32_t>);
    std::uint64_t const ofType =
        isVolumeZone(zone) ? numSectionsOf(zone) * SECTION_BYTES
                           : SECTION_BYTES + sizeof(IJKZoneInfo) + 2 * sizeof(IJK) + TREE_BYTES;
    return sizeof(PartitionMetadata) + ofType + 2 * sizeof(std::int64_t) + numVars * sizeof(MinMax);
}

/// Whether the file is long enough for its partitions: for their entries in the arrays of the
/// header, and for what they take of memory, if that is much. It is more than these entries, but a
/// partition has a header of its own and values. A description for a client takes its part besides.
char checkPartitionCount(FileReaderInterface& reader, ZoneInFile const& in,
                         ZoneMetadata const& zone)
{
    constexpr std::uint64_t LITTLE_MEMORY = std::uint64_t{48} << 20;
    constexpr std::uint64_t LITTLE_WITH_DESCRIPTION = std::uint64_t{56} << 20;
    auto const numVars = static_cast<std::uint64_t>(in.numVars);
    std::uint64_t const count = zone.numPartitions;
    std::uint64_t const bytesEach =
        reader.isAscii() ? 4 * 2 : 4 + 8 + (isVolumeZone(zone) ? 2 * 4 : 2 * 8);
    std::uint64_t const memory = count * memoryOfPartition(zone, numVars);
    std::uint64_t const described = count * describedBytesOfPartition(zone, numVars);
    bool const fits = reader.seekToFileStart() && fileCanHold(reader, count, bytesEach) &&
                      (memory <= LITTLE_MEMORY || memory <= bytesLeft(reader)) &&
                      memory + described <= LITTLE_WITH_DESCRIPTION + 2 * bytesLeft(reader);
    return fits || errorMessage("The file is too short for the %lu partitions of zone %lu.", count,
                                in.place.zoneNumber());
}

/// P counts, which files before 232 hold in 32 bits.
char readCounts(FileReaderInterface& reader, FileDescription const& description,
                std::uint32_t numPartitions, PlainDataVector<std::int64_t>& out,
                IODescription const& label)
{
    if (description.getFileVersion() >= FIRST_VERSION_WITH_64_BIT_COUNTS)
        return readValueArray<std::int64_t, false, 0>(reader, 0, numPartitions, out, label);
    PlainDataVector<std::uint32_t> narrow;
    if (!readValueArray<std::uint32_t, false, 0>(reader, 0, numPartitions, narrow, label))
        return 0;
    if (out.isNull())
        require(out.alloc(numPartitions));
    std::copy_n(narrow.data(), numPartitions, out.data());
    return 1;
}

char mismatchOfNodes(HeaderPlace const& place)
{
    return errorMessage(
        "Mismatch of number of nodes between zone and partitions in partitioned zone %lu.",
        place.zoneNumber());
}

char readVolumePartitions(FileReaderInterface& reader, TagMap const& tags, ZoneInFile const& in,
                          ZoneMetadata& zone)
{
    std::uint32_t const numPartitions = zone.numPartitions;
    std::uint32_t const numSections = numSectionsOf(zone);
    require(zone.numCellsPerSecPtn.alloc(numSections) &&
            zone.firstCellPerSecPtn.alloc(numSections) && zone.numCszsPerSecPtn.alloc(numSections));
    if (!seekToArray(reader, tags, PARTITION_NUM_CELLS_TAG, in.place))
        return 0;
    for (std::uint32_t s = 0; s < numSections; ++s) {
        if (!readCounts(reader, in.description, numPartitions, zone.numCellsPerSecPtn[s],
                        in.place.description("partitionNumCells")))
            return 0;
        require(zone.firstCellPerSecPtn[s].alloc(numPartitions) &&
                zone.numCszsPerSecPtn[s].alloc(numPartitions));
    }
    std::int64_t firstCell = 0;
    for (std::uint32_t p = 0; p < numPartitions; ++p) {
        for (std::uint32_t s = 0; s < numSections; ++s) {
            std::int64_t const cells = zone.numCellsPerSecPtn[s][p];
            zone.firstCellPerSecPtn[s][p] = firstCell;
            if (!numRunsOf(cells, zone.numCszsPerSecPtn[s][p]) ||
                __builtin_add_overflow(firstCell, cells, &firstCell))
                return refuseItemCount(in.place);
        }
    }

    if (!seekToArray(reader, tags, PARTITION_NUM_NODES_TAG, in.place) ||
        !readCounts(reader, in.description, numPartitions, zone.numNodesPerPtn,
                    in.place.description("partitionNumNodes")))
        return 0;
    std::int64_t firstNode = 0;
    for (std::uint32_t p = 0; p < numPartitions; ++p) {
        zone.firstNodePerPtn[p] = firstNode;
        if (!numRunsOf(zone.numNodesPerPtn[p], zone.numNszsPerPtn[p]) ||
            __builtin_add_overflow(firstNode, zone.numNodesPerPtn[p], &firstNode))
            return refuseItemCount(in.place);
    }
    return firstNode == zone.ijk.i || mismatchOfNodes(in.place);
}

IJK splitNodeNumber(std::uint64_t node, IJK const& zoneSize)
{
    auto const n = static_cast<std::int64_t>(node);
    std::int64_t const rest = n % zoneSize.ij;
    std::int64_t const i = rest % zoneSize.i;
    std::int64_t const j = rest / zoneSize.i;
    return {i, j, n / zoneSize.ij, i * j};
}

/// Cuts a box of a zone. False if it is none that its zone could hold: its end lies before its
/// start, it leaves the zone, or its subzones can't be named. Only an ordered zone has an end in K;
/// of another one K is the face count.
bool cutBox(FileDescription const& description, std::uint32_t partition, ZoneMetadata& zone)
{
    IJK const& low = zone.ptnMinIJK[partition];
    IJK const& high = zone.ptnMaxIJK[partition];
    if (low.i < 0 || low.j < 0 || low.k < 0 || high.i < low.i || high.j < low.j || high.k < low.k ||
        high.k == std::numeric_limits<std::int64_t>::max() ||
        (zone.isOrdered() && high.k >= zone.ijk.k))
        return false;
    IJK nodes{high.i - low.i + 1, high.j - low.j + 1, high.k - low.k + 1, 0};
    nodes.ij = nodes.i * nodes.j;
    if (productOf(nodes.i, nodes.j, nodes.k) < 0)
        return false;
    IJK cells{nodes.i - (high.i + 1 == zone.ijk.i), nodes.j - (high.j + 1 == zone.ijk.j),
              nodes.k - (high.k + 1 == zone.ijk.k), 0};
    cells.ij = cells.i * cells.j;

    IJKZoneInfo& info = zone.ijkPtnInfo[partition];
    info.cells = IJKSubzoneInfo(cells, description.getMaxIJKSubzoneSize(), partition, true);
    info.nodes = IJKSubzoneInfo(nodes, description.getMaxIJKSubzoneSize(), partition, true);
    if (!canBeNamed(info.cells) || !canBeNamed(info.nodes))
        return false;
    zone.numCellsPerSecPtn[0][partition] = cells.ij * cells.k;
    zone.numNodesPerPtn[partition] = nodes.ij * nodes.k;
    zone.numCszsPerSecPtn[0][partition] = info.cells.totalSubzones;
    zone.numNszsPerPtn[partition] = info.nodes.totalSubzones;
    zone.insertPartitionBox(partition);
    return true;
}

char readOrderedPartitions(FileReaderInterface& reader, TagMap const& tags, ZoneInFile const& in,
                           ZoneMetadata& zone)
{
    std::uint32_t const numPartitions = zone.numPartitions;
    // Node numbers are split by I and by IJ, and the sums below stay far from their limit.
    std::int64_t const numNodes =
        productOf(zone.ijk.i, zone.ijk.j, zone.isOrdered() ? zone.ijk.k : 1);
    if (numNodes <= 0 || (zone.isOrdered() && numNodes > MOST_NODES))
        return errorMessage("Zone %lu is partitioned and has a size of %ld x %ld x %ld.",
                            in.place.zoneNumber(), zone.ijk.i, zone.ijk.j, zone.ijk.k);
    PlainDataVector<std::uint64_t> minNodes;
    PlainDataVector<std::uint64_t> maxNodes;
    if (!readHeaderTagArray<std::uint64_t, false>(reader, tags, PARTITION_MIN_NODE_NUMBERS_TAG,
                                                  numPartitions, minNodes, in.place) ||
        !readHeaderTagArray<std::uint64_t, false>(reader, tags, PARTITION_MAX_NODE_NUMBERS_TAG,
                                                  numPartitions, maxNodes, in.place))
        return 0;
    allocPerSection(zone, 1, numPartitions);
    require(zone.numNodesPerPtn.alloc(numPartitions) && zone.ptnMinIJK.alloc(numPartitions) &&
            zone.ptnMaxIJK.alloc(numPartitions) && zone.ijkPtnInfo.alloc(numPartitions));
    std::int64_t firstCell = 0;
    std::int64_t firstNode = 0;
    for (std::uint32_t p = 0; p < numPartitions; ++p) {
        zone.ptnMinIJK[p] = splitNodeNumber(minNodes[p], zone.ijk);
        zone.ptnMaxIJK[p] = splitNodeNumber(maxNodes[p], zone.ijk);
        if (!cutBox(in.description, p, zone))
            return errorMessage("Partition %u of zone %lu is no box inside its zone.", p + 1,
                                in.place.zoneNumber());
        zone.firstCellPerSecPtn[0][p] = firstCell;
        zone.firstNodePerPtn[p] = firstNode;
        if (__builtin_add_overflow(firstCell, zone.numCellsPerSecPtn[0][p], &firstCell) ||
            __builtin_add_overflow(firstNode, zone.numNodesPerPtn[p], &firstNode))
            return refuseItemCount(in.place);
    }
    std::int64_t const wantedCells =
        zone.isOrdered()
            ? numCellsAlong(zone.ijk.i) * numCellsAlong(zone.ijk.j) * numCellsAlong(zone.ijk.k)
            : zone.ijk.j;
    std::int64_t const wantedNodes = zone.isOrdered() ? numNodes : zone.ijk.i;
    // Deliberate: the wording of the first. Test: ZoneHeader.CellMismatchOfPartitionsSaysMismatched
    if (firstCell != wantedCells)
        return errorMessage("Mismatched of number of cells between zone and partitions in "
                            "partitioned zone %lu.",
                            in.place.zoneNumber());
    return firstNode == wantedNodes ||
           errorMessage("Mismatched of number of nodes between zone and partitions in partitioned "
                        "zone %lu.",
                        in.place.zoneNumber());
}

char locatePartitionMinMaxes(FileReaderInterface& reader, TagMap const& tags, ZoneInFile const& in,
                             ZoneMetadata& zone)
{
    if (!checkArrayHeaderTag(VAR_PARTITION_MIN_MAX_TAG, tags,
                             zoneTagNames().at(VAR_PARTITION_MIN_MAX_TAG), in.place))
        return 0;
    auto const numVars = static_cast<std::uint64_t>(in.numVars);
    require(zone.varPtnMinMaxFileLocs.allocFilled(numVars, 0xFF) &&
            zone.varMinMaxTrees.alloc(numVars));
    for (int v = 0; v < in.numVars; ++v) {
        auto const var = static_cast<std::size_t>(v);
        // Deliberate: the step is the size of this variable's array and not of the one in between.
        // Test: ZoneHeader.PartitionMinMaxesStepByTheVariablesOwnType
        zone.varPtnMinMaxFileLocs[var] =
            v == 0 ? tags.at(VAR_PARTITION_MIN_MAX_TAG)
                   : zone.varPtnMinMaxFileLocs[var - 1] +
                         minMaxArraySizeInFile(in.typeOf(v), zone.numPartitions, reader.isAscii());
    }
    return 1;
}

char readPartitioned(FileReaderInterface& reader, TagMap const& tags, ZoneInFile const& in,
                     ZoneMetadata& zone)
{
    std::uint32_t const numPartitions = zone.numPartitions;
    if (!checkPartitionCount(reader, in, zone))
        return 0;
    require(zone.ptnMetadata.alloc(numPartitions) && zone.numNszsPerPtn.alloc(numPartitions) &&
            zone.firstNodePerPtn.alloc(numPartitions));
    return readHeaderTagArray<std::uint32_t, false>(reader, tags, PARTITION_FILE_NUMS_TAG,
                                                    numPartitions, zone.ptnFileNums, in.place) &&
           readHeaderTagArray<std::uint64_t, true>(reader, tags, PARTITION_FILE_LOCS_TAG,
                                                   numPartitions, zone.ptnFileLocs, in.place) &&
           (isVolumeZone(zone) ? readVolumePartitions(reader, tags, in, zone)
                               : readOrderedPartitions(reader, tags, in, zone)) &&
           locatePartitionMinMaxes(reader, tags, in, zone);
}

char readHDQPartitionedZoneHeaderArrays(FileReaderInterface& reader, TagMap const& tags,
                                        ZoneInFile const& in, ZoneMetadata& zone)
{
    char result = 0;
    try {
        result = readPartitioned(reader, tags, in, zone);
    } catch (std::bad_alloc const&) {
        errorMessage("Out-of-memory error while reading partitioned zone %lu header.",
                     in.place.zoneNumber());
    } catch (std::exception const&) {
        errorMessage("Unrecoverable error while reading partitioned zone %lu header.",
                     in.place.zoneNumber());
    }
    if (!result)
        zone.forgetZoneHeader();
    return result;
}

/// A plain zone has no partitions, whatever number it claims, but is described to a client with as
/// many.
char checkClaimedPartitions(FileReaderInterface& reader, ZoneInFile const& in,
                            ZoneMetadata const& zone)
{
    constexpr std::uint64_t LITTLE_MEMORY = std::uint64_t{4} << 20;
    std::uint64_t const memory = zone.numPartitions * describedBytesOfPartition(zone, 0);
    return memory <= LITTLE_MEMORY || (reader.seekToFileStart() && memory <= bytesLeft(reader)) ||
           errorMessage("The file is too short for the %u partitions of zone %lu.",
                        zone.numPartitions, in.place.zoneNumber());
}

char readPlain(FileReaderInterface& reader, TagMap const& tags, ZoneInFile const& in,
               ZoneMetadata& zone)
{
    char result = 0;
    try {
        result = readHeaderTagArray<std::uint64_t, true>(reader, tags, VAR_FILE_LOCS_TAG,
                                                         static_cast<std::uint64_t>(in.numVars),
                                                         zone.classicVarFileLocs, in.place) &&
                 checkClaimedPartitions(reader, in, zone);
    } catch (std::bad_alloc const&) {
        errorMessage("Out-of-memory error while reading zone %lu header.", in.place.zoneNumber());
    } catch (std::exception const&) {
        errorMessage("Unrecoverable error while reading zone %lu header.", in.place.zoneNumber());
    }
    if (!result)
        zone.forgetZoneHeader();
    return result;
}

std::int64_t locationOrNone(TagMap const& tags, ZoneHeaderTag tag)
{
    std::uint64_t const value = valueOrZero(tags, tag);
    return value == 0 ? -1 : static_cast<std::int64_t>(value);
}

}

char readZoneHeaderTags(FileReaderInterface& reader, int zone, TagMap& tags)
{
    if (reader.isAscii() &&
        (!readAndVerifyValue<std::uint32_t, false>(reader, ZONE_MARKER, {"zoneMarker*"}) ||
         !readAndVerifyValue<std::uint32_t, false>(reader, static_cast<std::uint32_t>(zone) + 1,
                                                   {"zoneNum*"})))
        return 0;
    return readTagList(reader, zoneTagNames(), tags);
}

namespace {

/// The tags, and what stands in them themselves.
char retrieveScalars(FileReaderInterface& reader, int zone, TagMap& tags, ZoneMetadata& result)
{
    try {
        std::uint64_t const start = reader.fileLoc();
        bool const haveTags = readZoneHeaderTags(reader, zone, tags);
        result.tagListBytes = bytesSince(reader, start);
        if (!haveTags)
            return 0;
        result.nodeMapFileLoc = locationOrNone(tags, NODE_MAP_FILE_LOC_TAG);
        result.userFaceNbrFileLoc = locationOrNone(tags, USER_FACE_NBR_FILE_LOC_TAG);
        std::uint64_t const numPartitions = valueOrZero(tags, NUM_PARTITIONS_TAG);
        if (numPartitions > MinMaxTree::MAX_ENTRIES)
            return errorMessage("Zone %d claims %lu partitions, more than there can be.", zone + 1,
                                numPartitions);
        result.numPartitions = numPartitions == 0 ? 1 : static_cast<std::uint32_t>(numPartitions);
        return 1;
    } catch (std::bad_alloc const&) {
        return errorMessage("Out-of-memory error while retrieving file tags.");
    } catch (std::exception const&) {
        return errorMessage("Unrecoverable error while retrieving file tags.");
    }
}

}

char readZoneHeaders(FileReaderInterface& reader, FileDescription const& description,
                     int zoneOffset, int zone, int varOffset, int numVars,
                     VarZoneMinMaxes const& zoneMinMaxes, VarZoneTypes const& fieldDataTypes,
                     ZoneMetadata& result)
{
    // A plain zone and one of no sections are read anew at each request.
    result.forgetZoneHeader();
    TagMap tags;
    if (!retrieveScalars(reader, zone, tags, result))
        return 0;

    ZoneInFile const in{description, zoneOffset,   {zone},        varOffset,
                        numVars,     zoneMinMaxes, fieldDataTypes};
    if (!result.isHdqZone)
        return readPlain(reader, tags, in, result);
    return result.numPartitions == 1
               ? readHDQNonPartitionedZoneHeaderArrays(reader, tags, in, result)
               : readHDQPartitionedZoneHeaderArrays(reader, tags, in, result);
}

}
