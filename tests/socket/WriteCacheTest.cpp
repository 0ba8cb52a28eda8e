#include "varnox/socketutil/WriteCache.h"

#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <memory>
#include <thread>

namespace varnox::socketutil {
namespace {

using tests::bytesOf;
using tests::hex;

struct GoldenCase
{
    char const* name;
    void (*add)(WriteCache&);
    char const* bytes;
};

GoldenCase const goldenCases[] = {
    {"BoolTrue", [](WriteCache& c) { c.addBool(true); }, "01"},
    {"BoolFalse", [](WriteCache& c) { c.addBool(false); }, "00"},
    {"Int", [](WriteCache& c) { c.addInt(-2); }, "fe ff ff ff"},
    {"UInt8", [](WriteCache& c) { c.addUInt8(200); }, "c8"},
    {"Int16", [](WriteCache& c) { c.addInt16(-2); }, "fe ff"},
    {"UInt16", [](WriteCache& c) { c.addUInt16(0x1234); }, "34 12"},
    {"Int32", [](WriteCache& c) { c.addInt32(1); }, "01 00 00 00"},
    {"UInt32KeepsAllBits", [](WriteCache& c) { c.addUInt32(0xFFFFFFFE); }, "fe ff ff ff"},
    {"UInt64", [](WriteCache& c) { c.addUInt64(0x0102030405060708); }, "08 07 06 05 04 03 02 01"},
    {"Int64", [](WriteCache& c) { c.addInt64(-1); }, "ff ff ff ff ff ff ff ff"},
    {"Double", [](WriteCache& c) { c.addDouble(1.0); }, "00 00 00 00 00 00 f0 3f"},
    {"Float", [](WriteCache& c) { c.addFloat(1.0F); }, "00 00 80 3f"},
    {"StringWithZeroByte", [](WriteCache& c) { c.addString(std::string("a\0b", 3)); },
     "03 00 00 00 00 00 00 00 61 00 62"},
    {"EmptyString", [](WriteCache& c) { c.addString(""); }, "00 00 00 00 00 00 00 00"},
    {"IntVector",
     [](WriteCache& c) {
         c.addIntVector({1, -1});
     },
     "02 00 00 00 00 00 00 00 01 00 00 00 ff ff ff ff"},
    {"Int32VectorIsTheIntVector",
     [](WriteCache& c) {
         c.addInt32Vector({1, -1});
     },
     "02 00 00 00 00 00 00 00 01 00 00 00 ff ff ff ff"},
    {"BoolVector",
     [](WriteCache& c) {
         c.addBoolVector({true, false});
     },
     "02 00 00 00 00 00 00 00 01 00"},
    {"UInt8Vector",
     [](WriteCache& c) {
         c.addUInt8Vector({1, 255});
     },
     "02 00 00 00 00 00 00 00 01 ff"},
    {"Int16Vector", [](WriteCache& c) { c.addInt16Vector({-1}); }, "01 00 00 00 00 00 00 00 ff ff"},
    {"UInt16Vector", [](WriteCache& c) { c.addUInt16Vector({0x1234}); },
     "01 00 00 00 00 00 00 00 34 12"},
    {"UInt32Vector", [](WriteCache& c) { c.addUInt32Vector({0x12345678}); },
     "01 00 00 00 00 00 00 00 78 56 34 12"},
    {"Int64Vector", [](WriteCache& c) { c.addInt64Vector({-2}); },
     "01 00 00 00 00 00 00 00 fe ff ff ff ff ff ff ff"},
    {"FloatVector", [](WriteCache& c) { c.addFloatVector({1.0F}); },
     "01 00 00 00 00 00 00 00 00 00 80 3f"},
    {"DoubleVector", [](WriteCache& c) { c.addDoubleVector({1.0}); },
     "01 00 00 00 00 00 00 00 00 00 00 00 00 00 f0 3f"},
    {"StringVector",
     [](WriteCache& c) {
         c.addStringVector({"a", ""});
     },
     "02 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 61 00 00 00 00 00 00 00 00"},
    {"CommandWithAddresses",
     [](WriteCache& c) {
         c.addString("checkout");
         c.addUInt64Vector({0x10000020});
     },
     "08 00 00 00 00 00 00 00 63 68 65 63 6b 6f 75 74 01 00 00 00 00 00 00 00 20 00 00 10 00 00 00 "
     "00"},
};

class WriteCacheBytes : public testing::TestWithParam<GoldenCase>
{
};

TEST_P(WriteCacheBytes, AreTheGoldenBytes)
{
    WriteCache cache;
    GetParam().add(cache);
    EXPECT_EQ(bytesOf(cache), hex(GetParam().bytes));
    EXPECT_EQ(cache.size(), hex(GetParam().bytes).size());
}

INSTANTIATE_TEST_SUITE_P(Items, WriteCacheBytes, testing::ValuesIn(goldenCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(WriteCache, StartsEmpty)
{
    WriteCache const cache;
    EXPECT_EQ(cache.size(), 0U);
    EXPECT_TRUE(cache.pieces().empty());
}

TEST(WriteCache, KeepsTheOrderAcrossPieces)
{
    WriteCache cache;
    std::string expected;
    for (int i = 0; i < 400; ++i) {
        std::string const text(static_cast<std::size_t>(i) * 17, static_cast<char>('a' + i % 26));
        cache.addString(text);
        expected += tests::cached([&](WriteCache& c) { c.addUInt64(text.size()); }) + text;
    }
    EXPECT_GT(cache.pieces().size(), 3U);
    EXPECT_EQ(bytesOf(cache), expected);
    EXPECT_EQ(cache.size(), expected.size());
}

/// Adds text through room that the cache gave.
void extendBy(WriteCache& cache, std::string const& text)
{
    std::copy(text.begin(), text.end(), cache.extend(text.size()));
}

TEST(WriteCache, RoomThatItsUserFillsLiesInOrderAmongTheItems)
{
    WriteCache cache;
    std::string expected;
    for (std::size_t i = 0; i < 300; ++i) {
        std::string const text(i * i, static_cast<char>('a' + i % 26));
        extendBy(cache, text);
        cache.addUInt8('-');
        expected += text + '-';
        ASSERT_EQ(cache.size(), expected.size());
    }
    EXPECT_GT(cache.pieces().size(), 3U);
    EXPECT_EQ(bytesOf(cache), expected);
}

TEST(WriteCache, RoomIsInOnePieceHoweverLarge)
{
    WriteCache cache;
    cache.addUInt8(1);
    std::string const text(5'000'000, 'x');
    extendBy(cache, text);
    cache.addUInt8(2);
    EXPECT_EQ(bytesOf(cache), hex("01") + text + hex("02"));
}

TEST(WriteCache, AppendsAnotherAndItself)
{
    WriteCache first;
    first.addUInt8(1);
    WriteCache second;
    second.addUInt8(2);
    first.appendCache(second);
    first.appendCache(first);
    EXPECT_EQ(bytesOf(first), hex("01 02 01 02"));
    EXPECT_EQ(bytesOf(second), hex("02"));
}

TEST(WriteCache, AppendsALargeCacheToItself)
{
    WriteCache cache;
    cache.addUInt8Vector(std::vector<unsigned char>(2'000'000, 7));
    std::string const once = bytesOf(cache);
    cache.appendCache(cache);
    EXPECT_EQ(bytesOf(cache), once + once);
}

TEST(WriteCache, OneThatOutlivesItsThreadsStoreIsFreed)
{
    std::unique_ptr<WriteCache> cache;
    std::thread([&] {
        thread_local struct AtTheEnd
        {
            std::unique_ptr<WriteCache> last;
        } atTheEnd; // built ahead of the store, so destroyed behind it
        atTheEnd.last = std::make_unique<WriteCache>();
        atTheEnd.last->addUInt8Vector(std::vector<unsigned char>(4'000'000, 7));
        cache = std::make_unique<WriteCache>();
        cache->addUInt8Vector(std::vector<unsigned char>(4'000'000, 8));
    }).join();
    cache->addUInt8(9);
    EXPECT_EQ(cache->size(), 4'000'009U);
}

TEST(WriteCache, LargeBlocksAreUsedAgain)
{
    std::vector<double> const values(500'000, 1.5);
    unsigned char const* last = nullptr;
    for (int round = 0; round < 3; ++round) {
        WriteCache cache;
        cache.addDoubleVector(values);
        auto const pieces = cache.pieces();
        bool found = last == nullptr;
        for (auto const& piece : pieces)
            found = found || piece.data == last;
        EXPECT_TRUE(found);
        last = pieces.back().data;
    }
}

}
}
