#include "query/SubzoneNodeConnectivity.h"

#include "query/Arrays.h"
#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

namespace varnox::hdqlib {
namespace {

using namespace tests;

std::string wireOf(SubzoneNodeConnectivity const& nodes)
{
    return cached([&](auto& cache) { nodes.addToCache(cache); });
}

std::string const golden = hex("02 00"                   // size
                               "03 00 00 00 00 00 00 00" // three references, as they were given:
                               "20 00 00 30 00 00 00 00" // partition 1, subzone 3
                               "22 00 00 00 00 00 00 00" // partition 1, section 1, subzone 0
                               "20 00 00 30 00 00 00 00");

TEST(SubzoneNodeConnectivity, TravelsAsItsGoldenBytes)
{
    SubzoneNodeConnectivity const sent(2, {Subzone(1, 0, 3), Subzone(1, 1, 0), Subzone(1, 0, 3)});
    EXPECT_EQ(wireOf(sent), golden);
    RecordingSocket socket(golden);
    SubzoneNodeConnectivity const received(socket);
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_EQ(wireOf(received), golden);
    EXPECT_EQ(received.size(), 2);
    OwnedArray<Subzone> subzones;
    received.referencedCellSubzones(subzones.view());
    ASSERT_EQ(subzones.view().size, 3U);
    EXPECT_EQ(subzones.view().data[0].word(), 0x30000020U);
    EXPECT_EQ(subzones.view().data[1].word(), 0x22U);
}

TEST(SubzoneNodeConnectivity, SubzoneThatTouchesNoCellsHasAnEmptyVector)
{
    EXPECT_EQ(wireOf(SubzoneNodeConnectivity(65535, {})), hex("ff ff") + vec({}));
}

TEST(SubzoneNodeConnectivity, CheckinAtZeroWraps)
{
    SubzoneNodeConnectivity nodes(1, {});
    EXPECT_FALSE(nodes.isCheckedOut());
    EXPECT_EQ(nodes.checkin(), 4294967295U);
    EXPECT_TRUE(nodes.isCheckedOut());
    EXPECT_EQ(nodes.checkout(), 0U);
    EXPECT_EQ(nodes.checkout(), 1U);
}

TEST(SubzoneNodeConnectivity, FailureOfTheConnectionInTheArrayIsAnIOException)
{
    constexpr std::size_t COUNT = 2; // bytes of the size
    for (std::size_t length = 0; length < golden.size(); ++length) {
        RecordingSocket socket(golden.substr(0, length));
        auto const receive = [&] { SubzoneNodeConnectivity{socket}; };
        EXPECT_EQ(length < COUNT ? messageOf<socketutil::SocketException>(receive)
                                 : messageOf<IOException>(receive),
                  "the script has ended")
            << length;
    }
}

}
}
