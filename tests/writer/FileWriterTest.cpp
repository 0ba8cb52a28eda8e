#include "varnox/hdqfswriter/FileWriter.h"

#include "addons/hdqfs/DataSet.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "tests/writer/Comparison.h"
#include "tests/writer/DataSetFromFile.h"
#include "tests/writer/DataSets.h"
#include "tests/writer/MemoryZone.h"
#include "tests/writer/WrittenFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <fstream>
#include <random>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::hdqfswriter::tests {
namespace {

using varnox::tests::messageOf;

DataSet smallDataSet()
{
    DataSet result;
    result.variableNames = namesOf(2);
    result.zones = {orderedZone({8, 8, 8}, {{}, {}}),
                    meshZone({ZoneType::Brick, {6, 5, 4}, 2}, {{}, {}})};
    result.zones[0].name = "box";
    return result;
}

// What can't be written.

struct RefusedCase
{
    char const* name;
    std::function<void(DataSet&, Options&)> spoil;
    char const* message;
};

class Refused : public testing::TestWithParam<RefusedCase>
{
};

TEST_P(Refused, WithAClearErrorAndNoFile)
{
    TemporaryFolder const folder;
    DataSet dataSet = smallDataSet();
    Options options;
    GetParam().spoil(dataSet, options);
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { writeFile(folder.file("x.hdqfs"), dataSet, options); }),
        GetParam().message);
    EXPECT_EQ(folder.numFiles(), 0U);
}

