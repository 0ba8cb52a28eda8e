#pragma once

#include "expressions/Program.h"

#include <cstddef>
#include <string>

/// The operations of expressions over arrays. out may be one of the operands, but not overlap one
/// in another way.
namespace varnox::eqn::arrays {

/// Values that min_warn and max_warn clamped in one go.
struct Clampings
{
    std::size_t number = 0;
    std::string first; ///< Its text.
};

void applyUnary(Instruction const& instruction, double const* x, std::size_t count, double* out);
Clampings applyBinary(Instruction const& instruction, double const* a, double const* b,
                      std::size_t count, double* out);

}
