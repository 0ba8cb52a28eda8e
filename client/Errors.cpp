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
    unsigned char before = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        bool const isAtLineEnd = i + 1 == text.size() || text[i + 1] == '\n';
        if (c == '\r' && isAtLineEnd)
            continue;
        if (result.size() >= maxLength)
            return result + "...";
        auto const code = static_cast<unsigned char>(c);
        // In UTF-8 U+0080 to U+009F as well, which terminals obey.
        bool const isControl =
            code < 0x20 || code == 0x7F || (before == 0xC2 && code >= 0x80 && code < 0xA0);
        result += isControl && c != '\n' ? '?' : c;
        before = code;
    }
    return result;
}

}
