#include "filedata/DataSetGroups.h"
#include "filedata/FileSetMetadata.h"
#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "tests/filedata/AllocationMeter.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/filedata/OpenFile.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

/// Every file here is damaged in turn at every place. Reading it may end with an error or with
/// whatever the damaged file says, but always ends, inside its memory and without much of it.
namespace varnox::hdqio {
namespace {

using tests::AllocationMeter;
using tests::build;
using tests::FileSpec;
using tests::PartitionSpec;
using tests::ZoneSpec;

constexpr std::size_t MOST_MEMORY = std::size_t{64} << 20;

TEST(AllocationMeter, SeesVectorsAndStrings)
{
    AllocationMeter const meter;
    {
        LightweightVector<char> vector;
        ASSERT_TRUE(vector.alloc(100000));
        EXPECT_GE(meter.peak(), 100000U);
        EXPECT_LT(meter.peak(), 110000U);
        std::string const text(200000, 'x');
        EXPECT_GE(meter.peak(), 300000U);
    }
    LightweightVector<char> again;
    ASSERT_TRUE(again.alloc(100000));
    EXPECT_LT(meter.peak(), 320000U);
}

TEST(AllocationMeter, SeesBlocksOfZerosAndBlocksThatGrow)
{
    AllocationMeter const meter;
    void* volatile block = std::calloc(1000, 100);
    EXPECT_GE(meter.peak(), 100000U);
    EXPECT_LT(meter.peak(), 110000U);
    block = std::realloc(block, 300000);
    EXPECT_GE(meter.peak(), 300000U);
    EXPECT_LT(meter.peak(), 320000U);
    std::free(block);
}

/// A file on disk that is changed in place.
class ChangingFile
{
public:
    explicit ChangingFile(std::string const& contents)
        : m_file(contents), m_contents(contents), m_descriptor(::open(path().c_str(), O_RDWR))
    {
        EXPECT_GE(m_descriptor, 0);
    }
    ChangingFile(ChangingFile const&) = delete;
    ChangingFile& operator=(ChangingFile const&) = delete;
    ~ChangingFile() { ::close(m_descriptor); }