#define BOX "Cannot write zone 1, 'box': "
#define MESH "Cannot write zone 2, 'mesh': "
RefusedCase const refusedCases[] = {
    {"NoZone", [](DataSet& d, Options&) { d.zones.clear(); }, "A file needs a zone."},
    {"NoVariable", [](DataSet& d, Options&) { d.variableNames.clear(); },
     "A file needs a variable."},
    {"OldVersion", [](DataSet&, Options& o) { o.version = 103; },
     "There is no file version 103: 104 to 232."},
    {"NewVersion", [](DataSet&, Options& o) { o.version = 233; },
     "There is no file version 233: 104 to 232."},
    {"OldGrid",
     [](DataSet&, Options& o) {
         o.version = 104;
         o.fileType = FileType::Grid;
     },
     "Files of version 104 are full files."},
    {"LargeSubzone",
     [](DataSet&, Options& o) {
         o.subzoneSize = {257, 1, 1};
     },
     "A subzone can't hold more than 256 items."},
    {"FlatSubzone", [](DataSet&, Options& o) { o.subzoneSize[1] = 0; },
     "A subzone size can't be 0."},
    {"NoSource", [](DataSet& d, Options&) { d.zones[0].source.reset(); }, BOX "it has no source."},
    {"MissingVariable", [](DataSet& d, Options&) { d.zones[0].variables.pop_back(); },
     BOX "it describes 1 of 2 variables."},
    {"EmptyZone", [](DataSet& d, Options&) { d.zones[0].size[2] = 0; }, BOX "it has no nodes."},
    {"HugeZone",
     [](DataSet& d, Options&) {
         d.zones[0].size = {1ULL << 40, 1ULL << 40, 1};
     },
     BOX "it has more nodes than subzones can hold."},
    {"FlatPartitions",
     [](DataSet& d, Options&) {
         d.zones[0].size = {4, 4, 1};
         d.zones[0].partitions = {{{{0, 0, 0}, {2, 4, 1}}, 0, {}}, {{{2, 0, 0}, {4, 4, 1}}, 0, {}}};
     },
     BOX "a zone in partitions can't be flat along an axis."},
    {"Overlap",
     [](DataSet& d, Options&) {
         d.zones[0].partitions = {{{{0, 0, 0}, {5, 8, 8}}, 0, {}}, {{{4, 0, 0}, {8, 8, 8}}, 0, {}}};
     },
     BOX "its partitions overlap."},
    {"Gap",
     [](DataSet& d, Options&) {
         d.zones[0].partitions = {{{{0, 0, 0}, {4, 8, 8}}, 0, {}}, {{{5, 0, 0}, {8, 8, 8}}, 0, {}}};
     },
     BOX "its partitions don't fill it."},
    {"Outside",
     [](DataSet& d, Options&) {
         d.zones[0].partitions = {{{{0, 0, 0}, {9, 8, 8}}, 0, {}}};
     },
     BOX "a partition is no box inside the zone."},
    {"PlainPartitions", [](DataSet& d, Options&) { d.zones[1].isInSubzones = false; },
     MESH "only a zone in subzones can be partitioned."},
    {"SurfaceInSubzones", [](DataSet& d, Options&) { d.zones[1].type = ZoneType::Quadrilateral; },
     MESH "only ordered zones and zones of volumes can be in subzones."},
    {"NoPartition", [](DataSet& d, Options&) { d.zones[1].partitions.clear(); },
     MESH "it has no partition."},
    {"EmptyPartition", [](DataSet& d, Options&) { d.zones[1].partitions[1].numNodes = 0; },
     MESH "a partition has no nodes."},
    {"SectionCount", [](DataSet& d, Options&) { d.zones[1].partitions[1].numCells.push_back(1); },
     MESH "a partition must tell the cells of each section."},
    {"ManyNodes", [](DataSet& d, Options&) { d.zones[1].partitions[1].numNodes = 0x100000000; },
     MESH "a partition has more than 4 billion nodes."},
    {"NarrowCounts",
     [](DataSet& d, Options&) {
         d.zones[1].partitions[0].numNodes = 0xFFFFFFF0;
         d.zones[1].partitions[1].numNodes = 0xFFFFFFF0;
     },
     MESH "so many nodes and cells need file version 232."},
    {"OldMixed",
     [](DataSet& d, Options& o) {
         d.zones[1].type = ZoneType::Mixed;
         d.zones[1].sections = {{}};
         o.version = 105;
     },
     MESH "a mixed zone needs file version 106 or above."},
    {"ManySections",
     [](DataSet& d, Options&) {
         d.zones[1].type = ZoneType::Mixed;
         d.zones[1].sections.resize(17);
     },
     MESH "a mixed zone has 1 to 16 sections."},
    {"SectionsOfABrick", [](DataSet& d, Options&) { d.zones[1].sections = {{}}; },
     MESH "only a mixed zone has sections."},
    {"Parent", [](DataSet& d, Options&) { d.zones[0].parentZone = 2; },
     BOX "its parent doesn't exist."},
    {"ConnectivityOfNone", [](DataSet& d, Options&) { d.zones[1].connectivityFrom = 1; },
     MESH "the zone whose connectivity it shares doesn't exist."},
    {"ConnectivityOfAnother", [](DataSet& d, Options&) { d.zones[1].connectivityFrom = 0; },
     MESH "the zone whose connectivity it shares is cut up in another way."},
    {"SharedFromBehind", [](DataSet& d, Options&) { d.zones[0].variables[0].sharedFrom = 1; },
     BOX "variable 'variable 1' can only be shared from a zone ahead of it."},
    {"SharedFromAnotherKind", [](DataSet& d, Options&) { d.zones[1].variables[0].sharedFrom = 0; },
     MESH "variable 'variable 1' is shared from a zone where it is of another kind."},
    {"PassiveAndShared",
     [](DataSet& d, Options&) {
         d.zones[1].variables[0].sharedFrom = 0;
         d.zones[1].variables[0].isPassive = true;
     },
     MESH "variable 'variable 1' is passive and shared."},
    {"ParentOfItself", [](DataSet& d, Options&) { d.zones[0].parentZone = 0; },
     BOX "its parents go round in a ring."},
    {"ParentsInARing",
     [](DataSet& d, Options&) {
         d.zones[0].parentZone = 1;
         d.zones[1].parentZone = 0;
     },
     BOX "its parents go round in a ring."},
    {"TimeThatIsNoNumber", [](DataSet& d, Options&) { d.zones[1].solutionTime = std::nan(""); },
     MESH "its solution time is no finite number."},
    {"EndlessTime", [](DataSet& d, Options&) { d.zones[0].solutionTime = HUGE_VAL; },
     BOX "its solution time is no finite number."},
    {"UnknownFileType", [](DataSet&, Options& o) { o.fileType = static_cast<FileType>(3); },
     "There is no such type of file."},
    {"UnknownOrder", [](DataSet&, Options& o) { o.order = static_cast<ItemOrder>(2); },
     "There is no such order of items."},
    {"UnknownZoneType", [](DataSet& d, Options&) { d.zones[0].type = static_cast<ZoneType>(9); },
     BOX "it has no type."},
    {"UnknownShape",
     [](DataSet& d, Options&) {
         d.zones[1].type = ZoneType::Mixed;
         d.zones[1].sections = {{CellShape::Tetrahedron}};
         d.zones[1].sections[0].shape = static_cast<CellShape>(7);
     },
     MESH "a section has no shape or no order."},
    {"UnknownValueType",
     [](DataSet& d, Options&) { d.zones[0].variables[0].type = static_cast<ValueType>(7); },
     BOX "variable 'variable 1' has no type."},
    {"UnknownLocation",
     [](DataSet& d, Options&) { d.zones[0].variables[0].location = static_cast<ValueLocation>(2); },
     BOX "variable 'variable 1' has no location."},
    {"AuxiliaryDataOfNoVariable",
     [](DataSet& d, Options&) {
         d.auxiliaryData = {{AuxiliaryData::OF_A_VARIABLE, 2, "unit", 0, "m"}};
     },
     "The auxiliary data 'unit' belong to a variable that doesn't exist."},
    {"ManyCells", [](DataSet& d, Options&) { d.zones[1].partitions[0].numCells[0] = 0x100000000; },
     MESH "a partition has more than 4 billion cells."},
    {"CountsThatOverflow",
     [](DataSet& d, Options&) {
         d.zones[0].size = {1ULL << 32, 1ULL << 32, 1ULL << 32};
     },
     BOX "it has more nodes than subzones can hold."},
    {"BoxTheWrongWayRound",
     [](DataSet& d, Options&) {
         d.zones[0].partitions = {{{{8, 0, 0}, {0, 8, 8}}, 0, {}}};
     },
     BOX "a partition is no box inside the zone."},
    {"ConnectivityOfAZoneBelowAll", [](DataSet& d, Options&) { d.zones[1].connectivityFrom = -2; },
     MESH "the zone whose connectivity it shares doesn't exist."},
    {"CellOutOfRange",
     [](DataSet& d, Options&) {
         static_cast<MemorySource&>(*d.zones[1].source).mesh[0][0][3] = 4711;
     },
     MESH "a cell has node 4712 of 210."},
    {"ReturnInAName", [](DataSet& d, Options&) { d.variableNames[1] = "a\rb"; },
     "Cannot write 'a\rb' (varNamesArray): it has a carriage return."},
    {"BlankAtTheStartOfText",
     [](DataSet& d, Options& o) {
         d.title = " title";
         o.isText = true;
     },
     "Cannot write ' title' (dataSetTitle): in the text form it can't begin with a blank or a line "
     "end."},
    {"EmptyFirstNameInText",
     [](DataSet& d, Options& o) {
         d.zones[0].name = "";
         o.isText = true;
     },
     "Cannot write '' (zoneNamesArray): in the text form the first of a list can't be empty or "
     "begin with a blank or a line end."},
    {"LeastShortInText",
     [](DataSet& d, Options& o) {
         for (Zone& zone : d.zones)
             zone.variables[0].type = ValueType::Int16;
         fillValues(d.zones[1], 0, 1);
         std::vector<std::int16_t> values(512, -32768);
         static_cast<MemorySource&>(*d.zones[0].source).set(0, 0, values);
         o.isText = true;
     },
     "The text form can't hold the 16-bit value -32768."},
    {"BitOfTwo",
     [](DataSet& d, Options&) {
         d.zones[0].variables[0].type = ValueType::Bit;
         std::vector<std::uint8_t> values(512, 2);
         static_cast<MemorySource&>(*d.zones[0].source).set(0, 0, values);
     },
     "A bit can't have the value 2."},
    {"WideBeforeNarrow",
     [](DataSet& d, Options& o) {
         d.zones[1].variables[0].type = ValueType::Double;
         o.keepVariableOrder = true;
     },
     "Cannot write zone 2, 'mesh', in partitions: variable 'variable 1' is of a wider type than "
     "'variable 2' behind it."},
    {"NoOrderSuits",
     [](DataSet& d, Options&) {
         d.zones[1].variables[0].type = ValueType::Double;
         d.zones.push_back(d.zones[1]);
         d.zones[2].name = "other";
         std::swap(d.zones[2].variables[0], d.zones[2].variables[1]);
     },
     "Cannot write zone 3, 'other', in partitions: variable 'variable 2' is of a wider type than "
     "'variable 1' behind it, and no order suits all zones."},
};
INSTANTIATE_TEST_SUITE_P(DataSets, Refused, testing::ValuesIn(refusedCases),
                         varnox::tests::caseName<RefusedCase>);

