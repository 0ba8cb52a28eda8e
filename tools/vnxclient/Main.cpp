// vnxclient: plays the engine from the command line.

#include "client/Errors.h"
#include "tools/vnxclient/CellReport.h"
#include "tools/vnxclient/Connection.h"
#include "tools/support/CommandLine.h"
#include "tools/support/Output.h"
#include "tools/support/ProgressBar.h"
#include "tools/support/StandardDescriptors.h"
#include "tools/vnxclient/Reports.h"
#include "tools/vnxclient/Search.h"
#include "tools/vnxclient/ValueReport.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <memory>

namespace {

using namespace varnox;
using namespace varnox::tools;

constexpr int SUCCESS = 0;
constexpr int FAILURE = 1;
constexpr int WRONG_USAGE = 2;

struct Options
{
    ConnectionOptions connection;
    bool asJson = false;
    std::string directory;
    std::vector<std::string> files;
    ValueRequest values;
    CellRequest cells;
    std::string subzones;
    bool all = false;
    std::string outputPath;
    bool raw = false;
    CalculationRequest calculation;
    std::string typeName = "double";
    RangeRequest range;
    FindRequest find;
    std::vector<std::string> wantedValues;
    PlaneRequest plane;
};

struct Commands
{
    CLI::App* types;
    CLI::App* list;
    CLI::App* info;
    CLI::App* values;
    CLI::App* calculate;
    CLI::App* range;
    CLI::App* find;
    CLI::App* plane;
    CLI::App* cells;
};

CLI::Option* describeSubzones(CLI::App& command, Options& options)
{
    auto* const subzones = command.add_option(
        "--subzones", options.subzones,
        "subzones from 0 on: N, N-N, PARTITION/N, PARTITION/SECTION/N, separated by commas");
    subzones->excludes(command.add_flag("--all", options.all, "all subzones (the default)"));
    return subzones;
}

/// Which values are wanted, and where they go. Returns the option of the subzones.
CLI::Option* describeOutput(CLI::App& command, Options& options)
{
    CLI::Option* const subzones = describeSubzones(command, options);
    auto* const output = command.add_option("--output", options.outputPath, "write to this file");
    command.add_flag("--raw", options.raw, "write the values' bytes, little-endian")->needs(output);
    return subzones;
}

void addFiles(CLI::App& command, Options& options)
{
    command.add_option("FILE", options.files, "full file, or grid and solution files")->required();
}

void addKind(CLI::App& command, std::string& kind, char const* standard)
{
    command
        .add_option("--of", kind,
                    std::string("subzones of nodes or of cells; else those of ") + standard)
        ->check(CLI::IsMember({"nodes", "cells"}));
}

/// The commands that find the few subzones that matter.
void describeSearches(CLI::App& app, Options& options, Commands& commands)
{
    constexpr char const* ZONE = "zone: number from 1 on, or name";
    commands.range = app.add_subcommand("range", "range of a variable, also by subzones");
    addFiles(*commands.range, options);
    commands.range->add_option("--zone", options.range.zone, ZONE)->required();
    commands.range
        ->add_option("--var", options.range.variable, "variable: number from 1 on, or name")
        ->required();
    auto* const partitions = commands.range->add_flag("--partitions", options.range.byPartition,
                                                      "range in each partition");
    auto* const subzones = commands.range->add_option(
        "--subzones", options.range.partition, "range in each subzone of a partition, from 0 on");
    partitions->excludes(subzones);
    addKind(*commands.range, options.range.kind, "what the values stand at");

    commands.find = app.add_subcommand("find", "subzones that may hold values of variables");
    addFiles(*commands.find, options);
    commands.find->add_option("--zone", options.find.zone, ZONE)->required();
    commands.find
        ->add_option("--value", options.wantedValues,
                     "VARIABLE=VALUE, the variable by number or name; all that are given must lie "
                     "in the ranges of a subzone")
        ->required()
        ->expected(1)
        ->allow_extra_args(false) // what follows it is a file
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addKind(*commands.find, options.find.kind, "what the first variable's values stand at");

    commands.plane = app.add_subcommand(
        "plane", "subzones of an ordered zone on a plane, or with two indices on a line");
    addFiles(*commands.plane, options);
    commands.plane->add_option("--zone", options.plane.zone, ZONE)->required();
    commands.plane->add_option("--i", options.plane.i, "index along I, from 0 on");
    commands.plane->add_option("--j", options.plane.j, "index along J, from 0 on");
    commands.plane->add_option("--k", options.plane.k, "index along K, from 0 on");
    addKind(*commands.plane, options.plane.kind, "nodes");
}

void describeCells(CLI::App& app, Options& options, Commands& commands)
{
    commands.cells = app.add_subcommand("cells", "cells of a zone by subzones, with their nodes");
    CLI::App& cells = *commands.cells;
    addFiles(cells, options);
    cells.add_option("--zone", options.cells.zone, "zone: number from 1 on, or name")->required();
    describeSubzones(cells, options);
    cells.add_flag("--coordinates", options.cells.withCoordinates,
                   "the nodes' coordinates too, of the variables X, Y, Z");
    cells.add_option("--coordinates-from", options.cells.coordinates,
                     "three variables that hold the coordinates, by number or name, with commas");
    cells.add_option("--output", options.outputPath, "write to this file");
}

/// A variable of the shell that isn't set must not switch off what was asked for.
std::string whatIsWrongWithName(std::string const& text)
{
    return text.empty() ? "The name is empty; give one, or leave the option away." : "";
}

Commands describe(CLI::App& app, Options& options)
{
    CLI::Validator const isNamed(whatIsWrongWithName, "");
    app.set_version_flag("--version", "vnxclient " VNX_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--connect", options.connection.address,
                   "server: unix:PATH, tcp:HOST:PORT, tls:HOST:PORT or ssh:[USER@]HOST; without it "
                   "one is started for local files")
        ->check(isNamed);
    app.add_option("--tls-ca", options.connection.tls.ca,
                   "file of the certificates that may sign a server's, instead of those that this "
                   "system trusts")
        ->check(isNamed);
    app.add_option("--tls-cert", options.connection.tls.certificate,
                   "file of our own certificate, for a server that wants one")
        ->check(isNamed);
    app.add_option("--tls-key", options.connection.tls.key, "file of its key")->check(isNamed);
    app.add_flag_callback(
        "--tls-any-name", [&options] { options.connection.tls.checksName = false; },
        "take a certificate for any name, if it is signed as it has to be");
    app.add_option("--token-file", options.connection.tokenFile,
                   "file whose first line is the token to show; for its owner's eyes only")
        ->check(isNamed);
    app.add_option("--addon", options.connection.addon,
                   "loader add-on of a server that is started here or through ssh")
        ->check(isNamed);
    app.add_flag("--allow-root", options.connection.allowsRoot,
                 "the server that is started through ssh may run as root");
    app.add_flag("--json", options.asJson, "write JSON");

    Commands commands{};
    commands.types = app.add_subcommand("types", "the loader and its file extensions");
    commands.list = app.add_subcommand("ls", "a directory of the server");
    commands.list->add_option("DIR", options.directory)->required();
    commands.info = app.add_subcommand("info", "zones and variables of a data set");
    commands.info->add_option("FILE", options.files, "full file, or grid and solution files")
        ->required();

    commands.values = app.add_subcommand("values", "values of a variable in a zone");
    CLI::App& values = *commands.values;
    values.add_option("FILE", options.files, "full file, or grid and solution files")->required();
    values.add_option("--zone", options.values.zone, "zone: number from 1 on, or name")->required();
    values.add_option("--var", options.values.variable, "variable: number from 1 on, or name")
        ->required();
    CLI::Option* const subzones = describeOutput(values, options);
    subzones->excludes(values.add_flag("--on-demand", options.values.onDemand,
                                       "load the variable whole, in the order of its items"));

    commands.calculate = app.add_subcommand("calc", "values of a formula in a zone");
    CLI::App& calculate = *commands.calculate;
    calculate.add_option("FILE", options.files, "full file, or grid and solution files")
        ->required();
    calculate.add_option("--zone", options.values.zone, "zone: number from 1 on, or name")
        ->required();
    calculate
        .add_option("--formula", options.calculation.formula,
                    "such as \"sqrt(u^2+v^2)\" or \"{wall distance} > 1e5\": variables by their "
                    "names, in braces if these aren't made of letters, digits and _; one that "
                    "begins with a minus as --formula=-u")
        ->required();
    calculate
        .add_option("--name", options.calculation.name,
                    "what the result is called; the formula if there is none")
        ->check([](std::string const& name) {
            return name.empty() ? std::string("a name is empty") : std::string();
        });
    calculate.add_option("--type", options.typeName, "of the result; double if it isn't told")
        ->check(CLI::IsMember({"float", "double", "int32", "int16", "byte"}));
    describeOutput(calculate, options);
    describeSearches(app, options, commands);
    describeCells(app, options, commands);
    return commands;
}

void complete(Commands const& commands, Options& options)
{
    if (options.raw && options.asJson)
        throw WrongUsage("--raw and --json exclude each other.");
    options.values.form = options.raw      ? ValueForm::Raw
                          : options.asJson ? ValueForm::Json
                                           : ValueForm::Text;
    for (int type = FieldDataType_Float; type <= FieldDataType_Byte; ++type)
        if (client::nameOf(static_cast<FieldDataType_e>(type)) == options.typeName)
            options.calculation.type = static_cast<FieldDataType_e>(type);
    if (!options.cells.coordinates.empty())
        options.cells.withCoordinates = true;
    if (!options.subzones.empty()) {
        try {
            options.values.subzones = client::parseSubzones(options.subzones);
            options.cells.subzones = options.values.subzones;
        } catch (std::invalid_argument const& error) {
            throw WrongUsage(std::string("--subzones: ") + error.what());
        }
    }
    for (std::string const& text : options.wantedValues)
        options.find.values.push_back(parseWantedValue(text));
    if (commands.plane->parsed())
        requireOneOrTwoIndices(options.plane);
}

void run(Commands const& commands, Options const& options, ProgressBar& bar)
{
    Connection connection(options.connection);
    client::Engine& engine = connection.engine();
    if (bar.isWatched())
        engine.setProgress([&bar](client::Progress const& progress) {
            bar.update(progress.action, progress.done, progress.total);
        });
    std::unique_ptr<Output> output;
    auto const open = [&] {
        output = options.outputPath.empty() ? std::make_unique<Output>()
                                            : std::make_unique<Output>(options.outputPath);
    };
    if (commands.types->parsed()) {
        client::FileTypes const types = engine.listFileTypes();
        open();
        reportTypes(types, options.asJson, *output);
    } else if (commands.list->parsed()) {
        client::Listing const listing = engine.listFiles(options.directory);
        open();
        reportListing(listing, options.asJson, *output);
    } else {
        engine.load(options.files);
        ValueRequest values = options.values;
        if (commands.calculate->parsed())
            values = calculate(engine, options.values, options.calculation);
        open();
        if (commands.info->parsed())
            reportInfo(engine, options.asJson, *output);
        else if (commands.range->parsed())
            reportRange(engine, options.range, options.asJson, *output);
        else if (commands.find->parsed())
            reportFound(engine, options.find, options.asJson, *output);
        else if (commands.plane->parsed())
            reportPlane(engine, options.plane, options.asJson, *output);
        else if (commands.cells->parsed())
            reportCells(engine, options.cells, options.asJson, *output);
        else
            reportValues(engine, values, *output);
    }
    bar.clear();
    output->finish();
    connection.close();
}

int complain(std::exception const& error, int status)
{
    std::fprintf(stderr, "vnxclient: %s\n", shownLines(error.what()).c_str());
    return status;
}

int guardedRun(Commands const& commands, Options& options)
{
    ProgressBar bar;
    try {
        complete(commands, options);
        run(commands, options, bar);
        return SUCCESS;
    } catch (ReaderGone const&) {
        return SUCCESS;
    } catch (WrongUsage const& error) {
        bar.clear();
        complain(error, WRONG_USAGE);
        std::fputs("Run vnxclient --help for its usage.\n", stderr);
        return WRONG_USAGE;
    } catch (std::exception const& error) {
        bar.clear();
        return complain(error, FAILURE);
    }
}

}

// NOLINTNEXTLINE(bugprone-exception-escape): without memory for its command line it may end so
int main(int argc, char** argv)
{
    occupyStandardDescriptors();
    takeOutputErrorsAsErrors();
    installSignalHandlers();
    Options options;
    CLI::App app{"Plays the engine: lists, loads and reads data sets through a data server."};
    Commands const commands = describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return endOf(app, error) ? SUCCESS : WRONG_USAGE;
    }
    return guardedRun(commands, options);
}
