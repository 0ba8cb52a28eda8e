// vnxconvert: makes HDQFS files of what solvers and other programs write.

#include "tools/support/CommandLine.h"
#include "tools/support/Output.h"
#include "tools/support/ProgressBar.h"
#include "tools/support/StandardDescriptors.h"
#include "tools/support/WrongUsage.h"
#include "tools/vnxconvert/Conversion.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <limits>
#include <sstream>

namespace {

using namespace varnox::convert;
using varnox::tools::ProgressBar;
using varnox::tools::WrongUsage;

constexpr int SUCCESS = 0;
constexpr int FAILURE = 1;
constexpr int WRONG_USAGE = 2;

volatile std::sig_atomic_t wasInterrupted = 0;

/// The first one ends the work orderly; a second one ends the process.
void interrupt(int signal)
{
    wasInterrupted = 1;
    std::signal(signal, SIG_DFL);
}

struct CommandLine
{
    std::vector<std::string> files;
    std::string version;
    std::string subzone;
    std::string times;
    std::string order = "hilbert";
    std::string polyhedra = "leave";
    bool asFloat = false;
    bool asDouble = false;
    ConversionOptions options{};
};

void describeUsage(CLI::App& app, CommandLine& line)
{
    ConversionOptions& options = line.options;
    app.set_version_flag("--program-version", "vnxconvert " VNX_VERSION);
    app.add_option(
           "FILE", line.files,
           "input files, and the HDQFS file to write as the last one. Inputs: .vtu .vts .vti "
           ".vtr .vtp .pvtu .pvts .pvti .pvtr .pvtp .vtm .vtk .cgns .pvd .series")
        ->required();
    app.add_flag("--ascii", options.isText, "write the text form");
    app.add_option("--version", options.version, "file version, 104 to 232")
        ->check(CLI::Range(104, 232));
    app.add_option("--partition-cells", options.partitionCells,
                   "cut zones into partitions of at most so many cells")
        ->check(CLI::Range(std::uint64_t{1}, std::numeric_limits<std::uint64_t>::max()));
    app.add_option("--subzone", line.subzone,
                   "largest subzone of ordered zones along I,J,K (6,6,6); 256 nodes at most");
    app.add_option("--vars", options.variables,
                   "variables to write beside the coordinates: names with commas between them")
        ->delimiter(',')
        ->expected(1)
        ->allow_extra_args(false) // what follows it is a file
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--time", line.times,
                   "times to write: FROM:TO, FROM:, :TO, or one number; both ends count");
    auto* const asFloat =
        app.add_flag("--float", line.asFloat, "write floating-point numbers in 32 bits");
    app.add_flag("--double", line.asDouble, "write floating-point numbers in 64 bits")
        ->excludes(asFloat);
    app.add_option(
           "--order", line.order,
           "of nodes and cells: hilbert, along a curve that fills space, or keep, as in the "
           "input")
        ->check(CLI::IsMember({"hilbert", "keep"}));
    app.add_option("--polyhedra", line.polyhedra,
                   "leave them out, or cut them into tetrahedra (and polygons into triangles)")
        ->check(CLI::IsMember({"leave", "cut"}));
    app.add_flag("--series", options.asSeries, "each input is a time, and not a zone");
    app.add_option("--title", options.title, "title of the data set");
}

std::array<std::uint16_t, 3> subzoneSizeIn(std::string const& text)
{
    std::array<std::uint16_t, 3> result{};
    std::istringstream stream(text);
    char comma[2] = {',', ','};
    stream >> result[0] >> comma[0] >> result[1] >> comma[1] >> result[2];
    std::uint64_t const items = std::uint64_t{result[0]} * result[1] * result[2];
    if (!stream || !(stream >> std::ws).eof() || comma[0] != ',' || comma[1] != ',' || items == 0 ||
        items > 256)
        throw WrongUsage(
            "--subzone wants three numbers with commas, as 6,6,6, of which the product "
            "is 256 at most.");
    return result;
}

