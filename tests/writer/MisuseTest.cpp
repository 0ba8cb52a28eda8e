// Careless callers, names that can't be, and a system that fails.

#include "varnox/hdqfswriter/FileWriter.h"

#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "tests/writer/DataSetFromFile.h"
#include "tests/writer/DataSets.h"
#include "tests/writer/MemoryZone.h"
#include "tests/writer/WrittenFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// What fsync fails with; 0 for what it does. After so many EINTR.
int syncError = 0;
int interruptions = 0;

}

/// In the place of the system's, for all of this program.
extern "C" int fsync(int descriptor)
{
    if (interruptions > 0) {
        --interruptions;
        errno = EINTR;
        return -1;
    }
    if (syncError != 0) {
        errno = syncError;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

namespace varnox::hdqfswriter::tests {
namespace {

using varnox::tests::messageOf;
namespace fs = std::filesystem;

DataSet boxDataSet(std::uint64_t size = 8)
{
    DataSet result;
    result.variableNames = namesOf(2);
    result.zones = {orderedZone({size, size, size},
                                {{}, {ValueType::Double, ValueLocation::Cells, false, -1}})};
    result.zones[0].name = "box";
    return result;
}

DataSet meshDataSet(ZoneType type, std::uint32_t numPartitions, bool isInSubzones)
{
    DataSet result;
    result.variableNames = namesOf(2);
    result.zones = {meshZone({type, {6, 5, 4}, numPartitions, isInSubzones},
                             {{}, {ValueType::Float, ValueLocation::Cells, false, -1}})};
    return result;
}

std::string failureOf(std::string const& path, DataSet const& dataSet)
{
    return messageOf<std::runtime_error>([&] { writeFile(path, dataSet); });
}

bool isWhole(std::string const& path)
{
    return tools::findFaults(path).kept().empty();
}

// Sources that give nothing.

/// Gives a null pointer from the n-th call of a function on.
class NullSource final : public ZoneSource
{
public:
    NullSource(std::shared_ptr<ZoneSource> source, int valuesLeft, int cellsLeft)
        : m_source(std::move(source)), m_valuesLeft(valuesLeft), m_cellsLeft(cellsLeft)
    {
    }
    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        return m_valuesLeft-- > 0 ? m_source->values(partition, variable, buffer) : nullptr;
    }
    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        return m_valuesLeft-- > 0 ? m_source->boxValues(box, variable, buffer) : nullptr;
    }
    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                               std::uint64_t* buffer) override
    {
        return m_cellsLeft-- > 0 ? m_source->cells(partition, section, buffer) : nullptr;
    }

private:
    std::shared_ptr<ZoneSource> m_source;
    int m_valuesLeft;
    int m_cellsLeft;
};

struct NullCase
{
    char const* name;
    DataSet dataSet;
};

class NullAnswer : public testing::TestWithParam<NullCase>
{
protected:
    /// How often the source has to be asked until the file is written.
    int failures(std::string const& message, bool isOfValues)
    {
        constexpr int MANY = 1000;
        TemporaryFolder const folder;
        for (int n = 0; n < MANY; ++n) {
            DataSet dataSet = GetParam().dataSet;
            dataSet.zones[0].source = std::make_shared<NullSource>(
                dataSet.zones[0].source, isOfValues ? n : MANY, isOfValues ? MANY : n);
            try {
                writeFile(folder.file("x.hdqfs"), dataSet);
                return n;
            } catch (std::runtime_error const& error) {
                EXPECT_EQ(error.what(), message);
            }
            EXPECT_EQ(folder.numFiles(), 0U);
        }
        return MANY;
    }
};

TEST_P(NullAnswer, IsRefusedAtEveryCall)
{
    std::string const start =
        "The source of zone '" + GetParam().dataSet.zones[0].name + "' gave a null pointer for ";
    int const ofValues = failures(start + "values.", true);
    EXPECT_GE(ofValues, 2);
    EXPECT_LT(ofValues, 100);
    int const ofCells = failures(start + "cells.", false);
    EXPECT_EQ(ofCells > 0, GetParam().dataSet.zones[0].type != ZoneType::Ordered);
    EXPECT_LT(ofCells, 100);
}

DataSet plainBox()
{
    DataSet result = boxDataSet();
    result.zones[0].isInSubzones = false;
    return result;
}

INSTANTIATE_TEST_SUITE_P(
    Zones, NullAnswer,
    testing::Values(NullCase{"Ordered", boxDataSet()}, NullCase{"OrderedPlain", plainBox()},
                    NullCase{"Mesh", meshDataSet(ZoneType::Brick, 1, true)},
                    NullCase{"MeshInPartitions", meshDataSet(ZoneType::Tetrahedron, 3, true)},
                    NullCase{"MixedMesh", meshDataSet(ZoneType::Mixed, 2, true)},
                    NullCase{"MeshPlain", meshDataSet(ZoneType::Brick, 1, false)}),
    varnox::tests::caseName<NullCase>);

TEST(Misuse, ZoneWithoutCellsNeedsNoPointerToThem)
{
    for (bool const isInSubzones : {true, false})
        for (bool const isText : {false, true}) {
            DataSet dataSet = meshDataSet(ZoneType::Brick, 1, isInSubzones);
            Zone& zone = dataSet.zones[0];
            zone.partitions[0].numCells = {0};
            zone.source = std::make_shared<NullSource>(zone.source, 1, 0);
            Options options;
            options.isText = isText;
            WrittenFile const written(dataSet, options); // the values at cells are null
            EXPECT_EQ(dataSetFromFile(written.open()).zones[0].partitions[0].numCells[0], 0U);
        }
}

TEST(Misuse, WhatASourceThrowsNeedsNoExceptionClass)
{
    class Thrower final : public ZoneSource
    {
        void const* boxValues(Box const&, std::uint32_t, void*) override { throw 42; }
    };
    TemporaryFolder const folder;
    DataSet dataSet = boxDataSet();
    dataSet.zones[0].source = std::make_shared<Thrower>();
    EXPECT_THROW(writeFile(folder.file("x.hdqfs"), dataSet), int);
    EXPECT_EQ(folder.numFiles(), 0U);
    dataSet.zones[0].source = std::make_shared<ZoneSource>();
    EXPECT_THROW(writeFile(folder.file("x.hdqfs"), dataSet), std::logic_error);
    EXPECT_EQ(folder.numFiles(), 0U);
}

TEST(Misuse, SourceMayWriteAnotherFile)
{
    class Writer final : public ZoneSource
    {
    public:
        Writer(std::shared_ptr<ZoneSource> source, std::string path)
            : m_source(std::move(source)), m_path(std::move(path))
        {
        }
        void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
        {
            writeFile(m_path, boxDataSet());
            return m_source->boxValues(box, variable, buffer);
        }

    private:
        std::shared_ptr<ZoneSource> m_source;
        std::string m_path;
    };
    TemporaryFolder const folder;
    for (char const* const inner : {"inner.hdqfs", "x.hdqfs"}) {
        DataSet dataSet = boxDataSet(9);
        dataSet.zones[0].source =
            std::make_shared<Writer>(dataSet.zones[0].source, folder.file(inner));
        writeFile(folder.file("x.hdqfs"), dataSet);
        EXPECT_EQ(dataSetFromFile(std::make_shared<hdqfsloader::DataFile>(folder.file("x.hdqfs")))
                      .zones[0]
                      .size[0],
                  9U);
        EXPECT_TRUE(isWhole(folder.file(inner)));
    }
    EXPECT_EQ(folder.numFiles(), 2U);
}

// Names in the file.

struct NameCase
{
    char const* name;
    std::string text;
};

class OddName : public testing::TestWithParam<NameCase>
{
};

TEST_P(OddName, ComesBackAsItIs)
{
    for (bool const isText : {false, true}) {
        std::string const& odd = GetParam().text;
        DataSet dataSet = boxDataSet();
        dataSet.title = "a" + odd;
        dataSet.variableNames[1] = odd;
        dataSet.zones.push_back(dataSet.zones[0]);
        dataSet.zones[1].name = odd;
        dataSet.customLabelSets = {{"a", odd}};
        dataSet.auxiliaryData = {{0, 0, "a" + odd, 0, "a" + odd}};
        Text text;
        text.textString = "a" + odd;
        dataSet.texts = {text};
        Options options;
        options.isText = isText;
        WrittenFile const written(dataSet, options);
        DataSet const read = dataSetFromFile(written.open());
        EXPECT_EQ(read.title, dataSet.title);
        EXPECT_EQ(read.variableNames, dataSet.variableNames);
        EXPECT_EQ(read.zones[1].name, odd);
        EXPECT_EQ(read.customLabelSets, dataSet.customLabelSets);
        ASSERT_EQ(read.auxiliaryData.size(), 1U);
        EXPECT_EQ(read.auxiliaryData[0].auxDataName, "a" + odd);
        EXPECT_EQ(read.auxiliaryData[0].auxDataValue, "a" + odd);
        ASSERT_EQ(read.texts.size(), 1U);
        EXPECT_EQ(read.texts[0].textString, "a" + odd);
    }
}

INSTANTIATE_TEST_SUITE_P(Names, OddName,
                         testing::Values(NameCase{"Empty", ""}, NameCase{"LineFeed", "a\nb"},
                                         NameCase{"LeadingLineFeed", "\nb"},
                                         NameCase{"LeadingBlank", "  b"},
                                         NameCase{"ZeroByte", std::string("a\0b", 3)},
                                         NameCase{"OnlyAZeroByte", std::string(1, '\0')},
                                         NameCase{"InvalidUtf8", "a\xC3\x28\xFF\xFE"},
                                         NameCase{"Percent", "%s%n%d"},
                                         NameCase{"Long", std::string(498, 'x')}),
                         varnox::tests::caseName<NameCase>);

TEST(Misuse, NumbersHaveAPointInEveryLocale)
{
    TemporaryFolder const folder;
    Options options;
    options.isText = true;
    DataSet dataSet = boxDataSet();
    dataSet.zones[0].solutionTime = 0.5;
    writeFile(folder.file("plain.hdqfs"), dataSet, options);

    // A locale with a comma, made here, as a machine may have none.
    std::string const make =
        "localedef -i de_DE -f UTF-8 '" + folder.file("de_DE.UTF-8") + "' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0)
        GTEST_SKIP() << "There is no localedef, or nothing to make a locale of.";
    ::setenv("LOCPATH", folder.path().c_str(), 1);
    bool const isSet = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    ::unsetenv("LOCPATH");
    ASSERT_TRUE(isSet);
    char text[8];
    std::snprintf(text, sizeof(text), "%.1f", 0.5);
    writeFile(folder.file("comma.hdqfs"), dataSet, options);
    std::setlocale(LC_ALL, "C");
    ASSERT_STREQ(text, "0,5");
    EXPECT_EQ(contentsOf(folder.file("comma.hdqfs")), contentsOf(folder.file("plain.hdqfs")));
}

// Descriptions that nobody has thought of.

/// A description in which some fields have values that they may or may not have.
class Spoiler
{
public:
    explicit Spoiler(std::uint32_t seed) : m_random(seed) {}

    void spoil(DataSet& dataSet, Options& options)
    {
        std::uint32_t const numFaults = below(6);
        for (std::uint32_t i = 0; i < numFaults; ++i)
            if (oneIn(4))
                spoilRest(dataSet, options);
            else
                spoilZone(dataSet, dataSet.zones[below(dataSet.zones.size())]);
        options.isText = oneIn(2);
        if (oneIn(3))
            options.fileType = oneIn(2) ? FileType::Grid : FileType::Solution;
        if (oneIn(4))
            options.order = ItemOrder::Keep;
        options.version = pick<std::optional<std::uint32_t>>({{}, {}, {}, 104, 105, 106, 231, 232});
    }

private:
    std::uint32_t below(std::size_t end) { return static_cast<std::uint32_t>(m_random() % end); }
    bool oneIn(std::size_t n) { return below(n) == 0; }
    template <typename T>
    T pick(std::vector<T> const& values)
    {
        return values[below(values.size())];
    }
    std::int32_t zoneIndex() { return pick<std::int32_t>({-2, -1, 0, 1, 2, 3, 4, INT32_MAX}); }
    std::uint64_t count()
    {
        return pick<std::uint64_t>({0, 1, 2, 8, 209, 257, 1ULL << 32, 1ULL << 63, UINT64_MAX});
    }
    std::string text()
    {
        return pick<std::string>({"", " a", "\n", "\r", std::string(2, '\0'), "\xFF%s",
                                  std::string(499, 'x'), std::string(500, 'x'),
                                  std::string(100000, 'y')});
    }

    void spoilZone(DataSet const& dataSet, Zone& zone)
    {
        ZoneVariable& variable = zone.variables[below(zone.variables.size())];
        switch (below(14)) {
        case 0:
            zone.name = text();
            return;
        case 1:
            zone.type = static_cast<ZoneType>(below(10));
            return;
        case 2:
            zone.isInSubzones = !zone.isInSubzones;
            return;
        case 3:
            zone.size[below(3)] = count();
            return;
        case 4:
            zone.sections.resize(below(3));
            for (Section& section : zone.sections)
                section = {static_cast<CellShape>(below(8)), static_cast<std::uint8_t>(below(256)),
                           static_cast<std::uint8_t>(below(256))};
            return;
        case 5:
            if (!zone.partitions.empty())
                spoilPartition(zone.partitions[below(zone.partitions.size())]);
            return;
        case 6:
            zone.partitions.resize(below(4));
            return;
        case 7:
            variable.type = static_cast<ValueType>(below(8));
            return;
        case 8:
            variable.location = static_cast<ValueLocation>(below(3));
            return;
        case 9:
            variable.isPassive = true;
            return;
        case 10:
            variable.sharedFrom = zoneIndex();
            return;
        case 11:
            zone.parentZone = zoneIndex();
            zone.connectivityFrom = oneIn(2) ? zoneIndex() : -1;
            return;
        case 12:
            zone.faceNeighborMode = static_cast<std::uint8_t>(below(256));
            zone.numFaces = count();
            zone.strandID = static_cast<std::uint32_t>(count());
            return;
        default:
            zone = dataSet.zones[below(dataSet.zones.size())];
        }
    }

    void spoilPartition(Partition& partition)
    {
        if (oneIn(3))
            partition.nodes.begin[below(3)] = count();
        if (oneIn(3))
            partition.nodes.end[below(3)] = count();
        if (oneIn(3))
            partition.numNodes = count();
        if (!partition.numCells.empty())
            partition.numCells[0] = oneIn(2) ? count() : partition.numCells[0];
        if (oneIn(4))
            partition.numCells.resize(below(3));
    }

    void spoilRest(DataSet& dataSet, Options& options)
    {
        switch (below(6)) {
        case 0:
            dataSet.title = text();
            return;
        case 1:
            dataSet.variableNames[below(dataSet.variableNames.size())] = text();
            return;
        case 2:
            dataSet.auxiliaryData = {{static_cast<std::uint8_t>(below(5)),
                                      static_cast<std::uint32_t>(zoneIndex()), text(), 0, text()}};
            return;
        case 3:
            dataSet.customLabelSets = {{text(), text()}, {}};
            return;
        case 4:
            dataSet.geometries.resize(1);
            dataSet.geometries[0].geomType = static_cast<std::uint8_t>(below(7));
            dataSet.geometries[0].segments.resize(below(2));
            dataSet.geometries[0].xOrThetaPos = std::nan("");
            return;
        default:
            options.subzoneSize[below(3)] = static_cast<std::uint16_t>(below(300));
        }
    }

    std::mt19937 m_random;
};

/// Answers whatever it is asked for, in the buffer, unless that is very large.
class ObligingSource final : public ZoneSource
{
public:
    ObligingSource(Zone const& zone) : m_zone(zone) {}

    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        Partition const& asked = m_zone.partitions.at(partition);
        std::uint64_t count = asked.numNodes;
        if (m_zone.variables.at(variable).location == ValueLocation::Cells)
            count = std::accumulate(asked.numCells.begin(), asked.numCells.end(), std::uint64_t{0});
        return fill(variable, count, buffer);
    }
    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        return fill(variable, box.numItems(), buffer);
    }
    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                               std::uint64_t* buffer) override
    {
        constexpr std::uint64_t CORNERS[] = {2, 3, 4, 4, 8, 5, 6};
        std::uint64_t perCell = 0;
        switch (m_zone.type) {
        case ZoneType::Mixed:
            if (m_zone.sections[section].gridOrder != 1)
                throw std::runtime_error("a shape that this source doesn't know");
            perCell = CORNERS[static_cast<std::size_t>(m_zone.sections[section].shape)];
            break;
        case ZoneType::LineSegment:
            perCell = 2;
            break;
        case ZoneType::Triangle:
            perCell = 3;
            break;
        case ZoneType::Brick:
            perCell = 8;
            break;
        default:
            perCell = 4;
        }
        std::uint64_t numNodes = 0;
        for (Partition const& each : m_zone.partitions)
            numNodes += each.numNodes;
        std::uint64_t const count = m_zone.partitions.at(partition).numCells.at(section) * perCell;
        requireSmall(count);
        for (std::uint64_t i = 0; i < count; ++i)
            buffer[i] = (i * 7 + partition) % numNodes;
        return buffer;
    }

