#pragma once

#include "client/DataSet.h"

#include <string>

namespace varnox::tools {

/// The number of a zone or a variable that was named by number or by name. Throw client::Error for
/// a name that there isn't, or that there is twice; a number isn't looked at.
int zoneNumberOf(std::string const& wanted, client::DataSet const& dataSet);
int variableNumberOf(std::string const& wanted, client::DataSet const& dataSet);

}
