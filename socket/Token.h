#pragma once

#include <cstddef>
#include <string>

namespace varnox::socketutil {

/// The most bytes of a string in a greeting, and so of a token.
constexpr std::size_t MAX_GREETING_STRING = 4096;

/// The first line of a file: the token that a client shows and a server wants to see, which never
/// stands on a command line. Throws std::runtime_error if others may read or change the file, if
/// there is no token in it, or if it is a pipe that gives none within five seconds.
std::string readTokenFile(std::string const& path);

/// Compares without telling by its time where, or in what length, the two differ. Both have at most
/// MAX_GREETING_STRING bytes.
bool isSameToken(std::string const& a, std::string const& b);

}
