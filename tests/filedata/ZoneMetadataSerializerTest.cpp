#include "filedata/ZoneMetadataSerializer.h"

#include "filedata/FileSetMetadata.h"
#include "tests/support/Messages.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/IOException.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace varnox::hdqlib {
namespace {

using hdqio::FileSetMetadata;
using hdqio::ZoneMetadata;
using socketutil::WriteCache;
using tests::cached;
using tests::hex;
using tests::RecordingSocket;

std::string bytesOf(ZoneMetadata& zone)
{
    return cached([&](WriteCache& cache) { ZoneMetadataSerializer(zone).addToCache(cache); });
}

std::unique_ptr<ZoneMetadata> rebuilt(std::string const& bytes)
{
    RecordingSocket socket(bytes);
    std::unique_ptr<ZoneMetadata> zone(ZoneMetadataSerializer::deserialize(socket).metadata());
    EXPECT_TRUE(socket.allWasRead());
    return zone;
}

TEST(ZoneMetadataSerializer, BrickZoneIsItsGoldenBytes)
{
    FileSetMetadata set({std::string(VNX_SOURCE_DIR) + "/examples/data/tjunction_t00.hdqfs"});
    std::string const bytes = bytesOf(set.zoneMetadata(0, 0));
    std::string const start = hex("04 00 00 00"             // a brick zone
                                  "01"                      // in subzones
                                  "f0 15 00 00 00 00 00 00" // 5616 nodes
                                  "23 0f 00 00 00 00 00 00" // 3875 cells
                                  "06 00 00 00 00 00 00 00" // faces per cell
                                  "01 00 00 00"             // one partition
                                  "01 00 00 00 00 00 00 00" // its cells
                                  "23 0f 00 00 00 00 00 00"
                                  "01 00 00 00 00 00 00 00" // its nodes
                                  "f0 15 00 00 00 00 00 00"
                                  "01 00 00 00 00 00 00 00" // its cell subzones
                                  "10 00 00 00"
                                  "01 00 00 00 00 00 00 00" // its node subzones
                                  "16 00 00 00"
                                  "07 00 00 00"); // seven variables with ranges
    EXPECT_EQ(bytes.substr(0, start.size()), start);
    EXPECT_EQ(bytes.size(), start.size() + 7 * 16);
}

TEST(ZoneMetadataSerializer, OrderedZoneComesBackWithItsBoxesAndTrees)
{
    FileSetMetadata set({std::string(VNX_SOURCE_DIR) + "/examples/data/tankbox_partitions.hdqfs"});
    ZoneMetadata& sent = set.zoneMetadata(0, 0);
    auto const received = rebuilt(bytesOf(sent));
    EXPECT_EQ(received->zoneType, ZoneType_Ordered);
    EXPECT_EQ(received->numPartitions, 8U);
    EXPECT_EQ(received->ijk.ij, 40 * 33);
    EXPECT_EQ(received->ptnRTree->size(), 8U);
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_EQ(received->ptnMaxIJK[p].i, sent.ptnMaxIJK[p].i);
        EXPECT_EQ(received->ptnMaxIJK[p].ij, received->ptnMaxIJK[p].i * received->ptnMaxIJK[p].j);
        EXPECT_EQ(received->numCszsPerSecPtn[0][p], sent.numCszsPerSecPtn[0][p]);
    }
    ASSERT_EQ(received->varMinMaxTrees.size(), 9U);
    EXPECT_EQ(received->varMinMaxTrees[6].levels[4][0].max,
              sent.varMinMaxTrees[6].levels[4][0].max);
    EXPECT_EQ(bytesOf(*received), bytesOf(sent));
    EXPECT_EQ(received->zone, -1);
}

TEST(ZoneMetadataSerializer, OrderedZoneWithoutPartitionsHasEmptyVectorsAndNoBoxes)
{
    ZoneMetadata zone;
    zone.ijk = {3, 4, 5, 12};
    zone.setZoneType(ZoneType_Ordered);
    EXPECT_EQ(bytesOf(zone).size(), 4U + 1 + 24 + 4 + 4 * 8 + 4);
    EXPECT_EQ(rebuilt(bytesOf(zone))->numPartitions, 0U);
}

TEST(ZoneMetadataSerializer, ZoneWhoseHeaderHasNoCountsIsDescribedWithZeros)
{
    ZoneMetadata zone;
    zone.ijk = {3, 4, 5, 12};
    zone.setZoneType(ZoneType_Ordered);
    zone.numPartitions = 2;
    EXPECT_EQ(
        bytesOf(zone),
        hex("00 00 00 00 00" // an ordered zone, not in subzones
            "03 00 00 00 00 00 00 00 04 00 00 00 00 00 00 00 05 00 00 00 00 00 00 00"
            "02 00 00 00"                                                             // partitions
            "02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00" // cells
            "02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00" // nodes
            "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00" // corners
            "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
            "02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00" // cell subzones
            "02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00" // node subzones
            "00 00 00 00"));                                  // no ranges
}

