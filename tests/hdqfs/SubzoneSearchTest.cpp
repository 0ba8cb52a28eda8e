#include "addons/hdqfs/SubzoneSearch.h"

#include "addons/hdqfs/SubzoneOrder.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/hdqfs/Registered.h"
#include "tests/hdqfs/Samples.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace varnox::hdqfsloader {
namespace {

using hdqio::MinMax;
using tests::Registered;
using tests::sample;
using tests::samples;
using tests::SubzoneAddress;
using tests::wordsOf;

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

/// A variable at nodes with ranges of the test's own: of two partitions, and of the subzones of
/// each.
class RangesOnly : public ZoneVariable
{
public:
    explicit RangesOnly(std::vector<MinMax> ranges) : m_ranges(std::move(ranges)) {}

    std::string description() const override { return "Variable 1 of the test"; }
    Items items() const override { return Items::Nodes; }
    MinMax range() const override { return {-INF, INF}; }
    std::vector<double> const& values(SubzoneAddress const&) override
    {
        throw std::logic_error("no values");
    }
    std::vector<MinMax> partitionRanges() override { return {{5, 5}, {6, 6}}; }
    std::vector<MinMax> subzoneRanges(std::uint32_t partition, Items) override
    {
        ++numReads;
        if (partition == 1)
            return {{2, 8}, {NOT_A_NUMBER, 9}};
        return m_ranges;
    }

