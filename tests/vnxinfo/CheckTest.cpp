#include "tools/vnxinfo/Check.h"

#include "addons/hdqfs/DataFile.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "tools/vnxinfo/JsonReport.h"
#include "tools/vnxinfo/RawTags.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace varnox::tools {
namespace {

using hdqfsloader::DataFile;
using testing::HasSubstr;

constexpr std::uint32_t SEED = 20240611;

char const* const SAMPLES[] = {"tjunction_grid", "tjunction_t05", "tankbox_partitions",
                               "tjunction_ascii_grid", "tjunction_ascii_t05"};

std::string pathOf(std::string const& sample)
{
    return std::string(VNX_SOURCE_DIR) + "/examples/data/" + sample + ".hdqfs";
}

std::string contentsOf(std::string const& sample)
{
    std::ostringstream text;
    text << std::ifstream(pathOf(sample), std::ios::binary).rdbuf();
    return text.str();
}

std::string textOf(Faults const& faults)
{
    std::string result;
    for (Fault const& fault : faults.kept())
        result += fault.place + ": " + fault.text + "\n";
    return result;
}

/// A copy of a sample whose bytes are changed one at a time.
class ChangingCopy
{
public:
    explicit ChangingCopy(std::string const& sample)
        : m_contents(contentsOf(sample)), m_file(m_contents),
          m_descriptor(::open(m_file.path().c_str(), O_RDWR))
    {
        EXPECT_GE(m_descriptor, 0);
    }
    ChangingCopy(ChangingCopy const&) = delete;
    ChangingCopy& operator=(ChangingCopy const&) = delete;
    ~ChangingCopy() { ::close(m_descriptor); }

    std::string const& contents() const { return m_contents; }
    std::string const& path() const { return m_file.path(); }
    void set(std::size_t at, std::string const& bytes) const
    {
        EXPECT_EQ(::pwrite(m_descriptor, bytes.data(), bytes.size(), static_cast<off_t>(at)),
                  static_cast<ssize_t>(bytes.size()));
    }
    void restore(std::size_t at, std::size_t count) const { set(at, m_contents.substr(at, count)); }
    void cutTo(std::size_t length) const
    {
        EXPECT_EQ(::ftruncate(m_descriptor, static_cast<off_t>(length)), 0);
    }

    /// The faults with some bytes changed.
    Faults with(std::size_t at, std::string const& bytes) const
    {
        set(at, bytes);
        Faults const result = findFaults(path());
        restore(at, bytes.size());
        return result;
    }
    template <typename T>
    Faults with(std::size_t at, T value) const
    {
        return with(at, std::string(reinterpret_cast<char const*>(&value), sizeof(value)));
    }

private:
    std::string m_contents;
    hdqfsloader::tests::TemporaryFile m_file;
    int m_descriptor;
};

class CheckedSamples : public testing::TestWithParam<char const*>
{
};

INSTANTIATE_TEST_SUITE_P(CheckedSamples, CheckedSamples, testing::ValuesIn(SAMPLES),
                         [](auto const& test) { return std::string(test.param); });

TEST_P(CheckedSamples, AreSound)
{
    EXPECT_EQ(textOf(findFaults(pathOf(GetParam()))), "");
}

TEST_P(CheckedSamples, CutOffAnywhereAreFaulty)
{
    ChangingCopy const copy(GetParam());
    std::size_t const length = copy.contents().find_last_not_of(" \r\n");
    std::mt19937 random(SEED);
    std::uniform_int_distribution<std::size_t> place(0, length);
    std::vector<std::size_t> lengths(20);
    for (std::size_t& l : lengths)
        l = place(random);
    lengths.push_back(0);
    std::sort(lengths.rbegin(), lengths.rend());
    for (std::size_t const l : lengths) {
        copy.cutTo(l);
        EXPECT_FALSE(findFaults(copy.path()).isEmpty()) << "cut to " << l;
    }
}

/// The bytes of a binary file that say where something is, how much of it, of which type, or which
/// other thing it belongs to.
class StructuralBytes
{
public:
    explicit StructuralBytes(std::string const& sample)
        : m_file(pathOf(sample)), m_bytes(contentsOf(sample))
    {
        std::size_t const locs = m_bytes.find('\n') + 1 + 8;
        add(locs, 8);
        std::uint64_t headerLoc = 0;
        std::memcpy(&headerLoc, m_bytes.data() + locs, 8);
        addTagList(headerLoc, TagOwner::DataSet, 0);
        addDataSetArrays();
        for (std::uint32_t z = 0; z < m_file.numZones(); ++z)
            addZone(z);
    }

