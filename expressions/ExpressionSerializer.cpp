#include "expressions/ExpressionSerializer.h"

#include "expressions/ExpressionDeserializer.h"
#include "expressions/ExpressionSerializingEvaluator.h"
#include "expressions/PostOrder.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <stdexcept>
#include <utility>

namespace varnox::hdqlib {

using socketutil::SocketInterface;
using socketutil::WriteCache;

// Wire form of an expression:
//   uint64  id    of the whole expression
//   nodes, each behind its operands, in the order of ExpressionSerializingEvaluator
//   uint8   255

ExpressionSerializer::ExpressionSerializer(std::shared_ptr<eqn::ExprInterface> root)
    : m_root(std::move(root))
{
}

void ExpressionSerializer::addToCache(WriteCache& cache) const
{
    if (m_root == nullptr)
        throw std::invalid_argument("There is no expression to send.");
    cache.addUInt64(m_root->exprUniqueID());
    ExpressionSerializingEvaluator evaluator(cache);
    for (eqn::ExprInterface const* const node : eqn::inPostOrder(*m_root))
        node->accept(evaluator);
    cache.addUInt8(END_OF_EXPRESSION);
}

ExpressionSerializer ExpressionSerializer::deserialize(SocketInterface& socket)
{
    ExpressionDeserializer deserializer(socket.receiveUInt64());
    for (unsigned char code = socket.receiveUInt8(); code != END_OF_EXPRESSION;
         code = socket.receiveUInt8())
        deserializer.handle(code, socket);
    return ExpressionSerializer(deserializer.takeRoot());
}

}
