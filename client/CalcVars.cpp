// Variables that the loader calculates from a formula.

#include "client/Converse.h"
#include "client/Engine.h"
#include "command/LoaderCommands.h"
#include "expressions/ExpressionSerializer.h"
#include "expressions/PostOrder.h"
#include "formula/Formula.h"
#include "formula/FormulaError.h"
#include "varnox/eqn/VariableExpr.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>

namespace varnox::client {

using namespace hdqremote;

namespace {

/// What the loader is told beside the formula; the HDQFS loader doesn't look at it.
constexpr std::int32_t CALC_VAR_ARG = 0;

/// The zone's variable of this name, or null. Of several the first.
Variable const* variableNamed(DataSet const& dataSet, Zone const& zone, std::string const& name)
{
    for (Variable const& variable : dataSet.variables) {
        ZoneVariable const* const ofZone = DataSet::variable(zone, variable.number);
        if (variable.name == name && ofZone != nullptr && !ofZone->isAbsent)
            return &variable;
    }
    return nullptr;
}

/// The variables whose values an expression needs.
std::vector<unsigned long> variablesIn(eqn::ExprInterface const& expression)
{
    std::vector<unsigned long> ids;
    for (eqn::ExprInterface const* const node : eqn::inPostOrder(expression))
        if (auto const* const variable = dynamic_cast<eqn::VariableExpr const*>(node))
            ids.push_back(variable->varID());
    return ids;
}

/// Values are calculated at cells if any of the variables has its values there. The loader takes
/// values at nodes to cells, and none the other way.
ValueLocation_e locationOf(eqn::ExprInterface const& expression, DataSet const& dataSet,
                           Zone const& zone)
{
    std::vector<unsigned long> const ids = variablesIn(expression);
    for (Variable const& variable : dataSet.variables) {
        ZoneVariable const* const ofZone = DataSet::variable(zone, variable.number);
        bool const isUsed = std::find(ids.begin(), ids.end(),
                                      static_cast<unsigned long>(variable.uniqueId)) != ids.end();
        if (isUsed && ofZone != nullptr && !ofZone->isAbsent &&
            ofZone->location == ValueLocation_CellCentered)
            return ValueLocation_CellCentered;
    }
    return ValueLocation_Nodal;
}

}

int Engine::createCalcVar(int zoneNumber, std::string const& name, std::string const& formula,
                          FieldDataType_e type)
{
    Zone const& zone = zoneOf(zoneNumber);
    std::string const zoneText = "zone " + std::to_string(zoneNumber);
    if (!zone.hasIdentityQueries)
        throw Error("The loader calculates no variables of " + zoneText + ".");
    if (!isTransferable(type))
        throw Error("Values of the type " + nameOf(type) + " don't travel.");
    if (variableNamed(dataSet(), zone, name) != nullptr)
        throw Error("There is a variable '" + printable(name) + "' in " + zoneText + " already.");

    std::int64_t const id = m_builder.idOfCalcVar(name);
    auto const expression = [&] {
        try {
            return formula::parseFormula(
                formula, static_cast<unsigned long>(id),
                [&](std::string const& wanted) -> std::optional<unsigned long> {
                    Variable const* const found = variableNamed(dataSet(), zone, wanted);
                    return found != nullptr
                               ? std::optional(static_cast<unsigned long>(found->uniqueId))
                               : std::nullopt;
                });
        } catch (formula::FormulaError const& error) {
            throw Error(std::string("The formula can't be read. ") + error.what());
        }
    }();
    ZoneVariable variable;
    variable.type = type;
    variable.location = locationOf(*expression, dataSet(), zone);
    variable.hasQueries = true;

    return converse("making the variable '" + printable(name) + "' of " + zoneText, [&] {
        socketutil::WriteCache command;
        command.addString(ZONE_VARID_QUERY);
        command.addInt(zoneNumber - 1);
        command.addString(CREATE_CALC_VAR);
        command.addUInt64(static_cast<std::uint64_t>(id));
        command.addInt32(CALC_VAR_ARG);
        command.addInt32(type);
        hdqlib::ExpressionSerializer(expression).addToCache(command);
        m_socket.sendCache(command);
        std::int64_t const number = std::int64_t{m_socket.receiveInt()} + 1;
        Range nodal;
        nodal.min = m_socket.receiveDouble();
        nodal.max = m_socket.receiveDouble();
        Range cellCentred;
        cellCentred.min = m_socket.receiveDouble();
        cellCentred.max = m_socket.receiveDouble();
        if (number != static_cast<std::int64_t>(dataSet().variables.size()) + 1)
            throw ProtocolViolation("The server gave the new variable the number " +
                                    std::to_string(number - 1) + " where the data set has " +
                                    std::to_string(dataSet().variables.size()) + ".");
        variable.range = variable.location == ValueLocation_Nodal ? nodal : cellCentred;
        return m_builder.addCalcVar(zoneNumber, name, id, variable);
    });
}

}
