#include "tools/vnxclient/ValueReport.h"

#include "tools/vnxclient/Numbers.h"
#include "tools/vnxclient/Reports.h"

namespace varnox::tools {

using client::Engine;
using client::nameOf;
using client::SubzoneAddress;
using client::Values;
using client::Zone;
using client::ZoneVariable;
using nlohmann::json;

namespace {

std::string textOf(Values const& values)
{
    std::string text;
    std::visit(
        [&](auto const& vector) {
            for (auto const value : vector) {
                if constexpr (std::is_floating_point_v<std::remove_const_t<decltype(value)>>)
                    text += shown(value);
                else
                    text += std::to_string(value);
                text += '\n';
            }
        },
        values);
    return text;
}

json jsonOf(Values const& values)
{
    return std::visit([](auto const& vector) { return json(vector); }, values);
}

/// Writes pieces in one of the three forms.
class ValueWriter
{
public:
    ValueWriter(ValueForm form, Output& output) : m_form(form), m_output(output) {}

    void begin(Engine const& engine, int zone, int var)
    {
        Zone const& of = *engine.dataSet().zone(zone);
        ZoneVariable const& variable = *client::DataSet::variable(of, var);
        std::string const name = engine.dataSet().variables[static_cast<std::size_t>(var - 1)].name;
        if (m_form == ValueForm::Text)
            m_output.write("# variable " + std::to_string(var) + " '" + shown(name) + "' of zone " +
                           std::to_string(zone) + " '" + shown(of.name) +
                           "': " + nameOf(variable.type) + ", " + nameOf(variable.location) + "\n");
        if (m_form != ValueForm::Json)
            return;
        std::string const head = dumped({{"zone", zone},
                                         {"zoneName", of.name},
                                         {"variable", var},
                                         {"variableName", name},
                                         {"type", nameOf(variable.type)},
                                         {"location", nameOf(variable.location)}});
        m_output.write(head.substr(0, head.size() - 1)); // what follows joins the same object
    }

    void whole(Values const& values)
    {
        if (m_form == ValueForm::Json)
            m_output.write(",\"values\":" + jsonOf(values).dump() + "}\n");
        else
            piece(values);
    }

    void subzone(SubzoneAddress address, Values const& values)
    {
        if (m_form == ValueForm::Text)
            m_output.write("# subzone " + client::textOf(address) + ": " +
                           std::to_string(client::count(values)) + " values\n");
        if (m_form != ValueForm::Json) {
            piece(values);
            return;
        }
        m_output.write(m_isFirst ? ",\"subzones\":[" : ",");
        m_isFirst = false;
        m_output.write(dumped({{"partition", address.partition()},
                               {"section", address.section()},
                               {"subzone", address.subzoneOffset()},
                               {"values", jsonOf(values)}}));
    }

    void endSubzones()
    {
        if (m_form == ValueForm::Json)
            m_output.write(m_isFirst ? ",\"subzones\":[]}\n" : "]}\n");
    }

private:
    void piece(Values const& values)
    {
        if (m_form == ValueForm::Raw)
            m_output.write(client::bytes(values), client::byteCount(values));
        else
            m_output.write(textOf(values));
    }

    ValueForm m_form;
    Output& m_output;
    bool m_isFirst = true;
};

}

ValueRequest calculate(Engine& engine, ValueRequest const& request,
                       CalculationRequest const& calculation)
{
    int const zone = zoneNumberOf(request.zone, engine.dataSet());
    auto const& variables = engine.dataSet().variables;
    bool const isVariable =
        std::any_of(variables.begin(), variables.end(), [&](client::Variable const& variable) {
            return variable.name == calculation.formula;
        });
    std::string const name = !calculation.name.empty() ? calculation.name
                             : isVariable              ? "(" + calculation.formula + ")"
                                                       : calculation.formula;
    ValueRequest result = request;
    result.zone = std::to_string(zone);
    result.variable =
        std::to_string(engine.createCalcVar(zone, name, calculation.formula, calculation.type));
    return result;
}

void reportValues(Engine& engine, ValueRequest const& request, Output& output)
{
    int const zone = zoneNumberOf(request.zone, engine.dataSet());
    int const var = variableNumberOf(request.variable, engine.dataSet());
    bool const bySubzones =
        !request.subzones.empty() || (!request.onDemand && engine.hasSubzoneValues(zone, var));
    ValueWriter writer(request.form, output);
    if (!bySubzones) {
        Values const values = engine.values(zone, var);
        writer.begin(engine, zone, var);
        writer.whole(values);
        return;
    }
    engine.hasSubzoneValues(zone, var); // complains about numbers that don't exist
    writer.begin(engine, zone, var);
    auto const sink = [&](SubzoneAddress address, Values const& values) {
        writer.subzone(address, values);
    };
    if (request.subzones.empty())
        engine.allSubzoneValues(zone, var, sink);
    else
        engine.subzoneValues(zone, var, request.subzones, sink);
    writer.endSubzones();
}

}
