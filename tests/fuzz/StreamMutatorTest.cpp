#include "fuzz/support/StreamMutator.h"

#include "tests/support/Wire.h"

#include <gtest/gtest.h>

#include <set>

namespace varnox::fuzz {
namespace {

using namespace tests::wire;

std::string const STREAM = text("load dataset") + text("data/a.hdqfs") + vec({u64(1), u64(2)});

std::string mutated(std::uint64_t seed, std::string const& stream = STREAM)
{
    std::string result = stream;
    StreamMutator(seed).mutate(result);
    return result;
}

/// Two messages can be put into few orders; twelve into many.
std::string manyMessages()
{
    std::string result = STREAM;
    for (std::uint64_t i = 0; i < 10; ++i)
        result += text("numSubzones") + u64(i);
    return result;
}

TEST(StreamMutator, ASeedAlwaysChangesAlike)
{
    for (std::uint64_t seed = 0; seed < 100; ++seed)
        EXPECT_EQ(mutated(seed), mutated(seed));
}

TEST(StreamMutator, StreamsBecomeShorterLongerAndOther)
{
    std::size_t shorter = 0;
    std::size_t longer = 0;
    std::set<std::string> all;
    for (std::uint64_t seed = 0; seed < 1000; ++seed) {
        std::string const stream = mutated(seed);
        shorter += stream.size() < STREAM.size();
        longer += stream.size() > STREAM.size();
        all.insert(mutated(seed, manyMessages()));
    }
    EXPECT_GT(shorter, 50U);
    EXPECT_GT(longer, 20U);
    EXPECT_GT(all.size(), 900U);
}

TEST(StreamMutator, CountsBecomeOtherNumbersWhileTheRestStays)
{
    std::size_t changed = 0;
    for (std::uint64_t seed = 0; seed < 1000; ++seed) {
        std::string const stream = mutated(seed);
        changed += stream.size() == STREAM.size() && stream.substr(8) == STREAM.substr(8) &&
                   stream != STREAM;
    }
    EXPECT_GT(changed, 10U);
}

TEST(StreamMutator, WholeMessagesAreMovedAndRepeated)
{
    std::string const load = text("load dataset") + text("data/a.hdqfs");
    std::string const query = text("numSubzones") + u64(1) + u32(2);
    std::size_t moved = 0;
    std::size_t repeated = 0;
    for (std::uint64_t seed = 0; seed < 2000; ++seed) {
        std::string stream = load + query;
        StreamMutator(seed).mutate(stream);
        moved += stream == query + load;
        repeated += stream == load + query + query || stream == load + load + query;
    }
    EXPECT_GT(moved, 2U);
    EXPECT_GT(repeated, 2U);
}

TEST(StreamMutator, ShortStreamsAreChangedToo)
{
    for (std::uint64_t seed = 0; seed < 1000; ++seed)
        for (std::size_t size = 0; size < 9; ++size) {
            std::string stream(size, 'x');
            StreamMutator(seed).mutate(stream);
            EXPECT_LE(stream.size(), 9U + 3 * 64);
        }
}

}
}