    std::vector<std::size_t> const& places() const { return m_places; }

private:
    void add(std::uint64_t at, std::uint64_t count)
    {
        for (std::uint64_t i = 0; i < count; ++i)
            m_places.push_back(at + i);
    }

    void addTagList(std::uint64_t loc, TagOwner owner, std::uint32_t number)
    {
        hdqio::FileStreamReader reader(m_file.path());
        reader.open();
        reader.setIsAscii(0);
        std::vector<RawTag> const tags = readRawTags(reader, loc, owner, number);
        add(loc, 2 + 2 * tags.size());
        for (RawTag const& tag : tags)
            // The limits of ordered subzones mean nothing where there is none.
            if (owner != TagOwner::DataSet || tag.number < 3 || tag.number > 5 || hasOrderedZones())
                add(tag.valueLoc, 8);
    }

    bool hasOrderedZones()
    {
        for (std::uint32_t z = 0; z < m_file.numZones(); ++z)
            if (m_file.zone(z).isOrdered())
                return true;
        return false;
    }

    void addDataSetArrays()
    {
        std::uint64_t const numZones = m_file.numZones();
        std::uint64_t const numVars = m_file.numVars();
        struct Array
        {
            std::uint16_t tag;
            std::uint64_t byteCount;
        };
        for (Array const& array :
             {Array{257, numZones}, Array{258, 8 * numZones}, Array{262, 4 * numZones},
              Array{263, 8 * numZones}, Array{264, 8 * numZones}, Array{268, 4 * numZones},
              Array{769, numVars * numZones}, Array{770, numVars * numZones},
              Array{771, numVars * numZones}, Array{772, 4 * numVars * numZones}})
            add(m_file.tags().at(array.tag), array.byteCount);
        // The face count of a zone of finite elements can't be held to anything.
        if (hasOrderedZones())
            add(m_file.tags().at(265), 8 * numZones);
        for (std::uint16_t group = 7; group <= 10; ++group)
            add(m_file.tags().at(group), 4);
        add(m_file.tags().at(12), 4);
    }

    void addZone(std::uint32_t z)
    {
        addTagList(m_file.zoneHeaderFileLoc(z), TagOwner::Zone, z + 1);
        hdqio::FileStreamReader reader(m_file.path());
        reader.open();
        reader.setIsAscii(0);
        std::map<std::uint16_t, std::uint64_t> tags;
        for (RawTag const& tag :
             readRawTags(reader, m_file.zoneHeaderFileLoc(z), TagOwner::Zone, z + 1))
            tags[tag.number] = tag.value;
        hdqio::ZoneMetadata const& zone = m_file.zone(z);
        std::uint64_t const numPartitions = zone.numPartitions;
        if (tags.count(1536) != 0)
            add(tags[1536], 8 * std::uint64_t{m_file.numVars()});
        if (tags.count(1793) != 0) {
            add(tags[1793], 4 * numPartitions);
            add(tags[1794], 8 * numPartitions);
            add(tags[1798], 8 * numPartitions);
            add(tags[1799], 8 * numPartitions);
        }
        for (std::uint32_t p = 0; numPartitions > 1 && p < numPartitions; ++p) {
            addTagList(zone.ptnFileLocs[p], TagOwner::Partition, p + 1);
            std::uint64_t const numTags = 3;
            add(zone.ptnFileLocs[p] + 2 + 10 * numTags, 8 * std::uint64_t{m_file.numVars()});
        }
        if (tags.count(1280) != 0)
            addConnectivity(m_file.partition(z, 0), tags);
    }

    /// Referenced subzones, 28 bits each: of their last byte half means nothing.
    void addReferences(std::uint64_t loc, std::uint16_t count)
    {
        for (std::uint64_t i = 0; i < count; ++i)
            add(loc + 4 * i, 3);
    }

