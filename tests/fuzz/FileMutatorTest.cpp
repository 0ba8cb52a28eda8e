#include "fuzz/support/FileMutator.h"

#include "filedata/FileSetMetadata.h"
#include "filedata/Messages.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace varnox::fuzz {
namespace {

using hdqio::tests::build;
using hdqio::tests::FileSpec;

FileSpec oneZone()
{
    FileSpec spec;
    spec.zones[0].letter = 'O';
    spec.vars = {{"p", 4}, {"q", 1}};
    return spec;
}

std::uint64_t wordAt(std::string const& file, std::size_t at)
{
    std::uint64_t result = 0;
    std::memcpy(&result, file.data() + at, sizeof result);
    return result;
}

/// Changes nothing.
std::size_t keep(std::uint8_t*, std::size_t size, std::size_t)
{
    return size;
}

bool isRead(std::string const& bytes)
{
    hdqfsloader::tests::TemporaryFile const file(bytes);
    hdqio::MessageCapture const quiet;
    try {
        hdqio::FileSetMetadata set({file.path()});
        for (int z = 0; z < set.numFileSetZones(); ++z)
            set.zoneMetadata(0, z);
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

TEST(FileMutator, KnowsWhereLocationsStand)
{
    std::string const file = build(oneZone());
    auto const words = FileMutator::locationWords(file);
    // Of the header, of its arrays and of those of the zone header.
    ASSERT_GT(words.size(), 20U);
    EXPECT_EQ(words.front(), file.find('\n') + 1 + 8);
    for (std::size_t const at : words)
        EXPECT_LE(at + 8, file.size());
    EXPECT_LT(wordAt(file, words.front()), file.size());
}

TEST(FileMutator, KnowsNoLocationsInText)
{
    FileSpec spec = oneZone();
    spec.isAscii = true;
    EXPECT_TRUE(FileMutator::locationWords(build(spec)).empty());
    EXPECT_TRUE(FileMutator::locationWords("").empty());
    EXPECT_TRUE(FileMutator::locationWords("#!HDQFS 105BF\n").empty());
}

TEST(FileMutator, SameSeedMakesTheSameFile)
{
    std::string const file = build(oneZone());
    std::set<std::string> results;
    for (unsigned seed = 0; seed < 50; ++seed) {
        std::string first = file;
        std::string second = file;
        FileMutator(seed, keep).mutate(first, 8192);
        FileMutator(seed, keep).mutate(second, 8192);
        EXPECT_EQ(first, second);
        results.insert(first);
    }
    EXPECT_GT(results.size(), 30U);
}

TEST(FileMutator, KeepsToTheLargestSize)
{
    std::string const file = build(oneZone());
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::string changed = file;
        FileMutator(seed, keep).mutate(changed, file.size());
        EXPECT_LE(changed.size(), file.size());
    }
}

TEST(FileMutator, MakesManyFilesThatAreReadAndManyThatAreNot)
{
    for (bool const isText : {false, true}) {
        FileSpec spec = oneZone();
        spec.isAscii = isText;
        std::string const file = build(spec);
        ASSERT_TRUE(isRead(file));
        int numRead = 0;
        int numChanged = 0;
        for (unsigned seed = 0; seed < 400; ++seed) {
            std::string changed = file;
            FileMutator(seed, keep).mutate(changed, 16384);
            numChanged += changed != file;
            numRead += changed != file && isRead(changed);
        }
        EXPECT_GT(numChanged, 200);
        EXPECT_GT(numRead, 10);
        EXPECT_LT(numRead, numChanged - 40);
    }
}

}
}
