#pragma once

#include "varnox/eqn/ExprEvalInterface.h"

namespace varnox::socketutil {
class WriteCache;
}

namespace varnox::hdqlib {

/// Ends an expression on the wire, where the code of a node could stand.
constexpr unsigned char END_OF_EXPRESSION = 255;

/// Writes the record of the node that it visits. Its operands' records must have been written.
class ExpressionSerializingEvaluator final : public eqn::ExprEvalInterface
{
public:
    explicit ExpressionSerializingEvaluator(socketutil::WriteCache& cache) : m_cache(cache) {}

#define NODE(number, name, operands) void evaluate(eqn::name##Expr const& expr) override;
#include "varnox/eqn/ExprNodes.def"

private:
    socketutil::WriteCache& m_cache;
};

}
