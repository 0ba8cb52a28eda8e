#pragma once

#include <cstdio>
#include <string>

namespace varnox::tools {

/// Whoever read our standard output has gone: there is nothing left to do, and nothing to say.
struct ReaderGone
{
};

/// A reader that has gone, and a file that may not grow, show as errors of their writes and don't
/// end the program by a signal.
void takeOutputErrorsAsErrors();

/// Standard output or a file. A file that isn't finished is removed.
class Output
{
public:
    /// To standard output.
    Output();
    /// To a file, which is replaced. Throws std::runtime_error.
    explicit Output(std::string const& path);
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;
    ~Output();

    /// Throw ReaderGone, or std::runtime_error when writing fails.
    void write(std::string const& text) { write(text.data(), text.size()); }
    void write(void const* bytes, std::size_t byteCount);
    void finish();

private:
    [[noreturn]] void fail() const;

    std::FILE* m_file;
    std::string m_path;
    bool m_isRemovable = false;
};

/// Received text on a line of ours: control characters, line breaks among them, become '?'.
std::string shown(std::string const& text);
/// Text of several lines, such as a message that tells of what a file or a server has said.
std::string shownLines(std::string const& text);
/// A number in as few digits as bring it back.
std::string shown(double number);
std::string shown(float number);

}
