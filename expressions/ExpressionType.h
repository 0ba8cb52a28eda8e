#pragma once

namespace varnox::hdqlib {

/// The codes of nodes on the wire.
namespace ExpressionType {

enum Code : unsigned char {
#define NODE(number, name, operands) name = number,
#include "varnox/eqn/ExprNodes.def"
};

}

}
