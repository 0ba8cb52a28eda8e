#pragma once

#include <string>
#include <vector>

namespace varnox::convert {

/// Files that appear together: they are written in a folder beside their place and moved from there
/// when all are complete. What isn't published is removed.
class Staging
{
public:
    /// target: the path of one of the files.
    explicit Staging(std::string const& target);
    Staging(Staging const&) = delete;
    Staging& operator=(Staging const&) = delete;
    ~Staging();

    /// Where to write a file that belongs at a path of the target's folder.
    std::string placeFor(std::string const& path);
    /// Moves all files to their places, where they replace others. Throws std::runtime_error.
    void publish();
    /// Starts again.
    void clear();

    /// Removes what the last one that lives has, for a handler of this thread's own crash: takes no
    /// memory and calls nothing that such a handler mustn't.
    static void removeAfterCrash() noexcept;

private:
    struct File
    {
        std::string path;  ///< Where it belongs.
        std::string place; ///< Where it is written.
    };

    std::string m_folder;
    std::vector<File> m_files;
};

}
