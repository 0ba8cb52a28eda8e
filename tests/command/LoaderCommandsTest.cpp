#include "command/LoaderCommands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <vector>

namespace varnox::hdqremote {
namespace {

struct Command
{
    std::string constant;
    std::string literal;
};

std::vector<Command> const commands = {
#define COMMAND(constant, literal) {#constant, literal},
#include "command/LoaderCommands.def"
};

TEST(LoaderCommands, ThereAre149)
{
    EXPECT_EQ(commands.size(), 149U);
}

TEST(LoaderCommands, EachLiteralStandsOnce)
{
    std::set<std::string> literals;
    for (Command const& command : commands)
        EXPECT_TRUE(literals.insert(command.literal).second) << command.literal;
}

TEST(LoaderCommands, ForwardedCallsAreNamedAfterTheirFunctionInCapitals)
{
    std::size_t forwarded = 0;
    for (Command const& command : commands) {
        if (command.literal.rfind("VnxUtil", 0) != 0)
            continue;
        ++forwarded;
        std::string capitals = command.literal;
        std::transform(capitals.begin(), capitals.end(), capitals.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        EXPECT_EQ(command.constant, capitals);
    }
    EXPECT_EQ(forwarded, 74U);
}

TEST(LoaderCommands, OrderedAnnouncementSaysCell)
{
    EXPECT_EQ(REGISTER_ORDERED_CONNECTIVITY_QUERY_SERVICES,
              "registerCellConnectivityQueryServices");
}

TEST(LoaderCommands, EndsOfAConversation)
{
    EXPECT_EQ(COMMAND_FINISHED, "command finished");
    EXPECT_EQ(CLOSE_DATA_SERVER, "close data server");
}

}
}
