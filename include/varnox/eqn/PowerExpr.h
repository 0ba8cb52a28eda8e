#pragma once

#include "varnox/eqn/UnaryExprAbstract.h"

namespace varnox::eqn {

/// Raises its operand to a fixed power.
class PowerExpr final : public UnaryExprAbstract
{
public:
    /// Takes the operand over.
    PowerExpr(unsigned long id, ExprInterface* operand, double power) noexcept;
    void accept(ExprEvalInterface& visitor) const override;

    double power() const { return m_power; }

private:
    double m_power;
};

}
