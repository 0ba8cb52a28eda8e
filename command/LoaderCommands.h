#pragma once

#include <string>

namespace varnox::hdqremote {

#define COMMAND(constant, literal) inline std::string const constant{literal};
#include "command/LoaderCommands.def"

}
