#pragma once

#include "tools/support/Output.h"
#include "tools/vnxinfo/Description.h"

namespace varnox::tools {

/// Writes the description of a file as an indented tree.
void writeTree(Json const& file, Output& output);

}
