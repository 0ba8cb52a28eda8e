// Small files that ask for much. Reading one of n bytes may take 64 MiB and 2 n of memory, and a
// second of processor time and another one for each 10 MB.

#include "addons/hdqfs/AnnotationReader.h"
#include "addons/hdqfs/Annotations.h"
#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/Loading.h"
#include "filedata/FileSetMetadata.h"
#include "filedata/Messages.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "tests/bounds/LyingFile.h"
#include "tests/filedata/AllocationMeter.h"
#include "tests/hdqfs/RecordingEngine.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "tools/vnxinfo/Check.h"
#include "tools/vnxinfo/JsonReport.h"
#include "tools/vnxinfo/RawTags.h"
#include "tools/vnxinfo/TreeReport.h"
#include "varnox/hdqfswriter/FileWriter.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include <ctime>

namespace varnox::hdqfsloader {
namespace {

using hdqio::tests::AllocationMeter;
using hdqio::tests::FileBuilder;
using hdqio::tests::headerOfVariables;
using hdqio::tests::LyingFile;
using tests::TemporaryFile;
using Tags = std::vector<FileBuilder::Tag>;

#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
constexpr double SLOWNESS = 4;
constexpr std::uint64_t MANY = 100; ///< Of what takes a sanitizer ten to fifty times as long.
#else
constexpr double SLOWNESS = 1;
constexpr std::uint64_t MANY = 1000;
#endif

double secondsOfProcessor()
{
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// What is wrong, or nothing. All that is thrown has to have a text.
std::string failureOf(std::function<void()> const& action)
{
    try {
        action();
        return "";
    } catch (std::exception const& error) {
        EXPECT_STRNE(error.what(), "");
        return error.what();
    }
}

/// Runs an action for each of a number of items, of which some may fail. Gives the first complaint.
std::string firstFailure(std::uint32_t count, std::function<void(std::uint32_t)> const& action)
{
    std::string result;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::string const failure = failureOf([&] { action(i); });
        if (result.empty())
            result = failure;
    }
    return result;
}

/// Holds what is done with a file to its bounds.
std::string withinBounds(std::string const& contents,
                         std::function<std::string(std::string const& path)> const& action)
{
    TemporaryFile const file(contents);
    hdqio::MessageCapture const quiet;
    double const start = secondsOfProcessor();
    std::size_t peak = 0;
    std::string failure;
    {
        AllocationMeter const meter;
        failure = action(file.path());
        peak = meter.peak();
    }
    auto const n = static_cast<double>(contents.size());
    EXPECT_LE(static_cast<double>(peak), 64.0 * 1024 * 1024 + 2 * n)
        << "memory for a file of " << n << " bytes";
    EXPECT_LE(secondsOfProcessor() - start, SLOWNESS * (1 + n / 1e7))
        << "seconds for a file of " << n << " bytes";
    return failure;
}

/// Takes in what a loader hands over, and only counts it.
class CountingEngine : public VnxMock
{
public:
    std::uint64_t numValues = 0;
    std::uint64_t numLabels = 0;

