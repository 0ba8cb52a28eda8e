#include "query/Arrays.h"

#include "tests/query/MethodCase.h"
#include "tests/support/Messages.h"

namespace varnox {
namespace {

using namespace tests;

TEST(Addresses, TravelAsOneWord)
{
    RecordingSocket socket(hex("20 00 00 30 00 00 00 09 22 00 00 30 00 00 00 00"));
    Item const item = hdqremote::receiveItemAddress(socket);
    EXPECT_EQ(item.word(), 0x0900000030000020U);
    EXPECT_EQ(hdqremote::receiveSubzoneAddress(socket).word(), 0x30000022U);
    hdqremote::sendItemAddress(socket, item);
    EXPECT_EQ(socket.sent(), hex("20 00 00 30 00 00 00 09"));
    EXPECT_EQ(socket.numSendCaches(), 0U);
}

TEST(Addresses, FailureOfOneIsASocketException)
{
    RecordingSocket socket;
    EXPECT_THROW(hdqremote::receiveItemAddress(socket), socketutil::SocketException);
    EXPECT_THROW(hdqremote::receiveSubzoneAddress(socket), socketutil::SocketException);
    socket.failAt(0);
    EXPECT_THROW(hdqremote::sendItemAddress(socket, Item(0)), socketutil::SocketException);
}

TEST(AddressArrays, FailureIsAnIOExceptionWithTheSameText)
{
    RecordingSocket socket;
    EXPECT_EQ(messageOf<IOException>([&] { hdqremote::receiveSubzoneAddresses(socket); }),
              "the script has ended");
    std::vector<Subzone> subzones{Subzone(0x20)};
    socket.failAt(0);
    EXPECT_EQ(
        messageOf<IOException>([&] { hdqlib::send64BitTypeRawArray(socket, viewOf(subzones)); }),
        "failed on purpose");
}

TEST(AddressArrays, AnyArrayOf64BitWordsIsAVectorOfThem)
{
    RecordingSocket socket;
    std::vector<Subzone> subzones{Subzone(0x20), Subzone(0x40)};
    std::vector<long> numbers{-1, 2};
    std::vector<double> reals{0.5};
    hdqlib::send64BitTypeRawArray(socket, viewOf(subzones));
    EXPECT_EQ(socket.takeSent(), vec({u64(0x20), u64(0x40)}));
    hdqlib::send64BitTypeRawArray(socket, viewOf(numbers));
    EXPECT_EQ(socket.takeSent(), vec({i64(-1), i64(2)}));
    hdqlib::send64BitTypeRawArray(socket, viewOf(reals));
    EXPECT_EQ(socket.takeSent(), vec({f64(0.5)}));
    hdqlib::send64BitTypeRawArray(socket, RawArray<long>{nullptr, nullptr, 0, 0});
    EXPECT_EQ(socket.takeSent(), vec({}));
}

TEST(AddressArrays, MoreElementsThanThereIsRoomForAreRefused)
{
    RecordingSocket socket;
    std::vector<long> numbers{1, 2, 3};
    for (RawArray<long> const& array :
         {RawArray<long>{nullptr, numbers.data(), 2, 3}, RawArray<long>{nullptr, nullptr, 0, 1}})
        EXPECT_EQ(
            messageOf<std::length_error>([&] { hdqlib::send64BitTypeRawArray(socket, array); }),
            "The add-on reports " + std::to_string(array.size) +
                " elements in an array with room for " + std::to_string(array.capacity) + ".");
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST(AddressArrays, ReadOnlyViewHasNoOwnerAndIsFull)
{
    std::vector<long> numbers{1, 2, 3};
    RawArray<long> const view = viewOf(numbers);
    EXPECT_EQ(view.ownerSlot, nullptr);
    EXPECT_EQ(view.capacity, 3U);
    EXPECT_EQ(view.size, 3U);
}

}
}
