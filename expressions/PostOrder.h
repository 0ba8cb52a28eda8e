#pragma once

#include "varnox/eqn/ExprInterface.h"

#include <vector>

namespace varnox::eqn {

/// The operands of a node, in their order. Null for one that is missing.
std::vector<ExprInterface const*> operandsOf(ExprInterface const& node);

/// All nodes of a tree, each behind its operands, without recursion: what a visitor must walk that
/// minds its stack. Throws std::invalid_argument if an operand is missing.
std::vector<ExprInterface const*> inPostOrder(ExprInterface const& root);

}