    void VnxUtilDataValueArraySetByRef(FieldData_s*, long, long count, void const*) override
    {
        numValues += static_cast<std::uint64_t>(count);
    }
    void VnxUtilDataNodeArraySetByRef(ElemToNodeMap*, long, long, int const*) override {}
};

std::string raw(std::size_t count, char c)
{
    return std::string(count, c);
}

/// The tags of a zone of bricks in one partition, of n subzones of cells and as many of nodes.
Tags tablesOfBricks(FileBuilder& file, std::size_t n)
{
    std::uint64_t const locs = file.raw(raw(8 * n, '\1'));
    return {{1281, "", locs}, {1280, "", locs}, {1285, "", locs}, {1286, "", locs}};
}

LyingFile manyBrickZones()
{
    constexpr std::size_t SUBZONES = 30'000;
    LyingFile lie;
    lie.numZones = 1000;
    lie.letter = 'B';
    lie.i = SUBZONES * 256;
    lie.j = SUBZONES * 256;
    lie.header = [](FileBuilder& file) {
        return headerOfVariables(file, 1, 64, tablesOfBricks(file, SUBZONES));
    };
    return lie;
}

TEST(CostOfFiles, NodeTablesOfManyZones)
{
    LyingFile lie;
    lie.numZones = 2000;
    lie.i = 65'536;
    EXPECT_EQ(withinBounds(lie.contents(),
                           [&](std::string const& path) {
                               DataFile file(path);
                               return firstFailure(file.numZones(), [&](auto z) { file.zone(z); });
                           }),
              "");
}

TEST(CostOfFiles, TablesThatManyZonesShare)
{
    std::string const failure =
        withinBounds(manyBrickZones().contents(), [](std::string const& path) {
            DataFile file(path);
            return firstFailure(file.numZones(), [&](auto z) { file.zone(z); });
        });
    EXPECT_NE(failure.find("too short for the headers"), std::string::npos) << failure;
}

TEST(CostOfFiles, TablesThatManyZonesOfAFileSetShare)
{
    std::string const failure =
        withinBounds(manyBrickZones().contents(), [](std::string const& path) {
            hdqio::FileSetMetadata files({path});
            return firstFailure(1000, [&](auto z) { files.zoneMetadata(0, static_cast<int>(z)); });
        });
    EXPECT_NE(failure, "");
}

/// Partitions of bricks whose headers are one.
LyingFile manyPartitions()
{
    constexpr std::size_t SUBZONES = 20'000;
    constexpr std::size_t PARTITIONS = 1000;
    LyingFile lie;
    lie.letter = 'B';
    lie.i = PARTITIONS * SUBZONES * 256;
    lie.j = lie.i;
    lie.header = [](FileBuilder& file) {
        std::uint64_t const bits = file.raw(raw(SUBZONES, '\0'));
        Tags tags = tablesOfBricks(file, SUBZONES);
        tags.push_back({1287, "", bits});
        tags.push_back({1288, "", bits});
        std::uint64_t const partition = headerOfVariables(file, 1, 64, tags);
        std::string locs;
        std::string counts;
        std::uint32_t const items = SUBZONES * 256;
        for (std::size_t p = 0; p < PARTITIONS; ++p) {
            locs.append(reinterpret_cast<char const*>(&partition), sizeof(partition));
            counts.append(reinterpret_cast<char const*>(&items), sizeof(items));
        }
        std::uint64_t const countsLoc = file.raw(counts);
        std::uint64_t const zeros = file.raw(raw(8 * PARTITIONS, '\0'));
        return headerOfVariables(file, 1, 64,
                                 {{1792, "", PARTITIONS},
                                  {1793, "", zeros},
                                  {1794, "", file.raw(locs)},
                                  {1795, "", countsLoc},
                                  {1796, "", countsLoc},
                                  {1797, "", zeros}});
    };
    return lie;
}

TEST(CostOfFiles, HeaderThatManyPartitionsShare)
{
    std::string const failure =
        withinBounds(manyPartitions().contents(), [](std::string const& path) {
            DataFile file(path);
            std::string const ofZone = failureOf([&] { file.zone(0); });
            EXPECT_EQ(ofZone, "");
            return firstFailure(1000, [&](auto p) { file.partition(0, p); });
        });
    EXPECT_NE(failure.find("too short for the headers"), std::string::npos) << failure;
}

TEST(CostOfFiles, CheckOfAHeaderThatManyPartitionsShare)
{
    withinBounds(manyPartitions().contents(), [](std::string const& path) {
        EXPECT_FALSE(tools::findFaults(path).isEmpty());
        return std::string();
    });
}

/// All ones: at each byte of it begins a list of 65535 tags that nobody knows.
LyingFile manyUnknownTags()
{
    LyingFile lie;
    lie.numZones = 2000;
    lie.header = [](FileBuilder& file) { return file.raw(raw(700'000, '\xFF')); };
    return lie;
}

TEST(CostOfFiles, UnknownTagsInTheHeadersOfManyZones)
{
    std::string const failure =
        withinBounds(manyUnknownTags().contents(), [](std::string const& path) {
            DataFile const file(path);
            return failureOf([&] { zonesWithFaceNeighbors(file); });
        });
    EXPECT_NE(failure.find("too short for the headers"), std::string::npos) << failure;
}

TEST(CostOfFiles, CheckOfUnknownTagsInTheHeadersOfManyZones)
{
    withinBounds(manyUnknownTags().contents(), [](std::string const& path) {
        EXPECT_FALSE(tools::findFaults(path).isEmpty());
        return std::string();
    });
}

/// Whole layers of an ordered zone: the first and the last.
using Layers = std::pair<std::uint64_t, std::uint64_t>;

TEST(CostOfFiles, HeaderThatIsAskedForAgainAndAgainCountsOnce)
{
    LyingFile lie;
    lie.letter = 'o'; // which is read each time
    lie.header = [](FileBuilder& file) {
        std::uint64_t const locs = file.raw(raw(8, '\1'));
        return file.tagList(Tags(20'000, {1536, "", locs}));
    };
    TemporaryFile const plain(lie.contents());
    hdqio::FileSetMetadata files({plain.path()});
    EXPECT_EQ(firstFailure(50, [&](auto) { files.zoneMetadata(0, 0); }), "");
    lie.header = [](FileBuilder& file) { return file.raw(raw(200'000, '\xFF')); };
    TemporaryFile const damaged(lie.contents());
    DataFile file(damaged.path());
    std::string const failure = firstFailure(1, [&](auto) { file.zone(0); });
    hdqio::MessageCapture const quiet;
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(firstFailure(1, [&](auto) { file.zone(0); }), failure);
}

/// An ordered zone of 2 x 2 x K nodes in partitions, which have one header.
LyingFile orderedPartitions(std::uint64_t numLayers, std::vector<Layers> const& ends)
{
    LyingFile lie;
    lie.i = 2;
    lie.j = 2;
    lie.k = numLayers;
    lie.header = [ends](FileBuilder& file) {
        std::uint64_t const partition = headerOfVariables(file, 1, 64);
        std::string locs;
        std::string low;
        std::string high;
        for (auto const& [firstLayer, lastLayer] : ends) {
            std::uint64_t const first = 4 * firstLayer;
            std::uint64_t const last = 4 * lastLayer + 3;
            locs.append(reinterpret_cast<char const*>(&partition), sizeof(partition));
            low.append(reinterpret_cast<char const*>(&first), sizeof(first));
            high.append(reinterpret_cast<char const*>(&last), sizeof(last));
        }
        std::uint64_t const zeros = file.raw(raw(8 * ends.size(), '\0'));
        std::uint64_t const locsLoc = file.raw(locs);
        std::uint64_t const lowLoc = file.raw(low);
        std::uint64_t const highLoc = file.raw(high);
        return headerOfVariables(file, 1, 64,
                                 {{1792, "", ends.size()},
                                  {1793, "", zeros},
                                  {1794, "", locsLoc},
                                  {1797, "", zeros},
                                  {1798, "", lowLoc},
                                  {1799, "", highLoc}});
    };
    return lie;
}

std::string loadAllValues(std::string const& path, std::size_t fileBytes)
{
    DataSet dataSet({path});
    CountingEngine engine;
    std::string const failure = failureOf([&] { sendValues(dataSet, 0, 0, nullptr); });
    EXPECT_LE(engine.numValues * 4, fileBytes);
    return failure;
}

TEST(CostOfFiles, ValuesInAGapBetweenPartitions)
{
    constexpr std::uint64_t HALF = 25'000'000;
    // The sums of nodes and cells are those of the zone.
    LyingFile const lie = orderedPartitions(
        2 * HALF, {{HALF, 2 * HALF - 2}, {HALF, 2 * HALF - 1}, {2 * HALF - 9, 2 * HALF - 9}});
    std::string const contents = lie.contents();
    std::string const failure = withinBounds(
        contents, [&](std::string const& path) { return loadAllValues(path, contents.size()); });
    EXPECT_NE(failure.find("too short for the 200000000 values"), std::string::npos) << failure;
}

TEST(CostOfFiles, ValuesThatManyPartitionsShare)
{
    constexpr std::uint64_t EACH = 25'000;
    std::vector<Layers> ends;
    for (std::uint64_t p = 0; p < 4000; ++p)
        ends.push_back({p * EACH, (p + 1) * EACH - 1});
    LyingFile lie = orderedPartitions(EACH * ends.size(), ends);
    lie.groups = [](FileBuilder& file) {
        file.raw(raw(4 * EACH * 24, '\0'));
        return Tags();
    };
    std::string const contents = lie.contents();
    std::string const failure = withinBounds(
        contents, [&](std::string const& path) { return loadAllValues(path, contents.size()); });
    EXPECT_NE(failure.find("too short for the 400000000 values"), std::string::npos) << failure;
}

TEST(CostOfFiles, ManyPartitionsOfAFewNodes)
{
    std::vector<Layers> ends;
    for (std::uint64_t p = 0; p < 300'000; ++p)
        ends.push_back({p, p});
    std::string const contents = orderedPartitions(ends.size(), ends).contents();
    std::string const failure = withinBounds(contents, [](std::string const& path) {
        DataFile file(path);
        return failureOf([&] { file.zone(0); });
    });
    EXPECT_NE(failure.find("too short for the 300000 partitions"), std::string::npos) << failure;
    withinBounds(contents, [](std::string const& path) {
        hdqio::FileSetMetadata files({path});
        return failureOf([&] { files.zoneMetadata(0, 0); });
    });
}

/// Asks for the metadata of a file's first zone, as a client does.
std::string askForMetadata(std::string const& path)
{
    hdqio::FileSetMetadata files({path});
    return failureOf([&] {
        socketutil::WriteCache answer;
        hdqlib::ZoneMetadataSerializer(files.zoneMetadata(0, 0)).addToCache(answer);
    });
}

TEST(CostOfFiles, PartitionsThatAPlainZoneOnlyClaims)
{
    for (char const letter : {'o', 'b', 'p'}) {
        LyingFile lie;
        lie.letter = letter;
        lie.header = [](FileBuilder& file) {
            return headerOfVariables(file, 1, 64, {{1792, "", 1 << 23}});
        };
        EXPECT_EQ(withinBounds(lie.contents(), askForMetadata),
                  "Error reading zone metadata for zone 0.");
    }
}

TEST(CostOfFiles, SectionsWithoutCountsInManyPartitions)
{
    constexpr std::uint64_t PARTITIONS = 40'000; // of one node each
    constexpr std::uint64_t SECTIONS = 255;      // and of these one has counts
    std::string numbers;
    for (std::uint64_t p = 0; p < PARTITIONS; ++p)
        numbers.append(reinterpret_cast<char const*>(&p), sizeof(p));
    LyingFile lie;
    lie.letter = 'M';
    lie.version = "232BF";
    lie.i = PARTITIONS;
    lie.j = PARTITIONS - 1;
    lie.k = 2;
    lie.header = [&](FileBuilder& file) {
        std::uint64_t const zeros = file.raw(raw(24 * PARTITIONS, '\0'));
        std::uint64_t const nodes = file.raw(numbers);
        return headerOfVariables(file, 1, 64,
                                 {{1792, "", PARTITIONS},
                                  {1793, "", zeros},
                                  {1794, "", nodes},
                                  {1797, "", zeros},
                                  {1798, "", nodes},
                                  {1799, "", nodes}});
    };
    lie.groups = [](FileBuilder& file) {
        std::uint64_t const twos = file.raw(raw(SECTIONS, '\2'));
        return Tags{{269, "", file.raw(raw(1, static_cast<char>(SECTIONS)))},
                    {270, "", file.raw(raw(8 * SECTIONS, '\0'))},
                    {271, "", twos},
                    {272, "", twos},
                    {273, "", twos}};
    };
    EXPECT_EQ(withinBounds(lie.contents(), askForMetadata),
              "Error reading zone metadata for zone 0.");
}

TEST(CostOfFiles, RangesOfManyVariablesInManyPartitions)
{
    constexpr std::uint64_t VARS = 1000;
    std::vector<Layers> ends;
    for (std::uint64_t p = 0; p < 2800; ++p)
        ends.push_back({p, p});
    LyingFile lie = orderedPartitions(ends.size(), ends);
    lie.numVars = VARS;
    lie.valueType = 5; // ranges of two bytes
    lie.groups = [&](FileBuilder& file) {
        file.raw(raw(2 * VARS * ends.size(), '\0'));
        return Tags();
    };
    EXPECT_EQ(withinBounds(lie.contents(), askForMetadata),
              "Error reading zone metadata for zone 0.");
}

TEST(CostOfFiles, SomePartitionsOfAFewNodes)
{
    std::vector<Layers> ends;
    for (std::uint64_t p = 0; p < 60'000; ++p)
        ends.push_back({p, p});
    EXPECT_EQ(withinBounds(orderedPartitions(ends.size(), ends).contents(),
                           [](std::string const& path) {
                               DataFile file(path);
                               return failureOf([&] { file.zone(0); });
                           }),
              "");
}

std::string readGroups(std::string const& path)
{
    DataFile const file(path);
    FileAnnotations const annotations = readAnnotations(file);
    return annotations.complaints.empty() ? "" : annotations.complaints.front();
}

TEST(CostOfFiles, LabelsWithoutLetters)
{
    LyingFile lie;
    lie.groups = [](FileBuilder& file) {
        constexpr std::uint32_t SETS = 8;
        constexpr std::uint32_t LABELS = 500'000;
        std::uint64_t const start = file.value<std::uint32_t>("", SETS);
        for (std::uint32_t s = 0; s < SETS; ++s) {
            file.value<std::uint32_t>("", LABELS);
            file.value<std::uint64_t>("", LABELS);
            file.raw(raw(LABELS, '\r'));
        }
        return Tags{{9, "", start}};
    };
    std::string const failure = withinBounds(lie.contents(), readGroups);
    EXPECT_NE(failure.find("too short for the"), std::string::npos) << failure;
}

TEST(CostOfFiles, AuxiliaryDataWithoutLetters)
{
    LyingFile lie;
    lie.groups = [](FileBuilder& file) {
        constexpr std::uint32_t COUNT = 3'000'000;
        std::uint64_t const start = file.value<std::uint32_t>("", COUNT);
        file.raw(raw(std::size_t{COUNT} * 14, '\0'));
        return Tags{{7, "", start}};
    };
    std::string const failure = withinBounds(lie.contents(), readGroups);
    EXPECT_NE(failure.find("too short for the"), std::string::npos) << failure;
}

TEST(CostOfFiles, SegmentsWithoutPoints)
{
    LyingFile lie;
    lie.groups = [](FileBuilder& file) {
        constexpr std::uint32_t COUNT = 6'000'000;
        constexpr std::size_t FIELDS = 3 * 8 + 1 + 1 + 4 + 2 + 2 + 1;
        constexpr std::size_t MORE_FIELDS = 1 + 8 + 8 + 2 + 1 + 1 + 8 + 8 + 1 + 1 + 4;
        std::uint64_t const start = file.value<std::uint32_t>("", 1);
        file.raw(raw(FIELDS, '\0') + '\0' + raw(MORE_FIELDS, '\0'));
        file.value<std::uint32_t>("", COUNT);
        file.raw(raw(std::size_t{COUNT} * 4, '\0'));
        return Tags{{8, "", start}};
    };
    std::string const failure = withinBounds(lie.contents(), readGroups);
    EXPECT_NE(failure.find("too short for the"), std::string::npos) << failure;
}

TEST(CostOfFiles, VariablesWithoutLettersAndZones)
{
    LyingFile lie;
    lie.numZones = 0;
    lie.groups = [](FileBuilder& file) {
        constexpr std::uint64_t COUNT = 4'000'000;
        std::uint64_t const start = file.value<std::uint64_t>("", COUNT);
        file.raw(raw(COUNT, '\r'));
        return Tags{{2, "", COUNT}, {512, "", start}};
    };
    std::string contents = lie.contents();
    withinBounds(contents, [](std::string const& path) {
        return failureOf([&] { DataFile const file(path); });
    });
}

/// Each zone shares what the one before it has.
LyingFile chainOfShares(std::uint64_t numZones)
{
    LyingFile lie;
    lie.numZones = numZones;
    lie.shareConnectivity.resize(numZones);
    std::iota(lie.shareConnectivity.begin(), lie.shareConnectivity.end(), -1);
    lie.shareVar = lie.shareConnectivity;
    lie.groups = [numZones](FileBuilder& file) {
        file.raw(raw(20 * numZones, '\0'));
        return Tags();
    };
    return lie;
}

TEST(CostOfFiles, ChainOfSharesThroughManyZones)
{
    withinBounds(chainOfShares(100'000).contents(), [](std::string const& path) {
        DataSet const dataSet({path});
        return std::string();
    });
}

TEST(CostOfFiles, CheckOfAChainOfSharesThroughManyZones)
{
    withinBounds(chainOfShares(40'000).contents(), [](std::string const& path) {
        tools::findFaults(path);
        return std::string();
    });
}

TEST(CostOfFiles, CheckOfABlockThatManyVariablesShare)
{
    constexpr std::uint64_t NODES = 60'000; // each is a subzone
    LyingFile lie;
    lie.numVars = 500;
    lie.i = NODES;
    lie.header = [](FileBuilder& file) {
        std::uint64_t const block = file.raw(raw(2 * 8 * 2 * (NODES + 1) + 4 * NODES, '\0'));
        return headerOfVariables(file, 500, block);
    };
    withinBounds(lie.contents(), [](std::string const& path) {
        EXPECT_FALSE(tools::findFaults(path).isEmpty());
        return std::string();
    });
}

/// Bricks whose corners are nodes of all subzones, as if nodes were numbered at random.
class ScatteredBricks final : public hdqfswriter::ZoneSource
{
public:
    static constexpr std::uint64_t NODE_SUBZONES = 2048;
    static constexpr std::uint64_t NODES = NODE_SUBZONES * 256;
    static constexpr std::uint64_t BRICKS = std::uint64_t{100} * 256;

    void const* values(std::uint32_t, std::uint32_t, void* buffer) override
    {
        auto* const out = static_cast<std::uint8_t*>(buffer);
        for (std::uint64_t n = 0; n < NODES; ++n)
            out[n] = static_cast<std::uint8_t>(n % 251);
        return buffer;
    }

    std::uint64_t const* cells(std::uint32_t, std::uint32_t, std::uint64_t* buffer) override
    {
        for (std::uint64_t corner = 0; corner < 8 * BRICKS; ++corner)
            buffer[corner] = corner % NODE_SUBZONES * 256 + corner / NODE_SUBZONES % 256;
        return buffer;
    }

    double const* positions(std::uint32_t, double*) override { return nullptr; }
};

std::string contentsOf(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

hdqfswriter::DataSet dataSetOfScatteredBricks(std::size_t numVars)
{
    hdqfswriter::Zone zone;
    zone.name = "scattered";
    zone.type = hdqfswriter::ZoneType::Brick;
    zone.partitions.push_back({{}, ScatteredBricks::NODES, {ScatteredBricks::BRICKS}});
    zone.variables.assign(numVars, {hdqfswriter::ValueType::Byte});
    zone.source = std::make_shared<ScatteredBricks>();
    hdqfswriter::DataSet result;
    for (std::size_t v = 0; v < numVars; ++v)
        result.variableNames.push_back("v" + std::to_string(v));
    result.zones = {zone};
    return result;
}

void checkWithinBounds(hdqfswriter::DataSet const& dataSet)
{
    TemporaryFile const written("");
    hdqfswriter::writeFile(written.path(), dataSet);
    withinBounds(contentsOf(written.path()), [](std::string const& path) {
        EXPECT_TRUE(tools::findFaults(path).isEmpty());
        return std::string();
    });
}

TEST(CostOfFiles, CheckOfCellsThatReferToManyNodeSubzones)
{
    checkWithinBounds(dataSetOfScatteredBricks(12));
}

TEST(CostOfFiles, CheckOfManyVariablesAtScatteredNodes)
{
    checkWithinBounds(dataSetOfScatteredBricks(100));
}

/// Bricks on the nodes of eight subzones, of which each has those of all.
class BricksOnFewNodes final : public hdqfswriter::ZoneSource
{
public:
    static constexpr std::uint64_t NODES = std::uint64_t{8} * 256;

    explicit BricksOnFewNodes(std::uint64_t numBricks) : m_numBricks(numBricks) {}

    void const* values(std::uint32_t, std::uint32_t, void* buffer) override
    {
        auto* const out = static_cast<std::uint8_t*>(buffer);
        for (std::uint64_t n = 0; n < NODES; ++n)
            out[n] = static_cast<std::uint8_t>(n);
        return buffer;
    }

    std::uint64_t const* cells(std::uint32_t, std::uint32_t, std::uint64_t* buffer) override
    {
        for (std::uint64_t corner = 0; corner < 8 * m_numBricks; ++corner)
            buffer[corner] = corner % NODES;
        return buffer;
    }

    double const* positions(std::uint32_t, double*) override { return nullptr; }

private:
    std::uint64_t m_numBricks;
};

hdqfswriter::DataSet dataSetOnFewNodes(std::uint64_t numCellSubzones, std::size_t numVars)
{
    hdqfswriter::DataSet result = dataSetOfScatteredBricks(numVars);
    hdqfswriter::Zone& zone = result.zones.front();
    std::uint64_t const numBricks = numCellSubzones * 256;
    zone.partitions = {{{}, BricksOnFewNodes::NODES, {numBricks}}};
    zone.source = std::make_shared<BricksOnFewNodes>(numBricks);
    return result;
}

TEST(CostOfFiles, CheckOfManyVariablesOfManyCellsOnFewNodes)
{
    checkWithinBounds(dataSetOnFewNodes(MANY, 1000));
}

TEST(CostOfFiles, CheckOfManyZonesThatShareManyCellsOnFewNodes)
{
    hdqfswriter::DataSet dataSet = dataSetOnFewNodes(MANY, 1);
    hdqfswriter::Zone sharing = dataSet.zones.front();
    sharing.connectivityFrom = 0;
    dataSet.zones.resize(250, sharing);
    checkWithinBounds(dataSet);
}

TEST(CostOfFiles, CheckOfManyZonesThatShareTheirCellsAndHaveNoValues)
{
    hdqfswriter::DataSet dataSet = dataSetOfScatteredBricks(1);
    hdqfswriter::Zone sharing = dataSet.zones.front();
    sharing.connectivityFrom = 0;
    sharing.variables.front().isPassive = true;
    dataSet.zones.resize(4000, sharing);
    checkWithinBounds(dataSet);
}

/// Describes a file, and holds that to its bounds. Returns what is written.
std::string describedWithinBounds(std::string const& contents,
                                  std::function<void(DataFile&, tools::Output&)> const& describe)
{
    TemporaryFile const written("");
    withinBounds(contents, [&](std::string const& path) {
        DataFile file(path);
        tools::Output output(written.path());
        describe(file, output);
        output.finish();
        return std::string();
    });
    return contentsOf(written.path());
}

TEST(CostOfFiles, DescriptionOfAZoneOfManyPartitions)
{
    std::vector<Layers> ends;
    for (std::uint64_t p = 0; p < 30 * MANY; ++p)
        ends.push_back({p, p});
    std::string const contents = orderedPartitions(ends.size(), ends).contents();
    EXPECT_NE(describedWithinBounds(contents,
                                    [](DataFile& file, tools::Output& output) {
                                        tools::JsonReport report(output);
                                        tools::describe(file, 0, report);
                                    })
                  .find("\"number\": " + std::to_string(ends.size())),
              std::string::npos);
    EXPECT_NE(describedWithinBounds(contents,
                                    [](DataFile& file, tools::Output& output) {
                                        tools::TreeReport report(output);
                                        tools::describe(file, 0, report);
                                    })
                  .find("partition " + std::to_string(ends.size()) + ":"),
              std::string::npos);
}

TEST(CostOfFiles, TagsOfAZoneOfManyPartitions)
{
    std::vector<Layers> ends;
    for (std::uint64_t p = 0; p < 60 * MANY; ++p)
        ends.push_back({p, p});
    EXPECT_NE(describedWithinBounds(orderedPartitions(ends.size(), ends).contents(),
                                    [](DataFile& file, tools::Output& output) {
                                        tools::JsonReport report(output);
                                        tools::describeTags(file, {}, report);
                                    })
                  .find("\"partition\": " + std::to_string(ends.size())),
              std::string::npos);
}

TEST(CostOfFiles, TagsOfManyZones)
{
    LyingFile lie;
    lie.numZones = MANY;
    lie.header = [](FileBuilder& file) { return file.tagList(Tags(200, {1536, "", 64})); };
    std::string const text =
        describedWithinBounds(lie.contents(), [](DataFile& file, tools::Output& output) {
            tools::JsonReport report(output);
            tools::describeTags(file, {}, report);
        });
    EXPECT_NE(text.find("\"zone\": " + std::to_string(MANY)), std::string::npos);
}

TEST(CostOfFiles, ManyVariablesInOneFileAndManyZonesInAnother)
{
    LyingFile wide;
    wide.numVars = 60'000;
    TemporaryFile const other(chainOfShares(60'000).contents());
    std::string const failure = withinBounds(wide.contents(), [&](std::string const& path) {
        return failureOf([&] { DataSet const dataSet({path, other.path()}); });
    });
    EXPECT_NE(failure.find("of which most have far fewer"), std::string::npos) << failure;
}

}
}
