#pragma once

#include "varnox/eqn/ExprInterface.h"

namespace varnox::eqn {

/// The values of a variable.
class VariableExpr final : public ExprInterface
{
public:
    VariableExpr(unsigned long id, unsigned long varID) noexcept;
    void accept(ExprEvalInterface& visitor) const override;
    unsigned long exprUniqueID() const override;

    virtual unsigned long varID() const;

private:
    unsigned long m_exprUniqueID;
    unsigned long m_varID;
};

}
