#pragma once

#include "varnox/eqn/ExprInterface.h"
#include "varnox/eqn/OneArgFuncExpr.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace varnox::eqn {

class VarArgFuncExpr;

enum class Operation : unsigned char {
    PushConstant, ///< value
    PushVariable, ///< index: into varIDs()
    Add,
    Subtract,
    Multiply,
    Divide, ///< index: 1 if a divisor of zero is nothing to speak of
    Negate,
    Power, ///< value: the exponent
    Greater,
    GreaterOrEqual,
    Less,
    LessOrEqual,
    Equal,
    NotEqual,
    OneArg, ///< index: the function's code, but for rand
    Rand,   ///< index: into draws()
    TwoArg, ///< index: the function's code
    AnyArg  ///< index: into functions()
};

struct Instruction
{
    Operation operation;
    std::uint32_t index;
    double value;
};

/// An expression as a list of instructions for a machine with a stack: what evaluators run, over
/// numbers or over ranges. Keeps the expression.
class Program
{
public:
    /// Throws std::invalid_argument for an expression that is missing, lacks an operand or has a
    /// function without a known code.
    explicit Program(std::shared_ptr<ExprInterface> expression);

    std::vector<Instruction> const& instructions() const { return m_instructions; }
    /// The ids of the variables, each once, in the order in which they first occur.
    std::vector<unsigned long> const& varIDs() const { return m_varIDs; }
    std::vector<VarArgFuncExpr const*> const& functions() const { return m_functions; }
    /// Functions that draw random numbers. These are the nodes' own, as their numbers are those of
    /// a sequence that all expressions of the process share, wherever they are evaluated.
    std::vector<OneArgFuncExpr::DoubleFunction> const& draws() const { return m_draws; }
    /// The most operands that lie on the stack at once.
    std::size_t maxDepth() const { return m_maxDepth; }

private:
    class Compiler;

    std::shared_ptr<ExprInterface> m_expression;
    std::vector<Instruction> m_instructions;
    std::vector<unsigned long> m_varIDs;
    std::vector<VarArgFuncExpr const*> m_functions;
    std::vector<OneArgFuncExpr::DoubleFunction> m_draws;
    std::size_t m_maxDepth = 0;
};

}
