#include "command/FileListing.h"

#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/WriteCache.h"

#include <boost/filesystem.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <map>

namespace varnox::hdqremote {
namespace {

using tests::RecordingSocket;

struct Entry
{
    std::string rawName;
    std::string type;
    std::uint64_t size;
    std::uint64_t lastWriteTime;
};

struct Listing
{
    std::string canonicalPath;
    std::map<std::string, Entry> entries;
};

Listing list(std::string const& directory)
{
    RecordingSocket socket(
        tests::cached([&](socketutil::WriteCache& cache) { addFileListing(cache, directory); }));
    Listing result;
    result.canonicalPath = socket.receiveString();
    int const count = socket.receiveInt();
    for (int i = 0; i < count; ++i) {
        Entry entry;
        entry.rawName = socket.receiveString();
        entry.type = socket.receiveString();
        entry.size = socket.receiveUInt64();
        entry.lastWriteTime = socket.receiveUInt64();
        result.entries[entry.rawName.c_str()] = entry;
    }
    EXPECT_TRUE(socket.allWasRead());
    return result;
}

class ListFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
        boost::filesystem::create_directory(folder);
    }
    void TearDown() override { boost::filesystem::remove_all(folder); }
    void write(std::string const& name, std::string const& text)
    {
        std::ofstream((folder / name).string()) << text;
    }

    boost::filesystem::path folder;
};

TEST_F(ListFiles, FilesAndFoldersAreListedWithTypeAndSize)
{
    write("a.hdqfs", "12345");
    boost::filesystem::create_directory(folder / "sub");
    Listing const listing = list(folder.string());
    ASSERT_EQ(listing.entries.size(), 2U);
    EXPECT_EQ(listing.entries.at("a.hdqfs").type, "regular");
    EXPECT_EQ(listing.entries.at("a.hdqfs").size, 5U);
    EXPECT_EQ(listing.entries.at("sub").type, "directory");
    EXPECT_EQ(listing.entries.at("sub").size, 0U);
    EXPECT_GT(listing.entries.at("sub").lastWriteTime, 1'000'000'000U);
}

TEST_F(ListFiles, NameCarriesThreeMoreBytes)
{
    write("a", "");
    boost::filesystem::permissions(folder / "a", static_cast<boost::filesystem::perms>(0640));
    std::string const raw = list(folder.string()).entries.at("a").rawName;
    EXPECT_EQ(raw, std::string("a\0\x01\xA0", 4)); // 0640 is 0x01A0
}

TEST_F(ListFiles, HiddenFilesAreLeftOutAndLaterFullStopsAreNot)
{
    write(".hidden", "");
    write("not.hidden", "");
    Listing const listing = list(folder.string());
    EXPECT_EQ(listing.entries.count("not.hidden"), 1U);
    EXPECT_EQ(listing.entries.size(), 1U);
}

TEST_F(ListFiles, LinkShowsAsWhatItPointsToAndADanglingOneIsLeftOut)
{
    write("a", "123");
    boost::filesystem::create_symlink(folder / "a", folder / "link");
    boost::filesystem::create_symlink(folder / "nothing", folder / "dangling");
    Listing const listing = list(folder.string());
    EXPECT_EQ(listing.entries.at("link").type, "regular");
    EXPECT_EQ(listing.entries.at("link").size, 3U);
    EXPECT_EQ(listing.entries.count("dangling"), 0U);
}

TEST_F(ListFiles, EmptyAndUnreadableFoldersGiveTheSameEntries)
{
    EXPECT_TRUE(list(folder.string()).entries.empty());
    EXPECT_TRUE(list((folder / "missing").string()).entries.empty());
}

TEST_F(ListFiles, RelativeFolderIsListedFromTheWorkingDirectory)
{
    write("a", "");
    auto const before = boost::filesystem::current_path();
    boost::filesystem::current_path(folder.parent_path());
    Listing const listing = list(folder.filename().string());
    boost::filesystem::current_path(before);
    EXPECT_EQ(listing.entries.count("a"), 1U);
    EXPECT_EQ(listing.canonicalPath, folder.string());
}

TEST_F(ListFiles, RootHasAnEmptyCanonicalPath)
{
    EXPECT_EQ(list("/").canonicalPath, "");
}

TEST_F(ListFiles, CanonicalPathKeepsItsQuirks)
{
    std::map<std::string, std::string> const cases = {
        {"/a/b/c", "/a/b/c"},  {"/a//./b/", "/a/b"},
        {"/a/b/../c", "/a/c"}, {"/a/b/c/../../d", "/a/d"},
        {"/a/b/..", "/a"},     {"/a/..", "/"},
        {"/a/../b", "//b"},    {"/a/b/../../c", "//c"},
        {"/../a", "/a"},       {"/", ""},
        {"/..", ""},           {"/a/~/b", "/a~/b"},
    };
    for (auto const& [input, expected] : cases)
        EXPECT_EQ(list(input).canonicalPath, expected) << input;
}

}
}
