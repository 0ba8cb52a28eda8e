#pragma once

#include "tools/support/Output.h"

#include <string>
#include <vector>

namespace varnox::tools {

/// Reads everything that the files hold and writes what is wrong with them. Of a grid file with its
/// solution files behind it, the solutions are also held to the grid. False if anything is wrong.
bool checkFiles(std::vector<std::string> const& paths, bool asJson, Output& output);

}
