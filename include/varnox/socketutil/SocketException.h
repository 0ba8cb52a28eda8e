#pragma once

#include "varnox/ExceptionBase.h"

namespace varnox::socketutil {

/// The connection failed: it was closed, reset, timed out, or broke a limit. Its text says what
/// failed and why. After it the connection is of no further use.
class VNX_EXPORT SocketException : public ExceptionBase
{
public:
    explicit SocketException(std::string const& message);
    ~SocketException() override;
};

}
