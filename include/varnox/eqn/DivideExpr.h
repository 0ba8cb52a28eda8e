#pragma once

#include "varnox/eqn/BinaryExprAbstract.h"

namespace varnox::eqn {

class DivideExpr final : public BinaryExprAbstract
{
public:
    /// Takes the operands over.
    DivideExpr(unsigned long id, ExprInterface* first, ExprInterface* second,
               bool ignoreDivideByZero) noexcept;
    void accept(ExprEvalInterface& visitor) const override;

    /// Whether a divisor of zero is nothing to speak of. Doesn't travel: false in a tree that was
    /// received.
    virtual bool ignoreDivideByZero() const;

private:
    bool m_ignoreDivideByZero;
};

}
