#include "addons/hdqfs/OrderedGrid.h"

#include "tests/hdqfs/Registered.h"
#include "tests/hdqfs/Samples.h"
#include "varnox/UniformAddress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace varnox::hdqfsloader {
namespace {

using tests::Registered;
using tests::sample;
using tests::SubzoneAddress;
using tests::wordsOf;

std::string const FLAT_FILE = VNX_SOURCE_DIR "/docs/examples/smallest.hdqfs"; // 3 x 2 x 1 nodes

/// Ordered zones: in partitions, and flat along K.
class OrderedZones : public testing::TestWithParam<std::string>
{
protected:
    template <typename F>
    void forEachSubzone(Items items, F&& f)
    {
        std::uint32_t const numPartitions = objects.dataSet.grid(0).file->zone(0).numPartitions;
        for (std::uint32_t partition = 0; partition < numPartitions; ++partition) {
            std::uint64_t const count =
                objects.dataSet.grid(0).file->layout(0, partition, items).numSubzones();
            for (std::uint32_t s = 0; s < count; ++s)
                f(SubzoneAddress(partition, 0, s));
        }
    }

    /// By brute force: the subzones of which some item passes a test of its indices.
    template <typename Test>
    std::vector<std::uint64_t> subzonesWith(Items items, Test&& passes)
    {
        std::vector<std::uint64_t> result;
        forEachSubzone(items, [&](SubzoneAddress const& subzone) {
            OrderedGrid::Box const box = grid.box(subzone, items);
            bool found = false;
            for (std::uint64_t i = 0; !found && i < box.numItems(); ++i)
                found = passes(grid.indicesOf(
                    ItemAddress<long>(subzone, static_cast<std::uint8_t>(i)), items));
            if (found)
                result.push_back(subzone.word());
        });
        return result;
    }