    int numReads = 0;

private:
    std::vector<MinMax> m_ranges;
};

/// Sections of so many subzones.
SubzoneLayout sections(std::vector<std::uint64_t> counts)
{
    for (std::uint64_t& count : counts)
        count *= SubzoneLayout::ITEMS_PER_RUN;
    return SubzoneLayout::ofSections(counts);
}

/// Bricks, so many along each axis.
SubzoneLayout bricks(std::uint64_t i, std::uint64_t j, std::uint64_t k)
{
    return SubzoneLayout::ofBricks({{{i * 6, 6, 0, i}, {j * 6, 6, 0, j}, {k * 6, 6, 0, k}}});
}

/// The entries at the bottom of a tree that hold a value.
std::vector<std::uint64_t> entriesWith(RangeTrees::Tree const& tree, double value)
{
    hdqio::MinMaxTree const* trees[] = {tree.get()};
    auto const n = static_cast<std::uint32_t>(tree->levels[0].size());
    auto words = wordsOf([&](auto& out) {
        hdqio::MinMaxTree::recursivelyFindEntriesContainingNVarValues(
            {nullptr, trees, 1, 1}, {nullptr, &value, 1, 1}, 4, 0, 1, n, 0, 0, out);
    });
    for (std::uint64_t& word : words)
        word >>= ItemAddress<long>::SUBZONE_OFFSET_SHIFT;
    return words;
}

TEST(SubzoneOrder, TakesBricksByCubesOfFour)
{
    auto const order = subzoneOrder(bricks(9, 5, 4));
    ASSERT_EQ(order.size(), 9U * 5 * 4);
    // The first 64 are a cube; its rows have four of the nine along I.
    EXPECT_EQ((std::vector<std::uint32_t>(order.begin(), order.begin() + 9)),
              (std::vector<std::uint32_t>{0, 1, 2, 3, 9, 10, 11, 12, 18}));
    EXPECT_EQ(order[63], 3U + 9 * (3 + 5 * 3));
    EXPECT_EQ(order[64], 4U);
    std::vector<std::uint32_t> sorted = order;
    std::sort(sorted.begin(), sorted.end());
    for (std::uint32_t n = 0; n < sorted.size(); ++n)
        ASSERT_EQ(sorted[n], n);
    EXPECT_EQ(subzoneOrder(bricks(5, 5, 1)),
              (std::vector<std::uint32_t>{0,  1,  2,  3, 5, 6,  7,  8,  10, 11, 12, 13, 15,
                                          16, 17, 18, 4, 9, 14, 19, 20, 21, 22, 23, 24}));
    EXPECT_EQ(subzoneOrder(bricks(1, 1, 1)), std::vector<std::uint32_t>{0});
    EXPECT_TRUE(subzoneOrder(sections({100})).empty());
}

TEST(SubzoneOrder, BricksInALineStayInTheirOrder)
{
    std::vector<std::uint32_t> line(70);
    std::iota(line.begin(), line.end(), 0U);
    EXPECT_EQ(subzoneOrder(bricks(70, 1, 1)), line);
    EXPECT_EQ(subzoneOrder(bricks(1, 70, 1)), line);
    EXPECT_EQ(subzoneOrder(bricks(1, 1, 70)), line);
}

TEST(RangeTrees, OfBricksKnowTheirOrder)
{
    std::vector<MinMax> ranges(5 * 5 * 5, MinMax{0, 1});
    ranges[4] = {2, 3}; // the first brick of the second cube
    RangesOnly variable(ranges);
    RangeTrees trees;
    auto const found = trees.subzones(variable, 0, Items::Nodes, bricks(5, 5, 5));
    ASSERT_EQ(entriesWith(found.sections.front(), 2.5), std::vector<std::uint64_t>{64});
    EXPECT_EQ(found.order->at(64), 4U);
    // Another layout of as many subzones has another order.
    EXPECT_EQ(trees.subzones(variable, 0, Items::Nodes, bricks(125, 1, 1)).order->at(4), 4U);
    EXPECT_EQ(variable.numReads, 2);
}

TEST(RangeTrees, NotANumberBoundsNothing)
{
    // Without care the first range of each group of 64 would hide the others.
    std::vector<MinMax> ranges(200, MinMax{5, 6});
    ranges[0] = {NOT_A_NUMBER, NOT_A_NUMBER};
    ranges[64] = {NOT_A_NUMBER, 1};
    ranges[128] = {7, NOT_A_NUMBER};
    RangesOnly variable(ranges);
    RangeTrees trees;
    auto const tree = trees.subzones(variable, 0, Items::Nodes, sections({200})).sections.front();
    EXPECT_EQ(entriesWith(tree, 0.5), (std::vector<std::uint64_t>{0, 64}));
    EXPECT_EQ(entriesWith(tree, 8), (std::vector<std::uint64_t>{0, 128}));
    EXPECT_EQ(entriesWith(tree, 5).size(), 198U);
    EXPECT_TRUE(entriesWith(tree, NOT_A_NUMBER).empty());
}

TEST(RangeTrees, SubzonesOfNothingButNotANumberHoldNothing)
{
    RangesOnly variable({{INF, -INF}, {1, 2}});
    RangeTrees trees;
    auto const tree = trees.subzones(variable, 0, Items::Nodes, sections({2})).sections.front();
    EXPECT_EQ(entriesWith(tree, 1), (std::vector<std::uint64_t>{1}));
    EXPECT_TRUE(entriesWith(tree, INF).empty());
    EXPECT_TRUE(entriesWith(tree, 0).empty());
}

TEST(RangeTrees, InfiniteValuesAreFound)
{
    RangesOnly variable({{-INF, 2}, {1, INF}});
    RangeTrees trees;
    auto const tree = trees.subzones(variable, 0, Items::Nodes, sections({2})).sections.front();
    EXPECT_EQ(entriesWith(tree, INF), (std::vector<std::uint64_t>{1}));
    EXPECT_EQ(entriesWith(tree, -INF), (std::vector<std::uint64_t>{0}));
}

TEST(RangeTrees, SectionsHaveTreesOfTheirOwn)
{
    RangesOnly variable({{1, 1}, {2, 2}, {1, 3}});
    RangeTrees trees;
    auto const found = trees.subzones(variable, 0, Items::Cells, sections({1, 0, 2})).sections;
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(entriesWith(found[0], 1), (std::vector<std::uint64_t>{0}));
    EXPECT_EQ(found[1], nullptr);
    EXPECT_EQ(entriesWith(found[2], 2), (std::vector<std::uint64_t>{0, 1}));
}

TEST(RangeTrees, RangesOfAnotherNumberOfSubzonesAreRefused)
{
    RangesOnly variable({{1, 1}, {2, 2}});
    RangeTrees trees;
    try {
        trees.subzones(variable, 0, Items::Nodes, sections({3}));
        FAIL();
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(),
                     "Variable 1 of the test has ranges of 2 subzones in a partition, "
                     "which has another number of them.");
    }
    trees.subzones(variable, 0, Items::Nodes, sections({2}));
    EXPECT_THROW(trees.subzones(variable, 0, Items::Nodes, sections({1})), std::runtime_error);
}

