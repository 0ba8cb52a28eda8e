#include "varnox/ExceptionBase.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"

namespace varnox {

ExceptionBase::ExceptionBase(std::string const& message, bool) : m_message(message)
{
}
ExceptionBase::~ExceptionBase() = default;

char const* ExceptionBase::what() const noexcept
{
    return m_message.c_str();
}

std::exception const* ExceptionBase::cause() const
{
    return nullptr;
}

std::string ExceptionBase::message() const
{
    return m_message;
}

void ExceptionBase::printStackTrace() const
{
    printStackTrace(stderr);
}

void ExceptionBase::printStackTrace(std::FILE* file) const
{
    std::fprintf(file, "%s\n", what());
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers are compiled with this signature
IOException::IOException(std::string message) : ExceptionBase(message, false)
{
}
IOException::~IOException() = default;

namespace socketutil {

SocketException::SocketException(std::string const& message) : ExceptionBase(message, false)
{
}
SocketException::~SocketException() = default;

}
}
