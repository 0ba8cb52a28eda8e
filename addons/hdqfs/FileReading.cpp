#include "addons/hdqfs/FileReading.h"

#include "filedata/Messages.h"

#include <new>
#include <stdexcept>

namespace varnox::hdqfsloader {

void require(std::string const& what, std::function<bool()> const& read)
{
    hdqio::MessageCapture messages;
    bool succeeded = false;
    try {
        succeeded = read();
    } catch (std::bad_alloc const&) {
        throw std::runtime_error(what + ": memory is short.");
    }
    if (!succeeded)
        throw std::runtime_error(
            what + (messages.text().empty() ? std::string(".") : ": " + messages.text()));
}

void open(hdqio::FileStreamReader& reader, hdqio::FileDescription const& description)
{
    require("Cannot open " + reader.fileName(), [&] { return reader.open() != 0; });
    reader.setIsAscii(description.isAscii() == 1);
    reader.setDataFileType(description.dataFileType());
}

}
