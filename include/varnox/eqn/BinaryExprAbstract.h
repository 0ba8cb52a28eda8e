#pragma once

#include "varnox/eqn/ExprInterface.h"

namespace varnox::eqn {

/// A node with two operands. Owns them; either may be null.
class BinaryExprAbstract : public ExprInterface
{
public:
    unsigned long exprUniqueID() const override;
    ~BinaryExprAbstract() override;
    BinaryExprAbstract(BinaryExprAbstract const&) = delete;
    BinaryExprAbstract& operator=(BinaryExprAbstract const&) = delete;

    virtual ExprInterface const* firstOpExpr() const;
    virtual ExprInterface const* secondOpExpr() const;

protected:
    BinaryExprAbstract(unsigned long id, ExprInterface* first, ExprInterface* second) noexcept;

private:
    unsigned long m_exprUniqueID;
    ExprInterface* m_firstOpExpr;
    ExprInterface* m_secondOpExpr;
};

}
