#include "apps/dataserver/Session.h"

#include "apps/dataserver/ClientWatch.h"
#include "apps/dataserver/Log.h"
#include "command/LoaderCommands.h"
#include "socket/StreamSocket.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <spdlog/spdlog.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include <sys/socket.h>

namespace varnox::dataserver {

using hdqremote::AddonProxy;
using socketutil::StreamSocket;

namespace {

/// Remembers whether the connection ended inside a string. Commands are strings.
class SessionSocket : public StreamSocket
{
public:
    using StreamSocket::StreamSocket;

    std::string receiveString() override
    {
        std::uint64_t const before = bytesReceived();
        try {
            return StreamSocket::receiveString();
        } catch (...) {
            m_hasCutString = bytesReceived() != before;
            throw;
        }
    }
    bool hasCutString() const { return m_hasCutString; }

private:
    bool m_hasCutString = false;
};

/// What ended a session, or a trial.
struct End
{
    bool isOrderly;
    std::string text;
};

End serveCommands(std::optional<AddonProxy>& proxy, std::string const& addonPath,
                  SessionSocket& socket, SharedFolders const& folders)
{
    try {
        proxy.emplace(addonPath, socket);
        if (!folders.areAll())
            proxy->restrictPaths([&](std::string const& path) { return folders.hold(path); });
        proxy->serviceCommandsUntil(hdqremote::CLOSE_DATA_SERVER);
        return {true, "The client closed the session."};
    } catch (AddonProxy::CommunicationError const& error) {
        if (proxy && proxy->isBetweenCommands() && !socket.hasCutString())
            return {true, "The client hung up."};
        return {false, error.what()};
    } catch (std::exception const& error) {
        return {false, error.what()};
    } catch (...) {
        return {false, "The add-on threw something that is no std::exception."};
    }
}

std::string textOf(End const& end)
{
    return end.text.empty() ? "A command failed without a message." : printable(end.text);
}

}

int serveSession(SessionSettings const& settings, int readEnd, int writeEnd)
{
    std::string const& name = settings.name;
    SessionSocket socket(readEnd, writeEnd, settings.maxItemBytes);
    socket.setIdleTimeout(settings.idleTimeout);
    std::optional<AddonProxy> proxy;
    try {
        settings.sharedFolders.enter();
        ClientWatch& watch = ClientWatch::start(readEnd, writeEnd, name);
        End end = serveCommands(proxy, settings.addonPath, socket, settings.sharedFolders);
        if (socket.hasIdled()) // whatever followed from it
            end = {false, "The client neither sent nor took anything for " +
                              seconds(settings.idleTimeout) +
                              ", the limit of --idle-timeout; the session ends."};
        if (end.isOrderly)
            spdlog::info("{}: {}", name, textOf(end));
        else
            spdlog::error("{}: {}", name, textOf(end));
        watch.sessionEnds(end.isOrderly ? 0 : 1);
        return end.isOrderly ? 0 : 1;
    } catch (std::exception const& error) {
        spdlog::error("{}: {}", name, error.what());
        return 1;
    }
}

int tryAddon(std::string const& addonPath)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        spdlog::error("Can't make a socket: {}.", std::strerror(errno));
        return 1;
    }
    SessionSocket socket(ends[0], ends[1]);
    std::optional<AddonProxy> proxy;
    ::shutdown(ends[1], SHUT_WR); // the trial's client hangs up at once
    End const end = serveCommands(proxy, addonPath, socket, {});
    if (!end.isOrderly)
        spdlog::error("{}", textOf(end));
    return end.isOrderly ? 0 : 1;
}

}
