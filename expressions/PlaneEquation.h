#pragma once

#include "varnox/Interval.h"

#include <cstddef>
#include <vector>

namespace varnox::eqn {
class WarningLogInterface;
}

namespace varnox::hdqlib {

/// Operands x, y, z and coefficients A, B, C, D of a plane: A x + B y + C z + D.
constexpr std::size_t PLANE_OPERANDS = 3;
constexpr std::size_t PLANE_COEFFICIENTS = 4;

/// T is double or Interval. There must be as many operands and coefficients as a plane has, or
/// more.
template <typename T>
T planeEquationFunc(std::vector<T> const& operands, std::vector<double> const& coefficients,
                    eqn::WarningLogInterface& log);

template <>
double planeEquationFunc(std::vector<double> const& operands,
                         std::vector<double> const& coefficients, eqn::WarningLogInterface& log);
template <>
Interval planeEquationFunc(std::vector<Interval> const& operands,
                           std::vector<double> const& coefficients, eqn::WarningLogInterface& log);

}
