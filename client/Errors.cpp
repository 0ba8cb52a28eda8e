#include "client/Errors.h"

namespace varnox::client {

Error::~Error() = default;
GreetingRefused::~GreetingRefused() = default;
ConnectionLost::~ConnectionLost() = default;
ProtocolViolation::~ProtocolViolation() = default;
LoadFailed::~LoadFailed() = default;

std::string printable(std::string const& text, std::size_t maxLength)
{
    std::string result;
    for (char const c : text) {
        if (result.size() >= maxLength)
            return result + "...";
        bool const isControl = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
        result += isControl && c != '\n' ? '?' : c;
    }
    return result;
}

}
