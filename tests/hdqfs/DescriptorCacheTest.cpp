#include "addons/hdqfs/DescriptorCache.h"

#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

namespace varnox::hdqfsloader {
namespace {

using tests::TemporaryFile;

std::string messageOf(DescriptorCache& files, std::string const& path, std::uint64_t loc,
                      std::size_t count)
{
    std::vector<char> out(count);
    try {
        files.read(path, loc, out.data(), count);
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "";
}

TEST(DescriptorCache, ReadsAtALocation)
{
    TemporaryFile const file("abcdefgh");
    DescriptorCache files;
    std::string out(3, ' ');
    files.read(file.path(), 2, out.data(), 3);
    EXPECT_EQ(out, "cde");
}

TEST(DescriptorCache, NeverHoldsMoreThanItsLimit)
{
    std::vector<std::unique_ptr<TemporaryFile>> all;
    for (char c = 'a'; c < 'k'; ++c)
        all.push_back(std::make_unique<TemporaryFile>(std::string(1, c)));
    DescriptorCache files(3);
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < all.size(); ++i) {
            char out = 0;
            files.read(all[i]->path(), 0, &out, 1);
            EXPECT_EQ(out, static_cast<char>('a' + i));
            EXPECT_LE(files.numOpen(), 3U);
        }
    }
}

TEST(DescriptorCache, KeepsTheFileThatWasUsedLast)
{
    auto first = std::make_unique<TemporaryFile>("first");
    TemporaryFile const second("second");
    TemporaryFile const third("third");
    DescriptorCache files(2);
    std::string const path = first->path();
    char out = 0;
    files.read(path, 0, &out, 1);
    files.read(second.path(), 0, &out, 1);
    files.read(path, 0, &out, 1);
    files.read(third.path(), 0, &out, 1); // pushes out the second
    first.reset();                        // still open, so still readable
    files.read(path, 0, &out, 1);
    EXPECT_EQ(out, 'f');
}

TEST(DescriptorCache, NamesAFileThatIsMissing)
{
    DescriptorCache files;
    EXPECT_EQ(messageOf(files, "/nowhere/a.hdqfs", 0, 1),
              "Cannot open /nowhere/a.hdqfs: No such file or directory.");
}

TEST(DescriptorCache, ReportsAFileThatEndsTooEarly)
{
    TemporaryFile const file("abcd");
    DescriptorCache files;
    EXPECT_EQ(
        messageOf(files, file.path(), 2, 5),
        "Cannot read " + file.path() +
            ": the file ends at 4, 3 bytes too early. It may be damaged or still being written.");
}

TEST(DescriptorCache, RefusesALocationBeyondAnyFile)
{
    TemporaryFile const file("abcd");
    DescriptorCache files;
    EXPECT_NE(messageOf(files, file.path(), ~std::uint64_t{0}, 1).find("lies beyond the end"),
              std::string::npos);
}

}
}
