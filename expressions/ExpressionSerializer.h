#pragma once

#include "varnox/eqn/ExprInterface.h"

#include <memory>

namespace varnox::socketutil {
class SocketInterface;
class WriteCache;
}

namespace varnox::hdqlib {

/// Moves an expression over the wire. Neither direction recurses: the depth of a tree is limited by
/// memory alone.
class ExpressionSerializer
{
public:
    explicit ExpressionSerializer(std::shared_ptr<eqn::ExprInterface> root);

    std::shared_ptr<eqn::ExprInterface> expression() const { return m_root; }

    /// Throws boost::bad_function_call for a function of any number of operands that is empty, and
    /// std::invalid_argument if the expression or an operand in it is missing. The cache then holds
    /// a part of the expression.
    void addToCache(socketutil::WriteCache& cache) const;

    /// Throws IOException if what arrives is no expression. What follows on the socket is then
    /// anybody's guess.
    static ExpressionSerializer deserialize(socketutil::SocketInterface& socket);

private:
    std::shared_ptr<eqn::ExprInterface> m_root;
};

}
