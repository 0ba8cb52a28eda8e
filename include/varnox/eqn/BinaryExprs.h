#pragma once

#include "varnox/eqn/BinaryExprAbstract.h"

namespace varnox::eqn {

/// The nodes that are nothing but their two operands: sum, difference, product and the comparisons,
/// whose value is 1 where they hold and 0 elsewhere.
#define VNX_BINARY_EXPR(Name)                                                                      \
    class Name final : public BinaryExprAbstract                                                   \
    {                                                                                              \
    public:                                                                                        \
        /* Takes the operands over. */                                                             \
        Name(unsigned long id, ExprInterface* first, ExprInterface* second) noexcept               \
            : BinaryExprAbstract(id, first, second)                                                \
        {                                                                                          \
        }                                                                                          \
        void accept(ExprEvalInterface& visitor) const override;                                    \
    }

VNX_BINARY_EXPR(AddExpr);
VNX_BINARY_EXPR(SubtractExpr);
VNX_BINARY_EXPR(MultiplyExpr);
VNX_BINARY_EXPR(GreaterThanExpr);
VNX_BINARY_EXPR(GreaterThanOrEqualExpr);
VNX_BINARY_EXPR(LessThanExpr);
VNX_BINARY_EXPR(LessThanOrEqualExpr);
VNX_BINARY_EXPR(EqualsEqualsExpr);
VNX_BINARY_EXPR(NotEqualExpr);

#undef VNX_BINARY_EXPR

}