void complete(CommandLine& line)
{
    if (line.files.size() < 2)
        throw WrongUsage("An input and the output are needed.");
    ConversionOptions& options = line.options;
    options.output = line.files.back();
    options.inputs.assign(line.files.begin(), line.files.end() - 1);
    if (extensionOf(options.output) != ".hdqfs")
        throw WrongUsage("The last file is the output, and its name must end in .hdqfs: " +
                         options.output);
    if (!line.subzone.empty())
        options.subzoneSize = subzoneSizeIn(line.subzone);
    if (!line.times.empty()) {
        try {
            options.times = TimeRange::parse(line.times);
        } catch (std::invalid_argument const& error) {
            throw WrongUsage(std::string("--time: ") + error.what());
        }
    }
    options.precision = line.asFloat    ? Precision::Float
                        : line.asDouble ? Precision::Double
                                        : Precision::Keep;
    options.keepOrder = line.order == "keep";
    options.cutPolyhedra = line.polyhedra == "cut";
}

std::string readable(std::uint64_t numBytes)
{
    static constexpr char const* UNITS[] = {"bytes", "kB", "MB", "GB", "TB"};
    auto amount = static_cast<double>(numBytes);
    std::size_t unit = 0;
    for (; amount >= 1000 && unit < 4; ++unit)
        amount /= 1000;
    char text[40];
    std::snprintf(text, sizeof(text), unit == 0 ? "%.0f %s" : "%.1f %s", amount, UNITS[unit]);
    return text;
}

std::string summaryOf(ConversionSummary const& summary)
{
    std::ostringstream text;
    std::uint64_t numNodes = 0;
    std::uint64_t numCells = 0;
    for (ZoneSummary const& zone : summary.zones) {
        numNodes += zone.numNodes;
        numCells += zone.numCells;
        text << "zone '" << varnox::tools::shown(zone.name) << "': " << zone.type << ", "
             << counted(zone.numNodes, "node") << ", " << counted(zone.numCells, "cell") << ", "
             << counted(zone.numPartitions, "partition") << '\n';
    }
    text << counted(summary.variables.size(), "variable") << ": "
         << varnox::tools::shown(joined(summary.variables)) << '\n';
    if (summary.files.size() > 1)
        text << summary.files.front() << ", and for " << counted(summary.files.size() - 1, "time")
             << " " << summary.files[1]
             << (summary.files.size() > 2 ? " to " + summary.files.back() : "") << '\n';
    else
        text << summary.files.front()
             << (summary.numTimes > 1 ? ", " + counted(summary.numTimes, "time") : "") << '\n';
    char times[80];
    std::snprintf(times, sizeof(times), "%.2f s, of which %.2f s reading", summary.seconds,
                  summary.secondsOfReading);
    text << counted(summary.zones.size(), "zone") << ", " << counted(numCells, "cell") << ", "
         << counted(numNodes, "node") << ", " << readable(summary.numBytes) << " of version "
         << summary.version << ", " << times << '\n';
    return text.str();
}

int run(CommandLine& line)
{
    try {
        complete(line);
        ProgressBar bar;
        line.options.progress = [&](char const* action, std::uint64_t done, std::uint64_t total) {
            if (wasInterrupted != 0)
                throw Interrupted("Interrupted; nothing is written.");
            bar.update(action, done, total);
        };
        ConversionSummary const summary = convert(line.options);
        bar.clear();
        for (std::string const& remark : summary.remarks)
            std::fprintf(stderr, "vnxconvert: %s\n", varnox::tools::shown(remark).c_str());
        varnox::tools::Output output;
        output.write(summaryOf(summary));
        output.finish();
        return SUCCESS;
    } catch (varnox::tools::ReaderGone const&) {
        return SUCCESS;
    } catch (WrongUsage const& error) {
        std::fprintf(stderr, "vnxconvert: %s\nRun vnxconvert --help for its usage.\n",
                     varnox::tools::shownLines(error.what()).c_str());
        return WRONG_USAGE;
    } catch (std::bad_alloc const&) {
        std::fputs("vnxconvert: There is not enough memory.\nConvert fewer files at once, or on a "
                   "machine with more.\n",
                   stderr);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "vnxconvert: %s\n", varnox::tools::shownLines(error.what()).c_str());
    }
    return FAILURE;
}

}

// NOLINTNEXTLINE(bugprone-exception-escape): without memory for its command line it may end so
int main(int argc, char** argv)
{
    varnox::tools::occupyStandardDescriptors();
    varnox::tools::takeOutputErrorsAsErrors();
    // What whoever started us wants ignored stays so, as by nohup.
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(signal, interrupt) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    CommandLine line;
    CLI::App app{
        "Makes an HDQFS file of VTK and CGNS files, or of a series in time a grid file and "
        "a solution file for each time."};
    describeUsage(app, line);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return varnox::tools::endOf(app, error) ? SUCCESS : WRONG_USAGE;
    }
    return run(line);
}
