// The sessions that the fuzz targets hold: the files that a client names are there.

#include "fuzz/support/SessionRun.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace varnox::fuzz {
namespace {

std::string seed(std::string const& name)
{
    std::ifstream file(VNX_SOURCE_DIR "/fuzz/corpus/session/seed-" + name, std::ios::binary);
    EXPECT_TRUE(file.good());
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool comesToItsEnd(std::string const& stream)
{
    return serve(VNX_LIB_DIR "/vnxhdqfsloader.so",
                 reinterpret_cast<std::uint8_t const*>(stream.data()), stream.size());
}

/// With another name in its place, of as many letters, a file isn't found.
std::string withoutFile(std::string stream, std::string const& path)
{
    std::size_t const at = stream.find(path);
    EXPECT_NE(at, std::string::npos);
    stream[at + path.size() - 1] = 'x';
    return stream;
}

TEST(SessionRun, FindsTheSampleThatIsNamed)
{
    std::string const stream = seed("calculations");
    EXPECT_TRUE(comesToItsEnd(stream));
    EXPECT_FALSE(comesToItsEnd(withoutFile(stream, "data/ordered105")));
}

TEST(SessionRun, FindsEachSampleOfAList)
{
    std::string const stream = seed("calculationsOfSeveralFiles");
    EXPECT_TRUE(comesToItsEnd(stream));
    for (char const* const path : {"data/grid232", "data/solution232", "data/mixed232"})
        EXPECT_FALSE(comesToItsEnd(withoutFile(stream, path))) << path;
}

}
}
