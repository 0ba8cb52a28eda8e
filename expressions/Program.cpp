#include "expressions/Program.h"

#include "expressions/Functions.h"
#include "expressions/PostOrder.h"
#include "varnox/eqn/ExprEvalInterface.h"
#include "varnox/eqn/ExprNodes.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>

namespace varnox::eqn {

/// Appends the instruction of each node that it visits; nodes come behind their operands.
class Program::Compiler final : public ExprEvalInterface
{
public:
    explicit Compiler(Program& program) : m_program(program) {}

    void evaluate(AddExpr const&) override { binary(Operation::Add); }
    void evaluate(ConstantExpr const& expr) override
    {
        push({Operation::PushConstant, 0, expr.constantValue()});
    }
    void evaluate(DivideExpr const& expr) override
    {
        binary(Operation::Divide, expr.ignoreDivideByZero() ? 1 : 0);
    }
    void evaluate(MultiplyExpr const&) override { binary(Operation::Multiply); }
    void evaluate(OneArgFuncExpr const& expr) override
    {
        requireCode(expr.functionName(), hdqlib::oneArgFunctions().size());
        if (expr.functionName() != hdqlib::RAND_FUNCTION) {
            append({Operation::OneArg, expr.functionName(), 0}, 1);
            return;
        }
        if (expr.doubleFunction().empty())
            throw std::invalid_argument("The expression has an empty function.");
        append({Operation::Rand, static_cast<std::uint32_t>(m_program.m_draws.size()), 0}, 1);
        m_program.m_draws.push_back(expr.doubleFunction());
    }
    void evaluate(NegateExpr const&) override { append({Operation::Negate, 0, 0}, 1); }
    void evaluate(PowerExpr const& expr) override
    {
        append({Operation::Power, 0, expr.power()}, 1);
    }
    void evaluate(SubtractExpr const&) override { binary(Operation::Subtract); }
    void evaluate(TwoArgFuncExpr const& expr) override
    {
        requireCode(expr.functionName(), hdqlib::twoArgFunctions().size());
        binary(Operation::TwoArg, expr.functionName());
    }
    void evaluate(VarArgFuncExpr const& expr) override
    {
        if (expr.doubleFunction().empty() || expr.intervalFunction().empty())
            throw std::invalid_argument("The expression has an empty function.");
        auto const index = static_cast<std::uint32_t>(m_program.m_functions.size());
        m_program.m_functions.push_back(&expr);
        append({Operation::AnyArg, index, 0}, expr.opExprs().size());
    }
    void evaluate(VariableExpr const& expr) override
    {
        auto const next = static_cast<std::uint32_t>(m_program.m_varIDs.size());
        auto const [place, isNew] = m_indices.emplace(expr.varID(), next);
        if (isNew)
            m_program.m_varIDs.push_back(expr.varID());
        push({Operation::PushVariable, place->second, 0});
    }
    void evaluate(GreaterThanExpr const&) override { binary(Operation::Greater); }
    void evaluate(EqualsEqualsExpr const&) override { binary(Operation::Equal); }
    void evaluate(NotEqualExpr const&) override { binary(Operation::NotEqual); }
    void evaluate(GreaterThanOrEqualExpr const&) override { binary(Operation::GreaterOrEqual); }
    void evaluate(LessThanOrEqualExpr const&) override { binary(Operation::LessOrEqual); }
    void evaluate(LessThanExpr const&) override { binary(Operation::Less); }

private:
    static void requireCode(unsigned char code, std::size_t numFunctions)
    {
        if (code >= numFunctions)
            throw std::invalid_argument("The expression has a function " + std::to_string(code) +
                                        ", which doesn't exist.");
    }

    void push(Instruction const& instruction) { append(instruction, 0); }
    void binary(Operation operation, std::uint32_t index = 0) { append({operation, index, 0}, 2); }

    void append(Instruction const& instruction, std::size_t numOperands)
    {
        m_program.m_instructions.push_back(instruction);
        m_depth = m_depth - numOperands + 1;
        m_program.m_maxDepth = std::max(m_program.m_maxDepth, m_depth);
    }

    Program& m_program;
    std::unordered_map<unsigned long, std::uint32_t> m_indices;
    std::size_t m_depth = 0;
};

Program::Program(std::shared_ptr<ExprInterface> expression) : m_expression(std::move(expression))
{
    if (m_expression == nullptr)
        throw std::invalid_argument("There is no expression to evaluate.");
    Compiler compiler(*this);
    for (ExprInterface const* const node : inPostOrder(*m_expression))
        node->accept(compiler);
}

}
