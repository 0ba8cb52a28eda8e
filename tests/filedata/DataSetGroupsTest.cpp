#include "filedata/DataSetGroups.h"

#include "filedata/DataFileHeader.h"
#include "filedata/DataSetHeader.h"
#include "tests/filedata/GroupBuilder.h"
#include "tests/filedata/OpenFile.h"
#include "tests/filedata/ScarceMemory.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace varnox::hdqio {
namespace {

using namespace tests;
using varnox::tests::hex;

/// A group of a file: its bytes, the form and the tag map that leads to it.
struct GroupFile
{
    std::string bytes;
    bool isAscii;
    TagMap tags;
};

GroupFile groupFile(bool isAscii, GroupInfo const& group, std::uint32_t count,
                    std::function<void(FileBuilder&)> const& addEntries)
{
    FileBuilder file(isAscii ? "105TF" : "105BF");
    std::uint64_t const start = addGroup(file, group, count, addEntries);
    return {file.file(0), isAscii, {{group.tag, start}}};
}

class DataSetGroups : public testing::TestWithParam<bool>
{
};

INSTANTIATE_TEST_SUITE_P(Forms, DataSetGroups, testing::Bool(),
                         [](auto const& test) { return test.param ? "Text" : "Binary"; });

GroupFile auxFile(bool isAscii)
{
    return groupFile(isAscii, AUX, 3, [](FileBuilder& file) {
        addAuxData(file, 1, 5, "a name", "a value");
        addAuxData(file, 3, 5, "n", "");
        addAuxData(file, 0, 5, "", "v");
    });
}

TEST_P(DataSetGroups, AuxDataIsReadAndItsEntityShiftedByItsLocation)
{
    GroupFile const group = auxFile(GetParam());
    OpenFile file(group.bytes, GetParam());
    std::uint32_t count = 0;
    ASSERT_TRUE(readAuxDataCount(file.reader, group.tags, count)) << file.message();
    EXPECT_EQ(count, 3U);
    LightweightVector<AuxData> out;
    ASSERT_TRUE(out.alloc(count + 1));
    ASSERT_TRUE(readAuxData(file.reader, group.tags, 100, 1000, 1, out)) << file.message();
    EXPECT_EQ(out[0].auxDataName, "");
    EXPECT_EQ(out[1].auxDataLocation, 1);
    EXPECT_EQ(out[1].auxDataEntity, 105U);
    EXPECT_EQ(out[1].auxDataName, "a name");
    EXPECT_EQ(out[1].auxDataType, 1);
    EXPECT_EQ(out[1].auxDataValue, "a value");
    EXPECT_EQ(out[2].auxDataLocation, 3);
    EXPECT_EQ(out[2].auxDataEntity, 1005U);
    EXPECT_EQ(out[2].auxDataValue, "");
    EXPECT_EQ(out[3].auxDataEntity, 105U);
    EXPECT_EQ(out[3].auxDataName, "");
    EXPECT_EQ(out[3].auxDataValue, "v");
    EXPECT_EQ(file.rest(), GetParam() ? "\r\n" : ""); // the line end of a string is left
}

GroupFile textFile(bool isAscii)
{
    return groupFile(isAscii, TEXT, 2, [](FileBuilder& file) {
        addText(file, "two\nlines", "");
        addText(file, "", "command");
    });
}

TEST_P(DataSetGroups, TextsAreReadFieldByField)
{
    GroupFile const group = textFile(GetParam());
    OpenFile file(group.bytes, GetParam());
    std::uint32_t count = 0;
    ASSERT_TRUE(readTextsCount(file.reader, group.tags, count)) << file.message();
    EXPECT_EQ(count, 2U);
    LightweightVector<Text> out;
    ASSERT_TRUE(out.alloc(count));
    ASSERT_TRUE(readTexts(file.reader, group.tags, 0, out)) << file.message();
    Text const& text = out[0];
    EXPECT_EQ(text.xOrThetaPos, 1);
    EXPECT_EQ(text.yOrRPos, 2);
    EXPECT_EQ(text.zPos, 3);
    EXPECT_EQ(text.textColor, 4);
    EXPECT_EQ(text.textBoxColor, 5);
    EXPECT_EQ(text.textBoxFillColor, 6);
    EXPECT_EQ(text.textBoxLineThickness, 7);
    EXPECT_EQ(text.textBoxMargin, 8);
    EXPECT_EQ(text.textBoxType, 9);
    EXPECT_EQ(text.textAnchor, 10);
    EXPECT_EQ(text.textAngle, 11);
    EXPECT_EQ(text.textClipping, 12);
    EXPECT_EQ(text.textHeight, 13);
    EXPECT_EQ(text.textLineSpacing, 14);
    EXPECT_EQ(text.textPositionCoordSys, 15);
    EXPECT_EQ(text.textScope, 16);
    EXPECT_EQ(text.textSizeUnits, 17);
    EXPECT_EQ(text.textString, "two\nlines");
    EXPECT_EQ(text.textTypefaceFamily, "serif");
    EXPECT_EQ(text.textTypefaceIsBold, 18);
    EXPECT_EQ(text.textTypefaceIsItalic, 19);
    EXPECT_EQ(text.textZoneOrMap, -20);
    EXPECT_EQ(text.textIsAttached, 21);
    EXPECT_EQ(text.textMacroFunctionCmd, "");
    EXPECT_EQ(out[1].textString, "");
    EXPECT_EQ(out[1].textMacroFunctionCmd, "command");
    EXPECT_EQ(file.rest(), GetParam() ? "\r\n" : ""); // the line end of a string is left
}

GroupFile geomFile(bool isAscii)
{
    return groupFile(isAscii, GEOMETRY, 7, [](FileBuilder& file) {
        addGeom(file, 0, 6, "command");
        file.value<std::uint32_t>("numSegments", 2);
        addSegment(file, {1, 2}, {3, 4}, {5, 6});
        addSegment(file, {7}, {8}, {9});
        addGeom(file, 0, 1, "");
        file.value<std::uint32_t>("numSegments", 1);
        addSegment(file, {1, 2, 3}, {4, 5, 6}, {});
        addGeom(file, 1, 0, "");
        file.value<double>("rectangleWidth", 31);
        file.value<double>("rectangleHeight", 32);
        addGeom(file, 2, 0, "");
        file.value<double>("squareSize", 33);
        addGeom(file, 3, 0, "");
        file.value<double>("circleRadius", 34);
        addGeom(file, 4, 0, "");
        file.value<double>("ellipseHorizontalAxis", 35);
        file.value<double>("ellipseVerticalAxis", 36);
        addGeom(file, 7, 0, "last");
    });
}

TEST_P(DataSetGroups, GeometriesAreReadFieldByField)
{
    GroupFile const group = geomFile(GetParam());
    OpenFile file(group.bytes, GetParam());
    std::uint32_t count = 0;
    ASSERT_TRUE(readGeometriesCount(file.reader, group.tags, count)) << file.message();
    LightweightVector<Geom> out;
    ASSERT_TRUE(out.alloc(count));
    ASSERT_TRUE(readGeometries(file.reader, group.tags, 0, out)) << file.message();
    Geom const& geom = out[0];
    EXPECT_EQ(geom.xOrThetaPos, 1);
    EXPECT_EQ(geom.yOrRPos, 2);
    EXPECT_EQ(geom.zPos, 3);
    EXPECT_EQ(geom.posCoordMode, 6);
    EXPECT_EQ(geom.isAttached, 4);
    EXPECT_EQ(geom.zone, -5);
    EXPECT_EQ(geom.color, 6);
    EXPECT_EQ(geom.fillColor, 7);
    EXPECT_EQ(geom.isFilled, 8);
    EXPECT_EQ(geom.geomType, 0);
    EXPECT_EQ(geom.linePattern, 9);
    EXPECT_EQ(geom.patternLength, 10);
    EXPECT_EQ(geom.lineThickness, 11);
    EXPECT_EQ(geom.numEllipsePts, 12);
    EXPECT_EQ(geom.arrowheadStyle, 13);
    EXPECT_EQ(geom.arrowheadAttachment, 14);
    EXPECT_EQ(geom.arrowheadSize, 15);
    EXPECT_EQ(geom.arrowheadAngle, 16);
    EXPECT_EQ(geom.scope, 17);
    EXPECT_EQ(geom.clipping, 18);
    EXPECT_EQ(geom.macroFunctionCommand, "command");
    EXPECT_EQ(file.rest(), GetParam() ? "\r\n" : ""); // the line end of a string is left
}

TEST_P(DataSetGroups, ShapeOfAGeometryIsReadByItsType)
{
    GroupFile const group = geomFile(GetParam());
    OpenFile file(group.bytes, GetParam());
    LightweightVector<Geom> out;
    ASSERT_TRUE(out.alloc(7));
    ASSERT_TRUE(readGeometries(file.reader, group.tags, 0, out)) << file.message();
    ASSERT_EQ(out[0].segments.size(), 2U);
    ASSERT_EQ(out[0].segments[0].size(), 2U);
    EXPECT_EQ(out[0].segments[0][1].x, 2);
    EXPECT_EQ(out[0].segments[0][1].y, 4);
    EXPECT_EQ(out[0].segments[0][1].z, 6);
    EXPECT_EQ(out[0].segments[1][0].z, 9);
    ASSERT_EQ(out[1].segments[0].size(), 3U);
    EXPECT_EQ(out[1].segments[0][2].y, 6);
    EXPECT_EQ(out[1].segments[0][2].z, 0);
    EXPECT_EQ(out[2].segments[0][0].x, 31);
    EXPECT_EQ(out[2].segments[0][0].y, 32);
    EXPECT_EQ(out[3].segments[0][0].x, 33);
    EXPECT_EQ(out[4].segments[0][0].x, 34);
    EXPECT_EQ(out[5].segments[0][0].x, 35);
    EXPECT_EQ(out[5].segments[0][0].y, 36);
}

TEST_P(DataSetGroups, GeometryOfAnUnknownTypeEndsAfterItsCommand)
{
    GroupFile const group = geomFile(GetParam());
    OpenFile file(group.bytes, GetParam());
    LightweightVector<Geom> out;
    ASSERT_TRUE(out.alloc(7));
    ASSERT_TRUE(readGeometries(file.reader, group.tags, 0, out)) << file.message();
    EXPECT_EQ(out[6].geomType, 7);
    EXPECT_EQ(out[6].macroFunctionCommand, "last");
    EXPECT_TRUE(out[6].segments.empty());
}

GroupFile labelFile(bool isAscii)
{
    return groupFile(isAscii, LABELS, 2, [](FileBuilder& file) {
        file.value<std::uint32_t>("numLabels", 2);
        file.strings("customLabelSet", {"Monday", "Tuesday"});
        file.value<std::uint32_t>("numLabels", 1);
        file.strings("customLabelSet", {"x"});
    });
}

TEST_P(DataSetGroups, CustomLabelsAreReadAndTheStartIndexMovesOn)
{
    GroupFile const group = labelFile(GetParam());
    OpenFile file(group.bytes, GetParam());
    std::uint32_t count = 0;
    ASSERT_TRUE(readCustomLabelsCount(file.reader, group.tags, count)) << file.message();
    EXPECT_EQ(count, 2U);
    LightweightVector<CustomLabelSet> out;
    ASSERT_TRUE(out.alloc(5));
    std::uint32_t startIndex = 1;
    ASSERT_TRUE(readCustomLabels(file.reader, group.tags, startIndex, out)) << file.message();
    EXPECT_EQ(startIndex, 3U);
    EXPECT_TRUE(out[0].isNull());
    ASSERT_EQ(out[1].size(), 2U);
    EXPECT_EQ(out[1][1], "Tuesday");
    ASSERT_EQ(out[2].size(), 1U);
    EXPECT_EQ(out[2][0], "x");
    ASSERT_TRUE(readCustomLabels(file.reader, group.tags, startIndex, out));
    EXPECT_EQ(out[4][0], "x");
    EXPECT_FALSE(readCustomLabels(file.reader, group.tags, startIndex, out));
    EXPECT_EQ(file.message(), "There is no room for 2 custom label sets from entry 5 on.");
    EXPECT_EQ(startIndex, 5U);
}

struct Reading
{
    char result;
    std::string message;
};

/// Reads every kind of group of the file for which there is a tag.
Reading readAll(GroupFile const& group)
{
    OpenFile file(group.bytes, group.isAscii);
    std::uint32_t count = 0;
    char result = 0;
    if (group.tags.count(7) != 0) {
        LightweightVector<AuxData> out;
        result = readAuxDataCount(file.reader, group.tags, count) && out.alloc(count) &&
                 readAuxData(file.reader, group.tags, 0, 0, 0, out);
    } else if (group.tags.count(8) != 0) {
        LightweightVector<Geom> out;
        result = readGeometriesCount(file.reader, group.tags, count) && out.alloc(count) &&
                 readGeometries(file.reader, group.tags, 0, out);
    } else if (group.tags.count(9) != 0) {
        LightweightVector<CustomLabelSet> out;
        std::uint32_t startIndex = 0;
        result = readCustomLabelsCount(file.reader, group.tags, count) && out.alloc(count) &&
                 readCustomLabels(file.reader, group.tags, startIndex, out);
    } else {
        LightweightVector<Text> out;
        result = readTextsCount(file.reader, group.tags, count) && out.alloc(count) &&
                 readTexts(file.reader, group.tags, 0, out);
    }
    return {result, file.message()};
}

TEST_P(DataSetGroups, FileCutAtEveryByteIsRefused)
{
    for (auto const make : {auxFile, geomFile, textFile, labelFile}) {
        GroupFile group = make(GetParam());
        ASSERT_TRUE(readAll(group).result);
        // The last value of a text file may lack its padding and its line end.
        std::size_t const last = group.bytes.find_last_not_of(" \r\n");
        for (std::size_t length = GetParam() ? last : group.bytes.size() - 1; length > 0;
             --length) {
            GroupFile cut = group;
            cut.bytes.resize(length);
            Reading const reading = readAll(cut);
            ASSERT_FALSE(reading.result) << length;
            ASSERT_NE(reading.message, "") << length;
        }
    }
}

template <typename T>
LightweightVector<T> roomFor(std::uint32_t count)
{
    LightweightVector<T> room;
    if (!room.alloc(count))
        throw std::bad_alloc();
    return room;
}

TEST_P(DataSetGroups, ScarceMemoryEndsInAMessage)
{
    GroupFile const aux = auxFile(GetParam());
    OpenFile auxData(aux.bytes, GetParam());
    EXPECT_GT(expectEveryShortageIsSaid([&] {
                  auto out = roomFor<AuxData>(3);
                  return readAuxData(auxData.reader, aux.tags, 0, 0, 0, out) != 0;
              }),
              3U);
    GroupFile const geom = geomFile(GetParam());
    OpenFile geometries(geom.bytes, GetParam());
    EXPECT_GT(expectEveryShortageIsSaid([&] {
                  auto out = roomFor<Geom>(7);
                  return readGeometries(geometries.reader, geom.tags, 0, out) != 0;
              }),
              10U);
    GroupFile const text = textFile(GetParam());
    OpenFile texts(text.bytes, GetParam());
    EXPECT_GT(expectEveryShortageIsSaid([&] {
                  auto out = roomFor<Text>(2);
                  return readTexts(texts.reader, text.tags, 0, out) != 0;
              }),
              3U);
    GroupFile const label = labelFile(GetParam());
    OpenFile labels(label.bytes, GetParam());
    EXPECT_GT(expectEveryShortageIsSaid([&] {
                  auto out = roomFor<CustomLabelSet>(2);
                  std::uint32_t startIndex = 0;
                  return readCustomLabels(labels.reader, label.tags, startIndex, out) != 0;
              }),
              2U);
}

TEST_P(DataSetGroups, MarkerStandsInTextAlone)
{
    for (auto const make : {auxFile, geomFile, textFile, labelFile}) {
        GroupFile group = make(GetParam());
        std::uint64_t const loc = group.tags.begin()->second;
        if (!GetParam()) {
            std::uint32_t count = 0;
            std::memcpy(&count, group.bytes.data() + loc, 4);
            EXPECT_LE(count, 7U);
            continue;
        }
        group.bytes[static_cast<std::size_t>(loc) + 42] = '9';
        EXPECT_EQ(readAll(group).message.substr(0, 46),
                  "Expected value mismatch for 4-byte unsigned in");
    }
}

TEST(DataSetGroupsInBinary, AuxDataIsItsGoldenBytes)
{
    std::string const golden = hex("01 00 00 00"       // one of them
                                   "03"                // of a variable
                                   "02 00 00 00"       // the third
                                   "02 00 00 00 61 62" // named ab
                                   "01"                // a string
                                   "01 00 00 00 7a");  // z
    GroupFile const group{"pad" + golden, false, {{7, 3}}};
    OpenFile file(group.bytes);
    LightweightVector<AuxData> out;
    ASSERT_TRUE(out.alloc(1));
    ASSERT_TRUE(readAuxData(file.reader, group.tags, 7, 10, 0, out)) << file.message();
    EXPECT_EQ(out[0].auxDataEntity, 12U);
    EXPECT_EQ(out[0].auxDataName, "ab");
    EXPECT_EQ(out[0].auxDataValue, "z");
    EXPECT_EQ(file.rest(), "");
}

struct CountCase
{
    char const* name;
    std::uint16_t tag;
    char const* message;
};

CountCase const countCases[] = {
    {"AuxData", 7, "The file is too short for the 4294967295 auxiliary data it claims."},
    {"Geometries", 8, "The file is too short for the 4294967295 geometries it claims."},
    {"CustomLabels", 9, "The file is too short for the 4294967295 custom label sets it claims."},
    {"Texts", 10, "The file is too short for the 4294967295 texts it claims."},
};

class GroupCounts : public testing::TestWithParam<CountCase>
{
};

TEST_P(GroupCounts, BeyondTheFileAreRefused)
{
    GroupFile const group{
        "pad" + hex("ff ff ff ff") + std::string(200, '\0'), false, {{GetParam().tag, 3}}};
    EXPECT_EQ(readAll(group).message, GetParam().message);
}

TEST_P(GroupCounts, OfAnAbsentGroupAreRefused)
{
    GroupFile const group{std::string(200, '\0'), false, {{GetParam().tag, ABSENT_FILE_LOC}}};
    Reading const reading = readAll(group);
    EXPECT_FALSE(reading.result);
    EXPECT_EQ(reading.message.substr(0, 15), "The file has no");
}

INSTANTIATE_TEST_SUITE_P(DataSetGroups, GroupCounts, testing::ValuesIn(countCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(DataSetGroupsInBinary, MissingTagReadsAtTheStartOfTheFile)
{
    OpenFile file(hex("00 00 00 00"));
    std::uint32_t count = 7;
    EXPECT_TRUE(readTextsCount(file.reader, {}, count));
    EXPECT_EQ(count, 0U);
}

TEST(DataSetGroupsInBinary, LengthsBeyondTheFileAreRefused)
{
    GroupFile const name{
        hex("01 00 00 00 01 00 00 00 00 ff ff ff 7f 00 00 00 00 00"), false, {{7, 0}}};
    EXPECT_EQ(readAll(name).message,
              "The file is too short for the 2147483647 bytes of a string it claims.");
    GroupFile const segments = groupFile(false, GEOMETRY, 1, [](FileBuilder& file) {
        addGeom(file, 0, 6, "");
        file.value<std::uint32_t>("numSegments", 0xFFFFFFFF);
    });
    EXPECT_EQ(readAll(segments).message,
              "The file is too short for the 4294967295 segments it claims.");
    GroupFile const points = groupFile(false, GEOMETRY, 1, [](FileBuilder& file) {
        addGeom(file, 0, 6, "");
        file.value<std::uint32_t>("numSegments", 1);
        file.value<std::uint32_t>("numPointsInSegment", 0xFFFFFFFF);
    });
    EXPECT_EQ(readAll(points).message, "Cannot allocate memory for xValuesForSegment data block of "
                                       "4294967295 double values.");
    GroupFile const labels = groupFile(false, LABELS, 1, [](FileBuilder& file) {
        file.value<std::uint32_t>("numLabels", 0xFFFFFFFF);
        file.raw(std::string(20, '\0'));
    });
    EXPECT_EQ(readAll(labels).message, "Cannot resize string array.");
}

TEST(DataSetGroupsInBinary, EntriesNeedRoom)
{
    GroupFile const group = textFile(false);
    OpenFile file(group.bytes);
    LightweightVector<Text> out;
    EXPECT_FALSE(readTexts(file.reader, group.tags, 0, out));
    EXPECT_EQ(file.message(), "There is no room for 2 texts from entry 0 on.");
    ASSERT_TRUE(out.alloc(2));
    EXPECT_TRUE(readTexts(file.reader, group.tags, 0, out));
    EXPECT_FALSE(readTexts(file.reader, group.tags, 0xFFFFFFFF, out));
}

std::string faceNeighbors(bool isAscii, std::vector<std::int32_t> const& values)
{
    FileBuilder file(isAscii ? "105TF" : "105BF");
    std::uint64_t const start = file.marker("userFaceNeighborMarker*", 0x10111213);
    file.marker("zoneNum*", 3);
    file.value<std::uint64_t>("userFaceNeighborCount", values.size());
    file.array<std::int32_t>("UserFaceNeighbors", values);
    return file.file(0).substr(start);
}

TEST_P(DataSetGroups, FaceNeighborsAreReadBehindTheirCount)
{
    OpenFile file(faceNeighbors(GetParam(), {1, -2, 3}), GetParam());
    std::uint64_t count = 0;
    LightweightVector<int> neighbors;
    ASSERT_TRUE(readFaceNeighbors(file.reader, 2, count, neighbors)) << file.message();
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(neighbors[1], -2);
    EXPECT_EQ(file.rest(), "");
}

TEST_P(DataSetGroups, NoFaceNeighborsHaveNoArray)
{
    OpenFile file(faceNeighbors(GetParam(), {}) + "rest", GetParam());
    std::uint64_t count = 7;
    LightweightVector<int> neighbors;
    ASSERT_TRUE(readFaceNeighbors(file.reader, 2, count, neighbors)) << file.message();
    EXPECT_EQ(count, 0U);
    EXPECT_TRUE(neighbors.isNull());
    EXPECT_EQ(file.rest(), "rest");
}

TEST(DataSetGroupsInText, FaceNeighborsOfAnotherZoneAreRefused)
{
    OpenFile file(faceNeighbors(true, {1}), true);
    std::uint64_t count = 0;
    LightweightVector<int> neighbors;
    EXPECT_FALSE(readFaceNeighbors(file.reader, 1, count, neighbors));
    EXPECT_EQ(file.message(), "Expected value mismatch for 4-byte unsigned integer zoneNum* "
                              "(expecting 2         , found 3         ).");
}

TEST(DataSetGroupsInBinary, FaceNeighborsBeyondTheFileAreRefused)
{
    OpenFile file(hex("ff ff ff ff ff 00 00 00 01 00 00 00"));
    std::uint64_t count = 0;
    LightweightVector<int> neighbors;
    EXPECT_FALSE(readFaceNeighbors(file.reader, 1, count, neighbors));
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(file.message(), "Cannot allocate memory for UserFaceNeighbors data block of "
                              "1099511627775 4-byte signed integer values.");
}

TEST(DataSetGroupsOfSamples, AreThereAndEmptyInBothForms)
{
    for (char const* name : {"tjunction_grid", "tjunction_ascii_grid", "tankbox_partitions"}) {
        MessageCapture const messages;
        FileStreamReader reader(std::string(VNX_SOURCE_DIR) + "/examples/data/" + name + ".hdqfs");
        ASSERT_TRUE(reader.open());
        FileDescription description;
        std::uint64_t byteOrder = 0;
        std::uint64_t loc = 0;
        TagMap tags;
        ASSERT_TRUE(readDataFileHeader(reader, description, byteOrder, loc));
        ASSERT_TRUE(reader.seekToFileLoc(loc) && readDataSetHeaderTags(reader, description, tags));
        for (auto const readCount :
             {readAuxDataCount, readGeometriesCount, readTextsCount, readCustomLabelsCount}) {
            std::uint32_t count = 7;
            EXPECT_TRUE(readCount(reader, tags, count)) << messages.text();
            EXPECT_EQ(count, 0U);
        }
    }
}

}
}
