#include "apps/dataserver/SharedFolders.h"

#include "tests/dataserver/Program.h"

#include <algorithm>
#include <cerrno>
#include <fstream>

namespace varnox::tests {
namespace {

namespace fs = std::filesystem;
using dataserver::Fence;
using dataserver::fenceSupport;
using dataserver::SharedFolders;

/// What stands in the place of `folder`, where a path is part of a table.
constexpr char HERE[] = "@";

/// shared/, which is shared, shared2/ and other/, which aren't, and links from each to others.
class Sharing : public DataServer
{
protected:
    void SetUp() override
    {
        DataServer::SetUp();
        shared = folder / "shared";
        for (char const* name : {"shared", "shared2", "other"}) {
            fs::create_directories(folder / name / "deep");
            copySample(folder / name / "a.hdqfs");
        }
        copySample(folder / "other" / "secret.hdqfs");
        fs::create_directory_symlink(folder / "other", shared / "out");
        fs::create_symlink(folder / "other/a.hdqfs", shared / "out.hdqfs");
        fs::create_symlink("../other/missing", shared / "dangling");
        fs::create_symlink("loop", shared / "loop");
        fs::create_directory_symlink("deep", shared / "in");
        fs::create_directory_symlink(shared, folder / "other" / "back");
    }

    static void copySample(fs::path const& to)
    {
        fs::copy_file(std::string(VNX_SOURCE_DIR) + "/examples/data/tjunction_grid.hdqfs", to);
    }

    std::string placed(std::string text) const
    {
        if (text.starts_with(HERE))
            text.replace(0, 1, folder.string());
        return text;
    }

    std::unique_ptr<Program> share() { return listen({"--root", shared.string(), "--once"}); }

    struct Listing
    {
        std::string path;
        std::vector<std::string> names;

        bool operator==(Listing const&) const = default;
    };

    static Listing list(Client& client, std::string const& directory)
    {
        socketutil::StreamSocket& socket = client.socket();
        socket.sendString("list files");
        socket.sendString(directory);
        Listing result;
        result.path = socket.receiveString();
        for (int left = socket.receiveInt(); left > 0; --left) {
            result.names.emplace_back(socket.receiveString().c_str());
            socket.receiveString();
            socket.receiveUInt64();
            socket.receiveUInt64();
        }
        EXPECT_EQ(socket.receiveString(), "command finished");
        std::sort(result.names.begin(), result.names.end());
        return result;
    }

    /// The text of the dialog with which a load ends.
    static std::string failureOfLoading(Client& client, std::string const& paths)
    {
        client.load(paths);
        std::string const command = client.socket().receiveString();
        if (command != "VnxUtilDialogErrMsg")
            return command;
        std::string const text = client.socket().receiveString();
        EXPECT_EQ(client.socket().receiveString(), "command finished");
        EXPECT_EQ(client.socket().receiveUInt32(), 0U);
        EXPECT_TRUE(client.seesEnd());
        return text;
    }

    static std::string refusalOf(std::string const& path)
    {
        return "'" + path +
               "' can't be loaded: it is in none of the directories that this data server shares.";
    }

