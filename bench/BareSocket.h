#pragma once

#include <cstddef>
#include <stdexcept>
#include <vector>

#include <sys/socket.h>
#include <sys/types.h>

/// What a socket does with nothing around it: the floor of what comes out of it.
namespace varnox::bench {

inline void sendAll(int descriptor, char const* bytes, std::size_t size)
{
    while (size > 0) {
        ssize_t const sent = ::send(descriptor, bytes, size, MSG_NOSIGNAL);
        if (sent <= 0)
            throw std::runtime_error("send failed");
        bytes += sent;
        size -= static_cast<std::size_t>(sent);
    }
}

inline void receiveAll(int descriptor, char* bytes, std::size_t size)
{
    while (size > 0) {
        ssize_t const received = ::recv(descriptor, bytes, size, 0);
        if (received <= 0)
            throw std::runtime_error("receive failed");
        bytes += received;
        size -= static_cast<std::size_t>(received);
    }
}

/// Answers every request of one size with the same bytes, until the peer hangs up.
inline void answerBytes(int descriptor, std::size_t requestSize, std::size_t answerSize)
{
    std::vector<char> request(requestSize);
    std::vector<char> const answer(answerSize, 'x');
    for (;;) {
        receiveAll(descriptor, request.data(), request.size());
        sendAll(descriptor, answer.data(), answer.size());
    }
}

}
