#pragma once

#include "tools/support/Output.h"
#include "tools/vnxinfo/Faults.h"

#include <string>
#include <vector>

namespace varnox::tools {

/// What is wrong with one file.
Faults findFaults(std::string const& path);

/// What is wrong with a solution file, held to its grid file unless that isn't sound.
Faults findFaults(std::string const& path, std::string const& gridPath);

/// Reads everything that the files hold and writes what is wrong with them. Of a grid file with its
/// solution files behind it, the solutions are also held to the grid. False if anything is wrong.
bool checkFiles(std::vector<std::string> const& paths, bool asJson, Output& output);

}
