#include "tools/vnxconvert/Variables.h"

#include "tools/vnxconvert/Remarks.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>

namespace varnox::convert {

using hdqfswriter::ValueType;

hdqfswriter::ValueType valueTypeOf(NumberType type, Precision precision)
{
    switch (type) {
    case NumberType::Bit:
        return ValueType::Bit;
    case NumberType::UInt8:
        return ValueType::Byte;
    case NumberType::Int8:
    case NumberType::Int16:
        return ValueType::Int16;
    case NumberType::UInt16:
    case NumberType::Int32:
        return ValueType::Int32;
    case NumberType::UInt32:
    case NumberType::Int64:
    case NumberType::UInt64:
        return ValueType::Double;
    case NumberType::Float:
        return precision == Precision::Double ? ValueType::Double : ValueType::Float;
    case NumberType::Double:
        break;
    }
    return precision == Precision::Float ? ValueType::Float : ValueType::Double;
}

std::string componentName(std::string const& array, std::size_t component,
                          std::size_t numComponents, std::string const& fromFile)
{
    static constexpr std::array<char const*, 3> VECTOR{"x", "y", "z"};
    static constexpr std::array<char const*, 6> SYMMETRIC{"xx", "yy", "zz", "xy", "yz", "xz"};
    static constexpr std::array<char const*, 9> TENSOR{"xx", "xy", "xz", "yx", "yy",
                                                       "yz", "zx", "zy", "zz"};
    if (numComponents == 1)
        return array;
    std::string suffix = fromFile;
    if (suffix.empty() && numComponents <= VECTOR.size())
        suffix = VECTOR[component];
    else if (suffix.empty() && numComponents == SYMMETRIC.size())
        suffix = SYMMETRIC[component];
    else if (suffix.empty() && numComponents == TENSOR.size())
        suffix = TENSOR[component];
    else if (suffix.empty())
        suffix = std::to_string(component + 1);
    return array + "_" + suffix;
}

bool Variables::add(Grid const& grid)
{
    bool isNew = false;
    for (Field const& field : grid.fields) {
        auto const [place, isFirst] =
            m_byName.emplace(std::pair(field.name, field.location), m_known.size());
        if (isFirst)
            m_known.push_back({field.array, field.name, field.location});
        isNew = isNew || isFirst;
    }
    return isNew;
}

std::vector<std::pair<Variables::Known, std::string>> Variables::named() const
{
    std::set<std::string> taken{"X", "Y", "Z"};
    // What isn't doubled keeps its name, wherever it stands.
    for (Known const& known : m_known)
        if (known.location == ValueLocation::Nodes)
            taken.insert(known.field);
    std::vector<std::pair<Known, std::string>> result;
    for (Known const& known : m_known) {
        std::string name = known.field;
        bool const isCoordinate = name == "X" || name == "Y" || name == "Z";
        if (known.location == ValueLocation::Cells && taken.contains(name))
            name += "_cell";
        else if (isCoordinate)
            name += "_2";
        std::string const stem = name;
        bool const isItsOwn = name == known.field && known.location == ValueLocation::Nodes;
        for (int n = 2; !isItsOwn && !taken.insert(name).second; ++n)
            name = stem + "_" + std::to_string(n);
        result.emplace_back(known, name);
    }
    return result;
}

bool Variables::isWanted(Known const& known, std::string const& name) const
{
    return m_wanted.empty() || std::any_of(m_wanted.begin(), m_wanted.end(), [&](auto const& item) {
               return item == known.array || item == known.field || item == name;
           });
}

std::vector<Variable> Variables::all() const
{
    std::vector<Variable> result{{"X", 0, "", ValueLocation::Nodes},
                                 {"Y", 1, "", ValueLocation::Nodes},
                                 {"Z", 2, "", ValueLocation::Nodes}};
    for (auto const& [known, name] : named())
        if (isWanted(known, name))
            result.push_back({name, Variable::NO_AXIS, known.field, known.location});
    return result;
}

bool Variables::mayWant(std::string const& array) const
{
    // A wanted name may be the array's, or it goes on with a component or "_cell".
    return m_wanted.empty() || std::any_of(m_wanted.begin(), m_wanted.end(), [&](auto const& item) {
               return item == array || item.starts_with(array + "_");
           });
}

void Variables::requireWanted() const
{
    auto const variables = named();
    for (std::string const& item : m_wanted) {
        if (item == "X" || item == "Y" || item == "Z" ||
            std::any_of(variables.begin(), variables.end(), [&](auto const& entry) {
                return item == entry.first.array || item == entry.first.field ||
                       item == entry.second;
            }))
            continue;
        throw std::runtime_error("No variable is called '" + item +
                                 "': vnxconvert without --vars shows which there are.");
    }
}

Field const* fieldOf(ZoneLayout const& zone, Variable const& variable)
{
    for (Field const& field : zone.grid->fields)
        if (field.name == variable.field && field.location == variable.location &&
            variable.axis == Variable::NO_AXIS && zone.hasValuesOf(field))
            return &field;
    return nullptr;
}

}
