#pragma once

#include "socket/Descriptor.h"

namespace varnox::dataserver {

/// Receives SIGTERM, SIGINT, SIGHUP and SIGCHLD as something to poll for, from its construction on
/// and until the process ends. A SIGHUP that was ignored, as under nohup, stays so.
class SignalQueue
{
public:
    /// Throws std::runtime_error.
    SignalQueue();

    /// Readable when a signal has come.
    int descriptor() const { return m_descriptor.get(); }
    /// The next signal, or 0.
    int next();

private:
    socketutil::Descriptor m_descriptor;
};

}