TEST(RangeTrees, StayWhileTheyFitAndTheLongestUnusedGoFirst)
{
    std::vector<MinMax> const ranges(100, MinMax{1, 2});
    RangesOnly first(ranges);
    RangesOnly second(ranges);
    RangesOnly third(ranges);
    std::size_t const bytesOfOne = (100 + 2 + 1 + 1 + 1) * sizeof(MinMax);
    RangeTrees trees(2 * bytesOfOne);
    auto const use = [&](RangesOnly& variable) {
        trees.subzones(variable, 0, Items::Nodes, sections({100}));
    };
    use(first);
    EXPECT_EQ(trees.byteCount(), bytesOfOne);
    use(second);
    use(first);
    EXPECT_EQ(first.numReads, 1);
    use(third); // pushes the second out
    EXPECT_EQ(trees.byteCount(), 2 * bytesOfOne);
    use(first);
    EXPECT_EQ(first.numReads, 1);
    use(second);
    EXPECT_EQ(second.numReads, 2);
    trees.subzones(first, 1, Items::Nodes, sections({2})); // another partition, another tree
    EXPECT_EQ(first.numReads, 2);
}

TEST(RangeTrees, TreeBeyondTheLimitServesItsSearchAndGoes)
{
    RangesOnly variable({{1, 1}, {2, 2}});
    RangeTrees trees(10);
    auto const tree = trees.subzones(variable, 0, Items::Nodes, sections({2})).sections.front();
    EXPECT_EQ(trees.byteCount(), 0U);
    EXPECT_EQ(entriesWith(tree, 2), (std::vector<std::uint64_t>{1}));
}

TEST(RangeTrees, PartitionsOfTheOtherKindReachAsFarAsTheirSubzones)
{
    RangesOnly variable({{3, 4}, {INF, -INF}, {1, 2}});
    RangeTrees trees;
    auto const nodes = trees.partitions(variable, Items::Nodes);
    EXPECT_EQ(nodes->levels[0][0].min, 5);
    EXPECT_EQ(nodes->levels[0][1].max, 6);
    EXPECT_EQ(variable.numReads, 0);
    for (int round = 0; round < 2; ++round) {
        auto const cells = trees.partitions(variable, Items::Cells);
        EXPECT_EQ(cells->levels[0][0].min, 1);
        EXPECT_EQ(cells->levels[0][0].max, 4);
        EXPECT_EQ(cells->levels[0][1].min, -INF);
        EXPECT_EQ(cells->levels[0][1].max, 9);
        EXPECT_EQ(variable.numReads, 2);
    }
}

/// A zone of a sample with its searches, and all its ranges for a comparison without trees.
class SearchedZone
{
public:
    SearchedZone(Registered& objects, int zone)
        : m_identity(*objects.registration.identities.at(zone)),
          m_grid(objects.dataSet.grid(static_cast<std::uint32_t>(zone)))
    {
        for (std::uint32_t v = 0; v < objects.dataSet.numVars(); ++v) {
            auto const shared =
                objects.dataSet.variable(static_cast<std::uint32_t>(zone), v).sharedFrom;
            m_ranges.push_back(
                objects.registration.variables.at({shared == -1 ? zone : shared, int(v)}).subzones);
        }
    }

    std::vector<std::uint64_t> find(std::vector<double> values, std::vector<long> vars, Items items)
    {
        RawArray<double> const valueArray{nullptr, values.data(), values.size(), values.size()};
        RawArray<long> const varArray{nullptr, vars.data(), vars.size(), vars.size()};
        return wordsOf([&](auto& out) {
            if (items == Items::Nodes)
                m_identity.findNodeSubzones(valueArray, varArray, out);
            else
                m_identity.findCellSubzones(valueArray, varArray, out);
        });
    }

    std::vector<MinMax> ranges(std::size_t var, std::uint32_t partition, Items items)
    {
        tests::Growable<double> out;
        if (items == Items::Nodes)
            m_ranges[var]->nodeSubzoneMinMaxes(partition, out.array());
        else
            m_ranges[var]->cellSubzoneMinMaxes(partition, out.array());
        std::vector<double> const values = out.values();
        std::vector<MinMax> result;
        for (std::size_t i = 0; i < values.size(); i += 2)
            result.push_back({values[i], values[i + 1]});
        return result;
    }

