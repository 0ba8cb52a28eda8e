#include "apps/dataserver/Log.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

namespace varnox::dataserver {

void startLog(std::string const& level)
{
    auto const log = spdlog::stderr_logger_mt("vnxdataserver");
    log->set_pattern("%Y-%m-%d %H:%M:%S.%e %n %l: %v");
    log->set_level(spdlog::level::from_str(level));
    spdlog::set_default_logger(log);
}

std::string printable(std::string const& text)
{
    constexpr std::size_t MAX_LENGTH = 2000;
    constexpr char DIGITS[] = "0123456789abcdef";
    constexpr unsigned char FIRST_PRINTABLE = 0x20;
    constexpr unsigned char DELETE = 0x7f;
    std::string result;
    unsigned char before = 0;
    for (char const c : text.substr(0, MAX_LENGTH)) {
        auto const code = static_cast<unsigned char>(c);
        // In UTF-8 U+0080 to U+009F as well, which terminals obey.
        bool const isSecondHalf = before == 0xC2 && code >= 0x80 && code < 0xA0;
        before = code;
        if (code >= FIRST_PRINTABLE && code != DELETE && !isSecondHalf)
            result += c;
        else
            result += {'\\', 'x', DIGITS[code >> 4], DIGITS[code & 0xF]};
    }
    return text.size() > MAX_LENGTH ? result + "..." : result;
}

std::string seconds(std::chrono::milliseconds duration)
{
    long const count = duration.count();
    return count % 1000 == 0 ? std::to_string(count / 1000) + " seconds"
                             : std::to_string(count) + " milliseconds";
}

}
