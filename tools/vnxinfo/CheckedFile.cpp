#include "tools/vnxinfo/CheckedFile.h"

#include "filedata/Messages.h"

#include <exception>
#include <new>

namespace varnox::tools {

bool CheckedFile::attempt(Place const& place, std::optional<std::uint64_t> fileLoc,
                          std::function<bool()> const& read)
{
    // Each block of a sound file is read once.
    constexpr std::uint64_t LITTLE = std::uint64_t{1024} * 1024;
    if (numBytes != 0 && reader.numWatched() > numBytes + LITTLE) {
        faults.add(place, fileLoc,
                   "It isn't read: the file's blocks lie on each other, and more was read than the "
                   "file has.");
        return false;
    }
    hdqio::MessageCapture const messages;
    std::string text;
    bool succeeded = false;
    reader.watch(place);
    try {
        succeeded = read();
    } catch (std::bad_alloc const&) {
        text = "Memory is short.";
    } catch (std::exception const& error) {
        text = error.what();
    }
    reader.unwatch();
    if (succeeded)
        return true;
    if (text.empty())
        text = messages.text().empty() ? "It can't be read." : messages.text();
    faults.add(place, fileLoc, text);
    return false;
}

bool isLocation(std::uint64_t value)
{
    return value != 0 && value != hdqio::ABSENT_FILE_LOC;
}

}
