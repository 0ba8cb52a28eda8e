#pragma once

#include "varnox/Interval.h"
#include "varnox/eqn/BinaryExprAbstract.h"

#include <boost/function.hpp>

namespace varnox::eqn {

class WarningLogInterface;

/// A function of the values of its operands, for numbers and for ranges.
class TwoArgFuncExpr final : public BinaryExprAbstract
{
public:
    using DoubleFunction = boost::function<double(double, double, WarningLogInterface&)>;
    using IntervalFunction =
        boost::function<Interval(Interval const&, Interval const&, WarningLogInterface&)>;

    /// Takes the operands over. The name is the function's code on the wire.
    TwoArgFuncExpr(unsigned long id, DoubleFunction const& doubleFunction,
                   IntervalFunction const& intervalFunction, ExprInterface* first,
                   ExprInterface* second, unsigned char functionName);
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