TEST(ZoneMetadataSerializer, MixedZoneWithoutSectionsHasNoPerSectionVectors)
{
    ZoneMetadata zone;
    zone.ijk = {8, 1, 0, 8};
    zone.setZoneType(ZoneType_FEMixed);
    EXPECT_EQ(bytesOf(zone).size(), 4U + 1 + 24 + 4 + 4 + 2 * 8 + 4);
    EXPECT_EQ(rebuilt(bytesOf(zone))->numSections, 0U);
}

TEST(ZoneMetadataSerializer, MixedZoneComesBackWithItsSections)
{
    ZoneMetadata zone;
    zone.ijk = {8, 3, 0, 24};
    zone.setZoneType(ZoneType_FEMixed);
    long const cells[] = {1, 2};
    unsigned char const shapes[] = {4, 3};
    unsigned char const orders[] = {1, 2};
    unsigned char const bases[] = {0, 0};
    zone.setSectionMetrics(2, {nullptr, cells, 2, 2}, {nullptr, shapes, 2, 2},
                           {nullptr, orders, 2, 2}, {nullptr, bases, 2, 2});
    auto const received = rebuilt(bytesOf(zone));
    ASSERT_EQ(received->numSections, 2U);
    EXPECT_EQ(received->numCornersPerSection[0], 8U);
    EXPECT_EQ(received->numNodesPerCellPerSection[1], 10U);
}

TEST(ZoneMetadataSerializer, WideKStaysWholeInOrderedZonesAlone)
{
    for (ZoneType_e const type : {ZoneType_Ordered, ZoneType_FEPolyhedron}) {
        ZoneMetadata zone;
        zone.ijk = {1, 1, (1L << 32) + 5, 1};
        zone.setZoneType(type);
        EXPECT_EQ(rebuilt(bytesOf(zone))->ijk.k, type == ZoneType_Ordered ? (1L << 32) + 5 : 5);
    }
}

TEST(ZoneMetadataSerializer, PolyhedralZoneHasOneSectionWithoutTables)
{
    ZoneMetadata zone;
    zone.ijk = {1, 1, 1, 1};
    zone.setZoneType(ZoneType_FEPolyhedron);
    auto const received = rebuilt(bytesOf(zone));
    EXPECT_EQ(received->numSections, 1U);
    EXPECT_TRUE(received->numElemsPerSection.isNull());
    EXPECT_EQ(received->numCellsPerSecPtn.size(), 1U);
}

std::string const mixedGolden = hex("08 00 00 00"             // a mixed zone
                                    "00"                      // not in subzones
                                    "08 00 00 00 00 00 00 00" // nodes, cells, faces
                                    "03 00 00 00 00 00 00 00"
                                    "00 00 00 00 00 00 00 00"
                                    "01 00 00 00"             // one partition
                                    "02 00 00 00"             // two sections:
                                    "02 00 00 00 00 00 00 00" // elements
                                    "01 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00"
                                    "02 00 00 00 00 00 00 00 04 03"                   // shapes
                                    "02 00 00 00 00 00 00 00 01 02"                   // orders
                                    "02 00 00 00 00 00 00 00 00 01"                   // bases
                                    "01 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00" // cells
                                    "01 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00"
                                    "01 00 00 00 00 00 00 00 08 00 00 00 00 00 00 00" // nodes
                                    "01 00 00 00 00 00 00 00 05 00 00 00" // cell subzones
                                    "01 00 00 00 00 00 00 00 06 00 00 00"
                                    "01 00 00 00 00 00 00 00 07 00 00 00" // node subzones
                                    "00 00 00 00");                       // no ranges

TEST(ZoneMetadataSerializer, MixedZoneIsItsGoldenBytes)
{
    auto const received = rebuilt(mixedGolden);
    ASSERT_EQ(received->numSections, 2U);
    EXPECT_EQ(received->numElemsPerSection[1], 2);
    EXPECT_EQ(received->basisFuncPerSection[1], 1);
    EXPECT_EQ(received->numCellsPerSecPtn[1][0], 2);
    EXPECT_EQ(received->numCszsPerSecPtn[1][0], 6U);
    EXPECT_EQ(received->numNszsPerPtn[0], 7U);
    EXPECT_EQ(received->varMinMaxTrees.size(), 0U);
    EXPECT_EQ(bytesOf(*received), mixedGolden);
}

