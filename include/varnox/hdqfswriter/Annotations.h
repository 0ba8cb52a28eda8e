#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What a data set holds beside its zones and variables. The fields are those of the file; the
/// numbers behind them mean what they mean to the reading engine. Zones and variables count from 0.
namespace varnox::hdqfswriter {

struct Text
{
    double xOrThetaPos = 0;
    double yOrRPos = 0;
    double zPos = 0;
    std::uint16_t textColor = 0;
    std::uint16_t textBoxColor = 0;
    std::uint16_t textBoxFillColor = 0;
    double textBoxLineThickness = 0;
    double textBoxMargin = 0;
    std::uint8_t textBoxType = 0;
    std::uint8_t textAnchor = 0;
    double textAngle = 0;
    std::uint8_t textClipping = 0;
    double textHeight = 0;
    double textLineSpacing = 1;
    std::uint8_t textPositionCoordSys = 0;
    std::uint8_t textScope = 0;
    std::uint8_t textSizeUnits = 0;
    std::string textString{};
    std::string textTypefaceFamily{};
    std::uint8_t textTypefaceIsBold = 0;
    std::uint8_t textTypefaceIsItalic = 0;
    std::int32_t textZoneOrMap = 0;
    std::uint8_t textIsAttached = 0;
    std::string textMacroFunctionCmd{};
};

struct Point
{
    double x = 0;
    double y = 0;
    double z = 0;
};

struct Geometry
{
    static constexpr std::uint8_t LINE_SEGMENTS = 0;
    static constexpr std::uint8_t RECTANGLE = 1;
    static constexpr std::uint8_t SQUARE = 2;
    static constexpr std::uint8_t CIRCLE = 3;
    static constexpr std::uint8_t ELLIPSE = 4;
    /// The posCoordMode in which the points of line segments have a z.
    static constexpr std::uint8_t IN_THREE_DIMENSIONS = 6;

    double xOrThetaPos = 0;
    double yOrRPos = 0;
    double zPos = 0;
    std::uint8_t posCoordMode = 0;
    std::uint8_t isAttached = 0;
    std::int32_t zone = 0;
    std::uint16_t color = 0;
    std::uint16_t fillColor = 0;
    std::uint8_t isFilled = 0;
    std::uint8_t geomType = LINE_SEGMENTS;
    std::uint8_t linePattern = 0;
    double patternLength = 0;
    double lineThickness = 0;
    std::uint16_t numEllipsePts = 72;
    std::uint8_t arrowheadStyle = 0;
    std::uint8_t arrowheadAttachment = 0;
    double arrowheadSize = 0;
    double arrowheadAngle = 0;
    std::uint8_t scope = 0;
    std::uint8_t clipping = 0;
    std::string macroFunctionCommand{};
    std::vector<std::vector<Point>> segments{}; ///< Of line segments: the points of each.
    double size[2] = {0, 0}; ///< Width and height, size, radius, or the two axes of an ellipse.
};

struct AuxiliaryData
{
    /// The auxDataLocation of what belongs to a variable, which auxDataEntity then names.
    static constexpr std::uint8_t OF_A_VARIABLE = 3;

    std::uint8_t auxDataLocation = 0;
    std::uint32_t auxDataEntity = 0;
    std::string auxDataName{};
    std::uint8_t auxDataType = 0;
    std::string auxDataValue{};
};

}
