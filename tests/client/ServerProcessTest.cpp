#include "client/ServerProcess.h"

#include "client/Errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include <csignal>
#include <sys/socket.h>
#include <sys/stat.h>

namespace varnox::client {
namespace {

using testing::HasSubstr;

std::string messageOf(std::function<void()> const& action)
{
    try {
        action();
    } catch (Error const& error) {
        return error.what();
    }
    return "nothing was thrown";
}

class InFolder : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = std::filesystem::temp_directory_path() /
                 ("vnxserverprocesstest" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string write(std::string const& name, std::string const& text, mode_t mode)
    {
        std::string const path = (folder / name).string();
        std::ofstream(path) << text;
        ::chmod(path.c_str(), mode);
        return path;
    }

    std::filesystem::path folder;
};

std::string readAll(int descriptor)
{
    std::string result;
    char part[256];
    ssize_t got = 0;
    while ((got = ::recv(descriptor, part, sizeof(part), 0)) > 0)
        result.append(part, static_cast<std::size_t>(got));
    return result;
}

using Process = InFolder;

TEST_F(Process, OfOurOwnInheritsTheStreamAndGetsTheAddon)
{
    std::string const program = write("server", "#!/bin/sh\necho \"$@\" >&3\n", 0755);
    auto const server = ServerProcess::startLocal(program, "/a b.so");
    EXPECT_EQ(readAll(server->takeStream().get()), std::string("--listen fd:3 --addon /a b.so") +
                                                       (::geteuid() == 0 ? " --allow-root" : "") +
                                                       "\n");
    EXPECT_LT(server->killTarget(), -1) << "a group";
    EXPECT_TRUE(server->waitFor(std::chrono::seconds(5)));
    EXPECT_EQ(server->killTarget(), 0);
}

TEST_F(Process, LastWordsAreTheEndOfItsErrors)
{
    std::string const program =
        write("server", "#!/bin/sh\nseq 10000 >&2\necho 'no add-on' >&2\n", 0755);
    auto const server = ServerProcess::startLocal(program, "");
    EXPECT_TRUE(server->waitFor(std::chrono::seconds(5)));
    EXPECT_THAT(server->lastWords(), testing::EndsWith("10000\nno add-on"));
    EXPECT_LE(server->lastWords().size(), 4096U);
}

TEST_F(Process, DiesWithItsObjectAndAllItsGroup)
{
    std::string const program = write("server", "#!/bin/sh\nsleep 60 & echo $! >&3\nwait\n", 0755);
    auto server = ServerProcess::startLocal(program, "");
    socketutil::Descriptor const stream = server->takeStream();
    char line[32] = {};
    ASSERT_GT(::recv(stream.get(), line, sizeof(line) - 1, 0), 0);
    pid_t const grandchild = std::atoi(line);
    ASSERT_GT(grandchild, 1);
    server.reset();
    EXPECT_EQ(readAll(stream.get()), "") << "whoever held the stream is gone";
}

TEST_F(Process, ProgramThatCantBeStartedIsAnError)
{
    EXPECT_EQ(messageOf([&] { ServerProcess::startLocal((folder / "none").string(), ""); }),
              "Could not start '" + (folder / "none").string() + "': No such file or directory.");
}

class Ssh : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        write("ssh", "#!/bin/sh\necho \"$#:$@\"\ncat\n", 0755);
        before = std::getenv("PATH");
        ::setenv("PATH", (folder.string() + ":" + before).c_str(), 1);
    }
    void TearDown() override
    {
        ::setenv("PATH", before.c_str(), 1);
        InFolder::TearDown();
    }
    std::string before;
};

TEST_F(Ssh, RunsTheServerOverItsInputAndOutput)
{
    auto const server = ServerProcess::startSsh("me@there", "");
    socketutil::Descriptor const stream = server->takeStream();
    ASSERT_EQ(::send(stream.get(), "hello", 5, 0), 5);
    ::shutdown(stream.get(), SHUT_WR);
    EXPECT_EQ(readAll(stream.get()), "4:me@there vnxdataserver --listen stdio\nhello");
    EXPECT_GT(server->killTarget(), 0) << "not a group: it may have to ask the terminal";
}

TEST_F(Ssh, QuotesForTheShellOnTheOtherSide)
{
    auto const server = ServerProcess::startSsh("there", "/it's/a b.so");
    socketutil::Descriptor const stream = server->takeStream();
    ::shutdown(stream.get(), SHUT_WR);
    EXPECT_EQ(readAll(stream.get()),
              "6:there vnxdataserver --listen stdio --addon '/it'\\''s/a b.so'\n");
}

TEST_F(Ssh, LetsTheServerRunAsRootWhereThatIsAskedFor)
{
    auto const server = ServerProcess::startSsh("root@there", "", true);
    socketutil::Descriptor const stream = server->takeStream();
    ::shutdown(stream.get(), SHUT_WR);
    EXPECT_EQ(readAll(stream.get()), "5:root@there vnxdataserver --listen stdio --allow-root\n");
}

TEST_F(Ssh, HostThatLooksLikeAnOptionIsRefused)
{
    for (char const* const host : {"", "-oProxyCommand=x", "a b"})
        EXPECT_THAT(messageOf([&] { ServerProcess::startSsh(host, ""); }),
                    HasSubstr("is no host for ssh"));
}

}
}
