#include "filedata/Messages.h"

#include <array>
#include <cstdio>
#include <iostream>

using varnox::hdqio::MessageCapture;

char _showMessage(MessageBoxType_e type, char const* text)
{
    if (text != nullptr && MessageCapture::collect(type, text))
        return type == MessageBoxType_Error ? 0 : 1;
    // A null text writes nothing and marks the stream as failed.
    if (type == MessageBoxType_Error) {
        std::cerr << text;
        return 0;
    }
    std::cout << text << "...continuing." << std::endl;
    return 1;
}

namespace varnox::hdqio {

namespace {

thread_local MessageCapture* innermost = nullptr;

}

MessageCapture::MessageCapture() : m_outer(innermost)
{
    innermost = this;
}

MessageCapture::~MessageCapture()
{
    innermost = m_outer;
}

bool MessageCapture::collect(MessageBoxType_e type, char const* text)
{
    constexpr std::size_t ENOUGH = 16384;
    if (innermost == nullptr)
        return false;
    if (innermost->m_text.size() >= (type == MessageBoxType_Error ? 2 * ENOUGH : ENOUGH))
        return true;
    if (!innermost->m_text.empty())
        innermost->m_text += ' ';
    innermost->m_text += text;
    return true;
}

char messageBox(MessageBoxType_e type, char const* format, std::va_list arguments)
{
    std::array<char, 5016> text;
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return _showMessage(type, text.data());
}

char errorMessage(char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    messageBox(MessageBoxType_Error, format, arguments);
    va_end(arguments);
    return 0;
}

char infoMessage(char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    char const result = messageBox(MessageBoxType_Information, format, arguments);
    va_end(arguments);
    return result;
}

}