    /// One after the other, without partitions and trees.
    std::vector<std::uint64_t> scan(std::vector<double> const& values,
                                    std::vector<std::size_t> const& vars, Items items)
    {
        std::vector<std::uint64_t> result;
        for (std::uint32_t p = 0; p < m_grid.file->zone(m_grid.zone).numPartitions; ++p) {
            std::vector<std::vector<MinMax>> all;
            for (std::size_t const var : vars)
                all.push_back(ranges(var, p, items));
            for (std::uint32_t s = 0; s < all.front().size(); ++s) {
                bool holds = true;
                for (std::size_t k = 0; k < vars.size(); ++k)
                    holds = holds && values[k] >= all[k][s].min && values[k] <= all[k][s].max;
                if (holds)
                    result.push_back(SubzoneAddress(p, 0, s).word());
            }
        }
        return result;
    }

    std::size_t numVars() const { return m_ranges.size(); }

private:
    hdq::ZoneVarIDQueryInterface& m_identity;
    DataSet::ZoneInFile m_grid;
    std::vector<hdq::VarSubzoneQueryInterface*> m_ranges;
};

struct SearchCase
{
    char const* name;
    std::vector<std::string> paths;
    int zone;
};

class Searches : public testing::TestWithParam<SearchCase>
{
};

INSTANTIATE_TEST_SUITE_P(
    Samples, Searches,
    testing::Values(
        SearchCase{"Partitions", {sample("tankbox_partitions")}, 0},
        SearchCase{"SharedGrid", samples({"tjunction_grid", "tjunction_t00", "tjunction_t05"}), 1},
        SearchCase{"Text", samples({"tjunction_ascii_grid", "tjunction_ascii_t05"}), 0}),
    [](auto const& tested) { return tested.param.name; });

TEST_P(Searches, FindWhatAScanOfAllRangesFinds)
{
    Registered objects(GetParam().paths);
    SearchedZone zone(objects, GetParam().zone);
    unsigned const seed = 20260;
    RecordProperty("seed", static_cast<int>(seed));
    std::mt19937_64 random(seed);
    std::size_t numFound = 0;
    for (int round = 0; round < 100; ++round) {
        for (Items const items : {Items::Nodes, Items::Cells}) {
            std::vector<std::size_t> vars;
            std::vector<long> ids;
            std::vector<double> values;
            for (int k = 0; k <= round % 3; ++k) {
                vars.push_back(random() % zone.numVars());
                ids.push_back(1000 + static_cast<long>(vars.back()));
                auto const ranges = zone.ranges(vars.back(), 0, items);
                MinMax const range = ranges[random() % ranges.size()];
                // Now and then an end of a range itself.
                double const part = static_cast<double>(random() % 5) / 4;
                values.push_back(range.min + part * (range.max - range.min));
            }
            auto const found = zone.find(values, ids, items);
            ASSERT_EQ(found, zone.scan(values, vars, items)) << "seed " << seed << ", " << round;
            numFound += found.size();
        }
    }
    EXPECT_GT(numFound, 100U);
}

TEST_P(Searches, WithoutVariablesFindAllSubzones)
{
    Registered objects(GetParam().paths);
    SearchedZone zone(objects, GetParam().zone);
    auto& connectivity = objects.registration.zones.at(GetParam().zone);
    EXPECT_EQ(zone.find({}, {}, Items::Nodes).size(),
              static_cast<std::size_t>(connectivity.nodes->numSubzones()));
    EXPECT_EQ(zone.find({}, {}, Items::Cells).size(),
              static_cast<std::size_t>(connectivity.cells->numSubzones()));
}

TEST_P(Searches, NotANumberAndValuesBeyondFindNothing)
{
    Registered objects(GetParam().paths);
    SearchedZone zone(objects, GetParam().zone);
    for (double const value : {NOT_A_NUMBER, 1e300, -1e300, INF})
        for (Items const items : {Items::Nodes, Items::Cells})
            EXPECT_TRUE(zone.find({value}, {1000}, items).empty()) << value;
}

