#include "filedata/DataSetGroups.h"

#include "filedata/DataSetHeader.h"
#include "filedata/Messages.h"
#include "filedata/ValueInput.h"

#include <algorithm>
#include <exception>
#include <new>

namespace varnox::hdqio {

namespace {

constexpr std::uint8_t AUX_DATA_OF_A_VARIABLE = 3;
constexpr std::uint8_t POSITION_IN_THREE_DIMENSIONS = 6;
constexpr std::uint32_t FACE_NEIGHBOR_MARKER = 0x10111213;

struct Group
{
    DataSetHeaderTag tag;
    char const* marker;
    std::uint32_t markerValue;
    char const* countWord;
    char const* entries;      ///< For messages.
    std::uint64_t leastBytes; ///< Of an entry in a binary file; text takes more.
};

#define VALUE(type, name) +sizeof(type)
#define STRING(name) +sizeof(std::uint32_t)
constexpr std::uint64_t LEAST_TEXT_BYTES = 0
#include "filedata/TextFields.def"
    ;
#define VALUE(type, name) +sizeof(type)
#define STRING(name) +sizeof(std::uint32_t)
constexpr std::uint64_t LEAST_GEOM_BYTES = 0
#include "filedata/GeomFields.def"
    ;
constexpr std::uint64_t LEAST_AUX_DATA_BYTES = 1 + 4 + 4 + 1 + 4;
constexpr std::uint64_t LEAST_LABEL_SET_BYTES = 4 + 8;
constexpr std::uint64_t LEAST_SEGMENT_BYTES = 4;

constexpr Group AUX_DATA{AUX_DATA_FILE_LOC_TAG, "auxData*",       0x11121314,
                         "numAuxData",          "auxiliary data", LEAST_AUX_DATA_BYTES};
constexpr Group GEOMETRIES{GEOMETRY_FILE_LOC_TAG, "geometry*",  0x12131415,
                           "numGeometries",       "geometries", LEAST_GEOM_BYTES};
constexpr Group TEXTS{TEXT_FILE_LOC_TAG, "text*", 0x13141516,
                      "numTexts",        "texts", LEAST_TEXT_BYTES};
constexpr Group CUSTOM_LABELS{
    CUSTOM_LABELS_FILE_LOC_TAG, "customLabels*",     0x14151617,
    "numCustomLabelSets",       "custom label sets", LEAST_LABEL_SET_BYTES};

/// Whether entries of at least this many bytes each can still come.
char checkCount(FileReaderInterface& reader, std::uint64_t count, std::uint64_t leastBytes,
                char const* entries)
{
    return count <= bytesLeft(reader) / leastBytes ||
           errorMessage("The file is too short for the %lu %s it claims.", count, entries);
}

/// Entries are larger in memory than the least that they take of the file. Those of a group take
/// together no more of it than the file has bytes, or a little.
class EntryBudget
{
public:
    explicit EntryBudget(FileReaderInterface& reader)
    {
        constexpr std::uint64_t LITTLE = std::uint64_t{16} << 20;
        std::uint64_t const here = reader.fileLoc();
        m_left = std::max(LITTLE, here + bytesLeft(reader));
    }

