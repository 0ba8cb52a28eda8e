#pragma once

#include "varnox/eqn/ExprInterface.h"

namespace varnox::eqn {

class ConstantExpr final : public ExprInterface
{
public:
    ConstantExpr(unsigned long id, double value) noexcept;
    void accept(ExprEvalInterface& visitor) const override;
    unsigned long exprUniqueID() const override;

    virtual double constantValue() const;

private:
    unsigned long m_exprUniqueID;
    double m_constantValue;
};

}
