#include "addons/hdqfs/NotServed.h"

#include <stdexcept>

namespace varnox::hdqfsloader {

void throwNotServed(std::string const& what)
{
    throw std::runtime_error("The HDQFS loader doesn't serve " + what +
                             " yet: it serves values, ranges and sizes of subzones.");
}

}
