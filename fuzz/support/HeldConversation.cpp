#include "fuzz/support/HeldConversation.h"

#include "fuzz/support/Entry.h"
#include "socket/StreamSocket.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <cstdio>
#include <exception>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

namespace varnox::fuzz {

namespace {

/// Passes on what comes, and keeps it.
std::string relay(int from, int to)
{
    std::string result;
    char part[65536];
    for (ssize_t got = 0; (got = ::read(from, part, sizeof part)) > 0;) {
        result.append(part, static_cast<std::size_t>(got));
        for (ssize_t done = 0; done < got;) {
            ssize_t const sent =
                ::send(to, part + done, static_cast<std::size_t>(got - done), MSG_NOSIGNAL);
            if (sent <= 0)
                return result;
            done += sent;
        }
    }
    ::shutdown(to, SHUT_WR);
    return result;
}

}

HeldConversation held(std::string const& addon, std::function<void(client::Engine&)> const& talk)
{
    int clientEnds[2];
    int serverEnds[2];
    expect(::socketpair(AF_UNIX, SOCK_STREAM, 0, clientEnds) == 0 &&
               ::socketpair(AF_UNIX, SOCK_STREAM, 0, serverEnds) == 0,
           "no streams");
    HeldConversation result;
    std::thread toServer([&] { result.client = relay(clientEnds[1], serverEnds[1]); });
    std::thread toClient([&] { result.server = relay(serverEnds[1], clientEnds[1]); });
    std::thread server([&] {
        try {
            socketutil::StreamSocket socket(serverEnds[0], serverEnds[0]);
            hdqremote::AddonProxy proxy(addon, socket);
            proxy.serviceCommandsUntil("close data server");
        } catch (std::exception const& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
    });
    {
        client::Engine engine(clientEnds[0]);
        talk(engine);
    }
    server.join();
    toServer.join();
    toClient.join();
    ::close(clientEnds[1]);
    ::close(serverEnds[1]);
    return result;
}

}
