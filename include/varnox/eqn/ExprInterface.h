#pragma once

namespace varnox::eqn {

class ExprEvalInterface;

/// A node of an expression, and with it the tree below it. Nodes own their operands and don't
/// change; any number of visitors may walk a tree at the same time. A tree may be as deep as it
/// likes: only visitors that recurse have to mind their stack. The order of the operations is
/// binding: trees cross between separately compiled objects.
class ExprInterface
{
public:
    /// Calls the visitor's evaluate of the node's own type, and no other.
    virtual void accept(ExprEvalInterface& visitor) const = 0;
    /// Of the whole expression: alike for all nodes of a tree.
    virtual unsigned long exprUniqueID() const = 0;
    virtual ~ExprInterface() = default;
};

}