TEST(SubzoneSearch, UnknownVariablesAndMissingValuesAreRefused)
{
    Registered objects({sample("tjunction_grid")});
    SearchedZone zone(objects, 0);
    auto const failure = [&](std::vector<double> const& values, std::vector<long> const& vars) {
        try {
            zone.find(values, vars, Items::Nodes);
        } catch (std::invalid_argument const& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(failure({1}, {77}), "A search names the variable with the unique id 77, which the "
                                  "zone doesn't have.");
    EXPECT_EQ(failure({1, 2}, {1000}), "A search names 1 variables and 2 values.");
}

TEST(SubzoneSearch, ZoneFarLargerThanItsFileIsNotListed)
{
    hdqio::tests::FileSpec spec;
    spec.zones[0].letter = 'R';
    spec.zones[0].i = 5;
    spec.zones[0].j = std::uint64_t{1} << 36;
    spec.zones[0].k = 0;
    spec.vars[0].isPassive = 1;
    tests::TemporaryFile const file(build(spec));
    Registered objects({file.path()});
    hdq::ZoneVarIDQueryInterface& identity = *objects.registration.identities.at(0);
    auto const failure = [&](std::vector<double> values, std::vector<long> vars) {
        RawArray<double> const valueArray{nullptr, values.data(), values.size(), values.size()};
        RawArray<long> const varArray{nullptr, vars.data(), vars.size(), vars.size()};
        try {
            wordsOf([&](auto& out) { identity.findCellSubzones(valueArray, varArray, out); });
        } catch (std::runtime_error const& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    std::string const expected =
        "Zone 1 has 268435456 subzones in a partition, far more than the file has values for.";
    EXPECT_EQ(failure({0}, {1000}), expected);
    EXPECT_EQ(failure({}, {}), expected);
}

TEST(SubzoneSearch, DuplicatesSearchAsTheirSourceDoes)
{
    Registered objects({sample("tankbox_partitions")});
    SearchedZone source(objects, 0);
    auto* const copy = objects.registration.identities.at(0)->duplicate()->duplicate();
    auto const ranges = source.ranges(0, 3, Items::Nodes);
    double value = ranges[1].min;
    long var = 1000;
    auto const found = wordsOf([&](auto& out) {
        copy->findNodeSubzones({nullptr, &value, 1, 1}, {nullptr, &var, 1, 1}, out);
    });
    EXPECT_FALSE(found.empty());
    EXPECT_EQ(found, source.find({value}, {1000}, Items::Nodes));
}

/// Ranges hold every value, those of the other kind of subzones too.
TEST_P(Searches, RangesHoldEveryValueOfTheirSubzones)
{
    Registered objects(GetParam().paths);
    SearchedZone zone(objects, GetParam().zone);
    std::size_t numValues = 0;
    for (auto const& [key, variable] : objects.registration.variables) {
        if (key.first != GetParam().zone)
            continue;
        auto const description = objects.dataSet.variable(static_cast<std::uint32_t>(key.first),
                                                          static_cast<std::uint32_t>(key.second));
        Items const items = description.isNodal ? Items::Nodes : Items::Cells;
        auto& values = description.isNodal ? *variable.nodal : *variable.cellCentered;
        auto const place = objects.dataSet.values(static_cast<std::uint32_t>(key.first),
                                                  static_cast<std::uint32_t>(key.second));
        for (std::uint32_t p = 0; p < place.file->zone(place.zone).numPartitions; ++p) {
            auto const ranges = zone.ranges(static_cast<std::size_t>(key.second), p, items);
            for (std::uint32_t s = 0; s < ranges.size(); ++s) {
                std::uint64_t const size = place.file->layout(place.zone, p, items).run(0, s).size;
                std::vector<ItemAddress<long>> addresses;
                for (std::uint64_t i = 0; i < size; ++i)
                    addresses.emplace_back(SubzoneAddress(p, 0, s), static_cast<std::uint8_t>(i));
                tests::Growable<double> out;
                values.fieldValues({nullptr, addresses.data(), size, size}, out.array());
                for (double const value : out.values()) {
                    ASSERT_GE(value, ranges[s].min);
                    ASSERT_LE(value, ranges[s].max);
                    ++numValues;
                }
            }
        }
    }
    EXPECT_GT(numValues, 1000U);
}

}
}
