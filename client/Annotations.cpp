#include "client/Annotations.h"

namespace varnox::client {

std::string nameOf(Shape shape)
{
    switch (shape) {
    case Shape::FlatPolylines:
        return "polylines";
    case Shape::SpacePolylines:
        return "polylines in space";
    case Shape::Rectangle:
        return "rectangle";
    case Shape::Square:
        return "square";
    case Shape::Circle:
        return "circle";
    case Shape::Ellipse:
        return "ellipse";
    }
    return "";
}

std::string nameOf(AuxData::Owner owner)
{
    switch (owner) {
    case AuxData::Owner::Zone:
        return "zone";
    case AuxData::Owner::DataSet:
        return "data set";
    case AuxData::Owner::Variable:
        return "variable";
    }
    return "";
}

}
