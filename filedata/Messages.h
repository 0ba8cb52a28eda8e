#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <cstdarg>
#include <string>

/// The sink of the file layer's messages. Type 0 goes to standard error with no line end and gives
/// 0; any other type goes to standard output with "...continuing." and a line end behind it and
/// gives 1.
char _showMessage(MessageBoxType_e type, char const* text);

namespace varnox::hdqio {

/// Long texts are cut. errorMessage always gives 0, infoMessage what the sink gave.
char errorMessage(char const* format, ...) __attribute__((format(printf, 1, 2)));
char infoMessage(char const* format, ...) __attribute__((format(printf, 1, 2)));
char messageBox(MessageBoxType_e type, char const* format, std::va_list arguments);

/// While one lives, the messages of its thread are kept in it instead of being printed, for a
/// caller that shows them elsewhere. The innermost one collects.
class MessageCapture
{
public:
    MessageCapture();
    MessageCapture(MessageCapture const&) = delete;
    MessageCapture& operator=(MessageCapture const&) = delete;
    ~MessageCapture();

    /// The texts so far, a blank between them.
    std::string const& text() const { return m_text; }

    /// Adds a text to the innermost capture; false if there is none. A file may give cause for
    /// any number of remarks: behind some they are dropped, and errors behind some more.
    static bool collect(MessageBoxType_e type, char const* text);

private:
    std::string m_text;
    MessageCapture* m_outer;
};

}
