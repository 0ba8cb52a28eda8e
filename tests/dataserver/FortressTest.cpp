// What a session is held to, and who may have one.

#include "tests/dataserver/Program.h"

#include <csignal>
#include <fstream>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace varnox::tests {
namespace {

using socketutil::Descriptor;

constexpr char NOBODY[] = "65534";
Answer const WRONG_USER{0, "this data server serves other users of this machine"};

/// What the add-on threw in a load.
std::string textOfLoad(Client& client, std::filesystem::path const& path)
{
    client.load(path);
    EXPECT_EQ(client.socket().receiveString(), "VnxUtilDialogErrMsg");
    return client.socket().receiveString();
}

using Users = DataServer;

TEST_F(Users, WhoIsNotAllowedIsRefused)
{
    auto const program = listen({"--allow-uid", NOBODY, "--once"});
    Client client(address);
    EXPECT_EQ(client.receiveAnswer(), WRONG_USER);
    EXPECT_TRUE(client.seesEnd());
    Client talkative(address); // its greeting isn't read
    EXPECT_EQ(talkative.greet(), WRONG_USER);
    EXPECT_TRUE(program->logHolds("is refused: it isn't among those of --allow-uid"));
    EXPECT_FALSE(program->logHolds("session 1"));
}

TEST_F(Users, SeveralAreAllowedAndTheSocketIsForAll)
{
    auto const program =
        listen({"--allow-uid", NOBODY, "--allow-uid", std::to_string(::geteuid())});
    struct stat status = {};
    ASSERT_EQ(::stat(socketPath.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0666U);
    Client client(address);
    EXPECT_EQ(client.greet(), (Answer{1, ""}));
}

TEST_F(Users, AnotherOneIsRefusedByDefaultAndCanBeAllowed)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can play another user";
    ASSERT_EQ(::chmod(folder.c_str(), 0755), 0);
    uid_t const nobody = 65534;
    for (bool const isAllowed : {false, true}) {
        auto const program = listen(isAllowed ? Words{"--allow-uid", NOBODY} : Words{});
        ASSERT_EQ(::chmod(socketPath.c_str(), 0666), 0);
        ASSERT_EQ(::seteuid(nobody), 0);
        Client client(address);
        ASSERT_EQ(::seteuid(0), 0);
        EXPECT_EQ(client.greet(), isAllowed ? (Answer{1, ""}) : WRONG_USER);
    }
}

TEST_F(Users, InheritedSocketIsLookedAtWhereUsersAreNamed)
{
    for (std::string const& where : {std::string("fd:9"), std::string("stdio")}) {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        Descriptor theirs(ends[1]);
        Surroundings surroundings;
        for (int const number : where == "stdio" ? std::vector<int>{0, 1} : std::vector<int>{9})
            surroundings.descriptors.emplace_back(theirs.get(), number);
        auto const program = start({"--listen", where, "--allow-uid", NOBODY}, surroundings);
        theirs.reset();
        Client client(ends[0], ends[0]);
        if (where == "stdio") {
            EXPECT_EQ(client.receiveAnswer(), WRONG_USER);
        }
        EXPECT_TRUE(client.seesEnd());
        EXPECT_EQ(program->wait(), 1);
    }
}

using Limits = DataServer;

TEST_F(Limits, MemoryIsBounded)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's own memory is beyond any limit";
#endif
    auto const program = listen({"--max-memory", "134217728"});
    Client client(address);
    client.greet();
    EXPECT_EQ(textOfLoad(client, fileNamed("grows.hdqfs")), "std::bad_alloc");
    auto const unlimited = listenAt("tcp:127.0.0.1:0");
    Client other(address);
    other.greet();
    other.load(fileNamed("grows.hdqfs"));
    EXPECT_EQ(other.socket().receiveString(), "command finished");
}

TEST_F(Limits, OpenFilesAreBoundedAndCoreDumpsOff)
{
    auto const program = listen({"--max-open-files", "20"});
    Client client(address);
    client.greet();
    EXPECT_EQ(textOfLoad(client, fileNamed("opensMany.hdqfs")), "last 19, core 0");
}

TEST_F(Limits, ProcessorTimeIsBounded)
{
    auto const program = listen({"--max-time", "1", "--once"});
    Client client(address);
    client.greet();
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    EXPECT_EQ(program->wait(), 1);
    EXPECT_FALSE(isAlive(worker));
    EXPECT_TRUE(program->logHolds("session 1: was ended by signal " + std::to_string(SIGXCPU) +
                                  " (CPU time limit exceeded)"))
        << program->log();
}

TEST_F(Limits, EnvironmentIsCleaned)
{
    ::setenv("SECRET_OF_A_TEST", "hidden", 1);
    ::setenv("KEPT_IN_A_TEST", "kept", 1);
    ::setenv("VNX_OF_AN_ADDON", "1", 1);
    ::setenv("LC_MESSAGES", "C", 1);
    auto const program = listen({"--keep-env", "KEPT_IN_A_TEST"});
    Client client(address);
    client.greet();
    std::string const text = "\n" + textOfLoad(client, fileNamed("environment.hdqfs"));
    EXPECT_NE(text.find("\nKEPT_IN_A_TEST=kept\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nVNX_OF_AN_ADDON=1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nPATH="), std::string::npos) << text;
    EXPECT_NE(text.find("\nLC_MESSAGES=C\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("SECRET_OF_A_TEST"), std::string::npos) << text;
    ::unsetenv("SECRET_OF_A_TEST");
    ::unsetenv("KEPT_IN_A_TEST");
}

TEST_F(Limits, TokenStandsInNoCommandLineEnvironmentOrLog)
{
    constexpr char TOKEN[] = "xyzzy-open-sesame";
    std::string const path = (folder / "token").string();
    std::ofstream(path) << TOKEN << "\n";
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    auto const program = listen({"--token-file", path, "--log-level", "debug"});
    EXPECT_EQ(Client(address).greet("VNXDATASERVER 1", std::string(TOKEN) + "x").accepted, 0);
    Client client(address);
    EXPECT_EQ(client.greet("VNXDATASERVER 1", TOKEN).accepted, 1);
    pid_t const worker = beginLoad(client, "spins.hdqfs").front();
    for (pid_t const process : {program->process(), worker})
        for (char const* file : {"cmdline", "environ"}) {
            std::string const text = contents("/proc/" + std::to_string(process) + "/" + file);
            EXPECT_NE(text, "");
            EXPECT_EQ(text.find(TOKEN), std::string::npos);
        }
    EXPECT_FALSE(program->logHolds(TOKEN));
}

}
}