// The file and its name.

/// Fails when it is asked for the n-th time.
class FailingSource final : public ZoneSource
{
public:
    FailingSource(std::shared_ptr<ZoneSource> source, int* callsLeft)
        : m_source(std::move(source)), m_callsLeft(callsLeft)
    {
    }
    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        count();
        return m_source->values(partition, variable, buffer);
    }
    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        count();
        return m_source->boxValues(box, variable, buffer);
    }
    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                               std::uint64_t* buffer) override
    {
        count();
        return m_source->cells(partition, section, buffer);
    }
    double const* positions(std::uint32_t partition, double* buffer) override
    {
        count();
        return m_source->positions(partition, buffer);
    }
    std::vector<std::int32_t> faceNeighbors() override
    {
        count();
        return {};
    }

private:
    void count()
    {
        if ((*m_callsLeft)-- == 0)
            throw std::runtime_error("the source failed");
    }
    std::shared_ptr<ZoneSource> m_source;
    int* m_callsLeft;
};

TEST(FileWriter, ASourceThatFailsAtAnyCallLeavesTheOldFileAndNoOther)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    std::ofstream(path) << "old";
    DataSet dataSet = smallDataSet();
    int callsLeft = 0;
    for (Zone& zone : dataSet.zones)
        zone.source = std::make_shared<FailingSource>(zone.source, &callsLeft);
    int numFailures = 0;
    for (;; ++numFailures) {
        callsLeft = numFailures;
        try {
            writeFile(path, dataSet);
            break;
        } catch (std::runtime_error const& error) {
            ASSERT_STREQ(error.what(), "the source failed");
        }
        ASSERT_EQ(contentsOf(path), "old");
        ASSERT_EQ(folder.numFiles(), 1U);
    }
    EXPECT_GT(numFailures, 15);
    EXPECT_EQ(folder.numFiles(), 1U);
    EXPECT_NO_THROW(hdqfsloader::DataFile{path});
}