private:
    static void requireSmall(std::uint64_t count)
    {
        if (count > 1000000)
            throw std::runtime_error("so much that this source doesn't have it");
    }
    void const* fill(std::uint32_t variable, std::uint64_t count, void* buffer)
    {
        constexpr std::size_t WIDTHS[] = {0, 4, 8, 4, 2, 1, 1};
        requireSmall(count);
        std::memset(buffer, 1,
                    static_cast<std::size_t>(count) *
                        WIDTHS[static_cast<std::size_t>(m_zone.variables.at(variable).type)]);
        return buffer;
    }

    Zone m_zone;
};

TEST(Misuse, WhateverIsWrittenIsSound)
{
    constexpr std::uint32_t NUM_TRIES = 600;
    TemporaryFolder const folder;
    std::uint32_t numWritten = 0;
    for (std::uint32_t seed = 0; seed < NUM_TRIES; ++seed) {
        DataSet dataSet = boxDataSet();
        dataSet.variableNames = namesOf(2);
        for (auto const& [type, numPartitions, isInSubzones] :
             {std::tuple{ZoneType::Brick, 2U, true},
              {ZoneType::Mixed, 1U, true},
              {ZoneType::Tetrahedron, 1U, false}})
            dataSet.zones.push_back(meshDataSet(type, numPartitions, isInSubzones).zones[0]);
        for (Zone& zone : dataSet.zones)
            zone.variables = dataSet.zones[0].variables;
        Options options;
        Spoiler(seed).spoil(dataSet, options);
        for (Zone& zone : dataSet.zones)
            zone.source = std::make_shared<ObligingSource>(zone);
        std::string const path = folder.file(std::to_string(seed) + ".hdqfs");
        try {
            writeFile(path, dataSet, options);
        } catch (std::runtime_error const&) {
            EXPECT_FALSE(fs::exists(path));
            continue;
        } catch (std::bad_alloc const&) {
            EXPECT_FALSE(fs::exists(path));
            continue;
        }
        ++numWritten;
        tools::Faults const faults = tools::findFaults(path);
        for (tools::Fault const& fault : faults.kept())
            ADD_FAILURE() << "seed " << seed << ": " << fault.place << ": " << fault.text;
        EXPECT_EQ(dataSetFromFile(std::make_shared<hdqfsloader::DataFile>(path)).zones.size(),
                  dataSet.zones.size());
        fs::remove(path);
    }
    EXPECT_EQ(folder.numFiles(), 0U);
    EXPECT_GT(numWritten, NUM_TRIES / 5);
    EXPECT_LT(numWritten, NUM_TRIES);
}

