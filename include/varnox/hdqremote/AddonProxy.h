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

    /// Loads the add-on at the path and runs its entry. The socket stays the caller's and must
    /// outlive the object. Prints "Attempting to load addon" and, when the add-on has registered a
    /// loader, "Success" to standard output; sends nothing. Throws Error, and whatever the add-on's
    /// entry throws.
    AddonProxy(std::string const& addonPath, socketutil::SocketInterface& socket);
    AddonProxy(AddonProxy const&) = delete;
    AddonProxy& operator=(AddonProxy const&) = delete;
    /// Sends nothing. The instance behind the host API is none from here on.
    ~AddonProxy();

    /// Serves commands until endCommand arrives, whatever its case; clients end a session with
    /// "close data server". May be called again afterwards. A failure of the connection is a
    /// CommunicationError; every other exception of a handler comes through as it is, among them
    /// Error for an unknown command or a failed load, whose text may be empty, and
    /// DataSetRegistrationServer::Error for a query of a zone or variable that doesn't exist. The
    /// client is not told: after an exception the conversation is over.
    void serviceCommandsUntil(std::string const& endCommand);

    /// False while a command is being handled, and for good once one has failed: tells a hosting
    /// program whether a client hung up between two commands or in the middle of one.
    bool isBetweenCommands() const;

    /// From now on the client may list and load only what the function is true for. It is asked
    /// with each path as it was received: relative ones are meant from the working directory, and
    /// neither links nor ".." are resolved. What may not be seen is listed like a directory that
    /// can't be read, and its load fails before the loader is called. Files that the add-on opens
    /// without being told by the client are its own affair.
    void restrictPaths(std::function<bool(std::string const& path)> const& maySee);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
