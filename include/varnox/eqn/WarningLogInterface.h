#pragma once

#include <string>

namespace varnox::eqn {

/// Where a function reports what isn't a failure. The order of the operations is binding.
class WarningLogInterface
{
public:
    virtual void logWarning(std::string const& text) = 0;
    virtual ~WarningLogInterface() = default;
};

}
