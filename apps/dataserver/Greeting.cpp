#include "apps/dataserver/Greeting.h"

#include "apps/dataserver/Log.h"
#include "socket/Token.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varnox::dataserver {

using socketutil::isSameToken;
using socketutil::MAX_GREETING_STRING;

namespace {

constexpr char WORD[] = "VNXDATASERVER ";
constexpr char VERSION[] = "1";

/// Throws if the first string of a greeting isn't the one that we understand.
void checkFirstString(std::string const& text)
{
    if (text == std::string(WORD) + VERSION)
        return;
    std::string const number = text.starts_with(WORD) ? text.substr(sizeof(WORD) - 1) : "";
    bool const isNumber =
        !number.empty() && number.find_first_not_of("0123456789") == std::string::npos;
    // Our own number in other digits, such as 01, isn't another number, and isn't the greeting.
    std::size_t const significant = std::min(number.find_first_not_of('0'), number.size());
    if (!isNumber || number.substr(significant) == VERSION)
        throw GreetingRefused("not a data server client");
    throw GreetingRefused(std::string("this data server speaks version ") + VERSION +
                          " of the conversation, and the client version " + number +
                          "; use a client and a server of the same release");
}

void checkToken(std::string const& shown, std::string const& token)
{
    // Without a token of our own, one that is shown does no harm.
    if (token.empty() || isSameToken(shown, token))
        return;
    if (shown.empty())
        throw GreetingRefused("this data server needs a token and the client showed none; give the "
                              "client the server's token file");
    throw GreetingRefused("the token is wrong; give the client the server's token file");
}

/// The server has said something before the greeting was finished.
struct Interrupted
{
};

}

std::string greetingAnswer(bool accepted, std::string const& reason)
{
    std::string const text = reason.substr(0, MAX_GREETING_STRING);
    std::uint64_t const size = text.size();
    std::string result(1, accepted ? '\1' : '\0');
    result.append(reinterpret_cast<char const*>(&size), sizeof(size));
    return result + text;
}

Greeting::Greeting(int readEnd, int writeEnd, int server, std::chrono::milliseconds limit)
    : m_readEnd(readEnd), m_writeEnd(writeEnd), m_server(server), m_limit(limit),
      m_deadline(Clock::now() + limit)
{
}

bool Greeting::receive(std::string const& token)
{
    try {
        checkFirstString(receiveString());
        std::string shown = receiveString();
        checkToken(shown, token);
        ::explicit_bzero(shown.data(), shown.size());
        return true;
    } catch (Interrupted const&) {
        return false;
    }
}

void Greeting::accept()
{
    send(greetingAnswer(true, ""), m_deadline);
}

void Greeting::refuse(std::string const& reason)
{
    // A connection that is closed while bytes of the client lie unread is reset, and the reason
    // would be lost with it: so what still comes is taken for a moment, and until the client
    // leaves.
    constexpr std::chrono::seconds MOMENT{1};
    auto const until = Clock::now() + MOMENT;
    try {
        send(greetingAnswer(false, reason), until);
    } catch (GreetingBroken const&) {
        return;
    }
    if (::shutdown(m_writeEnd, SHUT_WR) != 0)
        return; // a pipe keeps what it holds
    std::size_t numTaken = 0;
    constexpr std::size_t ENOUGH = std::size_t{1024} * 1024;
    char unread[4096];
    while (numTaken < ENOUGH && waitFor(m_readEnd, POLLIN, until)) {
        ssize_t const got = ::read(m_readEnd, unread, sizeof(unread));
        if (got <= 0)
            return;
        numTaken += static_cast<std::size_t>(got);
    }
}

std::string Greeting::receiveString()
{
    std::uint64_t size = 0;
    read(&size, sizeof(size));
    if (size > MAX_GREETING_STRING)
        throw GreetingBroken("not a data server client: it announced a string of " +
                             std::to_string(size) + " bytes");
    std::string result(size, '\0');
    read(result.data(), size);
    return result;
}

void Greeting::read(void* out, std::size_t byteCount)
{
    auto* target = static_cast<char*>(out);
    while (byteCount > 0) {
        if (!waitFor(m_readEnd, POLLIN, m_deadline, m_server))
            throw GreetingRefused("the greeting was not finished within " + seconds(m_limit));
        ssize_t const got = ::read(m_readEnd, target, byteCount);
        if (got == 0)
            throw GreetingBroken("the client hung up before its greeting was finished");
        if (got < 0 && errno != EINTR && errno != EAGAIN)
            throw GreetingBroken(std::string("receiving the greeting failed: ") +
                                 std::strerror(errno));
        if (got > 0) {
            target += got;
            byteCount -= static_cast<std::size_t>(got);
        }
    }
}

void Greeting::send(std::string const& bytes, Clock::time_point until)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        if (!waitFor(m_writeEnd, POLLOUT, until))
            throw GreetingBroken("the client doesn't take the answer to its greeting");
        // A pipe that can be written to takes at least a piece of this size without waiting.
        constexpr std::size_t PIECE = 512;
        ssize_t const count =
            ::write(m_writeEnd, bytes.data() + sent, std::min(bytes.size() - sent, PIECE));
        if (count < 0 && errno != EINTR && errno != EAGAIN)
            throw GreetingBroken(std::string("answering the greeting failed: ") +
                                 std::strerror(errno));
        if (count > 0)
            sent += static_cast<std::size_t>(count);
    }
}

bool Greeting::waitFor(int descriptor, short events, Clock::time_point until, int server)
{
    for (;;) {
        auto const left =
            std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd waiting[] = {{descriptor, events, 0}, {server, POLLIN, 0}};
        if (::poll(waiting, 2, static_cast<int>(left)) <= 0)
            continue;
        if (waiting[1].revents != 0)
            throw Interrupted();
        return true;
    }
}

}
