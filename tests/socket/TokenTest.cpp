#include "socket/Token.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include <sys/stat.h>

namespace varnox::socketutil {
namespace {

namespace fs = std::filesystem;

class TokenFile : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "vnxXXXXXX").string();
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        folder = name;
        path = (folder / "token").string();
    }
    void TearDown() override { fs::remove_all(folder); }

    void write(std::string const& text, mode_t mode = 0600)
    {
        std::ofstream(path) << text;
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    }
    std::string failure()
    {
        try {
            return "read: " + readTokenFile(path);
        } catch (std::runtime_error const& error) {
            return error.what();
        }
    }

    fs::path folder;
    std::string path;
};

TEST_F(TokenFile, FirstLineCountsWithOrWithoutAnEnd)
{
    for (char const* text : {"se cret", "se cret\n", "se cret\nmore\n", "se cret\r\nmore"}) {
        write(text);
        EXPECT_EQ(readTokenFile(path), "se cret");
    }
}

TEST_F(TokenFile, OpenToOthersIsRefused)
{
    for (mode_t const mode : {0640U, 0604U, 0620U, 0602U, 0666U}) {
        write("secret", mode);
        EXPECT_EQ(failure(), "The token file " + path +
                                 " is open to others, so it keeps no secret; run: chmod 600 " +
                                 path);
    }
    write("secret", 0400);
    EXPECT_EQ(failure(), "read: secret");
}

TEST_F(TokenFile, FolderIsRefused)
{
    path = folder.string();
    EXPECT_EQ(failure(), "The token file " + path + " is a folder; name the file in it.");
}

TEST_F(TokenFile, EmptyOneIsRefused)
{
    for (char const* text : {"", "\n", "\r\n", "\nsecret"}) {
        write(text);
        EXPECT_EQ(failure(),
                  "The token file " + path + " is empty; write a token into its first line.");
    }
}

TEST_F(TokenFile, MissingOneIsRefused)
{
    EXPECT_EQ(failure(), "The token file " + path + " can't be opened: No such file or directory.");
}

TEST_F(TokenFile, LineThatNoClientCouldShowIsRefused)
{
    write(std::string(4096, 'x') + "\n");
    EXPECT_EQ(readTokenFile(path).size(), 4096U);
    write(std::string(4097, 'x'));
    EXPECT_EQ(
        failure().rfind("The token file " + path + " begins with a line of more than 4096", 0), 0U);
}

TEST_F(TokenFile, PipeIsReadUpToTheEndOfTheLine)
{
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    std::promise<void> isRead;
    std::thread writer([&] {
        std::ofstream pipe(path);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        pipe << "sec" << std::flush;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        pipe << "ret\nmore" << std::flush;
        isRead.get_future().wait(); // it stays open
    });
    EXPECT_EQ(failure(), "read: secret");
    isRead.set_value();
    writer.join();
}

TEST_F(TokenFile, PipeThatNobodyWritesIsRefusedAfterAMoment)
{
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(failure(),
              "The token file " + path + " is a pipe that gives no line within 5 seconds.");
}

TEST(IsSameToken, ComparesAllAndTheLength)
{
    std::string const longest(MAX_GREETING_STRING, 'x');
    EXPECT_TRUE(isSameToken("", ""));
    EXPECT_TRUE(isSameToken("abc", "abc"));
    EXPECT_TRUE(isSameToken(longest, longest));
    EXPECT_FALSE(isSameToken("abc", "abd"));
    EXPECT_FALSE(isSameToken("abc", "Abc"));
    EXPECT_FALSE(isSameToken("abc", "ab"));
    EXPECT_FALSE(isSameToken("abc", std::string("abc\0", 4)));
    EXPECT_FALSE(isSameToken(longest, longest.substr(1)));
    EXPECT_FALSE(isSameToken(longest, longest.substr(1) + "y"));
}

}
}