// Names of files.

TEST(Misuse, NamesThatNoFileHasAreRefused)
{
    TemporaryFolder const folder;
    DataSet const dataSet = boxDataSet();
    EXPECT_EQ(failureOf("", dataSet), "A file needs a name.");
    // Up to its zero byte this would be the name of a file that isn't complete.
    std::string const path = folder.file("x.hdqfs");
    std::ofstream(path) << "old";
    EXPECT_EQ(failureOf(path + '\0' + "y", dataSet), "The name of a file can't have a zero byte.");
    EXPECT_EQ(contentsOf(path), "old");
    std::string const longest = folder.file(std::string(250, 'x'));
    EXPECT_EQ(failureOf(longest, dataSet), "Cannot create " + longest + ": File name too long.");
    EXPECT_EQ(failureOf(folder.file("x.hdqfs/y"), dataSet),
              "Cannot create " + folder.file("x.hdqfs/y") + ": Not a directory.");
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST(Misuse, WhatIsNoOrdinaryFileStays)
{
    TemporaryFolder const folder;
    std::string const pipe = folder.file("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::string const toDevice = folder.file("device");
    fs::create_symlink("/dev/full", toDevice);
    for (std::string const& path : {pipe, toDevice})
        EXPECT_EQ(failureOf(path, boxDataSet()),
                  "Cannot create " + path +
                      ": there is something of that name that is no ordinary file.");
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_TRUE(fs::is_symlink(toDevice));
    EXPECT_EQ(folder.numFiles(), 2U);
}

TEST(Misuse, LinkStaysAndWhatItLeadsToIsReplaced)
{
    TemporaryFolder const folder;
    TemporaryFolder const elsewhere;
    std::ofstream(elsewhere.file("x.hdqfs")) << "old";
    std::string const link = folder.file("link.hdqfs");
    fs::create_symlink(elsewhere.file("x.hdqfs"), link);
    writeFile(link, boxDataSet());
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(isWhole(elsewhere.file("x.hdqfs")));
    EXPECT_EQ(folder.numFiles(), 1U);
    EXPECT_EQ(elsewhere.numFiles(), 1U);
}

TEST(Misuse, LinkThatLeadsNowhereIsRefused)
{
    TemporaryFolder const folder;
    std::string const link = folder.file("link.hdqfs");
    fs::create_symlink(folder.file("nowhere"), link);
    EXPECT_EQ(failureOf(link, boxDataSet()),
              "Cannot create " + link + ": it is a link that leads nowhere.");
    std::string const ring = folder.file("ring.hdqfs");
    fs::create_symlink(ring, ring);
    EXPECT_EQ(failureOf(ring, boxDataSet()),
              "Cannot create " + ring + ": Too many levels of symbolic links.");
    EXPECT_EQ(folder.numFiles(), 2U);
}

/// Runs f as a user who isn't let everywhere, in a process of its own. What it returns has 100
/// bytes at most.
std::string asOrdinaryUser(std::string (*f)(std::string const&), std::string const& argument)
{
    int ends[2];
    if (::pipe(ends) != 0)
        return "no pipe";
    pid_t const child = ::fork();
    if (child == 0) {
        if (::geteuid() == 0 && ::setuid(65534) != 0)
            ::_exit(1);
        std::string const result = f(argument);
        ::_exit(::write(ends[1], result.data(), result.size()) < 0);
    }
    ::close(ends[1]);
    std::string result(4096, '\0');
    ssize_t const length = ::read(ends[0], result.data(), result.size());
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    result.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return result;
}

TEST(Misuse, ReadOnlyFoldersAndFilesAreSo)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    std::ofstream(path) << "old";
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    auto const write = [](std::string const& to) { return failureOf(to, boxDataSet()); };
    EXPECT_EQ(asOrdinaryUser(write, path), "Cannot create " + path + ": Permission denied.");
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    std::string const other = folder.file("y.hdqfs");
    EXPECT_EQ(asOrdinaryUser(write, other), "Cannot create " + other + ": Permission denied.");
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    EXPECT_EQ(contentsOf(path), "old");
    EXPECT_EQ(folder.numFiles(), 1U);
}

// Several writers, and a system that fails.

TEST(Misuse, OfSeveralWritersOfOneNameTheLastOneStays)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    std::vector<pid_t> children; // ahead of the threads, whose locks they would inherit
    for (int c = 0; c < 2; ++c) {
        pid_t const child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0; i < 10; ++i)
                writeFile(path, boxDataSet(10));
            ::_exit(0);
        }
        children.push_back(child);
    }
    std::vector<std::thread> threads;
    std::vector<std::string> failures(4);
    for (std::size_t t = 0; t < failures.size(); ++t)
        threads.emplace_back([&, t] {
            try {
                for (int i = 0; i < 10; ++i)
                    writeFile(path, boxDataSet(5 + t));
            } catch (std::exception const& error) {
                failures[t] = error.what();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    for (pid_t const child : children) {
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(failures, std::vector<std::string>(4));
    EXPECT_TRUE(isWhole(path));
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST(Misuse, KillAnywhereLeavesTheOlderFile)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    DataSet const dataSet = meshDataSet(ZoneType::Brick, 3, true);
    writeFile(path, boxDataSet());
    std::string const old = contentsOf(path);
    bool wasKilled = true;
    int numCalls = 0;
    for (; wasKilled && numCalls < 100; ++numCalls) {
        pid_t const child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            Options options;
            int callsLeft = numCalls;
            options.progress = [&](std::uint64_t) {
                if (callsLeft-- == 0)
                    ::kill(::getpid(), SIGKILL);
            };
            writeFile(path, dataSet, options);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        wasKilled = WIFSIGNALED(status);
        if (wasKilled) {
            EXPECT_EQ(contentsOf(path), old);
            EXPECT_EQ(folder.numFiles(), static_cast<std::size_t>(numCalls) + 2);
        }
    }
    EXPECT_EQ(numCalls, 7); // two variables in three partitions, and the whole
    EXPECT_TRUE(isWhole(path));
}

TEST(Misuse, FileThatTheDiskDoesNotTakeLeavesTheOlderOne)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    std::ofstream(path) << "old";
    syncError = EIO;
    std::string const message = failureOf(path, boxDataSet());
    syncError = 0;
    EXPECT_EQ(message, "Cannot write " + path + ": Input/output error.");
    EXPECT_EQ(contentsOf(path), "old");
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST(Misuse, SignalsWhileTheDiskIsWaitedForAreNoFailure)
{
    TemporaryFolder const folder;
    interruptions = 3;
    writeFile(folder.file("x.hdqfs"), boxDataSet());
    EXPECT_EQ(interruptions, 0);
    EXPECT_TRUE(isWhole(folder.file("x.hdqfs")));
}

TEST(Misuse, NameThatIsTakenMeanwhileStaysAsItIs)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    Options options;
    options.progress = [&](std::uint64_t) { fs::create_directory(path); };
    EXPECT_EQ(messageOf<std::runtime_error>([&] { writeFile(path, boxDataSet(), options); }),
              "Cannot write " + path + ": Is a directory.");
    EXPECT_TRUE(fs::is_directory(path));
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST(Misuse, FolderThatGoesMeanwhileIsAFailure)
{
    TemporaryFolder const folder;
    std::string const inner = folder.file("inner");
    fs::create_directory(inner);
    Options options;
    options.progress = [&](std::uint64_t) { fs::remove_all(inner); };
    EXPECT_EQ(messageOf<std::runtime_error>(
                  [&] { writeFile(inner + "/x.hdqfs", boxDataSet(), options); }),
              "Cannot write " + inner + "/x.hdqfs: No such file or directory.");
}

TEST(Misuse, DiskThatIsFullAnywhereLeavesTheOlderFile)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    DataSet const dataSet = boxDataSet();
    writeFile(path, dataSet);
    std::string const old = contentsOf(path);
    struct ::rlimit before
    {
    };
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    auto* const oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    for (rlim_t size = 0; size < old.size(); size += 1 + old.size() / 50) {
        struct ::rlimit small = before;
        small.rlim_cur = size;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        std::string const message = failureOf(path, dataSet);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        EXPECT_EQ(message, "Cannot write " + path + ": File too large.");
        EXPECT_EQ(contentsOf(path), old);
        EXPECT_EQ(folder.numFiles(), 1U);
    }
    std::signal(SIGXFSZ, oldHandler);
}

}
}
