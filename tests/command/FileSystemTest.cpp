#include "command/FileSystem.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace varnox::filesystem {
namespace {

class HomeDirectory : public testing::Test
{
protected:
    void SetUp() override
    {
        for (char const* name : {"HOME", "USERNAME", "USER"})
            ::unsetenv(name);
    }
};

TEST_F(HomeDirectory, IsHome)
{
    ::setenv("HOME", "/somewhere", 1);
    ::setenv("USER", "me", 1);
    EXPECT_EQ(homeDirectory(), "/somewhere");
}

TEST_F(HomeDirectory, OfAnEmptyHomeComesFromTheUser)
{
    ::setenv("HOME", "", 1);
    ::setenv("USER", "me", 1);
    EXPECT_EQ(homeDirectory(), "/home/me");
}

TEST_F(HomeDirectory, UsernameGoesBeforeUser)
{
    ::setenv("USERNAME", "first", 1);
    ::setenv("USER", "second", 1);
    EXPECT_EQ(homeDirectory(), "/home/first");
}

TEST_F(HomeDirectory, EmptyUsernameIsPassedOver)
{
    ::setenv("USERNAME", "", 1);
    ::setenv("USER", "second", 1);
    EXPECT_EQ(homeDirectory(), "/home/second");
}

TEST_F(HomeDirectory, IsEmptyWithoutAnyName)
{
    EXPECT_EQ(homeDirectory(), "");
}

TEST(FileSystem, FileSizeLeavesTheSizeAloneOnFailure)
{
    unsigned long size = 17;
    EXPECT_FALSE(fileSize("/nowhere/at/all", size));
    EXPECT_EQ(size, 17U);
}

TEST(FileSystem, FilesAreOpenedMeasuredRenamedAndRemoved)
{
    std::string const first = testing::TempDir() + "vnxFileSystemFirst";
    std::string const second = testing::TempDir() + "vnxFileSystemSecond";
    std::FILE* const file = fileOpen(first, "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("four", file);
    std::fclose(file);
    unsigned long size = 0;
    EXPECT_TRUE(fileSize(first, size));
    EXPECT_EQ(size, 4U);
    unsigned long sizeByText = 0;
    EXPECT_TRUE(fileSize(first.c_str(), sizeByText));
    EXPECT_EQ(sizeByText, 4U);
    EXPECT_EQ(fileRename(first, second), 0);
    EXPECT_EQ(fileRemove(second), 0);
    EXPECT_NE(fileRemove(second), 0);
}

TEST(FileSystem, OpenFileIsReopenedOnAnother)
{
    std::string const first = testing::TempDir() + "vnxFileSystemReopenFirst";
    std::string const second = testing::TempDir() + "vnxFileSystemReopenSecond";
    std::FILE* file = fileOpen(first, "wb");
    ASSERT_NE(file, nullptr);
    file = fileReopen(second, "wb", file);
    ASSERT_NE(file, nullptr);
    std::fputs("six...", file);
    std::fclose(file);
    unsigned long size = 17;
    EXPECT_TRUE(fileSize(first, size));
    EXPECT_EQ(size, 0U);
    EXPECT_TRUE(fileSize(second, size));
    EXPECT_EQ(size, 6U);
    fileRemove(first);
    fileRemove(second);
}

TEST(FileSystem, FileThatIsNotThereIsNotOpened)
{
    EXPECT_EQ(fileOpen("/nowhere/at/all", "rb"), nullptr);
    EXPECT_NE(fileRename("/nowhere/at/all", "/nowhere/else"), 0);
}

TEST(FileSystem, BackslashesBecomeSlashes)
{
    std::string path = "a\\b/c\\";
    convertPathDelimitersForOS(path);
    EXPECT_EQ(path, "a/b/c/");
}

}
}
