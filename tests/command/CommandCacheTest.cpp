#include "command/CommandCache.h"

#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace varnox::hdqremote {
namespace {

using socketutil::WriteCache;
using tests::cached;
using tests::RecordingSocket;

class CommandCacheTest : public testing::Test
{
protected:
    void append(std::size_t byteCount)
    {
        WriteCache command;
        for (std::size_t i = 0; i < byteCount; ++i)
            command.addUInt8(static_cast<std::uint8_t>(i));
        cache.appendCache(command);
    }

    RecordingSocket socket;
    std::vector<std::string> handled;
    CommandCache cache{socket, [this](std::string const& command) { handled.push_back(command); }};
};

TEST_F(CommandCacheTest, FlushesWithoutCachingTouchNothing)
{
    bool ran = false;
    cache.addReceiveRoutine([&] { return ran = true; });
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_TRUE(cache.flushCachedCommandsIfNecessary());
    EXPECT_TRUE(cache.finishCachingCommands());
    EXPECT_FALSE(ran);
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST_F(CommandCacheTest, FlushOfAnEmptyBatchSendsAndGoesOnCaching)
{
    cache.beginCachingCommands();
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.numSendCaches(), 1U);
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(CommandCacheTest, FinishOfAnEmptyBatchSendsOnceAndEndsCaching)
{
    cache.beginCachingCommands();
    EXPECT_TRUE(cache.finishCachingCommands());
    EXPECT_EQ(socket.numSendCaches(), 1U);
    EXPECT_FALSE(cache.isCachingCommands());
}

TEST_F(CommandCacheTest, RoutineThatReturnsFalseStopsTheWalkAndCaching)
{
    int ran = 0;
    append(1);
    cache.addReceiveRoutine([&] { return ++ran < 2; });
    cache.addReceiveRoutine([&] { return ++ran < 2; });
    cache.addReceiveRoutine([&] { return ++ran < 2; });
    EXPECT_FALSE(cache.flushCachedCommands());
    EXPECT_EQ(ran, 2);
    EXPECT_FALSE(cache.isCachingCommands());
    append(1);
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(ran, 2); // the third is gone
}

TEST_F(CommandCacheTest, BeginWhileCachingDropsTheBatchAndKeepsTheRoutines)
{
    bool ran = false;
    append(10);
    cache.addReceiveRoutine([&] { return ran = true; });
    cache.beginCachingCommands();
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_TRUE(socket.sent().empty());
    EXPECT_TRUE(ran);
}

TEST_F(CommandCacheTest, BatchOfExactlyTheThresholdStays)
{
    append(15000);
    EXPECT_TRUE(cache.flushCachedCommandsIfNecessary());
    EXPECT_EQ(socket.numSendCaches(), 0U);
}

TEST_F(CommandCacheTest, OneByteMoreThanTheThresholdIsSent)
{
    append(15001);
    EXPECT_TRUE(cache.flushCachedCommandsIfNecessary());
    EXPECT_EQ(socket.sent().size(), 15001U);
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(CommandCacheTest, AppendingStartsCaching)
{
    EXPECT_FALSE(cache.isCachingCommands());
    append(1);
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(CommandCacheTest, FailedSendKeepsTheBatchAndItsRoutines)
{
    bool ran = false;
    append(3);
    cache.addReceiveRoutine([&] { return ran = true; });
    socket.failAt(0);
    EXPECT_FALSE(cache.flushCachedCommands());
    EXPECT_TRUE(cache.isCachingCommands());
    EXPECT_FALSE(ran);
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent().size(), 3U);
    EXPECT_TRUE(ran);
}

TEST_F(CommandCacheTest, EveryFlushThatCannotSendIsFalseAndKeepsTheBatch)
{
    bool ran = false;
    append(15001);
    cache.addReceiveRoutine([&] { return ran = true; });
    for (auto const flush :
         {&CommandCache::flushCachedCommands, &CommandCache::flushCachedCommandsIfNecessary,
          &CommandCache::finishCachingCommands}) {
        socket.failAt(0);
        EXPECT_FALSE((cache.*flush)());
        EXPECT_TRUE(cache.isCachingCommands());
        EXPECT_FALSE(ran);
    }
    EXPECT_TRUE(cache.finishCachingCommands());
    EXPECT_EQ(socket.sent().size(), 15001U);
    EXPECT_TRUE(ran);
}

TEST_F(CommandCacheTest, RepliesAreReadBehindTheWholeBatchInTheOrderOfTheCommands)
{
    std::string order;
    for (char const command : {'a', 'b', 'c'}) {
        append(1);
        cache.addReceiveRoutine([&order, command, this] {
            EXPECT_EQ(socket.sent().size(), 3U);
            order += command;
            return true;
        });
    }
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(order, "abc");
    EXPECT_EQ(socket.numSendCaches(), 1U);
}

TEST_F(CommandCacheTest, FinishWithARoutineThatReturnsFalseIsFalse)
{
    append(1);
    cache.addReceiveRoutine([] { return false; });
    EXPECT_FALSE(cache.finishCachingCommands());
    EXPECT_FALSE(cache.isCachingCommands());
}

TEST_F(CommandCacheTest, DestructionDropsTheBatchUnsent)
{
    {
        CommandCache dropped(socket, [](std::string const&) {});
        WriteCache command;
        command.addInt(1);
        dropped.appendCache(command);
        dropped.addBooleanReceiveRoutine();
    }
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST_F(CommandCacheTest, FailedReplyEndsCachingAndForgetsTheRoutines)
{
    append(1);
    cache.addBooleanReceiveRoutine(); // nothing is in the script
    EXPECT_FALSE(cache.flushCachedCommands());
    EXPECT_FALSE(cache.isCachingCommands());
    append(1);
    EXPECT_TRUE(cache.flushCachedCommands());
}

TEST_F(CommandCacheTest, BooleanReplyIsTrueForAnythingButZero)
{
    socket.appendScript(cached([](WriteCache& c) {
        c.addUInt32(256);
        c.addUInt32(0);
    }));
    append(1);
    cache.addBooleanReceiveRoutine();
    EXPECT_TRUE(cache.flushCachedCommands());
    cache.addBooleanReceiveRoutine();
    EXPECT_FALSE(cache.flushCachedCommands());
}

TEST_F(CommandCacheTest, ReentrantRoutineServesUntilTheClientHasFinished)
{
    socket.appendScript(cached([](WriteCache& c) {
        c.addString("load field data");
        c.addString("Command Finished");
        c.addUInt32(1);
        c.addString("command finished");
    }));
    append(1);
    cache.addBooleanReentrantCommandServiceRoutine();
    cache.addVoidReentrantCommandServiceRoutine();
    EXPECT_TRUE(cache.finishCachingCommands());
    EXPECT_EQ(handled, (std::vector<std::string>{"load field data"}));
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(CommandCacheTest, OtherExceptionsPassAndForgetTheRoutines)
{
    append(1);
    cache.addReceiveRoutine([]() -> bool { throw std::domain_error("no socket matter"); });
    cache.addReceiveRoutine([] { return false; });
    EXPECT_THROW(cache.flushCachedCommands(), std::domain_error);
    EXPECT_FALSE(cache.isCachingCommands());
    append(1);
    EXPECT_TRUE(cache.flushCachedCommands());
}

TEST_F(CommandCacheTest, EmptyRoutineIsABadFunctionCall)
{
    append(1);
    cache.addReceiveRoutine({});
    EXPECT_THROW(cache.finishCachingCommands(), std::bad_function_call);
}

TEST_F(CommandCacheTest, FlushInsideARoutineHasNothingToDo)
{
    append(1);
    cache.addReceiveRoutine([&] {
        return cache.flushCachedCommands() && cache.flushCachedCommandsIfNecessary() &&
               cache.finishCachingCommands() && !cache.isCachingCommands();
    });
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.numSendCaches(), 1U);
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(CommandCacheTest, RoutineAddedDuringTheWalkIsDropped)
{
    bool ran = false;
    append(1);
    cache.addReceiveRoutine([&] {
        cache.addReceiveRoutine([&] { return ran = true; });
        return true;
    });
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_FALSE(ran);
}

TEST_F(CommandCacheTest, UnsentBatchOfARoutineIsReplacedAtTheEndOfTheFlush)
{
    append(1);
    cache.addReceiveRoutine([&] {
        append(5);
        return true;
    });
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent().size(), 1U);
}

TEST_F(CommandCacheTest, BatchInsideARoutineIsSentByItsOwnFlush)
{
    int inner = 0;
    append(1);
    cache.addReceiveRoutine([&] {
        EXPECT_FALSE(cache.isCachingCommands());
        append(2);
        cache.addReceiveRoutine([&] { return ++inner == 1; });
        return cache.finishCachingCommands();
    });
    EXPECT_TRUE(cache.finishCachingCommands());
    EXPECT_EQ(inner, 1);
    EXPECT_EQ(socket.sent().size(), 3U);
}

}
}
