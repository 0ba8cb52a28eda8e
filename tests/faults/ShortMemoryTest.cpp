// What holds in single classes when an operation below them fails, each once found by the sweep.

#include "command/CommandCache.h"
#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "filedata/ValueInput.h"
#include "addons/hdqfs/DescriptorCache.h"
#include "socket/StreamSocket.h"
#include "tests/faults/Faults.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "tests/support/RecordingSocket.h"
#include "tests/writer/DataSets.h"
#include "tests/writer/WrittenFile.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <memory>
#include <new>
#include <string>

#include <sys/socket.h>

namespace varnox::tests {
namespace {

using hdqremote::CommandCache;
using socketutil::SocketException;
using socketutil::StreamSocket;
using socketutil::WriteCache;

/// Runs an action with the n-th allocation failing, for every n until none fails, and looks at what
/// is left each time.
template <typename Action, typename Look>
void withoutMemory(Action&& action, Look&& look)
{
    for (std::uint64_t n = 1;; ++n) {
        bool hasThrown = false;
        FaultInjection injection({FaultKind::Allocation, n, false}, -1);
        try {
            action();
        } catch (std::bad_alloc const&) {
            hasThrown = true;
        }
        injection.end();
        if (injection.numInjected() == 0) {
            EXPECT_GT(n, 1U) << "nothing failed";
            return;
        }
        look(hasThrown);
    }
}

TEST(ShortMemory, AppendingToAWriteCacheAddsAllOrNothing)
{
    for (std::size_t const before : {0U, 500U, 8'000U, 100'000U}) {
        WriteCache more;
        more.addUInt8Vector(std::vector<unsigned char>(300'000, 9));
        std::unique_ptr<WriteCache> cache;
        std::string start;
        withoutMemory(
            [&] {
                cache = std::make_unique<WriteCache>();
                cache->addUInt8Vector(std::vector<unsigned char>(before, 7));
                start = bytesOf(*cache);
                cache->appendCache(more);
            },
            [&](bool hasThrown) {
                if (!cache || !hasThrown || start.size() != before + 8)
                    return;
                EXPECT_EQ(cache->size(), start.size());
                EXPECT_TRUE(bytesOf(*cache) == start);
                cache->addUInt8(1);
                EXPECT_TRUE(bytesOf(*cache) == start + '\1');
                start.clear();
            });
    }
}

TEST(ShortMemory, CommandInTheBatchHasItsRoutine)
{
    RecordingSocket socket;
    for (std::size_t numBefore = 0; numBefore < 20; ++numBefore) {
        std::unique_ptr<CommandCache> cache;
        std::size_t numRoutines = 0;
        WriteCache command;
        command.addUInt8Vector(std::vector<unsigned char>(1000, 7));
        bool wasAppended = false;
        withoutMemory(
            [&] {
                numRoutines = 0;
                cache = std::make_unique<CommandCache>(socket, [](std::string const&) {});
                cache->beginCachingCommands();
                for (std::size_t i = 0; i <= numBefore; ++i) {
                    wasAppended = false;
                    cache->appendCache(command);
                    wasAppended = true;
                    cache->addReceiveRoutine([&numRoutines] { return ++numRoutines != 0; });
                    wasAppended = false;
                }
            },
            [&](bool) { EXPECT_FALSE(wasAppended) << "a command without a routine"; });
    }
}

struct Connection
{
    Connection()
    {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            throw std::runtime_error("no socket pair");
        here = std::make_unique<StreamSocket>(ends[0], ends[0]);
        there = std::make_unique<StreamSocket>(ends[1], ends[1]);
        descriptor = ends[0];
    }

    std::unique_ptr<StreamSocket> here;
    std::unique_ptr<StreamSocket> there;
    int descriptor = -1;
};

TEST(TornConnection, ItemThatWasLostForWantOfMemoryIsTheLast)
{
    Connection connection;
    connection.there->sendString(std::string(1000, 'a'));
    connection.there->sendInt(5);
    FaultInjection injection({FaultKind::Allocation, 1, false}, connection.descriptor);
    EXPECT_THROW(connection.here->receiveString(), std::bad_alloc);
    injection.end();
    EXPECT_THROW(connection.here->receiveInt(), SocketException);
}

TEST(TornConnection, NothingIsSentBehindAFailedSend)
{
    Connection connection;
    FaultInjection injection({FaultKind::SendReset, 1, false}, connection.descriptor);
    EXPECT_THROW(connection.here->sendInt(1), SocketException);
    injection.end();
    EXPECT_THROW(connection.here->sendInt(2), SocketException);
    EXPECT_EQ(connection.here->bytesSent(), 0U);
}

TEST(TornConnection, NothingIsTakenBehindAFailedReceive)
{
    Connection connection;
    connection.there->sendInt(1);
    FaultInjection injection({FaultKind::ReceiveReset, 1, false}, connection.descriptor);
    EXPECT_THROW(connection.here->receiveInt(), SocketException);
    injection.end();
    EXPECT_THROW(connection.here->receiveInt(), SocketException);
}

class FailingReads : public testing::TestWithParam<FaultKind>
{
};

TEST_P(FailingReads, CutNoNumberOfATextFile)
{
    std::string text;
    std::vector<std::uint32_t> const expected(5000, 123456);
    for (std::uint32_t const value : expected)
        text += (text.empty() ? "values\r\n" : "") + std::to_string(value) + " ";
    hdqfsloader::tests::TemporaryFile const file(text);
    std::uint64_t numFailed = 0;
    for (std::uint64_t n = 1;; ++n) {
        FaultInjection injection({GetParam(), n, false}, -1);
        hdqio::FileStreamReader reader(file.path());
        std::vector<std::uint32_t> found(expected.size());
        bool wasRead = reader.open() != 0;
        reader.setIsAscii(1);
        hdqio::MessageCapture const messages;
        wasRead = wasRead && reader.seekToFileLoc(0) != 0 &&
                  hdqio::readValues<std::uint32_t, false, 0>(reader, found.size(), found.data(),
                                                             {"values"}) != 0;
        injection.end();
        if (injection.numInjected() == 0) {
            EXPECT_GT(numFailed, 5U);
            return;
        }
        ++numFailed;
        EXPECT_TRUE(!wasRead || found == expected) << "read " << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Reads, FailingReads,
                         testing::Values(FaultKind::FileError, FaultKind::FileInterrupt),
                         [](auto const& test) {
                             return test.param == FaultKind::FileError ? "Fail" : "Interrupted";
                         });

TEST(ShortMemory, DescriptorThatWasOpenedIsKept)
{
    hdqfsloader::tests::TemporaryFile const file("abcdef");
    int const numBefore = numOpenDescriptors();
    char byte = 0;
    withoutMemory(
        [&] {
            hdqfsloader::DescriptorCache files;
            files.read(file.path(), 3, &byte, 1);
        },
        [&](bool) { EXPECT_EQ(numOpenDescriptors(), numBefore); });
    EXPECT_EQ(byte, 'd');
    EXPECT_EQ(numOpenDescriptors(), numBefore);
}

TEST(ShortMemory, WriterThatThrewHasLeftNoFile)
{
    hdqfswriter::tests::TemporaryFolder const folder;
    std::string const path = folder.file("written.hdqfs");
    hdqfswriter::DataSet dataSet;
    dataSet.variableNames = {"one"};
    dataSet.zones = {hdqfswriter::tests::orderedZone({4, 3, 2}, {{}})};
    int const numDescriptors = numOpenDescriptors();
    withoutMemory([&] { hdqfswriter::writeFile(path, dataSet); },
                  [&](bool hasThrown) {
                      EXPECT_EQ(folder.numFiles(), hasThrown ? 0U : 1U);
                      EXPECT_EQ(numOpenDescriptors(), numDescriptors);
                      for (auto const& left : std::filesystem::directory_iterator(folder.path()))
                          std::filesystem::remove(left.path());
                  });
}

}
}
