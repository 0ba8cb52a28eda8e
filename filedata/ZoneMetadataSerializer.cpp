#include "filedata/ZoneMetadataSerializer.h"

#include "filedata/ZoneMetadata.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

namespace varnox::hdqlib {

using hdqio::IJK;
using hdqio::MinMaxTree;
using hdqio::PlainDataVector;
using hdqio::ZoneMetadata;
using socketutil::SocketInterface;
using socketutil::WriteCache;

namespace {

constexpr std::int32_t MAX_VARS_WITHOUT_PARTITIONS = 1'000'000;

void require(bool allocated)
{
    if (!allocated)
        throw std::bad_alloc();
}

/// An array as a vector; one that doesn't exist goes out as zeros.
template <typename T>
std::vector<T> elements(PlainDataVector<T> const& array, std::uint32_t count)
{
    return array.isNull() ? std::vector<T>(count)
                          : std::vector<T>(array.data(), array.data() + count);
}

template <typename T>
std::vector<T> elementsOfSection(hdqio::LightweightVector<PlainDataVector<T>> const& bySection,
                                 std::uint32_t section, std::uint32_t count)
{
    return section < bySection.size() ? elements(bySection[section], count) : std::vector<T>(count);
}

void addCorner(WriteCache& cache, PlainDataVector<IJK> const& corners, std::uint32_t partition)
{
    IJK const corner = corners.isNull() ? IJK{} : corners[partition];
    cache.addUInt32(static_cast<std::uint32_t>(corner.i));
    cache.addUInt32(static_cast<std::uint32_t>(corner.j));
    cache.addUInt32(static_cast<std::uint32_t>(corner.k));
}

/// Received numbers may have any product.
std::int64_t productOf(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

IJK receiveCorner(SocketInterface& socket)
{
    IJK corner{};
    corner.i = socket.receiveUInt32();
    corner.j = socket.receiveUInt32();
    corner.k = socket.receiveUInt32();
    corner.ij = productOf(corner.i, corner.j);
    return corner;
}

/// A tree of boxes holds only such that have an inside.
void checkBox(IJK const& low, IJK const& high)
{
    if (high.i < low.i || high.j < low.j || high.k < low.k)
        throw IOException("Received zone metadata with a partition that ends before it begins.");
}

/// A received vector must have what the record says; of a longer one the rest is ignored.
template <typename Vector>
Vector checked(Vector received, std::uint32_t count)
{
    if (received.size() < count)
        throw IOException("Received zone metadata with a vector of " +
                          std::to_string(received.size()) + " elements where " +
                          std::to_string(count) + " belong.");
    return received;
}

template <typename T, typename Vector>
void store(PlainDataVector<T>& target, Vector const& received, std::uint32_t count)
{
    require(target.alloc(count));
    std::copy_n(received.begin(), count, target.data());
}

void receiveSections(SocketInterface& socket, ZoneMetadata& zone)
{
    std::uint32_t const count = socket.receiveUInt32();
    if (count == 0) {
        zone.numSections = 0;
        return;
    }
    std::vector<long> const cells = checked(socket.receiveInt64Vector(), count);
    std::vector<unsigned char> const shapes = checked(socket.receiveUInt8Vector(), count);
    std::vector<unsigned char> const orders = checked(socket.receiveUInt8Vector(), count);
    std::vector<unsigned char> const bases = checked(socket.receiveUInt8Vector(), count);
    zone.setSectionMetrics(
        count, {nullptr, cells.data(), count, count}, {nullptr, shapes.data(), count, count},
        {nullptr, orders.data(), count, count}, {nullptr, bases.data(), count, count});
}

void receivePartitions(SocketInterface& socket, ZoneMetadata& zone)
{
    std::uint32_t const numPartitions = zone.numPartitions;
    std::uint32_t const numSections = zone.numSections;
    require(zone.numCellsPerSecPtn.alloc(numSections) && zone.numCszsPerSecPtn.alloc(numSections));
    for (std::uint32_t s = 0; s < numSections; ++s)
        store(zone.numCellsPerSecPtn[s], checked(socket.receiveInt64Vector(), numPartitions),
              numPartitions);
    store(zone.numNodesPerPtn, checked(socket.receiveInt64Vector(), numPartitions), numPartitions);
    if (zone.isOrdered()) {
        require(zone.ptnMinIJK.alloc(numPartitions) && zone.ptnMaxIJK.alloc(numPartitions));
        for (std::uint32_t p = 0; p < numPartitions; ++p) {
            zone.ptnMinIJK[p] = receiveCorner(socket);
            zone.ptnMaxIJK[p] = receiveCorner(socket);
            checkBox(zone.ptnMinIJK[p], zone.ptnMaxIJK[p]);
            zone.insertPartitionBox(p);
        }
    }
    for (std::uint32_t s = 0; s < numSections; ++s)
        store(zone.numCszsPerSecPtn[s], checked(socket.receiveUInt32Vector(), numPartitions),
              numPartitions);
    store(zone.numNszsPerPtn, checked(socket.receiveUInt32Vector(), numPartitions), numPartitions);
}

void receiveTrees(SocketInterface& socket, ZoneMetadata& zone)
{
    std::int32_t const numVars = socket.receiveInt32();
    if (numVars == 0)
        return;
    if (numVars < 0)
        throw IOException("Received zone metadata with a negative number of variables.");
    std::uint32_t const numPartitions = zone.numPartitions;
    if (numPartitions > MinMaxTree::MAX_ENTRIES)
        throw std::bad_alloc();
    // None follow then that would show the number to be true.
    if (numPartitions == 0 && numVars > MAX_VARS_WITHOUT_PARTITIONS)
        throw IOException("Received zone metadata of " + std::to_string(numVars) +
                          " variables with ranges and no partition.");
    // Memory is taken as the pairs arrive, and the table when all have.
    std::vector<MinMaxTree> trees;
    for (std::int32_t v = 0; v < numVars; ++v) {
        trees.emplace_back();
        if (numPartitions == 0)
            continue;
        require(trees.back().alloc(numPartitions));
        for (std::uint32_t p = 0; p < numPartitions; ++p) {
            trees.back().levels[0][p].min = socket.receiveDouble();
            trees.back().levels[0][p].max = socket.receiveDouble();
        }
        trees.back().populateTree(numPartitions);
    }
    require(zone.varMinMaxTrees.alloc(trees.size()));
    std::move(trees.begin(), trees.end(), zone.varMinMaxTrees.begin());
}

void receiveZone(SocketInterface& socket, ZoneMetadata& zone)
{
    auto const type = static_cast<ZoneType_e>(socket.receiveInt32());
    zone.isHdqZone = socket.receiveBool();
    zone.ijk.i = socket.receiveInt64();
    zone.ijk.j = socket.receiveInt64();
    zone.ijk.k = socket.receiveInt64();
    zone.ijk.ij = productOf(zone.ijk.i, zone.ijk.j);
    // The one section of types 1 to 5 takes its cell count from J.
    zone.setZoneType(type);
    if (!zone.isOrdered())
        zone.ijk.k = static_cast<std::int32_t>(zone.ijk.k);
    zone.numPartitions = socket.receiveUInt32();
    if (zone.isMixed())
        receiveSections(socket, zone);
    receivePartitions(socket, zone);
    receiveTrees(socket, zone);
}

}

// Wire form of a zone's metadata, with P partitions and S sections (1 unless the zone is mixed):
//   int32            zoneType
//   bool             isHdqZone
//   int64 x 3        I, J, K; nodes, cells and faces of a finite-element zone
//   uint32           numPartitions   P
//   mixed only:      uint32 numSections S, and if S is not 0 int64 vector numElemsPerSection, uint8
//   vectors
//                    cellShapePerSection, gridOrderPerSection, basisFuncPerSection
//   int64 vector     numCellsPerSecPtn[P], once per section
//   int64 vector     numNodesPerPtn[P]
//   ordered only:    uint32 x 6 per partition: ptnMinIJK I, J, K, ptnMaxIJK I, J, K
//   uint32 vector    numCszsPerSecPtn[P], once per section
//   uint32 vector    numNszsPerPtn[P]
//   int32            variables with a min/max tree; then for each, and each partition, double x 2

void ZoneMetadataSerializer::addToCache(WriteCache& cache) const
{
    ZoneMetadata const& zone = *m_metadata;
    std::uint32_t const numPartitions = zone.numPartitions;
    std::uint32_t const numSections = zone.isMixed() ? zone.numSections : 1;
    cache.addInt32(zone.zoneType);
    cache.addBool(zone.isHdqZone != 0);
    cache.addInt64(zone.ijk.i);
    cache.addInt64(zone.ijk.j);
    cache.addInt64(zone.ijk.k);
    cache.addUInt32(numPartitions);
    if (zone.isMixed()) {
        cache.addUInt32(numSections);
        if (numSections != 0) {
            cache.addInt64Vector(elements(zone.numElemsPerSection, numSections));
            cache.addUInt8Vector(elements(zone.cellShapePerSection, numSections));
            cache.addUInt8Vector(elements(zone.gridOrderPerSection, numSections));
            cache.addUInt8Vector(elements(zone.basisFuncPerSection, numSections));
        }
    }
    for (std::uint32_t s = 0; s < numSections; ++s)
        cache.addInt64Vector(elementsOfSection(zone.numCellsPerSecPtn, s, numPartitions));
    cache.addInt64Vector(elements(zone.numNodesPerPtn, numPartitions));
    if (zone.isOrdered()) {
        for (std::uint32_t p = 0; p < numPartitions; ++p) {
            addCorner(cache, zone.ptnMinIJK, p);
            addCorner(cache, zone.ptnMaxIJK, p);
        }
    }
    for (std::uint32_t s = 0; s < numSections; ++s)
        cache.addUInt32Vector(elementsOfSection(zone.numCszsPerSecPtn, s, numPartitions));
    cache.addUInt32Vector(elements(zone.numNszsPerPtn, numPartitions));
    cache.addInt32(static_cast<std::int32_t>(zone.varMinMaxTrees.size()));
    for (MinMaxTree const& tree : zone.varMinMaxTrees) {
        for (std::uint32_t p = 0; p < numPartitions; ++p) {
            cache.addDouble(tree.levels[0][p].min);
            cache.addDouble(tree.levels[0][p].max);
        }
    }
}

ZoneMetadataSerializer ZoneMetadataSerializer::deserialize(SocketInterface& socket)
{
    auto zone = std::make_unique<ZoneMetadata>();
    try {
        receiveZone(socket, *zone);
    } catch (socketutil::SocketException const& error) {
        throw IOException(error.what());
    }
    return ZoneMetadataSerializer(*zone.release());
}

}