TEST(FileWriter, ProgressTellsBytesAndCanStop)
{
    TemporaryFolder const folder;
    std::uint64_t last = 0;
    Options options;
    options.progress = [&](std::uint64_t numBytes) {
        EXPECT_GT(numBytes, last);
        last = numBytes;
    };
    Summary const summary = writeFile(folder.file("x.hdqfs"), smallDataSet(), options);
    EXPECT_GT(last, 0U);
    EXPECT_LT(last, summary.numBytes);
    options.progress = [](std::uint64_t) { throw std::runtime_error("stop"); };
    EXPECT_EQ(messageOf<std::runtime_error>(
                  [&] { writeFile(folder.file("y.hdqfs"), smallDataSet(), options); }),
              "stop");
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST(FileWriter, AFullDiskLeavesNoFile)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    DataSet dataSet = smallDataSet();
    dataSet.zones[0] = orderedZone({64, 64, 64}, {{}, {}});
    // The limit of the size of files stands for the end of a disk.
    struct ::rlimit old
    {
    };
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    auto* const oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct ::rlimit small = old;
    small.rlim_cur = 1500000;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string const message = messageOf<std::runtime_error>([&] { writeFile(path, dataSet); });
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(message, "Cannot write " + path + ": File too large.");
    EXPECT_EQ(folder.numFiles(), 0U);
}

TEST(FileWriter, AKillLeavesNothingUnderTheName)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("x.hdqfs");
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        Options options;
        int calls = 0;
        options.progress = [&](std::uint64_t) {
            if (++calls == 3)
                ::kill(::getpid(), SIGKILL);
        };
        writeFile(path, smallDataSet(), options);
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(FileWriter, AFolderThatIsMissingIsNamed)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("missing/x.hdqfs");
    EXPECT_EQ(messageOf<std::runtime_error>([&] { writeFile(path, smallDataSet()); }),
              "Cannot create " + path + ": No such file or directory.");
    std::string const itself = folder.path().string();
    EXPECT_EQ(messageOf<std::runtime_error>([&] { writeFile(itself, smallDataSet()); }),
              "Cannot create " + itself + ": Is a directory.");
}

TEST(FileWriter, AFileHasTheRightsOfAnyNewFile)
{
    TemporaryFolder const folder;
    writeFile(folder.file("x.hdqfs"), smallDataSet());
    std::ofstream(folder.file("y")) << "y";
    EXPECT_EQ(std::filesystem::status(folder.file("x.hdqfs")).permissions(),
              std::filesystem::status(folder.file("y")).permissions());
}

// The order of variables.

