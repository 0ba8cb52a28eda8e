#pragma once

#include "varnox/eqn/OneArgFuncExpr.h"
#include "varnox/eqn/TwoArgFuncExpr.h"
#include "varnox/eqn/VarArgFuncExpr.h"

#include <memory>
#include <vector>

/// The functions by their codes on the wire: what a formula's parser and the reader of the wire
/// make nodes with.
namespace varnox::hdqlib {

/// A function of one or two operands, as a node carries it. The name is that of formulas; its
/// position in the table is the code.
struct OneArgFunction
{
    char const* name;
    eqn::OneArgFuncExpr::DoubleFunction doubleFunction;
    eqn::OneArgFuncExpr::IntervalFunction intervalFunction;
};

struct TwoArgFunction
{
    char const* name;
    eqn::TwoArgFuncExpr::DoubleFunction doubleFunction;
    eqn::TwoArgFuncExpr::IntervalFunction intervalFunction;
};

std::vector<OneArgFunction> const& oneArgFunctions();
std::vector<TwoArgFunction> const& twoArgFunctions();

/// The codes, such as SQRT_FUNCTION.
enum OneArgFunctionCode : unsigned char {
#define ONE_ARG(number, constant, name, doubleFunction, intervalFunction) constant = number,
#include "expressions/Functions.def"
};

enum TwoArgFunctionCode : unsigned char {
#define TWO_ARG(number, constant, name, doubleFunction, intervalFunction) constant = number,
#include "expressions/Functions.def"
};

using Expression = std::unique_ptr<eqn::ExprInterface>;

/// A node of a function, or null for a code that there isn't; the operands are then still the
/// caller's.
std::unique_ptr<eqn::OneArgFuncExpr> makeOneArgFunc(unsigned long id, unsigned char code,
                                                    Expression& operand);
std::unique_ptr<eqn::TwoArgFuncExpr> makeTwoArgFunc(unsigned long id, unsigned char code,
                                                    Expression& first, Expression& second);

/// The node of A x + B y + C z + D. Throws std::invalid_argument for fewer than four coefficients;
/// those behind the fourth don't count.
std::unique_ptr<eqn::VarArgFuncExpr> makePlaneEquation(unsigned long id, Expression& x,
                                                       Expression& y, Expression& z,
                                                       std::vector<double> const& coefficients);

}
