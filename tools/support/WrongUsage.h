#pragma once

#include <stdexcept>

namespace varnox::tools {

/// The command line can't be followed; the text says how it should be.
class WrongUsage : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

}
