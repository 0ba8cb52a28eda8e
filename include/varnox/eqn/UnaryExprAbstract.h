#pragma once

#include "varnox/eqn/ExprInterface.h"

namespace varnox::eqn {

/// A node with one operand. Owns it; it may be null.
class UnaryExprAbstract : public ExprInterface
{
public:
    unsigned long exprUniqueID() const override;
    ~UnaryExprAbstract() override;
    UnaryExprAbstract(UnaryExprAbstract const&) = delete;
    UnaryExprAbstract& operator=(UnaryExprAbstract const&) = delete;

    virtual ExprInterface const* opExpr() const;

protected:
    UnaryExprAbstract(unsigned long id, ExprInterface* operand) noexcept;

private:
    unsigned long m_exprUniqueID;
    ExprInterface* m_opExpr;
};

}
