// Calculated variables, from the formula through the server and its loader to the values, against
// the formula computed here from the fetched values.

#include "client/Engine.h"
#include "client/Errors.h"
#include "client/ServerProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <map>

namespace varnox::tests {
namespace {

using client::Engine;
using client::nameOf;
using client::SubzoneAddress;
using client::textOf;
using client::Values;
using testing::HasSubstr;

std::string const DATA = std::string(VNX_SOURCE_DIR) + "/examples/data/";

std::vector<double> asDoubles(Values const& values)
{
    return std::visit(
        [](auto const& vector) { return std::vector<double>(vector.begin(), vector.end()); },
        values);
}

using Subzones = std::map<std::string, std::vector<double>>; ///< By the text of their addresses.

class CalculatedValues : public testing::Test
{
protected:
    void SetUp() override
    {
        server = client::ServerProcess::startLocal(std::string(VNX_BIN_DIR) + "/vnxdataserver",
                                                   std::string(VNX_LIB_DIR) + "/vnxhdqfsloader.so");
        engine = std::make_unique<Engine>(server->takeStream().release());
    }

    void load(std::vector<std::string> const& names)
    {
        std::vector<std::string> paths;
        for (std::string const& name : names)
            paths.push_back(DATA + name + ".hdqfs");
        engine->load(paths);
    }

    int numberOf(std::string const& name) const
    {
        for (client::Variable const& variable : engine->dataSet().variables)
            if (variable.name == name)
                return variable.number;
        throw std::runtime_error("no variable " + name);
    }

    Subzones valuesOf(int zone, int var)
    {
        Subzones result;
        engine->allSubzoneValues(zone, var, [&](SubzoneAddress address, Values const& values) {
            result[textOf(address)] = asDoubles(values);
        });
        return result;
    }

