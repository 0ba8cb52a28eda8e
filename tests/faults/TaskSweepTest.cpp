// What is done with files without a session: they are checked, described and written, while memory
// and the operations on files fail one after the other.

#include "addons/hdqfs/DataFile.h"
#include "tests/faults/Faults.h"
#include "tests/faults/SampleFiles.h"
#include "tests/faults/Tally.h"
#include "tests/faults/Talk.h"
#include "tests/writer/DataSets.h"
#include "tests/writer/WrittenFile.h"
#include "tools/vnxinfo/Check.h"
#include "tools/vnxinfo/Description.h"
#include "varnox/hdqfswriter/FileWriter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace varnox::tests {

struct Task
{
    char const* name;
    std::function<void(Digest&)> run;
    /// What is left behind when it has run, and is put away.
    std::function<std::string()> leftovers = [] { return std::string(); };
    /// A failure is part of its answer: it tells what is wrong with a file.
    bool tells = false;
    /// The JSON library ends the program if it has no memory to destroy a value.
    bool usesJson = false;
};

void PrintTo(Task const& task, std::ostream* out)
{
    *out << task.name;
}

namespace {

struct TaskReport
{
    Digest answer;
    std::string exception;
    std::string text;
    std::uint64_t numOperations = 0;
    std::uint64_t numInjected = 0;
    long heldBlocks = 0;
    std::string leftovers;
};

TaskReport run(Task const& task, Fault const& fault = {})
{
    TaskReport report;
    report.exception.reserve(64);
    report.text.reserve(4096);
    long const before = numLiveBlocks();
    FaultInjection injection(fault, -1);
    try {
        task.run(report.answer);
    } catch (std::bad_alloc const&) {
        injection.end();
        report.exception = "std::bad_alloc";
    } catch (std::runtime_error const& error) {
        injection.end();
        report.exception = "std::runtime_error";
        report.text = error.what();
    } catch (std::exception const& error) {
        injection.end();
        report.exception = "another";
        report.text = error.what();
    }
    injection.end();
    report.heldBlocks = numLiveBlocks() - before;
    report.numOperations = injection.numOperations();
    report.numInjected = injection.numInjected();
    report.leftovers = task.leftovers();
    return report;
}

bool isSame(TaskReport const& a, TaskReport const& b)
{
    return a.exception == b.exception && a.answer.text() == b.answer.text() &&
           a.leftovers == b.leftovers;
}

std::string complaint(Task const& task, Fault const& fault, TaskReport const& clean,
                      TaskReport const& report)
{
    if (isSame(clean, report))
        return "";
    std::string const ending = report.exception + ": " + report.text;
    if (isHarmless(fault.kind))
        return "what is harmless did harm: " + ending;
    if (report.exception.empty())
        return task.tells ? "" : "another answer, and no error";
    if (report.exception == "another" ||
        (report.exception == "std::bad_alloc" && fault.kind != FaultKind::Allocation))
        return "threw " + ending;
    if (report.exception == "std::runtime_error" && report.text.empty())
        return "threw without a text";
    return report.leftovers.empty() ? "" : "left behind " + report.leftovers;
}

class TaskSweep : public testing::TestWithParam<Task>
{
protected:
    void SetUp() override
    {
        for (int i = 0; i < 2; ++i)
            clean = run(GetParam());
        ASSERT_EQ(clean.exception, "") << clean.text;
        ASSERT_EQ(clean.heldBlocks, 0);
        numDescriptors = numOpenDescriptors();
    }

    bool tryFault(Fault const& fault)
    {
        TaskReport const report = run(GetParam(), fault);
        if (report.numInjected == 0)
            return false;
        std::string wrong = complaint(GetParam(), fault, clean, report);
        long const held = report.heldBlocks != 0 ? run(GetParam(), fault).heldBlocks : 0;
        if (wrong.empty() && held != 0)
            wrong = std::to_string(held) + " blocks of memory were lost";
        int const numNow = numOpenDescriptors();
        if (wrong.empty() && numNow != numDescriptors)
            wrong = "descriptors were lost";
        numDescriptors = numNow;
        if (wrong.empty() && !isSame(run(GetParam()), clean))
            wrong = "the next run ended otherwise";
        ++tally.faults;
        tally.injected += report.numInjected;
        if (!wrong.empty())
            ++tally.otherwise;
        else if (!report.exception.empty())
            ++tally.ended;
        else
            ++(isSame(report, clean) ? tally.unharmed : tally.refused);
        if (wrong.empty() && !report.exception.empty())
            recordException(report.exception);
        EXPECT_EQ(wrong, "") << GetParam().name << ", " << nameOf(fault.kind) << " " << fault.n
                             << (fault.lasts ? " and on" : "");
        return true;
    }

