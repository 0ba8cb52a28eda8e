#include "varnox/eqn/ExprNodes.h"

#include "tests/expressions/Allocations.h"
#include "tests/support/Slots.h"
#include "varnox/eqn/ExprEvalInterface.h"
#include "varnox/eqn/WarningLogInterface.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace varnox::eqn {
namespace {

using tests::slot;

/// Keeps the names of the nodes that it visits, and visits no operands.
class Names final : public ExprEvalInterface
{
public:
#define NODE(number, name, operands)                                                               \
    void evaluate(name##Expr const&) override                                                      \
    {                                                                                              \
        visited += #name " ";                                                                      \
    }
#include "varnox/eqn/ExprNodes.def"

    std::string visited;
};

/// A node that counts how often it is deleted.
class Mortal final : public ExprInterface
{
public:
    explicit Mortal(int& deaths) : m_deaths(deaths) {}
    ~Mortal() override { ++m_deaths; }
    void accept(ExprEvalInterface&) const override {}
    unsigned long exprUniqueID() const override { return 0; }

private:
    int& m_deaths;
};

ExprInterface* number()
{
    return new ConstantExpr(7, 1.5);
}

double doubled(double x, WarningLogInterface&)
{
    return 2 * x;
}
Interval doubledRange(Interval const& x, WarningLogInterface&)
{
    return {2 * x.lower, 2 * x.upper};
}
double sum(double x, double y, WarningLogInterface&)
{
    return x + y;
}
Interval sumOfRanges(Interval const& x, Interval const& y, WarningLogInterface&)
{
    return {x.lower + y.lower, x.upper + y.upper};
}
double numArgs(std::vector<double> const& x, WarningLogInterface&)
{
    return static_cast<double>(x.size());
}
Interval numRanges(std::vector<Interval> const& x, WarningLogInterface&)
{
    return {0, static_cast<double>(x.size())};
}

class Silent final : public WarningLogInterface
{
public:
    void logWarning(std::string const&) override {}
};

TEST(ExprNodes, AcceptReachesTheVisitorsFunctionOfItsTypeAndNoOther)
{
    std::pair<std::unique_ptr<ExprInterface>, std::string> const nodes[] = {
        {std::make_unique<AddExpr>(7, number(), number()), "Add "},
        {std::make_unique<ConstantExpr>(7, 1), "Constant "},
        {std::make_unique<DivideExpr>(7, number(), number(), true), "Divide "},
        {std::make_unique<MultiplyExpr>(7, number(), number()), "Multiply "},
        {std::make_unique<OneArgFuncExpr>(7, doubled, doubledRange, number(), '\3'), "OneArgFunc "},
        {std::make_unique<NegateExpr>(7, number()), "Negate "},
        {std::make_unique<PowerExpr>(7, number(), 3), "Power "},
        {std::make_unique<SubtractExpr>(7, number(), number()), "Subtract "},
        {std::make_unique<TwoArgFuncExpr>(7, sum, sumOfRanges, number(), number(), '\3'),
         "TwoArgFunc "},
        {std::make_unique<VarArgFuncExpr>(7, numArgs, numRanges,
                                          std::vector<ExprInterface*>{number()}),
         "VarArgFunc "},
        {std::make_unique<VariableExpr>(7, 5), "Variable "},
        {std::make_unique<GreaterThanExpr>(7, number(), number()), "GreaterThan "},
        {std::make_unique<EqualsEqualsExpr>(7, number(), number()), "EqualsEquals "},
        {std::make_unique<NotEqualExpr>(7, number(), number()), "NotEqual "},
        {std::make_unique<GreaterThanOrEqualExpr>(7, number(), number()), "GreaterThanOrEqual "},
        {std::make_unique<LessThanOrEqualExpr>(7, number(), number()), "LessThanOrEqual "},
        {std::make_unique<LessThanExpr>(7, number(), number()), "LessThan "},
    };
    EXPECT_EQ(std::size(nodes), 17U);
    for (auto const& [node, name] : nodes) {
        Names names;
        node->accept(names);
        EXPECT_EQ(names.visited, name);
        EXPECT_EQ(node->exprUniqueID(), 7U) << name;
    }
}

TEST(ExprNodes, GiveWhatTheyWereMadeOf)
{
    ExprInterface* const first = number();
    ExprInterface* const second = number();
    AddExpr const add(1, first, second);
    EXPECT_EQ(add.firstOpExpr(), first);
    EXPECT_EQ(add.secondOpExpr(), second);
    ExprInterface* const operand = number();
    PowerExpr const power(1, operand, -0.5);
    EXPECT_EQ(power.opExpr(), operand);
    EXPECT_EQ(power.power(), -0.5);
    EXPECT_EQ(ConstantExpr(1, 2.5).constantValue(), 2.5);
    EXPECT_EQ(VariableExpr(1, ~0UL).varID(), ~0UL);
    EXPECT_TRUE(DivideExpr(1, nullptr, nullptr, true).ignoreDivideByZero());
    EXPECT_FALSE(DivideExpr(1, nullptr, nullptr, false).ignoreDivideByZero());
}

TEST(ExprNodes, GiveTheFunctionsThatTheyWereMadeOf)
{
    Silent log;
    OneArgFuncExpr const one(1, doubled, doubledRange, nullptr, '\4');
    EXPECT_EQ(one.functionName(), 4);
    EXPECT_EQ(one.doubleFunction()(3, log), 6);
    EXPECT_EQ(one.intervalFunction()(Interval{1, 2}, log).upper, 4);
    TwoArgFuncExpr const two(1, sum, sumOfRanges, nullptr, nullptr, '\5');
    EXPECT_EQ(two.functionName(), 5);
    EXPECT_EQ(two.doubleFunction()(3, 4, log), 7);
    EXPECT_EQ(two.intervalFunction()(Interval{1, 2}, Interval{3, 4}, log).lower, 4);
    VarArgFuncExpr const any(1, numArgs, numRanges, {});
    EXPECT_EQ(any.doubleFunction()({1, 2, 3}, log), 3);
    EXPECT_EQ(any.intervalFunction()({Interval{1, 2}}, log).upper, 1);
}

TEST(ExprNodes, VarArgKeepsTheOrderOfItsOperands)
{
    std::vector<ExprInterface*> const operands{number(), number(), nullptr, number()};
    VarArgFuncExpr const expr(1, numArgs, numRanges, operands);
    EXPECT_EQ(expr.opExprs(), operands);
}

TEST(ExprNodes, DeletingTheRootDeletesEachNodeOnce)
{
    int deaths[6] = {};
    delete new AddExpr(
        1, new PowerExpr(1, new Mortal(deaths[0]), 2),
        new VarArgFuncExpr(
            1, numArgs, numRanges,
            {new Mortal(deaths[1]), nullptr,
             new TwoArgFuncExpr(1, sum, sumOfRanges, new Mortal(deaths[2]), new Mortal(deaths[3]),
                                '\0'),
             new OneArgFuncExpr(
                 1, doubled, doubledRange,
                 new DivideExpr(1, new Mortal(deaths[4]), new Mortal(deaths[5]), false), '\0')}));
    for (int const count : deaths)
        EXPECT_EQ(count, 1);
}

TEST(ExprNodes, OperandsMayBeMissing)
{
    AddExpr const neither(1, nullptr, nullptr);
    SubtractExpr const noSecond(1, number(), nullptr);
    NegateExpr const none(1, nullptr);
    EXPECT_EQ(neither.firstOpExpr(), nullptr);
    EXPECT_EQ(noSecond.secondOpExpr(), nullptr);
    EXPECT_EQ(none.opExpr(), nullptr);
}

TEST(ExprNodes, MillionsOfNestedNodesAreDeletedOnASmallStack)
{
    int deaths = 0;
    ExprInterface* unary = new Mortal(deaths);
    ExprInterface* left = new Mortal(deaths);
    ExprInterface* right = new Mortal(deaths);
    ExprInterface* any = new Mortal(deaths);
    for (int i = 0; i < 1'000'000; ++i) {
        unary = new NegateExpr(1, unary);
        left = new AddExpr(1, left, number());
        right = new AddExpr(1, number(), right);
    }
    for (int i = 0; i < 100'000; ++i)
        any = new VarArgFuncExpr(1, numArgs, numRanges, {number(), any});
    for (ExprInterface* const root : {unary, left, right, any})
        delete root;
    EXPECT_EQ(deaths, 4);
}

TEST(ExprNodes, AreDeletedWithoutMemoryToo)
{
    int deaths = 0;
    ExprInterface* root = new Mortal(deaths);
    for (int i = 0; i < 100; ++i)
        root = new AddExpr(1, new Mortal(deaths), root);
    {
        tests::NoMemory const none;
        delete root;
    }
    EXPECT_EQ(deaths, 101);
}

TEST(ExprEvalInterface, OperationsStandInTheirSlots)
{
    using V = ExprEvalInterface;
    EXPECT_EQ(slot(static_cast<void (V::*)(AddExpr const&)>(&V::evaluate)), 0U);
    EXPECT_EQ(slot(static_cast<void (V::*)(ConstantExpr const&)>(&V::evaluate)), 1U);
    EXPECT_EQ(slot(static_cast<void (V::*)(DivideExpr const&)>(&V::evaluate)), 2U);
    EXPECT_EQ(slot(static_cast<void (V::*)(MultiplyExpr const&)>(&V::evaluate)), 3U);
    EXPECT_EQ(slot(static_cast<void (V::*)(OneArgFuncExpr const&)>(&V::evaluate)), 4U);
    EXPECT_EQ(slot(static_cast<void (V::*)(NegateExpr const&)>(&V::evaluate)), 5U);
    EXPECT_EQ(slot(static_cast<void (V::*)(PowerExpr const&)>(&V::evaluate)), 6U);
    EXPECT_EQ(slot(static_cast<void (V::*)(SubtractExpr const&)>(&V::evaluate)), 7U);
    EXPECT_EQ(slot(static_cast<void (V::*)(TwoArgFuncExpr const&)>(&V::evaluate)), 8U);
    EXPECT_EQ(slot(static_cast<void (V::*)(VarArgFuncExpr const&)>(&V::evaluate)), 9U);
    EXPECT_EQ(slot(static_cast<void (V::*)(VariableExpr const&)>(&V::evaluate)), 10U);
    EXPECT_EQ(slot(static_cast<void (V::*)(GreaterThanExpr const&)>(&V::evaluate)), 11U);
    EXPECT_EQ(slot(static_cast<void (V::*)(EqualsEqualsExpr const&)>(&V::evaluate)), 12U);
    EXPECT_EQ(slot(static_cast<void (V::*)(NotEqualExpr const&)>(&V::evaluate)), 13U);
    EXPECT_EQ(slot(static_cast<void (V::*)(GreaterThanOrEqualExpr const&)>(&V::evaluate)), 14U);
    EXPECT_EQ(slot(static_cast<void (V::*)(LessThanOrEqualExpr const&)>(&V::evaluate)), 15U);
    EXPECT_EQ(slot(static_cast<void (V::*)(LessThanExpr const&)>(&V::evaluate)), 16U);
}

TEST(ExprNodes, OperationsStandInTheirSlots)
{
    // The destructor takes slots 2 and 3.
    EXPECT_EQ(slot(&ExprInterface::accept), 0U);
    EXPECT_EQ(slot(&ExprInterface::exprUniqueID), 1U);
    EXPECT_EQ(slot(&BinaryExprAbstract::firstOpExpr), 4U);
    EXPECT_EQ(slot(&BinaryExprAbstract::secondOpExpr), 5U);
    EXPECT_EQ(slot(&DivideExpr::ignoreDivideByZero), 6U);
    EXPECT_EQ(slot(&TwoArgFuncExpr::doubleFunction), 6U);
    EXPECT_EQ(slot(&TwoArgFuncExpr::intervalFunction), 7U);
    EXPECT_EQ(slot(&TwoArgFuncExpr::functionName), 8U);
    EXPECT_EQ(slot(&UnaryExprAbstract::opExpr), 4U);
    EXPECT_EQ(slot(&OneArgFuncExpr::doubleFunction), 5U);
    EXPECT_EQ(slot(&OneArgFuncExpr::intervalFunction), 6U);
    EXPECT_EQ(slot(&OneArgFuncExpr::functionName), 7U);
    EXPECT_EQ(slot(&ConstantExpr::constantValue), 4U);
    EXPECT_EQ(slot(&VariableExpr::varID), 4U);
    EXPECT_EQ(slot(&WarningLogInterface::logWarning), 0U);
}

}
}
