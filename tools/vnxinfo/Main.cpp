// vnxinfo: looks into HDQFS files, and checks them.

#include "addons/hdqfs/DataFile.h"
#include "tools/support/CommandLine.h"
#include "tools/support/Output.h"
#include "tools/support/StandardDescriptors.h"
#include "tools/support/WrongUsage.h"
#include "tools/vnxinfo/Access.h"
#include "tools/vnxinfo/Check.h"
#include "tools/vnxinfo/Description.h"
#include "tools/vnxinfo/JsonReport.h"
#include "tools/vnxinfo/Numbers.h"
#include "tools/vnxinfo/RawTags.h"
#include "tools/vnxinfo/TreeReport.h"
#include "tools/vnxinfo/Values.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>

namespace {

using namespace varnox::tools;
using varnox::hdqfsloader::DataFile;

constexpr int SUCCESS = 0;
constexpr int FAILURE = 1;
constexpr int WRONG_USAGE = 2;
constexpr std::size_t MOST_BINS = 10000;

struct Options
{
    std::vector<std::string> files;
    std::string zone;
    std::string variable;
    std::string histogram;
    std::size_t numBins = 20;
    bool tags = false;
    bool values = false;
    bool check = false;
    bool asJson = false;
};

void describeUsage(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", "vnxinfo " VNX_VERSION);
    app.add_option("FILE", options.files, "HDQFS files")->required();
    app.add_flag("--json", options.asJson, "write JSON");
    auto* const zone =
        app.add_option("--zone", options.zone,
                       "this zone alone, with the places of its blocks: number from 1 on, or name");
    auto* const tags =
        app.add_flag("--tags", options.tags, "the tag lists, with where each value stands");
    auto* const values = app.add_flag("--values", options.values, "the values of --var in --zone");
    app.add_option("--var", options.variable, "variable: number from 1 on, or name")->needs(values);
    auto* const histogram = app.add_option("--histogram", options.histogram,
                                           "how often which values of this variable occur");
    app.add_option("--bins", options.numBins, "parts of the histogram's range")
        ->check(CLI::Range(std::size_t{1}, MOST_BINS))
        ->needs(histogram);
    auto* const check = app.add_flag(
        "--check", options.check,
        "read all that the files hold and tell what is wrong with it; of a grid file with its "
        "solution files behind it, these are held to it");
    tags->excludes(values)->excludes(histogram)->excludes(check);
    values->excludes(histogram)->excludes(check);
    histogram->excludes(check);
    zone->excludes(check);
}

void complete(Options const& options)
{
    if (options.values && (options.zone.empty() || options.variable.empty()))
        throw WrongUsage("--values needs --zone and --var.");
}

/// False if something in the file is damaged.
bool report(Options const& options, DataFile& file, Output& output)
{
    std::optional<std::uint32_t> const zone =
        options.zone.empty() ? std::nullopt
                             : std::optional<std::uint32_t>(requiredZone(options.zone, file));
    if (options.values) {
        writeValues(file, {*zone, requiredVar(options.variable, file)}, options.asJson, output);
        return true;
    }
    if (!options.histogram.empty()) {
        writeHistogram(file, requiredVar(options.histogram, file), zone, options.numBins,
                       options.asJson, output);
        return true;
    }
    std::unique_ptr<Report> out;
    if (options.asJson)
        out = std::make_unique<JsonReport>(output);
    else if (options.tags)
        out = std::make_unique<TagsReport>(output);
    else
        out = std::make_unique<TreeReport>(output);
    if (options.tags)
        describeTags(file, zone, *out);
    else
        describe(file, zone, *out);
    return !out->tellsOfDamage();
}

void requireReadable(std::string const& path)
{
    std::string const reason = whyNotOpened(path);
    if (!reason.empty())
        throw std::runtime_error("Cannot open " + path + ": " + reason + ".");
}

/// Several files are a list in JSON; each is named at the head of its part.
bool reportAll(Options const& options)
{
    Output output;
    bool isSound = true;
    if (options.check) {
        isSound = checkFiles(options.files, options.asJson, output);
        output.finish();
        return isSound;
    }
    bool const isList = options.asJson && options.files.size() > 1;
    for (std::size_t i = 0; i < options.files.size(); ++i) {
        requireReadable(options.files[i]);
        DataFile file(options.files[i]);
        if (options.asJson)
            output.write(i != 0 ? "," : isList ? "[" : "");
        isSound = report(options, file, output) && isSound;
    }
    if (options.asJson)
        output.write(isList ? "]\n" : "\n");
    output.finish();
    return isSound;
}

int complain(std::exception const& error, int status)
{
    std::fprintf(stderr, "vnxinfo: %s\n", shownLines(error.what()).c_str());
    return status;
}

int guardedRun(Options const& options)
{
    try {
        complete(options);
        return reportAll(options) ? SUCCESS : FAILURE;
    } catch (ReaderGone const&) {
        return SUCCESS;
    } catch (WrongUsage const& error) {
        complain(error, WRONG_USAGE);
        std::fputs("Run vnxinfo --help for its usage.\n", stderr);
        return WRONG_USAGE;
    } catch (std::exception const& error) {
        return complain(error, FAILURE);
    }
}

}

// NOLINTNEXTLINE(bugprone-exception-escape): without memory for its command line it may end so
int main(int argc, char** argv)
{
    occupyStandardDescriptors();
    takeOutputErrorsAsErrors();
    Options options;
    CLI::App app{
        "Looks into HDQFS files: what they hold, where it stands, and whether it is sound."};
    describeUsage(app, options);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return endOf(app, error) ? SUCCESS : WRONG_USAGE;
    }
    return guardedRun(options);
}