    std::unique_ptr<client::ServerProcess> server;
    std::unique_ptr<Engine> engine;
};

using Function = std::function<double(std::vector<double> const&)>;

struct CalculationCase
{
    char const* name;
    std::vector<std::string> files;
    int zone;
    char const* formula;
    std::vector<std::string> variables; ///< What the function takes.
    Function function;
};

class Calculation : public CalculatedValues, public testing::WithParamInterface<CalculationCase>
{
};

/// The same number, to the last bit; points without a value are all alike.
bool isSame(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

TEST_P(Calculation, IsTheFormulaOfTheFetchedValuesToTheLastBit)
{
    CalculationCase const& c = GetParam();
    load(c.files);
    int const var = engine->createCalcVar(c.zone, "result", c.formula);
    std::vector<Subzones> inputs;
    for (std::string const& name : c.variables)
        inputs.push_back(valuesOf(c.zone, numberOf(name)));
    auto const range =
        engine->dataSet().zones[static_cast<std::size_t>(c.zone - 1)].variables.back().range;
    ASSERT_TRUE(range);
    std::size_t numValues = 0;
    std::size_t numWrong = 0;
    std::size_t numOutside = 0;
    for (auto const& [address, values] : valuesOf(c.zone, var)) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            std::vector<double> arguments;
            for (Subzones const& input : inputs) {
                ASSERT_EQ(input.at(address).size(), values.size());
                arguments.push_back(input.at(address)[i]);
            }
            double const expected = c.function(arguments);
            if (!isSame(values[i], expected) && ++numWrong < 5)
                ADD_FAILURE() << "subzone " << address << ", value " << i << " is " << values[i]
                              << " and not " << expected;
            bool const isInside = range->min <= values[i] && values[i] <= range->max;
            numOutside += isInside || std::isnan(values[i]) ? 0 : 1;
            ++numValues;
        }
    }
    EXPECT_GT(numValues, 1000U);
    EXPECT_EQ(numWrong, 0U) << "of " << numValues;
    EXPECT_EQ(numOutside, 0U) << "of [" << range->min << ", " << range->max << "]";
}

std::vector<std::string> const JUNCTION = {"tjunction_grid", "tjunction_t05"};
std::vector<std::string> const TEXT = {"tjunction_ascii_grid", "tjunction_ascii_t05"};
std::vector<std::string> const BOX = {"tankbox_partitions"};

using V = std::vector<double> const&;

std::vector<CalculationCase> const calculationCases = {
    {"Length",
     JUNCTION,
     1,
     "sqrt(U^2+V^2+W^2)",
     {"U", "V", "W"},
     [](V v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }},
    {"LengthOfTextFiles",
     TEXT,
     1,
     "sqrt(X^2+Y^2+Z^2)",
     {"X", "Y", "Z"},
     [](V v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }},
    {"LengthOfAnOrderedZone",
     BOX,
     1,
     "sqrt(X^2+Y^2+Z^2)",
     {"X", "Y", "Z"},
     [](V v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }},
    {"SecondCopy",
     {"tjunction_grid", "tjunction_t05", "tjunction_t10"},
     2,
     "U*X - p/3",
     {"U", "X", "p"},
     [](V v) { return v[0] * v[1] - v[2] / 3; }},
    {"Comparison",
     JUNCTION,
     1,
     "p > 0.5e5/1e5",
     {"p"},
     [](V v) { return v[0] > 0.5e5 / 1e5 ? 1.0 : 0.0; }},
    {"ComparisonsAsFactors",
     JUNCTION,
     1,
     "(U>=0)*(V<0) + (W!=0)*2 + (W==0)*4 + (U<=V)*8",
     {"U", "V", "W"},
     [](V v) {
         return (v[0] >= 0 && v[1] < 0 ? 1.0 : 0.0) + (v[2] != 0 ? 2.0 : 0.0) +
                (v[2] == 0 ? 4.0 : 0.0) + (v[0] <= v[1] ? 8.0 : 0.0);
     }},
    {"PointsWithoutAValue",
     JUNCTION,
     1,
     "sqrt(U)",
     {"U"},
     [](V v) { return v[0] < 0 ? NAN : std::sqrt(v[0]); }},
    {"DivisionByZero",
     BOX,
     1,
     "1/{alpha.water}",
     {"alpha.water"},
     [](V v) { return v[0] == 0 ? NAN : 1 / v[0]; }},
    {"OddPower", JUNCTION, 1, "U^3", {"U"}, [](V v) { return std::pow(v[0], 3); }},
    {"NegatedPower", JUNCTION, 1, "-U^2*-1.5", {"U"}, [](V v) { return -(v[0] * v[0]) * -1.5; }},
    {"AtCells",
     JUNCTION,
     1,
     "abs(p_cell)*2+1",
     {"p_cell"},
     [](V v) { return (v[0] < 0 ? -v[0] : v[0]) * 2 + 1; }},
    {"TwoArguments",
     JUNCTION,
     1,
     "max(U, V) + min(V, W)*atan2(U, 1)",
     {"U", "V", "W"},
     [](V v) { return std::max(v[0], v[1]) + std::min(v[1], v[2]) * std::atan2(v[0], 1.0); }},
    {"Waves",
     JUNCTION,
     1,
     "sin(X*100)*cos(Y)+exp(-Z)",
     {"X", "Y", "Z"},
     [](V v) { return std::sin(v[0] * 100) * std::cos(v[1]) + std::exp(-v[2]); }},
    {"Plane",
     JUNCTION,
     1,
     "plane(X, Y, Z, 1, -2, 0.5, 3)",
     {"X", "Y", "Z"},
     [](V v) { return v[0] * 1.0 + v[1] * -2.0 + v[2] * 0.5 + 3.0; }},
    {"Constant", JUNCTION, 1, "2.5", {}, [](V) { return 2.5; }},
};

INSTANTIATE_TEST_SUITE_P(Formulas, Calculation, testing::ValuesIn(calculationCases),
                         [](auto const& test) { return std::string(test.param.name); });

struct TypeCase
{
    FieldDataType_e type;
    std::function<double(double)> narrow;
};

TEST_F(CalculatedValues, NarrowToTheirType)
{
    load(JUNCTION);
    auto const input = valuesOf(1, numberOf("X"));
    TypeCase const types[] = {
        {FieldDataType_Float, [](double v) { return static_cast<double>(static_cast<float>(v)); }},
        {FieldDataType_Double, [](double v) { return v; }},
        {FieldDataType_Int32, [](double v) { return std::trunc(v); }},
        {FieldDataType_Int16, [](double v) { return std::trunc(v); }},
        {FieldDataType_Byte, [](double v) {
             return static_cast<double>(static_cast<std::uint8_t>(static_cast<int>(v)));
         }}};
    for (auto const& [type, narrow] : types) {
        int const var = engine->createCalcVar(1, nameOf(type), "X*300", type);
        for (auto const& [address, values] : valuesOf(1, var))
            for (std::size_t i = 0; i < values.size(); ++i)
                ASSERT_EQ(values[i], narrow(input.at(address)[i] * 300)) << nameOf(type);
    }
}

TEST_F(CalculatedValues, GoIntoFurtherFormulas)
{
    load(JUNCTION);
    auto const u = valuesOf(1, numberOf("U"));
    engine->createCalcVar(1, "first step", "U*U");
    engine->createCalcVar(1, "second", "{first step} + 1");
    int const var = engine->createCalcVar(1, "third", "second / {first step}");
    for (auto const& [address, values] : valuesOf(1, var))
        for (std::size_t i = 0; i < values.size(); ++i) {
            double const first = u.at(address)[i] * u.at(address)[i];
            ASSERT_TRUE(isSame(values[i], first == 0 ? NAN : (first + 1) / first));
        }
}

TEST_F(CalculatedValues, OfEachZoneAreItsOwn)
{
    load({"tjunction_grid", "tjunction_t05", "tjunction_t10"});
    int const inFirst = engine->createCalcVar(1, "twice", "2*U");
    int const inSecond = engine->createCalcVar(2, "twice", "2*U");
    EXPECT_NE(inFirst, inSecond);
    for (auto const& [zone, var] : {std::pair{1, inFirst}, {2, inSecond}}) {
        auto const u = valuesOf(zone, numberOf("U"));
        for (auto const& [address, values] : valuesOf(zone, var))
            for (std::size_t i = 0; i < values.size(); ++i)
                ASSERT_EQ(values[i], 2 * u.at(address)[i]);
    }
    EXPECT_THROW(engine->subzoneValues(1, inSecond, {SubzoneAddress(0, 0, 0)},
                                       [](SubzoneAddress, Values const&) {}),
                 client::Error);
    engine->close();
    EXPECT_TRUE(server->waitFor(std::chrono::milliseconds(5000)));
}

TEST_F(CalculatedValues, GoWithDuplicatesAndGrowInThem)
{
    load(JUNCTION);
    int const before = engine->createCalcVar(1, "before", "2*U");
    int const copy = engine->duplicateZone(1);
    EXPECT_EQ(valuesOf(copy, before), valuesOf(1, before));
    int const ofCopy = engine->createCalcVar(copy, "of the copy", "before + U");
    int const ofSource = engine->createCalcVar(1, "of the source", "before * 3");
    EXPECT_EQ(ofSource, ofCopy + 1);
    auto const u = valuesOf(1, numberOf("U"));
    for (auto const& [address, values] : valuesOf(copy, ofCopy))
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_EQ(values[i], 2 * u.at(address)[i] + u.at(address)[i]);
    for (auto const& [address, values] : valuesOf(1, ofSource))
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_EQ(values[i], 2 * u.at(address)[i] * 3);
    EXPECT_THROW(engine->createCalcVar(1, "x", "{of the copy}"), client::Error);
    EXPECT_THROW(engine->createCalcVar(copy, "x", "{of the source}"), client::Error);
}

TEST_F(CalculatedValues, AreFoundByValue)
{
    load(BOX);
    int const var = engine->createCalcVar(1, "result", "X^2 + Y*Z");
    auto const values = valuesOf(1, var);
    for (double const wanted : {0.0001, 0.25, 0.9, 1.7}) {
        std::size_t numHolding = 0;
        auto const found = engine->subzonesThatMayHold(1, {{var, wanted}}, ValueLocation_Nodal);
        std::vector<std::string> names;
        for (SubzoneAddress const address : found)
            names.push_back(textOf(address));
        for (auto const& [address, ofSubzone] : values) {
            auto const [low, high] = std::minmax_element(ofSubzone.begin(), ofSubzone.end());
            if (wanted < *low || wanted > *high)
                continue;
            ++numHolding;
            EXPECT_THAT(names, testing::Contains(address)) << wanted;
        }
        EXPECT_GT(numHolding, 0U) << wanted;
        EXPECT_LT(found.size(), values.size()) << wanted;
    }
}

TEST_F(CalculatedValues, RangesOfSubzonesHoldThem)
{
    load(BOX);
    int const var = engine->createCalcVar(1, "result", "sin(X*7)*{alpha.water} - Y^3");
    auto const partitions = engine->partitionRanges(1, var);
    std::size_t numChecked = 0;
    for (std::uint32_t p = 0; p < partitions.size(); ++p) {
        auto const subzones = engine->subzoneRanges(1, var, p);
        for (std::uint32_t s = 0; s < subzones.size(); ++s)
            engine->subzoneValues(1, var, {SubzoneAddress(p, 0, s)},
                                  [&](SubzoneAddress, Values const& values) {
                                      for (double const value : asDoubles(values)) {
                                          ASSERT_LE(subzones[s].min, value);
                                          ASSERT_GE(subzones[s].max, value);
                                          ASSERT_LE(partitions[p].min, value);
                                          ASSERT_GE(partitions[p].max, value);
                                          ++numChecked;
                                      }
                                  });
    }
    EXPECT_EQ(numChecked, 40U * 33 * 26);
}

}
}