    fs::path shared;
};

TEST_F(Sharing, WhatLiesBelowIsHeld)
{
    SharedFolders const folders({shared.string()});
    for (char const* path :
         {"@/shared", "@/shared/", "@/shared/.", "@//shared///a.hdqfs", "@/shared/deep/../a.hdqfs",
          "@/shared/deep", "@/shared/in", "@/shared/in/missing", "@/other/back/a.hdqfs",
          "@/other/../shared", "@/shared/missing", "@/shared/missing/more",
          "@/shared/a.hdqfs/below", "@/shared/two\nlines", "@/shared/ "})
        EXPECT_TRUE(folders.hold(placed(path))) << path;
}

TEST_F(Sharing, WhatLiesElsewhereIsNotHeld)
{
    SharedFolders const folders({shared.string()});
    for (char const* path : {"@",
                             "@/other",
                             "@/shared/..",
                             "@/shared/../other/a.hdqfs",
                             "@/shared2",
                             "@/shared2/a.hdqfs",
                             "@/shared/out",
                             "@/shared/out/a.hdqfs",
                             "@/shared/out/missing",
                             "@/shared/out/..",
                             "@/shared/out.hdqfs",
                             "@/shared/dangling",
                             "@/shared/dangling/x",
                             "@/shared/loop",
                             "@/shared/loop/x",
                             "@/shared/in/../..",
                             "@/shared/missing/../../other",
                             "@/shared/missing/..",
                             "@/nothing",
                             "",
                             ".",
                             "~",
                             "/",
                             "//",
                             "/etc/passwd",
                             "/proc/self/cwd/shared",
                             "/proc/self/root"})
        EXPECT_FALSE(folders.hold(placed(path))) << path;
    EXPECT_FALSE(folders.hold((shared / std::string(300, 'x')).string()));
    EXPECT_FALSE(folders.hold(shared.string() + std::string("/a.hdqfs\0", 9)));
    EXPECT_FALSE(folders.hold(shared.string() + std::string("\0/../other", 10)));
}

TEST_F(Sharing, SeveralFoldersAreShared)
{
    SharedFolders const folders({shared.string(), placed("@/shared/out")}); // itself a link
    EXPECT_TRUE(folders.hold(placed("@/shared/a.hdqfs")));
    EXPECT_TRUE(folders.hold(placed("@/other/a.hdqfs")));
    EXPECT_FALSE(folders.hold(placed("@/shared2/a.hdqfs")));
    EXPECT_TRUE(SharedFolders({"/"}).hold("/etc/passwd"));
    EXPECT_TRUE(SharedFolders().hold("/etc/passwd"));
}

TEST_F(Sharing, FolderThatIsNoneIsSaidAtTheStart)
{
    EXPECT_EQ(statusOf({"--listen", "stdio", "--root", placed("@/nothing")}), 1);
    EXPECT_NE(lastLog().find("Can't share " + placed("@/nothing") + ": No such file"),
              std::string::npos)
        << lastLog();
    EXPECT_EQ(statusOf({"--listen", "stdio", "--root", placed("@/other/a.hdqfs")}), 1);
    EXPECT_NE(lastLog().find("a.hdqfs: Not a directory."), std::string::npos) << lastLog();
}

TEST_F(Sharing, ClientBrowsesWhatIsSharedAlone)
{
    auto const program = share();
    Client client(address);
    client.greet();
    Listing const all{shared.string(), {"a.hdqfs", "deep", "in"}};
    EXPECT_EQ(list(client, shared.string()), all);
    // The path in the answer is made of the text alone.
    EXPECT_EQ(list(client, placed("@/other/back/../shared")),
              (Listing{placed("@/other/shared"), all.names}));
    EXPECT_EQ(list(client, placed("@/other/back")).names, all.names);
    for (char const* path :
         {"@/other", "@/shared/out", "@/shared/../other", "@", "/", "/etc", "@/nothing"})
        EXPECT_EQ(list(client, placed(path)).names, std::vector<std::string>()) << path;
}

TEST_F(Sharing, RelativePathsTellNothingOfWhereTheServerWasStarted)
{
    auto const program = share();
    Client client(address);
    client.greet();
    EXPECT_EQ(list(client, "").path, shared.string());
    EXPECT_EQ(list(client, "."), (Listing{shared.string(), {"a.hdqfs", "deep", "in"}}));
    EXPECT_EQ(failureOfLoading(client, "a.hdqfs"), "command finished");
    EXPECT_EQ(client.socket().receiveUInt32(), 1U);
}

TEST_F(Sharing, WorkingDirectoryStaysWhereItIsShared)
{
    fs::path const before = fs::current_path();
    SharedFolders const folders({placed("@/shared2"), shared.string()});
    fs::current_path(shared / "deep");
    folders.enter();
    EXPECT_EQ(fs::current_path(), shared / "deep");
    fs::current_path(folder / "other");
    folders.enter();
    EXPECT_EQ(fs::current_path(), folder / "shared2");
    SharedFolders().enter();
    EXPECT_EQ(fs::current_path(), folder / "shared2");
    fs::current_path(before);
}

TEST_F(Sharing, ClientLoadsWhatIsShared)
{
    for (char const* path : {"@/shared/a.hdqfs", "@/other/back/a.hdqfs"}) {
        auto const program = share();
        Client client(address);
        client.greet();
        EXPECT_EQ(failureOfLoading(client, placed(path)), "command finished");
        EXPECT_EQ(client.socket().receiveUInt32(), 1U);
    }
}

TEST_F(Sharing, ClientLoadsNothingElse)
{
    for (char const* path : {"@/other/a.hdqfs", "@/shared/out/a.hdqfs", "@/shared/out.hdqfs",
                             "@/shared/../other/a.hdqfs", "@/other/nothing"}) {
        auto const program = share();
        Client client(address);
        client.greet();
        EXPECT_EQ(failureOfLoading(client, placed(path)), refusalOf(placed(path)));
        EXPECT_EQ(program->wait(), 1);
    }
}

TEST_F(Sharing, EveryPathOfALoadIsLookedAt)
{
    auto const program = share();
    Client client(address);
    client.greet();
    EXPECT_EQ(failureOfLoading(client,
                               placed("@/shared/a.hdqfs") + "\n" + placed("@/shared/out/a.hdqfs")),
              refusalOf(placed("@/shared/out/a.hdqfs")));
}

TEST_F(Sharing, LinkThatChangesBetweenCheckAndOpenLeadsNowhere)
{
    if (fenceSupport() == Fence::NotSupported)
        GTEST_SKIP() << "the kernel can't hold a session to directories";
    copySample(shared / "deep/opens.hdqfs");
    copySample(folder / "other/opens.hdqfs");
    fs::create_directory_symlink(shared / "deep", shared / "link");
    for (char const* place : {"deep", "../other"}) {
        fs::remove(shared / "deep/go");
        fs::remove(shared / "deep/opened");
        auto const program = share();
        Client client(address);
        client.greet();
        client.load(shared / "link/opens.hdqfs"); // it is shared, and so the add-on is called
        ASSERT_TRUE(eventually([&] { return fs::exists(shared / "deep/opens.hdqfs.begun"); }));
        fs::create_directory_symlink(place, shared / "other link");
        fs::rename(shared / "other link", shared / "link");
        std::ofstream(shared / "deep/go") << "go";
        ASSERT_TRUE(eventually([&] { return fs::exists(shared / "deep/opened"); }));
        int const expected = std::string(place) == "deep" ? 0 : EACCES;
        EXPECT_EQ(contents(shared / "deep/opened"), std::to_string(expected));
        fs::remove(shared / "deep/opens.hdqfs.begun");
    }
}

}
}
