#pragma once

#include "tests/vnxconvert/Served.h"

namespace varnox::convert::tests {

/// A grid of an XML file as VTK itself reads it. Variables have the names that vnxconvert gives
/// them; cells must be of kinds that HDQFS files have.
Mesh readWithVtk(std::string const& path);

}
