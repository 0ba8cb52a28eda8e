#include "addons/hdqfs/CalcVarLog.h"

#include <iostream>

namespace varnox::hdqfsloader {

void CalcVarLog::logWarning(std::string const& text)
{
    std::cerr << text + "\n" << std::flush;
}

}
