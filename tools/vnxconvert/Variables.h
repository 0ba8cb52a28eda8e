#pragma once

#include "tools/vnxconvert/Grid.h"
#include "tools/vnxconvert/ZoneLayout.h"
#include "varnox/hdqfswriter/DataSet.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace varnox::convert {

/// What becomes of floating-point numbers. Integers keep their type.
enum class Precision { Keep, Float, Double };

/// The type in which numbers are written: the narrowest one that holds all of them; of 64-bit and
/// unsigned 32-bit integers a double.
hdqfswriter::ValueType valueTypeOf(NumberType type, Precision precision);

/// A variable of the output.
struct Variable
{
    static constexpr int NO_AXIS = -1;

    std::string name;
    int axis = NO_AXIS; ///< 0 to 2 of a coordinate.
    std::string field;
    ValueLocation location = ValueLocation::Nodes;
};

/// The variables of all zones of all steps: X, Y, Z, then fields as they are met. A name that is
/// both at nodes and at cells gets "_cell" at cells.
class Variables
{
public:
    /// wanted: names of arrays, of their components, or of the variables made of them; empty for
    /// all.
    explicit Variables(std::vector<std::string> wanted) : m_wanted(std::move(wanted)) {}

    /// True if a grid has brought new ones.
    bool add(Grid const& grid);
    /// Coordinates and fields.
    std::vector<Variable> all() const;
    /// Whether an array of a file can be left unread.
    bool mayWant(std::string const& array) const;
    /// Throws std::runtime_error if a wanted name is none.
    void requireWanted() const;

private:
    struct Known
    {
        std::string array;
        std::string field;
        ValueLocation location;
    };

    std::vector<Known> m_known;
    std::map<std::pair<std::string, ValueLocation>, std::size_t> m_byName;
    std::vector<std::string> m_wanted;

    std::vector<std::pair<Known, std::string>> named() const;
    bool isWanted(Known const& known, std::string const& name) const;
};

/// What an array's component is called: the array with what the file calls the component, else _x,
/// _y, _z of two or three, _xx and so on of six or nine, and _1, _2 of others.
std::string componentName(std::string const& array, std::size_t component,
                          std::size_t numComponents, std::string const& fromFile);

/// The field of a zone's grid that a variable takes its values from; null for a coordinate, and
/// where there are none.
Field const* fieldOf(ZoneLayout const& zone, Variable const& variable);

}
