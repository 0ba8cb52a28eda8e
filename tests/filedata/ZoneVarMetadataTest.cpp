#include "filedata/ZoneVarMetadata.h"

#include "tests/filedata/AllocationMeter.h"
#include "tests/filedata/FakeHost.h"

#include <gtest/gtest.h>

namespace varnox::hdqio {
namespace {

using tests::FakeHost;
using tests::FakeIterator;

TEST(ZoneVarMetadata, StartsWithoutAnything)
{
    ZoneVarMetadata const metadata;
    EXPECT_EQ(metadata.numZones, 0U);
    EXPECT_EQ(metadata.numVars, 0U);
    EXPECT_TRUE(metadata.zoneNames.isNull());
    EXPECT_TRUE(metadata.numDimensions.isNull());
}

TEST(ZoneVarMetadata, AllocTakesEveryArrayAndOnlyOnce)
{
    ZoneVarMetadata metadata;
    ASSERT_TRUE(metadata.alloc(2, 3, {0, 4}));
    EXPECT_EQ(metadata.numZones, 2U);
    EXPECT_EQ(metadata.numVars, 3U);
    EXPECT_EQ(metadata.zoneNames.size(), 2U);
    EXPECT_EQ(metadata.zoneTypes.size(), 2U);
    EXPECT_EQ(metadata.varNames.size(), 3U);
    EXPECT_EQ(metadata.zoneMinMaxes.size(), 3U);
    EXPECT_EQ(metadata.zoneMinMaxes[2].size(), 2U);
    EXPECT_EQ(metadata.fieldDataTypes[2].size(), 2U);
    EXPECT_FALSE(metadata.shareVar[2].isNull());
    EXPECT_EQ(metadata.numSections[1], 4);
    EXPECT_TRUE(metadata.cellShapePerSection[0].isNull());
    EXPECT_EQ(metadata.cellShapePerSection[1].size(), 4U);
    EXPECT_FALSE(metadata.numElemsPerSection[1].isNull());
    EXPECT_FALSE(metadata.alloc(2, 3, {0, 4}));
}

TEST(ZoneVarMetadata, AllocFailsIfAnyFieldIsInUse)
{
    ZoneVarMetadata first;
    ASSERT_TRUE(first.zoneNames.alloc(1));
    EXPECT_FALSE(first.alloc(1, 1, {0}));
    ZoneVarMetadata last;
    ASSERT_TRUE(last.basisFuncPerSection.alloc(1));
    EXPECT_FALSE(last.alloc(1, 1, {0}));
    ZoneVarMetadata short1;
    EXPECT_FALSE(short1.alloc(2, 1, {0}));
}

TEST(ZoneVarMetadata, AllocIsFalseWithoutMemoryForAnyOneArray)
{
    std::vector<std::uint8_t> const sectionCounts{1, 4};
    std::size_t n = 1;
    for (bool isLast = false; !isLast; ++n) {
        ZoneVarMetadata metadata;
        bool result = false;
        {
            tests::AllocationFault const fault(n);
            result = metadata.alloc(2, 3, sectionCounts);
            isLast = !fault.hasStruck();
        }
        ASSERT_EQ(result, isLast) << n;
    }
    EXPECT_EQ(n, 47U); // two behind the last of the arrays
}

TEST(ZoneVarMetadata, ArraysOfNoZonesOrVariablesStayNull)
{
    ZoneVarMetadata noVars;
    EXPECT_TRUE(noVars.alloc(2, 0, {0, 0}));
    EXPECT_TRUE(noVars.varNames.isNull());
    EXPECT_TRUE(noVars.shareVar.isNull());
    EXPECT_FALSE(noVars.zoneNames.isNull());
    ZoneVarMetadata noZones;
    EXPECT_TRUE(noZones.alloc(0, 2, {}));
    EXPECT_TRUE(noZones.zoneNames.isNull());
    EXPECT_TRUE(noZones.zoneMinMaxes[1].isNull());
    EXPECT_EQ(noZones.varNames.size(), 2U);
}

ZoneVarMetadata sample()
{
    ZoneVarMetadata result;
    EXPECT_TRUE(result.alloc(2, 1, {0, 2}));
    result.varNames[0] = "p";
    result.zoneNames[1] = "mixed";
    result.zoneTypes[1] = 'M';
    result.numDimensions[1] = 3;
    result.faceNbrModes[1] = 4;
    result.solutionTimes[1] = 5.5;
    result.strandIDs[1] = 6;
    result.parentZones[1] = 7;
    result.iMaxOrNumNodes[1] = 8;
    result.jMaxOrNumCells[1] = 9;
    result.kMaxOrNumFaces[1] = 10;
    result.shareConnectivity[1] = 11;
    result.zoneMinMaxes[0][1] = {12, 13};
    result.valueLocations[0][1] = 1;
    result.fieldDataTypes[0][1] = 2;
    result.passive[0][1] = 1;
    result.shareVar[0][1] = 14;
    result.numElemsPerSection[1][1] = 15;
    result.cellShapePerSection[1][1] = 16;
    result.gridOrderPerSection[1][1] = 17;
    result.basisFuncPerSection[1][1] = 18;
    return result;
}

TEST(ZoneVarMetadata, AssignCopiesEveryFieldBehindItsFirstZone)
{
    ZoneVarMetadata all;
    ASSERT_TRUE(all.alloc(4, 1, {0, 0, 0, 2}));
    ASSERT_TRUE(all.assign(sample(), 2));
    EXPECT_EQ(all.varNames[0], "p");
    EXPECT_EQ(all.zoneNames[1], "");
    EXPECT_EQ(all.zoneNames[3], "mixed");
    EXPECT_EQ(all.zoneTypes[3], 'M');
    EXPECT_EQ(all.numDimensions[3], 3U);
    EXPECT_EQ(all.faceNbrModes[3], 4);
    EXPECT_EQ(all.solutionTimes[3], 5.5);
    EXPECT_EQ(all.strandIDs[3], 6U);
    EXPECT_EQ(all.parentZones[3], 7);
    EXPECT_EQ(all.iMaxOrNumNodes[3], 8U);
    EXPECT_EQ(all.jMaxOrNumCells[3], 9U);
    EXPECT_EQ(all.kMaxOrNumFaces[3], 10U);
    EXPECT_EQ(all.shareConnectivity[3], 11);
    EXPECT_EQ(all.zoneMinMaxes[0][3].min, 12);
    EXPECT_EQ(all.zoneMinMaxes[0][3].max, 13);
    EXPECT_EQ(all.valueLocations[0][3], 1);
    EXPECT_EQ(all.fieldDataTypes[0][3], 2);
    EXPECT_EQ(all.passive[0][3], 1);
    EXPECT_EQ(all.shareVar[0][3], 14);
    EXPECT_EQ(all.numSections[3], 2);
    EXPECT_EQ(all.numElemsPerSection[3][1], 15);
    EXPECT_EQ(all.cellShapePerSection[3][1], 16);
    EXPECT_EQ(all.gridOrderPerSection[3][1], 17);
    EXPECT_EQ(all.basisFuncPerSection[3][1], 18);
}

TEST(ZoneVarMetadata, AssignWithoutMemoryIsFalse)
{
    ZoneVarMetadata other = sample();
    other.varNames[0] = "a name that needs memory of its own";
    other.zoneNames[0] = "another name that needs memory";
    std::size_t n = 1;
    for (bool isLast = false; !isLast; ++n) {
        ZoneVarMetadata all;
        ASSERT_TRUE(all.alloc(4, 1, {0, 0, 0, 2}));
        bool result = false;
        {
            tests::AllocationFault const fault(n);
            result = all.assign(other, 2);
            isLast = !fault.hasStruck();
        }
        ASSERT_EQ(result, isLast) << n;
    }
    EXPECT_GT(n, 3U); // two names and the run without a fault
}

TEST(ZoneVarMetadata, AssignWithoutRoomIsFalse)
{
    ZoneVarMetadata zones;
    ASSERT_TRUE(zones.alloc(2, 1, {0, 2}));
    EXPECT_TRUE(zones.assign(sample(), 0));
    EXPECT_FALSE(zones.assign(sample(), 1));
    EXPECT_FALSE(zones.assign(sample(), 0xFFFFFFFFFFFFFFFF));
    ZoneVarMetadata noVars;
    ASSERT_TRUE(noVars.alloc(2, 0, {0, 2}));
    EXPECT_FALSE(noVars.assign(sample(), 0));
    ZoneVarMetadata noSections;
    ASSERT_TRUE(noSections.alloc(2, 1, {0, 1}));
    EXPECT_FALSE(noSections.assign(sample(), 0));
}

/// Zones 2 to 6 of a data set, of which zone 4 is disabled, and variables 1 and 2.
class SurveyedHost : public testing::Test
{
protected:
    SurveyedHost()
    {
        host.zones[2] = {ZoneType_Ordered, true, "two", 1, {3, 4, 1L << 40, 0}, 0.5, 9};
        host.zones[3] = {ZoneType_FEBrick, true, "three", 0, {8, 1, (1L << 32) + 6, 0}};
        host.zones[4] = {ZoneType_FEBrick, false};
        host.zones[5] = {ZoneType_FEMixed, true, "five", 0, {8, 1, 6, 0}};
        host.zones[5].sections = {{1, FECellShape_Hexahedron, 2, 1}};
        host.zones[6] = {ZoneType_FEPolyhedron, true, "six", 0, {8, 1, 1L << 40, 0}};
        host.zones[3].parentZone = 2;
        host.zones[5].parentZone = 1;
        host.zones[3].connectivitySharingZone = 1;
        host.zones[5].connectivitySharingZone = 3;
        host.varSharingZones[{5, 1}] = 2;
        host.varSharingZones[{5, 2}] = 1;
    }

