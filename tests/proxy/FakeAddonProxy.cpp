#include "tests/proxy/FakeAddonProxy.h"

#include "command/CommandLoop.h"
#include "varnox/socketutil/SocketException.h"

#include <utility>

namespace {

/// What the constructor can't be given: its parameters are those of the real one.
std::function<void(std::string const&)> nextHandler;

}

namespace varnox::hdqremote {

class AddonProxy::Impl
{
public:
    socketutil::SocketInterface& socket;
    std::function<void(std::string const&)> handler;
};

AddonProxy::AddonProxy(std::string const&, socketutil::SocketInterface& socket)
    : m_impl(new Impl{socket, std::exchange(nextHandler, nullptr)})
{
}

AddonProxy::~AddonProxy() = default;

AddonProxy::CommunicationError::CommunicationError(std::string const& message)
    : ExceptionBase(message, false)
{
}

AddonProxy::CommunicationError::~CommunicationError() = default;

void AddonProxy::serviceCommandsUntil(std::string const& endCommand)
{
    try {
        hdqremote::serviceCommandsUntil(endCommand, m_impl->socket, m_impl->handler);
    } catch (socketutil::SocketException const& error) {
        throw CommunicationError(error.what());
    }
}

}

namespace varnox::tests {

std::unique_ptr<hdqremote::AddonProxy>
fakeAddonProxy(socketutil::SocketInterface& socket,
               std::function<void(std::string const&)> const& handler)
{
    nextHandler = handler;
    return std::make_unique<hdqremote::AddonProxy>("", socket);
}

}
