#pragma once

#include "varnox/Interval.h"
#include "varnox/eqn/UnaryExprAbstract.h"

#include <boost/function.hpp>

namespace varnox::eqn {

class WarningLogInterface;

/// A function of the value of its operand, for numbers and for ranges.
class OneArgFuncExpr final : public UnaryExprAbstract
{
public:
    using DoubleFunction = boost::function<double(double, WarningLogInterface&)>;
    using IntervalFunction = boost::function<Interval(Interval const&, WarningLogInterface&)>;

    /// Takes the operand over. The name is the function's code on the wire.
    OneArgFuncExpr(unsigned long id, DoubleFunction const& doubleFunction,
                   IntervalFunction const& intervalFunction, ExprInterface* operand,
                   unsigned char functionName);
    void accept(ExprEvalInterface& visitor) const override;

    virtual DoubleFunction doubleFunction() const;
    virtual IntervalFunction intervalFunction() const;
    virtual unsigned char functionName() const;

private:
    DoubleFunction m_doubleFunction;
    IntervalFunction m_intervalFunction;
    unsigned char m_functionName;
};

}