    Registered objects{std::vector<std::string>{GetParam()}};
    OrderedGrid grid{objects.dataSet.grid(0)};
    tests::Registration::Zone& zone = objects.registration.zones.at(0);
};

INSTANTIATE_TEST_SUITE_P(Files, OrderedZones,
                         testing::Values(sample("tankbox_partitions"), FLAT_FILE),
                         [](auto const& tested) {
                             return tested.param == FLAT_FILE ? "Flat" : "Partitions";
                         });

TEST_P(OrderedZones, EveryItemHasOneAddressAndOneNumber)
{
    for (Items const items : {Items::Nodes, Items::Cells}) {
        OrderedGrid::Indices const size = grid.size(items);
        std::set<std::uint64_t> numbers;
        std::uint64_t numItems = 0;
        forEachSubzone(items, [&](SubzoneAddress const& subzone) {
            std::uint64_t const count = grid.box(subzone, items).numItems();
            ASSERT_EQ(count, items == Items::Nodes ? zone.nodes->size(subzone)
                                                   : zone.cells->size(subzone));
            for (std::uint64_t i = 0; i < count; ++i, ++numItems) {
                ItemAddress<long> const item(subzone, static_cast<std::uint8_t>(i));
                OrderedGrid::Indices const indices = grid.indicesOf(item, items);
                ASSERT_EQ(grid.addressOf(indices, items), item);
                std::uint64_t const number = grid.numberOf(indices, items);
                ASSERT_EQ(number, indices[0] + size[0] * (indices[1] + size[1] * indices[2]));
                ASSERT_EQ(grid.indicesOf(number, items), indices);
                numbers.insert(number);
            }
        });
        EXPECT_EQ(numItems, size[0] * size[1] * size[2]);
        EXPECT_EQ(numbers.size(), numItems);
        EXPECT_EQ(*numbers.rbegin(), numItems - 1);
    }
}

TEST_P(OrderedZones, UniformAddressesGoBothWays)
{
    OrderedGrid::Indices const nodes = grid.size(Items::Nodes);
    OrderedGrid::Indices const cells = grid.size(Items::Cells);
    for (std::uint64_t n = 0; n < nodes[0] * nodes[1] * nodes[2]; n += 7) {
        ItemAddress<long> const hdq = zone.nodes->toHdqAddress(uniformAddress(n));
        ASSERT_EQ(zone.nodes->toUniformAddress(hdq), uniformAddress(n));
        ASSERT_EQ(zone.nodes->toHdqAddress(hdq), hdq);
        ASSERT_EQ(zone.nodes->toUniformAddress(uniformAddress(n)), uniformAddress(n));
    }
    for (std::uint64_t n = 0; n < cells[0] * cells[1] * cells[2]; n += 7) {
        ItemAddress<long> const hdq = zone.cells->toHdqAddress(uniformAddress(n));
        ASSERT_EQ(zone.cells->toUniformAddress(hdq), uniformAddress(n));
    }
    EXPECT_THROW(zone.nodes->toHdqAddress(uniformAddress(nodes[0] * nodes[1] * nodes[2])),
                 std::out_of_range);
    EXPECT_THROW(zone.cells->toHdqAddress(uniformAddress(~std::uint64_t{0} >> 1)),
                 std::out_of_range);
    EXPECT_THROW(zone.nodes->toUniformAddress(ItemAddress<long>(SubzoneAddress(9, 0, 0), 0)),
                 std::out_of_range);
    EXPECT_THROW(zone.nodes->toUniformAddress(ItemAddress<long>(SubzoneAddress(0, 1, 0), 0)),
                 std::out_of_range);
    EXPECT_THROW(zone.nodes->toUniformAddress(ItemAddress<long>(SubzoneAddress(0, 0, 0), 255)),
                 std::out_of_range);
}

TEST_P(OrderedZones, CellsHaveTheNodesAroundThem)
{
    OrderedGrid::Indices const nodes = grid.size(Items::Nodes);
    forEachSubzone(Items::Cells, [&](SubzoneAddress const& subzone) {
        for (std::uint32_t c = 0; c < zone.cells->size(subzone); ++c) {
            ItemAddress<long> const cell(subzone, static_cast<std::uint8_t>(c));
            OrderedGrid::Indices const low = grid.indicesOf(cell, Items::Cells);
            OrderedGrid::Indices high{};
            for (std::size_t axis = 0; axis < 3; ++axis)
                high[axis] = nodes[axis] == 1 ? 0 : low[axis] + 1;
            auto const number = [&](std::uint64_t i, std::uint64_t j, std::uint64_t k) {
                return i + nodes[0] * (j + nodes[1] * k);
            };
            std::vector<std::uint64_t> const expected{
                number(low[0], low[1], low[2]),    number(high[0], low[1], low[2]),
                number(high[0], high[1], low[2]),  number(low[0], high[1], low[2]),
                number(low[0], low[1], high[2]),   number(high[0], low[1], high[2]),
                number(high[0], high[1], high[2]), number(low[0], high[1], high[2])};
            ItemAddress<long> buffer[8];
            RawArray<ItemAddress<long>> result{nullptr, buffer, 8, 0};
            zone.cells->nodeAddresses(cell, result);
            ASSERT_EQ(result.size, 8U);
            for (int n = 0; n < 8; ++n) {
                ASSERT_EQ(itemNumberOf(zone.nodes->toUniformAddress(buffer[n])),
                          expected[static_cast<std::size_t>(n)]);
                ASSERT_EQ(zone.cells->nodeAddress(cell, n), buffer[n]);
                ASSERT_EQ(zone.cells->cornerNodeAddress(cell, n), buffer[n]);
            }
        }
    });
}

TEST_P(OrderedZones, CountsOfACellAreThoseOfAHexahedron)
{
    ItemAddress<long> const cell(SubzoneAddress(0, 0, 0), 0);
    EXPECT_EQ(zone.cells->cornerNodeCount(cell), 8);
    EXPECT_EQ(zone.cells->nodeCount(cell), 8);
    EXPECT_EQ(zone.cells->faceCount(cell), 6);
    EXPECT_THROW(zone.cells->nodeAddress(cell, 8), std::out_of_range);
    EXPECT_THROW(zone.cells->cornerNodeAddress(cell, -1), std::out_of_range);
}

TEST_P(OrderedZones, ReferencedSubzonesAreThoseOfTheCellsAndNodes)
{
    std::map<std::uint64_t, std::set<SubzoneAddress>> cellsOfNodes;
    forEachSubzone(Items::Cells, [&](SubzoneAddress const& subzone) {
        std::set<SubzoneAddress> referenced;
        for (std::uint32_t c = 0; c < zone.cells->size(subzone); ++c) {
            for (int n = 0; n < 8; ++n) {
                SubzoneAddress const nodes =
                    zone.cells
                        ->nodeAddress(ItemAddress<long>(subzone, static_cast<std::uint8_t>(c)), n)
                        .subzoneAddress();
                referenced.insert(nodes);
                cellsOfNodes[nodes.word()].insert(subzone);
            }
        }
        std::vector<std::uint64_t> expected;
        for (SubzoneAddress const& address : referenced)
            expected.push_back(address.word());
        ASSERT_EQ(wordsOf([&](auto& out) { zone.cells->referencedNodeSubzones(subzone, out); }),
                  expected);
    });
    forEachSubzone(Items::Nodes, [&](SubzoneAddress const& subzone) {
        std::vector<std::uint64_t> expected;
        for (SubzoneAddress const& address : cellsOfNodes[subzone.word()])
            expected.push_back(address.word());
        ASSERT_EQ(wordsOf([&](auto& out) { zone.nodes->referencedCellSubzones(subzone, out); }),
                  expected);
    });
}

TEST_P(OrderedZones, PlanesPassThroughTheSubzonesWithTheirIndex)
{
    for (Items const items : {Items::Nodes, Items::Cells}) {
        OrderedGrid::Indices const size = grid.size(items);
        for (int plane = 0; plane < 3; ++plane) {
            auto const axis = static_cast<std::size_t>(plane);
            for (long index = 0; index < static_cast<long>(size[axis]); index += 8) {
                auto const found = wordsOf([&](auto& out) {
                    if (items == Items::Nodes)
                        zone.ordered->findIJKPlaneNodeSubzones(plane, index, out);
                    else
                        zone.ordered->findIJKPlaneCellSubzones(plane, index, out);
                });
                ASSERT_EQ(found, subzonesWith(items,
                                              [&](OrderedGrid::Indices const& at) {
                                                  return at[axis] ==
                                                         static_cast<std::uint64_t>(index);
                                              }))
                    << plane << " " << index;
            }
        }
    }
}

TEST_P(OrderedZones, LinesPassThroughTheSubzonesWithTheirTwoIndices)
{
    for (Items const items : {Items::Nodes, Items::Cells}) {
        OrderedGrid::Indices const size = grid.size(items);
        for (int line = 0; line < 3; ++line) {
            std::size_t const firstAxis = line == 0 ? 1 : 0;
            std::size_t const secondAxis = line == 2 ? 1 : 2;
            for (long first = 0; first < static_cast<long>(size[firstAxis]); first += 13) {
                for (long second = 0; second < static_cast<long>(size[secondAxis]); second += 14) {
                    auto const found = wordsOf([&](auto& out) {
                        if (items == Items::Nodes)
                            zone.ordered->findIJKLineNodeSubzones(line, first, second, out);
                        else
                            zone.ordered->findIJKLineCellSubzones(line, first, second, out);
                    });
                    ASSERT_EQ(found,
                              subzonesWith(items,
                                           [&](OrderedGrid::Indices const& at) {
                                               return at[firstAxis] ==
                                                          static_cast<std::uint64_t>(first) &&
                                                      at[secondAxis] ==
                                                          static_cast<std::uint64_t>(second);
                                           }))
                        << line << " " << first << " " << second;
                }
            }
        }
    }
}

TEST_P(OrderedZones, PlanesAndLinesOutsideFindNothing)
{
    OrderedGrid::Indices const nodes = grid.size(Items::Nodes);
    OrderedGrid::Indices const cells = grid.size(Items::Cells);
    auto const count = [&](auto&& fill) { return wordsOf(fill).size(); };
    for (int axis = 0; axis < 3; ++axis) {
        auto const numNodes = static_cast<long>(nodes[static_cast<std::size_t>(axis)]);
        auto const numCells = static_cast<long>(cells[static_cast<std::size_t>(axis)]);
        for (long const index :
             {-1L, numNodes, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()})
            EXPECT_EQ(
                count([&](auto& out) { zone.ordered->findIJKPlaneNodeSubzones(axis, index, out); }),
                0U);
        EXPECT_EQ(
            count([&](auto& out) { zone.ordered->findIJKPlaneCellSubzones(axis, numCells, out); }),
            0U);
        EXPECT_EQ(
            count([&](auto& out) { zone.ordered->findIJKLineNodeSubzones(axis, 0, -1, out); }), 0U);
        EXPECT_EQ(
            count([&](auto& out) { zone.ordered->findIJKLineCellSubzones(axis, 1000, 0, out); }),
            0U);
    }
}

TEST_P(OrderedZones, OtherPlanesAndLinesAreRefused)
{
    tests::Growable<SubzoneAddress> out;
    for (int const code : {-1, 3, 4}) {
        EXPECT_THROW(zone.ordered->findIJKPlaneNodeSubzones(code, 0, out.array()),
                     std::invalid_argument);
        EXPECT_THROW(zone.ordered->findIJKLineCellSubzones(code, 0, 0, out.array()),
                     std::invalid_argument);
    }
    EXPECT_EQ(out.array().size, 0U);
}

TEST(OrderedGrid, IndicesOutsideTheZoneHaveNoAddress)
{
    Registered objects({sample("tankbox_partitions")});
    OrderedGrid const grid(objects.dataSet.grid(0));
    EXPECT_NO_THROW(grid.addressOf({39, 32, 25}, Items::Nodes));
    EXPECT_THROW(grid.addressOf({40, 0, 0}, Items::Nodes), std::out_of_range);
    EXPECT_THROW(grid.addressOf({0, 0, 25}, Items::Cells), std::out_of_range);
}

}
}
