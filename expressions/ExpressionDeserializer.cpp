#include "expressions/ExpressionDeserializer.h"

#include "expressions/Functions.h"
#include "expressions/PlaneEquation.h"
#include "varnox/IOException.h"
#include "varnox/eqn/ExprNodes.h"
#include "varnox/socketutil/SocketInterface.h"

#include <iterator>
#include <string>
#include <utility>

namespace varnox::hdqlib {

using socketutil::SocketInterface;

ExpressionDeserializer::Handler const ExpressionDeserializer::m_expressionHandlers[] = {
#define NODE(number, name, operands) &ExpressionDeserializer::handle##name,
#include "varnox/eqn/ExprNodes.def"
};

void ExpressionDeserializer::handle(unsigned char code, SocketInterface& socket)
{
    if (code >= std::size(m_expressionHandlers))
        throw IOException("The expression is damaged: there is no node of type " +
                          std::to_string(code) + ".");
    Handler const handler = m_expressionHandlers[code];
    (this->*handler)(socket);
}

std::shared_ptr<eqn::ExprInterface> ExpressionDeserializer::takeRoot()
{
    if (m_operands.empty())
        throw IOException("The expression is damaged: it ends without a value.");
    return pop();
}

ExpressionDeserializer::Operand ExpressionDeserializer::pop()
{
    if (m_operands.empty())
        throw IOException("The expression is damaged: a node has fewer operands than it needs.");
    Operand top = std::move(m_operands.back());
    m_operands.pop_back();
    return top;
}

void ExpressionDeserializer::push(Operand node)
{
    m_operands.push_back(std::move(node));
}

template <typename Node>
void ExpressionDeserializer::handleBinary()
{
    Operand second = pop();
    Operand first = pop();
    push(Operand(new Node(m_exprUniqueID, first.release(), second.release())));
}

#define BINARY(name)                                                                               \
    void ExpressionDeserializer::handle##name(SocketInterface&)                                    \
    {                                                                                              \
        handleBinary<eqn::name##Expr>();                                                           \
    }
BINARY(Add)
BINARY(Subtract)
BINARY(Multiply)
BINARY(GreaterThan)
BINARY(GreaterThanOrEqual)
BINARY(LessThan)
BINARY(LessThanOrEqual)
BINARY(EqualsEquals)
BINARY(NotEqual)
#undef BINARY

void ExpressionDeserializer::handleConstant(SocketInterface& socket)
{
    push(std::make_unique<eqn::ConstantExpr>(m_exprUniqueID, socket.receiveDouble()));
}

void ExpressionDeserializer::handleVariable(SocketInterface& socket)
{
    push(std::make_unique<eqn::VariableExpr>(m_exprUniqueID, socket.receiveUInt64()));
}

void ExpressionDeserializer::handleDivide(SocketInterface&)
{
    Operand second = pop();
    Operand first = pop();
    // Deliberate: a division by zero counts again on this side. Test:
    // ExpressionSerializer.IgnoringADivisionByZeroDoesNotTravel
    push(Operand(new eqn::DivideExpr(m_exprUniqueID, first.release(), second.release(),
                                     /*ignoreDivideByZero*/ false)));
}

void ExpressionDeserializer::handleNegate(SocketInterface&)
{
    Operand operand = pop();
    push(Operand(new eqn::NegateExpr(m_exprUniqueID, operand.release())));
}

void ExpressionDeserializer::handlePower(SocketInterface& socket)
{
    Operand operand = pop();
    double const power = socket.receiveDouble();
    push(Operand(new eqn::PowerExpr(m_exprUniqueID, operand.release(), power)));
}

void ExpressionDeserializer::handleOneArgFunc(SocketInterface& socket)
{
    Operand operand = pop();
    unsigned char const code = socket.receiveUInt8();
    Operand node = makeOneArgFunc(m_exprUniqueID, code, operand);
    if (node == nullptr) {
        // Deliberate: a function that doesn't exist leaves nothing on the stack, and its operand is
        // lost. Test: ExpressionSerializer.UnknownFunctionLosesItsOperands
        (void)operand.release();
        return;
    }
    push(std::move(node));
}

void ExpressionDeserializer::handleTwoArgFunc(SocketInterface& socket)
{
    Operand second = pop();
    Operand first = pop();
    unsigned char const code = socket.receiveUInt8();
    Operand node = makeTwoArgFunc(m_exprUniqueID, code, first, second);
    if (node == nullptr) {
        // Deliberate: as above. Test: ExpressionSerializer.UnknownFunctionLosesItsOperands
        (void)first.release();
        (void)second.release();
        return;
    }
    push(std::move(node));
}

void ExpressionDeserializer::handleVarArgFunc(SocketInterface& socket)
{
    Operand z = pop();
    Operand y = pop();
    Operand x = pop();
    std::vector<double> const coefficients = socket.receiveDoubleVector();
    if (coefficients.size() < PLANE_COEFFICIENTS)
        throw IOException("The expression is damaged: a plane equation has " +
                          std::to_string(coefficients.size()) + " coefficients instead of 4.");
    push(makePlaneEquation(m_exprUniqueID, x, y, z, coefficients));
}

}
