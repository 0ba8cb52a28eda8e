#include "varnox/eqn/ExprNodes.h"

#include "varnox/eqn/ExprEvalInterface.h"

#include <new>

namespace varnox::eqn {

namespace {

/// Nodes that wait for their deletion while one above them is being destroyed. A chain of a million
/// nodes would run out of stack if every node deleted its operands within its own destructor.
class Condemned
{
public:
    /// Deletes a tree. Within the deletion of another one it is put off until that one's root is
    /// gone.
    static void destroy(ExprInterface* tree) noexcept
    {
        if (tree == nullptr)
            return;
        thread_local Condemned* current = nullptr;
        if (current != nullptr) {
            current->add(tree);
            return;
        }
        Condemned nodes;
        current = &nodes;
        delete tree;
        while (!nodes.m_trees.empty()) {
            ExprInterface* const next = nodes.m_trees.back();
            nodes.m_trees.pop_back();
            delete next;
        }
        current = nullptr;
    }

private:
    void add(ExprInterface* tree) noexcept
    {
        try {
            m_trees.push_back(tree);
        } catch (std::bad_alloc const&) {
            delete tree; // no list without memory: the stack has to do
        }
    }

    std::vector<ExprInterface*> m_trees;
};

}

#define NODE(number, name, operands)                                                               \
    void name##Expr::accept(ExprEvalInterface& visitor) const                                      \
    {                                                                                              \
        visitor.evaluate(*this);                                                                   \
    }
#include "varnox/eqn/ExprNodes.def"

BinaryExprAbstract::BinaryExprAbstract(unsigned long id, ExprInterface* first,
                                       ExprInterface* second) noexcept
    : m_exprUniqueID(id), m_firstOpExpr(first), m_secondOpExpr(second)
{
}

BinaryExprAbstract::~BinaryExprAbstract()
{
    Condemned::destroy(m_firstOpExpr);
    Condemned::destroy(m_secondOpExpr);
}

unsigned long BinaryExprAbstract::exprUniqueID() const
{
    return m_exprUniqueID;
}

ExprInterface const* BinaryExprAbstract::firstOpExpr() const
{
    return m_firstOpExpr;
}

ExprInterface const* BinaryExprAbstract::secondOpExpr() const
{
    return m_secondOpExpr;
}

UnaryExprAbstract::UnaryExprAbstract(unsigned long id, ExprInterface* operand) noexcept
    : m_exprUniqueID(id), m_opExpr(operand)
{
}

UnaryExprAbstract::~UnaryExprAbstract()
{
    Condemned::destroy(m_opExpr);
}

unsigned long UnaryExprAbstract::exprUniqueID() const
{
    return m_exprUniqueID;
}

ExprInterface const* UnaryExprAbstract::opExpr() const
{
    return m_opExpr;
}

DivideExpr::DivideExpr(unsigned long id, ExprInterface* first, ExprInterface* second,
                       bool ignoreDivideByZero) noexcept
    : BinaryExprAbstract(id, first, second), m_ignoreDivideByZero(ignoreDivideByZero)
{
}

bool DivideExpr::ignoreDivideByZero() const
{
    return m_ignoreDivideByZero;
}

NegateExpr::NegateExpr(unsigned long id, ExprInterface* operand) noexcept
    : UnaryExprAbstract(id, operand)
{
}

PowerExpr::PowerExpr(unsigned long id, ExprInterface* operand, double power) noexcept
    : UnaryExprAbstract(id, operand), m_power(power)
{
}

ConstantExpr::ConstantExpr(unsigned long id, double value) noexcept
    : m_exprUniqueID(id), m_constantValue(value)
{
}

unsigned long ConstantExpr::exprUniqueID() const
{
    return m_exprUniqueID;
}

double ConstantExpr::constantValue() const
{
    return m_constantValue;
}

VariableExpr::VariableExpr(unsigned long id, unsigned long varID) noexcept
    : m_exprUniqueID(id), m_varID(varID)
{
}

unsigned long VariableExpr::exprUniqueID() const
{
    return m_exprUniqueID;
}

unsigned long VariableExpr::varID() const
{
    return m_varID;
}

OneArgFuncExpr::OneArgFuncExpr(unsigned long id, DoubleFunction const& doubleFunction,
                               IntervalFunction const& intervalFunction, ExprInterface* operand,
                               unsigned char functionName)
    : UnaryExprAbstract(id, operand), m_doubleFunction(doubleFunction),
      m_intervalFunction(intervalFunction), m_functionName(functionName)
{
}

OneArgFuncExpr::DoubleFunction OneArgFuncExpr::doubleFunction() const
{
    return m_doubleFunction;
}

OneArgFuncExpr::IntervalFunction OneArgFuncExpr::intervalFunction() const
{
    return m_intervalFunction;
}

unsigned char OneArgFuncExpr::functionName() const
{
    return m_functionName;
}

TwoArgFuncExpr::TwoArgFuncExpr(unsigned long id, DoubleFunction const& doubleFunction,
                               IntervalFunction const& intervalFunction, ExprInterface* first,
                               ExprInterface* second, unsigned char functionName)
    : BinaryExprAbstract(id, first, second), m_doubleFunction(doubleFunction),
      m_intervalFunction(intervalFunction), m_functionName(functionName)
{
}

TwoArgFuncExpr::DoubleFunction TwoArgFuncExpr::doubleFunction() const
{
    return m_doubleFunction;
}

TwoArgFuncExpr::IntervalFunction TwoArgFuncExpr::intervalFunction() const
{
    return m_intervalFunction;
}

unsigned char TwoArgFuncExpr::functionName() const
{
    return m_functionName;
}

VarArgFuncExpr::VarArgFuncExpr(unsigned long id, DoubleFunction const& doubleFunction,
                               IntervalFunction const& intervalFunction,
                               std::vector<ExprInterface*> const& operands)
    : m_exprUniqueID(id), m_doubleFunction(doubleFunction), m_intervalFunction(intervalFunction),
      m_opExprs(operands)
{
}

VarArgFuncExpr::~VarArgFuncExpr()
{
    for (ExprInterface* const operand : m_opExprs)
        Condemned::destroy(operand);
}

unsigned long VarArgFuncExpr::exprUniqueID() const
{
    return m_exprUniqueID;
}

}
