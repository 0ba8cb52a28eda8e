#pragma once

#include "tools/support/Output.h"
#include "tools/vnxinfo/Description.h"

namespace varnox::tools {

/// Writes the pieces of a file's description as an indented tree.
void writeTreeStart(Json const& file, Output& output);
void writeTreeZone(Json const& zone, Output& output);
void writeTreeGroups(Json const& groups, Output& output);

}
