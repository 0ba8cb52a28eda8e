#pragma once

#include "varnox/eqn/WarningLogInterface.h"

namespace varnox::hdqfsloader {

/// Writes warnings to the log of the process, its standard error, a line each. The user isn't
/// asked: a query leaves no room for calls.
class CalcVarLog final : public eqn::WarningLogInterface
{
public:
    void logWarning(std::string const& text) override;
};

}
