#pragma once

#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <functional>
#include <string>

namespace varnox::hdqio::tests {

/// An open file of the given bytes, whose messages are kept.
class OpenFile
{
public:
    explicit OpenFile(std::string const& bytes, bool isAscii = false)
        : m_file(bytes), reader(m_file.path())
    {
        reader.open();
        reader.setIsAscii(isAscii);
    }

    std::string message() const { return m_messages.text(); }
    std::string const& path() const { return m_file.path(); }
    /// What hasn't been read.
    std::string rest()
    {
        std::string result;
        for (int c = reader.getc(); c >= 0; c = reader.getc())
            result += static_cast<char>(c);
        return result;
    }

private:
    hdqfsloader::tests::TemporaryFile m_file;

public:
    FileStreamReader reader;

private:
    MessageCapture m_messages;
};

}
