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

}
}
