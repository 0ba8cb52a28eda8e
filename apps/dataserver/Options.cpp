#include "apps/dataserver/Options.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace varnox::dataserver {

namespace {

constexpr char DESCRIPTION[] =
    "Serves simulation results that lie on this machine to a visualization engine elsewhere.\n"
    "Each client gets a session in a process of its own, which runs a loader add-on beside the "
    "data.";

constexpr char FOOTER[] = R"(
Addresses:
  unix:PATH        a Unix socket, for clients of the same user on this machine
  tcp:HOST:PORT    a port; 0 takes a free one, an IPv6 host stands in brackets: tcp:[::1]:4000
  stdio            one session over standard input and output
  fd:N             one session over the connected socket that is inherited as descriptor N

Examples:
  vnxdataserver --listen unix:/tmp/results.sock
  vnxdataserver --listen tcp:127.0.0.1:0 --address-file address.txt
  vnxdataserver --listen tcp:0.0.0.0:4000 --token-file ~/.vnxtoken
  ssh host vnxdataserver --listen stdio

A token file is made with:  (umask 077; openssl rand -hex 32 > ~/.vnxtoken)

Exit status: 0 normal end, 1 failure, 2 wrong usage. With --once, stdio and fd:N it is that of the
session. SIGTERM and SIGINT stop the listening and give running sessions 5 seconds to end.)";

constexpr char DEFAULT_ADDON[] = "vnxhdqfsloader.so";

int parseDescriptor(std::string const& digits)
{
    int number = -1;
    char const* const end = digits.data() + digits.size();
    auto const [stop, error] = std::from_chars(digits.data(), end, number);
    if (digits.empty() || error != std::errc() || stop != end || number < 0)
        throw std::invalid_argument("'fd:" + digits + "' needs the number of a descriptor.");
    if (number == 2)
        throw std::invalid_argument("'fd:2' can't be: the log goes to standard error.");
    return number;
}

Source parseSource(std::string const& text)
{
    constexpr char INHERITED_PREFIX[] = "fd:";
    Source source;
    source.text = text;
    if (text == "stdio") {
        source.kind = Source::Kind::StandardStreams;
    } else if (text.starts_with(INHERITED_PREFIX)) {
        source.kind = Source::Kind::InheritedSocket;
        source.descriptor = parseDescriptor(text.substr(sizeof(INHERITED_PREFIX) - 1));
    } else if (text.starts_with("unix:") || text.starts_with("tcp:")) {
        source.address = socketutil::parseAddress(text);
    } else {
        throw std::invalid_argument(
            "'" + text + "' is no address; write unix:PATH, tcp:HOST:PORT, stdio or fd:N.");
    }
    return source;
}

/// For CLI11: the text of what is wrong with an address, or nothing.
std::string whatIsWrongWithSource(std::string const& text)
{
    try {
        parseSource(text);
        return "";
    } catch (std::invalid_argument const& error) {
        return error.what();
    }
}

/// For CLI11. A variable of the shell that isn't set must not switch off what was asked for.
std::string whatIsWrongWithName(std::string const& text)
{
    return text.empty() ? "The name is empty; give one, or leave the option away." : "";
}

CLI::Validator isNamed()
{
    return {whatIsWrongWithName, ""};
}

/// For CLI11, for which not-a-number lies in any range.
std::string whatIsWrongWithNumber(std::string const& text)
{
    return std::isnan(std::strtod(text.c_str(), nullptr)) ? "Value " + text + " is no number." : "";
}

/// Not less than a millisecond, unless it is 0.
std::chrono::milliseconds milliseconds(double seconds)
{
    return std::chrono::milliseconds(static_cast<long>(std::ceil(seconds * 1000)));
}

/// Whoever comes through ssh may leave a session alone for a day: the connection is his own.
double defaultIdleSeconds(Source const& source)
{
    constexpr double HOUR = 3600;
    return source.kind == Source::Kind::StandardStreams ? 0 : HOUR;
}

