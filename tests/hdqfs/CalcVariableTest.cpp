#include "addons/hdqfs/CalcVariable.h"

#include "expressions/Functions.h"
#include "tests/expressions/Formulas.h"
#include "tests/hdqfs/Registered.h"
#include "tests/hdqfs/Samples.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <random>
#include <stdexcept>
#include <utility>

namespace varnox::hdqfsloader {
namespace {

using namespace varnox::tests::formulas;
using hdqio::MinMax;
using tests::Growable;
using tests::Registered;
using tests::Registration;
using tests::sample;
using tests::samples;
using tests::SubzoneAddress;
using varnox::tests::caseName;
using varnox::tests::messageOf;

class Lines final : public eqn::WarningLogInterface
{
public:
    void logWarning(std::string const& text) override { texts.push_back(text); }

    std::vector<std::string> texts;
};

/// A data set as a client meets it, through the query objects of its first zone alone.
class Session
{
public:
    explicit Session(std::vector<std::string> const& paths)
        : objects(paths), grid(objects.dataSet.grid(0))
    {
        for (auto const& [key, variable] : objects.registration.variables)
            if (key.first == 0)
                variables[1000 + key.second] = variable;
    }

    unsigned long idOf(std::string const& name) const
    {
        auto const& names = objects.dataSet.varNames();
        return 1000 + static_cast<unsigned long>(std::find(names.begin(), names.end(), name) -
                                                 names.begin());
    }

    bool isNodal(long id) const
    {
        return objects.dataSet.variable(0, static_cast<std::uint32_t>(id - 1000)).isNodal;
    }

    Registration::Variable const& create(long id, Formula formula, int type = FieldDataType_Double)
    {
        return create(*objects.registration.identities.at(0), id, std::move(formula), type);
    }
    Registration::Variable const& create(hdq::ZoneVarIDQueryInterface& identity, long id,
                                         Formula formula, int type = FieldDataType_Double)
    {
        Registration::Variable created;
        identity.createCalcVar(id, 0, type, shared(std::move(formula)), created.cellCentered,
                               created.nodal, created.subzones);
        return variables[id] = created;
    }

    std::vector<SubzoneAddress> subzones(Items items) const
    {
        std::vector<SubzoneAddress> result;
        for (std::uint32_t p = 0; p < numPartitions(); ++p) {
            SubzoneLayout const& layout = grid.file->layout(0, p, items);
            for (std::uint32_t s = 0; s < layout.numSections(); ++s)
                for (std::uint32_t n = 0; n < layout.numSubzones(s); ++n)
                    result.emplace_back(p, s, n);
        }
        return result;
    }

    std::uint32_t numPartitions() const
    {
        return std::max<std::uint32_t>(grid.file->zone(0).numPartitions, 1);
    }

    std::vector<double> values(long id, Items items, SubzoneAddress const& subzone)
    {
        auto const& zone = objects.registration.zones.at(0);
        auto const size =
            items == Items::Nodes ? zone.nodes->size(subzone) : zone.cells->size(subzone);
        std::vector<ItemAddress<long>> addresses;
        for (std::uint16_t i = 0; i < size; ++i)
            addresses.emplace_back(subzone, static_cast<std::uint8_t>(i));
        RawArray<ItemAddress<long>> const view{nullptr, addresses.data(), size, size};
        double buffer[256];
        RawArray<double> out{nullptr, buffer, 256, 0};
        auto const& variable = variables.at(id);
        (items == Items::Nodes ? variable.nodal : variable.cellCentered)->fieldValues(view, out);
        return {buffer, buffer + out.size};
    }

    static MinMax range(hdq::VarValueQueryInterface& object)
    {
        MinMax result{};
        object.minMax(result.min, result.max);
        return result;
    }

    std::vector<MinMax> ranges(std::function<void(RawArray<double>&)> const& fill)
    {
        Growable<double> array;
        fill(array.array());
        std::vector<double> const ends = array.values();
        std::vector<MinMax> result;
        for (std::size_t i = 0; i + 1 < ends.size(); i += 2)
            result.push_back({ends[i], ends[i + 1]});
        return result;
    }

