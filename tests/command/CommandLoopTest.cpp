#include "command/CommandLoop.h"

#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/SocketException.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace varnox::hdqremote {
namespace {

using tests::cached;
using tests::RecordingSocket;

std::string script(std::vector<std::string> const& words)
{
    return cached([&](socketutil::WriteCache& cache) {
        for (std::string const& word : words)
            cache.addString(word);
    });
}

std::vector<std::string> handledUntil(std::string const& end, std::vector<std::string> const& words)
{
    RecordingSocket socket(script(words));
    std::vector<std::string> handled;
    serviceCommandsUntil(end, socket,
                         [&](std::string const& command) { handled.push_back(command); });
    EXPECT_TRUE(socket.allWasRead());
    return handled;
}

TEST(CommandLoop, EndCommandIsMatchedWithoutRegardToCase)
{
    EXPECT_TRUE(handledUntil("close data server", {"CLOSE Data Server"}).empty());
}

TEST(CommandLoop, CommandsGoToTheHandlerAsTheyCame)
{
    EXPECT_EQ(handledUntil("end", {"Load Dataset", "", "END"}),
              (std::vector<std::string>{"Load Dataset", ""}));
}

TEST(CommandLoop, PrefixOfTheEndCommandDoesNotEndIt)
{
    EXPECT_EQ(
        handledUntil("command finished", {"command", "command finished too", "command finished"}),
        (std::vector<std::string>{"command", "command finished too"}));
}

TEST(CommandLoop, EmptyEndCommandEndsAtAnEmptyString)
{
    EXPECT_TRUE(handledUntil("", {""}).empty());
}

TEST(CommandLoop, EmptyHandlerIsABadFunctionCall)
{
    RecordingSocket socket(script({"anything"}));
    EXPECT_THROW(serviceCommandsUntil("end", socket, {}), std::bad_function_call);
}

TEST(CommandLoop, FailedReceiveComesThrough)
{
    RecordingSocket socket;
    EXPECT_THROW(serviceCommandsUntil("end", socket, [](std::string const&) {}),
                 socketutil::SocketException);
}

}
}
