#include "addons/hdqfs/Annotations.h"

#include "addons/hdqfs/AnnotationReader.h"
#include "addons/hdqfs/HostObjects.h"

#include "varnox/hostapi/VnxUtil.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace varnox::hdqfsloader {

using hdqio::AuxData;
using hdqio::Geom;
using hdqio::GeomType;
using hdqio::Text;

namespace {

/// The file's coordinate system of lines in space.
constexpr std::uint8_t IN_SPACE = 6;

// Owners of auxiliary data in a file.
constexpr std::uint8_t OF_A_ZONE = 0;
constexpr std::uint8_t OF_THE_DATA_SET = 1;
constexpr std::uint8_t OF_A_VARIABLE = 3;

constexpr std::size_t MAX_NEIGHBORS_AT_ONCE = (std::size_t{4} << 20) / sizeof(int);

/// A number of the file as one of the host's enumerations.
template <typename Enumeration>
Enumeration as(std::uint8_t number)
{
    return static_cast<Enumeration>(number);
}

/// Hands over what one file holds. Its zones are numbered in the data set from firstZone on.
class FileSender
{
public:
    FileSender(DataSet::PlacedFile const& placed, std::string& leftOut)
        : m_placed(placed), m_leftOut(leftOut)
    {
    }

    void send()
    {
        FileAnnotations const annotations = readAnnotations(*m_placed.file);
        for (AuxData const& item : annotations.auxData)
            sendItem(item);
        for (hdqio::CustomLabelSet const& labels : annotations.labelSets)
            sendLabels(labels);
        for (Text const& text : annotations.texts)
            sendText(text);
        for (Geom const& geometry : annotations.geometries)
            sendGeometry(geometry);
        for (std::string const& complaint : annotations.complaints)
            complain(complaint);
        leaveOut(m_numStrayItems, "auxiliary data whose owner doesn't exist");
        leaveOut(m_numUnknownShapes, "geometries of an unknown shape");
    }

private:
    void complain(std::string const& text) { m_leftOut += (m_leftOut.empty() ? "" : "\n") + text; }

    void leaveOut(std::size_t count, char const* what)
    {
        if (count != 0)
            complain(m_placed.file->path() + " has " + std::to_string(count) + " " + what +
                     ", which are left out.");
    }

    bool isZone(std::int64_t zone) const
    {
        return zone >= 0 && zone < std::int64_t{m_placed.file->numZones()};
    }
    int zoneNumber(std::int64_t zone) const
    {
        return static_cast<int>(zone + std::int64_t{m_placed.firstZone} + 1);
    }

    void sendItem(AuxData const& item)
    {
        auto const set = [&item](AuxData_s* owner) {
            VnxUtilAuxDataSetItem(owner, item.auxDataName.c_str(),
                                  reinterpret_cast<long>(item.auxDataValue.c_str()),
                                  as<AuxDataType_e>(item.auxDataType), 1);
        };
        std::uint32_t const entity = item.auxDataEntity;
        if (item.auxDataLocation == OF_THE_DATA_SET)
            set(VnxUtilAuxDataDataSetGetRef());
        else if (item.auxDataLocation == OF_A_VARIABLE && entity < m_placed.file->numVars())
            set(VnxUtilAuxDataVarGetRef(static_cast<int>(m_placed.firstVar + entity) + 1));
        else if (item.auxDataLocation == OF_A_ZONE && isZone(entity))
            for (std::uint32_t copy = 0; copy < m_placed.numCopies; ++copy)
                set(VnxUtilAuxDataZoneGetRef(zoneNumber(entity) +
                                             static_cast<int>(copy * m_placed.file->numZones())));
        else
            ++m_numStrayItems;
    }

    static void sendLabels(hdqio::CustomLabelSet const& labels)
    {
        StringList const list(VnxUtilStringListAlloc());
        for (std::string const& label : labels)
            VnxUtilStringListAppendString(list.get(), label.c_str());
        VnxUtilCustomLabelsAppend(list.get());
    }

    void sendText(Text const& text) const
    {
        long const id = VnxUtilTextCreate(
            as<CoordSys_e>(text.textPositionCoordSys), text.xOrThetaPos, text.yOrRPos,
            as<Units_e>(text.textSizeUnits), text.textHeight, text.textString.c_str());
        VnxUtilTextSetColor(id, text.textColor);
        VnxUtilTextBoxSetColor(id, text.textBoxColor);
        VnxUtilTextBoxSetFillColor(id, text.textBoxFillColor);
        VnxUtilTextBoxSetLineThickness(id, text.textBoxLineThickness);
        VnxUtilTextBoxSetMargin(id, text.textBoxMargin);
        VnxUtilTextBoxSetType(id, as<TextBox_e>(text.textBoxType));
        VnxUtilTextSetAnchor(id, as<TextAnchor_e>(text.textAnchor));
        VnxUtilTextSetAngle(id, text.textAngle);
        VnxUtilTextSetClipping(id, as<Clipping_e>(text.textClipping));
        VnxUtilTextSetLineSpacing(id, text.textLineSpacing);
        VnxUtilTextSetScope(id, as<Scope_e>(text.textScope));
        VnxUtilTextSetTypeface(id, text.textTypefaceFamily.c_str(), text.textTypefaceIsBold != 0,
                               text.textTypefaceIsItalic != 0);
        if (isZone(text.textZoneOrMap))
            VnxUtilTextSetZoneOrMap(id, zoneNumber(text.textZoneOrMap));
        VnxUtilTextSetAttached(id, text.textIsAttached != 0);
        if (!text.textMacroFunctionCmd.empty())
            VnxUtilTextSetMacroFunctionCmd(id, text.textMacroFunctionCmd.c_str());
    }

