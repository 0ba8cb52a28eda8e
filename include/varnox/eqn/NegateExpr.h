#pragma once

#include "varnox/eqn/UnaryExprAbstract.h"

namespace varnox::eqn {

class NegateExpr final : public UnaryExprAbstract
{
public:
    /// Takes the operand over.
    NegateExpr(unsigned long id, ExprInterface* operand) noexcept;
    void accept(ExprEvalInterface& visitor) const override;
};

}