// Two partitions along I, with the ranges of one variable.
std::string const orderedGolden =
    hex("00 00 00 00 01" // an ordered zone in subzones
        "05 00 00 00 00 00 00 00 03 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00"
        "02 00 00 00"                                                             // partitions
        "02 00 00 00 00 00 00 00 04 00 00 00 00 00 00 00 04 00 00 00 00 00 00 00" // cells
        "02 00 00 00 00 00 00 00 12 00 00 00 00 00 00 00 12 00 00 00 00 00 00 00" // nodes
        "00 00 00 00 00 00 00 00 00 00 00 00 02 00 00 00 02 00 00 00 01 00 00 00" // corners,
        "02 00 00 00 00 00 00 00 00 00 00 00 04 00 00 00 02 00 00 00 01 00 00 00" // interleaved
        "02 00 00 00 00 00 00 00 01 00 00 00 02 00 00 00"                         // cell subzones
        "02 00 00 00 00 00 00 00 03 00 00 00 04 00 00 00"                         // node subzones
        "01 00 00 00"                                       // variables with ranges
        "00 00 00 00 00 00 f0 bf 00 00 00 00 00 00 f0 3f"   // -1 to 1
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 40"); // 0 to 2

TEST(ZoneMetadataSerializer, OrderedZoneIsItsGoldenBytes)
{
    auto const received = rebuilt(orderedGolden);
    EXPECT_EQ(received->ijk.ij, 15);
    EXPECT_EQ(received->ptnMinIJK[1].i, 2);
    EXPECT_EQ(received->ptnMaxIJK[1].i, 4);
    EXPECT_EQ(received->ptnMaxIJK[1].ij, 8);
    EXPECT_EQ(received->ptnRTree->size(), 2U);
    ASSERT_EQ(received->varMinMaxTrees.size(), 1U);
    EXPECT_EQ(received->varMinMaxTrees[0].levels[0][1].max, 2);
    EXPECT_EQ(received->varMinMaxTrees[0].levels[4][0].min, -1);
    EXPECT_EQ(received->varMinMaxTrees[0].levels[4][0].max, 2);
    EXPECT_EQ(bytesOf(*received), orderedGolden);
}

TEST(ZoneMetadataSerializer, CornersMayHaveAnyProduct)
{
    auto const received = rebuilt(cached([](WriteCache& cache) {
        cache.addInt32(0);
        cache.addBool(true);
        for (int axis = 0; axis < 3; ++axis)
            cache.addInt64(std::numeric_limits<std::int64_t>::max());
        cache.addUInt32(1);
        cache.addInt64Vector({1});
        cache.addInt64Vector({1});
        for (int index = 0; index < 6; ++index)
            cache.addUInt32(0xFFFFFFFF);
        cache.addUInt32Vector({1});
        cache.addUInt32Vector({1});
        cache.addInt32(0);
    }));
    EXPECT_EQ(received->ijk.ij, 1); // its low 64 bits
    EXPECT_EQ(received->ptnMaxIJK[0].ij, -0x1FFFFFFFF);
}

/// The golden zone with another number at an axis of its first corner, which is followed by the
/// corner at the other end.
std::string orderedZoneWith(std::size_t axis, std::uint32_t low, std::uint32_t high)
{
    std::string result = orderedGolden;
    std::size_t const corner = result.find(hex("00 00 00 00 00 00 00 00 00 00 00 00 02 00 00 00"));
    std::memcpy(result.data() + corner + 4 * axis, &low, sizeof low);
    std::memcpy(result.data() + corner + 12 + 4 * axis, &high, sizeof high);
    return result;
}

TEST(ZoneMetadataSerializer, PartitionThatEndsBeforeItBeginsIsRefused)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(rebuilt(orderedZoneWith(axis, 7, 7))->ptnRTree->size(), 2U);
        RecordingSocket socket(orderedZoneWith(axis, 8, 7));
        EXPECT_EQ(
            tests::messageOf<IOException>([&] { ZoneMetadataSerializer::deserialize(socket); }),
            "Received zone metadata with a partition that ends before it begins.");
    }
}

/// A polyhedral zone of one partition with vectors of the stated lengths.
std::string polyhedralBytes(std::uint64_t cellCount, std::uint64_t nodeCount)
{
    return cached([&](WriteCache& cache) {
        cache.addInt32(7);
        cache.addBool(true);
        cache.addInt64(1);
        cache.addInt64(2);
        cache.addInt64(3);
        cache.addUInt32(1);
        cache.addInt64Vector(std::vector<long>(cellCount, 4));
        cache.addInt64Vector(std::vector<long>(nodeCount, 5));
        cache.addUInt32Vector({6});
        cache.addUInt32Vector({7});
        cache.addInt32(0);
    });
}