void refuseWhatContradicts(Options const& options)
{
    if (options.source.kind == Source::Kind::InheritedSocket && !options.tokenFile.empty())
        throw UsageError("A session over fd:N has no greeting, so nobody would show a token; leave "
                         "--token-file away.");
    bool const hasKey = !options.tls.key.empty();
    if (options.tls.certificate.empty() == hasKey || (!options.tls.clientCa.empty() && !hasKey))
        throw UsageError("TLS needs both --tls-cert and --tls-key.");
    bool const isTcp = options.source.kind == Source::Kind::Listening &&
                       options.source.address.kind == socketutil::Address::Kind::Tcp;
    if (isTcp && !options.allowedUsers.empty())
        throw UsageError("--allow-uid is for Unix sockets: nobody tells the user behind a "
                         "connection over TCP. Give --token-file FILE.");
    if (hasKey && !isTcp)
        throw UsageError("TLS is for --listen tcp:HOST:PORT alone.");
}

}

std::optional<Options> parseOptions(int argc, char const* const* argv, int& exitStatus)
{
    constexpr double MAX_TIMEOUT_SECONDS = 86'400;
    constexpr double MAX_IDLE_SECONDS = 20 * MAX_TIMEOUT_SECONDS;
    constexpr std::uint64_t MIN_MEMORY = std::uint64_t{16} * 1024 * 1024;
    constexpr std::uint64_t MIN_OPEN_FILES = 16;
    constexpr std::uint64_t MAX_OPEN_FILES = 1'000'000'000;
    constexpr std::uint64_t MAX_PROCESSOR_SECONDS = 1'000'000'000;
    Options options;
    std::string listen;
    double greetingTimeout = 10;
    std::optional<double> idleTimeout;
    constexpr std::size_t ANY_SIZE = static_cast<std::size_t>(-1) / 2;

    CLI::App app(DESCRIPTION, "vnxdataserver");
    app.footer(FOOTER);
    app.get_formatter()->column_width(34);
    app.add_option("--addon", options.addonPath,
                   "The loader add-on, a shared object. Default: the HDQFS loader that is "
                   "installed with this program")
        ->type_name("PATH")
        ->check(isNamed());
    app.add_option("--listen", listen, "Where clients come in, see below")
        ->required()
        ->type_name("ADDRESS")
        ->check(CLI::Validator(whatIsWrongWithSource, ""));
    app.add_option("--address-file", options.addressFile,
                   "When ready, writes the bound address to FILE in one step, in the form of "
                   "--listen")
        ->type_name("FILE")
        ->check(isNamed());
    app.add_option("--token-file", options.tokenFile,
                   "The first line of FILE is the token that a client must show. Others must not "
                   "be able to read FILE. Needed for tcp: beyond this machine")
        ->type_name("FILE")
        ->check(isNamed());
    app.add_option(
           "--tls-cert", options.tls.certificate,
           "Encrypts tcp: with TLS. FILE has the server's certificate in PEM form, with those "
           "that lead to its authority; it is read for each connection")
        ->type_name("FILE")
        ->check(isNamed());
    app.add_option("--tls-key", options.tls.key,
                   "The key of that certificate; others must not be able to read FILE")
        ->type_name("FILE")
        ->check(isNamed());
    app.add_option("--tls-client-ca", options.tls.clientCa,
                   "Clients must show a certificate signed by one in FILE")
        ->type_name("FILE")
        ->check(isNamed());
    app.add_option(
           "--root", options.sharedFolders,
           "A directory in which clients may browse and load, after links are resolved; may "
           "be given again for more. Default: all that this user may read")
        ->type_name("DIR")
        ->check(isNamed())
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--allow-uid", options.allowedUsers,
                   "A user, by number, who may come in over a Unix socket; may be given again for "
                   "more. Default: the user that runs this program")
        ->type_name("UID")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_flag("--allow-root", options.allowsRoot,
                 "Lets this program run as root, which it refuses otherwise");
    app.add_option("--max-memory", options.limits.maxMemory,
                   "Bytes of memory of one session. Default: no limit of its own, as with the "
                   "next two")
        ->type_name("BYTES")
        ->check(CLI::Range(MIN_MEMORY, ANY_SIZE).description(""));
    app.add_option("--max-open-files", options.limits.maxOpenFiles,
                   "Open files and connections of one session")
        ->type_name("N")
        ->check(CLI::Range(MIN_OPEN_FILES, MAX_OPEN_FILES).description(""));
    app.add_option("--max-time", options.limits.maxSeconds, "Processor time of one session")
        ->type_name("SECONDS")
        ->check(CLI::Range(std::uint64_t{1}, MAX_PROCESSOR_SECONDS).description(""));
    app.add_flag(
        "--core-dumps", options.limits.dumpsCore,
        "A session that crashes may leave an image of its memory, if the system's settings "
        "say so");
    app.add_option("--keep-env", options.keptVariables,
                   "A variable of the environment that sessions get besides the ordinary ones; may "
                   "be given again for more")
        ->type_name("NAME")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_flag("--once", options.servesOnce,
                 "Serves one session, then ends with its exit status");
    app.add_option("--max-sessions", options.maxSessions,
                   "Sessions at a time; one more is refused with a message")
        ->type_name("N")
        ->check(CLI::Range(std::size_t{1}, std::size_t{100'000}).description(""))
        ->capture_default_str();
    app.add_option(
           "--max-sessions-per-source", options.maxSessionsPerSource,
           "Sessions at a time of one user on a Unix socket, or one address on TCP. Default: "
           "as many as --max-sessions")
        ->type_name("N")
        ->check(CLI::Range(std::size_t{1}, std::size_t{100'000}).description(""));
    app.add_option("--max-greetings", options.maxGreetings,
                   "Greetings under way at a time; one more, and the oldest of the source that has "
                   "the most is refused")
        ->type_name("N")
        ->check(CLI::Range(std::size_t{1}, std::size_t{10'000}).description(""))
        ->capture_default_str();
    app.add_option("--max-item-bytes", options.maxItemBytes,
                   "Limit for one item that a client sends")
        ->type_name("N")
        ->check(CLI::Range(std::size_t{1}, ANY_SIZE).description(""))
        ->capture_default_str();
    app.add_option("--greeting-timeout", greetingTimeout,
                   "Time for a client to finish its greeting")
        ->type_name("SECONDS")
        ->check(CLI::Validator(whatIsWrongWithNumber, ""))
        ->check(CLI::Range(0.001, MAX_TIMEOUT_SECONDS).description(""))
        ->capture_default_str();
    app.add_option(
           "--idle-timeout", idleTimeout,
           "A session ends when its client sends nothing that is waited for, or takes "
           "nothing of an answer, for this long; 0 is never. Default: 3600, and 0 for stdio")
        ->type_name("SECONDS")
        ->check(CLI::Validator(whatIsWrongWithNumber, ""))
        ->check(CLI::Range(0.0, MAX_IDLE_SECONDS).description(""));
    app.add_option("--log-level", options.logLevel,
                   "error, warn, info or debug; the log goes to standard error")
        ->type_name("LEVEL")
        ->check(CLI::IsMember({"error", "warn", "info", "debug"}).description(""))
        ->capture_default_str();
    app.set_version_flag("--version", "vnxdataserver " VNX_VERSION);

    try {
        app.parse(argc, argv);
        options.source = parseSource(listen);
        refuseWhatContradicts(options);
    } catch (CLI::ParseError const& error) {
        exitStatus = app.exit(error) == 0 ? 0 : 2;
        return std::nullopt;
    }
    options.greetingTimeout = milliseconds(greetingTimeout);
    options.idleTimeout = milliseconds(idleTimeout.value_or(defaultIdleSeconds(options.source)));
    for (std::string* const path :
         {&options.addonPath, &options.tls.certificate, &options.tls.key, &options.tls.clientCa})
        if (!path->empty())
            *path = std::filesystem::absolute(*path).string();
    return options;
}

std::string installedAddon()
{
    namespace fs = std::filesystem;
    fs::path const prefix = fs::read_symlink("/proc/self/exe").parent_path().parent_path();
    for (char const* folder : {VNX_INSTALL_LIBDIR, "lib"}) {
        fs::path const candidate = prefix / folder / DEFAULT_ADDON;
        if (fs::exists(candidate))
            return candidate.string();
    }
    throw std::runtime_error("There is no " + std::string(DEFAULT_ADDON) + " in " +
                             (prefix / "lib").string() +
                             ", where it is installed with this program; name a loader add-on with "
                             "--addon PATH.");
}

}
