#pragma once

#include "apps/dataserver/ResourceLimits.h"
#include "socket/Address.h"
#include "socket/Tls.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace varnox::dataserver {

/// Where sessions come from.
struct Source
{
    enum class Kind { Listening, StandardStreams, InheritedSocket };

    Kind kind = Kind::Listening;
    socketutil::Address address; ///< of Listening
    int descriptor = -1;         ///< of InheritedSocket
    std::string text;            ///< as it was written
};

/// What the command line says.
struct Options
{
    std::string addonPath; ///< absolute; empty means the loader that is installed with the program
    Source source;
    std::string addressFile;        ///< empty: none
    std::string tokenFile;          ///< empty: none
    socketutil::TlsServerFiles tls; ///< absolute; no certificate: no TLS
    bool servesOnce = false;
    std::size_t maxSessions = 64;
    std::size_t maxSessionsPerSource = 0; ///< 0: no limit of its own
    std::size_t maxGreetings = 32;        ///< under way at a time
    std::size_t maxItemBytes = std::size_t{1} << 30;
    std::chrono::milliseconds greetingTimeout{10'000};
    std::chrono::milliseconds idleTimeout{0}; ///< 0: none
    std::vector<unsigned> allowedUsers;       ///< on Unix sockets; empty: our own
    bool allowsRoot = false;                  ///< to run the program
    ResourceLimits limits;
    std::vector<std::string> keptVariables; ///< of the environment, besides the ordinary ones
    std::vector<std::string> sharedFolders; ///< empty: all
    std::string logLevel = "info";
};

/// The program was asked for something that can't be: exit status 2.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. Nothing, with the exit status in exitStatus, if that has ended the
/// program's work: help was asked for, or the usage is wrong and was reported.
std::optional<Options> parseOptions(int argc, char const* const* argv, int& exitStatus);

/// The loader that lies beside the program, in the build and where it is installed. Throws
/// std::runtime_error if there is none.
std::string installedAddon();

}
