#pragma once

namespace varnox::eqn {

#define NODE(number, name, operands) class name##Expr;
#include "varnox/eqn/ExprNodes.def"

/// A visitor of expressions. The order of the operations is binding, and their numbers are the
/// codes of the nodes on the wire.
class ExprEvalInterface
{
public:
#define NODE(number, name, operands) virtual void evaluate(name##Expr const& expr) = 0;
#include "varnox/eqn/ExprNodes.def"
    virtual ~ExprEvalInterface() = default;
};

}
