#include "expressions/PlaneEquation.h"

namespace varnox::hdqlib {

namespace {

Interval product(double coefficient, Interval const& operand)
{
    double const first = coefficient * operand.lower;
    double const second = coefficient * operand.upper;
    return second > first ? Interval{first, second} : Interval{second, first};
}

}

template <>
double planeEquationFunc(std::vector<double> const& operands,
                         std::vector<double> const& coefficients, eqn::WarningLogInterface&)
{
    return coefficients[0] * operands[0] + coefficients[1] * operands[1] +
           coefficients[2] * operands[2] + coefficients[3];
}

template <>
Interval planeEquationFunc(std::vector<Interval> const& operands,
                           std::vector<double> const& coefficients, eqn::WarningLogInterface&)
{
    Interval const a = product(coefficients[0], operands[0]);
    Interval const b = product(coefficients[1], operands[1]);
    Interval const c = product(coefficients[2], operands[2]);
    double const d = coefficients[3];
    return {a.lower + b.lower + c.lower + d, a.upper + b.upper + c.upper + d};
}

}