TEST(FileWriter, PutsVariablesInAscendingWidthForPartitions)
{
    DataSet dataSet;
    dataSet.variableNames = {"d", "f", "s", "d2", "b"};
    std::vector<ZoneVariable> variables;
    for (ValueType const type : {ValueType::Double, ValueType::Float, ValueType::Int16,
                                 ValueType::Double, ValueType::Byte})
        variables.push_back({type, ValueLocation::Nodes, false, -1});
    dataSet.zones = {meshZone({ZoneType::Brick, {6, 5, 4}, 3}, variables)};
    dataSet.auxiliaryData = {{AuxiliaryData::OF_A_VARIABLE, 0, "unit", 0, "m"},
                             {1, 0, "zone", 0, "z"}};
    Options options;
    options.order = ItemOrder::Keep;
    WrittenFile const written(dataSet, options);
    EXPECT_EQ(written.summary.variableOrder, (std::vector<std::uint32_t>{4, 2, 1, 0, 3}));
    auto const file = written.open();
    DataSet const read = dataSetFromFile(file);
    EXPECT_EQ(read.variableNames, (std::vector<std::string>{"b", "s", "f", "d", "d2"}));
    EXPECT_EQ(read.auxiliaryData[0].auxDataEntity, 3U);
    EXPECT_EQ(read.auxiliaryData[1].auxDataEntity, 0U);
    expectExactRanges(file, read);

    // A zone that isn't in partitions keeps the order.
    dataSet.zones = {meshZone({ZoneType::Brick, {6, 5, 4}, 1}, variables)};
    EXPECT_EQ(WrittenFile(dataSet, options).summary.variableOrder,
              (std::vector<std::uint32_t>{0, 1, 2, 3, 4}));
}

// Connectivity at the widths of its numbers.

/// A partition whose cells have nodes of all the others, one cell in each.
DataSet manyPartitions(std::uint32_t numPartitions)
{
    Zone zone;
    zone.type = ZoneType::Tetrahedron;
    zone.name = "star";
    zone.variables = {{}, {ValueType::Float, ValueLocation::Cells, false, -1}};
    auto source = std::make_shared<MemorySource>();
    for (std::uint64_t p = 0; p < numPartitions; ++p) {
        zone.partitions.push_back({{}, 5, {p == 0 ? numPartitions : 1}});
        source->mesh.push_back({{}});
        for (std::uint64_t c = 0; p == 0 && c < numPartitions; ++c)
            source->mesh[0][0].insert(source->mesh[0][0].end(), {0, 1, 2, 5 * c + 3});
        if (p != 0)
            source->mesh[p][0] = {5 * p, 5 * p + 1, 5 * p + 2, 4};
    }
    zone.source = source;
    fillValues(zone, 0, 1);
    fillValues(zone, 1, 2);
    DataSet result;
    result.variableNames = namesOf(2);
    result.zones = {zone};
    return result;
}

class ManyPartitions : public testing::TestWithParam<std::uint32_t>
{
};

TEST_P(ManyPartitions, AreReferredTo)
{
    DataSet const dataSet = manyPartitions(GetParam());
    for (bool const isText : {false, true}) {
        Options options;
        options.isText = isText;
        WrittenFile const written(dataSet, options);
        auto const file = written.open();
        EXPECT_EQ(file->partition(0, 0).numRefPartitions, GetParam() > 1 ? GetParam() : 0);
        expectEqual(dataSet, dataSetFromFile(file), isText);
        expectExactRanges(file, dataSet);
        expectExactNodeRecords(file, dataSet);
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, ManyPartitions,
                         testing::Values(1U, 2U, 4U, 5U, 16U, 17U, 256U, 257U, 300U));

class ManySubzones : public testing::TestWithParam<std::uint32_t>
{
};

TEST_P(ManySubzones, AreReferredToByOne)
{
    // One subzone of cells, whose nodes are spread over as many subzones.
    std::uint32_t const numSubzones = GetParam();
    Zone zone;
    zone.name = "spread";
    zone.type = ZoneType::Tetrahedron;
    zone.variables = {{}};
    zone.partitions = {{{}, std::uint64_t{256} * numSubzones, {200}}};
    auto source = std::make_shared<MemorySource>();
    source->mesh = {{{}}};
    for (std::uint64_t i = 0; i < 800; ++i)
        source->mesh[0][0].push_back(i % numSubzones * 256 + i * 37 % 256);
    zone.source = source;
    fillValues(zone, 0, 3);
    DataSet dataSet;
    dataSet.variableNames = namesOf(1);
    dataSet.zones = {zone};
    for (std::uint32_t const version : {104U, 105U}) {
        for (bool const isText : {false, true}) {
            Options options;
            options.isText = isText;
            options.version = version;
            WrittenFile const written(dataSet, options);
            auto const file = written.open();
            expectEqual(dataSet, dataSetFromFile(file), isText);
            expectExactNodeRecords(file, dataSet);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, ManySubzones,
                         testing::Values(1U, 4U, 5U, 16U, 17U, 256U, 257U, 700U));

}
}
