#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What a loader decorates a data set with. Numbers of enumerations, colours and coordinate systems
/// are the loader's; what it hasn't said is empty.
namespace varnox::client {

struct Typeface
{
    std::string family;
    bool isBold = false;
    bool isItalic = false;
};

struct Text
{
    std::uint64_t id = 0;
    int coordSys = 0;
    double x = 0;
    double y = 0;
    int heightUnits = 0;
    double height = 0;
    std::string text;
#define FIELD(command, item, type, name) std::optional<type> name;
#include "client/TextFields.def"
    std::optional<Typeface> typeface;
    std::optional<std::string> macroCommand;
};

enum class Shape { FlatPolylines, SpacePolylines, Rectangle, Square, Circle, Ellipse };

using Point = std::array<double, 3>;

struct Geometry
{
    std::uint64_t id = 0;
    Shape shape = Shape::FlatPolylines;
    std::optional<int> coordSys; ///< Polylines in space have none of their own.
    std::optional<Point> anchor; ///< Polylines have none until one is set.
    /// Width and height, size, radius, or the horizontal and the vertical axis.
    std::vector<double> sizes;
    /// As many points of each as have come, in their order; z is 0 in the plane.
    std::vector<std::vector<Point>> polylines;
    /// The points that each polyline is to have.
    std::vector<long> numPoints;
#define FIELD(command, item, type, name) std::optional<type> name;
#include "client/GeometryFields.def"
    std::optional<std::string> macroCommand;
};

using LabelSet = std::vector<std::string>;

/// A named text that belongs to a zone, a variable or the data set.
struct AuxData
{
    enum class Owner { Zone = 0, DataSet = 1, Variable = 3 };

    Owner owner = Owner::DataSet;
    int number = 0; ///< Of the zone or variable, from 1 on; 0 for the data set.
    std::string name;
    std::string value;
    int type = 0;
    bool isKept = false; ///< When the data set is saved.
};

/// Words for people and for JSON.
std::string nameOf(Shape shape);
std::string nameOf(AuxData::Owner owner);

}
