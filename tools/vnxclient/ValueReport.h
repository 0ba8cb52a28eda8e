#pragma once

#include "client/Engine.h"
#include "tools/support/Output.h"

#include <string>
#include <vector>

namespace varnox::tools {

enum class ValueForm { Text, Json, Raw };

struct ValueRequest
{
    std::string zone;                             ///< a number from 1 on, or a name
    std::string variable;                         ///< likewise
    std::vector<client::SubzoneAddress> subzones; ///< none for all
    bool onDemand = false;
    ValueForm form = ValueForm::Text;
};

struct CalculationRequest
{
    std::string formula;
    std::string name; ///< Of the result; none for the formula itself.
    FieldDataType_e type = FieldDataType_Double;
};

/// Makes a variable from a formula in the zone of the request, and gives the request for its
/// values.
ValueRequest calculate(client::Engine& engine, ValueRequest const& request,
                       CalculationRequest const& calculation);

/// Reads the values of a variable and writes them as they come.
void reportValues(client::Engine& engine, ValueRequest const& request, Output& output);

}
