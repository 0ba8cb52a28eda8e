#pragma once

#include "client/DataSet.h"
#include "tools/support/Output.h"

#include <nlohmann/json.hpp>

namespace varnox::tools {

/// Adds texts, geometries, label sets and auxiliary data to a data set's JSON; what the loader
/// hasn't said is left out.
void addAnnotations(client::DataSet const& dataSet, nlohmann::json& report);
/// A line for each.
void reportAnnotations(client::DataSet const& dataSet, Output& output);

}