    TaskReport clean;
    Tally tally;
    int numDescriptors = 0;
};

TEST_P(TaskSweep, EndsAsStatedAndLeavesNothing)
{
    std::uint64_t numSweeps = 0;
    for (FaultKind const kind : {FaultKind::Allocation, FaultKind::FileError, FaultKind::FileEnd,
                                 FaultKind::FileShort, FaultKind::FileInterrupt}) {
        if (kind == FaultKind::Allocation && GetParam().usesJson)
            continue;
        std::uint64_t const numOperations = run(GetParam(), {kind, 0, false}).numOperations;
        tally.operations += numOperations;
        for (bool const lasts : {false, true}) {
            for (std::uint64_t const n : samples(numOperations, numSweeps++))
                EXPECT_TRUE(tryFault({kind, n, lasts}));
            EXPECT_FALSE(tryFault({kind, numOperations + 1, lasts}));
        }
    }
    EXPECT_GT(tally.faults, 0U);
    record(GetParam().name, tally);
}

void check(Digest& digest, std::string const& path)
{
    tools::Faults const faults = tools::findFaults(path);
    for (auto const& fault : faults.kept())
        digest.add(fault.place).add(fault.text);
}

void describe(Digest& digest, std::string const& path)
{
    hdqfsloader::DataFile file(path);
    digest.add(tools::serialized(tools::describe(file, std::nullopt)));
}

/// A folder in which nothing but the file is left.
class Writing
{
public:
    Writing(hdqfswriter::DataSet dataSet, bool isText) : m_dataSet(std::move(dataSet))
    {
        m_options.isText = isText;
    }

    void write(Digest& digest)
    {
        auto const summary = writeFile(m_path, m_dataSet, m_options);
        digest.add(summary.numBytes);
    }

    std::string leftovers()
    {
        std::string result;
        for (auto const& entry : std::filesystem::directory_iterator(m_folder.path())) {
            std::ostringstream bytes;
            bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            result +=
                entry.path().filename().string() + " of " + Digest().add(bytes.str()).text() + " ";
        }
        std::filesystem::remove_all(m_folder.path());
        std::filesystem::create_directory(m_folder.path());
        return result;
    }

private:
    hdqfswriter::tests::TemporaryFolder m_folder;
    std::string const m_path = m_folder.file("written.hdqfs");
    hdqfswriter::DataSet m_dataSet;
    hdqfswriter::Options m_options;
};

Task writing(char const* name, hdqfswriter::Zone zone, bool isText)
{
    hdqfswriter::DataSet dataSet;
    dataSet.variableNames = {"one", "two"};
    dataSet.zones.push_back(std::move(zone));
    auto const files = std::make_shared<Writing>(std::move(dataSet), isText);
    return {name, [files](Digest& digest) { files->write(digest); },
            [files] { return files->leftovers(); }};
}

std::vector<Task> makeTasks()
{
    using namespace hdqfswriter;
    std::vector<Task> result;
    struct Reading
    {
        char const* check;
        char const* describe;
        char const* file;
        bool isText;
    };
    for (Reading const reading :
         {Reading{"CheckPartitions", "DescribePartitions", "boxes", false},
          Reading{"CheckPartitionsText", "DescribePartitionsText", "boxes", true},
          Reading{"CheckMesh", "DescribeMesh", "mesh", false},
          Reading{"CheckMeshText", "DescribeMeshText", "mesh", true},
          Reading{"CheckMixed", "DescribeMixed", "mixed", false},
          Reading{"CheckAnnotated", "DescribeAnnotated", "annotated", false},
          Reading{"CheckAnnotatedText", "DescribeAnnotatedText", "annotated", true}}) {
        std::string const path = SampleFiles::get().path(reading.file, reading.isText);
        result.push_back({reading.check, [path](Digest& digest) { check(digest, path); }});
        result.back().tells = true;
        result.push_back({reading.describe, [path](Digest& digest) { describe(digest, path); }});
        result.back().tells = true;
        result.back().usesJson = true;
    }
    std::vector<ZoneVariable> const two{{ValueType::Float, ValueLocation::Nodes, false, -1},
                                        {ValueType::Double, ValueLocation::Cells, false, -1}};
    for (bool const isText : {false, true}) {
        result.push_back(writing(isText ? "WriteOrderedText" : "WriteOrdered",
                                 hdqfswriter::tests::orderedZone({9, 8, 7}, two), isText));
        result.push_back(writing(isText ? "WriteMeshText" : "WriteMesh",
                                 hdqfswriter::tests::meshZone({ZoneType::Brick, {6, 5, 9}, 2}, two),
                                 isText));
    }
    return result;
}

INSTANTIATE_TEST_SUITE_P(Files, TaskSweep, testing::ValuesIn(makeTasks()),
                         [](auto const& test) { return std::string(test.param.name); });

}
}