    ZoneVarMetadata survey(bool keepEarlier)
    {
        FakeIterator zones({6, 2, 3, 5, 4});
        FakeIterator vars({1, 2});
        return ZoneVarMetadata(host, zones, vars, keepEarlier);
    }

    FakeHost host;
};

using ZoneVarMetadataOfAHost = SurveyedHost;

TEST_F(ZoneVarMetadataOfAHost, HoldsTheEnabledZonesInAscendingOrder)
{
    ZoneVarMetadata const metadata = survey(false);
    ASSERT_EQ(metadata.numZones, 4U);
    EXPECT_EQ(metadata.zoneNames[0], "two");
    EXPECT_EQ(metadata.zoneNames[1], "three");
    EXPECT_EQ(metadata.zoneNames[2], "five");
    EXPECT_EQ(metadata.zoneNames[3], "six");
    EXPECT_EQ(metadata.faceNbrModes[0], 1);
    EXPECT_EQ(metadata.solutionTimes[0], 0.5);
    EXPECT_EQ(metadata.strandIDs[0], 9U);
    EXPECT_EQ(metadata.iMaxOrNumNodes[0], 3U);
    EXPECT_EQ(metadata.jMaxOrNumCells[0], 4U);
}

TEST_F(ZoneVarMetadataOfAHost, HasTheLetterOfEachTypeAndItsDimensions)
{
    ZoneVarMetadata const metadata = survey(false);
    EXPECT_EQ(metadata.zoneTypes[0], 'o');
    EXPECT_EQ(metadata.zoneTypes[1], 'b');
    EXPECT_EQ(metadata.zoneTypes[2], 'm');
    EXPECT_EQ(metadata.zoneTypes[3], 'p');
    EXPECT_EQ(metadata.numSections[2], 1);
    EXPECT_EQ(metadata.gridOrderPerSection[2][0], 2);
    for (std::size_t z = 0; z < 4; ++z)
        EXPECT_EQ(metadata.numDimensions[z], 3U);
}

TEST_F(ZoneVarMetadataOfAHost, StoresKByType)
{
    ZoneVarMetadata const metadata = survey(false);
    EXPECT_EQ(metadata.kMaxOrNumFaces[0], std::uint64_t{1} << 40);
    EXPECT_EQ(metadata.kMaxOrNumFaces[1], 6U);
    EXPECT_EQ(metadata.kMaxOrNumFaces[2], 0U);
    EXPECT_EQ(metadata.kMaxOrNumFaces[3], std::uint64_t{1} << 40);
}

TEST_F(ZoneVarMetadataOfAHost, CountsZonesFromTheFirstOfTheSet)
{
    ZoneVarMetadata const metadata = survey(false);
    EXPECT_EQ(metadata.parentZones[0], -1); // none
    EXPECT_EQ(metadata.parentZones[1], 0);
    EXPECT_EQ(metadata.parentZones[2], -1); // zone 1, ahead of the first
    EXPECT_EQ(metadata.shareConnectivity[0], -1);
    EXPECT_EQ(metadata.shareConnectivity[1], -1);
    EXPECT_EQ(metadata.shareConnectivity[2], 1);
    EXPECT_EQ(metadata.shareVar[0][2], 0);
    EXPECT_EQ(metadata.shareVar[1][2], -1);
    EXPECT_EQ(metadata.shareVar[1][1], -1);
}

TEST_F(ZoneVarMetadataOfAHost, KeepsAnEarlierSharingZoneOnDemand)
{
    host.zones[1] = {ZoneType_FEBrick, true};
    host.zones[7] = {ZoneType_FEBrick, true, "seven"};
    host.zones[7].connectivitySharingZone = 1;
    FakeIterator zones({4, 7});
    FakeIterator vars({1});
    ZoneVarMetadata const kept(host, zones, vars, true);
    ASSERT_EQ(kept.numZones, 1U);
    EXPECT_EQ(kept.shareConnectivity[0], -3);
    EXPECT_EQ(kept.shareVar[0][0], -1);
    FakeIterator again({4, 7});
    FakeIterator varsAgain({1});
    EXPECT_EQ(ZoneVarMetadata(host, again, varsAgain, false).shareConnectivity[0], -1);
}

TEST_F(ZoneVarMetadataOfAHost, HoldsTheVariables)
{
    ZoneVarMetadata const metadata = survey(false);
    ASSERT_EQ(metadata.numVars, 2U);
    EXPECT_EQ(metadata.varNames[1], "v2");
    EXPECT_EQ(metadata.zoneMinMaxes[1][1].min, 3);
    EXPECT_EQ(metadata.zoneMinMaxes[1][1].max, 20);
    EXPECT_EQ(metadata.valueLocations[0][0], ValueLocation_Nodal);
    EXPECT_EQ(metadata.fieldDataTypes[1][0], FieldDataType_Byte);
    EXPECT_EQ(metadata.passive[1][1], 1);
    EXPECT_EQ(metadata.passive[1][0], 0);
}

}
}
