#pragma once

#include "socket/Descriptor.h"

#include <atomic>
#include <string>

namespace varnox::dataserver {

/// Ends this process when its client is gone, whatever the thread that serves it is doing then: an
/// add-on may compute for hours without a look at the connection.
///
/// Gone is a client that no longer takes answers: its end of a Unix socket is closed, or nobody
/// reads the pipe. On TCP the end of what the client sends counts, for a client that closed and one
/// that only stopped sending can't be told apart there. What it sent before it left is still served
/// for a short while, so that a client may say its last word and leave.
///
/// Takes no byte from the connection. Lives in a thread of its own, until the process ends.
class ClientWatch
{
public:
    /// Starts to watch. The name stands in the log. Throws std::runtime_error or std::system_error.
    static ClientWatch& start(int readEnd, int writeEnd, std::string const& name);

    /// Before the connection is closed: the session is over. Ends the process with this status if
    /// that doesn't come to its end within seconds, as when an add-on's destructors hang.
    void sessionEnds(int exitStatus);

private:
    ClientWatch(int readEnd, int writeEnd, std::string const& name);

    void run();
    void waitForClientToGo();
    bool sessionEndsWithin(int milliseconds) const;

    std::string m_name;
    int m_watched;
    short m_events;
    short m_goneEvents;
    socketutil::Descriptor m_sessionEnd;
    std::atomic<int> m_exitStatus{0};
};

}
