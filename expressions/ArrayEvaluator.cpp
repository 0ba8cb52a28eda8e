#include "expressions/ArrayEvaluator.h"

#include "expressions/ArrayFunctions.h"
#include "expressions/DummyWarningLog.h"
#include "expressions/FunctionErrors.h"
#include "expressions/Functions.h"
#include "varnox/eqn/VarArgFuncExpr.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace varnox::eqn {

namespace {

/// Numbers in all slots together, unless a single value at a time needs more.
constexpr std::size_t MEMORY_SIZE = std::size_t{1} << 17;
constexpr std::size_t LARGEST_CHUNK = 256;

std::size_t numOperands(Instruction const& instruction, Program const& program)
{
    switch (instruction.operation) {
    case Operation::PushConstant:
    case Operation::PushVariable:
        return 0;
    case Operation::Negate:
    case Operation::Power:
    case Operation::OneArg:
    case Operation::Rand:
        return 1;
    case Operation::AnyArg:
        return program.functions()[instruction.index]->opExprs().size();
    default:
        return 2;
    }
}

char const* failureOf(Instruction const& instruction)
{
    if (instruction.operation == Operation::Divide)
        return "Division by zero.";
    if (instruction.operation == Operation::Power)
        return hdqlib::POWER_ERROR;
    if (instruction.operation == Operation::TwoArg && instruction.index == hdqlib::POWER_FUNCTION)
        return hdqlib::POWER_ERROR;
    if (instruction.operation == Operation::OneArg)
        switch (instruction.index) {
        case hdqlib::SQRT_FUNCTION:
            return hdqlib::SQRT_ERROR;
        case hdqlib::LOG_FUNCTION:
            return hdqlib::LOG_ERROR;
        case hdqlib::LOG10_FUNCTION:
            return hdqlib::LOG10_ERROR;
        case hdqlib::EXP_FUNCTION:
            return hdqlib::EXP_ERROR;
        case hdqlib::ASIN_FUNCTION:
            return "Invalid values for asin function.";
        case hdqlib::ACOS_FUNCTION:
            return "Invalid values for acos function.";
        default:
            break;
        }
    return "A result is not a number.";
}

}

/// Where a run reads and writes: count values from first on.
struct ArrayEvaluator::Chunk
{
    std::vector<double const*> const& inputs;
    std::size_t first;
    std::size_t count;
};

ArrayEvaluator::ArrayEvaluator(std::shared_ptr<ExprInterface> expression)
    : m_program(std::move(expression)),
      m_chunkSize(std::clamp<std::size_t>(MEMORY_SIZE / m_program.maxDepth(), 1, LARGEST_CHUNK)),
      m_memory(m_chunkSize * m_program.maxDepth())
{
    m_operands.reserve(m_program.maxDepth());
}

EvaluationReport ArrayEvaluator::evaluate(std::vector<double const*> const& inputs,
                                          std::size_t count, double* out)
{
    EvaluationReport report;
    for (std::size_t first = 0; first < count; first += m_chunkSize) {
        Chunk const chunk{inputs, first, std::min(m_chunkSize, count - first)};
        run(chunk, report);
        std::copy_n(m_operands.back(), chunk.count, out + first);
    }
    std::size_t firstUndefined = count;
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::isnan(out[i]) ||
            std::any_of(inputs.begin(), inputs.end(),
                        [i](double const* input) { return std::isnan(input[i]); }))
            continue;
        ++report.numUndefined;
        firstUndefined = std::min(firstUndefined, i);
    }
    if (report.numUndefined != 0)
        report.whyUndefined = whyUndefined(inputs, firstUndefined);
    return report;
}

void ArrayEvaluator::run(Chunk const& chunk, EvaluationReport& report)
{
    m_operands.clear();
    for (Instruction const& instruction : m_program.instructions())
        step(instruction, chunk, report);
}

void ArrayEvaluator::step(Instruction const& instruction, Chunk const& chunk,
                          EvaluationReport& report)
{
    std::size_t const count = chunk.count;
    std::size_t const arity = numOperands(instruction, m_program);
    std::size_t const depth = m_operands.size() - arity;
    if (instruction.operation == Operation::PushVariable) {
        m_operands.push_back(chunk.inputs[instruction.index] + chunk.first);
        return;
    }
    double* const out = slot(depth);
    if (instruction.operation == Operation::AnyArg) {
        applyFunction(instruction.index, count);
    } else if (instruction.operation == Operation::Rand) {
        DummyWarningLog log;
        for (std::size_t i = 0; i < count; ++i)
            out[i] = m_program.draws()[instruction.index](m_operands[depth][i], log);
    } else if (arity == 0) {
        std::fill_n(out, count, instruction.value);
    } else if (arity == 1) {
        arrays::applyUnary(instruction, m_operands[depth], count, out);
    } else {
        arrays::Clampings const clampings =
            arrays::applyBinary(instruction, m_operands[depth], m_operands[depth + 1], count, out);
        if (report.numClamped == 0 && clampings.number != 0)
            report.firstClamping = clampings.first;
        report.numClamped += clampings.number;
    }
    m_operands.resize(depth);
    m_operands.push_back(out);
}

void ArrayEvaluator::applyFunction(std::uint32_t index, std::size_t count)
{
    VarArgFuncExpr const& expr = *m_program.functions()[index];
    VarArgFuncExpr::DoubleFunction const function = expr.doubleFunction();
    std::size_t const arity = expr.opExprs().size();
    std::size_t const depth = m_operands.size() - arity;
    DummyWarningLog log;
    std::vector<double> args(arity);
    double* const out = slot(depth);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < arity; ++k)
            args[k] = m_operands[depth + k][i];
        bool const isDefined =
            std::none_of(args.begin(), args.end(), [](double arg) { return std::isnan(arg); });
        try {
            out[i] = isDefined ? function(args, log) : NAN;
        } catch (std::domain_error const&) {
            out[i] = NAN;
        }
    }
}

std::string ArrayEvaluator::whyUndefined(std::vector<double const*> const& inputs,
                                         std::size_t place)
{
    EvaluationReport ignored;
    Chunk const point{inputs, place, 1};
    m_operands.clear();
    for (Instruction const& instruction : m_program.instructions()) {
        // The first result that is no number is the cause: none of the inputs is one, and an
        // operation on numbers gave it.
        step(instruction, point, ignored);
        if (std::isnan(*m_operands.back()))
            return failureOf(instruction);
    }
    return "A result is not a number."; // of numbers drawn at random, which are others now
}

}