    void sendGeometry(Geom const& geometry)
    {
        auto const coordSys = as<CoordSys_e>(geometry.posCoordMode);
        double const x = geometry.xOrThetaPos;
        double const y = geometry.yOrRPos;
        auto const size = [&geometry] { return geometry.segments.at(0).at(0); };
        switch (static_cast<GeomType>(geometry.geomType)) {
        case GeomType::LineSegments:
            return sendCommon(sendPolylines(geometry), geometry);
        case GeomType::Rectangle:
            return sendCommon(VnxUtilGeomRectangleCreate(coordSys, x, y, size().x, size().y),
                              geometry);
        case GeomType::Square:
            return sendCommon(VnxUtilGeomSquareCreate(coordSys, x, y, size().x), geometry);
        case GeomType::Circle:
            return sendCommon(VnxUtilGeomCircleCreate(coordSys, x, y, size().x), geometry);
        case GeomType::Ellipse:
            return sendCommon(VnxUtilGeomEllipseCreate(coordSys, x, y, size().x, size().y),
                              geometry);
        }
        ++m_numUnknownShapes;
    }

    static long sendPolylines(Geom const& geometry)
    {
        std::vector<long> sizes;
        for (auto const& segment : geometry.segments)
            sizes.push_back(static_cast<long>(segment.size()));
        auto const count = static_cast<int>(sizes.size());
        bool const isInSpace = geometry.posCoordMode == IN_SPACE;
        long const id = isInSpace ? VnxUtilGeom3DMPolyCreate(count, sizes.data())
                                  : VnxUtilGeom2DMPolyCreate(as<CoordSys_e>(geometry.posCoordMode),
                                                             count, sizes.data());
        int polyline = 0;
        for (auto const& segment : geometry.segments) {
            ++polyline;
            long number = 0;
            for (hdqio::XYZ const& point : segment) {
                ++number;
                if (isInSpace)
                    VnxUtilGeom3DMPolySetPoint(id, polyline, number, point.x, point.y, point.z);
                else
                    VnxUtilGeom2DMPolySetPoint(id, polyline, number, point.x, point.y);
            }
        }
        return id;
    }

    void sendCommon(long id, Geom const& geometry) const
    {
        VnxUtilGeomSetPositionCoordSys(id, as<CoordSys_e>(geometry.posCoordMode));
        VnxUtilGeomSetAnchorPos(id, geometry.xOrThetaPos, geometry.yOrRPos, geometry.zPos);
        if (isZone(geometry.zone))
            VnxUtilGeomSetZoneOrMap(id, zoneNumber(geometry.zone));
        VnxUtilGeomSetAttached(id, geometry.isAttached != 0);
        VnxUtilGeomSetColor(id, geometry.color);
        VnxUtilGeomSetFillColor(id, geometry.fillColor);
        VnxUtilGeomSetIsFilled(id, geometry.isFilled != 0);
        VnxUtilGeomSetLinePattern(id, as<LinePattern_e>(geometry.linePattern));
        VnxUtilGeomSetPatternLength(id, geometry.patternLength);
        VnxUtilGeomSetLineThickness(id, geometry.lineThickness);
        VnxUtilGeomEllipseSetNumPoints(id, geometry.numEllipsePts);
        VnxUtilGeomArrowheadSetStyle(id, as<ArrowheadStyle_e>(geometry.arrowheadStyle));
        VnxUtilGeomArrowheadSetAttach(id, as<ArrowheadAttachment_e>(geometry.arrowheadAttachment));
        VnxUtilGeomArrowheadSetSize(id, geometry.arrowheadSize);
        VnxUtilGeomArrowheadSetAngle(id, geometry.arrowheadAngle);
        VnxUtilGeomSetScope(id, as<Scope_e>(geometry.scope));
        VnxUtilGeomSetClipping(id, as<Clipping_e>(geometry.clipping));
        if (!geometry.macroFunctionCommand.empty())
            VnxUtilGeomSetMacroFunctionCmd(id, geometry.macroFunctionCommand.c_str());
    }

    DataSet::PlacedFile const& m_placed;
    std::string& m_leftOut;
    std::size_t m_numStrayItems = 0;
    std::size_t m_numUnknownShapes = 0;
};

}

std::string sendAnnotations(DataSet const& dataSet)
{
    std::string leftOut;
    for (DataSet::PlacedFile const& placed : dataSet.files())
        FileSender(placed, leftOut).send();
    return leftOut;
}

void sendFaceNeighbors(DataSet const& dataSet, std::uint32_t zone, FaceNeighbor_s* handle)
{
    DataSet::ZoneInFile const grid = dataSet.grid(zone);
    std::vector<int> const neighbors = readFaceNeighbors(*grid.file, grid.zone);
    for (std::size_t done = 0; done < neighbors.size();) {
        std::size_t const count = std::min(neighbors.size() - done, MAX_NEIGHBORS_AT_ONCE);
        if (VnxUtilDataFaceNbrAssignByRef(handle, static_cast<long>(done) + 1, 0, 0,
                                          static_cast<int>(count), neighbors.data() + done,
                                          nullptr) == 0)
            throw std::runtime_error("The client refused the face neighbours of zone " +
                                     std::to_string(zone + 1) + ".");
        done += count;
    }
}

}
