#include "expressions/ExpressionSerializingEvaluator.h"

#include "expressions/DummyWarningLog.h"
#include "expressions/ExpressionType.h"
#include "varnox/eqn/ExprNodes.h"
#include "varnox/socketutil/WriteCache.h"

namespace varnox::hdqlib {

namespace {

/// The coefficients A, B, C, D of a plane equation, found by asking for it at four points. A
/// function that isn't one comes out as the plane through them.
std::vector<double> planeCoefficients(eqn::VarArgFuncExpr const& expr)
{
    eqn::VarArgFuncExpr::DoubleFunction const function = expr.doubleFunction();
    eqn::DummyWarningLog log;
    double const d = function({0, 0, 0}, log);
    double const a = function({1, 0, 0}, log) - d;
    double const b = function({0, 1, 0}, log) - d;
    double const c = function({0, 0, 1}, log) - d;
    return {a, b, c, d};
}

}

// Wire form of a node, behind its operands:
//   uint8  code, the node's number in ExprNodes.def, and then of
//     Constant                double         value
//     OneArgFunc, TwoArgFunc  uint8          number of the function, from Functions.def
//     Power                   double         exponent
//     VarArgFunc              double vector  coefficients A, B, C, D of the plane equation
//     Variable                uint64         id of the variable
// Whether a division ignores zero doesn't travel.

#define PLAIN(name)                                                                                \
    void ExpressionSerializingEvaluator::evaluate(eqn::name##Expr const&)                          \
    {                                                                                              \
        m_cache.addUInt8(ExpressionType::name);                                                    \
    }
PLAIN(Add)
PLAIN(Subtract)
PLAIN(Multiply)
PLAIN(Divide)
PLAIN(Negate)
PLAIN(GreaterThan)
PLAIN(GreaterThanOrEqual)
PLAIN(LessThan)
PLAIN(LessThanOrEqual)
PLAIN(EqualsEquals)
PLAIN(NotEqual)
#undef PLAIN

void ExpressionSerializingEvaluator::evaluate(eqn::ConstantExpr const& expr)
{
    m_cache.addUInt8(ExpressionType::Constant);
    m_cache.addDouble(expr.constantValue());
}

void ExpressionSerializingEvaluator::evaluate(eqn::OneArgFuncExpr const& expr)
{
    m_cache.addUInt8(ExpressionType::OneArgFunc);
    m_cache.addUInt8(expr.functionName());
}

void ExpressionSerializingEvaluator::evaluate(eqn::PowerExpr const& expr)
{
    m_cache.addUInt8(ExpressionType::Power);
    m_cache.addDouble(expr.power());
}

void ExpressionSerializingEvaluator::evaluate(eqn::TwoArgFuncExpr const& expr)
{
    m_cache.addUInt8(ExpressionType::TwoArgFunc);
    m_cache.addUInt8(expr.functionName());
}

void ExpressionSerializingEvaluator::evaluate(eqn::VarArgFuncExpr const& expr)
{
    m_cache.addUInt8(ExpressionType::VarArgFunc);
    m_cache.addDoubleVector(planeCoefficients(expr));
}

void ExpressionSerializingEvaluator::evaluate(eqn::VariableExpr const& expr)
{
    m_cache.addUInt8(ExpressionType::Variable);
    m_cache.addUInt64(expr.varID());
}

}
