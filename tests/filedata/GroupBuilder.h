#pragma once

#include "tests/filedata/FileBuilder.h"

#include <functional>
#include <string>
#include <vector>

/// Entries of the groups of a data set. Where a function isn't told a field's value, each has
/// another.
namespace varnox::hdqio::tests {

inline void addString(FileBuilder& file, std::string const& word, std::string const& text)
{
    file.value<std::uint32_t>((word + "Length").c_str(), static_cast<std::uint32_t>(text.size()));
    if (!text.empty())
        file.string(word.c_str(), text);
}

inline void addAuxData(FileBuilder& file, std::uint8_t location, std::uint32_t entity,
                       std::string const& name, std::string const& value)
{
    file.value<std::uint8_t>("auxDataLocation", location);
    file.value<std::uint32_t>("auxDataEntity", entity);
    file.value<std::uint32_t>("auxDataNameLength", static_cast<std::uint32_t>(name.size()));
    file.string("auxDataName", name);
    file.value<std::uint8_t>("auxDataType", 1);
    addString(file, "auxDataValue", value);
}

inline void addText(FileBuilder& file, std::string const& text, std::string const& command,
                    std::int32_t zone = -20)
{
    file.value<double>("xOrThetaPos", 1);
    file.value<double>("yOrRPos", 2);
    file.value<double>("zPos", 3);
    file.value<std::uint16_t>("textColor", 4);
    file.value<std::uint16_t>("textBoxColor", 5);
    file.value<std::uint16_t>("textBoxFillColor", 6);
    file.value<double>("textBoxLineThickness", 7);
    file.value<double>("textBoxMargin", 8);
    file.value<std::uint8_t>("textBoxType", 9);
    file.value<std::uint8_t>("textAnchor", 10);
    file.value<double>("textAngle", 11);
    file.value<std::uint8_t>("textClipping", 12);
    file.value<double>("textHeight", 13);
    file.value<double>("textLineSpacing", 14);
    file.value<std::uint8_t>("textPositionCoordSys", 15);
    file.value<std::uint8_t>("textScope", 16);
    file.value<std::uint8_t>("textSizeUnits", 17);
    addString(file, "textString", text);
    addString(file, "textTypefaceFamily", "serif");
    file.value<std::uint8_t>("textTypefaceIsBold", 18);
    file.value<std::uint8_t>("textTypefaceIsItalic", 19);
    file.value<std::int32_t>("textZoneOrMap", zone);
    file.value<std::uint8_t>("textIsAttached", 21);
    addString(file, "textMacroFunctionCmd", command);
}

inline void addGeom(FileBuilder& file, std::uint8_t type, std::uint8_t posCoordMode,
                    std::string const& command, std::int32_t zone = -5)
{
    file.value<double>("xOrThetaPos", 1);
    file.value<double>("yOrRPos", 2);
    file.value<double>("zPos", 3);
    file.value<std::uint8_t>("posCoordMode", posCoordMode);
    file.value<std::uint8_t>("isAttached", 4);
    file.value<std::int32_t>("zone", zone);
    file.value<std::uint16_t>("color", 6);
    file.value<std::uint16_t>("fillColor", 7);
    file.value<std::uint8_t>("isFilled", 8);
    file.value<std::uint8_t>("geomType", type);
    file.value<std::uint8_t>("linePattern", 9);
    file.value<double>("patternLength", 10);
    file.value<double>("lineThickness", 11);
    file.value<std::uint16_t>("numEllipsePts", 12);
    file.value<std::uint8_t>("arrowheadStyle", 13);
    file.value<std::uint8_t>("arrowheadAttachment", 14);
    file.value<double>("arrowheadSize", 15);
    file.value<double>("arrowheadAngle", 16);
    file.value<std::uint8_t>("scope", 17);
    file.value<std::uint8_t>("clipping", 18);
    addString(file, "macroFunctionCommand", command);
}

inline void addSegment(FileBuilder& file, std::vector<double> const& x,
                       std::vector<double> const& y, std::vector<double> const& z)
{
    file.value<std::uint32_t>("numPointsInSegment", static_cast<std::uint32_t>(x.size()));
    file.array<double>("xValuesForSegment", x);
    file.array<double>("yValuesForSegment", y);
    if (!z.empty())
        file.array<double>("zValuesForSegment", z);
}

struct GroupInfo
{
    std::uint16_t tag;
    char const* marker;
    std::uint32_t markerValue;
    char const* countWord;
};

inline constexpr GroupInfo AUX{7, "auxData*", 0x11121314, "numAuxData"};
inline constexpr GroupInfo GEOMETRY{8, "geometry*", 0x12131415, "numGeometries"};
inline constexpr GroupInfo LABELS{9, "customLabels*", 0x14151617, "numCustomLabelSets"};
inline constexpr GroupInfo TEXT{10, "text*", 0x13141516, "numTexts"};

/// Gives the location of the group.
inline std::uint64_t addGroup(FileBuilder& file, GroupInfo const& group, std::uint32_t count,
                              std::function<void(FileBuilder&)> const& addEntries)
{
    std::uint64_t const start = file.marker(group.marker, group.markerValue);
    file.value<std::uint32_t>(group.countWord, count);
    addEntries(file);
    return start;
}

}
