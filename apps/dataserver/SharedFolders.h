#pragma once

#include <string>
#include <vector>

namespace varnox::dataserver {

/// The directories that a client may browse and load from; none of them means all.
class SharedFolders
{
public:
    SharedFolders() = default;
    /// Resolves the paths. Throws std::runtime_error if one is no directory.
    explicit SharedFolders(std::vector<std::string> const& paths);

    bool areAll() const { return m_paths.empty(); }
    /// Absolute and without links.
    std::vector<std::string> const& paths() const { return m_paths; }

    /// Whether a path of a client, with all its links resolved, lies in one of them. Of what
    /// doesn't exist the nearest directory that does counts, so that the answer tells nothing about
    /// files elsewhere.
    bool hold(std::string const& path) const;

    /// Lets paths that don't begin with a slash count from the first of them, unless this process
    /// is in one already; without this a client is told where it is. Throws std::runtime_error.
    void enter() const;

private:
    std::vector<std::string> m_paths;
};

/// What the system holds this process, and those that it starts, to.
enum class Fence { Up, NotSupported };

/// Whether the kernel can hold a process to directories.
Fence fenceSupport();

/// From now on this thread, and those that it starts, can open files for reading in the folders, in
/// those of the system's libraries and in that of the add-on alone, whatever links lead elsewhere
/// at that moment. Files that are open stay so. Does nothing if the folders are all. Throws
/// std::runtime_error if a folder has gone.
Fence fenceReading(SharedFolders const& folders, std::string const& addonPath);

}
