#include "command/FileListing.h"

#include "tests/support/RecordingSocket.h"
#include "tests/support/Traffic.h"
#include "varnox/socketutil/WriteCache.h"

#include <boost/filesystem.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <sys/stat.h>

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
    std::vector<std::string> order; ///< The names as they came.
};

Listing list(std::string const& directory)
{
    std::string const sent =
        tests::cached([&](socketutil::WriteCache& cache) { addFileListing(cache, directory); });
    recordTraffic(tests::Speaker::Server, sent);
    RecordingSocket socket(sent);
    Listing result;
    result.canonicalPath = socket.receiveString();
    int const count = socket.receiveInt();
    for (int i = 0; i < count; ++i) {
        Entry entry;
        entry.rawName = socket.receiveString();
        entry.type = socket.receiveString();
        entry.size = socket.receiveUInt64();
        entry.lastWriteTime = socket.receiveUInt64();
        std::string const name = entry.rawName.c_str();
        EXPECT_EQ(entry.rawName.size(), name.size() + 3);
        result.entries[name] = entry;
        result.order.push_back(name);
    }
    EXPECT_TRUE(socket.allWasRead());
    return result;
}

/// Another working directory for as long as the object lives.
class WorkingDirectory
{
public:
    explicit WorkingDirectory(boost::filesystem::path const& path)
    {
        boost::filesystem::current_path(path);
    }
    WorkingDirectory(WorkingDirectory const&) = delete;
    WorkingDirectory& operator=(WorkingDirectory const&) = delete;
    ~WorkingDirectory() { boost::filesystem::current_path(m_before); }

private:
    boost::filesystem::path m_before = boost::filesystem::current_path();
};

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

TEST_F(ListFiles, LinkToWhatMayNotBeSeenIsLeftOutAndAFileIsNotAskedFor)
{
    write("a", "123");
    boost::filesystem::create_symlink(folder / "a", folder / "shown");
    boost::filesystem::create_symlink(folder / "a", folder / "left out");
    std::vector<std::string> asked;
    std::string const sent = tests::cached([&](socketutil::WriteCache& cache) {
        addFileListing(cache, folder.string(), [&](std::string const& path) {
            asked.push_back(path);
            return !path.ends_with("left out");
        });
    });
    EXPECT_EQ(sent.find("left out"), std::string::npos);
    EXPECT_NE(sent.find("shown"), std::string::npos);
    EXPECT_EQ(asked.size(), 3U); // the folder and the links
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
    WorkingDirectory const here(folder.parent_path());
    Listing const listing = list(folder.filename().string());
    EXPECT_EQ(listing.entries.count("a"), 1U);
    EXPECT_EQ(listing.canonicalPath, folder.string());
}

TEST_F(ListFiles, RootHasAnEmptyCanonicalPath)
{
    EXPECT_EQ(list("/").canonicalPath, "");
}

TEST_F(ListFiles, EntriesStandInTheOrderOfTheDirectory)
{
    for (char const* name : {"m", "z", "a", "k", "b", "y"})
        write(name, "");
    std::vector<std::string> expected;
    for (boost::filesystem::directory_iterator i(folder), end; i != end; ++i)
        expected.push_back(i->path().filename().string());
    EXPECT_EQ(list(folder.string()).order, expected);
}

TEST_F(ListFiles, TimesAreThoseOfTheFilesAndFoldersInSeconds)
{
    write("a", "");
    boost::filesystem::create_directory(folder / "sub");
    boost::filesystem::last_write_time(folder / "a", 1'234'567'890);
    boost::filesystem::last_write_time(folder / "sub", 987'654'321);
    Listing const listing = list(folder.string());
    EXPECT_EQ(listing.entries.at("a").lastWriteTime, 1'234'567'890U);
    EXPECT_EQ(listing.entries.at("sub").lastWriteTime, 987'654'321U);
}

TEST_F(ListFiles, LinkToAFolderIsAFolderWithItsPermissions)
{
    boost::filesystem::create_directory(folder / "sub");
    boost::filesystem::permissions(folder / "sub", static_cast<boost::filesystem::perms>(01750));
    boost::filesystem::create_directory_symlink(folder / "sub", folder / "link");
    Listing const listing = list(folder.string());
    EXPECT_EQ(listing.entries.at("link").type, "directory");
    EXPECT_EQ(listing.entries.at("link").size, 0U);
    EXPECT_EQ(listing.entries.at("link").rawName, std::string("link\0\x03\xE8", 7)); // 01750
}

TEST_F(ListFiles, WhatIsNeitherFileNorFolderIsLeftOut)
{
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    write("a", "");
    Listing const listing = list(folder.string());
    EXPECT_EQ(listing.order, std::vector<std::string>{"a"});
}

TEST_F(ListFiles, EntryThatCannotBeExaminedIsLeftOutAndTheWalkGoesOn)
{
    write("a", "");
    boost::filesystem::create_symlink("loop", folder / "loop"); // a link to itself
    EXPECT_EQ(list(folder.string()).order, std::vector<std::string>{"a"});
}

TEST_F(ListFiles, FileInPlaceOfAFolderHasNoEntries)
{
    write("a", "");
    Listing const listing = list((folder / "a").string());
    EXPECT_TRUE(listing.entries.empty());
    EXPECT_EQ(listing.canonicalPath, (folder / "a").string());
}

TEST_F(ListFiles, TildeIsNotExpanded)
{
    boost::filesystem::create_directory(folder / "~");
    boost::filesystem::ofstream(folder / "~" / "inside");
    WorkingDirectory const here(folder);
    Listing const listing = list("~");
    EXPECT_EQ(listing.order, std::vector<std::string>{"inside"});
    EXPECT_EQ(listing.canonicalPath, folder.string() + "~"); // the quirk of the canonical path
}

TEST_F(ListFiles, CanonicalPathIsNotTheOneThatIsListed)
{
    // By its text "link/.." is the folder itself; the disk goes through the link.
    boost::filesystem::create_directories(folder / "far" / "sub");
    boost::filesystem::create_directory_symlink(folder / "far" / "sub", folder / "link");
    Listing const listing = list((folder / "link" / "..").string());
    EXPECT_EQ(listing.canonicalPath, folder.string());
    EXPECT_EQ(listing.order, std::vector<std::string>{"sub"});
}

TEST_F(ListFiles, WorkingDirectoryThatIsGoneIsAnException)
{
    boost::filesystem::path const gone = folder / "gone";
    boost::filesystem::create_directory(gone);
    WorkingDirectory const here(gone);
    boost::filesystem::remove(gone);
    socketutil::WriteCache reply;
    EXPECT_THROW(addFileListing(reply, "/"), boost::filesystem::filesystem_error);
}

TEST(CanonicalPath, KeepsItsQuirks)
{
    std::map<std::string, std::string> const cases = {
        {"/a/b/c", "/a/b/c"},
        {"/a//./b/", "/a/b"},
        {"a/b", "/a/b"},
        {"/a/b/../c", "/a/c"},
        {"/a/b/c/../../d", "/a/d"},
        {"/a/b/..", "/a"},
        {"/a/..", "/"},
        {"/a/../b", "//b"},
        {"/a/b/../../c", "//c"},
        {"/../a", "/a"},
        {"/", ""},
        {"/..", ""},
        {"~/a", "~/a"},
        {"/a/~/b", "/a~/b"},
    };
    for (auto const& [input, expected] : cases)
        EXPECT_EQ(getCanonicalPath(input), expected) << input;
}

}
}