    std::string const& path() const { return m_file.path(); }
    void cutTo(std::size_t length)
    {
        EXPECT_EQ(::ftruncate(m_descriptor, static_cast<off_t>(length)), 0);
    }
    void overwrite(std::size_t at, std::string const& bytes)
    {
        std::string const part = bytes.substr(0, m_contents.size() - at);
        EXPECT_EQ(::pwrite(m_descriptor, part.data(), part.size(), static_cast<off_t>(at)),
                  static_cast<ssize_t>(part.size()));
    }
    void restore(std::size_t at, std::size_t count) { overwrite(at, m_contents.substr(at, count)); }

private:
    hdqfsloader::tests::TemporaryFile m_file;
    std::string m_contents;
    int m_descriptor;
};

/// Uses all that a zone says of itself.
void useZone(ZoneMetadata& zone)
{
    if (zone.numCellsPerSecPtn.isNull())
        return;
    socketutil::WriteCache cache;
    hdqlib::ZoneMetadataSerializer(zone).addToCache(cache);
    for (std::size_t p = 0; p < zone.numPartitions; ++p) {
        ASSERT_GE(zone.numNodesPerPtn[p], 0);
        ASSERT_LE(zone.numNszsPerPtn[p], MinMaxTree::MAX_ENTRIES);
        for (std::size_t s = 0; s < zone.numCellsPerSecPtn.size(); ++s) {
            ASSERT_GE(zone.numCellsPerSecPtn[s][p], 0);
            ASSERT_LE(zone.numCszsPerSecPtn[s][p], MinMaxTree::MAX_ENTRIES);
        }
    }
    for (MinMaxTree const& tree : zone.varMinMaxTrees)
        ASSERT_EQ(tree.levels[0].size(), zone.numPartitions);
}

/// Opens the file as a set and uses all of it. The text of the failure, if there is one.
std::string readSet(std::string const& path)
{
    MessageCapture const quiet;
    try {
        FileSetMetadata set({path});
        auto const numZones = static_cast<std::size_t>(set.numFileSetZones());
        std::int64_t sum = 0;
        for (std::size_t z = 0; z < numZones; ++z)
            sum += set.zoneShareConnectivity()[z];
        for (std::size_t v = 0; v < static_cast<std::size_t>(set.numFileSetVars()); ++v)
            for (std::size_t z = 0; z < numZones; ++z)
                sum += set.varZoneShareVar()[v][z];
        std::string failure;
        for (std::size_t z = 0; z < std::min<std::size_t>(numZones, 4); ++z) {
            try {
                useZone(set.zoneMetadata(0, static_cast<int>(z)));
            } catch (std::runtime_error const& error) {
                failure = error.what();
            }
        }
        EXPECT_LT(sum, std::int64_t{1} << 60);
        return failure;
    } catch (std::runtime_error const& error) {
        EXPECT_STRNE(error.what(), "");
        return error.what();
    }
}

using Action = std::function<std::string(std::string const& path)>;

/// Reads the file in its present state and watches over the memory. True if it is refused.
bool isRefused(Action const& action, ChangingFile const& file, std::string const& what)
{
    AllocationMeter const meter;
    bool const result = !action(file.path()).empty();
    EXPECT_LT(meter.peak(), MOST_MEMORY) << what;
    return result;
}

std::size_t cutEverywhere(std::string const& contents, std::size_t first, std::size_t last,
                          Action const& action)
{
    ChangingFile file(contents);
    std::size_t refused = 0;
    for (std::size_t length = last; length-- > first;) {
        file.cutTo(length);
        refused += isRefused(action, file, "cut to " + std::to_string(length));
    }
    return refused;
}

/// Words of 2, 4 and 8 bytes: nothing, all ones, the largest, the smallest, and somewhat large.
std::vector<std::string> const& extremeWords()
{
    static std::vector<std::string> const words = [] {
        std::vector<std::string> result;
        for (std::uint64_t const value :
             {std::uint64_t{0}, ~std::uint64_t{0}, std::uint64_t{0x7FFFFFFFFFFFFFFF},
              std::uint64_t{1} << 63, std::uint64_t{0x4000000000}, std::uint64_t{100000}})
            for (std::size_t size : {2U, 4U, 8U}) {
                std::string word(8, '\0');
                std::memcpy(word.data(), &value, 8);
                // The extremes of the narrow words are the upper bytes.
                result.push_back(value > 0x4000000000 ? word.substr(8 - size)
                                                      : word.substr(0, size));
            }
        std::sort(result.begin(), result.end());
        result.erase(std::unique(result.begin(), result.end()), result.end());
        return result;
    }();
    return words;
}

std::size_t overwriteWords(std::string const& contents, std::size_t last, std::size_t step,
                           Action const& action)
{
    ChangingFile file(contents);
    std::size_t refused = 0;
    for (std::size_t at = 0; at < std::min(last, contents.size()); at += step)
        for (std::string const& word : extremeWords()) {
            file.overwrite(at, word);
            refused += isRefused(action, file, "word at " + std::to_string(at));
            file.restore(at, word.size());
        }
    return refused;
}

/// Every number and word of a text file, replaced by others of the same width.
std::size_t overwriteTexts(std::string const& contents, std::size_t last, Action const& action)
{
    ChangingFile file(contents);
    std::size_t refused = 0;
    char const* const blanks = " \r\n";
    last = std::min(last, contents.size());
    for (std::size_t at = 0; at < last;) {
        std::size_t const end = std::min(contents.find_first_of(blanks, at), contents.size());
        std::size_t const next = std::min(contents.find_first_not_of(blanks, end), contents.size());
        // A number may spread over the columns that are kept for it.
        std::size_t const width = std::max<std::size_t>(end - at, next > end ? next - end - 1 : 0);
        for (std::string text : {"0", "-1", "9", "f", "2147483647", "99999", "9999999999999999999",
                                 "1e308", "nan", "x"}) {
            text.resize(std::max(width, std::size_t{1}), text.size() == 1 ? text[0] : ' ');
            file.overwrite(at, text);
            refused += isRefused(action, file, "text at " + std::to_string(at) + ": " + text);
            file.restore(at, text.size());
        }
        at = next;
    }
    return refused;
}

PartitionSpec partition(std::uint64_t minNode, std::uint64_t maxNode, std::uint64_t nodes,
                        std::vector<std::uint64_t> const& cells)
{
    PartitionSpec result;
    result.minNode = minNode;
    result.maxNode = maxNode;
    result.numNodes = nodes;
    result.numCells = cells;
    return result;
}

ZoneSpec zoneOf(char letter, std::uint64_t i, std::uint64_t j, std::uint64_t k)
{
    ZoneSpec result;
    result.letter = letter;
    result.i = i;
    result.j = j;
    result.k = k;
    return result;
}

struct Kind
{
    char const* name;
    FileSpec spec;
};

void PrintTo(Kind const& kind, std::ostream* out)
{
    *out << kind.name;
}

std::vector<Kind> kinds()
{
    std::vector<Kind> result;
    auto const add = [&](char const* name, char const* version, ZoneSpec const& zone) {
        FileSpec spec;
        spec.version = version;
        spec.title = "a title";
        spec.zones = {zone, zone};
        spec.vars = {{"p", 4}, {"q", 1}};
        result.push_back({name, spec});
    };
    add("Ordered", "105", zoneOf('O', 5, 4, 3));
    add("Plain", "104", zoneOf('b', 8, 1, 6));
    add("Bricks", "104", zoneOf('B', 300, 260, 6));
    ZoneSpec mixed = zoneOf('M', 300, 60, 0);
    mixed.sections = {{20, 4}, {40, 5}};
    add("Mixed", "106", mixed);
    mixed.partitions = {partition(0, 0, 100, {10, 20}), partition(0, 0, 200, {10, 20})};
    add("PartitionedMixed", "232", mixed);
    ZoneSpec bricks = zoneOf('T', 300, 60, 4);
    bricks.partitions = {partition(0, 0, 100, {30}), partition(0, 0, 200, {30})};
    add("PartitionedTetrahedra", "105", bricks);
    ZoneSpec boxes = zoneOf('O', 5, 4, 3);
    boxes.partitions = {partition(0, 57, 0, {}), partition(3, 59, 0, {})};
    add("PartitionedOrdered", "105", boxes);
    result.back().spec.vars = {{"p", 3}, {"q", 2}};
    ZoneSpec line = zoneOf('L', 100, 99, 0);
    line.partitions = {partition(0, 39, 0, {}), partition(40, 99, 0, {})};
    add("PartitionedLine", "231", line);
    return result;
}

class DamagedFiles : public testing::TestWithParam<Kind>
{
protected:
    static std::string contents(bool isAscii)
    {
        FileSpec spec = GetParam().spec;
        spec.isAscii = isAscii;
        return build(spec);
    }
};

INSTANTIATE_TEST_SUITE_P(DamagedFiles, DamagedFiles, testing::ValuesIn(kinds()),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_P(DamagedFiles, WholeOneIsRead)
{
    for (bool const isAscii : {false, true})
        EXPECT_EQ(readSet(ChangingFile(contents(isAscii)).path()), "");
}

/// All that is sent of the zones of a file.
std::string zonesOf(std::string const& path)
{
    FileSetMetadata set({path});
    socketutil::WriteCache cache;
    for (int z = 0; z < set.numFileSetZones(); ++z) {
        ZoneMetadata& zone = set.zoneMetadata(0, z);
        cache.addString(zone.zoneName);
        if (zone.isHdqZone)
            hdqlib::ZoneMetadataSerializer(zone).addToCache(cache);
        else
            cache.addUInt64(zone.classicVarFileLocs[0]);
    }
    return varnox::tests::bytesOf(cache);
}

TEST_P(DamagedFiles, BothFormsReadAlikeWhileWhole)
{
    std::string const binary = zonesOf(ChangingFile(contents(false)).path());
    EXPECT_GT(binary.size(), 20U);
    EXPECT_EQ(binary, zonesOf(ChangingFile(contents(true)).path()));
}

TEST_P(DamagedFiles, BinaryFileIsCutEverywhere)
{
    // The tag list of the data set, which every file needs, is its end.
    std::string const whole = contents(false);
    EXPECT_EQ(cutEverywhere(whole, 0, whole.size(), readSet), whole.size());
}

TEST_P(DamagedFiles, TextFileIsCutEverywhere)
{
    std::string const whole = contents(true);
    std::size_t const lastValue = whole.find_last_not_of(" \r\n") - 15;
    EXPECT_EQ(cutEverywhere(whole, 0, lastValue, readSet), lastValue);
}

TEST_P(DamagedFiles, EveryWordOfABinaryFileIsOverwritten)
{
    std::string const whole = contents(false);
    EXPECT_GT(overwriteWords(whole, whole.size(), 1, readSet), 1000U);
}

TEST_P(DamagedFiles, EveryNumberAndWordOfATextFileIsOverwritten)
{
    std::string const whole = contents(true);
    EXPECT_GT(overwriteTexts(whole, whole.size(), readSet), 1000U);
}

std::string sample(std::string const& name)
{
    std::ostringstream text;
    text << std::ifstream(std::string(VNX_SOURCE_DIR) + "/examples/data/" + name + ".hdqfs",
                          std::ios::binary)
                .rdbuf();
    return text.str();
}

TEST(DamagedSamples, WordsOfTheHeadersAreOverwritten)
{
    for (char const* name : {"tjunction_grid", "tjunction_t05", "tankbox_partitions"})
        EXPECT_GT(overwriteWords(sample(name), 1300, 2, readSet), 300U) << name;
}

TEST(DamagedSamples, NumbersAndWordsOfTheTextHeadersAreOverwritten)
{
    for (char const* name : {"tjunction_ascii_grid", "tjunction_ascii_t05"})
        EXPECT_GT(overwriteTexts(sample(name), 9000, readSet), 300U) << name;
}

TEST(DamagedSamples, FilesAreCutInTheirHeaders)
{
    for (char const* name : {"tjunction_grid", "tankbox_partitions"})
        EXPECT_GT(cutEverywhere(sample(name), 0, 1100, readSet), 600U) << name;
}

// Groups.

void addText(tests::FileBuilder& file, char const* lengthWord, char const* word,
             std::string const& text)
{
    file.value<std::uint32_t>(lengthWord, static_cast<std::uint32_t>(text.size()));
    file.string(word, text);
}

std::string auxDataFile(bool isAscii)
{
    tests::FileBuilder file(isAscii ? "105TF" : "105BF");
    std::uint64_t const start = file.marker("auxData*", 0x11121314);
    file.value<std::uint32_t>("numAuxData", 2);
    for (int i = 0; i < 2; ++i) {
        file.value<std::uint8_t>("auxDataLocation", 1);
        file.value<std::uint32_t>("auxDataEntity", 2);
        addText(file, "auxDataNameLength", "auxDataName", "name");
        file.value<std::uint8_t>("auxDataType", 1);
        addText(file, "auxDataValueLength", "auxDataValue", "value");
    }
    return file.file(0).substr(static_cast<std::size_t>(start));
}

std::string labelFile(bool isAscii)
{
    tests::FileBuilder file(isAscii ? "105TF" : "105BF");
    std::uint64_t const start = file.marker("customLabels*", 0x14151617);
    file.value<std::uint32_t>("numCustomLabelSets", 2);
    for (int i = 0; i < 2; ++i) {
        file.value<std::uint32_t>("numLabels", 2);
        file.strings("customLabelSet", {"Monday", "Tuesday"});
    }
    return file.file(0).substr(static_cast<std::size_t>(start));
}

template <typename Entry>
Action groupReader(bool isAscii,
                   char (*readCount)(FileReaderInterface&, TagMap const&, std::uint32_t&),
                   std::function<char(FileReaderInterface&, LightweightVector<Entry>&)> const& read)
{
    return [=](std::string const& path) -> std::string {
        MessageCapture const messages;
        FileStreamReader reader(path);
        EXPECT_TRUE(reader.open());
        reader.setIsAscii(isAscii);
        std::uint32_t count = 0;
        LightweightVector<Entry> out;
        if (readCount(reader, {}, count) && out.alloc(count) && read(reader, out))
            return "";
        return "refused";
    };
}

TEST(DamagedGroups, AreOverwrittenEverywhere)
{
    for (bool const isAscii : {false, true}) {
        Action const readAux =
            groupReader<AuxData>(isAscii, readAuxDataCount, [](auto& reader, auto& out) {
                return readAuxData(reader, {}, 0, 0, 0, out);
            });
        Action const readLabels = groupReader<CustomLabelSet>(
            isAscii, readCustomLabelsCount, [](auto& reader, auto& out) {
                std::uint32_t start = 0;
                return readCustomLabels(reader, {}, start, out);
            });
        std::string const aux = auxDataFile(isAscii);
        std::string const labels = labelFile(isAscii);
        EXPECT_EQ(readAux(ChangingFile(aux).path()), "");
        EXPECT_EQ(readLabels(ChangingFile(labels).path()), "");
        if (isAscii) {
            EXPECT_GT(overwriteTexts(aux, aux.size(), readAux), 100U);
            EXPECT_GT(overwriteTexts(labels, labels.size(), readLabels), 50U);
        } else {
            EXPECT_GT(overwriteWords(aux, aux.size(), 1, readAux), 100U);
            EXPECT_GT(overwriteWords(labels, labels.size(), 1, readLabels), 50U);
        }
    }
}

}
}
