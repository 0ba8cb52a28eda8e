#pragma once

#include "varnox/Export.h"

#include <cstdio>
#include <exception>
#include <string>

namespace varnox {

/// Base of the exceptions that the command layer throws. Read it through what(); the other
/// operations are there for hosting programs that report more.
class VNX_EXPORT ExceptionBase : public std::exception
{
public:
    /// The flag asks for a record of where the exception was made. This library always passes
    /// false.
    ExceptionBase(std::string const& message, bool recordStackTrace);
    ExceptionBase(ExceptionBase const&) = default;
    ExceptionBase& operator=(ExceptionBase const&) = default;
    ~ExceptionBase() override;

    char const* what() const noexcept override;
    /// The exception that led to this one, or null.
    virtual std::exception const* cause() const;
    virtual std::string message() const;
    /// To standard error. Writes the message; no trace is kept by this library.
    virtual void printStackTrace() const;
    virtual void printStackTrace(std::FILE* file) const;

private:
    std::string m_message;
};

}
