#include "expressions/Functions.h"

#include "expressions/DoubleFunctions.h"
#include "expressions/IntervalFunctions.h"
#include "expressions/PlaneEquation.h"

#include <cstddef>
#include <stdexcept>

namespace varnox::hdqlib {

using eqn::OneArgFuncExpr;
using eqn::TwoArgFuncExpr;
using eqn::VarArgFuncExpr;
using eqn::WarningLogInterface;

namespace {

constexpr unsigned char oneArgCodes[] = {
#define ONE_ARG(number, constant, name, doubleFunction, intervalFunction) number,
#include "expressions/Functions.def"
};

constexpr unsigned char twoArgCodes[] = {
#define TWO_ARG(number, constant, name, doubleFunction, intervalFunction) number,
#include "expressions/Functions.def"
};

template <std::size_t n>
constexpr bool areNumberedThrough(unsigned char const (&codes)[n])
{
    for (std::size_t i = 0; i < n; ++i)
        if (codes[i] != i)
            return false;
    return true;
}

static_assert(areNumberedThrough(oneArgCodes), "the codes are positions in the table");
static_assert(areNumberedThrough(twoArgCodes), "the codes are positions in the table");

/// Interval functions as nodes carry them: with the log that some don't take.
eqn::OneArgFuncExpr::IntervalFunction withLog(Interval (*function)(Interval const&))
{
    return [function](Interval const& x, WarningLogInterface&) { return function(x); };
}

eqn::TwoArgFuncExpr::IntervalFunction withLog(Interval (*function)(Interval const&,
                                                                   Interval const&))
{
    return [function](Interval const& x, Interval const& y, WarningLogInterface&) {
        return function(x, y);
    };
}

eqn::TwoArgFuncExpr::IntervalFunction withLog(Interval (*function)(Interval const&, Interval const&,
                                                                   WarningLogInterface&))
{
    return function;
}

}

std::vector<OneArgFunction> const& oneArgFunctions()
{
    static std::vector<OneArgFunction> const functions{
#define ONE_ARG(number, constant, name, doubleFunction, intervalFunction)                          \
    {name, &dbl::doubleFunction, withLog(&intervalFunction)},
#include "expressions/Functions.def"
    };
    return functions;
}

std::vector<TwoArgFunction> const& twoArgFunctions()
{
    static std::vector<TwoArgFunction> const functions{
#define TWO_ARG(number, constant, name, doubleFunction, intervalFunction)                          \
    {name, &dbl::doubleFunction, withLog(&intervalFunction)},
#include "expressions/Functions.def"
    };
    return functions;
}

std::unique_ptr<OneArgFuncExpr> makeOneArgFunc(unsigned long id, unsigned char code,
                                               Expression& operand)
{
    if (code >= oneArgFunctions().size())
        return nullptr;
    OneArgFunction const& function = oneArgFunctions()[code];
    return std::unique_ptr<OneArgFuncExpr>(new OneArgFuncExpr(
        id, function.doubleFunction, function.intervalFunction, operand.release(), code));
}

std::unique_ptr<TwoArgFuncExpr> makeTwoArgFunc(unsigned long id, unsigned char code,
                                               Expression& first, Expression& second)
{
    if (code >= twoArgFunctions().size())
        return nullptr;
    TwoArgFunction const& function = twoArgFunctions()[code];
    return std::unique_ptr<TwoArgFuncExpr>(
        new TwoArgFuncExpr(id, function.doubleFunction, function.intervalFunction, first.release(),
                           second.release(), code));
}

std::unique_ptr<VarArgFuncExpr> makePlaneEquation(unsigned long id, Expression& x, Expression& y,
                                                  Expression& z,
                                                  std::vector<double> const& coefficients)
{
    if (coefficients.size() < PLANE_COEFFICIENTS)
        throw std::invalid_argument("A plane equation has four coefficients.");
    auto node = std::make_unique<VarArgFuncExpr>(
        id,
        [coefficients](std::vector<double> const& operands, WarningLogInterface& log) {
            return planeEquationFunc<double>(operands, coefficients, log);
        },
        [coefficients](std::vector<Interval> const& operands, WarningLogInterface& log) {
            return planeEquationFunc<Interval>(operands, coefficients, log);
        },
        std::vector<eqn::ExprInterface*>{x.get(), y.get(), z.get()});
    for (Expression* const operand : {&x, &y, &z})
        (void)operand->release(); // the node owns it now
    return node;
}

}
