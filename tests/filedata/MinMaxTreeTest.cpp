#include "filedata/MinMaxTree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace varnox::hdqio {
namespace {

using Address = ItemAddress<long>::SubzoneAddress;

MinMaxTree treeOf(std::vector<MinMax> const& entries)
{
    MinMaxTree tree;
    auto const n = static_cast<std::uint32_t>(entries.size());
    EXPECT_TRUE(tree.alloc(n));
    std::copy(entries.begin(), entries.end(), tree.levels[0].begin());
    tree.populateTree(n);
    return tree;
}

std::vector<std::uint32_t> find(MinMaxTree const& tree, std::uint32_t n, double value)
{
    MinMaxTree const* trees[] = {&tree};
    double values[] = {value};
    Address* block = nullptr;
    RawArray<Address> out{&block, nullptr, 0, 0};
    MinMaxTree::recursivelyFindEntriesContainingNVarValues(
        {nullptr, trees, 1, 1}, {nullptr, values, 1, 1}, 4, 0, 1, n, 5, 3, out);
    std::vector<std::uint32_t> found;
    for (std::uint64_t i = 0; i < out.size; ++i) {
        EXPECT_EQ(out.data[i].partition(), 5U);
        EXPECT_EQ(out.data[i].section(), 3U);
        found.push_back(out.data[i].subzoneOffset());
    }
    delete[] block;
    return found;
}

TEST(MinMaxTree, OneEntryGivesFiveLevelsOfOne)
{
    MinMaxTree const tree = treeOf({{1, 2}});
    for (std::size_t level = 0; level < 5; ++level) {
        ASSERT_EQ(tree.levels[level].size(), 1U);
        EXPECT_EQ(tree.levels[level][0].max, 2);
    }
}

TEST(MinMaxTree, SixtyFiveEntriesTakeTwoAboveThem)
{
    MinMaxTree const tree = treeOf(std::vector<MinMax>(65, {0, 1}));
    EXPECT_EQ(tree.levels[0].size(), 65U);
    EXPECT_EQ(tree.levels[1].size(), 2U);
    for (std::size_t level = 2; level < 5; ++level)
        EXPECT_EQ(tree.levels[level].size(), 1U);
}

TEST(MinMaxTree, SearchFindsTheEntriesInAscendingOrder)
{
    std::vector<MinMax> entries;
    for (int e = 0; e < 5000; ++e)
        entries.push_back({static_cast<double>(e % 100), static_cast<double>(e % 100) + 0.5});
    MinMaxTree const tree = treeOf(entries);
    std::vector<std::uint32_t> expected;
    for (std::uint32_t e = 7; e < 5000; e += 100)
        expected.push_back(e);
    EXPECT_EQ(find(tree, 5000, 7.25), expected);
}

TEST(MinMaxTree, ValueEqualToAMaximumIsFound)
{
    MinMaxTree const tree = treeOf({{1, 2}, {3, 4}});
    EXPECT_EQ(find(tree, 2, 2), (std::vector<std::uint32_t>{0}));
    EXPECT_EQ(find(tree, 2, 3), (std::vector<std::uint32_t>{1}));
}

TEST(MinMaxTree, NotANumberMatchesNothing)
{
    MinMaxTree const tree = treeOf({{-1e300, 1e300}});
    EXPECT_TRUE(find(tree, 1, std::nan("")).empty());
}

TEST(MinMaxTree, NoTreesFindAll)
{
    Address* block = nullptr;
    RawArray<Address> out{&block, nullptr, 0, 0};
    MinMaxTree::recursivelyFindEntriesContainingNVarValues({}, {}, 4, 0, 1, 130, 0, 0, out);
    EXPECT_EQ(out.size, 130U);
    delete[] block;
}

TEST(MinMaxTree, MoreEntriesThanAddressesCanNameAreRefused)
{
    MinMaxTree tree;
    EXPECT_FALSE(tree.alloc(MinMaxTree::MAX_ENTRIES + 1));
    EXPECT_FALSE(tree.alloc(0));
}

TEST(MinMaxTree, OnlyASmallerOrLargerValueReplacesTheFirst)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    MinMaxTree const later = treeOf({{1, 2}, {nan, nan}, {0, 3}});
    EXPECT_EQ(later.levels[1][0].min, 0);
    EXPECT_EQ(later.levels[1][0].max, 3);
    MinMaxTree const first = treeOf({{nan, nan}, {0, 3}});
    EXPECT_TRUE(std::isnan(first.levels[1][0].min));
    EXPECT_TRUE(std::isnan(first.levels[1][0].max));
    MinMaxTree const tie = treeOf({{-0.0, 0.0}, {0.0, -0.0}});
    EXPECT_TRUE(std::signbit(tie.levels[1][0].min));
    EXPECT_FALSE(std::signbit(tie.levels[1][0].max));
}

TEST(MinMaxTree, EveryTreeMustHoldItsValue)
{
    MinMaxTree const a = treeOf({{0, 1}, {0, 1}, {2, 3}});
    MinMaxTree const b = treeOf({{5, 6}, {7, 8}, {7, 8}});
    MinMaxTree const* trees[] = {&a, &b};
    double values[] = {0.5, 7.5};
    Address* block = nullptr;
    RawArray<Address> out{&block, nullptr, 0, 0};
    MinMaxTree::recursivelyFindEntriesContainingNVarValues(
        {nullptr, trees, 2, 2}, {nullptr, values, 2, 2}, 4, 0, 1, 3, 0, 0, out);
    ASSERT_EQ(out.size, 1U);
    EXPECT_EQ(out.data[0].subzoneOffset(), 1U);
    EXPECT_EQ(out.capacity, 32U);
    delete[] block;
}

TEST(MinMaxTree, SearchKeepsToItsRangeOfEntries)
{
    MinMaxTree const tree = treeOf(std::vector<MinMax>(200, {0, 1}));
    MinMaxTree const* trees[] = {&tree};
    double values[] = {0.5};
    Address* block = nullptr;
    RawArray<Address> out{&block, nullptr, 0, 0};
    MinMaxTree::recursivelyFindEntriesContainingNVarValues(
        {nullptr, trees, 1, 1}, {nullptr, values, 1, 1}, 1, 2, 4, 200, 0, 0, out);
    ASSERT_EQ(out.size, 200U - 128U);
    EXPECT_EQ(out.data[0].subzoneOffset(), 128U);
    EXPECT_EQ(out.data[out.size - 1].subzoneOffset(), 199U);
    delete[] block;
}

}
}