    /// That no value of a variable lies outside any range that is told of it.
    void expectValuesWithinRanges(long id, Items items)
    {
        Registration::Variable const& variable = variables.at(id);
        MinMax const whole =
            range(items == Items::Nodes ? *variable.nodal : *variable.cellCentered);
        std::vector<MinMax> const ofPartitions =
            ranges([&](RawArray<double>& out) { variable.subzones->partitionMinMaxes(out); });
        ASSERT_EQ(ofPartitions.size(), numPartitions());
        std::vector<std::vector<MinMax>> ofSubzones;
        for (std::uint32_t p = 0; p < numPartitions(); ++p)
            ofSubzones.push_back(ranges([&](RawArray<double>& out) {
                if (items == Items::Nodes)
                    variable.subzones->nodeSubzoneMinMaxes(p, out);
                else
                    variable.subzones->cellSubzoneMinMaxes(p, out);
            }));
        std::vector<std::size_t> next(numPartitions(), 0);
        for (SubzoneAddress const& subzone : subzones(items)) {
            std::uint32_t const p = subzone.partition();
            ASSERT_LT(next[p], ofSubzones[p].size());
            MinMax const own = ofSubzones[p][next[p]++];
            for (double const value : values(id, items, subzone)) {
                if (std::isnan(value))
                    continue;
                for (MinMax const& bound : {whole, ofPartitions[p], own})
                    ASSERT_TRUE(bound.min <= value && value <= bound.max)
                        << value << " isn't in [" << bound.min << ", " << bound.max << "]";
            }
        }
    }

