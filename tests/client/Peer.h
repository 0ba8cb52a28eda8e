#pragma once

#include "tests/support/Traffic.h"

#include <array>
#include <stdexcept>
#include <string>

#include <sys/socket.h>
#include <unistd.h>

namespace varnox::tests {

/// The server's end of a stream, played by the test: what it says is said beforehand, and what it
/// heard is looked at afterwards.
class Peer
{
public:
    Peer()
    {
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_ends.data()) != 0)
            throw std::runtime_error("no socket pair");
    }
    Peer(Peer const&) = delete;
    Peer& operator=(Peer const&) = delete;
    ~Peer()
    {
        if (m_ends[0] >= 0)
            ::close(m_ends[0]);
        ::close(m_ends[1]);
    }

    /// For the engine, which closes it.
    int takeEngineEnd()
    {
        int const end = m_ends[0];
        m_ends[0] = -1;
        return end;
    }
    int serverEnd() const { return m_ends[1]; }

    void say(std::string const& bytes)
    {
        recordTraffic(Speaker::Server, bytes);
        for (std::size_t done = 0; done < bytes.size();) {
            ssize_t const sent =
                ::send(m_ends[1], bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (sent <= 0)
                throw std::runtime_error("the engine has hung up");
            done += static_cast<std::size_t>(sent);
        }
    }
    void hangUp() { ::shutdown(m_ends[1], SHUT_WR); }

    /// All that has come and not been looked at yet.
    std::string heard()
    {
        std::string result;
        std::array<char, 65536> part{};
        ssize_t got = 0;
        while ((got = ::recv(m_ends[1], part.data(), part.size(), MSG_DONTWAIT)) > 0)
            result.append(part.data(), static_cast<std::size_t>(got));
        recordTraffic(Speaker::Client, result);
        return result;
    }

private:
    std::array<int, 2> m_ends{-1, -1};
};

}
