#pragma once

#include "varnox/eqn/ExprInterface.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace varnox::formula {

/// Parentheses, signs, powers and calls may stand within each other so often.
constexpr std::size_t MAX_FORMULA_DEPTH = 200;
constexpr std::size_t MAX_FORMULA_BYTES = 1 << 20;

/// The unique id of a variable by its name; empty if there is none.
using VariableLookup = std::function<std::optional<unsigned long>(std::string const& name)>;

/// Reads a formula as an expression with this id. From what binds least to what binds most:
///
///     a < b   a <= b   a > b   a >= b   a == b   a != b     1 or 0; one only, not a < b < c
///     a + b   a - b
///     a * b   a / b
///     -a      +a
///     a ^ b                                                 from the right: 2^3^2 is 2^9
///     (a)     1.5e3     name     {name with blanks}     function(a)     function(a, b)
///
/// Functions are those of Functions.def, whatever the case of their letters, and
/// plane(x, y, z, a, b, c, d), which is a x + b y + c z + d with numbers a to d. A name with a
/// parenthesis behind it is a function's. An exponent that is a number makes a power of fixed
/// exponent, any other one the function power. A negated number is a number. Throws FormulaError.
std::shared_ptr<eqn::ExprInterface> parseFormula(std::string const& formula, unsigned long id,
                                                 VariableLookup const& variables);

}
