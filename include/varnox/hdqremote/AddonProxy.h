#pragma once

#include "varnox/Export.h"
#include "varnox/ExceptionBase.h"

#include <functional>
#include <memory>
#include <string>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdqremote {

/// The library's entry for a hosting program: loads one loader add-on and serves a client's
/// commands over one socket. One object at a time in a process; the add-on stays mapped until the
/// process ends. Everything, add-on code included, runs on the thread that calls it.
class VNX_EXPORT AddonProxy
{
public:
    /// The add-on could not be brought up, a command was not recognised, or a load failed.
    class VNX_EXPORT Error : public ExceptionBase
    {
    public:
        explicit Error(std::string const& message);
        ~Error() override;
    };

    /// A socket operation failed inside the command loop.
    class VNX_EXPORT CommunicationError : public ExceptionBase
    {
    public:
        explicit CommunicationError(std::string const& message);
        ~CommunicationError() override;
    };

    /// Loads the add-on and runs its entry. The socket must outlive the object. Throws Error.
    AddonProxy(std::string const& addonPath, socketutil::SocketInterface& socket);
    AddonProxy(AddonProxy const&) = delete;
    AddonProxy& operator=(AddonProxy const&) = delete;
    ~AddonProxy();

    /// Serves commands until endCommand arrives, whatever its case. A failure of the connection is
    /// a CommunicationError; every other exception of a handler comes through as it is.
    void serviceCommandsUntil(std::string const& endCommand);

    /// False while a command is being handled, and for good once one has failed: tells a hosting
    /// program whether a client hung up between two commands or in the middle of one.
    bool isBetweenCommands() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// The loop itself: hands every command up to endCommand to the handler. Commands are matched
/// exactly, endCommand without regard to case. An empty handler is a std::bad_function_call.
void serviceCommandsUntil(std::string const& endCommand, socketutil::SocketInterface& socket,
                          std::function<void(std::string const&)> const& handler);

}
