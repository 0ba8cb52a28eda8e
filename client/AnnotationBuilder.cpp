#include "client/AnnotationBuilder.h"

#include "client/DataSet.h"
#include "client/EngineSocket.h"
#include "command/LoaderCommands.h"

#include <algorithm>

namespace varnox::client {

using namespace hdqremote;

namespace {

/// Ids ascend, as the objects came. Null if there is none of that id.
template <typename Object>
Object* find(std::vector<Object>& objects, std::uint64_t id)
{
    auto const found = std::lower_bound(
        objects.begin(), objects.end(), id,
        [](Object const& object, std::uint64_t wanted) { return object.id < wanted; });
    return found != objects.end() && found->id == id ? &*found : nullptr;
}

}

AnnotationBuilder::AnnotationBuilder(EngineSocket& socket, DataSet& dataSet, std::int64_t& lastId)
    : m_socket(socket), m_dataSet(dataSet), m_lastId(lastId), m_handlers(handlers())
{
}

std::unordered_map<std::string, AnnotationBuilder::Handler> AnnotationBuilder::handlers()
{
    using Self = AnnotationBuilder;
    return {
        {VNXUTILTEXTCREATE, [](Self& self) { self.textCreate(); }},
        {VNXUTILTEXTSETTYPEFACE, [](Self& self) { self.typeface(); }},
        {VNXUTILTEXTSETMACROFUNCTIONCMD, [](Self& self) { self.textMacroCommand(); }},
        {VNXUTILGEOMRECTANGLECREATE, [](Self& self) { self.shapeCreate(Shape::Rectangle, 2); }},
        {VNXUTILGEOMELLIPSECREATE, [](Self& self) { self.shapeCreate(Shape::Ellipse, 2); }},
        {VNXUTILGEOMSQUARECREATE, [](Self& self) { self.shapeCreate(Shape::Square, 1); }},
        {VNXUTILGEOMCIRCLECREATE, [](Self& self) { self.shapeCreate(Shape::Circle, 1); }},
        {VNXUTILGEOM2DMPOLYCREATE, [](Self& self) { self.flatPolylinesCreate(); }},
        {VNXUTILGEOM3DMPOLYCREATE, [](Self& self) { self.spacePolylinesCreate(); }},
        {VNXUTILGEOM2DMPOLYSETPOINT, [](Self& self) { self.setPoint(Shape::FlatPolylines); }},
        {VNXUTILGEOM3DMPOLYSETPOINT, [](Self& self) { self.setPoint(Shape::SpacePolylines); }},
        {VNXUTILGEOMSETANCHORPOS, [](Self& self) { self.anchorPos(); }},
        {VNXUTILGEOMSETMACROFUNCTIONCMD, [](Self& self) { self.geometryMacroCommand(); }},
        {VNXUTILCUSTOMLABELSAPPEND, [](Self& self) { self.labels(); }},
        {VNXUTILAUXDATASETITEM, [](Self& self) { self.auxDataItem(); }},
#define FIELD(command, item, type, name)                                                           \
    {command, [](Self& self) {                                                                     \
         Text* const text = self.receiveText();                                                    \
         auto const value = self.m_socket.receive##item();                                         \
         if (text != nullptr)                                                                      \
             text->name = static_cast<type>(value);                                                \
     }},
#include "client/TextFields.def"
#define FIELD(command, item, type, name)                                                           \
    {command, [](Self& self) {                                                                     \
         Geometry* const geometry = self.receiveGeometry();                                        \
         auto const value = self.m_socket.receive##item();                                         \
         if (geometry != nullptr)                                                                  \
             geometry->name = static_cast<type>(value);                                            \
     }},
#include "client/GeometryFields.def"
    };
}

bool AnnotationBuilder::serve(std::string const& command)
{
    auto const found = m_handlers.find(command);
    if (found == m_handlers.end())
        return false;
    found->second(*this);
    return true;
}

void AnnotationBuilder::forget()
{
    m_numPointsAhead = 0;
    m_auxDataIndex.clear();
    m_problem.clear();
}

void AnnotationBuilder::note(std::string const& problem)
{
    if (m_problem.empty())
        m_problem = problem;
}

Text* AnnotationBuilder::receiveText()
{
    std::uint64_t const id = m_socket.receiveUInt64();
    Text* const text = find(m_dataSet.texts, id);
    if (text == nullptr)
        note("The loader changed a text " + std::to_string(id) + " that it has not created.");
    return text;
}

Geometry* AnnotationBuilder::receiveGeometry()
{
    std::uint64_t const id = m_socket.receiveUInt64();
    Geometry* const geometry = find(m_dataSet.geometries, id);
    if (geometry == nullptr)
        note("The loader changed a geometry " + std::to_string(id) + " that it has not created.");
    return geometry;
}

// Texts.

void AnnotationBuilder::textCreate()
{
    Text text;
    text.coordSys = m_socket.receiveInt();
    text.x = m_socket.receiveDouble();
    text.y = m_socket.receiveDouble();
    text.heightUnits = m_socket.receiveInt();
    text.height = m_socket.receiveDouble();
    text.text = m_socket.receiveString();
    text.id = newId();
    m_dataSet.texts.push_back(std::move(text));
    m_socket.sendUInt64(m_dataSet.texts.back().id);
}

void AnnotationBuilder::typeface()
{
    Text* const text = receiveText();
    Typeface received;
    received.family = m_socket.receiveString();
    received.isBold = m_socket.receiveUInt32() != 0;
    received.isItalic = m_socket.receiveUInt32() != 0;
    if (text != nullptr)
        text->typeface = std::move(received);
}

void AnnotationBuilder::textMacroCommand()
{
    Text* const text = receiveText();
    std::string received = m_socket.receiveString();
    if (text != nullptr)
        text->macroCommand = std::move(received);
    m_socket.sendUInt32(text != nullptr ? 1 : 0);
}

// Geometries.

void AnnotationBuilder::shapeCreate(Shape shape, int numSizes)
{
    Geometry geometry;
    geometry.shape = shape;
    geometry.coordSys = m_socket.receiveInt();
    double const x = m_socket.receiveDouble();
    double const y = m_socket.receiveDouble();
    geometry.anchor = Point{x, y, 0};
    for (int i = 0; i < numSizes; ++i)
        geometry.sizes.push_back(m_socket.receiveDouble());
    geometry.id = newId();
    m_dataSet.geometries.push_back(std::move(geometry));
    m_socket.sendUInt64(m_dataSet.geometries.back().id);
}

void AnnotationBuilder::flatPolylinesCreate()
{
    Geometry geometry;
    geometry.shape = Shape::FlatPolylines;
    geometry.coordSys = m_socket.receiveInt();
    createPolylines(std::move(geometry));
}

void AnnotationBuilder::spacePolylinesCreate()
{
    Geometry geometry;
    geometry.shape = Shape::SpacePolylines;
    createPolylines(std::move(geometry));
}

void AnnotationBuilder::createPolylines(Geometry geometry)
{
    geometry.numPoints = m_socket.receiveVector<long>(MAX_POLYLINES);
    for (long& count : geometry.numPoints) {
        if (count >= 0)
            continue;
        note("The loader created a polyline of " + std::to_string(count) + " points.");
        count = 0;
    }
    geometry.polylines.resize(geometry.numPoints.size());
    geometry.id = newId();
    m_dataSet.geometries.push_back(std::move(geometry));
    m_socket.sendUInt64(m_dataSet.geometries.back().id);
}

void AnnotationBuilder::setPoint(Shape shape)
{
    Geometry* const geometry = receiveGeometry();
    std::int64_t const polyline = m_socket.receiveInt32(); // both from 1 on
    std::int64_t const number = m_socket.receiveInt64();
    Point point{};
    point[0] = m_socket.receiveDouble();
    point[1] = m_socket.receiveDouble();
    if (shape == Shape::SpacePolylines)
        point[2] = m_socket.receiveDouble();
    if (geometry == nullptr)
        return;
    auto const index = static_cast<std::size_t>(polyline - 1);
    bool const exists = geometry->shape == shape && polyline >= 1 &&
                        index < geometry->polylines.size() && number >= 1 &&
                        number <= geometry->numPoints[index];
    std::vector<Point>* const points = exists ? &geometry->polylines[index] : nullptr;
    std::int64_t const ahead = exists ? number - 1 - static_cast<std::int64_t>(points->size()) : 0;
    if (!exists || ahead > MAX_POINTS_AHEAD - m_numPointsAhead)
        return note("The loader gave point " + std::to_string(number) + " of polyline " +
                    std::to_string(polyline) + " of a geometry that has no such point yet.");
    if (ahead >= 0) {
        m_numPointsAhead += ahead;
        points->resize(static_cast<std::size_t>(number));
    }
    (*points)[static_cast<std::size_t>(number - 1)] = point;
}

void AnnotationBuilder::anchorPos()
{
    Geometry* const geometry = receiveGeometry();
    Point point{};
    for (double& coordinate : point)
        coordinate = m_socket.receiveDouble();
    if (geometry != nullptr)
        geometry->anchor = point;
}

void AnnotationBuilder::geometryMacroCommand()
{
    Geometry* const geometry = receiveGeometry();
    std::string received = m_socket.receiveString();
    if (geometry != nullptr)
        geometry->macroCommand = std::move(received);
    m_socket.sendUInt32(geometry != nullptr ? 1 : 0);
}

// Custom labels and auxiliary data.

void AnnotationBuilder::labels()
{
    m_dataSet.labelSets.push_back(m_socket.receiveStringVector());
    m_socket.sendUInt32(1);
}

void AnnotationBuilder::auxDataItem()
{
    int const kind = m_socket.receiveInt();
    AuxData item;
    item.owner = static_cast<AuxData::Owner>(kind);
    item.number = m_socket.receiveInt();
    item.name = m_socket.receiveString();
    item.type = m_socket.receiveInt();
    item.value = m_socket.receiveString();
    item.isKept = m_socket.receiveInt() != 0;
    // True in any case: a false in a batch would end the server's reading of the answers behind it.
    m_socket.sendUInt32(1);
    if (nameOf(item.owner).empty())
        return note("The loader gave auxiliary data of a kind of owner " + std::to_string(kind) +
                    ".");
    auto const [place, isNew] = m_auxDataIndex.emplace(
        std::tuple(item.owner, item.number, item.name), m_dataSet.auxData.size());
    if (isNew)
        m_dataSet.auxData.push_back(std::move(item));
    else
        m_dataSet.auxData[place->second] = std::move(item);
}

std::string AnnotationBuilder::strayAuxData() const
{
    for (AuxData const& item : m_dataSet.auxData) {
        Zone const* const zone = std::as_const(m_dataSet).zone(item.number);
        bool const exists = item.owner == AuxData::Owner::Zone
                                ? zone != nullptr && zone->isAdded
                                : item.owner == AuxData::Owner::DataSet ||
                                      (item.number >= 1 && static_cast<std::size_t>(item.number) <=
                                                               m_dataSet.variables.size());
        if (!exists)
            return "The loader gave auxiliary data of " + nameOf(item.owner) + " " +
                   std::to_string(item.number) + ", which it has not added.";
    }
    return "";
}

}
