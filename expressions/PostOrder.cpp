#include "expressions/PostOrder.h"

#include "varnox/eqn/ExprEvalInterface.h"
#include "varnox/eqn/ExprNodes.h"

#include <algorithm>
#include <stdexcept>

namespace varnox::eqn {

namespace {

/// Appends the operands of the node that it visits.
class Operands final : public ExprEvalInterface
{
public:
    explicit Operands(std::vector<ExprInterface const*>& out) : m_out(out) {}

#define NODE(number, name, operands)                                                               \
    void evaluate(name##Expr const& expr) override                                                 \
    {                                                                                              \
        append##operands(expr);                                                                    \
    }
#include "varnox/eqn/ExprNodes.def"

private:
    void appendNone(ExprInterface const&)
    {
    }
    void appendOne(UnaryExprAbstract const& expr)
    {
        m_out.push_back(expr.opExpr());
    }
    void appendTwo(BinaryExprAbstract const& expr)
    {
        m_out.push_back(expr.firstOpExpr());
        m_out.push_back(expr.secondOpExpr());
    }
    void appendAny(VarArgFuncExpr const& expr)
    {
        m_out.insert(m_out.end(), expr.opExprs().begin(), expr.opExprs().end());
    }

    std::vector<ExprInterface const*>& m_out;
};

}

std::vector<ExprInterface const*> operandsOf(ExprInterface const& node)
{
    std::vector<ExprInterface const*> result;
    Operands operands(result);
    node.accept(operands);
    return result;
}

std::vector<ExprInterface const*> inPostOrder(ExprInterface const& root)
{
    // Each node ahead of its operands, the last one first, is the order sought from its end.
    std::vector<ExprInterface const*> result;
    std::vector<ExprInterface const*> waiting{&root};
    Operands operands(waiting);
    while (!waiting.empty()) {
        ExprInterface const* const node = waiting.back();
        waiting.pop_back();
        if (node == nullptr)
            throw std::invalid_argument("An operand of the expression is missing.");
        result.push_back(node);
        node->accept(operands);
    }
    std::reverse(result.begin(), result.end());
    return result;
}

}