    char take(std::uint64_t count, std::uint64_t size, char const* entries)
    {
        if (count > m_left / size)
            return errorMessage("The file is too short for the %lu %s it claims.", count, entries);
        m_left -= count * size;
        return 1;
    }

private:
    std::uint64_t m_left;
};

// A group: in text a marker, one uint32 behind its word; in both forms the count of entries as a
// uint32, and then the entries.

template <typename Entry>
char readCount(FileReaderInterface& reader, TagMap const& tags, Group const& group,
               std::uint32_t& count)
{
    count = 0;
    std::uint64_t const loc = valueOrZero(tags, group.tag);
    if (loc == ABSENT_FILE_LOC)
        return errorMessage("The file has no %s.", group.entries);
    std::uint32_t claimed = 0;
    if (!reader.seekToFileLoc(loc) ||
        (reader.isAscii() &&
         !readAndVerifyValue<std::uint32_t, false>(reader, group.markerValue, {group.marker})) ||
        !readValue<std::uint32_t, false>(reader, claimed, {group.countWord}) ||
        !checkCount(reader, claimed, group.leastBytes, group.entries) ||
        !EntryBudget(reader).take(claimed, sizeof(Entry), group.entries))
        return 0;
    count = claimed;
    return 1;
}

/// Reads each entry by a function of the reader, the entry, and a budget for its parts.
template <typename Entry, typename ReadEntry>
char readEntries(FileReaderInterface& reader, TagMap const& tags, Group const& group,
                 std::uint32_t startIndex, LightweightVector<Entry>& out, std::uint32_t& count,
                 ReadEntry const& readEntry)
{
    try {
        if (!readCount<Entry>(reader, tags, group, count))
            return 0;
        EntryBudget parts(reader);
        if (std::uint64_t{startIndex} + count > out.size())
            return errorMessage("There is no room for %u %s from entry %u on.", count,
                                group.entries, startIndex);
        for (std::size_t i = 0; i < count; ++i)
            if (!readEntry(reader, out[startIndex + i], parts))
                return 0;
        return 1;
    } catch (std::bad_alloc const&) {
        return errorMessage("Out-of-memory error while reading %s.", group.entries);
    } catch (std::exception const&) {
        return errorMessage("Unrecoverable error while reading %s.", group.entries);
    }
}

/// The bytes of a string whose length has been read.
char readText(FileReaderInterface& reader, std::uint32_t length, char const* word, std::string& out)
{
    LightweightVector<char> text;
    if (!checkCount(reader, length, 1, "bytes of a string"))
        return 0;
    if (!text.alloc(length))
        throw std::bad_alloc();
    if (!readString(reader, length, text, {word}))
        return errorMessage("Cannot read %s value.", word);
    out.assign(text.begin(), text.end());
    return 1;
}

char readCountedString(FileReaderInterface& reader, char const* lengthWord, char const* word,
                       std::string& out)
{
    out.clear();
    std::uint32_t length = 0;
    return readValue<std::uint32_t, false>(reader, length, {lengthWord}) &&
           (length == 0 || readText(reader, length, word, out));
}

template <typename T>
char readField(FileReaderInterface& reader, T& out, char const* word)
{
    return readValue<T, false>(reader, out, {word});
}

/// A name stands in the file also if it has no bytes, a value doesn't.
char readAuxDataEntry(FileReaderInterface& reader, AuxData& aux)
{
    std::uint32_t nameLength = 0;
    return readField(reader, aux.auxDataLocation, "auxDataLocation") &&
           readField(reader, aux.auxDataEntity, "auxDataEntity") &&
           readField(reader, nameLength, "auxDataNameLength") &&
           readText(reader, nameLength, "auxDataName", aux.auxDataName) &&
           readField(reader, aux.auxDataType, "auxDataType") &&
           readCountedString(reader, "auxDataValueLength", "auxDataValue", aux.auxDataValue);
}

char readTextEntry(FileReaderInterface& reader, Text& text, EntryBudget&)
{
#define VALUE(type, name)                                                                          \
    if (!readField(reader, text.name, #name))                                                      \
        return 0;
#define STRING(name)                                                                               \
    if (!readCountedString(reader, #name "Length", #name, text.name))                              \
        return 0;
#include "filedata/TextFields.def"
    return 1;
}

char readSegment(FileReaderInterface& reader, bool hasZ, std::vector<XYZ>& points)
{
    std::uint32_t numPoints = 0;
    LightweightVector<double> x;
    LightweightVector<double> y;
    LightweightVector<double> z;
    if (!readField(reader, numPoints, "numPointsInSegment") ||
        !readValueArray<double, false, 0>(reader, 0, numPoints, x, {"xValuesForSegment"}) ||
        !readValueArray<double, false, 0>(reader, 0, numPoints, y, {"yValuesForSegment"}) ||
        (hasZ && !readValueArray<double, false, 0>(reader, 0, numPoints, z, {"zValuesForSegment"})))
        return 0;
    points.resize(numPoints);
    for (std::size_t i = 0; i < numPoints; ++i)
        points[i] = {x[i], y[i], hasZ ? z[i] : 0.0};
    return 1;
}

char readLineSegments(FileReaderInterface& reader, Geom& geom, EntryBudget& parts)
{
    std::uint32_t numSegments = 0;
    if (!readField(reader, numSegments, "numSegments") ||
        !checkCount(reader, numSegments, LEAST_SEGMENT_BYTES, "segments") ||
        !parts.take(numSegments, sizeof(std::vector<XYZ>), "segments"))
        return 0;
    geom.segments.reserve(numSegments);
    for (std::uint32_t s = 0; s < numSegments; ++s) {
        std::vector<XYZ> points;
        if (!readSegment(reader, geom.posCoordMode == POSITION_IN_THREE_DIMENSIONS, points))
            return 0;
        geom.segments.push_back(std::move(points));
    }
    return 1;
}

/// The one or two numbers of a shape; a null word has none.
char readShape(FileReaderInterface& reader, char const* firstWord, char const* secondWord,
               Geom& geom)
{
    XYZ size{0, 0, 0};
    if (!readField(reader, size.x, firstWord) ||
        (secondWord != nullptr && !readField(reader, size.y, secondWord)))
        return 0;
    geom.segments.push_back({size});
    return 1;
}

char readGeomEntry(FileReaderInterface& reader, Geom& geom, EntryBudget& parts)
{
#define VALUE(type, name)                                                                          \
    if (!readField(reader, geom.name, #name))                                                      \
        return 0;
#define STRING(name)                                                                               \
    if (!readCountedString(reader, #name "Length", #name, geom.name))                              \
        return 0;
#include "filedata/GeomFields.def"
    geom.segments.clear();
    switch (static_cast<GeomType>(geom.geomType)) {
    case GeomType::LineSegments:
        return readLineSegments(reader, geom, parts);
    case GeomType::Rectangle:
        return readShape(reader, "rectangleWidth", "rectangleHeight", geom);
    case GeomType::Square:
        return readShape(reader, "squareSize", nullptr, geom);
    case GeomType::Circle:
        return readShape(reader, "circleRadius", nullptr, geom);
    case GeomType::Ellipse:
        return readShape(reader, "ellipseHorizontalAxis", "ellipseVerticalAxis", geom);
    default:
        return 1;
    }
}

char readLabelSet(FileReaderInterface& reader, CustomLabelSet& labels, EntryBudget& parts)
{
    std::uint32_t numLabels = 0;
    labels.dealloc();
    return readField(reader, numLabels, "numLabels") &&
           // More than there can be are refused where they are read.
           (numLabels > bytesLeft(reader) ||
            parts.take(numLabels, sizeof(std::string), "labels")) &&
           readStringArray(reader, 0, numLabels, labels, {"customLabelSet"});
}

}

char readAuxDataCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count)
{
    return readCount<AuxData>(reader, tags, AUX_DATA, count);
}

char readGeometriesCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count)
{
    return readCount<Geom>(reader, tags, GEOMETRIES, count);
}

char readTextsCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count)
{
    return readCount<Text>(reader, tags, TEXTS, count);
}

char readCustomLabelsCount(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& count)
{
    return readCount<CustomLabelSet>(reader, tags, CUSTOM_LABELS, count);
}

char readAuxData(FileReaderInterface& reader, TagMap const& tags, int zoneOffset, int varOffset,
                 std::uint32_t startIndex, LightweightVector<AuxData>& out)
{
    std::uint32_t count = 0;
    return readEntries(reader, tags, AUX_DATA, startIndex, out, count,
                       [&](FileReaderInterface& file, AuxData& aux, EntryBudget&) -> char {
                           if (!readAuxDataEntry(file, aux))
                               return 0;
                           aux.auxDataEntity += static_cast<std::uint32_t>(
                               aux.auxDataLocation == AUX_DATA_OF_A_VARIABLE ? varOffset
                                                                             : zoneOffset);
                           return 1;
                       });
}

char readGeometries(FileReaderInterface& reader, TagMap const& tags, std::uint32_t startIndex,
                    LightweightVector<Geom>& out)
{
    std::uint32_t count = 0;
    return readEntries(reader, tags, GEOMETRIES, startIndex, out, count, readGeomEntry);
}

char readTexts(FileReaderInterface& reader, TagMap const& tags, std::uint32_t startIndex,
               LightweightVector<Text>& out)
{
    std::uint32_t count = 0;
    return readEntries(reader, tags, TEXTS, startIndex, out, count, readTextEntry);
}

char readCustomLabels(FileReaderInterface& reader, TagMap const& tags, std::uint32_t& startIndex,
                      LightweightVector<CustomLabelSet>& out)
{
    std::uint32_t count = 0;
    if (!readEntries(reader, tags, CUSTOM_LABELS, startIndex, out, count, readLabelSet))
        return 0;
    startIndex += count;
    return 1;
}

// User's face neighbours of a zone:
//   in text    userFaceNeighborMarker* and zoneNum*, uint32 each
//   uint64     userFaceNeighborCount   n
//   int32[n]   UserFaceNeighbors       left out if n is 0

char readFaceNeighbors(FileReaderInterface& reader, int zone, std::uint64_t& count,
                       LightweightVector<int>& neighbors)
{
    count = 0;
    if (reader.isAscii() && (!readAndVerifyValue<std::uint32_t, false>(
                                 reader, FACE_NEIGHBOR_MARKER, {"userFaceNeighborMarker*"}) ||
                             !readAndVerifyValue<std::uint32_t, false>(
                                 reader, static_cast<std::uint32_t>(zone) + 1, {"zoneNum*"})))
        return 0;
    std::uint64_t claimed = 0;
    if (!readValue<std::uint64_t, false>(reader, claimed, {"userFaceNeighborCount"}) ||
        (claimed != 0 && !readValueArray<std::int32_t, false, 0>(reader, 0, claimed, neighbors,
                                                                 {"UserFaceNeighbors"})))
        return 0;
    count = claimed;
    return 1;
}

}
