#include "writer/GroupOutput.h"

#include "filedata/DataSetHeader.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace varnox::hdqfswriter {

namespace {

using Tag = BlockWriter::Tag;

std::uint32_t checkedCount(std::size_t count, char const* what)
{
    if (count > std::numeric_limits<std::uint32_t>::max())
        throw std::runtime_error(std::string("A file can't hold that many ") + what + ".");
    return static_cast<std::uint32_t>(count);
}

// A group: in text a marker; in both forms the count of entries, and then the entries.
Tag beginGroup(BlockWriter& blocks, std::uint16_t tag, char const* marker,
               std::uint32_t markerValue, char const* countWord, std::size_t count)
{
    std::uint64_t const start = blocks.marker({marker}, markerValue);
    blocks.value({countWord}, checkedCount(count, countWord));
    return {tag, start};
}

/// A length, and the bytes unless there are none.
void writeCounted(BlockWriter& blocks, char const* lengthWord, char const* word,
                  std::string const& text)
{
    blocks.value({lengthWord}, checkedCount(text.size(), lengthWord));
    if (!text.empty())
        blocks.string({word}, text);
}

void writeEntry(BlockWriter& blocks, Text const& text)
{
#define VALUE(type, name) blocks.value<type>({#name}, text.name);
#define STRING(name) writeCounted(blocks, #name "Length", #name, text.name);
#include "filedata/TextFields.def"
}

void writeSegment(BlockWriter& blocks, std::vector<Point> const& points, bool hasZ)
{
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> z;
    for (Point const& point : points) {
        x.push_back(point.x);
        y.push_back(point.y);
        z.push_back(point.z);
    }
    // Readers of text look for the words of arrays that aren't written.
    if (points.empty())
        throw std::runtime_error("A line segment of a geometry has no points.");
    blocks.value({"numPointsInSegment"}, checkedCount(points.size(), "points"));
    blocks.array({"xValuesForSegment"}, x);
    blocks.array({"yValuesForSegment"}, y);
    if (hasZ)
        blocks.array({"zValuesForSegment"}, z);
}

void writeShape(BlockWriter& blocks, Geometry const& geometry)
{
    switch (geometry.geomType) {
    case Geometry::LINE_SEGMENTS:
        blocks.value({"numSegments"}, checkedCount(geometry.segments.size(), "segments"));
        for (auto const& segment : geometry.segments)
            writeSegment(blocks, segment, geometry.posCoordMode == Geometry::IN_THREE_DIMENSIONS);
        return;
    case Geometry::RECTANGLE:
        blocks.value({"rectangleWidth"}, geometry.size[0]);
        blocks.value({"rectangleHeight"}, geometry.size[1]);
        return;
    case Geometry::SQUARE:
        blocks.value({"squareSize"}, geometry.size[0]);
        return;
    case Geometry::CIRCLE:
        blocks.value({"circleRadius"}, geometry.size[0]);
        return;
    case Geometry::ELLIPSE:
        blocks.value({"ellipseHorizontalAxis"}, geometry.size[0]);
        blocks.value({"ellipseVerticalAxis"}, geometry.size[1]);
        return;
    default:
        return;
    }
}

void writeEntry(BlockWriter& blocks, Geometry const& geom)
{
#define VALUE(type, name) blocks.value<type>({#name}, geom.name);
#define STRING(name) writeCounted(blocks, #name "Length", #name, geom.name);
#include "filedata/GeomFields.def"
    writeShape(blocks, geom);
}

/// A name stands in the file also if it has no bytes, a value doesn't. A variable is named by its
/// place in the file.
void writeEntry(BlockWriter& blocks, FilePlan const& plan, AuxiliaryData const& aux)
{
    std::uint32_t entity = aux.auxDataEntity;
    auto const place = std::find(plan.variables.begin(), plan.variables.end(), entity);
    if (aux.auxDataLocation == AuxiliaryData::OF_A_VARIABLE && place != plan.variables.end())
        entity = static_cast<std::uint32_t>(place - plan.variables.begin());
    blocks.value({"auxDataLocation"}, aux.auxDataLocation);
    blocks.value({"auxDataEntity"}, entity);
    blocks.value({"auxDataNameLength"}, checkedCount(aux.auxDataName.size(), "bytes"));
    blocks.string({"auxDataName"}, aux.auxDataName);
    blocks.value({"auxDataType"}, aux.auxDataType);
    writeCounted(blocks, "auxDataValueLength", "auxDataValue", aux.auxDataValue);
}

void writeLabels(BlockWriter& blocks, std::vector<std::string> const& labels)
{
    blocks.value({"numLabels"}, checkedCount(labels.size(), "labels"));
    blocks.strings({"customLabelSet"}, labels);
}

}

std::vector<Tag> writeGroups(FilePlan const& plan, BlockWriter& blocks)
{
    DataSet const& dataSet = plan.dataSet;
    std::vector<Tag> tags;
    tags.push_back(beginGroup(blocks, hdqio::AUX_DATA_FILE_LOC_TAG, "auxData*", 0x11121314,
                              "numAuxData", dataSet.auxiliaryData.size()));
    for (AuxiliaryData const& aux : dataSet.auxiliaryData)
        writeEntry(blocks, plan, aux);
    tags.push_back(beginGroup(blocks, hdqio::GEOMETRY_FILE_LOC_TAG, "geometry*", 0x12131415,
                              "numGeometries", dataSet.geometries.size()));
    for (Geometry const& geometry : dataSet.geometries)
        writeEntry(blocks, geometry);
    tags.push_back(beginGroup(blocks, hdqio::CUSTOM_LABELS_FILE_LOC_TAG, "customLabels*",
                              0x14151617, "numCustomLabelSets", dataSet.customLabelSets.size()));
    for (auto const& labels : dataSet.customLabelSets)
        writeLabels(blocks, labels);
    tags.push_back(beginGroup(blocks, hdqio::TEXT_FILE_LOC_TAG, "text*", 0x13141516, "numTexts",
                              dataSet.texts.size()));
    for (Text const& text : dataSet.texts)
        writeEntry(blocks, text);
    return tags;
}

}
