#include "query/NodeReferences.h"

#include "query/SubzoneCellConnectivity.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace varnox::hdqlib {
namespace {

using Address = NodeReferences::Address;
using SubzoneAddress = NodeReferences::SubzoneAddress;

/// Nodes of so many subzones, whose numbers lie apart by a step.
std::vector<Address> nodesOf(std::size_t count, std::uint32_t numSubzones, std::uint32_t step)
{
    std::mt19937 random(4711);
    std::vector<Address> result;
    for (std::size_t i = 0; i < count; ++i) {
        auto const n = static_cast<std::uint32_t>(random() % numSubzones);
        Address const node(SubzoneAddress(n % 3, n % 2, n / 6 * step),
                           static_cast<std::uint8_t>(random()));
        result.emplace_back(node.word() | (random() & 1)); // the form flag doesn't count
    }
    return result;
}

void expectSame(NodeReferences const& references, std::vector<Address> const& nodes)
{
    std::set<SubzoneAddress> expected;
    for (Address const& node : nodes)
        expected.insert(node.subzoneAddress());
    auto const sorted = references.sortedSubzones();
    ASSERT_EQ(references.size(), nodes.size());
    ASSERT_EQ(sorted, std::vector<SubzoneAddress>(expected.begin(), expected.end()));
    std::vector<std::uint16_t> places(nodes.size());
    std::vector<std::uint8_t> offsets(nodes.size());
    references.writePlaces(sorted, places.data());
    references.writeOffsets(offsets.data());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        ASSERT_EQ(sorted[places[i]], nodes[i].subzoneAddress()) << i;
        ASSERT_EQ(offsets[i], nodes[i].itemOffset()) << i;
    }
}

TEST(NodeReferences, NameEverySubzoneOnceInItsOrder)
{
    NodeReferences references;
    for (std::uint32_t const numSubzones : {1U, 2U, 20U, 33U, 255U, 256U, 257U, 300U, 5000U}) {
        for (std::uint32_t const step : {1U, 7U, 256U}) { // the last ones all meet in the table
            for (std::size_t const perCell : {1U, 4U, 8U, 27U, 8000U}) {
                auto const nodes = nodesOf(8000, numSubzones, step);
                references.reset(nodes.size());
                for (std::size_t i = 0; i < nodes.size(); i += perCell)
                    references.add(nodes.data() + i, std::min(perCell, nodes.size() - i));
                expectSame(references, nodes);
            }
        }
    }
}

TEST(NodeReferences, FirstSubzoneIsToldFromAnEmptyTable)
{
    std::vector<Address> const nodes{Address(SubzoneAddress(0, 0, 0), 0),
                                     Address(SubzoneAddress(0, 0, 1), 0),
                                     Address(SubzoneAddress(0, 0, 256), 9)};
    for (std::size_t first = 0; first < nodes.size(); ++first) {
        NodeReferences references;
        references.reset(3);
        std::vector<Address> const rotated{nodes[first], nodes[(first + 1) % 3],
                                           nodes[(first + 2) % 3]};
        references.add(rotated.data(), 3);
        expectSame(references, rotated);
    }
}

TEST(NodeReferences, ResetForgetsAllNodes)
{
    NodeReferences references;
    for (std::uint32_t const numSubzones : {300U, 5U, 400U, 1U}) {
        auto const nodes = nodesOf(3000 / numSubzones * 10, numSubzones, 3);
        references.reset(nodes.size());
        references.add(nodes.data(), nodes.size());
        expectSame(references, nodes);
    }
    references.reset(0);
    expectSame(references, {});
}

TEST(NodeReferences, CellsAreAddedAsTheirObjectWouldAddThem)
{
    for (std::uint32_t const numSubzones : {1U, 12U, 290U}) {
        auto const nodes = nodesOf(2048, numSubzones, 1);
        NodeReferences references;
        references.reset(nodes.size());
        references.add(nodes.data(), nodes.size());
        auto const written = tests::cached(
            [&](socketutil::WriteCache& cache) { addCells(256, 8, 8, 6, references, cache); });
        EXPECT_EQ(written, tests::cached([&](socketutil::WriteCache& cache) {
                      SubzoneCellConnectivity(256, 8, 8, 6, nodes).addToCache(cache);
                  }));
    }
}

}
}
