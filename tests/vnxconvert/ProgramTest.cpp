// The program: its usage, what it prints, and its exit statuses.

#include "tests/vnxclient/Process.h"
#include "tests/vnxconvert/Vtu.h"
#include "tests/writer/WrittenFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/stat.h>

namespace varnox::convert::tests {
namespace {

using hdqfswriter::tests::TemporaryFolder;
using testing::HasSubstr;
using testing::MatchesRegex;
using varnox::tests::Process;

struct Result
{
    int status;
    std::string output;
    std::string error;
};

Result run(std::vector<std::string> arguments, Process::Setup const& setup = {})
{
    arguments.insert(arguments.begin(), VNX_BIN_DIR "/vnxconvert");
    Process process(arguments, setup);
    int const status = process.wait();
    return {status, process.output(), process.error()};
}

TEST(VnxConvert, TellsItsUsage)
{
    Result const result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    for (char const* const option :
         {"--ascii", "--version", "--partition-cells", "--subzone", "--vars", "--time", "--float",
          "--double", "--order", "--polyhedra", "--series", "--title"})
        EXPECT_THAT(result.output, HasSubstr(option));
    EXPECT_THAT(run({"--program-version"}).output, testing::StartsWith("vnxconvert "));
}

struct UsageCase
{
    char const* name;
    std::vector<std::string> arguments;
    char const* message;
};

UsageCase const usageCases[] = {
    {"NoFiles", {}, "FILE"},
    {"NoOutput", {"a.vtu"}, "An input and the output are needed."},
    {"OutputOfAnotherFormat", {"a.vtu", "b.vtu"}, "must end in .hdqfs: b.vtu"},
    {"UnknownOption", {"a.vtu", "b.hdqfs", "--nothing"}, "--nothing"},
    {"Version", {"a.vtu", "b.hdqfs", "--version", "103"}, "--version"},
    {"OnlyAnUnknownOption", {"--nothing"}, "This was not expected: --nothing\n"},
    {"PartitionCells",
     {"a.vtu", "b.hdqfs", "--partition-cells", "0"},
     "--partition-cells: Value 0 not in range 1 to 18446744073709551615\n"},
    {"Subzone", {"a.vtu", "b.hdqfs", "--subzone", "8,8,8"}, "--subzone wants three numbers"},
    {"SubzoneOfTwo", {"a.vtu", "b.hdqfs", "--subzone", "8,8"}, "--subzone wants three numbers"},
    {"Time", {"a.vtu", "b.hdqfs", "--time", "x"}, "--time: 'x' is no time."},
    {"FloatAndDouble", {"a.vtu", "b.hdqfs", "--float", "--double"}, "--double"},
    {"Order", {"a.vtu", "b.hdqfs", "--order", "random"}, "--order"},
    {"Polyhedra", {"a.vtu", "b.hdqfs", "--polyhedra", "eat"}, "--polyhedra"}};

class WrongUsage : public testing::TestWithParam<UsageCase>
{
};

TEST_P(WrongUsage, IsToldWithStatus2)
{
    Result const result = run(GetParam().arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(CommandLines, WrongUsage, testing::ValuesIn(usageCases),
                         [](auto const& one) { return std::string(one.param.name); });

/// A set of signals of a process that waits for its input.
std::uint64_t signalsOf(Process const& process, std::string const& set)
{
    std::ifstream status("/proc/" + std::to_string(process.pid()) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(set))
            return std::stoull(line.substr(set.size()), nullptr, 16);
    return 0;
}

TEST(VnxConvert, TakesAHangUpUnlessItIsIgnored)
{
    constexpr std::uint64_t HANG_UP = std::uint64_t{1} << (SIGHUP - 1);
    TemporaryFolder const folder;
    std::string const pipe = folder.file("never.series");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (bool const isIgnored : {false, true}) {
        std::string const set = isIgnored ? "SigIgn:" : "SigCgt:";
        Process process({"/bin/sh", "-c",
                         std::string(isIgnored ? "trap '' HUP; " : "") + "exec \"$0\" \"$@\"",
                         VNX_BIN_DIR "/vnxconvert", pipe, folder.file("out.hdqfs")});
        bool isSet = false;
        for (int i = 0; i < 500 && !isSet; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            bool const isPrepared = (signalsOf(process, "SigCgt:") & (1U << (SIGTERM - 1))) != 0;
            isSet = isPrepared && (signalsOf(process, set) & HANG_UP) != 0;
        }
        EXPECT_TRUE(isSet) << set;
        process.signal(SIGKILL);
        process.wait();
    }
}

TEST(VnxConvert, NamesAnInputThatIsNotThere)
{
    TemporaryFolder const folder;
    Result const result = run({folder.file("no.vtu"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "vnxconvert: Cannot read " + folder.file("no.vtu") +
                                ": No such file or directory.\nCheck the name, and that you may "
                                "read the file.\n");
}

TEST(VnxConvert, DoesNotWaitForAPipe)
{
    TemporaryFolder const folder;
    ASSERT_EQ(::mkfifo(folder.file("in.vtu").c_str(), 0600), 0);
    Result const result = run({folder.file("in.vtu"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "vnxconvert: Cannot read " + folder.file("in.vtu") +
                  ": it is no ordinary file.\nMake a file of what comes out of it.\n");
}

TEST(VnxConvert, NamesAFormatThatItDoesNotKnow)
{
    TemporaryFolder const folder;
    writeText(folder.file("a.xyz"), "");
    Result const result = run({folder.file("a.xyz"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("files with the extension '.xyz' are of no known format"));
    EXPECT_THAT(result.error, HasSubstr(".vtu .vts .vti"));
    EXPECT_THAT(run({folder.path().string(), folder.file("out.hdqfs")}).error,
                HasSubstr("it is a folder"));
}

#ifdef VNX_TEST_WITH_VTK

TEST(VnxConvert, TellsWhatItHasWritten)
{
    TemporaryFolder const folder;
    writeText(folder.file("row.vtu"), rowOfCubes(3).vtu());
    Result const result =
        run({folder.file("row.vtu"), folder.file("out.hdqfs"), "--title", "cubes", "--ascii"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output, HasSubstr("zone 'row': bricks, 16 nodes, 3 cells, 1 partition\n"));
    EXPECT_THAT(result.output,
                HasSubstr("5 variables: X, Y, Z, p, T\n" + folder.file("out.hdqfs")));
    EXPECT_THAT(result.output, HasSubstr("1 zone, 3 cells, 16 nodes, "));
    EXPECT_THAT(result.output, HasSubstr(" of version 105, "));
}

TEST(VnxConvert, TakesTheFilesBehindTheVariablesForFiles)
{
    TemporaryFolder const folder;
    writeText(folder.file("row.vtu"), rowOfCubes(3).vtu());
    std::vector<std::string> const files{folder.file("row.vtu"), folder.file("out.hdqfs")};
    Result const one = run({"--vars", "T", files[0], files[1]});
    EXPECT_EQ(one.status, 0) << one.error;
    EXPECT_THAT(one.output, HasSubstr("4 variables: X, Y, Z, T\n"));
    for (std::vector<std::string> const& variables :
         {std::vector<std::string>{"--vars", "T,p"}, {"--vars", "T", "--vars", "p"}}) {
        std::vector<std::string> arguments = variables;
        arguments.insert(arguments.end(), files.begin(), files.end());
        EXPECT_THAT(run(arguments).output, HasSubstr("5 variables: X, Y, Z, p, T\n"));
    }
}

TEST(VnxConvert, PipeInThePlaceOfATimeStays)
{
    TemporaryFolder const folder;
    for (char const* const name : {"a.vtu", "b.vtu"})
        writeText(folder.file(name), rowOfCubes(3).vtu());
    std::string const pipe = folder.file("out_t01.hdqfs");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    Result const result =
        run({"--series", folder.file("a.vtu"), folder.file("b.vtu"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "vnxconvert: Cannot write " + pipe + ": it is no ordinary file.\n");
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_EQ(folder.numFiles(), 3U);
}

TEST(VnxConvert, SaysWhichTimesThereAre)
{
    TemporaryFolder const folder;
    for (char const* const name : {"a.vtu", "b.vtu"})
        writeText(folder.file(name), rowOfCubes(3).vtu());
    Result const one = run({"--time", "5:6", folder.file("a.vtu"), folder.file("out.hdqfs")});
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(one.error, "vnxconvert: No time lies in the range of --time: there is only 0.\n");
}

TEST(VnxConvert, FileThatMayNotGrowLeavesNothing)
{
    TemporaryFolder const folder;
    writeText(folder.file("row.vtu"), rowOfCubes(2000).vtu());
    Process process({"/bin/sh", "-c", "ulimit -f 10; exec \"$0\" \"$@\"", VNX_BIN_DIR "/vnxconvert",
                     folder.file("row.vtu"), folder.file("out.hdqfs")});
    EXPECT_EQ(process.wait(), 1);
    EXPECT_EQ(process.error(),
              "vnxconvert: Cannot write " + folder.file("out.hdqfs") + ": File too large.\n");
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST(VnxConvert, SaysWhatItLeavesOut)
{
    TemporaryFolder const folder;
    TextGrid grid = rowOfCubes(3);
    grid.cells.push_back({1, {0}});
    grid.atCells[0].values.push_back(0);
    writeText(folder.file("row.vtu"), grid.vtu());
    Result const result = run({folder.file("row.vtu"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "vnxconvert: 'row': 1 vertex left out, as they have no place.\n");
}

/// An image of one cell with a variable, or with two of one name, on which VTK's reader crashes.
std::string oneCellWith(int numArrays)
{
    std::string const array = "<DataArray type='Int16' Name='c' format='ascii'>2</DataArray>";
    std::string arrays;
    for (int i = 0; i < numArrays; ++i)
        arrays += array;
    return "<VTKFile type='ImageData' version='1.0' byte_order='LittleEndian'>"
           "<ImageData WholeExtent='0 1 0 1 0 1'><Piece Extent='0 1 0 1 0 1'>"
           "<CellData>" +
           arrays + "</CellData></Piece></ImageData></VTKFile>";
}

std::string wordsOfACrash(std::string const& path)
{
    return "vnxconvert: Cannot read " + path +
           ": VTK's reader crashes on it.\nCheck that the file is complete, and open it with the "
           "program that wrote it.\n";
}

TEST(VnxConvert, SaysWhenTheReaderOfAFormatCrashes)
{
    TemporaryFolder const folder;
    writeText(folder.file("in.vti"), oneCellWith(2));
    Result const result = run({folder.file("in.vti"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, wordsOfACrash(folder.file("in.vti")));
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST(VnxConvert, LeavesNothingOfASeriesInWhichTheReaderOfAFormatCrashes)
{
    TemporaryFolder const folder;
    writeText(folder.file("sound.vti"), oneCellWith(1));
    writeText(folder.file("twice.vti"), oneCellWith(2));
    Result const result = run({folder.file("sound.vti"), folder.file("sound.vti"),
                               folder.file("twice.vti"), folder.file("out.hdqfs"), "--series"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, wordsOfACrash(folder.file("twice.vti")));
    EXPECT_EQ(folder.numFiles(), 2U);
}

TEST(VnxConvert, MessagesHoldNoControlCharacters)
{
    TemporaryFolder const folder;
    TextGrid grid = rowOfCubes(3);
    grid.atCells[0].name = "a&#xD;\xC2\x9B"
                           "31m";
    writeText(folder.file("row.vtu"), grid.vtu());
    EXPECT_EQ(run({folder.file("row.vtu"), folder.file("out.hdqfs")}).error,
              "vnxconvert: Cannot write 'a?\xC2?31m' (varNamesArray): it has a carriage return.\n");
}

TEST(VnxConvert, LeavesNoFileWhereItCannotWrite)
{
    TemporaryFolder const folder;
    writeText(folder.file("row.vtu"), rowOfCubes(3).vtu());
    Result const result = run({folder.file("row.vtu"), folder.file("no/out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("No such file or directory"));
    EXPECT_EQ(folder.numFiles(), 1U);
    // A device that takes nothing.
    EXPECT_EQ(
        run({folder.file("row.vtu"), folder.file("out.hdqfs")}, {{}, {}, false, false, "/dev/full"})
            .status,
        1);
}

TEST(VnxConvert, SaysNothingAfterItsReaderHasGone)
{
    TemporaryFolder const folder;
    writeText(folder.file("row.vtu"), rowOfCubes(3).vtu());
    Process::Setup setup;
    setup.outputIsClosed = true;
    Result const result = run({folder.file("row.vtu"), folder.file("out.hdqfs")}, setup);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(std::filesystem::exists(folder.file("out.hdqfs")));
}

TEST(VnxConvert, ShowsABarOnATerminalAlone)
{
    TemporaryFolder const folder;
    writeText(folder.file("row.vtu"), rowOfCubes(20000).vtu());
    Process::Setup setup;
    setup.errorIsTerminal = true;
    Result const result = run({folder.file("row.vtu"), folder.file("out.hdqfs"), "--ascii"}, setup);
    EXPECT_EQ(result.status, 0);
    // A machine may be so fast that there is nothing to show; what is shown is wiped.
    EXPECT_THAT(result.error, testing::AnyOf("", testing::EndsWith("\r\x1B[K")));
    EXPECT_EQ(run({folder.file("row.vtu"), folder.file("out.hdqfs")}).error, "");
}

#else

TEST(VnxConvert, SaysHowToGetVtk)
{
    TemporaryFolder const folder;
    writeText(folder.file("row.vtu"), rowOfCubes(3).vtu());
    Result const result = run({folder.file("row.vtu"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("this vnxconvert was built without VTK."));
    EXPECT_THAT(result.error, HasSubstr("libvtk9-dev"));
}

#endif

#ifndef VNX_TEST_WITH_CGNS

TEST(VnxConvert, SaysHowToGetTheCgnsLibrary)
{
    TemporaryFolder const folder;
    writeText(folder.file("a.cgns"), "");
    Result const result = run({folder.file("a.cgns"), folder.file("out.hdqfs")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("libcgns-dev"));
}

#endif

}
}
