#include "command/FileListing.h"

#include "command/LoaderCommands.h"
#include "varnox/socketutil/WriteCache.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/filesystem.hpp>

#include <cstdint>
#include <vector>

namespace varnox::hdqremote {

namespace fs = boost::filesystem;

namespace {

struct FileEntry
{
    std::string name; ///< With a zero byte and two bytes of permissions behind it.
    std::string type; ///< Empty for what isn't listed.
    std::uint64_t size = 0;
    std::uint64_t lastWriteTime = 0; ///< Seconds since the epoch.
};

std::vector<std::string> components(std::string const& path)
{
    std::vector<std::string> result;
    boost::split(result, path, boost::is_any_of("/"), boost::token_compress_off);
    return result;
}

std::string withoutEmptyComponents(std::string const& path)
{
    std::string result;
    for (std::string const& component : components(path))
        if (!component.empty() && component != ".")
            result += "/" + component;
    return result;
}

void describe(FileEntry& entry, fs::path const& path, fs::file_status const& status,
              std::string const& fileType, std::string const& directoryType)
{
    if (status.type() == fs::regular_file) {
        entry.type = fileType;
        entry.size = fs::file_size(path);
    } else if (status.type() == fs::directory_file) {
        entry.type = directoryType;
    } else {
        return;
    }
    entry.lastWriteTime = static_cast<std::uint64_t>(fs::last_write_time(path));
    auto const permissions = static_cast<std::uint16_t>(status.permissions());
    entry.name += '\0';
    entry.name += static_cast<char>(permissions >> 8);
    entry.name += static_cast<char>(permissions & 0xFF);
}

/// The type stays empty for what isn't listed.
void classify(FileEntry& entry, fs::directory_entry const& found)
{
    fs::file_status const status = found.status(); // follows links
    if (status.type() != fs::symlink_file) {
        describe(entry, found.path(), status, FILE_TYPE_REGULAR, FILE_TYPE_DIRECTORY);
        return;
    }
    fs::path const target = fs::canonical(found.path(), fs::current_path());
    describe(entry, target, fs::status(target), FILE_TYPE_FILE_LINK, FILE_TYPE_DIRECTORY_LINK);
}

bool isHidden(std::string const& name)
{
    return !name.empty() && name.front() == '.' && name != "." && name != "..";
}

std::vector<FileEntry> entriesOf(std::string const& directory,
                                 std::function<bool(std::string const&)> const& maySee)
{
    std::vector<FileEntry> result;
    if (maySee && !maySee(directory))
        return result;
    boost::system::error_code error;
    fs::directory_iterator found(directory, error);
    if (error)
        return result;
    for (; found != fs::directory_iterator(); ++found) {
        FileEntry entry;
        entry.name = found->path().filename().string();
        if (isHidden(entry.name))
            continue;
        try {
            if (maySee && found->symlink_status().type() == fs::symlink_file &&
                !maySee(found->path().string()))
                continue;
            classify(entry, *found);
        } catch (fs::filesystem_error const&) {
            continue; // it may be gone by now, or not be ours to look at
        }
        if (!entry.type.empty())
            result.push_back(std::move(entry));
    }
    return result;
}

}

// Deliberate: a ".." directly behind the first component leaves a doubled slash, and a "~" in the
// middle loses the slash on its left. Test: CanonicalPath.KeepsItsQuirks
std::string getCanonicalPath(std::string const& path)
{
    std::vector<std::string> const parts = components(withoutEmptyComponents(path));
    std::string result;
    auto i = static_cast<std::ptrdiff_t>(parts.size()) - 1;
    bool isReachedByDots = false; // an empty component reached so counts as a plain one
    while (i >= 0) {
        std::string const& part = parts[static_cast<std::size_t>(i)];
        if (part.empty() && !isReachedByDots) {
            --i;
        } else if (part == "..") {
            std::ptrdiff_t j = i - 1;
            while (j >= 0 && parts[static_cast<std::size_t>(j)] == "..")
                --j;
            if (j < 0)
                return result;
            i = j - (i - j);
            isReachedByDots = true;
            continue;
        } else {
            result.insert(0, part == "~" ? part : "/" + part);
            --i;
        }
        isReachedByDots = false;
    }
    return result;
}

void addFileListing(socketutil::WriteCache& reply, std::string const& directory,
                    std::function<bool(std::string const&)> const& maySee)
{
    fs::path const absolute = fs::absolute(directory, fs::current_path());
    reply.addString(getCanonicalPath(absolute.string()));
    std::vector<FileEntry> const entries = entriesOf(directory, maySee);
    reply.addInt(static_cast<int>(entries.size()));
    for (FileEntry const& entry : entries) {
        reply.addString(entry.name);
        reply.addString(entry.type);
        reply.addUInt64(entry.size);
        reply.addUInt64(entry.lastWriteTime);
    }
}

}
