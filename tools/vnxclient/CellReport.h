#pragma once

#include "client/Engine.h"
#include "tools/support/Output.h"

#include <string>
#include <vector>

namespace varnox::tools {

/// What `cells` is asked for.
struct CellRequest
{
    std::string zone;                             ///< A number from 1 on, or a name.
    std::vector<client::SubzoneAddress> subzones; ///< None for all.
    bool withCoordinates = false;
    std::string coordinates; ///< Three variables, separated by commas; empty: those named X, Y, Z.
};

/// Reads the cells of a zone and writes them as they come.
void reportCells(client::Engine& engine, CellRequest const& request, bool asJson, Output& output);

}
