#pragma once

#include "tests/faults/Session.h"

#include <vector>

namespace varnox::tests {

std::vector<Scenario> const& scenarios();

/// What every session must be able to do after another one has failed.
Scenario const& nextSession();

}