    mutable Registered objects;
    DataSet::ZoneInFile grid;
    std::map<long, Registration::Variable> variables; ///< By unique id.
};

std::vector<std::string> const junction = samples({"tjunction_grid", "tjunction_t05"});

Formula squared(unsigned long id)
{
    return power(var(id), 2);
}

Formula root(Formula x)
{
    return oneArg(hdqlib::SQRT_FUNCTION, std::move(x));
}

TEST(CalcVariable, IsTheFormulaOfFetchedValuesToTheLastBit)
{
    Session session(junction);
    auto const& names = session.objects.dataSet.varNames();
    ASSERT_GE(names.size(), 6U);
    auto const id = [](std::size_t var) { return 1000 + static_cast<unsigned long>(var); };
    // The first three velocities that stand at nodes.
    session.create(5000, root(add(add(squared(id(3)), squared(id(4))), squared(id(5)))));
    for (SubzoneAddress const& subzone : session.subzones(Items::Nodes)) {
        auto const u = session.values(1003, Items::Nodes, subzone);
        auto const v = session.values(1004, Items::Nodes, subzone);
        auto const w = session.values(1005, Items::Nodes, subzone);
        auto const actual = session.values(5000, Items::Nodes, subzone);
        ASSERT_EQ(actual.size(), u.size());
        for (std::size_t i = 0; i < u.size(); ++i)
            ASSERT_EQ(actual[i], std::sqrt(u[i] * u[i] + v[i] * v[i] + w[i] * w[i]));
    }
    session.expectValuesWithinRanges(5000, Items::Nodes);
}

TEST(CalcVariable, HasTheTypeThatWasAskedFor)
{
    Session session(junction);
    unsigned long const p = session.idOf("p");
    session.create(5001, multiply(var(p), num(1.0 / 3)), FieldDataType_Float);
    session.create(5002, multiply(var(p), num(100)), FieldDataType_Int32);
    session.create(5003, multiply(var(p), num(1e4)), FieldDataType_Int16);
    session.create(5004, multiply(var(p), num(10)), FieldDataType_Byte);
    for (SubzoneAddress const& subzone : session.subzones(Items::Nodes)) {
        auto const stored = session.values(static_cast<long>(p), Items::Nodes, subzone);
        auto const floats = session.values(5001, Items::Nodes, subzone);
        auto const ints = session.values(5002, Items::Nodes, subzone);
        auto const shorts = session.values(5003, Items::Nodes, subzone);
        auto const bytes = session.values(5004, Items::Nodes, subzone);
        for (std::size_t i = 0; i < stored.size(); ++i) {
            ASSERT_EQ(floats[i], static_cast<float>(stored[i] * (1.0 / 3)));
            ASSERT_EQ(ints[i], std::trunc(stored[i] * 100));
            ASSERT_EQ(shorts[i], static_cast<short>(static_cast<int>(stored[i] * 1e4)));
            ASSERT_EQ(bytes[i], static_cast<unsigned char>(static_cast<int>(stored[i] * 10)));
        }
    }
    for (long const id : {5001, 5002, 5003, 5004})
        session.expectValuesWithinRanges(id, Items::Nodes);
}

TEST(CalcVarType, EndsOfARangeAreRoundedAsItsValuesAre)
{
    double ends[] = {0.1, 1e6 / 3};
    CalcVarType const type(FieldDataType_Float);
    Interval const range = type.narrowed({ends[0], ends[1]});
    type.narrow(ends, 2);
    EXPECT_EQ(range.lower, ends[0]);
    EXPECT_EQ(range.upper, ends[1]);
    EXPECT_EQ(range.lower, double{0.1F});
    Interval const same = CalcVarType(FieldDataType_Double).narrowed({0.1, 1e6 / 3});
    EXPECT_EQ(same.lower, 0.1);
    EXPECT_EQ(same.upper, 1e6 / 3);
}

TEST(CalcVariable, OfIntegerTypeIsZeroWhereItHasNoValue)
{
    Session session(junction);
    Formula undefined = add(divide(num(1), subtract(var(1000), var(1000))), num(7));
    session.create(5000, std::move(undefined), FieldDataType_Int32);
    for (double const value : session.values(5000, Items::Nodes, SubzoneAddress(0, 0, 0)))
        EXPECT_EQ(value, 0);
    session.expectValuesWithinRanges(5000, Items::Nodes);
}

TEST(CalcVariable, OfUnknownTypeIsRefused)
{
    Session session(junction);
    for (int const type : {0, 6, -1, 99})
        EXPECT_EQ(messageOf<std::invalid_argument>([&] { session.create(5000, num(1), type); }),
                  "A calculated variable can't have the value type " + std::to_string(type) + ".");
    EXPECT_FALSE(session.objects.registration.identities.at(0)->varExists(5000));
}

TEST(CalcVariable, StandsAtCellsIfOneOfItsVariablesDoes)
{
    Session session(junction);
    unsigned long const atCells = session.idOf("p_cell");
    unsigned long const atNodes = session.idOf("p");
    ASSERT_FALSE(session.isNodal(static_cast<long>(atCells)));
    ASSERT_TRUE(session.isNodal(static_cast<long>(atNodes)));
    session.create(5000, subtract(var(atCells), var(atNodes)));
    EXPECT_EQ(
        messageOf<std::runtime_error>(
            [&] { session.values(5000, Items::Nodes, SubzoneAddress(0, 0, 0)); }),
        "The calculated variable with the unique id 5000 has its values at cells, not at nodes.");
    auto& cells = *session.objects.registration.zones.at(0).cells;
    for (SubzoneAddress const& subzone : session.subzones(Items::Cells)) {
        auto const own = session.values(static_cast<long>(atCells), Items::Cells, subzone);
        auto const actual = session.values(5000, Items::Cells, subzone);
        ASSERT_EQ(actual.size(), own.size());
        for (std::size_t i = 0; i < own.size(); i += 37) {
            ItemAddress<long> buffer[8];
            RawArray<ItemAddress<long>> corners{nullptr, buffer, 8, 0};
            cells.cornerNodeAddresses(ItemAddress<long>(subzone, static_cast<std::uint8_t>(i)),
                                      corners);
            ASSERT_EQ(corners.size, 8U);
            double sum = 0;
            for (ItemAddress<long> const& corner : buffer)
                sum += session.values(static_cast<long>(atNodes), Items::Nodes,
                                      corner.subzoneAddress())[corner.itemOffset()];
            ASSERT_EQ(actual[i], own[i] - sum / 8);
        }
    }
    session.expectValuesWithinRanges(5000, Items::Cells);
}

TEST(CalcVariable, WithoutVariablesStandsAtNodes)
{
    Session session(junction);
    session.create(5000, num(2.5));
    for (double const value : session.values(5000, Items::Nodes, SubzoneAddress(0, 0, 21)))
        EXPECT_EQ(value, 2.5);
    session.expectValuesWithinRanges(5000, Items::Nodes);
    EXPECT_EQ(Session::range(*session.variables.at(5000).nodal).min, 2.5);
}

TEST(CalcVariable, IsOneThatOthersAreMadeOf)
{
    Session session({sample("tankbox_partitions")});
    session.create(5000, multiply(var(1000), num(1.0 / 3)), FieldDataType_Float);
    session.create(5001, add(var(5000), var(5000)));
    auto& identity = *session.objects.registration.identities.at(0);
    EXPECT_TRUE(identity.varExists(5001));
    auto& copy = *identity.duplicate()->duplicate();
    EXPECT_TRUE(copy.varExists(5001));
    session.create(copy, 5002, add(var(5001), var(1000)));
    EXPECT_FALSE(identity.varExists(5002)); // made of the copy alone
    for (SubzoneAddress const& subzone : session.subzones(Items::Nodes)) {
        auto const x = session.values(1000, Items::Nodes, subzone);
        auto const actual = session.values(5002, Items::Nodes, subzone);
        for (std::size_t i = 0; i < x.size(); ++i) {
            double const third = static_cast<float>(x[i] * (1.0 / 3)); // as it was served
            ASSERT_EQ(actual[i], third + third + x[i]);
        }
    }
    session.expectValuesWithinRanges(5002, Items::Nodes);
}

TEST(CalcVariable, TakesTheIdOfACalculatedOneForWhatComesAfter)
{
    Session session(junction);
    session.create(5000, num(1));
    session.create(5001, var(5000));
    session.create(5000, add(var(5000), num(10)));
    session.create(5002, var(5000));
    SubzoneAddress const subzone(0, 0, 0);
    EXPECT_EQ(session.values(5001, Items::Nodes, subzone)[0], 1);
    EXPECT_EQ(session.values(5002, Items::Nodes, subzone)[0], 11);
    EXPECT_EQ(messageOf<std::invalid_argument>([&] { session.create(1000, num(1)); }),
              "The unique id 1000 of a calculated variable is that of a variable of the files.");
}

TEST(CalcVariable, OfAVariableThatIsNotThereIsRefused)
{
    Session session(junction);
    EXPECT_EQ(messageOf<std::invalid_argument>([&] { session.create(5000, var(~0UL)); }),
              "A formula names the variable with the unique id -1, which the zone doesn't have.");
    EXPECT_EQ(messageOf<std::invalid_argument>([&] { session.create(5000, var(5000)); }),
              "A formula names the variable with the unique id 5000, which the zone doesn't have.");
}

TEST(CalcVariable, MetOnManyWaysIsComputedOnce)
{
    // Without care the n-th of these would take the time of as many as Fibonacci's n-th number.
    Session session(junction);
    session.create(5000, multiply(var(1000), num(1e-20)));
    session.create(5001, var(5000));
    for (long id = 5002; id < 5090; ++id) {
        auto const last = static_cast<unsigned long>(id - 1);
        session.create(id, add(var(last), var(last - 1)));
    }
    double a = session.values(1000, Items::Nodes, SubzoneAddress(0, 0, 3))[7] * 1e-20;
    double b = a;
    for (long id = 5002; id < 5090; ++id)
        a = std::exchange(b, a + b);
    EXPECT_EQ(session.values(5089, Items::Nodes, SubzoneAddress(0, 0, 3))[7], b);
    session.expectValuesWithinRanges(5089, Items::Nodes);
}

TEST(CalcVariable, RestsOnAThousandOthersAtMost)
{
    Session session(junction);
    session.create(5000, var(1000));
    for (long id = 5001; id <= 6000; ++id)
        session.create(id, add(var(static_cast<unsigned long>(id - 1)), num(1)));
    double const x = session.values(1000, Items::Nodes, SubzoneAddress(0, 0, 0))[0];
    EXPECT_NEAR(session.values(6000, Items::Nodes, SubzoneAddress(0, 0, 0))[0], x + 1000, 1e-9);
    session.expectValuesWithinRanges(6000, Items::Nodes);
    EXPECT_EQ(messageOf<std::invalid_argument>([&] { session.create(6001, var(6000)); }),
              "A formula rests on more than 1000 calculated variables.");
}

TEST(CalcVariable, LogsOnceForASubzone)
{
    Session session(junction);
    Lines lines;
    auto const find = [&](long) -> ZoneVariable* { return nullptr; };
    CalcVariable variable({session.grid, session.objects.registration.zones.at(0).cells, 5000},
                          CalcVarType(FieldDataType_Double), shared(root(num(-1))), find, lines);
    EXPECT_TRUE(std::isnan(variable.values(SubzoneAddress(0, 0, 0))[0]));
    EXPECT_EQ(
        lines.texts,
        std::vector<std::string>{
            "The calculated variable with the unique id 5000, subzone 0 of section 0 in partition "
            "0, counted from 0: 256 of 256 points have no value. Invalid values for "
            "sqrt function."});
    variable.values(SubzoneAddress(0, 0, 1));
    EXPECT_EQ(lines.texts.size(), 2U);
    variable.values(SubzoneAddress(0, 0, 0));
    variable.values(SubzoneAddress(0, 0, 1));
    EXPECT_EQ(lines.texts.size(), 2U);
}

TEST(CalcVariable, ClampingIsLogged)
{
    Session session(junction);
    Lines lines;
    auto const find = [&](long) -> ZoneVariable* { return nullptr; };
    CalcVariable variable({session.grid, session.objects.registration.zones.at(0).cells, 5000},
                          CalcVarType(FieldDataType_Double),
                          shared(twoArg(hdqlib::MIN_WARN_FUNCTION, num(1), num(2))), find, lines);
    EXPECT_EQ(variable.values(SubzoneAddress(0, 0, 0))[0], 1);
    EXPECT_EQ(lines.texts,
              std::vector<std::string>{
                  "The calculated variable with the unique id 5000, subzone 0 of section 0 in "
                  "partition 0, counted from 0: Value 2 clamped to 1, and 255 more."});
}

Formula randomFormula(std::mt19937_64& generator, std::vector<unsigned long> const& ids, int depth)
{
    auto const below = [&](std::size_t limit) { return generator() % limit; };
    if (depth == 0)
        return below(4) == 0 ? num(static_cast<double>(below(9)) - 4) : var(ids[below(ids.size())]);
    auto const operand = [&] { return randomFormula(generator, ids, depth - 1); };
    switch (below(10)) {
    case 0:
        return add(operand(), operand());
    case 1:
        return subtract(operand(), operand());
    case 2:
        return multiply(operand(), operand());
    case 3:
        return divide(operand(), operand());
    case 4:
        return power(operand(), static_cast<double>(below(7)) - 3);
    case 5:
        return less(operand(), operand());
    case 6:
        return plane(operand(), operand(), operand(), {1, -0.1, 3, 7});
    case 7:
        return twoArg(static_cast<unsigned char>(below(6)), operand(), operand());
    default:
        return oneArg(static_cast<unsigned char>(below(16)), operand());
    }
}

struct SampleCase
{
    char const* name;
    std::vector<std::string> paths;
};

SampleCase const sampleCases[] = {
    {"Binary", samples({"tjunction_grid", "tjunction_t10"})},
    {"Text", samples({"tjunction_ascii_grid", "tjunction_ascii_t05"})},
    {"Partitions", {sample("tankbox_partitions")}},
};

class CalcVariableOfSample : public testing::TestWithParam<SampleCase>
{
};

TEST_P(CalcVariableOfSample, LiesWithinItsRangesWhateverTheFormula)
{
    constexpr unsigned SEED = 21;
    std::mt19937_64 generator(SEED);
    Session session(GetParam().paths);
    std::vector<unsigned long> ids;
    std::vector<unsigned long> nodalIds;
    for (auto const& [id, variable] : session.variables) {
        ids.push_back(static_cast<unsigned long>(id));
        if (session.isNodal(id))
            nodalIds.push_back(static_cast<unsigned long>(id));
    }
    for (long id = 5000; id < 5012; ++id) {
        SCOPED_TRACE("seed " + std::to_string(SEED) + ", variable " + std::to_string(id));
        bool const isMixed = id % 4 == 3;
        Formula formula = randomFormula(generator, isMixed ? ids : nodalIds, 3);
        // A cell-centred variable that changes nothing decides where the result stands.
        bool atCells = false;
        if (isMixed)
            for (unsigned long const candidate : ids)
                if (!atCells && !session.isNodal(static_cast<long>(candidate))) {
                    formula = add(std::move(formula), multiply(var(candidate), num(0)));
                    atCells = true;
                }
        session.create(id, std::move(formula), 1 + static_cast<int>(generator() % 5));
        session.expectValuesWithinRanges(id, atCells ? Items::Cells : Items::Nodes);
        if (!atCells)
            nodalIds.push_back(static_cast<unsigned long>(id));
    }
}

INSTANTIATE_TEST_SUITE_P(Files, CalcVariableOfSample, testing::ValuesIn(sampleCases),
                         caseName<SampleCase>);

}
}
