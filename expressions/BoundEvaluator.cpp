#include "expressions/BoundEvaluator.h"

#include "expressions/Bounds.h"
#include "expressions/DummyWarningLog.h"
#include "expressions/Functions.h"
#include "varnox/eqn/VarArgFuncExpr.h"

#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace varnox::eqn {

Interval BoundEvaluator::evaluate(std::vector<Interval> const& inputs)
{
    m_operands.clear();
    m_operands.reserve(m_program.maxDepth());
    for (Instruction const& instruction : m_program.instructions())
        step(instruction, inputs);
    return bounds::checked(m_operands.back());
}

void BoundEvaluator::step(Instruction const& instruction, std::vector<Interval> const& inputs)
{
    auto const binary = [this](auto const& function) {
        Interval const second = m_operands.back();
        m_operands.pop_back();
        m_operands.back() = bounds::checked(function(m_operands.back(), second));
    };
    auto const unary = [this](auto const& function) {
        m_operands.back() = bounds::checked(function(m_operands.back()));
    };
    auto const code = static_cast<unsigned char>(instruction.index);
    using A = Interval const&;
    switch (instruction.operation) {
    case Operation::PushConstant:
        // A constant that is no number makes no numbers: any range will do.
        m_operands.push_back(bounds::checked({instruction.value, instruction.value}));
        break;
    case Operation::PushVariable:
        m_operands.push_back(bounds::checked(inputs[instruction.index]));
        break;
    case Operation::Add:
        return binary(bounds::add);
    case Operation::Subtract:
        return binary(bounds::subtract);
    case Operation::Multiply:
        return binary(bounds::multiply);
    case Operation::Divide:
        return binary([&](A a, A b) { return bounds::divide(a, b, instruction.index != 0); });
    case Operation::Negate:
        return unary(bounds::negate);
    case Operation::Power:
        return unary([&](A x) { return bounds::power(x, instruction.value); });
    case Operation::Greater:
        return binary(bounds::greater);
    case Operation::GreaterOrEqual:
        return binary(bounds::greaterOrEqual);
    case Operation::Less:
        return binary([](A a, A b) { return bounds::greater(b, a); });
    case Operation::LessOrEqual:
        return binary([](A a, A b) { return bounds::greaterOrEqual(b, a); });
    case Operation::Equal:
        return binary(bounds::equal);
    case Operation::NotEqual:
        return binary(bounds::notEqual);
    case Operation::OneArg:
        return unary([code](A x) { return bounds::oneArg(code, x); });
    case Operation::Rand:
        return unary([](A x) { return bounds::oneArg(hdqlib::RAND_FUNCTION, x); });
    case Operation::TwoArg:
        return binary([code](A a, A b) { return bounds::twoArg(code, a, b); });
    case Operation::AnyArg:
        return applyFunction(instruction.index);
    }
}

void BoundEvaluator::applyFunction(std::uint32_t index)
{
    VarArgFuncExpr const& expr = *m_program.functions()[index];
    std::size_t const depth = m_operands.size() - expr.opExprs().size();
    std::vector<Interval> const args(m_operands.begin() + static_cast<std::ptrdiff_t>(depth),
                                     m_operands.end());
    DummyWarningLog log;
    Interval result = bounds::widest();
    try {
        // The plane equation does at each end what it does for numbers, in the same order: rounding
        // keeps the order of numbers, so that the ends hold.
        result = expr.intervalFunction()(args, log);
    } catch (std::domain_error const&) {
    }
    m_operands.resize(depth);
    m_operands.push_back(bounds::checked(result));
}

}
