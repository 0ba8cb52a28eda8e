#pragma once

#include "expressions/Functions.h"
#include "varnox/eqn/ExprNodes.h"

#include <memory>
#include <utility>
#include <vector>

/// Expressions put together as formulas are read. All have the id 1.
namespace varnox::tests::formulas {

using Formula = std::unique_ptr<eqn::ExprInterface>;

inline Formula var(unsigned long id)
{
    return std::make_unique<eqn::VariableExpr>(1, id);
}
inline Formula num(double value)
{
    return std::make_unique<eqn::ConstantExpr>(1, value);
}

template <typename Node>
Formula binary(Formula first, Formula second)
{
    return Formula(new Node(1, first.release(), second.release()));
}
inline Formula add(Formula a, Formula b)
{
    return binary<eqn::AddExpr>(std::move(a), std::move(b));
}
inline Formula subtract(Formula a, Formula b)
{
    return binary<eqn::SubtractExpr>(std::move(a), std::move(b));
}
inline Formula multiply(Formula a, Formula b)
{
    return binary<eqn::MultiplyExpr>(std::move(a), std::move(b));
}
inline Formula greater(Formula a, Formula b)
{
    return binary<eqn::GreaterThanExpr>(std::move(a), std::move(b));
}
inline Formula greaterOrEqual(Formula a, Formula b)
{
    return binary<eqn::GreaterThanOrEqualExpr>(std::move(a), std::move(b));
}
inline Formula less(Formula a, Formula b)
{
    return binary<eqn::LessThanExpr>(std::move(a), std::move(b));
}
inline Formula lessOrEqual(Formula a, Formula b)
{
    return binary<eqn::LessThanOrEqualExpr>(std::move(a), std::move(b));
}
inline Formula equal(Formula a, Formula b)
{
    return binary<eqn::EqualsEqualsExpr>(std::move(a), std::move(b));
}
inline Formula notEqual(Formula a, Formula b)
{
    return binary<eqn::NotEqualExpr>(std::move(a), std::move(b));
}
inline Formula divide(Formula a, Formula b)
{
    return Formula(new eqn::DivideExpr(1, a.release(), b.release(), false));
}
inline Formula divideIgnoringZero(Formula a, Formula b)
{
    return Formula(new eqn::DivideExpr(1, a.release(), b.release(), true));
}
inline Formula negate(Formula x)
{
    return Formula(new eqn::NegateExpr(1, x.release()));
}
inline Formula power(Formula x, double exponent)
{
    return Formula(new eqn::PowerExpr(1, x.release(), exponent));
}
inline Formula oneArg(unsigned char code, Formula x)
{
    return hdqlib::makeOneArgFunc(1, code, x);
}
inline Formula twoArg(unsigned char code, Formula a, Formula b)
{
    return hdqlib::makeTwoArgFunc(1, code, a, b);
}
inline Formula plane(Formula x, Formula y, Formula z, std::vector<double> const& coefficients)
{
    return hdqlib::makePlaneEquation(1, x, y, z, coefficients);
}

inline std::shared_ptr<eqn::ExprInterface> shared(Formula formula)
{
    return formula;
}

}
