#pragma once

#include "expressions/Program.h"
#include "varnox/Interval.h"

#include <vector>

namespace varnox::eqn {

/// Bounds what ArrayEvaluator makes of a program: no number that it gives for inputs in the ranges
/// lies outside the result. The range may be too wide, as it knows nothing of operands that belong
/// together: x - x of [0, 1] is [-1, 1].
class BoundEvaluator
{
public:
    /// The program must outlive the object.
    explicit BoundEvaluator(Program const& program) : m_program(program) {}

    /// inputs: one range for each of the program's variables. One that is no number at an end, or
    /// lies the wrong way round, counts as unknown. Ends of the result may be infinite.
    Interval evaluate(std::vector<Interval> const& inputs);

private:
    void step(Instruction const& instruction, std::vector<Interval> const& inputs);
    void applyFunction(std::uint32_t index);

    Program const& m_program;
    std::vector<Interval> m_operands;
};

}
