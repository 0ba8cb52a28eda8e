#include "filedata/FileDescription.h"

#include "tests/filedata/FakeHost.h"

#include <gtest/gtest.h>

namespace varnox::hdqio {
namespace {

using tests::FakeHost;

constexpr std::int64_t UNSET = 0x7FFFFFFFFFFFFFFF;

void expectInvalid(FileDescription const& description)
{
    EXPECT_EQ(description.isAscii(), -1);
    EXPECT_EQ(static_cast<int>(description.dataFileType()), 255);
    EXPECT_EQ(description.getMaxIJKSubzoneSize().i, UNSET);
    EXPECT_EQ(description.getMaxIJKSubzoneSize().j, UNSET);
    EXPECT_EQ(description.getMaxIJKSubzoneSize().k, UNSET);
    EXPECT_EQ(description.getMaxIJKSubzoneSize().ij, UNSET);
    EXPECT_EQ(description.getMaxFESubzoneSize(), 256);
    EXPECT_EQ(description.getFileVersion(), 0U);
    EXPECT_EQ(description.getCodeRevision(), 0U);
}

TEST(FileDescription, IsInvalidUntilItIsRead)
{
    FileDescription description;
    expectInvalid(description);
    description = FileDescription(105, 1, DataFileType_Grid, {6, 6, 6, 36}, 100);
    EXPECT_EQ(description.isAscii(), 1);
    EXPECT_EQ(description.dataFileType(), DataFileType_Grid);
    EXPECT_EQ(description.getMaxIJKSubzoneSize().ij, 36);
    EXPECT_EQ(description.getMaxFESubzoneSize(), 100);
    EXPECT_EQ(description.getFileVersion(), 105U);
    description.setCodeRevision(7);
    EXPECT_EQ(description.getCodeRevision(), 7U);
    description.invalidate();
    expectInvalid(description);
}

TEST(FileDescription, ValidatorsKnowTheirLimits)
{
    EXPECT_TRUE(FileDescription::validIsAscii(0));
    EXPECT_TRUE(FileDescription::validIsAscii(1));
    EXPECT_FALSE(FileDescription::validIsAscii(2));
    EXPECT_FALSE(FileDescription::validIsAscii(-1));
    EXPECT_TRUE(FileDescription::validDataFileType(DataFileType_Solution));
    EXPECT_FALSE(FileDescription::validDataFileType(static_cast<DataFileType_e>(3)));
    EXPECT_FALSE(FileDescription::validDataFileType(static_cast<DataFileType_e>(255)));
    EXPECT_TRUE(FileDescription::validIJKSubzoneSize({16, 16, 1, 256}));
    EXPECT_TRUE(FileDescription::validIJKSubzoneSize({6, 6, 6, 36}));
    EXPECT_FALSE(FileDescription::validIJKSubzoneSize({16, 16, 2, 256}));
    EXPECT_FALSE(FileDescription::validIJKSubzoneSize({UNSET, 1, 1, 1}));
    EXPECT_FALSE(FileDescription::validIJKSubzoneSize({UNSET, UNSET, UNSET, UNSET}));
    EXPECT_FALSE(FileDescription::validFESubzoneSize(0));
    EXPECT_TRUE(FileDescription::validFESubzoneSize(1));
    EXPECT_TRUE(FileDescription::validFESubzoneSize(256));
    EXPECT_FALSE(FileDescription::validFESubzoneSize(257));
    EXPECT_FALSE(FileDescription::validFileVersion(103));
    EXPECT_TRUE(FileDescription::validFileVersion(104));
}

TEST(FileDescription, EnabledMixedZoneForcesTheNewestVersion)
{
    FakeHost host;
    host.zones = {{1, {ZoneType_Ordered}}, {2, {ZoneType_FEBrick}}};
    EXPECT_EQ(FileDescription::surveyZonesForFileVersion(host, nullptr), 105U);
    host.zones[3].type = ZoneType_FEMixed;
    EXPECT_EQ(FileDescription::surveyZonesForFileVersion(host, nullptr), 232U);
    host.zones[3].isEnabled = false;
    EXPECT_EQ(FileDescription::surveyZonesForFileVersion(host, nullptr), 105U);
    host.zones[3].isEnabled = true;
    host.isAvailable = false;
    EXPECT_EQ(FileDescription::surveyZonesForFileVersion(host, nullptr), 105U);
}

TEST(FileDescription, SurveyOfASetLooksAtItsMembersAlone)
{
    FakeHost host;
    host.zones = {{1, {ZoneType_Ordered}}, {2, {ZoneType_FEMixed}}, {3, {ZoneType_FEBrick}}};
    host.members = {1, 3};
    Set_s* const set = host.set();
    EXPECT_EQ(FileDescription::surveyZonesForFileVersion(host, set), 105U);
    host.members = {2, 3};
    EXPECT_EQ(FileDescription::surveyZonesForFileVersion(host, set), 232U);
}

}
}
