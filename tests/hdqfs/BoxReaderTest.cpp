#include "addons/hdqfs/BoxReader.h"

#include "addons/hdqfs/DescriptorCache.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <cstring>

namespace varnox::hdqfsloader {
namespace {

using tests::TemporaryFile;
using Box = SubzoneLayout::Box;
using Axes = std::array<SubzoneLayout::Axis, 3>;

constexpr std::array<std::uint64_t, 3> ORIGIN{3, 0, 7};

/// An item's value: its indices in the zone.
float valueAt(std::uint64_t i, std::uint64_t j, std::uint64_t k)
{
    return static_cast<float>((k * 100 + j) * 100 + i);
}

/// The bytes of a partition whose every value tells its place, brick after brick.
std::string bricksInFile(SubzoneLayout const& bricks)
{
    std::vector<float> values;
    for (std::uint64_t subzone = 0; subzone < bricks.numSubzones(); ++subzone) {
        Box const brick = bricks.brick(subzone);
        for (std::uint64_t k = brick.begin[2]; k < brick.end[2]; ++k)
            for (std::uint64_t j = brick.begin[1]; j < brick.end[1]; ++j)
                for (std::uint64_t i = brick.begin[0]; i < brick.end[0]; ++i)
                    values.push_back(valueAt(i + ORIGIN[0], j + ORIGIN[1], k + ORIGIN[2]));
    }
    std::string bytes(values.size() * sizeof(float), '\0');
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

/// 11 x 7 x 6 items in bricks of at most 4 x 3 x 2 with shifted starts.
SubzoneLayout shiftedBricks()
{
    return SubzoneLayout::ofBricks(
        Axes{{{11, 4, 2, 4}, {7, 3, 1, 3}, {6, 2, 0, 3}}});
}

class BoxReaderBoxes : public testing::TestWithParam<Box>
{
};

TEST_P(BoxReaderBoxes, GivesTheItemsInTheOrderOfTheirIndices)
{
    SubzoneLayout const bricks = shiftedBricks();
    TemporaryFile const file(bricksInFile(bricks));
    ValueArray const array{&file.path(), 0, bricks.numItems(), 0, ValueType::Float, false};
    DescriptorCache files;
    ValueReader reader(files);
    BoxReader boxes(reader, array, bricks, ORIGIN);

    Box const box = GetParam();
    constexpr float UNTOUCHED = -1.0F;
    std::vector<float> out(static_cast<std::size_t>(box.numItems()), UNTOUCHED);
    boxes.read(box, reinterpret_cast<unsigned char*>(out.data()));

    std::size_t n = 0;
    for (std::uint64_t k = box.begin[2]; k < box.end[2]; ++k)
        for (std::uint64_t j = box.begin[1]; j < box.end[1]; ++j)
            for (std::uint64_t i = box.begin[0]; i < box.end[0]; ++i, ++n) {
                bool const isInside = i >= ORIGIN[0] && i < ORIGIN[0] + 11 && j < 7 &&
                                      k >= ORIGIN[2] && k < ORIGIN[2] + 6;
                ASSERT_EQ(out[n], isInside ? valueAt(i, j, k) : UNTOUCHED)
                    << i << " " << j << " " << k;
            }
}

INSTANTIATE_TEST_SUITE_P(Boxes, BoxReaderBoxes,
                         testing::Values(Box{{3, 0, 7}, {14, 7, 13}},  // the whole partition
                                         Box{{0, 0, 0}, {20, 10, 20}}, // more than it
                                         Box{{3, 0, 8}, {14, 7, 9}},   // a layer inside bricks
                                         Box{{3, 3, 9}, {14, 4, 10}},  // a line
                                         Box{{6, 3, 9}, {8, 5, 11}},   // a part of a few bricks
                                         Box{{4, 0, 7}, {14, 7, 13}},  // all but the first line
                                         Box{{13, 6, 12}, {14, 7, 13}}, // the last item
                                         Box{{0, 0, 0}, {3, 7, 13}},    // beside it
                                         Box{{5, 2, 9}, {5, 4, 11}}));  // nothing

TEST(BoxReader, FileThatEndsTooEarlyIsAnError)
{
    SubzoneLayout const bricks = shiftedBricks();
    std::string bytes = bricksInFile(bricks);
    bytes.resize(bytes.size() - 4);
    TemporaryFile const file(bytes);
    ValueArray const array{&file.path(), 0, bricks.numItems(), 0, ValueType::Float, false};
    DescriptorCache files;
    ValueReader reader(files);
    BoxReader boxes(reader, array, bricks, ORIGIN);
    std::vector<float> out(static_cast<std::size_t>(bricks.numItems()));
    EXPECT_THROW(
        boxes.read({{3, 0, 7}, {14, 7, 13}}, reinterpret_cast<unsigned char*>(out.data())),
        std::runtime_error);
}

}
}
