#pragma once

#include <stdexcept>

namespace varnox::loadgen {

/// The server did what it must not do.
class Fault : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

}
