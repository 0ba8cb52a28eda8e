// vnxclient: plays the engine from the command line.

#include "client/Errors.h"
#include "tools/vnxclient/Connection.h"
#include "tools/vnxclient/Output.h"
#include "tools/vnxclient/ProgressBar.h"
#include "tools/vnxclient/Reports.h"
#include "tools/vnxclient/ValueReport.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
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
    std::string subzones;
    bool all = false;
    std::string outputPath;
    bool raw = false;
    CalculationRequest calculation;
    std::string typeName = "double";
};

struct Commands
{
    CLI::App* types;
    CLI::App* list;
    CLI::App* info;
    CLI::App* values;
    CLI::App* calculate;
};

/// Which values are wanted, and where they go. Returns the option of the subzones.
CLI::Option* describeOutput(CLI::App& command, Options& options)
{
    auto* const subzones = command.add_option(
        "--subzones", options.subzones,
        "subzones from 0 on: N, N-N, PARTITION/N, PARTITION/SECTION/N, separated by commas");
    subzones->excludes(command.add_flag("--all", options.all, "all subzones (the default)"));
    auto* const output = command.add_option("--output", options.outputPath, "write to this file");
    command.add_flag("--raw", options.raw, "write the values' bytes, little-endian")->needs(output);
    return subzones;
}

Commands describe(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", "vnxclient " VNX_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--connect", options.connection.address,
                   "server: unix:PATH, tcp:HOST:PORT or ssh:[USER@]HOST; without it one is started "
                   "for local files");
    app.add_option("--token-file", options.connection.tokenFile,
                   "file whose first line is the token to show; for its owner's eyes only");
    app.add_option("--addon", options.connection.addon,
                   "loader add-on of a server that is started here or through ssh");
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
    return commands;
}

void complete(Options& options)
{
    if (options.raw && options.asJson)
        throw WrongUsage("--raw and --json exclude each other.");
    options.values.form = options.raw      ? ValueForm::Raw
                          : options.asJson ? ValueForm::Json
                                           : ValueForm::Text;
    for (int type = FieldDataType_Float; type <= FieldDataType_Byte; ++type)
        if (client::nameOf(static_cast<FieldDataType_e>(type)) == options.typeName)
            options.calculation.type = static_cast<FieldDataType_e>(type);
    if (!options.subzones.empty()) {
        try {
            options.values.subzones = client::parseSubzones(options.subzones);
        } catch (std::invalid_argument const& error) {
            throw WrongUsage(std::string("--subzones: ") + error.what());
        }
    }
}

void run(Commands const& commands, Options const& options, ProgressBar& bar)
{
    Connection connection(options.connection);
    client::Engine& engine = connection.engine();
    if (bar.isWatched())
        engine.setProgress([&bar](client::Progress const& progress) { bar.update(progress); });
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
        else
            reportValues(engine, values, *output);
    }
    bar.clear();
    output->finish();
    connection.close();
}

int complain(std::exception const& error, int status)
{
    std::fprintf(stderr, "vnxclient: %s\n", error.what());
    return status;
}

int guardedRun(Commands const& commands, Options& options)
{
    ProgressBar bar;
    try {
        complete(options);
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

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone shows as an error of its write
    installSignalHandlers();
    Options options;
    CLI::App app{"Plays the engine: lists, loads and reads data sets through a data server."};
    Commands const commands = describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return app.exit(error, std::cout, std::cerr) == 0 ? SUCCESS : WRONG_USAGE;
    }
    return guardedRun(commands, options);
}