    /// The lists of referenced subzones. A node number within a subzone is as good as another one.
    void addConnectivity(hdqio::PartitionMetadata const& header,
                         std::map<std::uint16_t, std::uint64_t>& tags)
    {
        auto const& cells = header.cszConnFileLocs[0];
        auto const& nodes = header.nszConnFileLocs;
        add(tags[1281], 8 * cells.size());
        add(tags[1285], 2 * cells.size());
        add(tags[1280], 8 * nodes.size());
        add(tags[1286], 2 * nodes.size());
        for (std::size_t n = 0; n < cells.size(); ++n)
            addReferences(cells[n], header.cszNumRefNszs[0][n]);
        for (std::size_t n = 0; n < nodes.size(); ++n)
            addReferences(nodes[n], header.nszNumRefCszs[n]);
    }

    DataFile m_file;
    std::string m_bytes;
    std::vector<std::size_t> m_places;
};

/// How much more than usual is to be tried: VNX_CHECK_CORRUPTIONS in the environment.
std::size_t numCorruptions(std::size_t usually)
{
    char const* const wanted = std::getenv("VNX_CHECK_CORRUPTIONS");
    return wanted != nullptr ? std::strtoul(wanted, nullptr, 10) : usually;
}

TEST(Check, FindsEveryStructuralCorruption)
{
    std::size_t tried = 0;
    struct Share
    {
        char const* sample;
        std::size_t count;
    };
    for (auto const& [sample, share] : {Share{"tjunction_grid", 100}, Share{"tjunction_t05", 70},
                                        Share{"tankbox_partitions", 40}}) {
        StructuralBytes const bytes(sample);
        ChangingCopy const copy(sample);
        std::mt19937 random(SEED);
        std::uniform_int_distribution<std::size_t> place(0, bytes.places().size() - 1);
        std::uniform_int_distribution<int> change(1, 255);
        for (std::size_t i = 0; i < numCorruptions(share); ++i, ++tried) {
            std::size_t const at = bytes.places()[place(random)];
            char const byte = static_cast<char>(copy.contents()[at] ^ change(random));
            EXPECT_FALSE(copy.with(at, byte).isEmpty())
                << sample << ": byte " << at << " from " << int{copy.contents()[at]} << " to "
                << int{byte};
        }
    }
    EXPECT_GE(tried, 200U);
}

TEST(Check, FindsEveryChangedDigitOfATagInText)
{
    for (char const* sample : {"tjunction_ascii_grid", "tjunction_ascii_t05"}) {
        ChangingCopy const copy(sample);
        DataFile file(copy.path());
        KeptReport report;
        describeTags(file, {}, report);
        Json const& lists = report.json();
        std::mt19937 random(SEED);
        for (Json const* list : {&lists["dataSet"], &lists["zones"][0]})
            for (Json const& tag : (*list)["tags"]) {
                int const number = tag["tag"].get<int>();
                if (number >= 3 && number <= 5)
                    continue; // limits of ordered subzones, which the file doesn't have
                std::size_t const at = tag["at"].get<std::size_t>() + 42 +
                                       std::uniform_int_distribution<std::size_t>(0, 15)(random);
                char const digit = copy.contents()[at] == '7' ? '2' : '7';
                EXPECT_FALSE(copy.with(at, digit).isEmpty()) << sample << ": tag " << number;
            }
    }
}

TEST(Check, RandomCorruptionsAreReadInBoundedMemory)
{
    std::size_t found = 0;
    std::size_t tried = 0;
    for (char const* sample : SAMPLES) {
        // Reading the box takes longest.
        std::size_t const count =
            numCorruptions(sample == std::string("tankbox_partitions") ? 30 : 150);
        ChangingCopy const copy(sample);
        std::mt19937 random(SEED);
        std::uniform_int_distribution<std::size_t> anywhere(0, copy.contents().size() - 1);
        std::uniform_int_distribution<std::size_t> inHeaders(0, 6000);
        std::uniform_int_distribution<int> byte(0, 255);
        for (std::size_t i = 0; i < count; ++i, ++tried) {
            // Every other one among the headers, which are a small part of a file.
            std::size_t const at = i % 2 == 0 ? anywhere(random) : inHeaders(random);
            found += !copy.with(at, static_cast<char>(byte(random))).isEmpty();
        }
    }
    EXPECT_GT(found, tried / 10);
    rusage usage{};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
    RecordProperty("found", static_cast<int>(found));
    RecordProperty("maxResidentKiB", static_cast<int>(usage.ru_maxrss));
    if (std::getenv("VNX_CHECK_CORRUPTIONS") != nullptr)
        std::printf("%zu of %zu found, at most %ld KiB resident\n", found, tried, usage.ru_maxrss);
    EXPECT_LT(usage.ru_maxrss, 512 * 1024);
}

// Single faults, by what is said of them.

std::uint64_t wordAt(std::string const& bytes, std::size_t at)
{
    std::uint64_t result = 0;
    std::memcpy(&result, bytes.data() + at, 8);
    return result;
}

TEST(Check, NamesTheSubzoneWhoseRangeIsWrong)
{
    ChangingCopy const copy("tjunction_t05");
    DataFile file(copy.path());
    // The second node subzone of the fourth variable.
    std::size_t const at = file.partition(0, 0).varFileLocs[3] + 8;
    EXPECT_THAT(
        textOf(copy.with(at, -1e6F)),
        HasSubstr("range of a node subzone, zone 1, partition 1, variable 4, subzone 1: It is "
                  "told as -1e+06 to "));
}

TEST(Check, HoldsCellRangesOfNodalVariablesToTheConnectivity)
{
    ChangingCopy const copy("tjunction_grid");
    DataFile file(copy.path());
    std::size_t const at = file.partition(0, 0).varCszMinMaxFileLocs[0];
    float low = 0;
    std::memcpy(&low, copy.contents().data() + at, 4);
    EXPECT_THAT(textOf(copy.with(at, low + 1e-3F)),
                HasSubstr("range of a cell subzone, zone 1, partition 1, variable 1, subzone 0"));
}

TEST(Check, HoldsCrossRangesOfOrderedZonesToTheirNeighbours)
{
    ChangingCopy const copy("tankbox_partitions");
    DataFile file(copy.path());
    // Node ranges of the cell-centred variable and cell ranges of a nodal one, in the last
    // partition.
    std::size_t const nodes = file.partition(0, 7).varFileLocs[1];
    EXPECT_THAT(textOf(copy.with(nodes, static_cast<char>(copy.contents()[nodes] ^ 1))),
                HasSubstr("range of a node subzone, zone 1, partition 8, variable 2, subzone 0"));
    std::size_t const cells = file.partition(0, 7).varCszMinMaxFileLocs[3];
    EXPECT_THAT(textOf(copy.with(cells, -5.0F)),
                HasSubstr("range of a cell subzone, zone 1, partition 8, variable 4, subzone 0"));
}

TEST(Check, HoldsRangesOfPartitionsAndZonesToTheValues)
{
    ChangingCopy const copy("tankbox_partitions");
    DataFile file(copy.path());
    EXPECT_THAT(textOf(copy.with(file.zone(0).varPtnMinMaxFileLocs[3] + 8, -1.0F)),
                HasSubstr("range of a partition, zone 1, partition 2, variable 4"));
    EXPECT_THAT(textOf(copy.with(file.tags().at(768), -1.0)),
                HasSubstr("range of a zone, zone 1, variable 1"));
}

TEST(Check, HoldsCellAndNodeSubzonesToEachOther)
{
    ChangingCopy const copy("tjunction_grid");
    DataFile file(copy.path());
    std::size_t const at = file.partition(0, 0).nszConnFileLocs[3];
    std::uint32_t first = 0;
    std::memcpy(&first, copy.contents().data() + at, 4);
    EXPECT_THAT(textOf(copy.with(at, std::uint32_t{15} - first)),
                HasSubstr("connectivity of a node subzone, zone 1, partition 1, subzone 3"));
    EXPECT_THAT(textOf(copy.with(at, std::uint32_t{16})), HasSubstr("which doesn't exist"));
}

TEST(Check, FindsBlocksOnEachOther)
{
    ChangingCopy const copy("tjunction_t05");
    DataFile file(copy.path());
    std::uint64_t const varLocs = wordAt(copy.contents(), file.zoneHeaderFileLoc(0) + 2 + 6 + 16);
    std::uint64_t const second = wordAt(copy.contents(), varLocs + 8);
    EXPECT_THAT(textOf(copy.with(varLocs, second)), HasSubstr("It lies on another block"));
}

TEST(Check, FindsBytesThatBelongToNothing)
{
    ChangingCopy const copy("tjunction_grid");
    DataFile file(copy.path());
    std::size_t const length = file.tags().at(12);
    EXPECT_THAT(textOf(copy.with(length, static_cast<char>(copy.contents()[length] - 1))),
                HasSubstr("bytes that belong to nothing"));
}

}
}
