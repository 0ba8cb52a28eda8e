#pragma once

#include "varnox/eqn/ExprInterface.h"

#include <deque>
#include <memory>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdqlib {

/// Builds an expression out of the records of its nodes: a machine with a stack of operands. What
/// is left on the stack goes with the object. Failures are IOException.
class ExpressionDeserializer
{
public:
    explicit ExpressionDeserializer(unsigned long exprUniqueID) : m_exprUniqueID(exprUniqueID) {}

    /// One node, whose code has been received.
    void handle(unsigned char code, socketutil::SocketInterface& socket);

    /// The top of the stack, at the end of the expression.
    std::shared_ptr<eqn::ExprInterface> takeRoot();

private:
    using Operand = std::unique_ptr<eqn::ExprInterface>;
    using Handler = void (ExpressionDeserializer::*)(socketutil::SocketInterface&);

#define NODE(number, name, operands) void handle##name(socketutil::SocketInterface& socket);
#include "varnox/eqn/ExprNodes.def"

    template <typename Node>
    void handleBinary();
    Operand pop();
    void push(Operand node);

    static Handler const m_expressionHandlers[];

    std::deque<Operand> m_operands;
    unsigned long m_exprUniqueID;
};

}
