#include "query/SubzoneCellConnectivity.h"

#include "query/Arrays.h"
#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <array>
#include <cstdint>
#include <stdexcept>

namespace varnox::hdqlib {
namespace {

using namespace tests;

std::string wireOf(SubzoneCellConnectivity const& cells)
{
    return cached([&](auto& cache) { cells.addToCache(cache); });
}

/// Two cells of three nodes, the first two of them corners, in three subzones.
SubzoneCellConnectivity twoCells()
{
    return {2,
            2,
            3,
            4,
            {Item(Subzone(2, 0, 0), 7), Item(Subzone(1, 0, 5), 0), Item(Subzone(1, 1, 0), 255),
             Item(Subzone(1, 0, 5), 1), Item(Subzone(2, 0, 0), 8), Item(Subzone(1, 1, 0), 3)}};
}

std::string const golden = hex("02 00 02 03 04"          // size, corners, nodes, faces
                               "03 00 00 00 00 00 00 00" // referenced subzones, in their order:
                               "20 00 00 50 00 00 00 00" // partition 1, section 0, subzone 5
                               "22 00 00 00 00 00 00 00" // partition 1, section 1, subzone 0
                               "40 00 00 00 00 00 00 00" // partition 2, section 0, subzone 0
                               "06 00 00 00 00 00 00 00" // indices
                               "02 00 00 00 01 00 00 00 02 00 01 00"
                               "06 00 00 00 00 00 00 00" // item offsets
                               "07 00 ff 01 08 03");

TEST(SubzoneCellConnectivity, TravelsAsItsGoldenBytes)
{
    EXPECT_EQ(wireOf(twoCells()), golden);
    RecordingSocket socket(golden);
    SubzoneCellConnectivity const received(socket);
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_EQ(wireOf(received), golden);
    EXPECT_EQ(received.size(), 2);
    EXPECT_EQ(received.cornerNodeCount(), 2U);
    EXPECT_EQ(received.nodeCount(), 3U);
    EXPECT_EQ(received.faceCount(), 4U);
    EXPECT_FALSE(received.isCheckedOut());
}

TEST(SubzoneCellConnectivity, RebuildsItsAddresses)
{
    RecordingSocket socket(golden);
    SubzoneCellConnectivity const cells(socket);
    EXPECT_EQ(cells.nodeAddress(0, 0), Item(Subzone(2, 0, 0), 7));
    EXPECT_EQ(cells.nodeAddress(0, 2), Item(Subzone(1, 1, 0), 255));
    EXPECT_EQ(cells.nodeAddress(1, 1), Item(Subzone(2, 0, 0), 8));
    EXPECT_EQ(cells.cornerNodeAddress(1, 0), Item(Subzone(1, 0, 5), 1));

    OwnedArray<Item> nodes;
    cells.nodeAddresses(1, nodes.view());
    ASSERT_EQ(nodes.view().size, 3U);
    EXPECT_EQ(nodes.view().data[2], Item(Subzone(1, 1, 0), 3));
    cells.cornerNodeAddresses(0, nodes.view());
    ASSERT_EQ(nodes.view().size, 2U);
    EXPECT_EQ(nodes.view().data[1], Item(Subzone(1, 0, 5), 0));

    OwnedArray<Subzone> subzones;
    cells.referencedNodeSubzones(subzones.view());
    ASSERT_EQ(subzones.view().size, 3U);
    EXPECT_EQ(subzones.view().data[1], Subzone(1, 1, 0));
}

TEST(SubzoneCellConnectivity, IndexBehindTheCellLeadsIntoTheNext)
{
    SubzoneCellConnectivity const cells = twoCells();
    EXPECT_EQ(cells.nodeAddress(0, 3), cells.nodeAddress(1, 0));
    EXPECT_EQ(cells.cornerNodeAddress(0, 2), cells.nodeAddress(0, 2));
    EXPECT_THROW(cells.nodeAddress(1, 3), std::out_of_range);
    EXPECT_THROW(cells.nodeAddress(0, -1), std::out_of_range);
}

TEST(SubzoneCellConnectivity, RebuildingKeepsTheFormFlagOfTheTarget)
{
    SubzoneCellConnectivity const cells = twoCells();
    std::array<Item, 3> buffer{Item(1), Item(0), Item(1)};
    RawArray<Item> nodes{nullptr, buffer.data(), 3, 3};
    cells.nodeAddresses(0, nodes);
    EXPECT_EQ(buffer[0].word(), 0x0700000000000041U);
    EXPECT_EQ(buffer[1].word(), 0x0000000050000020U);
    EXPECT_EQ(buffer[2].word(), 0xFF00000000000023U);
    nodes.size = 0; // as a buffer of one's own is handed over
    cells.cornerNodeAddresses(1, nodes);
    EXPECT_EQ(nodes.size, 2U);
    EXPECT_EQ(buffer[0].word(), 0x0100000050000021U);
    EXPECT_EQ(buffer[1].word(), 0x0800000000000040U);
}

/// Leaves a block with all bits set to whoever asks for three items next.
void dirtyTheHeap()
{
    auto* const block = new std::uint64_t[3];
    for (std::size_t i = 0; i < 3; ++i)
        const_cast<std::uint64_t volatile*>(block)[i] = ~std::uint64_t{0};
    delete[] block;
}

TEST(SubzoneCellConnectivity, RebuildingInANewBlockLeavesNoFormFlag)
{
    SubzoneCellConnectivity const cells = twoCells();
    OwnedArray<Item> nodes(1);
    dirtyTheHeap();
    nodes.view().data[0] = Item(1);
    nodes.view().size = 1;
    cells.nodeAddresses(0, nodes.view());
    EXPECT_EQ(nodes.view().data[0].word(), 0x0700000000000041U); // it was in use
    EXPECT_EQ(nodes.view().data[1].word(), 0x0000000050000020U);
    EXPECT_EQ(nodes.view().data[2].word(), 0xFF00000000000022U);
}

TEST(SubzoneCellConnectivity, OneSubzoneIsOneReferenceAndZeros)
{
    SubzoneCellConnectivity const cells(1, 2, 2, 0,
                                        {Item(Subzone(1, 0, 3), 4), Item(Subzone(1, 0, 3), 5)});
    EXPECT_EQ(wireOf(cells), hex("01 00 02 02 00") + vec({u64(0x30000020)}) +
                                 vec({u16(0), u16(0)}) + vec({u8(4), u8(5)}));
}

TEST(SubzoneCellConnectivity, FormFlagsOfNodesDontMakeTwoSubzones)
{
    SubzoneCellConnectivity const cells(1, 2, 2, 0, {Item(0x30000021), Item(0x30000020)});
    EXPECT_EQ(wireOf(cells), hex("01 00 02 02 00") + vec({u64(0x30000020)}) +
                                 vec({u16(0), u16(0)}) + vec({u8(0), u8(0)}));
}

TEST(SubzoneCellConnectivity, SectionsOfOnePartitionAreTwoSubzones)
{
    SubzoneCellConnectivity const cells(1, 2, 2, 0,
                                        {Item(Subzone(1, 2, 3), 0), Item(Subzone(1, 1, 3), 0)});
    EXPECT_EQ(wireOf(cells), hex("01 00 02 02 00") + vec({u64(0x30000022), u64(0x30000024)}) +
                                 vec({u16(1), u16(0)}) + vec({u8(0), u8(0)}));
}

TEST(SubzoneCellConnectivity, EmptySubzoneHasNoReferences)
{
    SubzoneCellConnectivity const cells(0, 8, 8, 6, {});
    std::string const bytes = hex("00 00 08 08 06") + vec({}) + vec({}) + vec({});
    EXPECT_EQ(wireOf(cells), bytes);
    RecordingSocket socket(bytes);
    EXPECT_EQ(wireOf(SubzoneCellConnectivity(socket)), bytes);
}

TEST(SubzoneCellConnectivity, CheckinAtZeroWraps)
{
    SubzoneCellConnectivity cells = twoCells();
    EXPECT_EQ(cells.checkin(), 4294967295U);
    EXPECT_TRUE(cells.isCheckedOut());
    EXPECT_EQ(cells.checkout(), 0U);
    EXPECT_FALSE(cells.isCheckedOut());
    EXPECT_EQ(cells.checkout(), 1U);
    EXPECT_EQ(cells.checkout(), 2U);
    EXPECT_EQ(cells.checkin(), 1U);
    EXPECT_TRUE(cells.isCheckedOut());
}

TEST(SubzoneCellConnectivity, OnlyTheLowByteOfACountTravels)
{
    SubzoneCellConnectivity const cells(0, 300, 256, 511, {});
    std::string const bytes = wireOf(cells);
    EXPECT_EQ(bytes.substr(0, 5), hex("00 00 2c 00 ff"));
    RecordingSocket socket(bytes);
    SubzoneCellConnectivity const received(socket);
    EXPECT_EQ(received.cornerNodeCount(), 44U);
    EXPECT_EQ(received.nodeCount(), 0U);
    EXPECT_EQ(received.faceCount(), 255U);
}

TEST(SubzoneCellConnectivity, IndexOfThe65537thSubzoneWraps)
{
    std::vector<Item> nodes;
    for (std::uint32_t n = 0; n <= 65536; ++n)
        nodes.emplace_back(Subzone(0, 0, n), 0);
    std::string const bytes = wireOf(SubzoneCellConnectivity(1, 1, 1, 1, nodes));
    std::string const indices = bytes.substr(5 + 8 + 8 * 65537 + 8, 2 * 65537);
    EXPECT_EQ(indices.substr(2 * 65535, 4), hex("ff ff 00 00"));
}

TEST(SubzoneCellConnectivity, VectorsOfOtherLengthsAreTakenAsTheyCome)
{
    // Two cells of two nodes, with one index, three offsets and no subzone.
    std::string const bytes =
        hex("02 00 02 02 00") + vec({}) + vec({u16(9)}) + vec({u8(1), u8(2), u8(3)});
    RecordingSocket socket(bytes);
    SubzoneCellConnectivity const cells(socket);
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_EQ(wireOf(cells), bytes);
    EXPECT_THROW(cells.nodeAddress(0, 0), std::out_of_range); // it leads to no subzone
    OwnedArray<Item> nodes;
    EXPECT_THROW(cells.nodeAddresses(1, nodes.view()), std::out_of_range);
}

TEST(SubzoneCellConnectivity, FailureOfTheConnectionInTheArraysIsAnIOException)
{
    constexpr std::size_t COUNTS = 5; // bytes of the four counts
    for (std::size_t length = 0; length < golden.size(); ++length) {
        RecordingSocket socket(golden.substr(0, length));
        auto const receive = [&] { SubzoneCellConnectivity{socket}; };
        EXPECT_EQ(length < COUNTS ? messageOf<socketutil::SocketException>(receive)
                                  : messageOf<IOException>(receive),
                  "the script has ended")
            << length;
    }
}

}
}
