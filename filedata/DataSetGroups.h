#pragma once

#include "filedata/FileReaderInterface.h"
#include "filedata/LightweightVector.h"
#include "filedata/TagList.h"

#include <cstdint>
#include <string>
#include <vector>

/// What a data set holds beside its zones and variables: groups of auxiliary data, geometries,
/// texts and custom labels. The library itself doesn't ask for them; they are here for whoever loads
/// a whole file. A file without a group's tag is read from its start on, so callers look first.
namespace varnox::hdqio {

struct AuxData
{
    std::uint8_t auxDataLocation = 0;
    std::uint32_t auxDataEntity = 0; ///< Shifted by the offset of its location.
    std::string auxDataName;
    std::uint8_t auxDataType = 0;
    std::string auxDataValue;
};

struct XYZ
{
    double x;
    double y;
    double z;
};

/// The numbers are those of the file.
enum class GeomType : std::uint8_t { LineSegments, Rectangle, Square, Circle, Ellipse };

struct Geom
{
#define VALUE(type, name) type name{};
#define STRING(name) std::string name;
#include "filedata/GeomFields.def"
    /// The points of each line segment. Another shape has one segment of one point: width and
    /// height, the size, the radius, or the horizontal and the vertical axis.
    std::vector<std::vector<XYZ>> segments;
};

struct Text
{
#define VALUE(type, name) type name{};
#define STRING(name) std::string name;
#include "filedata/TextFields.def"
};

using CustomLabelSet = LightweightVector<std::string>;

/// The entries of a group. A count that the file can't hold is false behind a message.
char readAuxDataCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count);
char readGeometriesCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count);
char readTextsCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count);
char readCustomLabelsCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count);

/// Read the count again and fill the entries of out from startIndex on; false behind a message if
/// out is too short for them. An entry that belongs to a variable has varOffset added to its
/// entity, any other one zoneOffset.
char readAuxData(FileReaderInterface& reader, TagMap const& tags, int zoneOffset, int varOffset,
                 std::uint32_t startIndex, LightweightVector<AuxData>& out);
char readGeometries(FileReaderInterface& reader, TagMap const& tags, std::uint32_t startIndex,
                    LightweightVector<Geom>& out);
char readTexts(FileReaderInterface& reader, TagMap const& tags, std::uint32_t startIndex,
               LightweightVector<Text>& out);
/// On success startIndex is that of the entry behind the last one read.
char readCustomLabels(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& startIndex,
                      LightweightVector<CustomLabelSet>& out);

/// The user's face neighbours of a zone, which counts from 0. The stream stands at them, where
/// ZoneMetadata::userFaceNbrFileLoc leads.
char readFaceNeighbors(FileReaderInterface& reader, int zone, std::uint64_t& count,
                       LightweightVector<int>& neighbors);

}
