#include "socket/Token.h"

#include "socket/Descriptor.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

namespace varnox::socketutil {

namespace {

[[noreturn]] void refuse(std::string const& path, std::string const& reason)
{
    throw std::runtime_error("The token file " + path + " " + reason);
}

using Clock = std::chrono::steady_clock;

/// How long a pipe, as that of another command, may take to give its line.
constexpr std::chrono::seconds PATIENCE{5};

void waitForBytes(int descriptor, Clock::time_point until, std::string const& path)
{
    auto const left =
        std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    pollfd waiting = {descriptor, POLLIN, 0};
    if (left <= 0 || ::poll(&waiting, 1, static_cast<int>(left)) == 0)
        refuse(path, "is a pipe that gives no line within " + std::to_string(PATIENCE.count()) +
                         " seconds.");
}

/// What a file begins with, as far as it can matter for its first line.
std::string headOf(int descriptor, std::string const& path)
{
    constexpr std::size_t ENOUGH = MAX_GREETING_STRING + 2; // a line too long, and its end
    std::string result(ENOUGH, '\0');
    std::size_t have = 0;
    Clock::time_point const until = Clock::now() + PATIENCE;
    while (have < ENOUGH && result.find('\n') >= have) {
        waitForBytes(descriptor, until, path);
        ssize_t const got = ::read(descriptor, result.data() + have, ENOUGH - have);
        if (got == 0)
            break;
        if (got < 0 && errno != EINTR && errno != EAGAIN)
            refuse(path, std::string("can't be read: ") + std::strerror(errno) + ".");
        if (got > 0)
            have += static_cast<std::size_t>(got);
    }
    result.resize(have);
    return result;
}

}

std::string readTokenFile(std::string const& path)
{
    Descriptor const file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        refuse(path, std::string("can't be opened: ") + std::strerror(errno) + ".");
    if (S_ISDIR(status.st_mode))
        refuse(path, "is a folder; name the file in it.");
    if ((status.st_mode & (S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH)) != 0)
        refuse(path, "is open to others, so it keeps no secret; run: chmod 600 " + path);
    std::string token = headOf(file.get(), path);
    token.resize(std::min(token.size(), token.find('\n')));
    if (token.ends_with('\r'))
        token.pop_back();
    if (token.empty())
        refuse(path, "is empty; write a token into its first line.");
    if (token.size() > MAX_GREETING_STRING)
        refuse(path, "begins with a line of more than " + std::to_string(MAX_GREETING_STRING) +
                         " bytes; a client couldn't show such a token.");
    return token;
}

bool isSameToken(std::string const& a, std::string const& b)
{
    // Always the same number of steps over the same memory, whatever the tokens hold.
    using Padded = std::array<unsigned char, MAX_GREETING_STRING>;
    Padded paddedA = {};
    Padded paddedB = {};
    std::memcpy(paddedA.data(), a.data(), std::min(a.size(), paddedA.size()));
    std::memcpy(paddedB.data(), b.data(), std::min(b.size(), paddedB.size()));
    unsigned volatile difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < MAX_GREETING_STRING; ++i)
        difference = difference | static_cast<unsigned>(paddedA[i] ^ paddedB[i]);
    return difference == 0;
}

}
