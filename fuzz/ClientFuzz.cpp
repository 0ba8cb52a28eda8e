#include "fuzz/support/Bytes.h"
#include "fuzz/support/Conversation.h"
#include "fuzz/support/Entry.h"

#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace varnox;

/// A stream on which everything has been said already.
int streamOf(std::string const& bytes)
{
    int ends[2];
    fuzz::expect(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "no stream");
    // What doesn't fit is not said.
    (void)::send(ends[1], bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    ::shutdown(ends[1], SHUT_WR);
    static int lastPeer = -1;
    if (lastPeer >= 0)
        ::close(lastPeer); // it took what the client of the input before had to say
    lastPeer = ends[1];
    return ends[0];
}

}

// An input: uint8 what the client does, then all that the server says to it.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    auto const opening = static_cast<fuzz::Opening>(input.take<std::uint8_t>() % 4);
    client::Engine engine(streamOf(input.rest()));
    fuzz::converse(engine, opening, "data.hdqfs");
    return 0;
}
