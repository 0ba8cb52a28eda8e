#pragma once

#include "apps/dataserver/Options.h"
#include "socket/Descriptor.h"

namespace varnox::dataserver {

/// The two ends of a connection, each of its own even where both are one socket.
struct Ends
{
    socketutil::Descriptor readEnd;
    socketutil::Descriptor writeEnd;
};

/// Opens /dev/null in the place of a standard descriptor that is closed, so that nothing else comes
/// to lie there. First of all in a program.
void fillStandardDescriptors();

/// Takes the connection that a program was started with. Where it lay on standard input or output,
/// these become /dev/null and standard error, so that no print can reach the client. Throws
/// std::runtime_error, or UsageError for a terminal.
Ends takeInheritedConnection(Source const& source);

}
