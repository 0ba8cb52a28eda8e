#pragma once

#include <stdexcept>
#include <string>

namespace varnox::client {

/// Base of what the engine side throws. The text is for a person: what happened, and where there is
/// something to do about it, what.
class Error : public std::runtime_error
{
public:
    explicit Error(std::string const& message) : std::runtime_error(message) {}
    ~Error() override;
};

/// The server refused the greeting, or what answered is no data server.
class GreetingRefused : public Error
{
public:
    using Error::Error;
    ~GreetingRefused() override;
};

/// The connection failed or the server ended the session. The engine is of no further use.
class ConnectionLost : public Error
{
public:
    using Error::Error;
    ~ConnectionLost() override;
};

/// The server sent what the conversation doesn't allow at this place. The engine is of no further
/// use: nothing tells where the next item begins.
class ProtocolViolation : public Error
{
public:
    using Error::Error;
    ~ProtocolViolation() override;
};

/// The loader could not load the data set, or built one that can't be used. The server has ended
/// the session or is about to.
class LoadFailed : public Error
{
public:
    using Error::Error;
    ~LoadFailed() override;
};

/// Received text as it may be shown in a message: cut to a length that can be read, without control
/// characters.
std::string printable(std::string const& text, std::size_t maxLength = 200);

}
