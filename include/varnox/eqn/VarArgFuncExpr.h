#pragma once

#include "varnox/Interval.h"
#include "varnox/eqn/ExprInterface.h"

#include <boost/function.hpp>

#include <vector>

namespace varnox::eqn {

class WarningLogInterface;

/// A function of the values of any number of operands, for numbers and for ranges.
class VarArgFuncExpr final : public ExprInterface
{
public:
    using DoubleFunction =
        boost::function<double(std::vector<double> const&, WarningLogInterface&)>;
    using IntervalFunction =
        boost::function<Interval(std::vector<Interval> const&, WarningLogInterface&)>;

    /// Takes the operands over, once it has been made.
    VarArgFuncExpr(unsigned long id, DoubleFunction const& doubleFunction,
                   IntervalFunction const& intervalFunction,
                   std::vector<ExprInterface*> const& operands);
    VarArgFuncExpr(VarArgFuncExpr const&) = delete;
    VarArgFuncExpr& operator=(VarArgFuncExpr const&) = delete;
    ~VarArgFuncExpr() override;
    void accept(ExprEvalInterface& visitor) const override;
    unsigned long exprUniqueID() const override;

    std::vector<ExprInterface*> const& opExprs() const { return m_opExprs; }
    DoubleFunction doubleFunction() const { return m_doubleFunction; }
    IntervalFunction intervalFunction() const { return m_intervalFunction; }

private:
    unsigned long m_exprUniqueID;
    DoubleFunction m_doubleFunction;
    IntervalFunction m_intervalFunction;
    std::vector<ExprInterface*> m_opExprs;
};

}
