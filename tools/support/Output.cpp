#include "tools/support/Output.h"

#include "tools/support/UnfinishedFile.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

namespace varnox::tools {

void takeOutputErrorsAsErrors()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

Output::Output() : m_file(stdout)
{
}

Output::Output(std::string const& path) : m_file(std::fopen(path.c_str(), "wbe")), m_path(path)
{
    if (m_file == nullptr)
        fail();
    struct stat status = {};
    bool const isRegular = ::fstat(::fileno(m_file), &status) == 0 && S_ISREG(status.st_mode);
    setUnfinishedFile(isRegular ? path : std::string());
    m_isRemovable = isRegular;
}

Output::~Output()
{
    if (m_file == nullptr || m_file == stdout)
        return;
    std::fclose(m_file);
    if (m_isRemovable)
        ::unlink(m_path.c_str());
    setUnfinishedFile({});
}

void Output::fail() const
{
    if (m_file == stdout && errno == EPIPE)
        throw ReaderGone();
    throw std::runtime_error((m_file == stdout ? std::string("Could not write to standard output: ")
                                               : "Could not write '" + m_path + "': ") +
                             std::strerror(errno) + ".");
}

void Output::write(void const* bytes, std::size_t byteCount)
{
    if (std::fwrite(bytes, 1, byteCount, m_file) != byteCount)
        fail();
}

void Output::finish()
{
    if (std::fflush(m_file) != 0)
        fail();
    if (m_file == stdout)
        return;
    setUnfinishedFile({});
    int const result = std::fclose(m_file);
    m_file = nullptr;
    if (result != 0)
        fail();
}

namespace {

/// A terminal obeys these as well: U+0080 to U+009F, in UTF-8.
bool isControlBehind(unsigned char lead, unsigned char c)
{
    return lead == 0xC2 && c >= 0x80 && c < 0xA0;
}

std::string withoutControls(std::string text, bool keepsLineBreaks)
{
    unsigned char before = 0;
    for (char& c : text) {
        auto const code = static_cast<unsigned char>(c);
        bool const isLineBreak = keepsLineBreaks && c == '\n';
        if (((code < 0x20 || code == 0x7F) && !isLineBreak) || isControlBehind(before, code))
            c = '?';
        before = code;
    }
    return text;
}

}

std::string shown(std::string const& text)
{
    return withoutControls(text, false);
}

std::string shownLines(std::string const& text)
{
    return withoutControls(text, true);
}

namespace {

template <typename T>
std::string shortest(T number)
{
    std::array<char, 32> digits{};
    auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return std::string(digits.data(), end);
}

}

std::string shown(double number)
{
    return shortest(number);
}

std::string shown(float number)
{
    return shortest(number);
}

}
