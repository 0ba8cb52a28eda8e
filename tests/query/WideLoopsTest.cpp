#include "query/WideLoops.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace varnox {
namespace {

using Item = ItemAddress<long>;

/// Every count around the widths of the loops, and more items than an offset can tell.
std::vector<std::size_t> const counts{0, 1, 3, 4, 7, 8, 9, 15, 16, 17, 255, 256, 257, 300};

TEST(WideLoops, EveryFormAddressesTheItemsInOrder)
{
    Item::SubzoneAddress const subzone(0x7FFFFF, 15, 0xABCDEF);
    for (WideLoops const& loops : supportedLoops()) {
        for (std::size_t const count : counts) {
            Item const untouched(99);
            std::vector<Item> items(count + 1, untouched);
            loops.addressItems(subzone, count, items.data());
            for (std::size_t i = 0; i < count; ++i)
                ASSERT_EQ(items[i], Item(subzone, static_cast<std::uint8_t>(i))) << count;
            EXPECT_EQ(items[count], untouched) << count;
        }
    }
}

TEST(WideLoops, EveryFormClearsTheFormFlagAndTheItemOffsetOfTheSubzone)
{
    for (WideLoops const& loops : supportedLoops()) {
        Item item(0);
        loops.addressItems(Item::SubzoneAddress(~std::uint64_t{0}), 1, &item);
        EXPECT_EQ(item.word(), Item::SUBZONE_MASK);
    }
}

/// Entries of subzones 0 to 255 of partition 3, numbered backwards.
std::vector<std::uint64_t> tableOfSubzones()
{
    std::vector<std::uint64_t> table;
    for (std::uint32_t n = 0; n < 256; ++n)
        table.push_back(
            Item(Item::SubzoneAddress(3, 0, n), static_cast<std::uint8_t>(255 - n)).word());
    return table;
}

std::vector<Item> nodesOfSubzones(std::size_t count)
{
    std::vector<Item> nodes;
    for (std::size_t i = 0; i < count; ++i) {
        Item const node(Item::SubzoneAddress(3, 0, static_cast<std::uint32_t>(i * 37 % 256)),
                        static_cast<std::uint8_t>(i * 11));
        nodes.emplace_back(node.word() | (i & 1)); // the form flag doesn't count
    }
    return nodes;
}

TEST(WideLoops, EveryFormFindsTheSubzonesOfNodesInATable)
{
    auto const table = tableOfSubzones();
    for (WideLoops const& loops : supportedLoops()) {
        for (std::size_t const count : counts) {
            auto const nodes = nodesOfSubzones(count);
            std::vector<std::uint8_t> numbers(count + 1, 0xAA);
            std::vector<std::uint8_t> offsets(count + 1, 0xAA);
            ASSERT_EQ(loops.findSubzones(table.data(), nodes.data(), count, numbers.data(),
                                         offsets.data()),
                      count);
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(numbers[i], 255 - i * 37 % 256) << i << " of " << count;
                ASSERT_EQ(offsets[i], static_cast<std::uint8_t>(i * 11));
            }
            EXPECT_EQ(numbers[count], 0xAA) << count;
            EXPECT_EQ(offsets[count], 0xAA) << count;
        }
    }
}

TEST(WideLoops, EveryFormStopsAtANodeThatIsNotInTheTable)
{
    auto const table = tableOfSubzones();
    for (WideLoops const& loops : supportedLoops()) {
        for (std::size_t at = 0; at < 20; ++at) {
            // Of another partition, of another section, and 256 subzones further on.
            for (Item::SubzoneAddress const subzone :
                 {Item::SubzoneAddress(2, 0, 7), Item::SubzoneAddress(3, 1, 7),
                  Item::SubzoneAddress(3, 0, 263)}) {
                auto nodes = nodesOfSubzones(20);
                nodes[at] = Item(subzone, 1);
                std::vector<std::uint8_t> numbers(20);
                std::vector<std::uint8_t> offsets(20);
                ASSERT_EQ(loops.findSubzones(table.data(), nodes.data(), 20, numbers.data(),
                                             offsets.data()),
                          at);
                for (std::size_t i = 0; i < at; ++i)
                    EXPECT_EQ(numbers[i], 255 - i * 37 % 256);
            }
        }
    }
}

TEST(WideLoops, EveryFormLooksNumbersUpAtAnyAddress)
{
    for (WideLoops const& loops : supportedLoops()) {
        for (std::size_t const listSize : {1U, 2U, 31U, 32U, 33U, 256U}) {
            std::vector<std::uint16_t> list;
            for (std::size_t n = 0; n < listSize; ++n)
                list.push_back(static_cast<std::uint16_t>(n * 257 + 3));
            for (std::size_t const count : counts) {
                std::vector<std::uint8_t> numbers;
                for (std::size_t i = 0; i < count; ++i)
                    numbers.push_back(static_cast<std::uint8_t>(i * 7 % listSize));
                std::vector<unsigned char> bytes(1 + 2 * count + 1, 0xAA);
                loops.lookUp(numbers.data(), count, list.data(), listSize, bytes.data() + 1);
                for (std::size_t i = 0; i < count; ++i)
                    ASSERT_EQ(std::memcmp(bytes.data() + 1 + 2 * i, &list[numbers[i]], 2), 0)
                        << i << " of " << count << " in a list of " << listSize;
                EXPECT_EQ(bytes.front(), 0xAA);
                EXPECT_EQ(bytes.back(), 0xAA);
            }
        }
    }
}

TEST(WideLoops, EveryFormRoundsToTheNearestFloatAtAnyAddress)
{
    double const special[] = {0.1,      -0.0,   1e300,
                              -1e300,   1e-300, std::nan(""),
                              16777217, 3.7,    std::numeric_limits<double>::infinity()};
    std::vector<double> values;
    for (std::size_t i = 0; i < counts.back(); ++i)
        values.push_back(i % 2 == 0 ? special[i / 2 % std::size(special)]
                                    : 0.1 * static_cast<double>(i));
    for (WideLoops const& loops : supportedLoops()) {
        for (std::size_t const count : counts) {
            std::vector<unsigned char> bytes(1 + count * sizeof(float) + 1, 0xAA);
            loops.writeFloats(values.data(), count, bytes.data() + 1);
            for (std::size_t i = 0; i < count; ++i) {
                auto const expected = static_cast<float>(values[i]);
                ASSERT_EQ(
                    std::memcmp(bytes.data() + 1 + i * sizeof(float), &expected, sizeof(float)), 0)
                    << values[i] << " of " << count;
            }
            EXPECT_EQ(bytes.front(), 0xAA);
            EXPECT_EQ(bytes.back(), 0xAA) << count;
        }
    }
}

}
}
