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
