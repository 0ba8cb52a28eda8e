#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

namespace varnox::dataserver {

/// The client is refused; the text is the reason that it is told.
class GreetingRefused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// There is no answering: the connection failed, or what came is no greeting at all.
class GreetingBroken : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The server's half of the greeting, over the two ends of a fresh connection. Takes not one byte
/// beyond the greeting, and the whole of it shares one time limit, which starts with the object.
/// Leaves the mode of the descriptors as it is: others may share them.
class Greeting
{
public:
    /// server is the socket to our own server, or -1.
    Greeting(int readEnd, int writeEnd, int server, std::chrono::milliseconds limit);

    /// Reads what the client says; true if it speaks our language and shows the token, false if the
    /// server has something to say before that. An empty token means that none is needed. Throws
    /// GreetingRefused or GreetingBroken.
    bool receive(std::string const& token);
    /// Throws GreetingBroken.
    void accept();
    /// Tells the reason and gives the client a moment to read it. Never throws.
    void refuse(std::string const& reason);

private:
    using Clock = std::chrono::steady_clock;

    std::string receiveString();
    void read(void* out, std::size_t byteCount);
    void send(std::string const& bytes, Clock::time_point until);
    /// False: the time is over.
    static bool waitFor(int descriptor, short events, Clock::time_point until, int server = -1);

    int m_readEnd;
    int m_writeEnd;
    int m_server;
    std::chrono::milliseconds m_limit;
    Clock::time_point m_deadline;
};

/// The bytes of the server's answer: accepted, or refused with a reason.
std::string greetingAnswer(bool accepted, std::string const& reason);

}
