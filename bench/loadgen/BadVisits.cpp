#include "bench/loadgen/BadVisits.h"

#include "bench/loadgen/Fault.h"
#include "client/Errors.h"
#include "command/LoaderCommands.h"
#include "socket/Descriptor.h"
#include "varnox/socketutil/WriteCache.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace varnox::loadgen {

using client::Engine;
using socketutil::Descriptor;
using socketutil::WriteCache;

namespace {

constexpr char GREETING[] = "VNXDATASERVER 1";
constexpr std::chrono::seconds TIME_TO_CLOSE{60};

void send(int connection, WriteCache& cache)
{
    for (WriteCache::Piece const& piece : cache.pieces())
        for (std::size_t sent = 0; sent < piece.size;) {
            ssize_t const count =
                ::send(connection, piece.data + sent, piece.size - sent, MSG_NOSIGNAL);
            if (count < 0 && errno != EINTR)
                return; // it has closed already, as it may
            sent += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
}

void sendString(int connection, std::string const& text)
{
    WriteCache cache;
    cache.addString(text);
    send(connection, cache);
}

/// Everything up to the end of the connection.
std::string readToEnd(int connection)
{
    auto const limit = std::chrono::steady_clock::now() + TIME_TO_CLOSE;
    std::string result;
    for (;;) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            limit - std::chrono::steady_clock::now());
        pollfd waiting{connection, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) == 0)
            throw Fault("The server didn't close a connection that it had to close.");
        std::array<char, 65536> bytes;
        ssize_t const got = ::recv(connection, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (got > 0)
            result.append(bytes.data(), static_cast<std::size_t>(got));
        else if (got == 0 || (errno != EINTR && errno != EAGAIN))
            return result;
    }
}

/// A refusal that comes before what is wrong with a greeting is seen.
bool saysBusy(std::string const& answer)
{
    return answer.find("try again") != std::string::npos;
}

void expectRefusal(int connection, std::string const& reason)
{
    std::string const answer = readToEnd(connection);
    if (saysBusy(answer))
        return;
    if (answer.empty() || answer.front() != 0 || answer.find(reason) == std::string::npos)
        throw Fault("The server should refuse a greeting for '" + reason + "'; it answered '" +
                    client::printable(answer) + "'.");
}

void expectEnd(int connection)
{
    ::shutdown(connection, SHUT_WR);
    readToEnd(connection);
}

// Without a session.

void saysNothing(BadVisit const& visit)
{
    Descriptor const connection(visit.connect());
}

void speaksAnotherLanguage(BadVisit const& visit)
{
    constexpr char REQUEST[] = "GET / HTTP/1.0\r\n\r\n";
    Descriptor const connection(visit.connect());
    ::send(connection.get(), REQUEST, sizeof(REQUEST) - 1, MSG_NOSIGNAL);
    std::string const answer = readToEnd(connection.get());
    if (!answer.empty() && !saysBusy(answer))
        throw Fault("The server answered a client of another kind.");
}

void isOfAnotherVersion(BadVisit const& visit)
{
    Descriptor const connection(visit.connect());
    sendString(connection.get(), "VNXDATASERVER 2");
    sendString(connection.get(), "");
    expectRefusal(connection.get(), "2");
}

void greetsWrongly(BadVisit const& visit)
{
    Descriptor const connection(visit.connect());
    sendString(connection.get(), "hello");
    sendString(connection.get(), "");
    expectRefusal(connection.get(), "not a data server client");
}

void leavesInItsGreeting(BadVisit const& visit)
{
    Descriptor const connection(visit.connect());
    sendString(connection.get(), GREETING);
}

// In a session.

/// A session whose connection is also at hand for what Engine wouldn't say.
class RawSession
{
public:
    explicit RawSession(BadVisit const& visit)
        : m_connection(visit.connect()), m_engine(::fcntl(m_connection.get(), F_DUPFD_CLOEXEC, 0))
    {
        m_engine.greet("", TIME_TO_CLOSE);
    }
    Engine& engine() { return m_engine; }
    int connection() const { return m_connection.get(); }

private:
    Descriptor m_connection;
    Engine m_engine;
};

void asksForAnUnknownCommand(BadVisit const& visit)
{
    RawSession session(visit);
    sendString(session.connection(), "no such command");
    readToEnd(session.connection());
}

void sendsAnEndlessString(BadVisit const& visit)
{
    RawSession session(visit);
    WriteCache cache;
    cache.addUInt64(std::uint64_t{1} << 60);
    send(session.connection(), cache);
    readToEnd(session.connection());
}

void leavesInACommand(BadVisit const& visit)
{
    RawSession session(visit);
    WriteCache cache;
    cache.addUInt64(14);
    cache.addUInt8('l');
    send(session.connection(), cache);
}

void loadsWhatIsNotThere(BadVisit const& visit)
{
    RawSession session(visit);
    try {
        session.engine().load({visit.fileSet.paths.front() + ".not-there"});
    } catch (client::LoadFailed const&) {
        return;
    }
    throw Fault("The server loaded a file that doesn't exist.");
}

void sendCheckout(int connection, int zoneIndex, std::vector<unsigned long> const& subzones)
{
    WriteCache cache;
    cache.addString(hdqremote::NODAL_VAR_QUERY);
    cache.addInt(zoneIndex);
    cache.addInt(0);
    cache.addString(hdqremote::SETUP);
    cache.addString(hdqremote::NODAL_VAR_QUERY);
    cache.addInt(zoneIndex);
    cache.addInt(0);
    cache.addString(hdqremote::CHECKOUT);
    cache.addUInt64Vector(subzones);
    send(connection, cache);
}

void asksForAnUnknownSubzone(BadVisit const& visit)
{
    RawSession session(visit);
    session.engine().load(visit.fileSet.paths);
    sendCheckout(session.connection(), 0, {client::SubzoneAddress(0, 0, 1 << 20).word()});
    expectEnd(session.connection());
}

void asksForAnUnknownZone(BadVisit const& visit)
{
    RawSession session(visit);
    session.engine().load(visit.fileSet.paths);
    sendCheckout(session.connection(), 1000, {0});
    expectEnd(session.connection());
}

void leavesWithoutItsAnswer(BadVisit const& visit)
{
    constexpr std::size_t MANY = 20'000; // 20 MB of floats or bytes
    RawSession session(visit);
    session.engine().load(visit.fileSet.paths);
    sendCheckout(session.connection(), 0, std::vector<unsigned long>(MANY, 0));
    pollfd waiting{session.connection(), POLLIN, 0};
    ::poll(&waiting, 1, 1000); // gone while it is being sent
}

void leavesWithoutAWord(BadVisit const& visit)
{
    RawSession session(visit);
    session.engine().load(visit.fileSet.paths);
    session.engine().values(1, 1);
}

constexpr void (*ALL[])(BadVisit const&) = {
    saysNothing,         speaksAnotherLanguage,   isOfAnotherVersion,      greetsWrongly,
    leavesInItsGreeting, asksForAnUnknownCommand, sendsAnEndlessString,    leavesInACommand,
    loadsWhatIsNotThere, asksForAnUnknownZone,    asksForAnUnknownSubzone, leavesWithoutItsAnswer,
    leavesWithoutAWord,
};

}

void runBadVisit(BadVisit const& visit, std::mt19937_64& random)
{
    ALL[random() % std::size(ALL)](visit);
}

}
