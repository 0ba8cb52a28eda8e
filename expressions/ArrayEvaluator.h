#pragma once

#include "expressions/Program.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace varnox::eqn {

/// What was out of the ordinary in an evaluation.
struct EvaluationReport
{
    std::size_t numUndefined = 0; ///< Points without a result though all their inputs are numbers.
    std::string whyUndefined;     ///< Of the first of them.
    std::size_t numClamped = 0;   ///< Clampings by min_warn and max_warn.
    std::string firstClamping;
};

/// Evaluates an expression over arrays, operation after operation. A point at which an operand
/// isn't a number, or an operation has no result, becomes not-a-number and stays so through all
/// operations, comparisons and functions included: no result is made of nothing. There is no result
/// where a function throws std::domain_error, but for an underflow, which is what the function
/// gives; and none where a number is divided by zero unless the node ignores that. Comparisons are
/// 1 or 0. A fixed power of 2 is the exact product rounded once.
class ArrayEvaluator
{
public:
    /// Throws std::invalid_argument as Program does.
    explicit ArrayEvaluator(std::shared_ptr<ExprInterface> expression);

    Program const& program() const { return m_program; }

    /// inputs: one array of count values for each of the program's variables. out must not overlap
    /// them.
    EvaluationReport evaluate(std::vector<double const*> const& inputs, std::size_t count,
                              double* out);

private:
    struct Chunk;

    void run(Chunk const& chunk, EvaluationReport& report);
    void step(Instruction const& instruction, Chunk const& chunk, EvaluationReport& report);
    void applyFunction(std::uint32_t index, std::size_t count);
    double* slot(std::size_t depth) { return m_memory.data() + depth * m_chunkSize; }
    std::string whyUndefined(std::vector<double const*> const& inputs, std::size_t place);

    Program m_program;
    std::size_t m_chunkSize;
    std::vector<double> m_memory;          ///< A slot of chunk size for each place on the stack.
    std::vector<double const*> m_operands; ///< The stack: slots, or inputs themselves.
};

}