TEST(ZoneMetadataSerializer, WhatAVectorHoldsBeyondThePartitionsIsIgnored)
{
    auto const received = rebuilt(polyhedralBytes(3, 2));
    EXPECT_EQ(received->numCellsPerSecPtn[0][0], 4);
    EXPECT_EQ(received->numNodesPerPtn[0], 5);
    EXPECT_EQ(bytesOf(*received), polyhedralBytes(1, 1));
}

TEST(ZoneMetadataSerializer, VectorShorterThanThePartitionsIsRefused)
{
    RecordingSocket socket(polyhedralBytes(1, 0));
    EXPECT_EQ(tests::messageOf<IOException>([&] { ZoneMetadataSerializer::deserialize(socket); }),
              "Received zone metadata with a vector of 0 elements where 1 belong.");
}

TEST(ZoneMetadataSerializer, TypesOneToFiveGetTheirSection)
{
    unsigned const corners[] = {3, 4, 4, 8, 2};
    for (int type = 1; type <= 5; ++type) {
        ZoneMetadata zone;
        zone.ijk = {10, 20, 0, 200};
        zone.setZoneType(static_cast<ZoneType_e>(type));
        auto const received = rebuilt(bytesOf(zone));
        EXPECT_EQ(received->numSections, 1U);
        EXPECT_EQ(received->numElemsPerSection[0], 20);
        EXPECT_EQ(received->numCornersPerSection[0], corners[type - 1]);
        EXPECT_EQ(bytesOf(*received), bytesOf(zone));
    }
}

TEST(ZoneMetadataSerializer, NumberOfPartitionsAloneTakesNoMemory)
{
    std::string const bytes = cached([&](WriteCache& cache) {
        cache.addInt32(7);
        cache.addBool(true);
        for (int axis = 0; axis < 3; ++axis)
            cache.addInt64(1);
        cache.addUInt32(0x10000001);
    });
    RecordingSocket socket(bytes);
    EXPECT_THROW(ZoneMetadataSerializer::deserialize(socket), IOException);
}

TEST(ZoneMetadataSerializer, NumberOfVariablesAloneTakesNoMemory)
{
    auto const record = [](std::int32_t numVars) {
        return cached([&](WriteCache& cache) {
            cache.addInt32(7);
            cache.addBool(true);
            for (int axis = 0; axis < 3; ++axis)
                cache.addInt64(0);
            cache.addUInt32(0);
            cache.addInt64Vector({});
            cache.addInt64Vector({});
            cache.addUInt32Vector({});
            cache.addUInt32Vector({});
            cache.addInt32(numVars);
        });
    };
    EXPECT_EQ(rebuilt(record(1000))->varMinMaxTrees.size(), 1000U);
    RecordingSocket socket(record(0x7FFFFFFF));
    EXPECT_EQ(tests::messageOf<IOException>([&] { ZoneMetadataSerializer::deserialize(socket); }),
              "Received zone metadata of 2147483647 variables with ranges and no partition.");
}

TEST(ZoneMetadataSerializer, NegativeNumberOfVariablesIsRefused)
{
    RecordingSocket socket(cached([&](WriteCache& cache) {
        cache.addInt32(7);
        cache.addBool(true);
        for (int axis = 0; axis < 3; ++axis)
            cache.addInt64(0);
        cache.addUInt32(0);
        cache.addInt64Vector({});
        cache.addInt64Vector({});
        cache.addUInt32Vector({});
        cache.addUInt32Vector({});
        cache.addInt32(-1);
    }));
    EXPECT_EQ(tests::messageOf<IOException>([&] { ZoneMetadataSerializer::deserialize(socket); }),
              "Received zone metadata with a negative number of variables.");
}

TEST(ZoneMetadataSerializer, FailureOfTheConnectionIsAnIOExceptionWithItsText)
{
    for (std::string const& whole : {mixedGolden, orderedGolden}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            RecordingSocket socket(whole.substr(0, length));
            EXPECT_EQ(
                tests::messageOf<IOException>([&] { ZoneMetadataSerializer::deserialize(socket); }),
                "the script has ended")
                << length;
        }
    }
}

TEST(ZoneMetadataSerializer, CutRecordIsAnIOException)
{
    FileSetMetadata set({std::string(VNX_SOURCE_DIR) + "/examples/data/tankbox_partitions.hdqfs"});
    std::string const whole = bytesOf(set.zoneMetadata(0, 0));
    for (std::size_t length = 0; length < whole.size(); length += 3) {
        RecordingSocket socket(whole.substr(0, length));
        EXPECT_THROW(ZoneMetadataSerializer::deserialize(socket), IOException) << length;
    }
}

}
}
