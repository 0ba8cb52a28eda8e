#pragma once

#include "varnox/eqn/WarningLogInterface.h"

namespace varnox::eqn {

/// Drops what it is told, where a function is only probed.
class DummyWarningLog final : public WarningLogInterface
{
public:
    void logWarning(std::string const&) override {}
};

}
